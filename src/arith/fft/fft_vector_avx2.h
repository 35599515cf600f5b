// Four complex doubles in two AVX registers (lanes 0-1 and 2-3): the AVX2 form
// of the FFT kernels' vector type. Each operation gives exactly the bits of
// its plain C++ twin in fft_vector_scalar.h: no fused multiply-add, the same
// order of every addition.
//
// Included only by fft_leaves_avx2.cpp, inside its anonymous namespace and
// under its target pragma.
#pragma once

struct Vec4 {
  __m256d lo;
  __m256d hi;
};

inline Vec4 vecLoad(const double* p) {
  return {_mm256_loadu_pd(p), _mm256_loadu_pd(p + 4)};
}

inline void vecStore(double* p, const Vec4& a) {
  _mm256_storeu_pd(p, a.lo);
  _mm256_storeu_pd(p + 4, a.hi);
}

inline __m256d reverse4(__m256d x) {
  return _mm256_permute4x64_pd(x, 0x1B);
}

inline Vec4 vecLoadReversed(const double* p) {
  return {reverse4(_mm256_loadu_pd(p + 4)), reverse4(_mm256_loadu_pd(p))};
}

inline Vec4 vecBroadcast(double re, double im) {
  __m256d x = _mm256_setr_pd(re, im, re, im);
  return {x, x};
}

inline Vec4 vecAdd(const Vec4& a, const Vec4& b) {
  return {_mm256_add_pd(a.lo, b.lo), _mm256_add_pd(a.hi, b.hi)};
}

inline Vec4 vecSub(const Vec4& a, const Vec4& b) {
  return {_mm256_sub_pd(a.lo, b.lo), _mm256_sub_pd(a.hi, b.hi)};
}

inline Vec4 vecMul(const Vec4& a, const Vec4& b) {
  return {_mm256_mul_pd(a.lo, b.lo), _mm256_mul_pd(a.hi, b.hi)};
}

inline Vec4 vecScale(const Vec4& a, double s) {
  __m256d f = _mm256_set1_pd(s);
  return {_mm256_mul_pd(a.lo, f), _mm256_mul_pd(a.hi, f)};
}

inline __m256d swapParts(__m256d x) {
  return _mm256_permute_pd(x, 0x5);
}

inline __m256d signEven() {
  return _mm256_setr_pd(-0.0, 0.0, -0.0, 0.0);
}
inline __m256d signOdd() {
  return _mm256_setr_pd(0.0, -0.0, 0.0, -0.0);
}
inline __m256d signAll() {
  return _mm256_set1_pd(-0.0);
}

inline Vec4 vecMulI(const Vec4& a) {
  return {_mm256_xor_pd(swapParts(a.lo), signEven()), _mm256_xor_pd(swapParts(a.hi), signEven())};
}

inline Vec4 vecMulNegI(const Vec4& a) {
  return {_mm256_xor_pd(swapParts(a.lo), signOdd()), _mm256_xor_pd(swapParts(a.hi), signOdd())};
}

// x * w: (xr wr, xi wr) -/+ (xi wi, xr wi) by addsub.
inline __m256d cmul2(__m256d x, __m256d w) {
  __m256d a = _mm256_mul_pd(x, _mm256_movedup_pd(w));
  __m256d b = _mm256_mul_pd(swapParts(x), _mm256_permute_pd(w, 0xF));
  return _mm256_addsub_pd(a, b);
}

// x * conj(w): addsub with the second term negated gives (a0 + b0, a1 - b1).
inline __m256d cmulConj2(__m256d x, __m256d w) {
  __m256d a = _mm256_mul_pd(x, _mm256_movedup_pd(w));
  __m256d b = _mm256_mul_pd(swapParts(x), _mm256_permute_pd(w, 0xF));
  return _mm256_addsub_pd(a, _mm256_xor_pd(b, signAll()));
}

inline Vec4 vecCmul(const Vec4& x, const Vec4& w) {
  return {cmul2(x.lo, w.lo), cmul2(x.hi, w.hi)};
}

inline Vec4 vecCmulConj(const Vec4& x, const Vec4& w) {
  return {cmulConj2(x.lo, w.lo), cmulConj2(x.hi, w.hi)};
}

inline Vec4 vecBlend(const Vec4& a, const Vec4& b, int lanes) {
  // Lanes are complex values: lane k covers doubles 2k and 2k + 1.
  __m256d mlo = _mm256_castsi256_pd(_mm256_setr_epi64x((lanes & 1) ? -1 : 0, (lanes & 1) ? -1 : 0,
                                                       (lanes & 2) ? -1 : 0, (lanes & 2) ? -1 : 0));
  __m256d mhi = _mm256_castsi256_pd(_mm256_setr_epi64x((lanes & 4) ? -1 : 0, (lanes & 4) ? -1 : 0,
                                                       (lanes & 8) ? -1 : 0, (lanes & 8) ? -1 : 0));
  return {_mm256_blendv_pd(a.lo, b.lo, mlo), _mm256_blendv_pd(a.hi, b.hi, mhi)};
}

