// A run of a constant as the driver sets it up: a record from the defaults
// with the constant, algorithm, digits, threads and mode chosen, an arena of
// the driver's figure plus one MiB (or of the figure alone), the transform
// tables, an output folder and, for Basic Swap, two swap folders.
#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
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
#include "support/swap_folders.h"

namespace constant_test {

struct ConstantRun {
  std::string folder;
  std::unique_ptr<SwapFolders> swap;  // Basic Swap: two folders
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
    if (mode == computeModeBasicSwap) swap = std::make_unique<SwapFolders>(2u);
  }

  ~ConstantRun() {
    globalThreadPower = savedThreadPower;
    settings.heap = nullptr;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the arena";
    heapDestroy(&heap);
    releaseComputeSettings(&settings);
    removeTree(folder);
    if (swap != nullptr) { EXPECT_TRUE(swap->empty()) << "swap files left behind"; }
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
