// The base conversion table and powerOfBillion: sizing, exact powers with
// their zero words kept out of the mantissa, truncated powers and
// reciprocals, the checksum of a power, and the console lines of the build.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "arith/newton/newton.h"
#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "support/gmp_bridge.h"

using namespace testbridge;
using namespace conversion_test;

namespace {

// z = x exactly, scaled by 2^(32 * shift) so that a negative exponent
// becomes an integer (z = x * 2^(32 shift)).
void scaledValue(const BigFloat& x, int64_t shift, mpz_t z) {
  toMpz(z, x.mantissa.words, x.mantissa.length);
  int64_t exponent = x.exponent + shift;
  ASSERT_GE(exponent, 0);
  mpz_mul_2exp(z, z, 32 * uint64_t(exponent));
}

void billionPower(uint64_t n, mpz_t z) {
  mpz_ui_pow_ui(z, 1000000000, n);
}

}  // namespace

// Up to 13 words the table is empty; from 14 words (L = 16 radix words) the
// radix words are halved, rounding up, until they are below 16.
TEST(ConversionTable, SizingHalvesTheRadixWordsDownBelowSixteen) {
  uint64_t c = 0;
  uint32_t levels = 0;
  Random random = testRandom();
  for (int i = 0; i < 2000; ++i) {
    uint64_t length = i < 20 ? uint64_t(i) : random.logUniform(14, uint64_t(1) << 34);
    baseConversionTableSize(length, &c, &levels);
    uint64_t radixWords = uint64_t(double(length) * radixWordsPerWord) + 2;
    ASSERT_EQ(levels == 0, length <= 13) << length;
    ASSERT_LE(c, 15u) << length;
    if (levels > 0) {
      ASSERT_GE(c, 8u) << length;
    }
    ASSERT_EQ(c, (radixWords + (uint64_t(1) << levels) - 1) >> levels) << length;
  }
  baseConversionTableSize(14, &c, &levels);
  EXPECT_EQ(levels, 1u);
  EXPECT_EQ(c, 8u);
}

// 10^(9n) exact, with its whole zero words in the exponent (it ends in 9n
// zero bits); truncated to a precision, good to it; and 10^(-9n).
TEST(PowerOfBillion, ExactAndTruncatedPowersAndReciprocals) {
  TestHeap arena(16 << 20);
  Random random = testRandom();
  std::vector<uint64_t> counts = {0, 1, 2, 3, 4, 5, 7, 8, 15, 16, 17, 100, 255, 256, 1000};
  for (int i = 0; i < 12; ++i) counts.push_back(random.logUniform(2, 6000));
  for (uint64_t n : counts) {
    BigFloat x;
    powerOfBillion(&arena.heap, int64_t(n), &x, exactPrecision, 0);
    Number value, exact, difference;
    scaledValue(x, 0, value.z);
    billionPower(n, exact.z);
    ASSERT_EQ(mpz_cmp(value.z, exact.z), 0) << "n = " << n;
    EXPECT_EQ(x.exponent, int64_t(9 * n / 32)) << n;
    EXPECT_NE(x.mantissa.words[0], 0u) << n;
    EXPECT_EQ(x.positive, 1u);
    bigFloatDestroy(&x);
    if (n == 0) continue;

    // Truncation only: 0 <= 10^(9n) - x < 10^(9n) * 2^(-32 (precision + 9)).
    uint64_t precision = random.logUniform(1, 200);
    powerOfBillion(&arena.heap, int64_t(n), &x, precision, 0);
    EXPECT_LE(x.mantissa.length, precision + 14);
    int64_t shift = x.exponent < 0 ? -x.exponent : 0;
    scaledValue(x, shift, value.z);
    mpz_mul_2exp(exact.z, exact.z, 32 * uint64_t(shift));
    mpz_sub(difference.z, exact.z, value.z);
    ASSERT_GE(mpz_sgn(difference.z), 0) << "n = " << n << ", precision " << precision;
    mpz_mul_2exp(difference.z, difference.z, 32 * (precision + 9));
    ASSERT_LT(mpz_cmp(difference.z, exact.z), 0) << "n = " << n << ", precision " << precision;
    bigFloatDestroy(&x);

    // 10^(-9n) to `precision` words: |x * 10^(9n) - 1| < 2^(-32 precision).
    powerOfBillion(&arena.heap, -int64_t(n), &x, precision, 0);
    ASSERT_LT(x.exponent, 0);
    Number unit;
    scaledValue(x, -x.exponent, value.z);
    billionPower(n, exact.z);
    mpz_mul(value.z, value.z, exact.z);
    mpz_set_ui(unit.z, 1);
    mpz_mul_2exp(unit.z, unit.z, 32 * uint64_t(-x.exponent));
    mpz_sub(difference.z, value.z, unit.z);
    mpz_abs(difference.z, difference.z);
    mpz_mul_2exp(difference.z, difference.z, 32 * precision);
    ASSERT_LT(mpz_cmp(difference.z, unit.z), 0) << "1/10^(9*" << n << ") to " << precision;
    bigFloatDestroy(&x);
  }
}

