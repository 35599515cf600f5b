// Sqrt(n) and the Golden Ratio: the compute steps alone for many n against
// MPFR, and the arena's peak of drawn runs against the estimate.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/roots.h"
#include "support/gmp_bridge.h"
#include "support/mpfr_digits.h"
#include "support/test_arena.h"

using namespace constant_test;

namespace {

// A finished run of the entry; n 0 asks for the Golden Ratio.
struct RootRun : ConstantRun {
  RootRun(uint32_t n, uint64_t digits, uint32_t threadPower, uint32_t mode)
      : ConstantRun(n == 0 ? constantGoldenRatio : constantSqrtN, 0, n, digits, threadPower, mode) {
    EXPECT_GE(run(), 0.0);
  }
};

// The hexadecimal text of v's top words + 1 (its two guard words may be off).
std::string topHex(const BigFloat& v, uint64_t words) {
  char buffer[16];
  snprintf(buffer, sizeof buffer, "%x.", v.mantissa.words[v.mantissa.length - 1]);
  std::string got = buffer;
  for (uint64_t k = 2; k <= words + 1 && k <= v.mantissa.length; k++) {
    snprintf(buffer, sizeof buffer, "%08x", v.mantissa.words[v.mantissa.length - k]);
    got += buffer;
  }
  return got;
}

// The arena's high-water mark of a whole entry against the estimate the
// arena was made from, and (`close`) not far below it.
void expectPeakWithinEstimate(const RootRun& run, bool close) {
  const uint64_t estimate = run.settings.memoryNeeded;
  EXPECT_GE(estimate, run.peakBytes());
  if (close) {
    EXPECT_LE(double(estimate),
              (run.settings.decimalDigits < 90000 ? 1.25 : 2.3) * double(run.peakBytes()));
  }
}

}  // namespace

TEST(RootCompute, SqrtOfManyNonSquaresAndTheGoldenRatio) {
  // The value is good to all but its guard words: its top words agree with
  // MPFR's truncated root. Silent steps print nothing.
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint32_t> ns = {2, 3, 5, 8, 65535u * 65535u + 1, 65535u * 65535u - 1, 4294967295u};
  for (int i = 0; i < 16; i++) ns.push_back(uint32_t(random.between(2, 0xFFFFFFFFu)));
  TestArena arena(8 << 20);
  Heap& heap = arena.heap;
  std::string console;
  consoleCaptureTo(&console);
  for (uint32_t n : ns) {
    uint32_t r = uint32_t(std::sqrt(double(n)) + 0.01);
    if (uint64_t(r) * r == n) continue;
    for (uint64_t words : {1u, 2u, 9u, 60u}) {
      BigFloat v;
      sqrtNCompute(&heap, &v, words, 0, n, 0, nullptr);
      ASSERT_EQ(bigFloatPosition(v), 1) << n;
      std::string got = topHex(v, words);
      EXPECT_EQ(got, mpfrdigits::constantText(constantSqrtN, n, 16, 8 * words + 8).substr(0, got.size())) << n << " " << words;
      bigFloatDestroy(&v);
    }
  }
  // The Golden Ratio's half goes into the word below the point even at the
  // smallest precision.
  for (uint64_t words = 1; words <= 40; words++) {
    BigFloat v;
    goldenRatioCompute(&heap, &v, words, 0, 0, nullptr);
    ASSERT_EQ(bigFloatPosition(v), 1);
    std::string got = topHex(v, words);
    EXPECT_EQ(got, mpfrdigits::constantText(constantGoldenRatio, 0, 16, 8 * words + 8).substr(0, got.size())) << words;
    bigFloatDestroy(&v);
  }
  consoleCaptureTo(nullptr);
  EXPECT_TRUE(console.empty()) << "a silent step printed: " << console.substr(0, 80);
}

TEST(RootMemory, EstimateCoversDrawnSizesAndTheWidestRunOfTheirWordCount) {
  // The estimate knows only the word count and must hold its widest run
  // (most digits, five integer digits), which near a transform row's edge
  // takes the next row: a drawn run must fit, closeness is measured on the
  // widest run of its word count (1.08; up to 1.31 against narrower runs).
  testbridge::Random random = testbridge::testRandom();
  for (int i = 0; i < 4; i++) {
    const uint64_t digits = random.logUniform(20000, 300000);
    const uint32_t threadPower = uint32_t(random.below(3));
    SCOPED_TRACE("drawn size " + std::to_string(digits) + ", threadPower " +
                 std::to_string(threadPower));
    RootRun drawn(uint32_t(random.between(2, 1000)) * 2 + 1, digits, threadPower,
                  computeModeRamOnly);
    expectPeakWithinEstimate(drawn, false);
    ComputeSettings next{};
    uint64_t widest = digits;
    for (setDecimalDigits(&next, widest + 1); next.wordCount == drawn.settings.wordCount;
         setDecimalDigits(&next, widest + 1)) {
      widest++;
    }
    RootRun wide(4294967291u, widest, threadPower, computeModeRamOnly);
    ASSERT_EQ(wide.settings.wordCount, drawn.settings.wordCount);
    expectPeakWithinEstimate(wide, true);
  }
}
