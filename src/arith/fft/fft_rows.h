// The radix-4 steps of the FFT and the leaves of 16 and 32 points, written
// once over the vector type Vec4 (four complex doubles) that the including
// kernel file defines. A block is an array of complex doubles, real part
// first; `x` points at its first double, quarters follow each other.
//
// A cyclic block of N points is a polynomial modulo x^N - 1, a nega-cyclic one
// modulo x^N + 1. One step splits a block into four quarters of N/4 points
// each: cnRowReduction turns a cyclic block into quarters cyclic, nega-cyclic, cyclic,
// cyclic; nnRowReduction a nega-cyclic block into cyclic, nega-cyclic, cyclic,
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
[[gnu::always_inline]] inline Vec4 rowTwiddle(const double* level, uint64_t Q, uint64_t j0) {
  if (j0 >= Q) return vecLoadReversed(level + 2 * (2 * Q - j0 - 4));
  if (j0 > 0) return vecLoad(level + 2 * (j0 - 1));
  return vecBlend(vecLoad(level - 2), vecBroadcast(1.0, 0.0), 1);
}

// One group of the cyclic step: (a, b, c, d) = quarters at the same j.
[[gnu::always_inline]] inline void radix4Cyclic(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& w) {
  Vec4 s1 = vecAdd(a, c), s2 = vecAdd(b, d);
  Vec4 d1 = vecSub(a, c), id2 = vecMulI(vecSub(b, d));
  a = vecAdd(s1, s2);
  b = vecSub(s1, s2);
  c = vecCmul(vecAdd(d1, id2), w);
  d = vecCmulConj(vecSub(d1, id2), w);
}

[[gnu::always_inline]] inline void radix4CyclicInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d,
                                                       const Vec4& w) {
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
[[gnu::always_inline]] inline void radix4Nega(Vec4& a, Vec4& b, Vec4& c, Vec4& d, const Vec4& th,
                                              const Vec4& th2) {
  Vec4 ic = vecMulI(c), id = vecMulI(d);
  Vec4 u1 = vecCmul(vecAdd(a, ic), th), u2 = vecCmulConj(vecSub(a, ic), th);
  Vec4 v1 = vecCmul(vecAdd(b, id), th2), v2 = vecCmulConj(vecSub(b, id), th2);
  a = vecAdd(u1, v1);
  b = vecSub(u1, v1);
  c = vecAdd(u2, v2);
  d = vecSub(u2, v2);
}

[[gnu::always_inline]] inline void radix4NegaInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d,
                                                     const Vec4& th, const Vec4& th2) {
  Vec4 u1 = vecCmulConj(vecAdd(a, b), th), v1 = vecCmulConj(vecSub(a, b), th2);
  Vec4 u2 = vecCmul(vecAdd(c, d), th), v2 = vecCmul(vecSub(c, d), th2);
  a = vecAdd(u1, u2);
  c = vecMulNegI(vecSub(u1, u2));
  b = vecAdd(v1, v2);
  d = vecMulNegI(vecSub(v1, v2));
}

