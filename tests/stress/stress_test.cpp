// The stress test below its menu: the limit parser, the custom limit's
// refusals, the sizing of the tests, the agreement of each constant's two
// formulas, the loops of the two threads, and each way the run ends.
#include "stress/stress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "arith/multiply.h"
#include "constants/compute_settings.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"
#include "support/death_console.h"
#include "support/run_program.h"

namespace {

constexpr uint64_t MiB = 1048576;
// The smallest working size a thread takes: its tests are of 100K digits or so.
constexpr uint64_t smallWorkingBytes = 4 * MiB + 8;

TEST(StressLimit, ParsesDigitsBlanksAndOneUnitLetter) {
  const struct {
    const char* text;
    uint64_t limit;
  } cases[] = {
      {"2g", 2ull << 30},     {"2 GB", 2ull << 30},  {"2G", 2ull << 30},
      {"512MB", 512 * MiB},   {"64M", 0x4000000},    {"67108864", 0x4000000},
      {"1000", 1000},         {"1000 bytes", 1000},  {"3k", 3072},
      {"1t", 1ull << 40},     {"2P", 2ull << 50},    {"7e", 7ull << 60},
      {"abc", 0},             {" 5M", 0},            {"", 0},
      {"16E", 0},  // 2^64: no overflow test, the value wraps
  };
  for (const auto& c : cases) EXPECT_EQ(stressParseLimit(c.text), c.limit) << c.text;
}

TEST(StressMenuDeathTest, CustomLimitsBelow64MiBOrAbove63BitsAreAskedAgain) {
  // Input ends after the refusals: the run ends instead of asking for ever.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        consoleInputFrom("19\n0\nabc\n67108863\n8E\n");
        stressTestMenu();
      },
      ::testing::ExitedWithCode(1),
      "Option:     Memory Limit:           Option:     Memory Limit:\n\n"
      "   1         512 MB                   10        16.0 GB\n"
      "(.|\n)*"
      "   9        14.0 GB                   18         136 GB\n\n"
      "   0        Custom *\n\noption: option: \n"
      "Enter a limit: \\(e.g. 512MB, 1GB, etc...\\)\nBytes: \nYou must select at least 64MB.\n\n"
      "(.|\n)*You must select at least 64MB.\n\n"
      "(.|\n)*Limit exceeded.\n\n"
      "Enter a limit(.|\n)*Unexpected end of input.");
}

const uint32_t constants[] = {constantPi,    constantE,       constantLog2, constantZeta3,
                              constantLog10, constantCatalan, constantEuler};

// The larger estimate of the constant's two formulas at `digits`.
uint64_t largerEstimate(uint32_t id, uint64_t digits) {
  ComputeSettings sizes{};
  setDecimalDigits(&sizes, digits);
  uint64_t larger = 0, memory, disk;
  for (uint32_t algorithm : {0u, 1u}) {
    estimateConstant(id, algorithm, sizes.wordCount, globalThreadPower, computeModeRamOnly,
                     &memory, &disk);
    larger = std::max(larger, memory);
  }
  return larger;
}

TEST(StressSizing, EachTestFillsTheWorkingSizeWithItsLargerFormula) {
  const uint64_t room = 64 * MiB - 2 * MiB;
  for (uint32_t id : constants) {
    uint64_t digits = stressDigitsFor(nullptr, id, 64 * MiB);
    EXPECT_LE(largerEstimate(id, digits), room) << id;
    EXPECT_GT(largerEstimate(id, digits + 1), room) << id;
  }
}

TEST(StressFormulas, BothFormulasOfEachConstantGiveTheSameWordInTheirOwnHeap) {
  // Each test runs in a heap of the thread's size, sized by the estimators
  // for the run's threads, and leaves it empty.
  const uint32_t savedPower = globalThreadPower;
  globalThreadPower = 1;
  Heap heap;
  heapInit(nullptr, &heap, smallWorkingBytes);
  const uint64_t empty = heapFreeSpace(&heap);
  for (uint32_t id : constants) {
    uint64_t digits = stressDigitsFor(&heap, id, smallWorkingBytes);
    ASSERT_GT(digits, 10000u) << id;
    uint32_t first = stressFormulaWord(&heap, id, 0, digits, 1);
    EXPECT_EQ(heapFreeSpace(&heap), empty) << id;
    EXPECT_EQ(stressFormulaWord(&heap, id, 1, digits, 1), first) << id << " at " << digits;
    // The compared word moves with the size: a shorter run compares another.
    EXPECT_NE(stressFormulaWord(&heap, id, 0, digits - 20, 1), first) << id;
  }
  heapDestroy(&heap);
  globalThreadPower = savedPower;
}

