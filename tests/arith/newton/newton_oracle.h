// Helpers of the Newton tests: random BigFloats of several kinds, exact
// conversion to MPFR, and the residuals |x r - 1| and |x r^2 - 1| measured
// in bits, which say to how many words a reciprocal or root is good.
#pragma once

#include <gmp.h>
#include <mpfr.h>

#include <cstdint>
#include <random>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "memory/heap.h"

namespace newton_oracle {

enum class Kind { Uniform, AllOnes, Runs, LoneTop };

// A fresh BigFloat of `length` words (top word non-zero) in `heap`.
inline void makeNumber(Heap* heap, BigFloat* x, uint64_t length, int64_t exponent, bool positive,
                       Kind kind, std::mt19937_64& rng) {
  std::vector<uint32_t> words(length);
  switch (kind) {
    case Kind::Uniform:
      for (auto& w : words) w = uint32_t(rng());
      break;
    case Kind::AllOnes:
      for (auto& w : words) w = 0xFFFFFFFFu;
      break;
    case Kind::Runs: {
      // Long runs of 0 and 1 bits, so that carries travel far.
      uint64_t bit = 0, total = 32 * length;
      bool ones = rng() & 1;
      while (bit < total) {
        uint64_t run = 1 + rng() % 200;
        for (uint64_t i = bit; i < bit + run && i < total; i++) {
          if (ones) words[i / 32] |= 1u << (i % 32);
        }
        bit += run;
        ones = !ones;
      }
      break;
    }
    case Kind::LoneTop:
      words.back() = 1u << (rng() % 32);
      break;
  }
  if (words.back() == 0) words.back() = 1 + uint32_t(rng() % 0xFFFF);
  x->positive = positive ? 1 : 0;
  x->exponent = exponent;
  bigIntSetZero(&x->mantissa);
  x->mantissa.words = heapAllocateWords(heap, length + 2);
  x->mantissa.capacity = length + 2;
  x->mantissa.length = length;
  for (uint64_t i = 0; i < length; i++) x->mantissa.words[i] = words[i];
}

inline void copyNumber(Heap* heap, BigFloat* source, BigFloat* target) {
  target->positive = source->positive;
  target->exponent = source->exponent;
  bigIntCopy(heap, &source->mantissa, &target->mantissa);
}

// value = the exact value of x (loaded if paged out).
inline void toMpfr(Heap* heap, BigFloat* x, mpfr_t value) {
  bigIntLoad(heap, &x->mantissa, 1);
  const uint64_t length = x->mantissa.length;
  mpfr_set_prec(value, mpfr_prec_t(32 * (length == 0 ? 1 : length)));
  mpz_t z;
  mpz_init(z);
  if (length != 0) mpz_import(z, length, -1, 4, 0, 0, x->mantissa.words);
  mpfr_set_z(value, z, MPFR_RNDN);
  mpfr_mul_2si(value, value, long(32 * x->exponent), MPFR_RNDN);
  if (!x->positive) mpfr_neg(value, value, MPFR_RNDN);
  mpz_clear(z);
}

// log2 |residual|, the residual computed exactly: x r - 1 (squares = false)
// or x r^2 - 1 (squares = true). Returns -1e9 for an exact zero.
inline double residualBits(Heap* heap, BigFloat* x, BigFloat* r, bool squares) {
  mpfr_t a, b, product;
  mpfr_inits2(64, a, b, product, (mpfr_ptr) nullptr);
  toMpfr(heap, x, a);
  toMpfr(heap, r, b);
  mpfr_prec_t bits = mpfr_get_prec(a) + mpfr_get_prec(b) * (squares ? 2 : 1) + 64;
  mpfr_set_prec(product, bits);
  if (squares) {
    mpfr_mul(product, b, b, MPFR_RNDN);
    mpfr_mul(product, product, a, MPFR_RNDN);
  } else {
    mpfr_mul(product, a, b, MPFR_RNDN);
  }
  mpfr_sub_ui(product, product, 1, MPFR_RNDN);
  double result = -1e9;
  if (!mpfr_zero_p(product)) result = double(mpfr_get_exp(product));
  mpfr_clears(a, b, product, (mpfr_ptr) nullptr);
  return result;
}

// The same with a 32-bit x.
inline double residualBitsWord(Heap* heap, uint32_t n, BigFloat* r) {
  BigFloat word;
  bigFloatFromU32(heap, &word, n);
  double result = residualBits(heap, &word, r, true);
  bigFloatDestroy(&word);
  return result;
}

// Same sign, exponent and words.
inline bool sameNumber(Heap* heap, BigFloat* a, BigFloat* b) {
  bigIntLoad(heap, &a->mantissa, 1);
  bigIntLoad(heap, &b->mantissa, 1);
  if (a->positive != b->positive || a->exponent != b->exponent) return false;
  if (a->mantissa.length != b->mantissa.length) return false;
  for (uint64_t i = 0; i < a->mantissa.length; i++) {
    if (a->mantissa.words[i] != b->mantissa.words[i]) return false;
  }
  return true;
}

}  // namespace newton_oracle
