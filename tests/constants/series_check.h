// Checks shared by the tests of the series: exact numbers of a range from
// its terms with GMP, a summation number against GMP, and a BigFloat against
// an MPFR value.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <functional>

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

// A summation number equals |want|: stripped of zero words at both ends,
// nothing left below its words, its stripped words counted.
inline ::testing::AssertionResult numberIs(const SplitNumber& n, const mpz_t want,
                                           const char* name) {
  if (n.length != 0 && (n.words[n.length - 1] == 0 || n.words[0] == 0)) {
    return ::testing::AssertionFailure() << name << " is not stripped";
  }
  for (const uint32_t* w = n.base; w != nullptr && w < n.words; w++) {
    if (*w != 0) return ::testing::AssertionFailure() << name << " has words below it";
  }
  Number got, magnitude;
  testbridge::toMpz(got.z, n.words, n.length);
  mpz_mul_2exp(got.z, got.z, 32 * n.stripped);
  mpz_abs(magnitude.z, want);
  if (mpz_cmp(got.z, magnitude.z) != 0) return ::testing::AssertionFailure() << name << " differs";
  return ::testing::AssertionSuccess();
}

// x exactly, at a precision of its own.
inline void mpfrFromFloat(mpfr_t out, const BigFloat& x) {
  Number m;
  testbridge::toMpz(m.z, x.mantissa.words, x.mantissa.length);
  mpfr_set_prec(out, mpfr_prec_t(32 * x.mantissa.length + 64));
  mpfr_set_z(out, m.z, MPFR_RNDN);
  mpfr_mul_2si(out, out, long(32 * x.exponent), MPFR_RNDN);
  if (!x.positive) mpfr_neg(out, out, MPFR_RNDN);
}

// log2 |x - want| (very negative when they agree; 1 for a zero x).
inline long errorBits(const BigFloat& x, mpfr_t want) {
  mpfr_t a;
  mpfr_init(a);
  mpfrFromFloat(a, x);
  mpfr_prec_round(a, std::max(mpfr_get_prec(a), mpfr_get_prec(want) + 64), MPFR_RNDN);
  mpfr_sub(a, a, want, MPFR_RNDN);
  const long bits = mpfr_zero_p(a) ? -(1L << 40) : long(mpfr_get_exp(a));
  mpfr_clear(a);
  return bits;
}

}  // namespace series_check
