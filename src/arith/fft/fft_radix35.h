// The radix-3 and radix-5 tops of the FFT for lengths 3 * 2^e and 5 * 2^e,
// written over the kernel file's vector type Vec4.
//
// A half of the transform buffer with R * K points (R = 3 or 5, K = 2^v >=
// 16) is split by one pass into R sub-blocks of K points, each a plain cyclic
// block. The lower half is cyclic (modulo x^(RK) - 1): sub-block s is the
// residue modulo x^K - w^s (w = exp(2 pi i / R)), twisted by the K-th root of
// w^s. The upper half is nega-cyclic (modulo x^(RK) + 1): its sub-blocks are
// the residues modulo x^K - z with z^R = -1, and the twist that makes each
// cyclic is folded into the pass's twiddles. The butterfly constants come from
// the pyramid heads (pyramid3[4, 5] = cos, sin 2 pi / 3; pyramid5[2 .. 5] =
// cos, sin of 2 pi / 5 and 4 pi / 5), the twiddles from the pyramids' levels,
// gathered a chunk at a time by fftTwiddleFill. The inverse passes undo a
// pass and leave every value multiplied by R.
//
// Included only by the fft_leaves_*.cpp files, inside an anonymous namespace.
#pragma once

constexpr uint64_t radixChunk = 64;

// Twiddles of a chunk: `count` pairs exp(2 pi i n / circle), n = start +
// k * stride, from the level of `pyramid` (family `family`) at that circle.
struct RadixTwiddles {
  double pairs[3][2 * radixChunk];
};

inline void radixFill(double* out, const double* pyramid, uint32_t family, uint32_t level,
                      uint64_t start, uint64_t stride, uint64_t count) {
  fftTwiddleFill(out, pyramidLevel(pyramid, family, level), uint64_t(family) << (level - 2), start,
                 stride, count);
}

// The same for stride 1, four pairs at a time by rowTwiddle, turned by i
// for each quadrant past the first: the same values as fftTwiddleFill, by
// vector loads. Where the octant or the run is not a multiple of 4 pairs,
// fftTwiddleFill does it.
inline void radixFillRun(double* out, const double* pyramid, uint32_t family, uint32_t level,
                         uint64_t start, uint64_t count) {
  const uint64_t Q = uint64_t(family) << (level - 2);
  if (Q % 4 != 0 || start % 4 != 0 || count % 4 != 0) {
    radixFill(out, pyramid, family, level, start, 1, count);
    return;
  }
  const double* at = pyramidLevel(pyramid, family, level);
  uint64_t j = start, turns = 0;
  while (j >= 2 * Q) {
    j -= 2 * Q;
    turns++;
  }
  for (uint64_t k = 0; k < count; k += 4, j += 4) {
    if (j >= 2 * Q) {
      j -= 2 * Q;
      turns++;
    }
    Vec4 w = rowTwiddle(at, Q, j);
    for (uint64_t t = 0; t < (turns & 3); t++) w = vecMulI(w);
    vecStore(out + 2 * k, w);
  }
}

// Radix-3 pass over a half of 3K points at x; v = log2(K).
template <bool nega, bool inverse>
void radix3Pass(double* x, uint64_t K, uint32_t v, const FftLookupTables* tables) {
  const double* p3 = tables->pyramid3;
  const double c3 = p3[4], s3 = p3[5];  // cos, sin of 2 pi / 3
  const uint64_t chunk = K < radixChunk ? K : radixChunk;
  RadixTwiddles tw;
  for (uint64_t j0 = 0; j0 < K; j0 += chunk) {
    if (nega) {
      radixFillRun(tw.pairs[0], p3, 3, v, j0, chunk);                // exp(i pi j / 3K)
      radixFillRun(tw.pairs[1], tables->pyramid2, 1, v, j0, chunk);  // exp(i pi j / K)
    } else {
      radixFillRun(tw.pairs[0], p3, 3, v - 1, j0, chunk);  // exp(2 pi i j / 3K)
    }
    for (uint64_t j = 0; j < chunk; j += 4) {
      double* pa = x + 2 * (j0 + j);
      double* pb = pa + 2 * K;
      double* pc = pb + 2 * K;
      Vec4 w1 = vecLoad(tw.pairs[0] + 2 * j);
      Vec4 a = vecLoad(pa), b = vecLoad(pb), c = vecLoad(pc);
      if (!nega && !inverse) {
        Vec4 s = vecAdd(b, c), d = vecSub(b, c);
        Vec4 m = vecAdd(a, vecScale(s, c3)), r = vecScale(vecMulI(d), s3);
        a = vecAdd(a, s);
        b = vecCmul(vecAdd(m, r), w1);
        c = vecCmulConj(vecSub(m, r), w1);
      } else if (!nega) {
        Vec4 y1 = vecCmulConj(b, w1), y2 = vecCmul(c, w1);
        Vec4 s = vecAdd(y1, y2), d = vecSub(y1, y2);
        Vec4 m = vecAdd(a, vecScale(s, c3)), r = vecScale(vecMulI(d), s3);
        a = vecAdd(a, s);
        b = vecSub(m, r);
        c = vecAdd(m, r);
      } else if (!inverse) {
        Vec4 w2 = vecLoad(tw.pairs[1] + 2 * j);
        Vec4 s = vecAdd(b, c), d = vecSub(b, c);
        Vec4 m = vecSub(a, vecScale(d, c3)), r = vecScale(vecMulI(s), s3);
        Vec4 y1 = vecSub(a, d);
        a = vecCmul(vecAdd(m, r), w1);
        b = vecCmul(y1, w2);
        c = vecCmulConj(vecSub(m, r), w1);
      } else {
        Vec4 w2 = vecLoad(tw.pairs[1] + 2 * j);
        Vec4 y0 = vecCmulConj(a, w1), y1 = vecCmulConj(b, w2), y2 = vecCmul(c, w1);
        Vec4 p = vecAdd(y0, y2), r = vecScale(vecMulI(vecSub(y0, y2)), s3);
        Vec4 m = vecSub(vecScale(p, -c3), y1);
        a = vecAdd(p, y1);
        b = vecSub(m, r);
        c = vecSub(vecScale(m, -1.0), r);
      }
      vecStore(pa, a);
      vecStore(pb, b);
      vecStore(pc, c);
    }
  }
}

