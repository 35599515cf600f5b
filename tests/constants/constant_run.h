// A run of a constant as the driver sets it up: a record from the defaults
// with the constant, algorithm, digits, threads and mode chosen, an arena of
// the driver's figure plus one MiB (or of the figure alone), the transform
// tables, an output folder and, for Basic Swap, two swap folders.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "arith/fft/fft_tables.h"
#include "constants/compute_settings.h"
#include "constants/series.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/dispatch.h"
#include "shell/estimate.h"
#include "support/gmp_bridge.h"
#include "support/run_program.h"

namespace constant_test {

struct ConstantRun {
  std::string folder;
  std::string swapFolders[2];
  char* swapTexts[2] = {nullptr, nullptr};
  PathList swapList = {0, nullptr};
  ComputeSettings settings;
  Heap heap;
  std::string console;
  uint32_t savedThreadPower;

  // memoryNeeded is the driver's figure (the Ram Only one for the series
  // constants, whose swap runs hold it too); the arena is that plus one MiB,
  // or the figure alone when `exactArena`.
  ConstantRun(uint32_t constantId, uint32_t algorithm, uint32_t n, uint64_t decimalDigits,
              uint32_t threadPower, uint32_t mode, bool exactArena = false) {
    folder = makeTempFolder();
    fillDefaultComputeSettings(nullptr, &settings);
    settings.constantParameter = n;
    selectConstant(nullptr, &settings, constantId);
    settings.algorithm = algorithm;
    buildFileStems(nullptr, &settings);
    setDecimalDigits(&settings, decimalDigits);
    settings.threadPower = threadPower;
    settings.computeMode = mode;
    settings.outputPath = strdup((folder + "/").c_str());
    const bool root = constantId == constantSqrtN || constantId == constantGoldenRatio;
    uint64_t disk = 0;
    estimateConstant(constantId, algorithm, settings.wordCount, threadPower,
                     root ? mode : computeModeRamOnly, &settings.memoryNeeded, &disk);
    heapInit(nullptr, &heap, settings.memoryNeeded + (exactArena ? 0 : 1048576));
    settings.heap = &heap;
    savedThreadPower = globalThreadPower;
    globalThreadPower = threadPower;
    if (mode == computeModeBasicSwap) {
      for (int i = 0; i < 2; i++) {
        swapFolders[i] = makeTempFolder();
        swapTexts[i] = swapFolders[i].data();
      }
      swapList = {2, swapTexts};
      globalSwapPaths = &swapList;
    }
  }

  ~ConstantRun() {
    globalThreadPower = savedThreadPower;
    globalSwapPaths = nullptr;
    settings.heap = nullptr;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the arena";
    heapDestroy(&heap);
    releaseComputeSettings(&settings);
    removeTree(folder);
    for (auto& swap : swapFolders) {
      if (swap.empty()) continue;
      EXPECT_TRUE(std::filesystem::is_empty(swap)) << "swap files left in " << swap;
      removeTree(swap);
    }
  }

  // Runs the constant's entry with the console captured; returns its
  // computation time.
  double run() {
    buildFftTables(settings.wordCount + 100);
    consoleCaptureTo(&console);
    const double seconds = computeConstant(&settings);
    consoleCaptureTo(nullptr);
    releaseFftTables();
    return seconds;
  }

  uint64_t peakBytes() const { return uint64_t(heap.peakUsed - heap.base); }

  std::string text(uint32_t radix, uint32_t label = 0) const {
    char* name = digitFileName(&settings, radix, label);
    std::string path(name);
    free(name);
    return readWholeFile(path);
  }
};

}  // namespace constant_test
