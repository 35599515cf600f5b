// The Fermat ring's butterflies against GMP in both forms, transform round
// trips, and the inverse with its output stage.
#include <gmp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "support/gmp_bridge.h"
#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"
#include "support/death_console.h"

namespace {

using testbridge::Number;
using testbridge::Random;

// The ring of one element size: modulus 2^n + 1.
struct Ring {
  uint64_t W;
  Number modulus;
  explicit Ring(uint64_t words) : W(words) {
    mpz_setbit(modulus.z, 32 * W);
    mpz_add_ui(modulus.z, modulus.z, 1);
  }
};

void elementValue(mpz_t z, const uint32_t* x, uint64_t W) { testbridge::toMpz(z, x, W + 1); }

// x is the reduced form of `expected` (W + 1 words).
::testing::AssertionResult isResidue(const uint32_t* x, const mpz_t expected, const Ring& ring) {
  Number r;
  mpz_mod(r.z, expected, ring.modulus.z);
  std::vector<uint32_t> want = testbridge::fromMpz(r.z, ring.W + 1);
  for (uint64_t i = 0; i <= ring.W; i++) {
    if (x[i] != want[i])
      return ::testing::AssertionFailure() << "word " << i << " of " << ring.W + 1 << ": " << x[i]
                                           << " instead of " << want[i];
  }
  return ::testing::AssertionSuccess();
}

// A reduced element: mostly random, now and then 0, -1, 1 or 2^n - 1.
std::vector<uint32_t> randomElement(Random& random, uint64_t W) {
  std::vector<uint32_t> x(W + 1, 0);
  const uint64_t pick = random.below(8);
  if (pick == 1) x[W] = 1;
  if (pick == 2) x[0] = 1;
  if (pick == 3) std::fill(x.begin(), x.end() - 1, ~0u);
  if (pick > 3) testbridge::fill(random, testbridge::randomKind(random), x.data(), W);
  return x;
}

std::vector<uint32_t> randomElements(Random& random, uint64_t count, uint64_t W) {
  std::vector<uint32_t> data;
  for (uint64_t i = 0; i < count; i++) {
    const std::vector<uint32_t> x = randomElement(random, W);
    data.insert(data.end(), x.begin(), x.end());
  }
  return data;
}

TEST(FermatKernels, ShiftedButterfliesMatchGmpInBothForms) {
  Random random = testbridge::testRandom();
  for (uint64_t W : {1u, 2u, 3u, 7u, 8u, 9u, 16u, 17u, 40u, 67u, 130u}) {
    const Ring ring(W);
    const uint64_t n = 32 * W;
    const uint64_t edges[] = {0,      1,      31,     32,         33,         n - 32, n - 1,
                              n,      n + 1,  n + 31, n + 32,     2 * n - 32, 2 * n - 1};
    std::vector<uint32_t> sum(W + 1), out(W + 1), sum2(W + 1), out2(W + 1);
    for (int trial = 0; trial < 60; trial++) {
      const std::vector<uint32_t> a = randomElement(random, W), b = randomElement(random, W);
      uint64_t bits = random.below(2 * n);
      if (trial < 13) bits = edges[trial] % (2 * n);
      if (trial >= 13 && trial % 2 == 0) bits &= ~uint64_t(31);
      Number va, vb, factor, want, shifted;
      elementValue(va.z, a.data(), W);
      elementValue(vb.z, b.data(), W);
      mpz_set_ui(factor.z, 0);
      mpz_setbit(factor.z, bits);
      const std::string where = "W " + std::to_string(W) + " bits " + std::to_string(bits);

      fermatSumShifted(sum.data(), out.data(), a.data(), b.data(), W, bits);
      mpz_add(want.z, va.z, vb.z);
      ASSERT_TRUE(isResidue(sum.data(), want.z, ring)) << "sum, " << where;
      mpz_sub(want.z, va.z, vb.z);
      mpz_mul(want.z, want.z, factor.z);
      ASSERT_TRUE(isResidue(out.data(), want.z, ring)) << "shifted difference, " << where;
      fermatSumShiftedPortable(sum2.data(), out2.data(), a.data(), b.data(), W, bits);
      ASSERT_EQ(sum, sum2) << where;
      ASSERT_EQ(out, out2) << where;
      // In place of either operand (of b too when no whole words move).
      std::vector<uint32_t> x = a, y = b;
      fermatSumShifted(x.data(), out2.data(), x.data(), b.data(), W, bits);
      ASSERT_EQ(x, sum) << where;
      fermatSumShifted(y.data(), out2.data(), a.data(), y.data(), W, bits);
      ASSERT_EQ(y, sum) << where;
      if (bits % n < 32) {
        x = a;
        y = b;
        fermatSumShifted(x.data(), y.data(), x.data(), y.data(), W, bits);
        ASSERT_EQ(x, sum) << where;
        ASSERT_EQ(y, out) << where;
      }

      fermatShiftedSum(sum.data(), out.data(), a.data(), b.data(), W, bits);
      mpz_mul(shifted.z, vb.z, factor.z);
      mpz_add(want.z, va.z, shifted.z);
      ASSERT_TRUE(isResidue(sum.data(), want.z, ring)) << "inverse sum, " << where;
      mpz_sub(want.z, va.z, shifted.z);
      ASSERT_TRUE(isResidue(out.data(), want.z, ring)) << "inverse difference, " << where;
      fermatShiftedSumPortable(sum2.data(), out2.data(), a.data(), b.data(), W, bits);
      ASSERT_EQ(sum, sum2) << where;
      ASSERT_EQ(out, out2) << where;
      x = a;
      fermatShiftedSum(x.data(), out2.data(), x.data(), b.data(), W, bits);
      ASSERT_EQ(x, sum) << where;
      x = a;
      fermatShiftedSum(sum2.data(), x.data(), x.data(), b.data(), W, bits);
      ASSERT_EQ(x, out) << where;
    }
  }
}

// Forward then inverse (random twist) gives the input times 2^k; both forms agree.
void checkRoundTrip(uint64_t W, uint32_t k, uint32_t threadPower) {
  ASSERT_EQ(((128 * W) >> k) << k, 128 * W) << "the ring has no root of order 2^k";
  Random random = testbridge::testRandom(W * 64 + k + 1000 * threadPower);
  const Ring ring(W);
  const uint64_t count = uint64_t(1) << k, stride = W + 1;
  const uint64_t twist = random.coin() ? 0 : random.below(128 * W);
  std::vector<uint32_t> data = randomElements(random, count, W);
  const std::vector<uint32_t> original = data;
  std::vector<uint32_t> blocked = data;
  std::vector<uint32_t> scratch(fermatButterflyScratchWords(W) << threadPower);
  radixPass(data.data(), W, stride, k, twist, scratch.data(), threadPower);
  blockedForward(blocked.data(), W, stride, k, twist, scratch.data(), threadPower);
  ASSERT_EQ(data, blocked) << "W " << W << " k " << k << " twist " << twist;
  radixPassInverse(data.data(), W, stride, k, twist, scratch.data(), threadPower);
  blockedInverse(blocked.data(), W, stride, k, twist, scratch.data(), threadPower);
  ASSERT_EQ(data, blocked) << "W " << W << " k " << k << " twist " << twist;
  Number value;
  for (uint64_t i = 0; i < count; i++) {
    elementValue(value.z, original.data() + i * stride, W);
    mpz_mul_2exp(value.z, value.z, k);
    ASSERT_TRUE(isResidue(data.data() + i * stride, value.z, ring))
        << "W " << W << " k " << k << " twist " << twist << " threads 2^" << threadPower
        << " element " << i;
  }
}

TEST(FermatTransform, ForwardThenInverseGivesInputTimesTwoToTheK) {
  checkRoundTrip(8, 2, 0);     // one radix-4 pass
  checkRoundTrip(8, 3, 0);     // k = 3, W a multiple of 8: one straight pass
  checkRoundTrip(7, 3, 0);     // k = 3, radix-8 form (W = 7)
  checkRoundTrip(8, 4, 0);     // one radix-16 pass
  checkRoundTrip(6, 5, 0);     // radix-8 then radix-4 (W not a multiple of 8)
  checkRoundTrip(16, 6, 0);    // radix-16 then radix-4
  checkRoundTrip(5, 7, 0);     // odd root exponent 5: the sqrt(2) path
  checkRoundTrip(100, 9, 1);   // threads over columns
  checkRoundTrip(256, 11, 1);  // threads over columns and rows
  checkRoundTrip(64, 13, 0);   // a row stage that is itself cut (13 levels)
  checkRoundTrip(16, 6, 8);    // more threads than the transform can use
  checkRoundTrip(128, 10, 8);  // eight threads on columns and rows
}

// hybridInverse (output stage fused, seams at threads and rows) equals the
// inverse then the output stage, for chops around row starts; all-ones words
// carry across every seam.
TEST(FermatTransform, InverseWithTheOutputStageIsInverseThenOutput) {
  Random random = testbridge::testRandom();
  for (uint32_t m : {3u, 5u}) {
    const uint32_t k = m == 3 ? 11 : 9;
    const uint64_t W = uint64_t(m) << (k - 7), c = W / 2 - 1, stride = W + 1;
    const uint64_t count = uint64_t(1) << k, end = c * count;
    std::vector<uint32_t> transform(count * stride, 0);
    Number sum, term;
    for (uint64_t i = 0; i + 2 < count; i++) {
      uint32_t* x = transform.data() + i * stride;
      for (uint64_t j = 0; j < W - 2; j++) x[j] = random.below(4) == 0 ? random.word() : ~0u;
      testbridge::toMpz(term.z, x, W + 1);
      mpz_mul_2exp(term.z, term.z, 32 * c * i);
      mpz_add(sum.z, sum.z, term.z);
    }
    std::vector<uint32_t> scratch(fermatButterflyScratchWords(W) << 3);
    blockedForward(transform.data(), W, stride, k, 0, scratch.data(), 0);
    std::vector<uint64_t> starts = {0, 1000, end / 2 + 7};
    for (uint64_t row = 16; row <= 256; row *= 2) {
      for (uint64_t below : {uint64_t(0), uint64_t(1), c + 1, W - 1}) {
        if (3 * row * c < end) starts.push_back(3 * row * c - below);
      }
    }
    for (uint64_t start : starts) {
      std::vector<uint32_t> reference = transform, want(end - start);
      const OutputRange range = {want.data(), end, start, c, k, W};
      blockedInverse(reference.data(), W, stride, k, 0, scratch.data(), 0);
      const std::vector<uint32_t> inverse = reference;
      ASSERT_EQ(hybridOutputStage(range, reference.data(), stride, scratch.data(), 0), 0u);
      if (start == 0) { ASSERT_EQ(want, testbridge::fromMpz(sum.z, end)) << "m " << m; }
      std::vector<uint32_t> threaded = inverse, words(end - start);
      const OutputRange threadedRange = {words.data(), end, start, c, k, W};
      ASSERT_EQ(hybridOutputStage(threadedRange, threaded.data(), stride, scratch.data(), 3), 0u);
      ASSERT_EQ(words, want) << "threaded output stage, m " << m << " start " << start;
      for (uint32_t threadPower : {0u, 1u, 3u}) {
        std::vector<uint32_t> data = transform, got(end - start);
        ASSERT_EQ(hybridInverse(got.data(), end, start, c, data.data(), W, stride, k,
                                scratch.data(), threadPower),
                  0u);
        ASSERT_EQ(got, want) << "m " << m << " start " << start << " threads 2^" << threadPower;
      }
    }
  }
}

TEST(FermatTransformDeathTest, StrideOverflowIsFatal) {
  EXPECT_DEATH((consoleToStandardError(), hybridCheckStride(uint64_t(1) << 40, 30)),
              "FATAL ERROR: Limit Exceeded\n\nArchitectural Limit Exceeded: ");
}

// The radix-4 steps cannot apply the odd twiddles of an odd element length.
TEST(FermatRadix4DeathTest, AnOddElementLengthIsABrokenCaller) {
  const uint64_t W = 3;
  std::vector<uint32_t> a(4 * (W + 1), 1), scratch(2 * (W + 1));
  uint32_t* e[4] = {&a[0], &a[W + 1], &a[2 * (W + 1)], &a[3 * (W + 1)]};
  for (bool inverse : {false, true}) {
    EXPECT_DEATH(
        {
          consoleToStandardError();
          if (inverse) radix4Inverse(e[0], e[1], e[2], e[3], W, 1, scratch.data());
          else radix4Forward(e[0], e[1], e[2], e[3], W, 1, scratch.data());
        },
        "A radix-4 step needs an even element length\\.");
  }
}

}  // namespace
