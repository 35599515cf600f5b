// Test helpers for the number records: GMP conversions and random operands.
// Operands come in the kinds that break carry and length logic: uniform
// words, long runs of 0 and 1 bits, all ones, a lone top word over zeros,
// and 2^(32(n-1)) + 1.
#pragma once

#include <gmp.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "arith/bigfloat.h"
#include "memory/heap.h"
#include "support/gmp_bridge.h"

// Owns an mpz_t for the length of a scope.
struct Mpz {
  mpz_t z;
  Mpz() { mpz_init(z); }
  ~Mpz() { mpz_clear(z); }
  Mpz(const Mpz&) = delete;
  Mpz& operator=(const Mpz&) = delete;
};

inline void mpzFromWords(mpz_t z, const uint32_t* words, uint64_t n) {
  if (n == 0) {
    mpz_set_ui(z, 0);
    return;
  }
  mpz_import(z, n, -1, 4, 0, 0, words);
}

inline void mpzFromBigInt(mpz_t z, const BigInt& x) { mpzFromWords(z, x.words, x.length); }

// Signed value of x times 2^(32 * (x.exponent - base)); base must not be
// above x.exponent unless x is zero.
inline void mpzFromBigFloat(mpz_t z, const BigFloat& x, int64_t base) {
  mpzFromBigInt(z, x.mantissa);
  if (x.mantissa.length != 0) mpz_mul_2exp(z, z, uint64_t(32 * (x.exponent - base)));
  if (!x.positive) mpz_neg(z, z);
}

inline std::vector<uint32_t> wordsFromMpz(const mpz_t z) {
  std::vector<uint32_t> words((mpz_sizeinbase(z, 2) + 31) / 32 + 1, 0);
  size_t count = 0;
  mpz_export(words.data(), &count, -1, 4, 0, 0, z);
  words.resize(count);
  return words;
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

inline std::vector<uint32_t> bigIntWords(const BigInt& x) {
  return std::vector<uint32_t>(x.words, x.words + x.length);
}

enum OperandKind { OperandUniform, OperandRuns, OperandAllOnes, OperandLoneTop, OperandPowerPlusOne,
                   OperandKindCount };

// Random operands. Tests seed them through testOperands below, so a failing
// test prints NUMBRELLA_SEED and repeats with it.
struct OperandSource {
  std::mt19937_64 rng;
  explicit OperandSource(uint64_t seed) : rng(seed) {}

  uint64_t below(uint64_t bound) { return rng() % bound; }
  // Log-uniform length in [1, maxLength].
  uint64_t length(uint64_t maxLength) {
    std::uniform_real_distribution<double> d(0.0, std::log(double(maxLength) + 1.0));
    uint64_t n = uint64_t(std::exp(d(rng)));
    return n < 1 ? 1 : (n > maxLength ? maxLength : n);
  }

  // n >= 1 words with a non-zero top word.
  std::vector<uint32_t> words(uint64_t n, OperandKind kind) {
    std::vector<uint32_t> w(n, 0);
    switch (kind) {
      case OperandUniform:
        for (auto& x : w) x = uint32_t(rng());
        break;
      case OperandRuns: {
        // Alternating runs of ones and zeros of random bit lengths.
        uint64_t bit = 0;
        bool ones = (rng() & 1) != 0;
        while (bit < 32 * n) {
          uint64_t run = 1 + rng() % 200;
          for (uint64_t i = bit; i < bit + run && i < 32 * n; i++) {
            if (ones) w[i / 32] |= uint32_t(1) << (i % 32);
          }
          bit += run;
          ones = !ones;
        }
        break;
      }
      case OperandAllOnes:
        for (auto& x : w) x = 0xFFFFFFFFu;
        break;
      case OperandLoneTop:
        w[n - 1] = uint32_t(rng()) | 1u;
        break;
      case OperandPowerPlusOne:
        w[0] += 1;
        w[n - 1] += 1;
        break;
      default:
        break;
    }
    if (w[n - 1] == 0) w[n - 1] = 1;
    return w;
  }
  std::vector<uint32_t> anyWords(uint64_t n) {
    return words(n, OperandKind(below(OperandKindCount)));
  }
};

// The operand source of the running test: the process seed (NUMBRELLA_SEED)
// mixed with the test's name and `stream`.
inline OperandSource testOperands(uint64_t stream) {
  return OperandSource(testbridge::testRandom(stream).next());
}
