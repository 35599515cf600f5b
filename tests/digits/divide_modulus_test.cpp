// divideAndModulus against GMP's division at several table levels, its edge
// values (zero quotient, exact multiples, the largest dividend), and the two
// fatal ends of a division whose reciprocal is wrong.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "support/gmp_bridge.h"

using namespace testbridge;
using namespace conversion_test;

namespace {

// A table for numbers of `length` words, built with the console captured.
void buildTable(Heap* heap, uint64_t length, BaseConversionTable* table) {
  std::vector<uint32_t> words(length, 0x9e3779b9u);
  BigFloat x;
  makeNumber(heap, &x, words.data(), length, 0);
  Capture capture;
  buildBaseConversionTable(heap, &x, table, 0);
  bigFloatDestroy(&x);
}

// D = power[level] as an integer.
void powerValue(const BaseConversionTable& table, int32_t level, mpz_t d) {
  const BigFloat& power = table.power[level];
  toMpz(d, power.mantissa.words, power.mantissa.length);
  mpz_mul_2exp(d, d, 32 * uint64_t(power.exponent));
}

// x from an mpz in `heap`.
void makeInteger(Heap* heap, const mpz_t value, BigInt* x) {
  bigIntSetZero(x);
  uint64_t n = (mpz_sizeinbase(value, 2) + 31) / 32;
  if (mpz_sgn(value) == 0) return;
  std::vector<uint32_t> words = fromMpz(value, n);
  x->words = heapAllocateWords(heap, n + 2);
  std::copy(words.begin(), words.end(), x->words);
  x->length = n;
  x->capacity = n + 2;
}

// Divides `value` at `level` and checks quotient and remainder against GMP.
::testing::AssertionResult dividesLikeGmp(Heap* heap, BaseConversionTable* table, int32_t level,
                                          const mpz_t value, uint32_t threads) {
  Number d, q, r;
  powerValue(*table, level, d.z);
  mpz_tdiv_qr(q.z, r.z, value, d.z);
  BigInt x, remainder;
  makeInteger(heap, value, &x);
  divideAndModulus(heap, &x, &remainder, level, table, threads);
  ::testing::AssertionResult quotientOk = equalsMpz(x.words, x.length, q.z);
  ::testing::AssertionResult remainderOk = equalsMpz(remainder.words, remainder.length, r.z);
  bool topsOk = (x.length == 0 || x.words[x.length - 1] != 0) &&
                (remainder.length == 0 || remainder.words[remainder.length - 1] != 0);
  bigIntDestroy(&remainder);
  bigIntDestroy(&x);
  if (!quotientOk) return quotientOk << " (quotient, level " << level << ")";
  if (!remainderOk) return remainderOk << " (remainder, level " << level << ")";
  if (!topsOk) return ::testing::AssertionFailure() << "zero top word, level " << level;
  return ::testing::AssertionSuccess();
}

}  // namespace

TEST(DivideAndModulus, RandomDividendsAtEveryLevelAgreeWithGmp) {
  TestHeap arena(64 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 3000, &table);
  ASSERT_GE(table.levels, 7u);
  Random random = testRandom();
  for (int32_t level = 0; level < int32_t(table.levels); ++level) {
    Number d;
    powerValue(table, level, d.z);
    uint64_t dWords = (mpz_sizeinbase(d.z, 2) + 31) / 32;
    for (int round = 0; round < 8; ++round) {
      // Dividends below D^2, of any length up to its length.
      uint64_t n = random.between(1, 2 * dWords);
      std::vector<uint32_t> words = operand(random, randomKind(random), n);
      Number x, limit;
      toMpz(x.z, words.data(), n);
      mpz_mul(limit.z, d.z, d.z);
      mpz_mod(x.z, x.z, limit.z);
      ASSERT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, round & 1));
    }
  }
  releaseBaseConversionTable(&table);
}

TEST(DivideAndModulus, EdgeDividends) {
  TestHeap arena(32 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 600, &table);
  Random random = testRandom();
  for (int32_t level : {0, 2, int32_t(table.levels) - 1}) {
    Number d, x, k;
    powerValue(table, level, d.z);
    mpz_set_ui(x.z, 0);
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
    mpz_sub_ui(x.z, d.z, 1);  // quotient 0
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, d.z, 0));  // 1, remainder 0
    mpz_add_ui(x.z, d.z, 1);
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
    mpz_mul(x.z, d.z, d.z);  // the largest dividend: D^2 - 1
    mpz_sub_ui(x.z, x.z, 1);
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
    for (int i = 0; i < 4; ++i) {
      // Exact multiples k * D and their neighbours.
      std::vector<uint32_t> words = operand(random, Kind::Uniform, 1 + random.below(3));
      toMpz(k.z, words.data(), words.size());
      mpz_mul(x.z, k.z, d.z);
      EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
      mpz_sub_ui(x.z, x.z, 1);
      EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
    }
  }
  releaseBaseConversionTable(&table);
}

// A reciprocal that is 2^32 times too small leaves the quotient near zero:
// the corrections run out. One 2^32 times too large overshoots: the add-back
// runs out. Both end as algorithmic failures (a deliberate crash).
TEST(DivideAndModulusDeathTest, AWrongReciprocalRunsOutOfCorrections) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  TestHeap arena(16 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 200, &table);
  Number d, x;
  powerValue(table, 1, d.z);
  mpz_mul(x.z, d.z, d.z);
  mpz_sub_ui(x.z, x.z, 12345);
  auto divideWith = [&](int64_t exponentChange) {
    consoleToStandardError();
    table.inverse[1].exponent += exponentChange;
    BigInt y, remainder;
    makeInteger(&arena.heap, x.z, &y);
    divideAndModulus(&arena.heap, &y, &remainder, 1, &table, 0);
  };
  EXPECT_DEATH(divideWith(-1),
               "Critical Algorithmic Failure: Divide and Modulus\n\nMore than 2 corrections "
               "are needed.");
  EXPECT_DEATH(divideWith(1),
               "Critical Algorithmic Failure: Divide and Modulus\n\nMore than 1 add-back is "
               "needed.");
  // Untouched, the same division is right.
  EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, 1, x.z, 0));
  releaseBaseConversionTable(&table);
}
