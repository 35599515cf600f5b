// convertToDecimal against GMP's mpz_get_str: integers from 1 word to
// 200000 words on one and several threads, fractions and large exponents
// (normalisation), zero, primary against secondary cuts, the checksum that
// catches a corrupted word, and the console lines.
#include <gmp.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "platform/threads.h"
#include "support/gmp_bridge.h"

using namespace testbridge;
using namespace conversion_test;

namespace {

// Converts the integer words[0 .. n) and compares with mpz_get_str.
::testing::AssertionResult integerConvertsLikeGmp(Heap* heap, const std::vector<uint32_t>& words,
                                                  uint32_t threads,
                                                  std::string* console = nullptr) {
  BigFloat x;
  makeNumber(heap, &x, words.data(), words.size(), 0);
  ConversionOutput out;
  convertNumber(heap, &x, digitsForWords(words.size()), 0, threads, &out, console);
  Number value;
  toMpz(value.z, words.data(), words.size());
  std::string expected = gmpDecimal(value.z);
  std::string text = decimalText(out);
  ::testing::AssertionResult shape = wellFormed(out);
  int64_t scale = out.scale;
  releaseConversionOutput(&out);
  if (!shape) return shape;
  if (scale != 0) return ::testing::AssertionFailure() << "scale " << scale;
  if (text != expected) {
    size_t at = 0;
    while (at < text.size() && at < expected.size() && text[at] == expected[at]) ++at;
    return ::testing::AssertionFailure()
           << words.size() << " words: " << text.size() << " vs " << expected.size()
           << " digits, first difference at " << at;
  }
  return ::testing::AssertionSuccess();
}

}  // namespace

TEST(ConvertToDecimal, IntegersAgreeWithGmpOnOneAndTwoThreads) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  std::vector<uint64_t> sizes = {1, 2, 3, 13, 14, 15, 16, 17, 31, 32, 33, 100, 1000};
  for (int i = 0; i < 16; ++i) sizes.push_back(random.logUniform(1, 6000));
  for (uint64_t n : sizes) {
    Kind kind = randomKind(random);
    std::vector<uint32_t> words = operand(random, kind, n);
    for (uint32_t threads : {0u, 1u}) {
      ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, threads))
          << kindName(kind) << ", threads " << threads;
    }
  }
  // All ones, the largest value of its length, at sizes around the cuts.
  for (uint64_t n : {14, 15, 16, 255, 256, 2047}) {
    std::vector<uint32_t> words(n, 0xffffffffu);
    ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 1)) << "all ones, " << n;
  }
  // Zero gives an empty output.
  BigFloat x;
  bigFloatSetZero(&x);
  ConversionOutput out;
  convertNumber(&arena.heap, &x, 100, 0, 1, &out);
  EXPECT_EQ(out.digits.length, 0u);
  EXPECT_EQ(out.digits.words, nullptr);
  EXPECT_EQ(out.scale, 0);
  releaseConversionOutput(&out);
}

TEST(ConvertToDecimal, DeepThreadSplitsFailedThreadsAndTwoHundredThousandWords) {
  TestHeap arena(256 << 20);
  Random random = testRandom();
  std::vector<uint32_t> words = operand(random, Kind::Uniform, 9000);
  // Exponent 2: 16 threads below the top levels.
  ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 2));
  // Threads that cannot be created run their half on the caller.
  std::string console;
  threadFailNextSpawnsForTesting(1000);
  EXPECT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 1, &console));
  threadFailNextSpawnsForTesting(0);
  EXPECT_NE(console.find("Warning: Unable to create thread."), std::string::npos);
  words = operand(random, Kind::Uniform, 200000);
  ASSERT_TRUE(integerConvertsLikeGmp(&arena.heap, words, 1));
}

// x = M * 2^(32 e) comes out as Y with Y / 10^(9 m) = x, m = trunc(-e *
// 1.0703...). With a fraction (e < 0, between a value of a few words and
// one just above 2^-32) Y is exact but for the guard words of the
// products: 0 <= x * 10^(9 m) - Y < 2^(32 * 4). With a positive exponent
// the scale is negative and Y * 10^(9 |m|) is x to about its precision.
TEST(ConvertToDecimal, ExponentsAreScaledByPowersOfABillion) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  for (int round = 0; round < 20; ++round) {
    const bool fraction = round < 16;
    uint64_t n = fraction ? random.logUniform(2, 3000) : 50;
    std::vector<uint32_t> words = operand(random, Kind::Uniform, n);
    words.back() |= 0x10000;
    const int64_t exponent = fraction
                                 ? -int64_t(n) + int64_t(random.below(std::min<uint64_t>(n, 4)))
                                 : std::vector<int64_t>{1, 2, 7, 40}[round - 16];
    BigFloat x;
    makeNumber(&arena.heap, &x, words.data(), n, exponent);
    ConversionOutput out;
    convertNumber(&arena.heap, &x, digitsForWords(n), round & 1, round & 2 ? 1 : 0, &out);
    const int64_t m = int64_t(double(-exponent) * radixWordsPerWord);
    ASSERT_EQ(out.scale, m);
    ASSERT_TRUE(wellFormed(out));
    Number y, exact, power, bound;
    mpz_set_str(y.z, decimalText(out).c_str(), 10);
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
    releaseConversionOutput(&out);
  }
}

