// The memory estimates of Log(2), Log(10), Zeta(3) and Catalan's constant:
// whole runs of the entries (series, finish, conversion and writers) on one
// and two threads, the arena's high-water mark against the driver's figure.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "constant_run.h"
#include "constants/log.h"
#include "constants/zeta_catalan.h"
#include "shell/estimate.h"

namespace {

uint64_t driverEstimate(const ComputeSettings* s) {
  uint64_t memory = 0, disk = 0;
  estimateConstant(s->constantId, s->algorithm, s->wordCount, s->threadPower,
                   computeModeRamOnly, &memory, &disk);
  return memory;
}

double (*entryOf(uint32_t id))(ComputeSettings*) {
  if (id == constantZeta3) return computeZeta3;
  if (id == constantCatalan) return computeCatalan;
  return computeLog;
}

}  // namespace

TEST(NewConstantsMemory, EstimatesCoverTheRunsAndStayClose) {
  struct Case {
    uint32_t id;
    uint32_t algorithms;
  };
  const Case cases[] = {{constantLog2, 3}, {constantLog10, 3}, {constantZeta3, 2},
                        {constantCatalan, 2}};
  double worst = 0.0, lowest = 10.0;
  for (const Case& c : cases) {
    for (uint32_t algorithm = 0; algorithm < c.algorithms; algorithm++) {
      for (uint64_t digits : {20001ull, 150001ull}) {
        for (uint32_t threads : {0u, 1u}) {
          // On two threads the high-water mark follows where the halves'
          // heaps lie: there the run must fit an arena of the figure itself.
          ComputeSettings probe;
          fillDefaultComputeSettings(nullptr, &probe);
          selectConstant(nullptr, &probe, c.id);
          probe.algorithm = algorithm;
          setDecimalDigits(&probe, digits);
          probe.threadPower = threads;
          const uint64_t figure = driverEstimate(&probe);
          releaseComputeSettings(&probe);
          constant_test::ConstantRun run(c.id, algorithm, 0, digits, threads, computeModeRamOnly,
                                         driverEstimate, threads == 0 ? 0 : figure);
          run.run(entryOf(c.id));
          EXPECT_EQ(run.text(10).size(), digits + 2);  // "0." or "1." and the digits
          if (threads != 0) continue;
          const double ratio = double(run.settings.memoryNeeded) / double(run.peakBytes());
          worst = std::max(worst, ratio);
          lowest = std::min(lowest, ratio);
          EXPECT_GE(ratio, 1.0) << c.id << " " << algorithm << " " << digits << " " << threads;
          EXPECT_LE(ratio, 1.25) << c.id << " " << algorithm << " " << digits << " " << threads;
        }
      }
    }
  }
  printf("ratios from %.3f to %.3f\n", lowest, worst);
}
