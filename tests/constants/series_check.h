// Checks shared by the tests of the series constants: exact numbers of a
// range from its terms with GMP, a summation number against GMP, a BigFloat
// against an MPFR value, and a constant's digit text from MPFR in the
// writers' layout (with "0." for values below one).
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <functional>
#include <string>

#include "arith/numbers/bigfloat.h"
#include "constants/series.h"
#include "support/gmp_bridge.h"

namespace series_check {

using testbridge::Number;

// One term of a three-record series: P(k), Q(k) and the signed R(k).
using TermFunction = std::function<void(uint64_t k, mpz_t p, mpz_t q, mpz_t r)>;

// P, Q and R of (a, b] by merging the terms one by one from the left:
// R = R Q(k) + P R(k), P = P P(k), Q = Q Q(k). R is signed.
inline void exactRange(const TermFunction& term, uint64_t a, uint64_t b, mpz_t p, mpz_t q,
                       mpz_t r) {
  mpz_set_ui(p, 1);
  mpz_set_ui(q, 1);
  mpz_set_ui(r, 0);
  Number pk, qk, rk;
  for (uint64_t k = a + 1; k <= b; k++) {
    term(k, pk.z, qk.z, rk.z);
    mpz_mul(r, r, qk.z);
    mpz_addmul(r, p, rk.z);
    mpz_mul(p, p, pk.z);
    mpz_mul(q, q, qk.z);
  }
}

// k as an mpz.
inline void setIndex(mpz_t x, uint64_t k) {
  mpz_import(x, 1, -1, 8, 0, 0, &k);
}

// A summation number (stripped, magnitude) equals |want|.
inline ::testing::AssertionResult numberIs(const SplitNumber& n, const mpz_t want,
                                           const char* name) {
  if (n.length != 0 && (n.words[n.length - 1] == 0 || n.words[0] == 0)) {
    return ::testing::AssertionFailure() << name << " is not stripped";
  }
  Number got, magnitude;
  testbridge::toMpz(got.z, n.words, n.length);
  mpz_mul_2exp(got.z, got.z, 32 * n.stripped);
  mpz_abs(magnitude.z, want);
  if (mpz_cmp(got.z, magnitude.z) != 0) return ::testing::AssertionFailure() << name << " differs";
  return ::testing::AssertionSuccess();
}

// log2 |x - want| (very negative when they agree; 1 for a zero x).
inline long errorBits(const BigFloat& x, mpfr_t want) {
  mpfr_t a;
  mpfr_init2(a, mpfr_get_prec(want) + 64);
  Number m;
  testbridge::toMpz(m.z, x.mantissa.words, x.mantissa.length);
  mpfr_set_z(a, m.z, MPFR_RNDN);
  mpfr_mul_2si(a, a, long(32 * x.exponent), MPFR_RNDN);
  if (!x.positive) mpfr_neg(a, a, MPFR_RNDN);
  mpfr_sub(a, a, want, MPFR_RNDN);
  const long bits = mpfr_zero_p(a) ? -(1L << 40) : long(mpfr_get_exp(a));
  mpfr_clear(a);
  return bits;
}

// The value's text as the writers lay it out: the integer digits ("0" for a
// value below one), "." and exactly `digits` digits after the point,
// truncated, in base 10 or 16.
inline std::string mpfrText(const std::function<void(mpfr_t)>& set, uint64_t digits, int base) {
  mpfr_t x;
  mpfr_init2(x, mpfr_prec_t(double(digits) * std::log2(double(base))) + 128);
  set(x);
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, base, size_t(digits) + 20, x, MPFR_RNDZ);
  std::string all(text);
  mpfr_free_str(text);
  mpfr_clear(x);
  mpfr_free_cache();
  if (point <= 0) return "0." + std::string(size_t(-point), '0') + all.substr(0, size_t(digits + point));
  return all.substr(0, size_t(point)) + "." + all.substr(size_t(point), size_t(digits));
}

}  // namespace series_check