// The radix-5 butterfly of the cyclic half: y_s = sum over r of x_r w^(rs).
inline void radix5Cyclic(Vec4 x[5], const double* h) {
  const double c1 = h[2], s1 = h[3], c2 = h[4], s2 = h[5];
  Vec4 S1 = vecAdd(x[1], x[4]), D1 = vecSub(x[1], x[4]);
  Vec4 S2 = vecAdd(x[2], x[3]), D2 = vecSub(x[2], x[3]);
  Vec4 y0 = vecAdd(vecAdd(x[0], S1), S2);
  Vec4 m1 = vecAdd(vecAdd(x[0], vecScale(S1, c1)), vecScale(S2, c2));
  Vec4 r1 = vecMulI(vecAdd(vecScale(D1, s1), vecScale(D2, s2)));
  Vec4 m2 = vecAdd(vecAdd(x[0], vecScale(S1, c2)), vecScale(S2, c1));
  Vec4 r2 = vecMulI(vecSub(vecScale(D1, s2), vecScale(D2, s1)));
  x[0] = y0;
  x[1] = vecAdd(m1, r1);
  x[4] = vecSub(m1, r1);
  x[2] = vecAdd(m2, r2);
  x[3] = vecSub(m2, r2);
}

// Its inverse, times 5: the same with i turned to -i.
inline void radix5CyclicInverse(Vec4 y[5], const double* h) {
  const double c1 = h[2], s1 = h[3], c2 = h[4], s2 = h[5];
  Vec4 T1 = vecAdd(y[1], y[4]), E1 = vecSub(y[1], y[4]);
  Vec4 T2 = vecAdd(y[2], y[3]), E2 = vecSub(y[2], y[3]);
  Vec4 x0 = vecAdd(vecAdd(y[0], T1), T2);
  Vec4 m1 = vecAdd(vecAdd(y[0], vecScale(T1, c1)), vecScale(T2, c2));
  Vec4 r1 = vecMulI(vecAdd(vecScale(E1, s1), vecScale(E2, s2)));
  Vec4 m2 = vecAdd(vecAdd(y[0], vecScale(T1, c2)), vecScale(T2, c1));
  Vec4 r2 = vecMulI(vecSub(vecScale(E1, s2), vecScale(E2, s1)));
  y[0] = x0;
  y[1] = vecSub(m1, r1);
  y[4] = vecAdd(m1, r1);
  y[2] = vecSub(m2, r2);
  y[3] = vecAdd(m2, r2);
}

// The butterfly of the nega-cyclic half: y_s = sum over r of x_r z_s^r with
// z_s = exp(i pi (2s + 1) / 5): z_0, z_4 = exp(+-i pi / 5), z_1, z_3 =
// exp(+-3 i pi / 5), z_2 = -1. Constants cos, sin of 36 and 72 degrees.
inline void radix5Nega(Vec4 x[5], const double* h) {
  const double c36 = -h[4], s36 = h[5], c72 = h[2], s72 = h[3];
  Vec4 S1 = vecAdd(x[1], x[4]), D1 = vecSub(x[1], x[4]);
  Vec4 S2 = vecAdd(x[2], x[3]), D2 = vecSub(x[2], x[3]);
  Vec4 m0 = vecAdd(vecAdd(x[0], vecScale(D1, c36)), vecScale(D2, c72));
  Vec4 r0 = vecMulI(vecAdd(vecScale(S1, s36), vecScale(S2, s72)));
  Vec4 m1 = vecSub(vecSub(x[0], vecScale(D1, c72)), vecScale(D2, c36));
  Vec4 r1 = vecMulI(vecSub(vecScale(S1, s72), vecScale(S2, s36)));
  Vec4 y2 = vecAdd(vecSub(x[0], D1), D2);
  x[0] = vecAdd(m0, r0);
  x[4] = vecSub(m0, r0);
  x[1] = vecAdd(m1, r1);
  x[3] = vecSub(m1, r1);
  x[2] = y2;
}