// The loop of one thread for `tests` tests, its lines taken in unless
// `capture` is false.
std::string runLoop(uint32_t isMain, uint64_t tests, bool capture = true) {
  Heap heap;
  heapInit(nullptr, &heap, smallWorkingBytes);
  std::string out;
  if (capture) consoleCaptureTo(&out);
  stressStopAfterForTesting(tests);
  stressTestLoop(&heap, smallWorkingBytes, isMain);
  stressStopAfterForTesting(0);
  consoleCaptureTo(nullptr);
  heapDestroy(&heap);
  return out;
}

TEST(StressLoop, EachThreadRunsItsOwnOrderAndNumbersTestsOnThroughTheRounds) {
  const uint32_t savedPower = globalThreadPower;
  globalThreadPower = 1;
  // The first formula of tests 1 to 8 of each thread.
  const std::vector<std::string> orders[2] = {
      {"e using exp(1)", "Log(2) using Machin 1", "Zeta(3) using A.Z. Formula 2",
       "Log(10) using Machin 1", "Euler's Constant using B.M. 2", "Catalan using Lupas",
       "Pi using Chudnovsky", "e using exp(1)"},
      {"Pi using Chudnovsky", "e using exp(1)", "Log(2) using Machin 1",
       "Zeta(3) using A.Z. Formula 2", "Log(10) using Machin 1", "Catalan using Ramanujan",
       "Euler's Constant using B.M. 2", "Pi using Chudnovsky"}};
  for (uint32_t isMain : {0u, 1u}) {
    const std::string thread = isMain ? "Thread 0" : "Thread 1";
    std::string out = runLoop(isMain, 8);
    size_t at = 0;
    for (size_t i = 0; i < 8; ++i) {
      at = out.find(thread + ": Computing ", at);
      ASSERT_NE(at, std::string::npos) << out;
      std::string line = out.substr(at, out.find('\n', at) - at);
      EXPECT_TRUE(endsWith(line, " digits of " + orders[isMain][i] + "...")) << line;
      at = out.find("\n" + thread + ": Test " + std::to_string(i + 1) + " passed.Elapsed Time: ",
                    at);
      ASSERT_NE(at, std::string::npos) << i << out;
    }
    EXPECT_EQ(countOccurrences(out, " hours )\n"), 8u);
  }
  globalThreadPower = savedPower;
  std::string check;
  consoleCaptureTo(&check);
  stressCheck(1, 7, 7, 12345, timerStart());
  consoleCaptureTo(nullptr);
  EXPECT_EQ(check.rfind("\nThread 1: Test 12,345 passed.Elapsed Time: 0.0", 0), 0u) << check;
}

TEST(StressDeathTest, EachWayTheRunEnds) {
  // Two formulas that disagree.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        stressCorruptTestForTesting(2);
        runLoop(1, 3, false);
      },
      ::testing::ExitedWithCode(1),
      "Thread 0: Test 1 passed.(.|\n)*\nThread 0: Test 2 ERROR IN COMPUTATION!!!\n"
      "Digits from two formulas do not match. Please check you hardware.\n\n"
      "Elapsed Time: [0-9.]+ seconds  \\( [0-9.]+ hours \\)\n\n");
  // A product of the record front end that fails its self-check: with ECC
  // off the first one is fatal, with no re-run.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        multiplyInjectFaults(1, multiplyDetectedError, true);
        stressTestStart(16 * MiB);
      },
      ::testing::ExitedWithCode(1),
      "HARDWARE ERROR DETECTED:\nAn error has been detected.\n"
      "No attempt will made to correct it because ECC is disabled.");
  // Too little memory for a thread.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        Heap heap;
        heapInit(nullptr, &heap, 4 * MiB);
        stressTestLoop(&heap, 4 * MiB, 1);
      },
      ::testing::ExitedWithCode(1), "Insufficient Working Size");
}

TEST(StressDeathTest, OneThreadWhenTheSecondCannotBeCreated) {
  // Only the loop of "Thread 1" runs, on the caller; its lines are taken
  // in and judged in the child.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        std::string out;
        consoleCaptureTo(&out);
        stressStopAfterForTesting(2);
        threadFailNextSpawnsForTesting(1);
        stressTestStart(16 * MiB);
        consoleCaptureTo(nullptr);
        fprintf(stderr, "warning %d, thread 0 %d, tests %d %d\n",
                out.rfind("\nWarning: Unable to create thread.\nThread 1: Computing ", 0) == 0,
                out.find("Thread 0") != std::string::npos,
                out.find("Thread 1: Test 1 passed.") != std::string::npos,
                out.find("Thread 1: Test 2 passed.") != std::string::npos);
        exit(3);
      },
      ::testing::ExitedWithCode(3), "warning 1, thread 0 0, tests 1 1\n");
}

}  // namespace
