// The layers under the base conversion: divideAndModulus against GMP's
// division at every table level with its edge dividends and the fatal ends
// of a wrong reciprocal; the leaf against GMP within its window; the
// deconstruction layers on windows that must be cleared (a zero remainder,
// a number shorter than its window) under poisoned output.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "arith/fft/fft_tables.h"
#include "digits/base_conversion.h"
#include "digits/conversion_internal.h"
#include "digits_support.h"

using namespace testbridge;
using namespace digits_test;

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

// Divides `value` at `level` and checks quotient and remainder against GMP.
::testing::AssertionResult dividesLikeGmp(Heap* heap, BaseConversionTable* table, int32_t level,
                                          const mpz_t value, uint32_t threads) {
  Number d, q, r;
  powerValue(*table, level, d.z);
  mpz_tdiv_qr(q.z, r.z, value, d.z);
  BigInt x, remainder;
  makeInteger(heap, value, &x);
  divideAndModulus(heap, &x, &remainder, level, table, threads);
  ::testing::AssertionResult result = equalsMpz(x.words, x.length, q.z);
  if (result) result = equalsMpz(remainder.words, remainder.length, r.z);
  for (const BigInt* part : {&x, &remainder})
    if (result && part->length > 0 && part->words[part->length - 1] == 0)
      result = ::testing::AssertionFailure() << "zero top word";
  bigIntDestroy(&remainder);
  bigIntDestroy(&x);
  return result << " (level " << level << ")";
}

// The radix-10^9 words of `value`, zero-padded to `window`.
std::vector<uint32_t> expectedWords(const mpz_t value, uint64_t window) {
  Number rest, digit, radix;
  mpz_set(rest.z, value);
  mpz_set_ui(radix.z, billion);
  std::vector<uint32_t> words(window, 0);
  for (uint64_t i = 0; i < window && mpz_sgn(rest.z) != 0; ++i) {
    mpz_tdiv_qr(rest.z, digit.z, rest.z, radix.z);
    words[i] = uint32_t(mpz_get_ui(digit.z));
  }
  return words;
}

enum class Layer { Serial, Threads, Top };

// Runs one layer on `value` into a poisoned window of `window` words.
::testing::AssertionResult layerConverts(Heap* heap, BaseConversionTable* table, Layer layer,
                                         const mpz_t value, uint64_t window) {
  GuardedWords out(window);
  std::fill(out.data(), out.data() + window, 0xffffffffu);
  BigInt y;
  makeInteger(heap, value, &y);
  int32_t top = int32_t(table->levels) - 1;
  Capture capture;
  if (layer == Layer::Serial) deconstructSerial(heap, &y, out.data(), window, top, table);
  if (layer == Layer::Threads) deconstructThreads(heap, &y, out.data(), window, top, 2, table);
  if (layer == Layer::Top) deconstructTop(heap, &y, out.data(), window, top, 2, 1, 2, table);
  if (!bigIntIsZero(y)) return ::testing::AssertionFailure() << "y not consumed";
  if (!out.intact()) return out.intact();
  std::vector<uint32_t> expected = expectedWords(value, window);
  if (std::equal(expected.begin(), expected.end(), out.data()))
    return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "window of " << window << " words differs";
}

}  // namespace

