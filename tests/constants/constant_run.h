// A run of a constant's entry as the driver sets it up: a record from the
// defaults with the constant, algorithm, digits, threads and mode chosen, an
// arena of the caller's estimate plus one MiB (or a given size), the
// transform tables, an output folder and, for Basic Swap, two swap folders,
// all from mkdtemp. The digits expected in the files come from MPFR.
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

#include "arith/fft/fft_tables.h"
#include "constants/compute_settings.h"
#include "constants/series.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "support/gmp_bridge.h"

namespace constant_test {

// A number of a series record equals `want`: stripped of zero words at both
// ends, nothing left below its words, its stripped words counted.
inline ::testing::AssertionResult numberIs(const SplitNumber& n, const mpz_t want,
                                           const char* name) {
  if (n.length != 0 && (n.words[n.length - 1] == 0 || n.words[0] == 0)) {
    return ::testing::AssertionFailure() << name << " has a zero top or low word";
  }
  for (const uint32_t* w = n.base; w < n.words; w++) {
    if (*w != 0) return ::testing::AssertionFailure() << name << " has words below it";
  }
  testbridge::Number got;
  testbridge::toMpz(got.z, n.words, n.length);
  mpz_mul_2exp(got.z, got.z, 32 * n.stripped);
  if (mpz_cmp(got.z, want) != 0) return ::testing::AssertionFailure() << name << " differs";
  return ::testing::AssertionSuccess();
}

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

// The value's text as the writers lay it out: its integer digits, "." and
// exactly `digits` digits after the point, truncated, in base 10 or 16.
// `set` puts the value (of parameter n) into x, rounded toward zero.
inline std::string mpfrText(void (*set)(mpfr_t x, uint32_t n), uint32_t n, uint64_t digits,
                            int base) {
  mpfr_t x;
  mpfr_init2(x, mpfr_prec_t(double(digits) * std::log2(double(base))) + 128);
  set(x, n);
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, base, size_t(digits) + 20, x, MPFR_RNDZ);
  std::string all(text);
  mpfr_free_str(text);
  mpfr_clear(x);
  mpfr_free_cache();
  return all.substr(0, size_t(point)) + "." + all.substr(size_t(point), size_t(digits));
}

using Estimate = uint64_t (*)(const ComputeSettings* settings);
using Entry = double (*)(ComputeSettings* settings);

struct ConstantRun {
  std::string folder;
  std::string swapFolders[2];
  char* swapTexts[2] = {nullptr, nullptr};
  PathList swapList = {0, nullptr};
  ComputeSettings settings;
  Heap heap;
  std::string console;
  uint32_t savedThreadPower;

  // `estimate` gives memoryNeeded from the finished record; the arena is
  // that plus one MiB, or `arenaBytes` when given.
  ConstantRun(uint32_t constantId, uint32_t algorithm, uint32_t n, uint64_t decimalDigits,
              uint32_t threadPower, uint32_t mode, Estimate estimate, uint64_t arenaBytes = 0) {
    folder = makeFolder("constant_out");
    fillDefaultComputeSettings(nullptr, &settings);
    settings.constantParameter = n;
    selectConstant(nullptr, &settings, constantId);
    settings.algorithm = algorithm;
    buildFileStems(nullptr, &settings);
    setDecimalDigits(&settings, decimalDigits);
    settings.threadPower = threadPower;
    settings.computeMode = mode;
    settings.outputPath = strdup((folder + "/").c_str());
    settings.memoryNeeded = estimate(&settings);
    heapInit(nullptr, &heap, arenaBytes != 0 ? arenaBytes : settings.memoryNeeded + 1048576);
    settings.heap = &heap;
    savedThreadPower = globalThreadPower;
    globalThreadPower = threadPower;
    if (mode == computeModeBasicSwap) {
      for (int i = 0; i < 2; i++) {
        swapFolders[i] = makeFolder("constant_swap");
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
    std::filesystem::remove_all(folder);
    for (auto& swap : swapFolders) {
      if (swap.empty()) continue;
      EXPECT_TRUE(std::filesystem::is_empty(swap)) << "swap files left in " << swap;
      std::filesystem::remove_all(swap);
    }
  }

  // Runs the entry with the console captured; returns its computation time.
  double run(Entry entry) {
    buildFftTables(settings.wordCount + 100);
    consoleCaptureTo(&console);
    const double seconds = entry(&settings);
    consoleCaptureTo(nullptr);
    releaseFftTables();
    return seconds;
  }

  uint64_t peakBytes() const { return uint64_t(heap.peakUsed - heap.base); }

  std::string text(uint32_t radix, uint32_t label = 0) const {
    char* name = digitFileName(&settings, radix, label);
    std::string path(name);
    free(name);
    return readFile(path);
  }
};

}  // namespace constant_test
