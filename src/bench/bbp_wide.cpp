// The digit extraction's terms on AVX-512 with the 52-bit multiply-adds:
// eight consecutive n per vector and the seven kinds of term side by side,
// so that seven independent chains of Montgomery squarings overlap.
//
// Per lane: D odd below 2^50, R = 2^52. x holds v R mod D. A squaring is
//   lo, hi = x^2 split at bit 52;  q = lo * (-1/D) mod 2^52;
//   x' = hi + high52(q D) + (lo != 0),  below 2 D, then one subtraction.
// The fraction r / D is taken in two 52-bit steps, each a quotient by a
// double division, made exact by one correction on the integer remainder.
#include "bench/bbp_internal.h"

#include <immintrin.h>

// GCC 12 takes the deliberately undefined vectors inside its AVX-512
// intrinsics (a self-initialised local) for uninitialised ones.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

#define WIDE_TARGET __attribute__((target("avx512f,avx512dq,avx512ifma")))

namespace bbp {

namespace {

constexpr uint64_t mask52 = (uint64_t(1) << 52) - 1;

// min(x, x - d): x - d when x >= d (unsigned), for x below 2 d.
WIDE_TARGET inline __m512i reduceOnce(__m512i x, __m512i d) {
  return _mm512_min_epu64(x, _mm512_sub_epi64(x, d));
}

WIDE_TARGET inline __m512i montgomerySquare(__m512i x, __m512i d, __m512i inverse) {
  const __m512i zero = _mm512_setzero_si512();
  __m512i lo = _mm512_madd52lo_epu64(zero, x, x);
  __m512i hi = _mm512_madd52hi_epu64(zero, x, x);
  __m512i q = _mm512_madd52lo_epu64(zero, lo, inverse);
  __m512i r = _mm512_madd52hi_epu64(hi, q, d);
  __mmask8 carry = _mm512_test_epi64_mask(lo, lo);
  r = _mm512_mask_add_epi64(r, carry, r, _mm512_set1_epi64(1));
  return reduceOnce(r, d);
}

// floor(r 2^52 / d) and the remainder, for r < d < 2^50.
WIDE_TARGET inline __m512i quotientStep(__m512i r, __m512i d, __m512d dd, __m512i* remainder) {
  __m512d rd = _mm512_cvtepu64_pd(r);
  __m512d qd = _mm512_div_pd(_mm512_mul_pd(rd, _mm512_set1_pd(4503599627370496.0)), dd);
  __m512i q = _mm512_cvttpd_epu64(qd);
  // r 2^52 - q d, exact modulo 2^64 and within (-d, 2 d).
  __m512i rest = _mm512_sub_epi64(_mm512_slli_epi64(r, 52), _mm512_mullo_epi64(q, d));
  __mmask8 negative = _mm512_cmplt_epi64_mask(rest, _mm512_setzero_si512());
  q = _mm512_mask_sub_epi64(q, negative, q, _mm512_set1_epi64(1));
  rest = _mm512_mask_add_epi64(rest, negative, rest, d);
  __mmask8 over = _mm512_cmpge_epu64_mask(rest, d);
  q = _mm512_mask_add_epi64(q, over, q, _mm512_set1_epi64(1));
  rest = _mm512_mask_sub_epi64(rest, over, rest, d);
  *remainder = rest;
  return q;
}

// -1/d mod 2^52 by Newton's iteration.
WIDE_TARGET inline __m512i negativeInverse52(__m512i d) {
  __m512i inverse = d;
  const __m512i two = _mm512_set1_epi64(2);
  for (int i = 0; i < 5; ++i) {
    inverse = _mm512_mullo_epi64(inverse, _mm512_sub_epi64(two, _mm512_mullo_epi64(d, inverse)));
  }
  return _mm512_and_si512(_mm512_sub_epi64(_mm512_setzero_si512(), inverse),
                          _mm512_set1_epi64(mask52));
}

}  // namespace

bool wideKernelAvailable() {
  __builtin_cpu_init();
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512ifma");
}

WIDE_TARGET u128 wideKernelSum(uint64_t bit, uint64_t first, uint64_t count) {
  constexpr int kinds = 7;
  const __m512i lanes = _mm512_set_epi64(7, 6, 5, 4, 3, 2, 1, 0);
  const __m512i one = _mm512_set1_epi64(1);
  // Signed sums of the two 52-bit halves of the fractions; the low one is
  // folded into the high one before it can overflow.
  __m512i sumHigh = _mm512_setzero_si512();
  __m512i sumLow = _mm512_setzero_si512();
  for (uint64_t batch = 0; batch < count; ++batch) {
    __m512i n = _mm512_add_epi64(_mm512_set1_epi64(int64_t(first + 8 * batch)), lanes);
    __mmask8 odd = _mm512_test_epi64_mask(n, one);
    __m512i d[kinds], e[kinds], inverse[kinds], x[kinds];
    __m512d dd[kinds];
    __m512i longest = _mm512_setzero_si512();
    for (int k = 0; k < kinds; ++k) {
      const TermKind& kind = termKinds[k];
      d[k] = _mm512_add_epi64(_mm512_mullo_epi64(n, _mm512_set1_epi64(kind.slope)),
                              _mm512_set1_epi64(kind.offset));
      e[k] = _mm512_sub_epi64(_mm512_set1_epi64(int64_t(bit - 6 + kind.shift)),
                              _mm512_mullo_epi64(n, _mm512_set1_epi64(10)));
      longest = _mm512_or_si512(longest, e[k]);
      inverse[k] = negativeInverse52(d[k]);
      dd[k] = _mm512_cvtepu64_pd(d[k]);
      quotientStep(one, d[k], dd[k], &x[k]);  // R mod d: one in Montgomery form
    }
    uint64_t top = _mm512_reduce_or_epi64(longest);
    for (int b = top == 0 ? -1 : 63 - __builtin_clzll(top); b >= 0; --b) {
      const __m512i probe = _mm512_set1_epi64(int64_t(uint64_t(1) << b));
      for (int k = 0; k < kinds; ++k) {
        __m512i s = montgomerySquare(x[k], d[k], inverse[k]);
        __mmask8 set = _mm512_test_epi64_mask(e[k], probe);
        s = _mm512_mask_add_epi64(s, set, s, s);
        x[k] = reduceOnce(s, d[k]);
      }
    }
    for (int k = 0; k < kinds; ++k) {
      // Out of Montgomery form: x / R.
      const __m512i zero = _mm512_setzero_si512();
      __m512i q = _mm512_madd52lo_epu64(zero, x[k], inverse[k]);
      __m512i r = _mm512_madd52hi_epu64(zero, q, d[k]);
      r = _mm512_mask_add_epi64(r, _mm512_test_epi64_mask(x[k], x[k]), r, one);
      r = reduceOnce(r, d[k]);
      __m512i rest;
      __m512i high = quotientStep(r, d[k], dd[k], &rest);
      __m512i low = quotientStep(rest, d[k], dd[k], &rest);
      __mmask8 subtract = termKinds[k].negative ? __mmask8(~odd) : odd;
      sumHigh = _mm512_mask_sub_epi64(sumHigh, subtract, sumHigh, high);
      sumHigh = _mm512_mask_add_epi64(sumHigh, __mmask8(~subtract), sumHigh, high);
      sumLow = _mm512_mask_sub_epi64(sumLow, subtract, sumLow, low);
      sumLow = _mm512_mask_add_epi64(sumLow, __mmask8(~subtract), sumLow, low);
    }
    if ((batch & 255) == 255) {
      sumHigh = _mm512_add_epi64(sumHigh, _mm512_srai_epi64(sumLow, 52));
      sumLow = _mm512_and_si512(sumLow, _mm512_set1_epi64(mask52));
    }
  }
  alignas(64) int64_t high[8], low[8];
  _mm512_store_si512(high, sumHigh);
  _mm512_store_si512(low, sumLow);
  u128 sum = 0;
  for (int i = 0; i < 8; ++i) {
    // high counts units of 2^-52, low units of 2^-104; modulo 1.
    sum += u128(uint64_t(high[i])) << 76;
    sum += u128(__int128(low[i])) << 24;
  }
  return sum;
}

}  // namespace bbp
