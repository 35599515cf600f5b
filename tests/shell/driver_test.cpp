// runComputation: header texts, the arena with its margin, the empty
// constants, the times, and the release that lets a record run again.
#include "shell/driver.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "constants/compute_settings.h"
#include "shell/settings_init.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"
#include "support/run_program.h"
#include "support/console_capture.h"

namespace {

// The default record at 1000 digits: the transform tables stay small.
struct Settings {
  ComputeSettings s;
  Settings() {
    initComputeSettings(nullptr, &s);
    setDecimalDigits(&s, 1000);
  }
  ~Settings() { releaseComputeSettings(&s); }
};

TEST(Driver, HeaderAndFilesOfASmallPiRun) {
  Settings settings;
  std::string folder = makeTempFolder();
  settings.s.outputPath = strdup(folder.c_str());
  settings.s.threadPower = 3;
  estimateResources(&settings.s);
  const uint64_t estimate = settings.s.memoryNeeded;
  Capture capture;
  double seconds = runComputation(nullptr, &settings.s);
  EXPECT_GE(seconds, 0.0);
  const std::string expected =
      "\n\nConstant :  Pi\n"
      "Algorithm:  Chudnovsky Formula\n\n"
      "Decimal Digits    :   1,000\n"
      "Hexadecimal Digits:   831\n\n"
      "Threads:  8\n"
      "Mode   :  Ram Only\n\n\n"
      "Allocating and Reserving Memory...      " +
      formatBytes(estimate + 1048576) +
      "\n"
      "Constructing FFT lookup tables...       \n\n\n"
      "Begin Computation:\n\n";
  EXPECT_EQ(capture.text.substr(0, expected.size()), expected);
  EXPECT_EQ(globalThreadPower, 3u);
  EXPECT_EQ(settings.s.heap, nullptr);
  std::string decimal = readWholeFile(folder + "/Pi - Dec - Chudnovsky.txt");
  EXPECT_EQ(decimal.size(), 1002u);
  EXPECT_EQ(decimal.substr(decimal.size() - 10), "2164201989");  // digits 991 to 1000
  EXPECT_EQ(readWholeFile(folder + "/Pi - Hex - Chudnovsky.txt").substr(0, 10), "3.243f6a88");
  removeTree(folder);
}

TEST(Driver, ConstantsWithoutAComputationSaySoAndReserveNothing) {
  // Empty slots, an unknown id and a mode without a computation: one line,
  // no arena.
  const uint32_t cases[][2] = {{6, computeModeRamOnly},
                               {7, computeModeRamOnly},
                               {11, computeModeRamOnly},
                               {constantPi, computeModeAdvancedSwap}};
  for (const auto& [id, mode] : cases) {
    SCOPED_TRACE(id);
    Settings settings;
    selectConstant(nullptr, &settings.s, id);
    buildFileStems(nullptr, &settings.s);
    settings.s.computeMode = mode;
    settings.s.memoryNeeded = 4096;
    Capture capture;
    EXPECT_EQ(runComputation(nullptr, &settings.s), 0.0);
    const std::string name = settings.s.displayName != nullptr && settings.s.displayName[0] != 0
                                 ? settings.s.displayName
                                 : "This constant";
    EXPECT_EQ(capture.text, "\n" + name + " is not available in this version.\n");
    EXPECT_EQ(settings.s.memoryNeeded, 4096u);
    EXPECT_EQ(settings.s.heap, nullptr);
  }
}

TEST(Driver, EulerHeaderShowsTheSeriesSize) {
  Settings settings;
  selectConstant(nullptr, &settings.s, constantEuler);
  settings.s.constantParameter = 5;
  for (auto [algorithm, header] : {std::pair{0u, "Brent-McMillan with Refinement  ( n = 2^5 )"},
                                   {1u, "Brent-McMillan  ( n = 2^6 )"},
                                   {2u, "Compute and Verify  ( n = 2^5 , 2^6 )"}}) {
    settings.s.algorithm = algorithm;
    Capture capture;
    printAlgorithmName(&settings.s);
    EXPECT_EQ(capture.text, header);
  }
}

TEST(Driver, RecordRunsAgainAfterRelease) {
  Settings settings;
  std::string folder = makeTempFolder();
  settings.s.outputPath = strdup(folder.c_str());
  selectConstant(nullptr, &settings.s, constantGoldenRatio);
  buildFileStems(nullptr, &settings.s);
  setDecimalDigits(&settings.s, 100);
  settings.s.threadPower = 0;
  settings.s.memoryNeeded = 3u << 20;
  Capture capture;
  runComputation(nullptr, &settings.s);
  EXPECT_EQ(settings.s.heap, nullptr);
  // Without a new estimate the margin is added again: 3 + 1 + 1 MiB.
  runComputation(nullptr, &settings.s);
  EXPECT_EQ(settings.s.heap, nullptr);
  EXPECT_EQ(settings.s.memoryNeeded, 5u << 20);
  EXPECT_EQ(countOccurrences(capture.text, "Threads:  1\nMode   :  Ram Only\n"), 2u);
  EXPECT_NE(capture.text.find("Allocating and Reserving Memory...      5.00 MB\n"),
            std::string::npos);
  removeTree(folder);
}

}  // namespace