TEST(DivideAndModulus, RandomAndEdgeDividendsAtEveryLevelAgreeWithGmp) {
  TestHeap arena(64 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 3000, &table);
  ASSERT_GE(table.levels, 7u);
  Random random = testRandom();
  for (int32_t level = 0; level < int32_t(table.levels); ++level) {
    Number d, limit, k;
    powerValue(table, level, d.z);
    mpz_mul(limit.z, d.z, d.z);
    // Zero, D - 1 (quotient 0), D, D + 1, D^2 - 1 (the largest dividend),
    // exact multiples k D and their neighbours below, and random dividends
    // below D^2 of any length up to its length.
    std::vector<Number> x(17);
    mpz_sub_ui(x[1].z, d.z, 1);
    mpz_set(x[2].z, d.z);
    mpz_add_ui(x[3].z, d.z, 1);
    mpz_sub_ui(x[4].z, limit.z, 1);
    for (int i = 5; i < 11; i += 2) {
      std::vector<uint32_t> words = operand(random, Kind::Uniform, 1 + random.below(3));
      toMpz(k.z, words.data(), words.size());
      mpz_mul(x[i].z, k.z, d.z);
      mpz_sub_ui(x[i + 1].z, x[i].z, 1);
    }
    for (int i = 11; i < 17; ++i) {
      const uint64_t n = random.between(1, 2 * ((mpz_sizeinbase(d.z, 2) + 31) / 32));
      std::vector<uint32_t> words = operand(random, randomKind(random), n);
      toMpz(x[i].z, words.data(), n);
      mpz_mod(x[i].z, x[i].z, limit.z);
    }
    for (int i = 0; i < 17; ++i)
      ASSERT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x[i].z, i & 1)) << i;
  }
  releaseBaseConversionTable(&table);
}

// A reciprocal that is 2^32 times too small leaves the quotient near zero:
// the corrections run out. One 2^32 times too large overshoots: the add-back
// runs out. Both end as algorithmic failures (a deliberate crash), in the
// short form (level 1) and the general one (level 3).
TEST(DivideAndModulusDeathTest, AWrongReciprocalRunsOutOfCorrections) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The child of a threadsafe death test starts without the tables.
  buildFftTables(100000);
  TestHeap arena(16 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 200, &table);
  ASSERT_GT(bigFloatPosition(table.power[3]), int64_t(shortDivideWords));
  for (int32_t level : {1, 3}) {
    Number d, x;
    powerValue(table, level, d.z);
    mpz_mul(x.z, d.z, d.z);
    mpz_sub_ui(x.z, x.z, 12345);
    auto divideWith = [&](int64_t exponentChange) {
      consoleToStandardError();
      table.inverse[level].exponent += exponentChange;
      BigInt y, remainder;
      makeInteger(&arena.heap, x.z, &y);
      divideAndModulus(&arena.heap, &y, &remainder, level, &table, 0);
    };
    const char* failure = "Critical Algorithmic Failure: Divide and Modulus\n\nMore than ";
    EXPECT_DEATH(divideWith(-1), std::string(failure) + "2 corrections are needed\\.");
    EXPECT_DEATH(divideWith(1), std::string(failure) + "1 add-back is needed\\.");
    // Untouched, the same division is right.
    EXPECT_TRUE(dividesLikeGmp(&arena.heap, &table, level, x.z, 0));
  }
  releaseBaseConversionTable(&table);
}

// Y = k * D with D the power at the top level: the remainder's window must
// come out zero, not left as it was; so must a zero Y's whole window. Numbers
// much shorter than the table and their windows get their high words
// cleared, with and without divisions on the way down.
TEST(Deconstruct, ClearsZeroRemaindersAndTheWindowsOfShortNumbers) {
  TestHeap arena(32 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 800, &table);
  const uint64_t low = conversionLowWindow(&table, int32_t(table.levels) - 1);
  Random random = testRandom();
  Number d, value;
  mpz_ui_pow_ui(d.z, billion, low);
  for (Layer layer : {Layer::Serial, Layer::Threads, Layer::Top}) {
    for (unsigned long k : {0ul, 1ul, 7ul, 999999999ul}) {
      mpz_mul_ui(value.z, d.z, k);
      ASSERT_TRUE(layerConverts(&arena.heap, &table, layer, value.z, 2 * low))
          << "layer " << int(layer) << ", k = " << k;
    }
    for (uint64_t n : {1, 5, 17, 60, 300, 700}) {
      std::vector<uint32_t> words = operand(random, randomKind(random), n);
      toMpz(value.z, words.data(), n);
      ASSERT_TRUE(layerConverts(&arena.heap, &table, layer, value.z, 2 * low))
          << "layer " << int(layer) << ", " << n << " words";
    }
  }
  releaseBaseConversionTable(&table);
}
