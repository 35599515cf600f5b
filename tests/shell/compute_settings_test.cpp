// ComputeSettings helpers: defaults, the texts and stems of every constant,
// the digit relations and the Euler series size.
#include "constants/compute_settings.h"
#include "shell/settings_init.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
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
  if (s.threadPower < 8) EXPECT_GE(uint64_t(1) << s.threadPower, processors);
  if (s.threadPower > 0) EXPECT_LT(uint64_t(1) << (s.threadPower - 1), processors);
}

// Every id: the algorithm is reset, the stems pair up by radix, and only
// compute and verify lacks a file word; the empty slots have no algorithm.
TEST(ComputeSettings, SelectConstantSetsTablesAndStems) {
  Settings settings;
  ComputeSettings& s = settings.s;
  for (uint32_t id = 1; id <= 10; id++) {
    SCOPED_TRACE(id);
    s.algorithm = 1;
    selectConstant(nullptr, &s, id);
    buildFileStems(nullptr, &s);
    EXPECT_EQ(s.constantId, id);
    EXPECT_EQ(s.algorithm, 0u);
    EXPECT_EQ(algorithmCount(&s) == 0, id == 6 || id == 7);
    std::string hexStem = s.decimalFileStem;
    ASSERT_NE(hexStem.find(" - Dec - "), std::string::npos);
    hexStem.replace(hexStem.find(" - Dec - "), 9, " - Hex - ");
    EXPECT_EQ(std::string(s.hexFileStem), hexStem);
    EXPECT_EQ(std::string(s.decimalFileStem).rfind(std::string(s.nameShort) + " - Dec - ", 0), 0u);
    for (uint32_t a = 0; a < algorithmCount(&s); ++a) {
      bool verify = strcmp(s.algorithmNames[a], "Compute and Verify") == 0;
      EXPECT_EQ(s.algorithmShortNames[a] == nullptr, verify) << a;
    }
  }
  EXPECT_EQ(constantColor(1), 13);
  EXPECT_EQ(constantColor(9), 9);
  EXPECT_EQ(constantColor(3), 10);
}

TEST(ComputeSettings, SquareRootNamesAndStemsOfEachAlgorithm) {
  Settings settings;
  ComputeSettings& s = settings.s;
  s.constantParameter = 4294967295u;
  selectConstant(nullptr, &s, constantSqrtN);
  buildFileStems(nullptr, &s);
  EXPECT_STREQ(s.nameLong, "Square Root of 4294967295");
  EXPECT_STREQ(s.displayName, "Sqrt(4294967295)");
  EXPECT_STREQ(s.decimalFileStem, "Sqrt(4294967295) - Dec - Newton");
  EXPECT_STREQ(s.algorithmMenuLines[0], "1st order Newton's Method");
  // The stems follow the algorithm; for compute and verify the writers add
  // "Computation" or "Verification".
  auto stems = [&](uint32_t id, uint32_t algorithm) {
    selectConstant(nullptr, &s, id);
    s.algorithm = algorithm;
    buildFileStems(nullptr, &s);
    return std::string(s.decimalFileStem) + "|" + s.hexFileStem;
  };
  EXPECT_EQ(stems(constantPi, 1), "Pi - Dec - Ramanujan|Pi - Hex - Ramanujan");
  EXPECT_EQ(stems(constantE, 1), "e - Dec - exp(-1)|e - Hex - exp(-1)");
  EXPECT_EQ(stems(constantE, 2), "e - Dec - |e - Hex - ");
  EXPECT_STREQ(s.algorithmNames[2], "Compute and Verify");
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

TEST(DigitRelations, SampledAgainstExtendedPrecision) {
  // floor(d log16(10)) + 1 and back, checked in long double away from the
  // rounding edges, where double and long double may disagree by one.
  std::mt19937_64 random(20240601);
  const long double log16of10 = logl(10.0L) / logl(16.0L);
  for (int i = 0; i < 500; ++i) {
    uint64_t d = random() >> (random() % 44 + 16);
    ComputeSettings s{};
    setDecimalDigits(&s, d);
    long double exact = (long double)d * log16of10;
    long double margin = exact * 1e-14L + 1e-9L;  // double's reach, with room
    if (exact - floorl(exact) > margin && ceill(exact) - exact > margin) {
      EXPECT_EQ(s.hexDigits, (uint64_t)floorl(exact) + 1) << d;
    }
    EXPECT_EQ(s.wordCount, (s.hexDigits >> 3) + 2);
    uint64_t h = d;
    setHexDigits(&s, h);
    long double back = (long double)h / log16of10;
    margin = back * 1e-14L + 1e-9L;
    if (back - floorl(back) > margin && ceill(back) - back > margin) {
      EXPECT_EQ(s.decimalDigits, (uint64_t)floorl(back)) << h;
    }
  }
}

TEST(EulerSize, LeastPowerThatCoversTheDigits) {
  // (8 * 2^k - 20) / (4 ln 2): 85.1 at k = 5, 177.5 at k = 6.
  for (auto [h, k] : {std::pair{0, 5u}, {85, 5u}, {86, 6u}, {177, 6u}, {178, 7u}}) {
    EXPECT_EQ(eulerSizePower(h), k) << h;
  }
  std::mt19937_64 random(7);
  for (int i = 0; i < 300; ++i) {
    uint64_t h = random() >> (random() % 45 + 14);
    uint32_t k = eulerSizePower(h);
    auto bound = [](uint32_t power) {
      return (uint64_t)((8.0 * double(uint64_t(1) << power) - 20.0) * 0.36067376022224085);
    };
    EXPECT_LE(h, bound(k)) << h;
    if (k > 5) EXPECT_GT(h, bound(k - 1)) << h;
  }
}

}  // namespace
