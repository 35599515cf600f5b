// Arithmetic modulo 2^61 - 1 against 128-bit remainders, and the two hashes
// of the base conversion against GMP's remainders of the same numbers.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "arith/numbers/mod61.h"
#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "support/gmp_bridge.h"

using namespace testbridge;

namespace {

using u128 = unsigned __int128;

uint64_t slowMultiply(uint64_t a, uint64_t b) { return uint64_t(u128(a) * b % mod61Prime); }

}  // namespace

TEST(Mod61, ArithmeticAndPowersMatchExactRemainders) {
  Random random = testRandom();
  std::vector<uint64_t> values = {0, 1, 2, mod61Prime - 1, mod61Prime - 2, uint64_t(1) << 60,
                                  (uint64_t(1) << 32) - 1, uint64_t(1) << 32, 1000000000};
  for (int i = 0; i < 200; ++i) values.push_back(random.next() % mod61Prime);
  for (uint64_t a : values) {
    for (int j = 0; j < 20; ++j) {
      uint64_t b = values[random.below(values.size())];
      ASSERT_EQ(mod61Multiply(a, b), slowMultiply(a, b)) << a << " * " << b;
      ASSERT_EQ(mod61Add(a, b), uint64_t((u128(a) + b) % mod61Prime)) << a << " + " << b;
    }
  }
  // Reduction of any 64-bit value, the top of the range included.
  std::vector<uint64_t> wide = {~uint64_t(0), mod61Prime, mod61Prime + 1, 2 * mod61Prime,
                                2 * mod61Prime + 5, uint64_t(1) << 63};
  for (int i = 0; i < 1000; ++i) wide.push_back(random.next());
  for (uint64_t a : wide) ASSERT_EQ(mod61Reduce(a), a % mod61Prime) << a;
  // Powers against repeated products.
  for (uint64_t base : {uint64_t(2), uint64_t(1000000000), uint64_t(1) << 32, mod61Prime - 1}) {
    uint64_t power = 1;
    for (uint64_t exponent = 0; exponent <= 1237; ++exponent) {
      ASSERT_EQ(mod61Power(base, exponent), power) << base << "^" << exponent;
      power = slowMultiply(power, base);
    }
  }
  // Fermat: a^(p - 1) = 1, and a^(p - 2) is the inverse of a.
  for (int i = 0; i < 20; ++i) {
    uint64_t a = 1 + random.below(mod61Prime - 1);
    EXPECT_EQ(mod61Power(a, mod61Prime - 1), 1u);
    EXPECT_EQ(mod61Multiply(a, mod61Power(a, mod61Prime - 2)), 1u);
  }
}

// The binary hash is the value modulo p, also when continued from a partial
// hash; the decimal hash of the value's radix-10^9 words (by GMP) equals it.
TEST(ConversionHash, BothHashesAreTheValueModuloP) {
  Random random = testRandom();
  Number p, r;
  mpz_set_ui(p.z, 1);
  mpz_mul_2exp(p.z, p.z, 61);
  mpz_sub_ui(p.z, p.z, 1);
  for (int round = 0; round < 60; ++round) {
    uint64_t n = random.logUniform(1, 3000);
    std::vector<uint32_t> words = operand(random, randomKind(random), n);
    Number value;
    toMpz(value.z, words.data(), n);
    mpz_mod(r.z, value.z, p.z);
    const uint64_t hash = hashBinaryWords(0, words.data(), n);
    ASSERT_EQ(hash, mpz_get_ui(r.z)) << "n = " << n;
    uint64_t split = random.below(n + 1);
    uint64_t top = hashBinaryWords(0, words.data() + split, n - split);
    ASSERT_EQ(hashBinaryWords(top, words.data(), split), hash);
    std::string text = conversion_test::gmpDecimal(value.z);
    std::vector<uint32_t> decimal;
    for (size_t end = text.size(); end > 0; end = end > 9 ? end - 9 : 0) {
      size_t begin = end > 9 ? end - 9 : 0;
      decimal.push_back(uint32_t(std::stoul(text.substr(begin, end - begin))));
    }
    ASSERT_EQ(hashDecimalWords(0, decimal.data(), decimal.size()), hash) << "n = " << n;
  }
  EXPECT_EQ(hashBinaryWords(0, nullptr, 0), 0u);
  // A changed digit changes the hash.
  uint32_t digits[3] = {5, 999999999, 17};
  uint64_t before = hashDecimalWords(0, digits, 3);
  digits[1] -= 1;
  EXPECT_NE(hashDecimalWords(0, digits, 3), before);
}
