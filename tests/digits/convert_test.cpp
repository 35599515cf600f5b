// convertToDecimal against GMP: integers from 1 word to 200000 words on one
// and several threads (also when threads cannot be created) with primary and
// secondary cuts, the console steps, fractions and large exponents
// (normalisation), zero, the checksums that catch a corrupted word and a
// corrupted power, and a precision cut to nothing. (The swap forms are run by the constants' tests.)
#include <gmp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "digits/base_conversion.h"
#include "digits_support.h"
#include "memory/raidfile.h"
#include "platform/threads.h"

using namespace testbridge;
using namespace digits_test;

namespace {

// Converts the integer `words` and compares with mpz_get_str.
// The secondary cuts (one word more of precision, so every cut falls
// elsewhere) must give the same digits.
::testing::AssertionResult integerConvertsLikeGmp(Heap* heap, const std::vector<uint32_t>& words,
                                                  uint32_t threads, uint32_t secondary = 0,
                                                  std::string* console = nullptr) {
  BigFloat x;
  makeNumber(heap, &x, words.data(), words.size(), 0);
  ConversionOutput out;
  convertNumber(heap, &x, digitsForWords(words.size()), secondary, threads, &out, console);
  Number value;
  toMpz(value.z, words.data(), words.size());
  const std::string expected = gmpDecimal(value.z), text = decimalText(out);
  const int64_t scale = out.scale;
  releaseConversionOutput(&out);
  if (scale != 0) return ::testing::AssertionFailure() << "scale " << scale;
  if (text == expected) return ::testing::AssertionSuccess();
  auto at = std::mismatch(text.begin(), text.end(), expected.begin(), expected.end()).first - text.begin();
  return ::testing::AssertionFailure() << words.size() << " words: " << text.size() << " vs "
                                       << expected.size() << " digits, first difference at " << at;
}

}  // namespace

TEST(ConvertToDecimal, IntegersAgreeWithGmp) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  std::vector<uint64_t> sizes = {1, 2, 3, 13, 14, 15, 16, 17, 31, 32, 33, 100, 1000};
  for (int i = 0; i < 16; ++i) sizes.push_back(random.logUniform(1, 6000));
  for (uint64_t n : sizes) {
    Kind kind = randomKind(random);
    std::vector<uint32_t> words = operand(random, kind, n);
    for (uint32_t threads : {0u, 1u})
      ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, threads, n & 1)) << kindName(kind) << ", threads " << threads;
  }
  // All ones, the largest value of its length, at sizes around the cuts.
  for (uint64_t n : {14, 15, 16, 255, 256, 2047})
    ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, std::vector<uint32_t>(n, ~0u), 1)) << "all ones, " << n;
  // Zero gives an empty output.
  BigFloat x;
  bigFloatSetZero(&x);
  ConversionOutput out;
  convertNumber(&arena.heap, &x, 100, 0, 1, &out);
  EXPECT_TRUE(out.digits.length == 0 && out.digits.words == nullptr && out.scale == 0);
  releaseConversionOutput(&out);
}

// Thread exponent 2 (16 threads below the top levels); threads that cannot
// be created run their half on the caller; the console shows each step, and
// which cuts; a large number. Fixed operands: the cases are not drawn.
TEST(ConvertToDecimal, ManyAndFailedThreadsTheStepsAndALargeNumber) {
  TestHeap arena(256 << 20);
  Random fixed;
  std::vector<uint32_t> words = operand(fixed, Kind::Uniform, 9000);
  ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 2));
  std::string console, secondary;
  threadFailNextSpawnsForTesting(1000);
  EXPECT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 1, 0, &console));
  threadFailNextSpawnsForTesting(0);
  EXPECT_NE(console.find("Warning: Unable to create thread."), std::string::npos);
  size_t at = 0;
  for (const char* step : {"Constructing Base Conversion Table:\n", "Base Converting (Primary Cutting Parameters):\n",
                           "Normalizing      : ", "Hashing Binary Digits...", "Hashing Decimal Digits...", "Time: "}) {
    at = console.find(step, at);
    ASSERT_NE(at, std::string::npos) << step;
  }
  EXPECT_EQ(console.back(), '\n');
  EXPECT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 0, 1, &secondary));
  EXPECT_NE(secondary.find("Base Converting (Secondary Cutting Parameters):\n"), std::string::npos);
  ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, operand(fixed, Kind::Uniform, 200000), 1));
}

