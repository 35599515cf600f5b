// A run of a root constant's entry as the driver sets it up: a record from
// the defaults with the constant and digits chosen, an arena of the
// estimate plus one MiB, the transform tables, an output folder from mkdtemp
// (and, for Basic Swap, two swap folders). The digits expected in the files
// come from MPFR.
#pragma once

#include <gtest/gtest.h>
#include <mpfr.h>
#include <stdlib.h>

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "arith/fft_tables.h"
#include "constants/compute_settings.h"
#include "constants/roots.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"

namespace root_test {

inline std::string makeFolder(const char* stem) {
  std::string pattern = std::string("/tmp/") + stem + "_XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) return std::string();
  return pattern;
}

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// The value's text as the writers lay it out: its integer digits, ".", and
// exactly `digits` digits after the point, truncated, in base 10 or 16.
// `n` 0 asks for the Golden Ratio.
inline std::string mpfrRootText(uint32_t n, uint64_t digits, int base) {
  mpfr_prec_t bits = mpfr_prec_t(double(digits) * std::log2(double(base))) + 128;
  mpfr_t x;
  mpfr_init2(x, bits);
  if (n == 0) {
    mpfr_sqrt_ui(x, 5, MPFR_RNDZ);
    mpfr_add_ui(x, x, 1, MPFR_RNDZ);
    mpfr_div_2ui(x, x, 1, MPFR_RNDZ);
  } else {
    mpfr_sqrt_ui(x, n, MPFR_RNDZ);
  }
  mpfr_exp_t point = 0;
  // Ten digits more than needed, truncated; then cut at the wanted length.
  char* text = mpfr_get_str(nullptr, &point, base, size_t(digits) + 20, x, MPFR_RNDZ);
  std::string all(text);
  mpfr_free_str(text);
  mpfr_clear(x);
  return all.substr(0, size_t(point)) + "." + all.substr(size_t(point), size_t(digits));
}

struct RootRun {
  std::string folder;
  std::string swapFolders[2];
  char* swapTexts[2] = {nullptr, nullptr};
  PathList swapList = {0, nullptr};
  ComputeSettings settings;
  Heap heap;
  std::string console;
  uint32_t savedThreadPower;

  // constantId 0 (Sqrt(n), with n) or 1; mode 1 Ram Only or 2 Basic Swap.
  // The arena has the estimate plus one MiB, or `arenaBytes` when given.
  RootRun(uint32_t constantId, uint32_t n, uint64_t decimalDigits, uint32_t threadPower,
          uint32_t mode, uint64_t arenaBytes = 0) {
    folder = makeFolder("roots_out");
    fillDefaultComputeSettings(nullptr, &settings);
    settings.constantParameter = n;
    selectConstant(nullptr, &settings, constantId);
    buildFileStems(nullptr, &settings);
    setDecimalDigits(&settings, decimalDigits);
    settings.threadPower = threadPower;
    settings.computeMode = mode;
    settings.outputPath = strdup((folder + "/").c_str());
    settings.memoryNeeded = mode == computeModeRamOnly
                                ? estimateRoot(settings.wordCount, threadPower)
                                : estimateRootSwap(settings.wordCount, threadPower);
    heapInit(nullptr, &heap, arenaBytes != 0 ? arenaBytes : settings.memoryNeeded + 1048576);
    settings.heap = &heap;
    savedThreadPower = globalThreadPower;
    globalThreadPower = threadPower;
    if (mode == computeModeBasicSwap) {
      for (int i = 0; i < 2; i++) {
        swapFolders[i] = makeFolder("roots_swap");
        swapTexts[i] = swapFolders[i].data();
      }
      swapList.count = 2;
      swapList.paths = swapTexts;
      globalSwapPaths = &swapList;
    }
  }

  ~RootRun() {
    globalThreadPower = savedThreadPower;
    globalSwapPaths = nullptr;
    settings.heap = nullptr;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the arena";
    heapDestroy(&heap);
    releaseComputeSettings(&settings);
    std::filesystem::remove_all(folder);
    for (auto& swap : swapFolders) {
      if (swap.empty()) continue;
      EXPECT_TRUE(std::filesystem::is_empty(swap)) << "swap files left in " << swap;
      std::filesystem::remove_all(swap);
    }
  }

  // Runs the entry of the record's constant and mode with the console
  // captured; returns its computation time.
  double run() {
    buildFftTables(settings.wordCount + 100);
    consoleCaptureTo(&console);
    const bool swapped = settings.computeMode == computeModeBasicSwap;
    double seconds;
    if (settings.constantId == constantGoldenRatio) {
      seconds = swapped ? computeGoldenRatioSwapped(&settings) : computeGoldenRatio(&settings);
    } else {
      seconds = swapped ? computeSqrtNSwapped(&settings) : computeSqrtN(&settings);
    }
    consoleCaptureTo(nullptr);
    releaseFftTables();
    return seconds;
  }

  uint64_t peakBytes() const { return uint64_t(heap.peakUsed - heap.base); }

  std::string fileName(const char* radixWord) const {
    std::string name = settings.constantId == constantGoldenRatio
                           ? std::string("Golden Ratio")
                           : "Sqrt(" + std::to_string(settings.constantParameter) + ")";
    return folder + "/" + name + radixWord + "Newton.txt";
  }
  std::string hexText() const { return readFile(fileName(" - Hex - ")); }
  std::string decimalText() const { return readFile(fileName(" - Dec - ")); }
};

}  // namespace root_test
