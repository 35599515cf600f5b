// Four complex doubles in one AVX-512 register: the AVX-512 form of the FFT
// kernels' vector type. Each operation gives exactly the bits of its plain
// C++ twin in fft_vector_scalar.h: no fused multiply-add (AVX-512 has no
// addsub, so the sign change goes into the second term, which rounds the
// same), the same order of every addition.
//
// Included only by fft_leaves_avx512.cpp, inside its anonymous namespace and
// under its target pragma.
#pragma once

struct Vec4 {
  __m512d z;
};

inline Vec4 vecLoad(const double* p) {
  return {_mm512_loadu_pd(p)};
}

inline void vecStore(double* p, const Vec4& a) {
  _mm512_storeu_pd(p, a.z);
}

// Reversed: the 128-bit lanes in reverse order, then each pair swapped.
inline Vec4 vecLoadReversed(const double* p) {
  __m512d x = _mm512_loadu_pd(p);
  x = _mm512_shuffle_f64x2(x, x, 0x1B);
  return {_mm512_shuffle_pd(x, x, 0x55)};
}

inline Vec4 vecBroadcast(double re, double im) {
  return {_mm512_setr_pd(re, im, re, im, re, im, re, im)};
}

inline Vec4 vecAdd(const Vec4& a, const Vec4& b) {
  return {_mm512_add_pd(a.z, b.z)};
}
inline Vec4 vecSub(const Vec4& a, const Vec4& b) {
  return {_mm512_sub_pd(a.z, b.z)};
}
inline Vec4 vecMul(const Vec4& a, const Vec4& b) {
  return {_mm512_mul_pd(a.z, b.z)};
}
inline Vec4 vecScale(const Vec4& a, double s) {
  return {_mm512_mul_pd(a.z, _mm512_set1_pd(s))};
}

inline __m512d swapParts(__m512d x) {
  return _mm512_shuffle_pd(x, x, 0x55);
}
// (re, re) and (im, im) of each lane.
inline __m512d realParts(__m512d x) {
  return _mm512_unpacklo_pd(x, x);
}
inline __m512d imagParts(__m512d x) {
  return _mm512_unpackhi_pd(x, x);
}

inline __m512d signEven() {
  return _mm512_setr_pd(-0.0, 0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.0);
}
inline __m512d signOdd() {
  return _mm512_setr_pd(0.0, -0.0, 0.0, -0.0, 0.0, -0.0, 0.0, -0.0);
}

inline Vec4 vecMulI(const Vec4& a) {
  return {_mm512_xor_pd(swapParts(a.z), signEven())};
}
inline Vec4 vecMulNegI(const Vec4& a) {
  return {_mm512_xor_pd(swapParts(a.z), signOdd())};
}

// x * w = (xr wr, xi wr) + (-(xi wi), xr wi).
inline Vec4 vecCmul(const Vec4& x, const Vec4& w) {
  __m512d a = _mm512_mul_pd(x.z, realParts(w.z));
  __m512d b = _mm512_mul_pd(swapParts(x.z), imagParts(w.z));
  return {_mm512_add_pd(a, _mm512_xor_pd(b, signEven()))};
}

// x * conj(w) = (xr wr, xi wr) + (xi wi, -(xr wi)).
inline Vec4 vecCmulConj(const Vec4& x, const Vec4& w) {
  __m512d a = _mm512_mul_pd(x.z, realParts(w.z));
  __m512d b = _mm512_mul_pd(swapParts(x.z), imagParts(w.z));
  return {_mm512_add_pd(a, _mm512_xor_pd(b, signOdd()))};
}

inline Vec4 vecBlend(const Vec4& a, const Vec4& b, int lanes) {
  __mmask8 m = 0;
  for (int k = 0; k < 4; k++) {
    if ((lanes >> k) & 1) m |= __mmask8(3 << (2 * k));
  }
  return {_mm512_mask_blend_pd(m, a.z, b.z)};
}

