// Whole runs of every constant through its entry, as the driver calls it: a
// table of algorithms, odd sizes, one to eight threads, Ram Only and Basic
// Swap. Each run's files (both of compute and verify) hold MPFR's digits in
// both radixes, Basic Swap leaves no swap file, the console shows the run's
// lines in order, and the driver's memory figure covers the arena's peak
// and stays close to it. On threads the peak follows where the halves' heaps
// lie, so some threaded runs get an arena of the figure and not a byte more.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/e.h"
#include "constants/pi.h"
#include "constants/series.h"
#include "constants/zeta_catalan.h"
#include "support/mpfr_digits.h"

namespace {

constexpr uint32_t ram = computeModeRamOnly, swap = computeModeBasicSwap;

struct Case {
  uint32_t id, algorithm, n;  // n: the radicand of Sqrt(n)
  uint64_t digits;
  uint32_t threadPower, mode;
  double bound;  // the figure over the peak lies in [1, bound]; 0: only a fit
  bool exactArena;
  std::vector<std::string> lines;  // console pieces, in this order
};

std::vector<Case> allCases() {
  std::vector<Case> cases = {
      // Pi: 1001 digits, N under 100 for Chudnovsky (no plan).
      {constantPi, piChudnovsky, 0, 1001, 0, ram, 0, false, {}},
      {constantPi, piRamanujan, 0, 1001, 1, ram, 0, false, {}},
      {constantPi, piChudnovsky, 0, 100001, 1, ram, 0, false, {}},
      {constantPi, piRamanujan, 0, 100001, 1, ram, 0, false, {}},
      {constantPi, piChudnovsky, 0, 30000, 1, swap, 0, false, {}},
      {constantPi, piRamanujan, 0, 30000, 1, swap, 0, false, {}},
      // Sqrt(n) and the Golden Ratio (n 0); sqrt(4294967295) has five integer
      // digits in both radixes. The roots' figure holds threaded and swapped
      // runs closely too; 1000003 digits only fit.
      {constantSqrtN, 0, 2, 1000, 1, ram, 1.25, false, {}},
      {constantSqrtN, 0, 4294967291u, 12345, 1, ram, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 12345, 0, ram, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 54321, 2, ram, 1.25, false, {}},
      {constantSqrtN, 0, 3, 77777, 2, ram, 1.25, false, {}},
      {constantSqrtN, 0, 7, 5000, 0, ram, 1.25, false,
       {"InvSqrt...\n", "Iterating: ", "Time: ", "Sqrt(7):  ",
        "Writing Hexadecimal Digits:   4,154  digits written\n", "Constructing Base Conversion",
        "Base Converting", "Writing Decimal Digits:   5,001  digits written\n"}},
      {constantSqrtN, 0, 4294967295u, 2001, 0, ram, 1.25, false, {}},
      {constantSqrtN, 0, 2, 1000003, 1, ram, 0, false, {}},
      {constantSqrtN, 0, 10, 30011, 0, swap, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 20000, 1, swap, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 1000, 0, swap, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 40000, 0, swap, 1.25, false, {}},
      {constantGoldenRatio, 0, 0, 150001, 1, swap, 2.3, false, {}},
      // e: compute and verify prints its lines in their order.
      {constantE, eComputeVerify, 0, 50001, 0, ram, 1.25, false,
       {"Summing Series:  ", "Final Division - 1/exp(-1)...\n", "Iterating: ", "Multiplying...    ( ",
        "Final Division - exp(1)...\n", "Compute + Verify:  "}},
      // Euler: 39 hexadecimal digits (k = 5) skip series C.
      {constantEuler, 0, 0, 46, 0, ram, 0, false, {"Series C not needed"}},
      {constantEuler, 2, 0, 20001, 1, swap, 0, false, {"Begin Verification:"}},
  };
  // Pi's memory from 20000 digits; its finish's lines once.
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    for (uint64_t digits : {20000ull, 45000ull, 77777ull, 120000ull}) {
      cases.push_back({constantPi, algorithm, 0, digits, 0, ram, 1.25, false, {}});
    }
  }
  cases[cases.size() - 8].lines = {"Summing Series:  ", "Finalizing...", "Multiplying...    ( ",
                                   "InvSqrt...\n", "Final Multiply...\n", "\nPi:  ", " seconds  ( "};
  // The roots from 90000 digits: the hybrid figure counts two transforms
  // where their squares use one.
  for (uint64_t digits : {1000, 2001, 9999, 30011, 100000, 250000}) {
    for (uint32_t t = 0; t < 3; t++) {
      cases.push_back({t == 1 ? constantSqrtN : constantGoldenRatio, 0, t == 1 ? 3u : 0u, digits, t,
                       ram, digits < 90000 ? 1.25 : 2.3, false, {}});
    }
  }
  // e: every algorithm, one to eight threads, both modes.
  const struct { uint64_t digits; uint32_t threadPower, mode; } eSizes[] = {
      {1000, 0, ram},  {1000, 1, ram},  {12345, 0, ram}, {12345, 1, ram},  {30001, 0, ram},
      {50001, 0, ram}, {100001, 0, ram}, {40000, 2, ram}, {40000, 3, ram}, {1000, 1, swap},
      {50001, 1, swap}};
  for (uint32_t algorithm : {eExpOne, eExpMinusOne, eComputeVerify}) {
    for (const auto& s : eSizes) {
      const bool close = s.threadPower == 0 && s.digits >= 12345;
      cases.push_back({constantE, algorithm, 0, s.digits, s.threadPower, s.mode, close ? 1.25 : 0,
                       false, {}});
    }
  }
  // The series constants: every algorithm on one and two threads, each
  // with its own lines; memory at 20001 and 150001 digits.
  const struct { uint32_t id, algorithms; } series[] = {
      {constantLog2, 3}, {constantLog10, 3}, {constantZeta3, 2}, {constantCatalan, 2}};
  for (const auto& s : series) {
    for (uint32_t algorithm = 0; algorithm < s.algorithms; algorithm++) {
      std::vector<std::string> lines;
      if (s.id <= constantLog10) lines = {"ArcCoth( 4801 ):  "};
      if (s.id == constantCatalan && algorithm == catalanRamanujan) {
        lines = {"Computing: 2 + sqrt(3)", "AGM Iteration:  "};
      }
      if (algorithm == 2) lines.push_back("Compute + Verify:  ");
      for (uint64_t digits : {1000ull, 23457ull, 20001ull, 150001ull}) {
        for (uint32_t t : {0u, 1u}) {
          const bool memory = digits == 20001 || digits == 150001;
          cases.push_back({s.id, algorithm, 0, digits, t, ram, memory && t == 0 ? 1.25 : 0,
                           memory && t == 1, lines});
        }
      }
      if (s.id >= constantZeta3 || algorithm == (s.id == constantLog2 ? 2u : 0u)) {
        cases.push_back({s.id, algorithm, 0, 20001, s.id >= constantZeta3 ? algorithm : 1, swap, 0,
                         false, {}});
      }
    }
  }
  // Euler: short runs compute Log(2) under one line; memory at 9999 and
  // 33333 digits.
  for (uint32_t algorithm : {0u, 1u, 2u}) {
    for (auto [digits, t] : {std::pair{1001ull, 0u}, {23457ull, 1u}, {12345ull, 0u}}) {
      std::vector<std::string> lines = {"Computing: Log(2)"};
      if (algorithm == 2) lines.push_back("Begin Verification:");
      cases.push_back({constantEuler, algorithm, 0, digits, t, ram, 0, false, lines});
    }
  }
  for (uint32_t algorithm : {0u, 2u}) {
    for (uint64_t digits : {9999ull, 33333ull}) {
      cases.push_back({constantEuler, algorithm, 0, digits, 0, ram, 1.25, false, {}});
      cases.push_back({constantEuler, algorithm, 0, digits, 1, ram, 0, true, {}});
    }
  }
  return cases;
}

}  // namespace

