// Twiddle pyramids against MPFR's correctly rounded cos and sin; growth and release.
#include "arith/fft/fft_tables.h"

#include <gtest/gtest.h>
#include <mpfr.h>

#include <cstdint>
#include <cstdlib>
#include <thread>
#include <vector>

#include "arith/fft/twiddles.h"

namespace {

// Correctly rounded (cos, sin) of 2 pi t / circle for t = 1 .. pairs, on two
// threads; the angle is taken to 192 bits.
std::vector<double> referencePairs(uint64_t pairs, uint64_t circle) {
  std::vector<double> out(2 * pairs);
  auto work = [&](uint64_t first, uint64_t step) {
    mpfr_t step2pi, x, c, s;
    mpfr_init2(step2pi, 192);
    mpfr_init2(x, 192);
    mpfr_init2(c, 53);
    mpfr_init2(s, 53);
    mpfr_const_pi(step2pi, MPFR_RNDN);
    mpfr_mul_2ui(step2pi, step2pi, 1, MPFR_RNDN);
    mpfr_div_ui(step2pi, step2pi, circle, MPFR_RNDN);
    for (uint64_t t = first; t <= pairs; t += step) {
      mpfr_mul_ui(x, step2pi, t, MPFR_RNDN);
      mpfr_sin_cos(s, c, x, MPFR_RNDN);
      out[2 * (t - 1)] = mpfr_get_d(c, MPFR_RNDN);
      out[2 * (t - 1) + 1] = mpfr_get_d(s, MPFR_RNDN);
    }
    mpfr_clears(step2pi, x, c, s, (mpfr_ptr)0);
    mpfr_free_cache();
  };
  std::thread other(work, 2, 2);
  work(1, 2);
  other.join();
  return out;
}

// Checks every level of a pyramid of the family K with `levels` levels: pair
// t of level j is the angle 2 pi t / (K 2^(j+1)), the top's pair t 2^(top-j).
void checkPyramid(const double* pyramid, uint32_t family, uint64_t levels) {
  ASSERT_NE(pyramid, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(pyramid) % 16, 0u);
  EXPECT_EQ(pyramidLevelCount(pyramid), levels);
  uint32_t top = uint32_t(levels - 1);
  uint64_t topPairs = uint64_t(family) << (top - 2);
  std::vector<double> expected = referencePairs(topPairs, uint64_t(family) << (top + 1));
  uint64_t wrong = 0;
  for (uint32_t j = 2; j <= top; j++) {
    const double* level = pyramidLevel(pyramid, family, j);
    uint64_t pairs = uint64_t(family) << (j - 2);
    for (uint64_t t = 1; t <= pairs; t++) {
      uint64_t at = (t << (top - j)) - 1;
      if (level[2 * (t - 1)] != expected[2 * at] ||
          level[2 * (t - 1) + 1] != expected[2 * at + 1]) {
        if (wrong++ < 5) ADD_FAILURE() << "family " << family << " level " << j << " t " << t;
      }
    }
  }
  EXPECT_EQ(wrong, 0u) << "family " << family;
  EXPECT_EQ(pyramid[1], 0.0);
}

struct TablesGone {
  ~TablesGone() { releaseFftTables(); }
};

// Built on two threads: the halves of each top level must join seamlessly.
TEST(FftTables, EveryTwiddleOfTheLargestTablesIsCorrectlyRounded) {
  TablesGone cleanup;
  buildFftTables(500000, 1);
  ASSERT_NE(fftTables, nullptr);
  // 64 * 500000 bits: the 2621440-point row, code 85.
  EXPECT_EQ(fftTables->builtCode, 85u);
  checkPyramid(fftTables->pyramid2, 1, 85 / 4 + 1);
  checkPyramid(fftTables->pyramid3, 3, (85 - 2) / 4);
  checkPyramid(fftTables->pyramid5, 5, (85 - 1) / 4 - 1);
  EXPECT_EQ(fftTables->pyramid7, nullptr);

  // Heads: the butterfly constants cos and sin of 2 pi k / 3 and 2 pi k / 5.
  const double *p3 = fftTables->pyramid3, *p5 = fftTables->pyramid5;
  EXPECT_EQ(std::vector<double>(p3 + 4, p3 + 6), referencePairs(1, 3));
  EXPECT_EQ(std::vector<double>(p5 + 2, p5 + 10), referencePairs(4, 5));
}

// 2^47 points would take 2^50 bytes: the growth fails and the tables still
// serve (only) what they served.
TEST(FftTablesGrow, AFailedGrowthKeepsTheTablesItHad) {
  auto* tables = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  ASSERT_EQ(growFftTables(tables, 40), 0u);
  EXPECT_NE(growFftTables(tables, 4 * 47), 0u);
  EXPECT_EQ(tables->builtCode, 40u);
  EXPECT_GE(pyramidLevelCount(tables->pyramid2), 11u);
  EXPECT_GE(pyramidLevelCount(tables->pyramid3), 9u);
  EXPECT_EQ(growFftTables(tables, 44), 0u);
  EXPECT_EQ(tables->builtCode, 44u);
  releaseFftTablesRecord(tables);
}

}  // namespace
