// The radix-4 steps of the FFT and the leaves of 16 and 32 points, written
// once over the vector type Vec4 (four complex doubles) that the including
// kernel file defines. A block is an array of complex doubles, real part
// first; `x` points at its first double, quarters follow each other.
//
// A cyclic block of N points is a polynomial modulo x^N - 1, a nega-cyclic one
// modulo x^N + 1. One step splits a block into four quarters of N/4 points
// each: cnRow turns a cyclic block into quarters cyclic, nega-cyclic, cyclic,
// cyclic; nnRow a nega-cyclic block into cyclic, nega-cyclic, cyclic,
// nega-cyclic. The twisted quarters are multiplied by the table's twiddles so
// that they come out as plain cyclic (or nega-cyclic) blocks. The inverse
// steps undo a step and leave every value multiplied by 4.
//
// Included only by the fft_leaves_*.cpp files, inside an anonymous namespace.
#pragma once

// Twiddles j0 .. j0 + 3 of a level whose octant has Q pairs (Q a multiple of
// 4): exp(i (pi / 2) j / (2Q)), forward below Q and backward, with the parts
// swapped, from Q on. The value at j = 0 is 1; at j = Q both directions give
// the same pair.
inline Vec4 rowTwiddle(const double* level, uint64_t Q, uint64_t j0) {
  if (j0 >= Q) return vecLoadReversed(level + 2 * (2 * Q - j0 - 4));
  if (j0 > 0) return vecLoad(level + 2 * (j0 - 1));
  return vecBlend(vecLoad(level - 2), vecBroadcast(1.0, 0.0), 1);
}

// One group of the cyclic step: (a, b, c, d) = quarters at the same j.
inline void radix4Cyclic(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& w) {
  Vec4 s1 = vecAdd(a, c), s2 = vecAdd(b, d);
  Vec4 d1 = vecSub(a, c), id2 = vecMulI(vecSub(b, d));
  a = vecAdd(s1, s2);
  b = vecSub(s1, s2);
  c = vecCmul(vecAdd(d1, id2), w);
  d = vecCmulConj(vecSub(d1, id2), w);
}

inline void radix4CyclicInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& w) {
  Vec4 s1 = vecAdd(a, b), s2 = vecSub(a, b);
  Vec4 t = vecCmulConj(c, w), s = vecCmul(d, w);
  Vec4 d1 = vecAdd(t, s), d2 = vecMulNegI(vecSub(t, s));
  a = vecAdd(s1, d1);
  c = vecSub(s1, d1);
  b = vecAdd(s2, d2);
  d = vecSub(s2, d2);
}

// One group of the nega-cyclic step: a + ic and a - ic twisted by th, b + id
// and b - id by th2 (forward for the first pair, conjugate for the second).
inline void radix4Nega(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& th, const Vec4& th2) {
  Vec4 ic = vecMulI(c), id = vecMulI(d);
  Vec4 u1 = vecCmul(vecAdd(a, ic), th), u2 = vecCmulConj(vecSub(a, ic), th);
  Vec4 v1 = vecCmul(vecAdd(b, id), th2), v2 = vecCmulConj(vecSub(b, id), th2);
  a = vecAdd(u1, v1);
  b = vecSub(u1, v1);
  c = vecAdd(u2, v2);
  d = vecSub(u2, v2);
}

inline void radix4NegaInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& th,
                              const Vec4& th2) {
  Vec4 u1 = vecCmulConj(vecAdd(a, b), th), v1 = vecCmulConj(vecSub(a, b), th2);
  Vec4 u2 = vecCmul(vecAdd(c, d), th), v2 = vecCmul(vecSub(c, d), th2);
  a = vecAdd(u1, u2);
  c = vecMulNegI(vecSub(u1, u2));
  b = vecAdd(v1, v2);
  d = vecMulNegI(vecSub(v1, v2));
}