inline void radix5NegaInverse(Vec4 y[5], const double* h) {
  const double c36 = -h[4], s36 = h[5], c72 = h[2], s72 = h[3];
  Vec4 P0 = vecAdd(y[0], y[4]), Q0 = vecSub(y[0], y[4]);
  Vec4 P1 = vecAdd(y[1], y[3]), Q1 = vecSub(y[1], y[3]);
  Vec4 x0 = vecAdd(vecAdd(P0, P1), y[2]);
  Vec4 g1 = vecSub(vecSub(vecScale(P0, c36), vecScale(P1, c72)), y[2]);
  Vec4 h1 = vecMulI(vecAdd(vecScale(Q0, s36), vecScale(Q1, s72)));
  Vec4 g2 = vecAdd(vecSub(vecScale(P0, c72), vecScale(P1, c36)), y[2]);
  Vec4 h2 = vecMulI(vecSub(vecScale(Q0, s72), vecScale(Q1, s36)));
  y[0] = x0;
  y[1] = vecSub(g1, h1);
  y[4] = vecSub(vecScale(g1, -1.0), h1);
  y[2] = vecSub(g2, h2);
  y[3] = vecSub(vecScale(g2, -1.0), h2);
}

// Radix-5 pass over a half of 5K points at x; v = log2(K). Twists: cyclic
// sub-blocks 1, 4 by exp(+-2 pi i j / 5K), 2, 3 by exp(+-4 pi i j / 5K);
// nega-cyclic 0, 4 by exp(+-i pi j / 5K), 1, 3 by exp(+-3 i pi j / 5K), 2 by
// exp(i pi j / K).
template <bool nega, bool inverse>
void radix5Pass(double* x, uint64_t K, uint32_t v, const FftLookupTables* tables) {
  const double* p5 = tables->pyramid5;
  const uint64_t chunk = K < radixChunk ? K : radixChunk;
  RadixTwiddles tw;
  for (uint64_t j0 = 0; j0 < K; j0 += chunk) {
    if (nega) {
      radixFillRun(tw.pairs[0], p5, 5, v, j0, chunk);
      radixFill(tw.pairs[1], p5, 5, v, 3 * j0, 3, chunk);
      radixFillRun(tw.pairs[2], tables->pyramid2, 1, v, j0, chunk);
    } else {
      radixFillRun(tw.pairs[0], p5, 5, v - 1, j0, chunk);
      radixFill(tw.pairs[1], p5, 5, v - 1, 2 * j0, 2, chunk);
    }
    for (uint64_t j = 0; j < chunk; j += 4) {
      double* p[5];
      Vec4 y[5];
      for (int s = 0; s < 5; s++) {
        p[s] = x + 2 * (s * K + j0 + j);
        y[s] = vecLoad(p[s]);
      }
      Vec4 wa = vecLoad(tw.pairs[0] + 2 * j), wb = vecLoad(tw.pairs[1] + 2 * j);
      if (!nega && !inverse) {
        radix5Cyclic(y, p5);
        y[1] = vecCmul(y[1], wa);
        y[4] = vecCmulConj(y[4], wa);
        y[2] = vecCmul(y[2], wb);
        y[3] = vecCmulConj(y[3], wb);
      } else if (!nega) {
        y[1] = vecCmulConj(y[1], wa);
        y[4] = vecCmul(y[4], wa);
        y[2] = vecCmulConj(y[2], wb);
        y[3] = vecCmul(y[3], wb);
        radix5CyclicInverse(y, p5);
      } else if (!inverse) {
        Vec4 wc = vecLoad(tw.pairs[2] + 2 * j);
        radix5Nega(y, p5);
        y[0] = vecCmul(y[0], wa);
        y[4] = vecCmulConj(y[4], wa);
        y[1] = vecCmul(y[1], wb);
        y[3] = vecCmulConj(y[3], wb);
        y[2] = vecCmul(y[2], wc);
      } else {
        Vec4 wc = vecLoad(tw.pairs[2] + 2 * j);
        y[0] = vecCmulConj(y[0], wa);
        y[4] = vecCmul(y[4], wa);
        y[1] = vecCmulConj(y[1], wb);
        y[3] = vecCmul(y[3], wb);
        y[2] = vecCmulConj(y[2], wc);
        radix5NegaInverse(y, p5);
      }
      for (int s = 0; s < 5; s++) vecStore(p[s], y[s]);
    }
  }
}