TEST(PowerOfBillionDeathTest, ACorruptedPowerFailsItsChecksum) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        Heap heap;
        heapInit(nullptr, &heap, 1 << 20);
        conversionCorruptPowersForTesting(1);
        BigFloat x;
        powerOfBillion(&heap, 77, &x, exactPrecision, 0);
      },
      ::testing::ExitedWithCode(1), "Base Conversion Normalization: Checksum Mismatch");
  // Without the fault the same power passes.
  TestHeap arena(1 << 20);
  BigFloat x;
  powerOfBillion(&arena.heap, 77, &x, exactPrecision, 0);
  bigFloatDestroy(&x);
}

TEST(ConversionTable, EntriesAreExactPowersAndTheirReciprocals) {
  TestHeap arena(64 << 20);
  Random random = testRandom();
  for (uint64_t length : {14ull, 40ull, 1000ull, 5000ull}) {
    std::vector<uint32_t> words = operand(random, Kind::Uniform, length);
    words.back() |= 1;
    BigFloat x;
    makeNumber(&arena.heap, &x, words.data(), length, -int64_t(length) + 1);
    Capture capture;
    BaseConversionTable table;
    buildBaseConversionTable(&arena.heap, &x, &table, 0);
    uint64_t c = 0;
    uint32_t levels = 0;
    baseConversionTableSize(length, &c, &levels);
    ASSERT_EQ(table.baseWords, c);
    ASSERT_EQ(table.levels, levels);
    for (uint32_t i = 0; i < table.levels; ++i) {
      Number value, expected;
      scaledValue(table.power[i], 0, value.z);
      billionPower(c << i, expected.z);
      ASSERT_EQ(mpz_cmp(value.z, expected.z), 0) << "level " << i;
      EXPECT_NE(table.power[i].mantissa.words[0], 0u);
      // inverse * power is 1 to (position + 4) words.
      const BigFloat& inverse = table.inverse[i];
      Number product, unit, difference;
      scaledValue(inverse, -inverse.exponent, product.z);
      mpz_mul(product.z, product.z, value.z);
      mpz_set_ui(unit.z, 1);
      mpz_mul_2exp(unit.z, unit.z, 32 * uint64_t(-inverse.exponent));
      mpz_sub(difference.z, product.z, unit.z);
      mpz_abs(difference.z, difference.z);
      mpz_mul_2exp(difference.z, difference.z, 32 * uint64_t(bigFloatPosition(table.power[i]) + 4));
      ASSERT_LT(mpz_cmp(difference.z, unit.z), 0) << "inverse of level " << i;
    }
    releaseBaseConversionTable(&table);
    EXPECT_EQ(table.levels, 0u);
    bigFloatDestroy(&x);
    EXPECT_EQ(capture.text.rfind("Constructing Base Conversion Table:\n", 0), 0u);
    EXPECT_NE(capture.text.find("Squaring      : "), std::string::npos);
    EXPECT_NE(capture.text.find(" seconds  ( "), std::string::npos);
  }
}
