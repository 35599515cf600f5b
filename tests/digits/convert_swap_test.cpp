// The swap forms of the base conversion with real swap files striped over
// two temporary folders: the table ends up on disk, the conversion gives the
// digits of the RAM form and leaves them in a swap file, and nothing is left
// behind once the table and the output are released.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "memory/raidfile.h"
#include "support/gmp_bridge.h"

using namespace testbridge;
using namespace conversion_test;

namespace {

class ConvertSwapped : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 2; ++i) {
      char pattern[] = "/tmp/conversion_swap_XXXXXX";
      ASSERT_NE(mkdtemp(pattern), nullptr);
      folders[i] = pattern;
      // One path with a trailing slash, one without.
      if (i == 1) folders[i] += "/";
      pathTexts[i] = folders[i].data();
    }
    paths.count = 2;
    paths.paths = pathTexts;
    globalSwapPaths = &paths;
  }
  void TearDown() override {
    globalSwapPaths = nullptr;
    for (auto& folder : folders) {
      EXPECT_TRUE(std::filesystem::is_empty(folder)) << "swap files left in " << folder;
      std::filesystem::remove_all(folder);
    }
  }

  static bool pagedOut(const BigInt& x) { return x.words == nullptr && x.swap != nullptr; }

  std::string folders[2];
  char* pathTexts[2];
  PathList paths;
};

}  // namespace

TEST_F(ConvertSwapped, GivesTheDigitsOfTheRamFormFromSwapFiles) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  // Every swap file is synced to disk when written: few cases, each with
  // a different depth of table and of threads.
  const std::pair<uint64_t, uint32_t> cases[] = {{12, 0}, {700, 1}, {3000, 0}};
  for (auto [n, threads] : cases) {
    std::vector<uint32_t> words = operand(random, Kind::Uniform, n);
    words.back() |= 1;
    const int64_t exponent = -int64_t(n) + 1;
    const uint64_t digits = digitsForWords(n - 1);

    BigFloat x;
    makeNumber(&arena.heap, &x, words.data(), n, exponent);
    ConversionOutput ram;
    convertNumber(&arena.heap, &x, digits, 1, threads, &ram);

    BigFloat y;
    makeNumber(&arena.heap, &y, words.data(), n, exponent);
    // The number itself may come in paged out.
    bigFloatPushToDisk(&y);
    ConversionOutput swapped;
    Capture capture;
    BaseConversionTable table;
    buildBaseConversionTableSwapped(&arena.heap, &y, &table, threads);
    for (uint32_t i = 0; i < table.levels; ++i) {
      ASSERT_TRUE(pagedOut(table.power[i].mantissa)) << "power " << i;
      ASSERT_TRUE(pagedOut(table.inverse[i].mantissa)) << "inverse " << i;
    }
    convertToDecimalSwapped(&arena.heap, &swapped, &y, digits, &table, 1, threads);
    EXPECT_TRUE(bigFloatIsZero(y));
    for (uint32_t i = 0; i < table.levels; ++i) {
      ASSERT_TRUE(pagedOut(table.power[i].mantissa)) << "power " << i << " after";
    }
    releaseBaseConversionTable(&table);

    ASSERT_TRUE(pagedOut(swapped.digits));
    EXPECT_EQ(swapped.scale, ram.scale);
    bigIntLoad(&arena.heap, &swapped.digits, 1);
    EXPECT_EQ(decimalText(swapped), decimalText(ram)) << n << " words, threads " << threads;
    EXPECT_NE(capture.text.find("Base Converting (Secondary Cutting Parameters):\n"),
              std::string::npos);
    releaseConversionOutput(&swapped);
    releaseConversionOutput(&ram);
  }
  // Zero leaves no swap file.
  BigFloat x;
  bigFloatSetZero(&x);
  Capture capture;
  BaseConversionTable table;
  buildBaseConversionTableSwapped(&arena.heap, &x, &table, 0);
  ConversionOutput out;
  convertToDecimalSwapped(&arena.heap, &out, &x, 50, &table, 0, 0);
  releaseBaseConversionTable(&table);
  EXPECT_EQ(out.digits.length, 0u);
  EXPECT_EQ(out.digits.swap, nullptr);
  releaseConversionOutput(&out);
}