// cnRowReduction / nnRowReduction over a block of 2^v points, v >= 5, in place. The cyclic
// step reads level v - 1 of pyramid2 (w(j) = exp(2 pi i j / N)), the
// nega-cyclic one level v (th(j) = exp(i pi j / N), th2(j) = th(j + N/4)).
template <bool inverse>
void cnRowReduction(double* x, uint32_t v, const double* pyramid2) {
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
void nnRowReduction(double* x, uint32_t v, const double* pyramid2) {
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

// Lanes whose small block is nega-cyclic after a step: quarter 1, and quarter
// 3 when the step was nega-cyclic.
constexpr int negaLanes(bool nega) {
  return nega ? 0xA : 0x2;
}

// The constants of the leaves, read from the low levels of pyramid2 once per
// transform.
struct LeafConstants {
  Vec4 w16;                // cyclic 16: exp(2 pi i j / 16), j = 0 .. 3
  Vec4 th16, th16b;        // nega 16: exp(i pi j / 16) and exp(i pi (j + 4) / 16)
  Vec4 w32[2];             // cyclic 32: exp(2 pi i j / 32), j = 0 .. 7
  Vec4 th32[2], th32b[2];  // nega 32: exp(i pi j / 32), exp(i pi (j + 8) / 32)
  double cos4;             // cos(pi / 4): exp(i pi / 4) = cos(pi / 4) (1 + i)
  Vec4 turn[2][3];         // the turns of the odd 8-point step, by lane pattern
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
  k.cos4 = l2[0];
  // Lanes of a cyclic 32-block: cyclic, nega, cyclic, cyclic 8-blocks; of a
  // nega-cyclic one: cyclic, nega, cyclic, nega. Cyclic lanes turn outputs
  // 2, 3 by exp(+-i pi / 4), nega-cyclic lanes 0, 1 by exp(i pi / 8) and 2, 3
  // by exp(-i pi / 8).
  const double one[2] = {1.0, 0.0}, z[2] = {l2[0], l2[1]}, zc[2] = {l2[0], -l2[1]};
  const double e[2] = {l3[0], l3[1]}, ec[2] = {l3[0], -l3[1]};
  for (int pattern = 0; pattern < 2; pattern++) {
    const int lanes = negaLanes(pattern == 1);
    double t[3][8];
    for (int lane = 0; lane < 4; lane++) {
      const bool nega = (lanes >> lane) & 1;
      const double* pick[3] = {nega ? e : one, nega ? ec : z, nega ? ec : zc};
      for (int o = 0; o < 3; o++) {
        t[o][2 * lane] = pick[o][0];
        t[o][2 * lane + 1] = pick[o][1];
      }
    }
    for (int o = 0; o < 3; o++) k.turn[pattern][o] = vecLoad(t[o]);
  }
  return k;
}

// x * exp(i pi / 4) = c (x + ix) and x * exp(-i pi / 4) = c (x - ix), with c
// = cos(pi / 4): one product where a complex product takes two.
[[gnu::always_inline]] inline Vec4 vecMulZeta(const Vec4& x, double c) {
  return vecScale(vecAdd(x, vecMulI(x)), c);
}
[[gnu::always_inline]] inline Vec4 vecMulZetaConj(const Vec4& x, double c) {
  return vecScale(vecSub(x, vecMulI(x)), c);
}

// The radix-4 step of a block of 4 points (or of the points j = 0 of blocks
// of 8) side by side, block k in lane k: lanes in `lanes` are nega-cyclic.
// With m = 1 (cyclic) or i (nega-cyclic): P, Q = a +- mc, R, S = b +- md;
// the outputs are P +- R', Q +- S' with R' = R, S' = iS (cyclic: the step
// modulo x^4 - 1) or R' = zR, S' = conj(z) S, z = exp(i pi / 4) (nega-cyclic:
// modulo x^4 + 1 = (x^2 - i)(x^2 + i), the residues twisted by z and conj(z)).
[[gnu::always_inline]] inline void radix4Lanes(Vec4& a, Vec4& b, Vec4& c, Vec4& d, int lanes,
                                               double cos4) {
  Vec4 mc = vecBlend(c, vecMulI(c), lanes), md = vecBlend(d, vecMulI(d), lanes);
  Vec4 P = vecAdd(a, mc), Q = vecSub(a, mc), R = vecAdd(b, md), S = vecSub(b, md);
  Vec4 Rt = vecBlend(R, vecMulZeta(R, cos4), lanes);
  Vec4 St = vecBlend(vecMulI(S), vecMulZetaConj(S, cos4), lanes);
  a = vecAdd(P, Rt);
  b = vecSub(P, Rt);
  c = vecAdd(Q, St);
  d = vecSub(Q, St);
}

[[gnu::always_inline]] inline void radix4LanesInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d, int lanes,
                                                      double cos4) {
  Vec4 P = vecAdd(a, b), Rt = vecSub(a, b), Q = vecAdd(c, d), St = vecSub(c, d);
  Vec4 R = vecBlend(Rt, vecMulZetaConj(Rt, cos4), lanes);
  Vec4 S = vecBlend(vecMulNegI(St), vecMulZeta(St, cos4), lanes);
  Vec4 mc = vecSub(P, Q), md = vecSub(R, S);
  a = vecAdd(P, Q);
  b = vecAdd(R, S);
  c = vecBlend(mc, vecMulNegI(mc), lanes);
  d = vecBlend(md, vecMulNegI(md), lanes);
}

// The same step for the points j = 1 of blocks of 8: the step of the points
// j = 0, then each output turned by a constant of its lane (`turn`: the
// cyclic lanes turn the third and fourth outputs by exp(+-i pi / 4), the
// nega-cyclic lanes the first two by e = exp(i pi / 8) and the last two by
// conj(e); e (P +- z R) is e P +- e' R with e' = exp(3 i pi / 8)).
[[gnu::always_inline]] inline void radix4LanesOdd(Vec4& a, Vec4& b, Vec4& c, Vec4& d, int lanes,
                                                  double cos4, const Vec4 turn[3]) {
  radix4Lanes(a, b, c, d, lanes, cos4);
  a = vecCmul(a, turn[0]);
  b = vecCmul(b, turn[0]);
  c = vecCmul(c, turn[1]);
  d = vecCmul(d, turn[2]);
}

[[gnu::always_inline]] inline void radix4LanesOddInverse(Vec4& a, Vec4& b, Vec4& c, Vec4& d,
                                                         int lanes, double cos4,
                                                         const Vec4 turn[3]) {
  a = vecCmulConj(a, turn[0]);
  b = vecCmulConj(b, turn[0]);
  c = vecCmulConj(c, turn[1]);
  d = vecCmulConj(d, turn[2]);
  radix4LanesInverse(a, b, c, d, lanes, cos4);
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
  radix4Lanes(a, b, c, d, negaLanes(nega), k.cos4);
  vecStore(x, a);
  vecStore(x + 8, b);
  vecStore(x + 16, c);
  vecStore(x + 24, d);
}

template <bool nega>
void leaf16Inverse(double* x, const LeafConstants& k) {
  Vec4 a = vecLoad(x), b = vecLoad(x + 8), c = vecLoad(x + 16), d = vecLoad(x + 24);
  radix4LanesInverse(a, b, c, d, negaLanes(nega), k.cos4);
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
// nega-cyclic 8 cyclic, nega, cyclic, nega. A cyclic 2-point block gives
// y0 +- y1, a nega-cyclic one y0 +- i y1.
[[gnu::always_inline]] inline void point8(Vec4 p[8], int lanes, const LeafConstants& k) {
  radix4Lanes(p[0], p[2], p[4], p[6], lanes, k.cos4);
  radix4LanesOdd(p[1], p[3], p[5], p[7], lanes, k.cos4, k.turn[lanes == negaLanes(true)]);
  for (int m = 0; m < 4; m++) {
    int kind = m == 1 ? 0xF : m == 3 ? lanes : 0;
    Vec4 y0 = p[2 * m], y1 = vecBlend(p[2 * m + 1], vecMulI(p[2 * m + 1]), kind);
    p[2 * m] = vecAdd(y0, y1);
    p[2 * m + 1] = vecSub(y0, y1);
  }
}

[[gnu::always_inline]] inline void point8Inverse(Vec4 p[8], int lanes, const LeafConstants& k) {
  for (int m = 0; m < 4; m++) {
    int kind = m == 1 ? 0xF : m == 3 ? lanes : 0;
    Vec4 e0 = p[2 * m], e1 = p[2 * m + 1];
    Vec4 diff = vecSub(e0, e1);
    p[2 * m] = vecAdd(e0, e1);
    p[2 * m + 1] = vecBlend(diff, vecMulNegI(diff), kind);
  }
  radix4LanesInverse(p[0], p[2], p[4], p[6], lanes, k.cos4);
  radix4LanesOddInverse(p[1], p[3], p[5], p[7], lanes, k.cos4, k.turn[lanes == negaLanes(true)]);
}

// A block of 32 points: the radix-4 step across it (cnRowReduction or nnRowReduction of v = 5),
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