inline void vecTranspose(Vec4& a, Vec4& b, Vec4& c, Vec4& d) {
  Vec4 r0 = {_mm256_permute2f128_pd(a.lo, b.lo, 0x20), _mm256_permute2f128_pd(c.lo, d.lo, 0x20)};
  Vec4 r1 = {_mm256_permute2f128_pd(a.lo, b.lo, 0x31), _mm256_permute2f128_pd(c.lo, d.lo, 0x31)};
  Vec4 r2 = {_mm256_permute2f128_pd(a.hi, b.hi, 0x20), _mm256_permute2f128_pd(c.hi, d.hi, 0x20)};
  Vec4 r3 = {_mm256_permute2f128_pd(a.hi, b.hi, 0x31), _mm256_permute2f128_pd(c.hi, d.hi, 0x31)};
  a = r0;
  b = r1;
  c = r2;
  d = r3;
}

inline Vec4 vecFromPoints(const uint32_t* x, const uint32_t* y) {
  __m128i xs = _mm_loadu_si128(reinterpret_cast<const __m128i*>(x));
  __m128i ys = _mm_loadu_si128(reinterpret_cast<const __m128i*>(y));
  __m256d xd = _mm256_cvtepi32_pd(xs);
  __m256d yd = _mm256_cvtepi32_pd(ys);
  __m256d l = _mm256_unpacklo_pd(xd, yd);  // x0 y0 x2 y2
  __m256d h = _mm256_unpackhi_pd(xd, yd);  // x1 y1 x3 y3
  return {_mm256_permute2f128_pd(l, h, 0x20), _mm256_permute2f128_pd(l, h, 0x31)};
}

inline Vec4 vecFromPointsTwice(const uint32_t* x) {
  return vecFromPoints(x, x);
}

inline void vecInterleave(const Vec4& a, const Vec4& b, Vec4& lo, Vec4& hi) {
  Vec4 l = {_mm256_permute2f128_pd(a.lo, b.lo, 0x20), _mm256_permute2f128_pd(a.lo, b.lo, 0x31)};
  Vec4 h = {_mm256_permute2f128_pd(a.hi, b.hi, 0x20), _mm256_permute2f128_pd(a.hi, b.hi, 0x31)};
  lo = l;
  hi = h;
}

// Points of four steps, one 32-bit lane per chain in each of x0 .. x3, turned
// into four consecutive points of each chain and stored.
inline void storeStreams(__m128i x0, __m128i x1, __m128i x2, __m128i x3, uint32_t* const streams[4],
                         uint64_t k) {
  __m128i t0 = _mm_unpacklo_epi32(x0, x1), t1 = _mm_unpackhi_epi32(x0, x1);
  __m128i t2 = _mm_unpacklo_epi32(x2, x3), t3 = _mm_unpackhi_epi32(x2, x3);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(streams[0] + k), _mm_unpacklo_epi64(t0, t2));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(streams[1] + k), _mm_unpackhi_epi64(t0, t2));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(streams[2] + k), _mm_unpacklo_epi64(t1, t3));
  _mm_storeu_si128(reinterpret_cast<__m128i*>(streams[3] + k), _mm_unpackhi_epi64(t1, t3));
}

// The four chains in the four 64-bit lanes. AVX2 has no arithmetic shift of
// 64-bit lanes, so the chain runs on v + 2^52 (never negative) and takes
// 2^(52-b) off each shifted carry; the low b bits are the same.
struct CarryLanes {
  __m256i carry, mask, low52, lift, drop, pick;
  __m128i shift;
};

inline CarryLanes carryLanesStart(uint32_t bits, int64_t offset) {
  return {_mm256_setzero_si256(),
          _mm256_set1_epi64x((int64_t(1) << bits) - 1),
          _mm256_set1_epi64x((int64_t(1) << 52) - 1),
          _mm256_set1_epi64x((int64_t(1) << 52) - offset),
          _mm256_set1_epi64x(int64_t(1) << (52 - bits)),
          _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6),
          _mm_cvtsi32_si128(int(bits))};
}

inline __m128i carryStep(CarryLanes& s, __m256d rounded) {
  __m256i r = _mm256_and_si256(_mm256_castpd_si256(rounded), s.low52);
  __m256i v = _mm256_add_epi64(_mm256_add_epi64(r, s.lift), s.carry);
  s.carry = _mm256_sub_epi64(_mm256_srl_epi64(v, s.shift), s.drop);
  return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_and_si256(v, s.mask), s.pick));
}

inline void carryLanesStep(CarryLanes& s, const Vec4& first, const Vec4& second,
                           uint32_t* const streams[4], uint64_t k) {
  __m128i x0 = carryStep(s, first.lo), x1 = carryStep(s, first.hi);
  __m128i x2 = carryStep(s, second.lo), x3 = carryStep(s, second.hi);
  storeStreams(x0, x1, x2, x3, streams, k);
}

inline void carryLanesEnd(const CarryLanes& s, int64_t carry[4]) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(carry), s.carry);
}
