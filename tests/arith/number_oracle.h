// Number records built from word arrays, their values as GMP integers, and
// random operands with a non-zero top word.
#pragma once

#include <gmp.h>

#include <cstdint>
#include <cstring>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "memory/heap.h"
#include "support/gmp_bridge.h"

using Mpz = testbridge::Number;

inline void mpzFromBigInt(mpz_t z, const BigInt& x) { testbridge::toMpz(z, x.words, x.length); }

// Signed value of x times 2^(32 * (x.exponent - base)); base must not be
// above x.exponent unless x is zero.
inline void mpzFromBigFloat(mpz_t z, const BigFloat& x, int64_t base) {
  mpzFromBigInt(z, x.mantissa);
  if (x.mantissa.length != 0) mpz_mul_2exp(z, z, uint64_t(32 * (x.exponent - base)));
  if (!x.positive) mpz_neg(z, z);
}

inline std::vector<uint32_t> bigIntWords(const BigInt& x) {
  return std::vector<uint32_t>(x.words, x.words + x.length);
}

// A BigInt holding `words` (top word non-zero), capacity n + extra.
inline void makeBigInt(Heap* heap, BigInt* x, const std::vector<uint32_t>& words,
                       uint64_t extra = 2) {
  bigIntSetZero(x);
  if (words.empty()) return;
  x->words = heapAllocateWords(heap, words.size() + extra);
  std::memcpy(x->words, words.data(), words.size() * 4);
  x->length = words.size();
  x->capacity = words.size() + extra;
}

inline void makeBigFloat(Heap* heap, BigFloat* x, const std::vector<uint32_t>& words,
                         int64_t exponent, bool positive, uint64_t extra = 2) {
  makeBigInt(heap, &x->mantissa, words, extra);
  x->exponent = words.empty() ? 0 : exponent;
  x->positive = (positive || words.empty()) ? 1 : 0;
}

// Random operands seeded from NUMBRELLA_SEED and the running test's name.
struct OperandSource {
  testbridge::Random random;
  uint64_t rng() { return random.next(); }
  uint64_t below(uint64_t bound) { return random.below(bound); }
  uint64_t length(uint64_t maxLength) { return random.logUniform(1, maxLength); }
  // n >= 1 words; a zero top word (PowerMinusOne) becomes 1.
  std::vector<uint32_t> words(uint64_t n, testbridge::Kind kind) {
    std::vector<uint32_t> w = testbridge::operand(random, kind, n);
    if (w[n - 1] == 0) w[n - 1] = 1;
    return w;
  }
  std::vector<uint32_t> anyWords(uint64_t n) { return words(n, testbridge::randomKind(random)); }
};

inline OperandSource testOperands(uint64_t stream) {
  return OperandSource{testbridge::testRandom(stream)};
}
