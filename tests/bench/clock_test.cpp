// The clock rules at their edges, and the measurement on this machine.
#include "bench/clock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>

#include "support/death_console.h"

namespace {

TEST(ClockRules, SpreadOfTheThreeClocks) {
  struct Case {
    double ticks, counter, cycles;
    bool sound;
  };
  const Case cases[] = {
      {1.5, 1.5, 1.5, true},
      {1.5, 1.55, 1.52, true},    // 0.05 s at 1.5 s passes
      {1.5, 1.56, 1.5, false},    // 0.06 s fails
      {1.56, 1.5, 1.5, false},    // whichever clock is off
      {1.5, 1.5, 1.56, false},
      {3.9, 3.96, 3.9, false},    // below 4 s only the absolute rule
      {100.0, 101.0, 100.5, true},  // 1 % of 100 s
      {100.0, 101.02, 100.0, false},
      {10.0, 10.1, 10.0, true},   // relative rule from 4 s on
      {10.0, 10.11, 10.0, false},
      {4.0, 4.04, 4.0, true},
      {4.0, 4.06, 4.0, false},    // 1.5 %
      {1.5, NAN, 1.5, true},      // a spread that is not a number
  };
  for (const Case& c : cases) {
    EXPECT_EQ(clocksAgree(c.ticks, c.counter, c.cycles), c.sound)
        << c.ticks << " " << c.counter << " " << c.cycles;
  }
}

TEST(ClockRules, FrequencyComparison) {
  struct Case {
    uint64_t measured, hz;
    bool differs;
  };
  const Case cases[] = {
      {3000000000ull, 3000000000ull, false},
      {3000000000ull, 3004000000ull, false},  // 4,000,000 Hz never sets it
      {1000000ull, 5000000ull, false},        // however small the base
      {5000000000ull, 5004000001ull, false},  // ratio below 0.001
      {5000000000ull, 4995999999ull, false},  // the smaller is the base: 0.0008007
      {4000000000ull, 4004000001ull, true},   // just above 0.001
      {3000000000ull, 3004000001ull, true},   // both rules broken
      {3004000001ull, 3000000000ull, true},
      {3000000000ull, 3010000000ull, true},
      {3010000000ull, 3000000000ull, true},
      {0, 4000001, false},                    // a zero base: ratio 0
  };
  for (const Case& c : cases) {
    EXPECT_EQ(frequencyDiffers(c.measured, c.hz), c.differs) << c.measured << " " << c.hz;
  }
  ClockInfo info;
  memset(&info, 0, sizeof(info));
  info.measuredHz = 3000000000ull;
  compareFrequency(&info, 3004000000ull);
  EXPECT_EQ(info.frequencyInaccurate, 0u);
  compareFrequency(&info, 3100000000ull);
  EXPECT_EQ(info.frequencyInaccurate, 1u);
  compareFrequency(&info, 3000000000ull);
  EXPECT_EQ(info.frequencyInaccurate, 1u);  // stays set
}

TEST(Clocks, MeasureAndFinishOnThisMachine) {
  ClockInfo info;
  clockStart(&info);
  EXPECT_GT(info.measuredHz, 100000000u);
  EXPECT_EQ(info.counterHz, 1000000000);
  EXPECT_NE(info.processorName[0], ' ');
  usleep(200000);
  clockFinish(&info);
  // The end's frequency measurement (1/16 s) comes before the clocks are read.
  EXPECT_GE(info.secondsByCounter, 0.2);
  EXPECT_LT(info.secondsByCounter, 1.0);
  EXPECT_NEAR(info.secondsByTicks, info.secondsByCounter, 0.05);
  EXPECT_NEAR(info.secondsByCycles, info.secondsByCounter, 0.05);
  EXPECT_TRUE(frequencyDiffers(info.measuredHz, info.measuredHz * 2));
}

TEST(ClocksDeathTest, FinishEndsOnDisagreeingClocksOrFrequency) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        ClockInfo info;
        clockStart(&info);
        info.startCounter -= 2000000000;  // the counter says two seconds more
        clockFinish(&info);
      },
      ::testing::ExitedWithCode(1), "Sanity Check Error... Unable to validate benchmark");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        ClockInfo info;
        clockStart(&info);
        info.frequencyInaccurate = 1;
        clockFinish(&info);
      },
      ::testing::ExitedWithCode(1), "Abnormal frequency measurement");
}

}  // namespace
