// Four complex doubles as plain C++: the portable form of the vector type
// that the FFT kernels are written for (fft_rows.h and its siblings). Every
// operation here computes exactly what the AVX2 and AVX-512 forms compute,
// lane by lane and in the same order, so the three kernel sets give the same
// bits. Complex numbers are interleaved (real part first).
//
// Included only by fft_leaves_scalar.cpp, inside its anonymous namespace.
#pragma once

struct Vec4 {
  double v[8];
};

inline Vec4 vecLoad(const double* p) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = p[k];
  return r;
}

inline void vecStore(double* p, const Vec4& a) {
  for (int k = 0; k < 8; k++) p[k] = a.v[k];
}

// The 8 doubles at p in reverse order: four (cos, sin) pairs read backward
// come out in reverse pair order with each pair swapped.
inline Vec4 vecLoadReversed(const double* p) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = p[7 - k];
  return r;
}

// The same complex value in all four lanes.
inline Vec4 vecBroadcast(double re, double im) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    r.v[2 * k] = re;
    r.v[2 * k + 1] = im;
  }
  return r;
}

inline Vec4 vecAdd(const Vec4& a, const Vec4& b) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = a.v[k] + b.v[k];
  return r;
}

inline Vec4 vecSub(const Vec4& a, const Vec4& b) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = a.v[k] - b.v[k];
  return r;
}

// Double by double product.
inline Vec4 vecMul(const Vec4& a, const Vec4& b) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = a.v[k] * b.v[k];
  return r;
}

// Every double times the real s.
inline Vec4 vecScale(const Vec4& a, double s) {
  Vec4 r;
  for (int k = 0; k < 8; k++) r.v[k] = a.v[k] * s;
  return r;
}

// i * a and -i * a: a swap of the parts and one sign change.
inline Vec4 vecMulI(const Vec4& a) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    r.v[2 * k] = -a.v[2 * k + 1];
    r.v[2 * k + 1] = a.v[2 * k];
  }
  return r;
}

inline Vec4 vecMulNegI(const Vec4& a) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    r.v[2 * k] = a.v[2 * k + 1];
    r.v[2 * k + 1] = -a.v[2 * k];
  }
  return r;
}

// x * w = (xr wr - xi wi, xi wr + xr wi), products rounded separately.
inline Vec4 vecCmul(const Vec4& x, const Vec4& w) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    double xr = x.v[2 * k], xi = x.v[2 * k + 1];
    double wr = w.v[2 * k], wi = w.v[2 * k + 1];
    r.v[2 * k] = xr * wr - xi * wi;
    r.v[2 * k + 1] = xi * wr + xr * wi;
  }
  return r;
}

// x * conj(w) = (xr wr + xi wi, xi wr - xr wi).
inline Vec4 vecCmulConj(const Vec4& x, const Vec4& w) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    double xr = x.v[2 * k], xi = x.v[2 * k + 1];
    double wr = w.v[2 * k], wi = w.v[2 * k + 1];
    r.v[2 * k] = xr * wr + xi * wi;
    r.v[2 * k + 1] = xi * wr - xr * wi;
  }
  return r;
}

// Lane k (a complex value) from b where bit k of `lanes` is set, else from a.
inline Vec4 vecBlend(const Vec4& a, const Vec4& b, int lanes) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    const Vec4& s = ((lanes >> k) & 1) ? b : a;
    r.v[2 * k] = s.v[2 * k];
    r.v[2 * k + 1] = s.v[2 * k + 1];
  }
  return r;
}

// 4 x 4 transpose of complex values: afterwards a holds the old lane 0 of
// a, b, c, d, and so on.
inline void vecTranspose(Vec4& a, Vec4& b, Vec4& c, Vec4& d) {
  Vec4* rows[4] = {&a, &b, &c, &d};
  Vec4 t[4] = {a, b, c, d};
  for (int i = 0; i < 4; i++) {
    for (int j = 0; j < 4; j++) {
      rows[i]->v[2 * j] = t[j].v[2 * i];
      rows[i]->v[2 * j + 1] = t[j].v[2 * i + 1];
    }
  }
}

// Points (signed 32-bit) to doubles: x[k] + i y[k] in lane k, or x[k] in
// both parts of lane k.
inline Vec4 vecFromPoints(const uint32_t* x, const uint32_t* y) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    r.v[2 * k] = double(int32_t(x[k]));
    r.v[2 * k + 1] = double(int32_t(y[k]));
  }
  return r;
}

inline Vec4 vecFromPointsTwice(const uint32_t* x) {
  Vec4 r;
  for (int k = 0; k < 4; k++) {
    r.v[2 * k] = double(int32_t(x[k]));
    r.v[2 * k + 1] = double(int32_t(x[k]));
  }
  return r;
}

// Complex lanes of a and b interleaved: lo = (a0, b0, a1, b1), hi = (a2, b2,
// a3, b3).
inline void vecInterleave(const Vec4& a, const Vec4& b, Vec4& lo, Vec4& hi) {
  Vec4 l, h;
  for (int k = 0; k < 2; k++) {
    l.v[4 * k] = a.v[2 * k];
    l.v[4 * k + 1] = a.v[2 * k + 1];
    l.v[4 * k + 2] = b.v[2 * k];
    l.v[4 * k + 3] = b.v[2 * k + 1];
    h.v[4 * k] = a.v[2 * k + 4];
    h.v[4 * k + 1] = a.v[2 * k + 5];
    h.v[4 * k + 2] = b.v[2 * k + 4];
    h.v[4 * k + 3] = b.v[2 * k + 5];
  }
  lo = l;
  hi = h;
}

// Four carry chains side by side, one per stream of the last stage. A step
// takes four rounded values, doubles whose low 52 bits less `offset` are the
// values v; with v + carry, the point is its value mod 2^b and the carry
// becomes floor((v + carry) / 2^b).
struct CarryLanes {
  int64_t carry[4];
  uint64_t mask;
  uint32_t bits;
  int64_t offset;
};

inline CarryLanes carryLanesStart(uint32_t bits, int64_t offset) {
  return {{0, 0, 0, 0}, (uint64_t(1) << bits) - 1, bits, offset};
}

// Four steps: `first` holds steps 0 and 1, `second` steps 2 and 3, four lanes
// each; the points go to streams[lane][k .. k + 4).
inline void carryLanesStep(CarryLanes& s, const Vec4& first, const Vec4& second,
                           uint32_t* const streams[4], uint64_t k) {
  const uint64_t low52 = (uint64_t(1) << 52) - 1;
  for (int step = 0; step < 4; step++) {
    const double* d = (step < 2 ? first.v : second.v) + 4 * (step & 1);
    for (int lane = 0; lane < 4; lane++) {
      uint64_t bits;
      memcpy(&bits, d + lane, sizeof bits);
      int64_t v = int64_t(bits & low52) - s.offset + s.carry[lane];
      streams[lane][k + step] = uint32_t(uint64_t(v) & s.mask);
      s.carry[lane] = v >> s.bits;
    }
  }
}

inline void carryLanesEnd(const CarryLanes& s, int64_t carry[4]) {
  for (int lane = 0; lane < 4; lane++) carry[lane] = s.carry[lane];
}
