// Resource estimation: the corrections and mode pick of estimateResources,
// the dispatch by constant and mode, the limits, and the fatal end past the
// largest multiplication.
#include "shell/estimate.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "platform/console.h"
#include "shell/estimate_internal.h"
#include "shell/settings_init.h"

namespace {

struct Settings {
  ComputeSettings record;
  Settings() { initComputeSettings(nullptr, &record); }
  ~Settings() { releaseComputeSettings(&record); }
};

// Estimates one word past the limit in a child whose console goes to stderr.
std::string childConsole;
void estimateInChild(uint32_t id, uint32_t threadPower, uint32_t mode) {
  consoleInputFrom("");
  consoleCaptureTo(&childConsole);
  atexit([] { fputs(childConsole.c_str(), stderr); });
  uint64_t memory = 0, disk = 0;
  estimateConstant(id, 0, 9999999999901u, threadPower, mode, &memory, &disk);
}

TEST(EstimateResources, ModePickFollowsTheSwapFloor) {
  // At the floor Basic Swap is kept; below it the mode menu test shows the fallback.
  Settings s;
  s.record.wordCount = swapFloorWords;
  s.record.computeMode = computeModeBasicSwap;
  estimateModes(&s.record);
  EXPECT_EQ(s.record.computeMode, computeModeBasicSwap);
  s.record.computeMode = 0;
  estimateModes(&s.record);
  EXPECT_EQ(s.record.computeMode, computeModeRamOnly);

  setDecimalDigits(&s.record, 100000000);
  s.record.computeMode = computeModeBasicSwap;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.computeMode, computeModeBasicSwap);
  EXPECT_GT(s.record.diskNeeded, 0u);
  EXPECT_EQ(s.record.memoryNeeded, estimateRootSwap(s.record.wordCount, s.record.threadPower));
}

TEST(EstimateResources, CorrectsDigitsEulerSizeAndOutputForm) {
  Settings s;
  s.record.digitLimit = 1000000;
  setDecimalDigits(&s.record, 2000000);
  estimateResources(&s.record);
  EXPECT_EQ(s.record.decimalDigits, 1000000u);

  selectConstant(nullptr, &s.record, constantEuler);
  setDecimalDigits(&s.record, 50000000);
  s.record.constantParameter = 0;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.constantParameter, eulerSizePower(s.record.hexDigits));
  EXPECT_GE(s.record.constantParameter, 5u);

  // Below 1048576 hexadecimal digits the output is a text file.
  setHexDigits(&s.record, 1048575);
  s.record.digitsPerFile = 100000;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.digitsPerFile, 0);
  // From there a block that holds all digits becomes one file.
  setHexDigits(&s.record, 2000000);
  s.record.digitsPerFile = 2000000;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.digitsPerFile, -1);
  s.record.digitsPerFile = 1999999;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.digitsPerFile, 1999999);
  s.record.digitsPerFile = -1;
  estimateResources(&s.record);
  EXPECT_EQ(s.record.digitsPerFile, -1);
}

TEST(EstimateConstant, DispatchByConstantAndMode) {
  uint64_t memory = 1, disk = 1;
  for (uint32_t id : {6u, 7u, 11u}) {
    estimateConstant(id, 0, 1000000, 2, computeModeRamOnly, &memory, &disk);
    EXPECT_EQ(memory, 0u);
    EXPECT_EQ(disk, 0u);
  }
  const uint64_t words = 6000000;
  for (uint32_t id : {constantSqrtN, constantGoldenRatio}) {
    estimateConstant(id, 0, words, 1, computeModeRamOnly, &memory, &disk);
    EXPECT_EQ(memory, estimateRoot(words, 1));
    EXPECT_EQ(disk, 0u);
    estimateConstant(id, 0, words, 1, computeModeBasicSwap, &memory, &disk);
    EXPECT_EQ(memory, estimateRootSwap(words, 1));
    EXPECT_EQ(disk, estimateConversionDisk(words));
  }
  // Every series constant: at least the conversion in Ram Only; the shared
  // swap memory and at least the conversion's disk in Basic Swap.
  for (uint32_t id : {constantE, constantPi, constantLog2, constantLog10, constantZeta3,
                      constantCatalan, constantEuler}) {
    estimateConstant(id, 0, words, 2, computeModeRamOnly, &memory, &disk);
    EXPECT_GE(memory, estimateConversion(words, 2)) << id;
    EXPECT_EQ(disk, 0u);
    estimateConstant(id, 0, words, 2, computeModeBasicSwap, &memory, &disk);
    EXPECT_EQ(memory, estimateRootSwap(words, 2)) << id;
    if (id != constantEuler) {
      EXPECT_GE(disk, estimateConversionDisk(words)) << id;
    }
  }
  // Euler's swap disk: at least 48 L, and 60 L for compute and verify.
  estimateConstant(constantEuler, 1, words, 0, computeModeBasicSwap, &memory, &disk);
  EXPECT_GE(disk, 48 * words);
  estimateConstant(constantEuler, 2, words, 0, computeModeBasicSwap, &memory, &disk);
  EXPECT_GE(disk, 60 * words);
  // Catalan by Lupas has its series peak, which also covers the finish.
  estimateConstant(constantCatalan, 0, words, 0, computeModeRamOnly, &memory, &disk);
  EXPECT_EQ(memory, std::max(seriesPeak(lupasSeries, words, 0), estimateConversion(words, 0)));
  EXPECT_GE(memory, 12 * words + productScratch(words, 0));
}

TEST(ConstantLimits, LargestSizesThatTheTransformServes) {
  Settings limits;
  uint64_t digits = limits.record.digitLimit, words = limits.record.wordLimit;
  EXPECT_EQ(words, 9999999999900u);
  // The decimal limit maps onto the word limit by the digit relations.
  ComputeSettings s{};
  setDecimalDigits(&s, digits);
  EXPECT_EQ(s.wordCount, words);
  setDecimalDigits(&s, digits + 1);
  EXPECT_GT(s.wordCount, words);
  // Every constant, algorithm and mode estimates at the limit without
  // reaching the fatal end.
  for (uint32_t id = 0; id < constantIdCount; id++) {
    selectConstant(nullptr, &limits.record, id);
    EXPECT_EQ(limits.record.digitLimit, digits);
    EXPECT_EQ(limits.record.wordLimit, words);
    if (id == 6 || id == 7) continue;  // empty slots: nothing to estimate
    for (uint32_t algorithm = 0; algorithm < 3; algorithm++) {
      for (uint32_t mode : {computeModeRamOnly, computeModeBasicSwap}) {
        uint64_t memory = 0, disk = 0;
        estimateConstant(id, algorithm, words, 8, mode, &memory, &disk);
        EXPECT_GT(memory, words) << id;
      }
    }
  }
}

TEST(ConstantLimitsDeath, PastTheLargestMultiplicationIsFatal) {
  // One word past the limit, the finish of Lupas and the swap run's largest
  // product need more than the hybrid transform holds.
  EXPECT_EXIT(estimateInChild(constantCatalan, 0, computeModeRamOnly), ::testing::ExitedWithCode(1),
              "^\n\nMaximum supported multiplication size has been exceeded\\.\n\n");
  EXPECT_EXIT(estimateInChild(constantPi, 3, computeModeBasicSwap), ::testing::ExitedWithCode(1),
              "Maximum supported multiplication size has been exceeded\\.");
}

}  // namespace