// The secondary cuts fall elsewhere (one word more of precision) and must
// give the same digits: compare the requested digits of both, and the
// console steps.
TEST(ConvertToDecimal, PrimaryAndSecondaryCutsGiveTheSameDigits) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  for (uint64_t n : {20, 333, 4000}) {
    std::vector<uint32_t> words = operand(random, Kind::Uniform, n);
    words.back() = 3;  // a constant between 3 and 4
    BigFloat x, copy;
    makeNumber(&arena.heap, &x, words.data(), n, -int64_t(n) + 1);
    makeNumber(&arena.heap, &copy, words.data(), n, -int64_t(n) + 1);
    uint64_t digits = uint64_t(double(n - 3) * 9.632959861247397);
    ConversionOutput primary, secondary;
    std::string firstConsole, secondConsole;
    convertNumber(&arena.heap, &x, digits, 0, 1, &primary, &firstConsole);
    convertNumber(&arena.heap, &copy, digits, 1, 1, &secondary, &secondConsole);
    std::string a = decimalText(primary), b = decimalText(secondary);
    ASSERT_GE(a.size(), digits);
    ASSERT_GE(b.size(), digits);
    EXPECT_EQ(a.substr(0, digits), b.substr(0, digits)) << n << " words";
    EXPECT_EQ(a[0], '3');
    EXPECT_NE(secondConsole.find("Base Converting (Secondary Cutting Parameters):\n"),
              std::string::npos);
    // Each step in its order.
    size_t at = 0;
    for (const char* step : {"Constructing Base Conversion Table:\n",
                             "Base Converting (Primary Cutting Parameters):\n", "Normalizing      : ",
                             "Hashing Binary Digits...", "Hashing Decimal Digits...", "Time: "}) {
      at = firstConsole.find(step, at);
      ASSERT_NE(at, std::string::npos) << step;
    }
    EXPECT_EQ(firstConsole.back(), '\n');
    releaseConversionOutput(&secondary);
    releaseConversionOutput(&primary);
  }
}

TEST(ConvertToDecimalDeathTest, ACorruptedWordIsCaughtByTheChecksum) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The child of a threadsafe death test starts without the tables.
  buildFftTables(100000);
  Random random = testRandom();
  std::vector<uint32_t> words = operand(random, Kind::Uniform, 3000);
  for (uint32_t threads : {0u, 1u}) {
    EXPECT_EXIT(
        {
          consoleToStandardError();
          Heap heap;
          heapInit(nullptr, &heap, 32 << 20);
          BigFloat x;
          makeNumber(&heap, &x, words.data(), words.size(), 0);
          BaseConversionTable table;
          buildBaseConversionTable(&heap, &x, &table, threads);
          // A leaf deep in the deconstruction, on a thread of its own when
          // threads are on.
          conversionCorruptLeavesForTesting(1);
          ConversionOutput out;
          convertToDecimal(&heap, &out, &x, digitsForWords(3000), &table, 0, threads);
        },
        ::testing::ExitedWithCode(1), "\n\nBase Conversion: Checksum Mismatch\n\n");
  }
}

TEST(ConvertToDecimalDeathTest, CuttingOffEveryWordIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // 1 * 2^-64 times 10^18 is below one: nothing is left of the integer part.
  EXPECT_DEATH(
      {
        consoleToStandardError();
        Heap heap;
        heapInit(nullptr, &heap, 1 << 20);
        uint32_t one = 1;
        BigFloat x;
        makeNumber(&heap, &x, &one, 1, -2);
        BaseConversionTable table;
        buildBaseConversionTable(&heap, &x, &table, 0);
        ConversionOutput out;
        convertToDecimal(&heap, &out, &x, 30, &table, 0, 0);
      },
      "Impossible Functional Result: Base Conversion\n\nPrecision reduced to zero.");
}