inline void vecTranspose(Vec4& a, Vec4& b, Vec4& c, Vec4& d) {
  __m512d t0 = _mm512_shuffle_f64x2(a.z, b.z, 0x44);  // a0 a1 b0 b1
  __m512d t1 = _mm512_shuffle_f64x2(a.z, b.z, 0xEE);  // a2 a3 b2 b3
  __m512d t2 = _mm512_shuffle_f64x2(c.z, d.z, 0x44);  // c0 c1 d0 d1
  __m512d t3 = _mm512_shuffle_f64x2(c.z, d.z, 0xEE);  // c2 c3 d2 d3
  a.z = _mm512_shuffle_f64x2(t0, t2, 0x88);           // a0 b0 c0 d0
  b.z = _mm512_shuffle_f64x2(t0, t2, 0xDD);           // a1 b1 c1 d1
  c.z = _mm512_shuffle_f64x2(t1, t3, 0x88);
  d.z = _mm512_shuffle_f64x2(t1, t3, 0xDD);
}

inline Vec4 vecFromPoints(const uint32_t* x, const uint32_t* y) {
  __m256d xd = _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(x)));
  __m256d yd = _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(y)));
  // x0 y0 x1 y1 x2 y2 x3 y3 from the low halves of x0..x3 and y0..y3.
  __m512d xz = _mm512_insertf64x4(_mm512_setzero_pd(), xd, 0);
  __m512d yz = _mm512_insertf64x4(_mm512_setzero_pd(), yd, 0);
  __m512i index = _mm512_setr_epi64(0, 8, 1, 9, 2, 10, 3, 11);
  return {_mm512_permutex2var_pd(xz, index, yz)};
}

inline Vec4 vecFromPointsTwice(const uint32_t* x) {
  return vecFromPoints(x, x);
}

inline void vecInterleave(const Vec4& a, const Vec4& b, Vec4& lo, Vec4& hi) {
  lo.z = _mm512_permutex2var_pd(a.z, _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11), b.z);
  hi.z = _mm512_permutex2var_pd(a.z, _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15), b.z);
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

// The four chains in the four 64-bit lanes of a 256-bit register, with the
// arithmetic shift of AVX-512 VL: each step is one add and one shift long.
// The values are taken from the doubles eight at a time.
struct CarryLanes {
  __m256i carry, mask, pick;
  __m512i low52, offset;
  __m128i shift;
};

inline CarryLanes carryLanesStart(uint32_t bits, int64_t offset) {
  return {_mm256_setzero_si256(),
          _mm256_set1_epi64x((int64_t(1) << bits) - 1),
          _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6),
          _mm512_set1_epi64((int64_t(1) << 52) - 1),
          _mm512_set1_epi64(offset),
          _mm_cvtsi32_si128(int(bits))};
}

inline __m128i carryStep(CarryLanes& s, __m256i values) {
  __m256i v = _mm256_add_epi64(values, s.carry);
  s.carry = _mm256_sra_epi64(v, s.shift);
  return _mm256_castsi256_si128(_mm256_permutevar8x32_epi32(_mm256_and_si256(v, s.mask), s.pick));
}

inline void carryLanesStep(CarryLanes& s, const Vec4& first, const Vec4& second,
                           uint32_t* const streams[4], uint64_t k) {
  __m512i a = _mm512_sub_epi64(_mm512_and_si512(_mm512_castpd_si512(first.z), s.low52), s.offset);
  __m512i b = _mm512_sub_epi64(_mm512_and_si512(_mm512_castpd_si512(second.z), s.low52), s.offset);
  __m128i x0 = carryStep(s, _mm512_castsi512_si256(a));
  __m128i x1 = carryStep(s, _mm512_extracti64x4_epi64(a, 1));
  __m128i x2 = carryStep(s, _mm512_castsi512_si256(b));
  __m128i x3 = carryStep(s, _mm512_extracti64x4_epi64(b, 1));
  storeStreams(x0, x1, x2, x3, streams, k);
}

inline void carryLanesEnd(const CarryLanes& s, int64_t carry[4]) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(carry), s.carry);
}