TEST(ConstantRuns, FilesHoldMpfrsDigitsAndTheFigureCoversThePeak) {
  double lowest = 10.0, worst = 0.0;
  for (const Case& c : allCases()) {
    SCOPED_TRACE(::testing::Message() << "constant " << c.id << " algorithm " << c.algorithm
                                      << " n " << c.n << " digits " << c.digits << " threadPower "
                                      << c.threadPower << " mode " << c.mode);
    constant_test::ConstantRun run(c.id, c.algorithm, c.n, c.digits, c.threadPower, c.mode,
                                   c.exactArena);
    EXPECT_GE(run.run(), 0.0);
    const std::string& decimal = mpfrdigits::constantText(c.id, c.n, 10, run.settings.decimalDigits);
    const std::string& hex = mpfrdigits::constantText(c.id, c.n, 16, run.settings.hexDigits);
    const bool verify = c.algorithm == 2 && c.id != constantPi;
    for (uint32_t label = 0; label < (verify ? 2u : 1u); label++) {
      EXPECT_TRUE(run.text(10, label) == decimal) << "decimal file " << label;
      EXPECT_TRUE(run.text(16, label) == hex) << "hexadecimal file " << label;
    }
    if (c.id == constantEuler) { EXPECT_EQ(run.console.find("ArcCoth("), std::string::npos); }
    size_t at = 0;
    for (const std::string& line : c.lines) {
      const size_t found = run.console.find(line, at);
      ASSERT_NE(found, std::string::npos) << line << "\n" << run.console;
      at = found;
    }
    if (c.bound == 0) continue;
    const double ratio = double(run.settings.memoryNeeded) / double(run.peakBytes());
    lowest = std::min(lowest, ratio);
    worst = std::max(worst, ratio);
    EXPECT_GE(ratio, 1.0) << "figure below the peak";
    EXPECT_LE(ratio, c.bound) << "figure far above the peak";
  }
  printf("figure over peak from %.3f to %.3f\n", lowest, worst);
}

