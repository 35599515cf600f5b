// Euler's constant: whole runs of the entry against MPFR's digits (every
// algorithm, odd sizes, one and two threads, Ram Only and Basic Swap), the
// same bytes from one and two threads, the term counts of both series, the
// skipped correction and the quiet Log(2) line, and the memory estimate
// against the arena's high-water mark.
#include "constants/euler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "constant_run.h"
#include "constants/series.h"
#include "series_check.h"
#include "shell/estimate.h"

namespace {

// MPFR's constant once, rounded toward zero to more bits than any text
// here needs; each text rounds it down again, which truncates the same way.
std::string eulerText(uint64_t digits, int base) {
  static mpfr_t cached;
  static bool ready = false;
  if (!ready) {
    mpfr_init2(cached, 140000);
    mpfr_const_euler(cached, MPFR_RNDZ);
    ready = true;
  }
  return series_check::mpfrText([](mpfr_t v) { mpfr_set(v, cached, MPFR_RNDZ); }, digits, base);
}

uint64_t driverEstimate(const ComputeSettings* s) {
  uint64_t memory = 0, disk = 0;
  estimateConstant(s->constantId, s->algorithm, s->wordCount, s->threadPower, computeModeRamOnly,
                   &memory, &disk);
  return memory;
}

// The arena is the driver's figure plus its margin, or `arena` bytes.
struct EulerRun : constant_test::ConstantRun {
  EulerRun(uint32_t algorithm, uint64_t digits, uint32_t threads, uint32_t mode,
           uint64_t arena = 0)
      : ConstantRun(constantEuler, algorithm, 0, digits, threads, mode, driverEstimate, arena) {
    run(computeEuler);
  }
};

}  // namespace

TEST(EulerSeries, TermCounts) {
  // The N-th term of series A and B lies W words below the largest one, the
  // one before it not yet; the M-th term of series C is below -Wc words.
  for (uint32_t k : {5u, 9u, 17u}) {
    for (uint64_t words : {3ull, 40ull, 5000ull}) {
      const uint64_t n = uint64_t(1) << k;
      const uint64_t terms = eulerMainTerms(k, words);
      const long double top = truncl(eulerTermWords(k, (long double)n));
      EXPECT_GE(terms, n);
      EXPECT_LE(truncl(eulerTermWords(k, (long double)terms)), top - (long double)words);
      EXPECT_GT(truncl(eulerTermWords(k, (long double)(terms - 1))), top - (long double)words);
      const uint64_t m = eulerCorrectionTerms(k, words);
      EXPECT_GE(m, 1u);
      EXPECT_LE(m, 2 * n);
    }
  }
  EXPECT_EQ(eulerCorrectionSkipWords(5), 5u);
}

TEST(EulerRuns, EveryAlgorithmWritesMpfrsDigits) {
  struct Case {
    uint64_t digits;
    uint32_t threads;
  };
  for (const Case c : {Case{1001, 0}, Case{23457, 1}, Case{12345, 0}}) {
    const std::string decimal = eulerText(c.digits, 10);
    for (uint32_t algorithm : {0u, 1u, 2u}) {
      EulerRun run(algorithm, c.digits, c.threads, computeModeRamOnly);
      SCOPED_TRACE("digits " + std::to_string(c.digits) + " algorithm " +
                   std::to_string(algorithm));
      EXPECT_EQ(run.text(10), decimal);
      EXPECT_EQ(run.text(16), eulerText(run.settings.hexDigits, 16));
      if (algorithm == 2) {
        EXPECT_EQ(run.text(10, 1), decimal);
        EXPECT_NE(run.console.find("Begin Verification:"), std::string::npos);
      }
      // Short runs compute Log(2) under one line.
      EXPECT_NE(run.console.find("Computing: Log(2)"), std::string::npos);
      EXPECT_EQ(run.console.find("ArcCoth("), std::string::npos);
    }
  }
}

TEST(EulerRuns, TwoThreadsAndBasicSwapGiveTheSameBytes) {
  const uint64_t digits = 20001;
  EulerRun one(0, digits, 0, computeModeRamOnly);
  EulerRun two(0, digits, 1, computeModeRamOnly);
  EulerRun swap(2, digits, 1, computeModeBasicSwap);
  EXPECT_EQ(one.text(10), two.text(10));
  EXPECT_EQ(one.text(16), two.text(16));
  EXPECT_EQ(swap.text(10), eulerText(digits, 10));
  EXPECT_EQ(swap.text(10, 1), eulerText(digits, 10));
}

TEST(EulerMemory, EstimateCoversTheRunsAndStaysClose) {
  double worst = 0.0, lowest = 10.0;
  // Compute and verify holds the passes of both other algorithms.
  for (uint32_t algorithm : {0u, 2u}) {
    for (uint64_t digits : {9999ull, 33333ull}) {
      for (uint32_t threads : {0u, 1u}) {
        // On two threads the high-water mark follows where the halves' heaps
        // lie: there the run must fit an arena of the figure itself.
        uint64_t figure = 0;
        if (threads != 0) {
          ComputeSettings probe;
          fillDefaultComputeSettings(nullptr, &probe);
          selectConstant(nullptr, &probe, constantEuler);
          probe.algorithm = algorithm;
          setDecimalDigits(&probe, digits);
          probe.threadPower = threads;
          figure = driverEstimate(&probe);
          releaseComputeSettings(&probe);
        }
        EulerRun run(algorithm, digits, threads, computeModeRamOnly, figure);
        EXPECT_EQ(run.text(10).size(), digits + 2);
        if (threads != 0) continue;
        const double ratio = double(run.settings.memoryNeeded) / double(run.peakBytes());
        worst = std::max(worst, ratio);
        lowest = std::min(lowest, ratio);
        EXPECT_GE(ratio, 1.0) << algorithm << " " << digits;
        EXPECT_LE(ratio, 1.25) << algorithm << " " << digits;
      }
    }
  }
  printf("ratios from %.3f to %.3f\n", lowest, worst);
}

TEST(EulerRuns, SeriesCIsSkippedJustAboveASizeStep) {
  // 39 hexadecimal digits: k = 5, W = 8 words, and e^(-4n) is already below
  // them.
  ComputeSettings probe;
  fillDefaultComputeSettings(nullptr, &probe);
  setHexDigits(&probe, 39);
  const uint64_t decimal = probe.decimalDigits;
  releaseComputeSettings(&probe);
  EulerRun run(0, decimal, 0, computeModeRamOnly);
  EXPECT_NE(run.console.find("Series C not needed"), std::string::npos);
  EXPECT_EQ(run.text(10), eulerText(run.settings.decimalDigits, 10));
}
