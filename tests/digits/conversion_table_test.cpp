// The pieces of the base conversion before the cutting: the two hashes of
// the checksum (modulo 2^61 - 1) against exact remainders; the
// table's sizing; powerOfBillion's exact and truncated powers and
// reciprocals (the table's entries are such powers), and the checksum of a
// power.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "arith/numbers/mod61.h"
#include "digits/base_conversion.h"
#include "digits_support.h"

using namespace testbridge;
using namespace digits_test;

namespace {

// z = x * 2^(32 shift), an integer.
void scaledValue(const BigFloat& x, int64_t shift, mpz_t z) {
  toMpz(z, x.mantissa.words, x.mantissa.length);
  ASSERT_GE(x.exponent + shift, 0);
  mpz_mul_2exp(z, z, 32 * uint64_t(x.exponent + shift));
}

// Success when |x * y - 1| < 2^(-32 words), x and y positive.
::testing::AssertionResult productIsOne(const BigFloat& x, const mpz_t y, uint64_t words) {
  Number value, unit;
  scaledValue(x, -x.exponent, value.z);
  mpz_mul(value.z, value.z, y);
  mpz_set_ui(unit.z, 1);
  mpz_mul_2exp(unit.z, unit.z, 32 * uint64_t(-x.exponent));
  mpz_sub(value.z, value.z, unit.z);
  mpz_abs(value.z, value.z);
  mpz_mul_2exp(value.z, value.z, 32 * words);
  if (mpz_cmp(value.z, unit.z) < 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "not 1 to " << words << " words";
}

}  // namespace

// 10^(9n) exact, with its whole zero words in the exponent; truncated to a
// precision, good to it from below; and 10^(-9n) to a precision.
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
    mpz_ui_pow_ui(exact.z, billion, n);
    ASSERT_EQ(mpz_cmp(value.z, exact.z), 0) << "n = " << n;
    EXPECT_EQ(x.exponent, int64_t(9 * n / 32)) << n;
    EXPECT_NE(x.mantissa.words[0], 0u) << n;
    EXPECT_EQ(x.positive, 1u);
    bigFloatDestroy(&x);
    if (n == 0) continue;
    // Truncation only: 0 <= 10^(9n) - x < 10^(9n) * 2^(-32 (precision + 9)).
    const uint64_t precision = random.logUniform(1, 200);
    powerOfBillion(&arena.heap, int64_t(n), &x, precision, 0);
    EXPECT_LE(x.mantissa.length, precision + 14);
    const int64_t shift = x.exponent < 0 ? -x.exponent : 0;
    Number scaled;
    scaledValue(x, shift, value.z);
    mpz_mul_2exp(scaled.z, exact.z, 32 * uint64_t(shift));
    mpz_sub(difference.z, scaled.z, value.z);
    ASSERT_GE(mpz_sgn(difference.z), 0) << "n = " << n << ", precision " << precision;
    mpz_mul_2exp(difference.z, difference.z, 32 * (precision + 9));
    ASSERT_LT(mpz_cmp(difference.z, scaled.z), 0) << "n = " << n << ", precision " << precision;
    bigFloatDestroy(&x);
    powerOfBillion(&arena.heap, -int64_t(n), &x, precision, 0);
    ASSERT_TRUE(productIsOne(x, exact.z, precision)) << "1/10^(9*" << n << ")";
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
}