// The roots' figure knows only the word count and must hold its widest run
// (most digits, five integer digits), which near a transform row's edge
// takes the next row: a drawn run must fit, closeness is measured on the
// widest run of its word count (1.08; up to 1.31 against narrower runs).
TEST(ConstantRuns, RootFigureCoversDrawnSizesAndTheWidestRunOfTheirWordCount) {
  testbridge::Random random = testbridge::testRandom();
  for (int i = 0; i < 4; i++) {
    const uint64_t digits = random.logUniform(20000, 300000);
    const uint32_t threadPower = uint32_t(random.below(3));
    SCOPED_TRACE("drawn size " + std::to_string(digits) + ", threadPower " +
                 std::to_string(threadPower));
    const uint32_t n = uint32_t(random.between(2, 1000)) * 2 + 1;
    constant_test::ConstantRun drawn(constantSqrtN, 0, n, digits, threadPower, ram);
    drawn.run();
    EXPECT_GE(drawn.settings.memoryNeeded, drawn.peakBytes());
    ComputeSettings next{};
    uint64_t widest = digits;
    for (setDecimalDigits(&next, widest + 1); next.wordCount == drawn.settings.wordCount;
         setDecimalDigits(&next, widest + 1)) {
      widest++;
    }
    constant_test::ConstantRun wide(constantSqrtN, 0, 4294967291u, widest, threadPower, ram);
    wide.run();
    ASSERT_EQ(wide.settings.wordCount, drawn.settings.wordCount);
    const double ratio = double(wide.settings.memoryNeeded) / double(wide.peakBytes());
    EXPECT_GE(ratio, 1.0);
    EXPECT_LE(ratio, widest < 90000 ? 1.25 : 2.3);
  }
}