// cnRow / nnRow over a block of 2^v points, v >= 5, in place. The cyclic
// step reads level v - 1 of pyramid2 (w(j) = exp(2 pi i j / N)), the
// nega-cyclic one level v (th(j) = exp(i pi j / N), th2(j) = th(j + N/4)).
template <bool inverse>
void cnRow(double* x, uint32_t v, const double* pyramid2) {
  const uint64_t n4 = uint64_t(1) << (v - 2);
  const double* level = pyramidLevel(pyramid2, 1, v - 1);
  double* pa = x;
  double* pb = x + 2 * n4;
  double* pc = x + 4 * n4;
  double* pd = x + 6 * n4;
  for (uint64_t j = 0; j < n4; j += 4) {
    Vec4 w = rowTwiddle(level, n4 / 2, j);
    Vec4 a = vecLoad(pa + 2 * j), b = vecLoad(pb + 2 * j);
    Vec4 c = vecLoad(pc + 2 * j), d = vecLoad(pd + 2 * j);
    if (inverse) {
      radix4CyclicInverse(a, b, c, d, w);
    } else {
      radix4Cyclic(a, b, c, d, w);
    }
    vecStore(pa + 2 * j, a);
    vecStore(pb + 2 * j, b);
    vecStore(pc + 2 * j, c);
    vecStore(pd + 2 * j, d);
  }
}

template <bool inverse>
void nnRow(double* x, uint32_t v, const double* pyramid2) {
  const uint64_t n4 = uint64_t(1) << (v - 2);
  const double* level = pyramidLevel(pyramid2, 1, v);
  double* pa = x;
  double* pb = x + 2 * n4;
  double* pc = x + 4 * n4;
  double* pd = x + 6 * n4;
  for (uint64_t j = 0; j < n4; j += 4) {
    Vec4 th = rowTwiddle(level, n4, j), th2 = rowTwiddle(level, n4, j + n4);
    Vec4 a = vecLoad(pa + 2 * j), b = vecLoad(pb + 2 * j);
    Vec4 c = vecLoad(pc + 2 * j), d = vecLoad(pd + 2 * j);
    if (inverse) {
      radix4NegaInverse(a, b, c, d, th, th2);
    } else {
      radix4Nega(a, b, c, d, th, th2);
    }
    vecStore(pa + 2 * j, a);
    vecStore(pb + 2 * j, b);
    vecStore(pc + 2 * j, c);
    vecStore(pd + 2 * j, d);
  }
}

// The constants of the leaves, read from the low levels of pyramid2 once per
// transform.
struct LeafConstants {
  Vec4 w16;               // cyclic 16: exp(2 pi i j / 16), j = 0 .. 3
  Vec4 th16, th16b;       // nega 16: exp(i pi j / 16) and exp(i pi (j + 4) / 16)
  Vec4 w32[2];            // cyclic 32: exp(2 pi i j / 32), j = 0 .. 7
  Vec4 th32[2], th32b[2]; // nega 32: exp(i pi j / 32), exp(i pi (j + 8) / 32)
  Vec4 one;               // 1 in every lane
  Vec4 zeta;              // exp(i pi / 4) = cos(pi/4) (1 + i)
  Vec4 eighth, eighthB;   // exp(i pi / 8), exp(3 i pi / 8)
};

inline LeafConstants leafConstants(const double* pyramid2) {
  LeafConstants k;
  const double* l2 = pyramidLevel(pyramid2, 1, 2);  // pi/4
  const double* l3 = pyramidLevel(pyramid2, 1, 3);  // pi/8, pi/4
  const double w16[8] = {1.0, 0.0, l3[0], l3[1], l3[2], l3[3], l3[1], l3[0]};
  k.w16 = vecLoad(w16);
  const double* l4 = pyramidLevel(pyramid2, 1, 4);
  k.th16 = rowTwiddle(l4, 4, 0);
  k.th16b = rowTwiddle(l4, 4, 4);
  k.w32[0] = rowTwiddle(l4, 4, 0);
  k.w32[1] = rowTwiddle(l4, 4, 4);
  const double* l5 = pyramidLevel(pyramid2, 1, 5);
  for (int h = 0; h < 2; h++) {
    k.th32[h] = rowTwiddle(l5, 8, 4 * h);
    k.th32b[h] = rowTwiddle(l5, 8, 8 + 4 * h);
  }
  k.one = vecBroadcast(1.0, 0.0);
  k.zeta = vecBroadcast(l2[0], l2[1]);
  k.eighth = vecBroadcast(l3[0], l3[1]);
  k.eighthB = vecBroadcast(l3[1], l3[0]);
  return k;
}

// Lanes whose small block is nega-cyclic after a step: quarter 1, and quarter
// 3 when the step was nega-cyclic.
constexpr int negaLanes(bool nega) { return nega ? 0xA : 0x2; }