// x = M * 2^(32 e) comes out as Y with Y / 10^(9 m) = x, m = trunc(-e *
// 1.0703...). With a fraction (between a value of a few words and one just
// above 2^-32) Y is exact but for the guard words of the products:
// 0 <= x * 10^(9 m) - Y < 2^(32 * 4). With a positive exponent the scale is
// negative and Y * 10^(9 |m|) is x to about its precision.
TEST(ConvertToDecimal, ExponentsAreScaledByPowersOfABillion) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  for (int round = 0; round < 20; ++round) {
    const bool fraction = round < 16;
    const uint64_t n = fraction ? random.logUniform(2, 3000) : 50;
    std::vector<uint32_t> words = operand(random, Kind::Uniform, n);
    words.back() |= 0x10000;
    const int64_t exponent = fraction ? -int64_t(n) + int64_t(random.below(std::min<uint64_t>(n, 4)))
                                      : std::vector<int64_t>{1, 2, 7, 40}[round - 16];
    BigFloat x;
    makeNumber(&arena.heap, &x, words.data(), n, exponent);
    ConversionOutput out;
    convertNumber(&arena.heap, &x, digitsForWords(n), round & 1, round & 2 ? 1 : 0, &out);
    const int64_t m = int64_t(double(-exponent) * radixWordsPerWord);
    ASSERT_EQ(out.scale, m);
    Number y, exact, power, bound;
    mpz_set_str(y.z, decimalText(out).c_str(), 10);
    releaseConversionOutput(&out);
    toMpz(exact.z, words.data(), n);
    mpz_ui_pow_ui(power.z, 10, 9 * uint64_t(m < 0 ? -m : m));
    if (fraction) {
      mpz_mul(exact.z, exact.z, power.z);
      mpz_tdiv_q_2exp(exact.z, exact.z, 32 * uint64_t(-exponent));
      mpz_sub(exact.z, exact.z, y.z);
      mpz_set_ui(bound.z, 1);
      mpz_mul_2exp(bound.z, bound.z, 32 * 4);
      ASSERT_GE(mpz_sgn(exact.z), 0) << n << " words, exponent " << exponent;
      ASSERT_LT(mpz_cmp(exact.z, bound.z), 0) << n << " words, exponent " << exponent;
    } else {
      ASSERT_LT(m, 0);
      mpz_mul_2exp(exact.z, exact.z, 32 * uint64_t(exponent));
      mpz_tdiv_q(exact.z, exact.z, power.z);
      mpz_sub(bound.z, exact.z, y.z);
      mpz_abs(bound.z, bound.z);
      mpz_mul_2exp(bound.z, bound.z, 32 * (n - 2));
      EXPECT_LT(mpz_cmp(bound.z, exact.z), 0) << "exponent " << exponent;
    }
  }
}

// The swap form (run on real numbers by the constants' tests) leaves no
// swap file for zero.
TEST(ConvertToDecimalSwapped, ZeroLeavesNoSwapFile) {
  TestHeap arena(1 << 20);
  TempFolder folder;
  char* pathTexts[1] = {folder.path.data()};
  PathList paths{1, pathTexts};
  globalSwapPaths = &paths;
  BigFloat x;
  bigFloatSetZero(&x);
  Capture capture;
  BaseConversionTable table;
  buildBaseConversionTableSwapped(&arena.heap, &x, &table, 0);
  ConversionOutput out;
  convertToDecimalSwapped(&arena.heap, &out, &x, 50, &table, 0, 0);
  releaseBaseConversionTable(&table);
  EXPECT_TRUE(out.digits.length == 0 && out.digits.swap == nullptr);
  releaseConversionOutput(&out);
  globalSwapPaths = nullptr;
  EXPECT_TRUE(folder.empty());
}

TEST(ConvertToDecimalDeathTest, ACorruptedWordIsCaughtAndNoPrecisionIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  buildFftTables(100000);  // the child of a threadsafe death test starts without them
  Random fixed;
  std::vector<uint32_t> words = operand(fixed, Kind::Uniform, 3000);
  auto convert = [](std::vector<uint32_t> words, int64_t exponent, uint64_t digits, uint32_t threads, bool corrupt) {
    consoleToStandardError();
    Heap heap;
    heapInit(nullptr, &heap, 32 << 20);
    BigFloat x;
    makeNumber(&heap, &x, words.data(), words.size(), exponent);
    BaseConversionTable table;
    buildBaseConversionTable(&heap, &x, &table, threads);
    // A leaf deep in the deconstruction, on a thread of its own with threads.
    if (corrupt) conversionCorruptLeavesForTesting(1);
    ConversionOutput out;
    convertToDecimal(&heap, &out, &x, digits, &table, 0, threads);
  };
  for (uint32_t threads : {0u, 1u})
    EXPECT_EXIT(convert(words, 0, digitsForWords(3000), threads, true), ::testing::ExitedWithCode(1),
                "\n\nBase Conversion: Checksum Mismatch\n\n");
  // 1 * 2^-64 times 10^18 is below one: nothing is left of the integer part.
  EXPECT_DEATH(convert({1}, -2, 30, 0, false),
               "Impossible Functional Result: Base Conversion\n\nPrecision reduced to zero.");
}

TEST(PowerOfBillionDeathTest, ACorruptedPowerFailsItsChecksum) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        TestHeap heap(1 << 20);
        conversionCorruptPowersForTesting(1);
        BigFloat x;
        powerOfBillion(&heap.heap, 77, &x, exactPrecision, 0);
      },
      ::testing::ExitedWithCode(1), "Base Conversion Normalization: Checksum Mismatch");
}
