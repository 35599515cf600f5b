// Sqrt(n) and the Golden Ratio through their entries, as the driver calls
// them: the files' digits against MPFR in both radixes, at odd digit counts,
// on one to four threads, in Ram Only and in Basic Swap with real swap files;
// the compute steps alone for many n; the arena's peak against the estimate.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/roots.h"
#include "shell/estimate.h"
#include "support/gmp_bridge.h"

using namespace constant_test;

namespace {

// n 0 is the Golden Ratio.
void setRoot(mpfr_t x, uint32_t n) {
  if (n == 0) {
    mpfr_sqrt_ui(x, 5, MPFR_RNDZ);
    mpfr_add_ui(x, x, 1, MPFR_RNDZ);
    mpfr_div_2ui(x, x, 1, MPFR_RNDZ);
  } else {
    mpfr_sqrt_ui(x, n, MPFR_RNDZ);
  }
}


uint64_t rootEstimate(const ComputeSettings* s) {
  return s->computeMode == computeModeRamOnly ? estimateRoot(s->wordCount, s->threadPower)
                                              : estimateRootSwap(s->wordCount, s->threadPower);
}

double rootEntry(ComputeSettings* s) {
  const bool swapped = s->computeMode == computeModeBasicSwap;
  if (s->constantId == constantGoldenRatio) {
    return swapped ? computeGoldenRatioSwapped(s) : computeGoldenRatio(s);
  }
  return swapped ? computeSqrtNSwapped(s) : computeSqrtN(s);
}

// A finished run of the entry; n 0 asks for the Golden Ratio.
struct RootRun : ConstantRun {
  RootRun(uint32_t n, uint64_t digits, uint32_t threadPower, uint32_t mode)
      : ConstantRun(n == 0 ? constantGoldenRatio : constantSqrtN, 0, n, digits, threadPower, mode,
                    rootEstimate) {
    EXPECT_GE(run(rootEntry), 0.0);
  }
};

// The files hold MPFR's digits, exactly the requested ones after the point.
void expectFilesOf(const RootRun& run, uint32_t n) {
  EXPECT_TRUE(run.text(16) == mpfrText(setRoot, n, run.settings.hexDigits, 16)) << "hexadecimal file";
  EXPECT_TRUE(run.text(10) == mpfrText(setRoot, n, run.settings.decimalDigits, 10)) << "decimal file";
}

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

// Runs of the entries: the files hold MPFR's digits (Basic Swap pages
// through real swap files that must end empty), and the arena's peak is
// under the estimate and close to it; from about 90000 digits the hybrid
// figure counts two transforms where the roots' squares use one (up to 2.2
// times the peak, measured to 300000 digits).
TEST(RootEntries, FilesHoldMpfrsDigitsAndTheEstimateCoversThePeak) {
  struct Case { uint32_t n; uint64_t digits; uint32_t threadPower, mode; };  // n 0: Golden Ratio
  // 4294967295: sqrt = 65535.99..., five integer digits in both radixes.
  std::vector<Case> cases = {{2, 1000, 1, computeModeRamOnly},
                             {4294967291u, 12345, 1, computeModeRamOnly},
                             {0, 12345, 0, computeModeRamOnly},
                             {0, 54321, 2, computeModeRamOnly},
                             {3, 77777, 2, computeModeRamOnly},
                             {7, 5000, 0, computeModeRamOnly},
                             {4294967295u, 2001, 0, computeModeRamOnly},
                             {2, 1000003, 1, computeModeRamOnly},
                             {10, 30011, 0, computeModeBasicSwap},
                             {0, 20000, 1, computeModeBasicSwap},
                             {0, 1000, 0, computeModeBasicSwap},
                             {0, 9999, 0, computeModeBasicSwap},
                             {0, 40000, 0, computeModeBasicSwap},
                             {0, 150001, 1, computeModeBasicSwap}};
  for (uint64_t digits : {1000, 2001, 9999, 30011, 100000, 250000}) {
    for (uint32_t t = 0; t < 3; t++) cases.push_back({t == 1 ? 3u : 0u, digits, t, computeModeRamOnly});
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "n " << c.n << " digits " << c.digits << " threadPower "
                                      << c.threadPower << " mode " << c.mode);
    RootRun run(c.n, c.digits, c.threadPower, c.mode);
    expectFilesOf(run, c.n);
    if (c.digits != 1000003) expectPeakWithinEstimate(run, true);
    if (c.n != 7) continue;
    const std::string& text = run.console;
    EXPECT_EQ(text.rfind("InvSqrt...\n", 0), 0u) << text.substr(0, 40);
    for (const char* line : {"Iterating: ", "Time: ", "Sqrt(7):  ", "Constructing Base Conversion",
                             // The counts include the integer digit.
                             "Writing Hexadecimal Digits:   4,154  digits written\n",
                             "Writing Decimal Digits:   5,001  digits written\n"}) {
      EXPECT_NE(text.find(line), std::string::npos) << line;
    }
    // The hexadecimal file comes before the conversion.
    EXPECT_LT(text.find("Writing Hexadecimal"), text.find("Base Converting"));
  }
}

TEST(RootCompute, SqrtOfManyNonSquaresAndTheGoldenRatio) {
  // The value is good to all but its guard words: its top words agree with
  // MPFR's truncated root. Silent steps print nothing.
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint32_t> ns = {2, 3, 5, 8, 65535u * 65535u + 1, 65535u * 65535u - 1, 4294967295u};
  for (int i = 0; i < 16; i++) ns.push_back(uint32_t(random.between(2, 0xFFFFFFFFu)));
  Heap heap;
  heapInit(nullptr, &heap, 8 << 20);
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
      EXPECT_EQ(got, mpfrText(setRoot, n, 8 * words + 8, 16).substr(0, got.size())) << n << " " << words;
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
    EXPECT_EQ(got, mpfrText(setRoot, 0, 8 * words + 8, 16).substr(0, got.size())) << words;
    bigFloatDestroy(&v);
  }
  consoleCaptureTo(nullptr);
  EXPECT_TRUE(console.empty()) << "a silent step printed: " << console.substr(0, 80);
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
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