// Four 4-point blocks side by side, block k in lane k, point m in vector m:
// each block split down to single values, cyclic or nega-cyclic by lane.
inline void point4(Vec4& a, Vec4& b, Vec4& c, Vec4& d, int lanes, const LeafConstants& k) {
  Vec4 s1 = vecAdd(a, c), s2 = vecAdd(b, d);
  Vec4 d1 = vecSub(a, c), id2 = vecMulI(vecSub(b, d));
  Vec4 ic = vecMulI(c), id = vecMulI(d);
  Vec4 u1 = vecAdd(a, ic), u2 = vecSub(a, ic);
  Vec4 v1 = vecCmul(vecAdd(b, id), k.zeta), v2 = vecCmulConj(vecSub(b, id), k.zeta);
  a = vecBlend(vecAdd(s1, s2), vecAdd(u1, v1), lanes);
  b = vecBlend(vecSub(s1, s2), vecSub(u1, v1), lanes);
  c = vecBlend(vecAdd(d1, id2), vecAdd(u2, v2), lanes);
  d = vecBlend(vecSub(d1, id2), vecSub(u2, v2), lanes);
}

inline void point4Inverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d, int lanes,
                          const LeafConstants& k) {
  Vec4 s1 = vecAdd(a, b), s2 = vecSub(a, b);
  Vec4 d1 = vecAdd(c, d), d2 = vecMulNegI(vecSub(c, d));
  Vec4 u1 = s1, u2 = d1;
  Vec4 v1 = vecCmulConj(s2, k.zeta), v2 = vecCmul(vecSub(c, d), k.zeta);
  Vec4 na = vecAdd(u1, u2), nc = vecMulNegI(vecSub(u1, u2));
  Vec4 nb = vecAdd(v1, v2), nd = vecMulNegI(vecSub(v1, v2));
  a = vecBlend(vecAdd(s1, d1), na, lanes);
  c = vecBlend(vecSub(s1, d1), nc, lanes);
  b = vecBlend(vecAdd(s2, d2), nb, lanes);
  d = vecBlend(vecSub(s2, d2), nd, lanes);
}

// The 16-point leaf: one radix-4 step across the block, then the four
// quarters side by side. Output m of quarter k lands at point 4m + k.
template <bool nega>
void leaf16(double* x, const LeafConstants& k) {
  Vec4 a = vecLoad(x), b = vecLoad(x + 8), c = vecLoad(x + 16), d = vecLoad(x + 24);
  if (nega) {
    radix4Nega(a, b, c, d, k.th16, k.th16b);
  } else {
    radix4Cyclic(a, b, c, d, k.w16);
  }
  vecTranspose(a, b, c, d);
  point4(a, b, c, d, negaLanes(nega), k);
  vecStore(x, a);
  vecStore(x + 8, b);
  vecStore(x + 16, c);
  vecStore(x + 24, d);
}

template <bool nega>
void leaf16Inverse(double* x, const LeafConstants& k) {
  Vec4 a = vecLoad(x), b = vecLoad(x + 8), c = vecLoad(x + 16), d = vecLoad(x + 24);
  point4Inverse(a, b, c, d, negaLanes(nega), k);
  vecTranspose(a, b, c, d);
  if (nega) {
    radix4NegaInverse(a, b, c, d, k.th16, k.th16b);
  } else {
    radix4CyclicInverse(a, b, c, d, k.w16);
  }
  vecStore(x, a);
  vecStore(x + 8, b);
  vecStore(x + 16, c);
  vecStore(x + 24, d);
}

