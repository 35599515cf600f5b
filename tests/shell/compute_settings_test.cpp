// ComputeSettings helpers: defaults, the release, and the digit relations at
// their edges.
#include "constants/compute_settings.h"
#include "shell/settings_init.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>

#include "platform/threads.h"

namespace {

// A record that releases what it owns when the test ends.
struct Settings {
  ComputeSettings s;
  Settings() { initComputeSettings(nullptr, &s); }
  ~Settings() { releaseComputeSettings(&s); }
};

TEST(ComputeSettings, DefaultsArePiByChudnovskyInRamOnly) {
  Settings settings;
  const ComputeSettings& s = settings.s;
  EXPECT_EQ(s.decimalDigits, 50000000u);
  EXPECT_EQ(s.hexDigits, 41524102u);
  EXPECT_EQ(s.wordCount, 5190514u);
  EXPECT_EQ(s.computeMode, computeModeRamOnly);
  EXPECT_EQ(s.constantId, constantPi);
  EXPECT_EQ(s.algorithm + s.digitsPerFile + s.swapDiskCount + s.constantParameter, 0u);
  EXPECT_EQ(s.outputPath, nullptr);
  EXPECT_EQ(s.swapPaths, nullptr);
  EXPECT_STREQ(s.hexFileStem, "Pi - Hex - Chudnovsky");
  // The smallest k with 2^k at least the processors, at most 8.
  uint32_t processors = processorCount();
  EXPECT_LE(s.threadPower, 8u);
  if (s.threadPower < 8) { EXPECT_GE(uint64_t(1) << s.threadPower, processors); }
  if (s.threadPower > 0) { EXPECT_LT(uint64_t(1) << (s.threadPower - 1), processors); }
}

TEST(ComputeSettings, ReleaseFreesEverythingAndCanRepeat) {
  ComputeSettings s;
  initComputeSettings(nullptr, &s);
  s.outputPath = strdup("/tmp/");
  releaseComputeSettings(&s);
  EXPECT_EQ(s.outputPath, nullptr);
  EXPECT_EQ(s.decimalFileStem, nullptr);
  releaseComputeSettings(&s);  // nothing left to free: must not double free
  EXPECT_STREQ(computeModeName(3), "Advanced Swap");
  EXPECT_STREQ(computeModeName(4), "");
}

TEST(DigitRelations, BothDirectionsAtTheEdges) {
  ComputeSettings s{};
  // 30 digits: 24.9 hexadecimal digits, so 25 and (25 >> 3) + 2 = 5 words,
  // the smallest size the decimal menu accepts; 20 gives 4 words.
  for (auto [d, h, w] : {std::tuple{0u, 1u, 2u}, {20u, 17u, 4u}, {30u, 25u, 5u}}) {
    setDecimalDigits(&s, d);
    EXPECT_EQ(s.hexDigits, h) << d;
    EXPECT_EQ(s.wordCount, w) << d;
  }
  setHexDigits(&s, 41524102);
  EXPECT_EQ(s.hexDigits, 41524102u);
  EXPECT_EQ(s.decimalDigits, 50000000u);  // floor(50000000.6...)
  EXPECT_EQ(s.wordCount, 5190514u);
  setHexDigits(&s, 1048576);
  EXPECT_EQ(s.decimalDigits, 1262611u);
}

}  // namespace