// Four 8-point blocks side by side (block k in lane k, point j in p[j]), each
// split by one radix-4 step into 2-point blocks and those into single
// values: the 8-point leaves. Lanes in `lanes` are nega-cyclic blocks; the
// 2-point blocks of a cyclic 8 are cyclic, nega, cyclic, cyclic, of a
// nega-cyclic 8 cyclic, nega, cyclic, nega.
inline void point8(Vec4 p[8], int lanes, const LeafConstants& k) {
  for (int j = 0; j < 2; j++) {
    Vec4 a = p[j], b = p[2 + j], c = p[4 + j], d = p[6 + j];
    Vec4 na = a, nb = b, nc = c, nd = d;
    radix4Cyclic(a, b, c, d, j == 0 ? k.one : k.zeta);
    radix4Nega(na, nb, nc, nd, j == 0 ? k.one : k.eighth, j == 0 ? k.zeta : k.eighthB);
    p[j] = vecBlend(a, na, lanes);
    p[2 + j] = vecBlend(b, nb, lanes);
    p[4 + j] = vecBlend(c, nc, lanes);
    p[6 + j] = vecBlend(d, nd, lanes);
  }
  for (int m = 0; m < 4; m++) {
    Vec4 y0 = p[2 * m], y1 = p[2 * m + 1];
    Vec4 iy1 = vecMulI(y1);
    Vec4 c0 = vecAdd(y0, y1), c1 = vecSub(y0, y1);
    Vec4 n0 = vecAdd(y0, iy1), n1 = vecSub(y0, iy1);
    int kind = m == 1 ? 0xF : m == 3 ? lanes : 0;
    p[2 * m] = vecBlend(c0, n0, kind);
    p[2 * m + 1] = vecBlend(c1, n1, kind);
  }
}

inline void point8Inverse(Vec4 p[8], int lanes, const LeafConstants& k) {
  for (int m = 0; m < 4; m++) {
    Vec4 e0 = p[2 * m], e1 = p[2 * m + 1];
    Vec4 diff = vecSub(e0, e1);
    int kind = m == 1 ? 0xF : m == 3 ? lanes : 0;
    p[2 * m] = vecAdd(e0, e1);
    p[2 * m + 1] = vecBlend(diff, vecMulNegI(diff), kind);
  }
  for (int j = 0; j < 2; j++) {
    Vec4 a = p[j], b = p[2 + j], c = p[4 + j], d = p[6 + j];
    Vec4 na = a, nb = b, nc = c, nd = d;
    radix4CyclicInverse(a, b, c, d, j == 0 ? k.one : k.zeta);
    radix4NegaInverse(na, nb, nc, nd, j == 0 ? k.one : k.eighth, j == 0 ? k.zeta : k.eighthB);
    p[j] = vecBlend(a, na, lanes);
    p[2 + j] = vecBlend(b, nb, lanes);
    p[4 + j] = vecBlend(c, nc, lanes);
    p[6 + j] = vecBlend(d, nd, lanes);
  }
}

// A block of 32 points: the radix-4 step across it (cnRow or nnRow of v = 5),
// then its four quarters side by side through the 8-point leaves. Output j
// of quarter k lands at point 4j + k.
template <bool nega>
void leaf32(double* x, const LeafConstants& k) {
  Vec4 p[8];
  for (int h = 0; h < 2; h++) {
    Vec4 a = vecLoad(x + 8 * h), b = vecLoad(x + 16 + 8 * h);
    Vec4 c = vecLoad(x + 32 + 8 * h), d = vecLoad(x + 48 + 8 * h);
    if (nega) {
      radix4Nega(a, b, c, d, k.th32[h], k.th32b[h]);
    } else {
      radix4Cyclic(a, b, c, d, k.w32[h]);
    }
    vecTranspose(a, b, c, d);
    p[4 * h] = a;
    p[4 * h + 1] = b;
    p[4 * h + 2] = c;
    p[4 * h + 3] = d;
  }
  point8(p, negaLanes(nega), k);
  for (int j = 0; j < 8; j++) vecStore(x + 8 * j, p[j]);
}

template <bool nega>
void leaf32Inverse(double* x, const LeafConstants& k) {
  Vec4 p[8];
  for (int j = 0; j < 8; j++) p[j] = vecLoad(x + 8 * j);
  point8Inverse(p, negaLanes(nega), k);
  for (int h = 0; h < 2; h++) {
    Vec4 a = p[4 * h], b = p[4 * h + 1], c = p[4 * h + 2], d = p[4 * h + 3];
    vecTranspose(a, b, c, d);
    if (nega) {
      radix4NegaInverse(a, b, c, d, k.th32[h], k.th32b[h]);
    } else {
      radix4CyclicInverse(a, b, c, d, k.w32[h]);
    }
    vecStore(x + 8 * h, a);
    vecStore(x + 16 + 8 * h, b);
    vecStore(x + 32 + 8 * h, c);
    vecStore(x + 48 + 8 * h, d);
  }
}
