// The carries of the FFT's last stage: inverseFull and inverseWrapped after
// the rounding. Four streams run side by side to break the dependence from
// point to point; the seams between them cost almost nothing, since a carry
// stops after a few points.
#include <cstring>

#include "arith/fft_internal.h"

namespace {

constexpr uint64_t low52 = (uint64_t(1) << 52) - 1;

inline uint64_t rounded(const double* d) {
  uint64_t bits;
  memcpy(&bits, d, sizeof bits);
  return bits & low52;
}

// Adds `carry` into points[from ..) while it is non-zero and below `to`, with
// signed (arithmetic) shifts. Returns what is left of it; *stop gets the
// position where it ended.
int64_t sweep(const FftCarryStreams* s, int64_t carry, uint64_t from, uint64_t to,
              uint64_t* stop) {
  uint64_t k = from;
  while (carry != 0 && k < to) {
    int64_t v = int64_t(s->points[k]) + carry;
    s->points[k] = uint32_t(uint64_t(v) & s->mask);
    carry = v >> s->bits;
    k++;
  }
  *stop = k;
  return carry;
}

}  // namespace

void fftCarryStart(FftCarryStreams* s, uint32_t* points, uint64_t L, uint32_t bits,
                   FftLastStage stage) {
  s->points = points;
  s->quarter = L / 4;
  s->bits = bits;
  s->mask = (uint64_t(1) << bits) - 1;
  s->stage = stage;
  for (int k = 0; k < 4; k++) s->carry[k] = 0;
}

void fftCarryChunk(FftCarryStreams* s, const double* p, const double* q, uint64_t i0,
                   uint64_t count) {
  const uint64_t quarter = s->quarter, mask = s->mask;
  const uint32_t b = s->bits;
  uint32_t* p0 = s->points + i0;
  uint32_t* p1 = p0 + quarter;
  uint32_t* p2 = p1 + quarter;
  uint32_t* p3 = p2 + quarter;
  int64_t c0 = s->carry[0], c1 = s->carry[1], c2 = s->carry[2], c3 = s->carry[3];
  if (s->stage == FftFull) {
    for (uint64_t k = 0; k < count; k++) {
      uint64_t v0 = rounded(p + 2 * k) + uint64_t(c0);
      uint64_t v1 = rounded(q + 2 * k) + uint64_t(c1);
      uint64_t v2 = rounded(p + 2 * k + 1) + uint64_t(c2);
      uint64_t v3 = rounded(q + 2 * k + 1) + uint64_t(c3);
      p0[k] = uint32_t(v0 & mask);
      p1[k] = uint32_t(v1 & mask);
      p2[k] = uint32_t(v2 & mask);
      p3[k] = uint32_t(v3 & mask);
      c0 = int64_t(v0 >> b);
      c1 = int64_t(v1 >> b);
      c2 = int64_t(v2 >> b);
      c3 = int64_t(v3 >> b);
    }
  } else {
    // v = coefficient + 2^51 + carry >= 0; the carry is v / 2^b less the bias.
    const int64_t bias = int64_t(1) << (51 - b);
    for (uint64_t k = 0; k < count; k++) {
      int64_t v0 = int64_t(rounded(p + 2 * k)) + c0;
      int64_t v1 = int64_t(rounded(q + 2 * k)) + c1;
      int64_t v2 = int64_t(rounded(p + 2 * k + 1)) + c2;
      int64_t v3 = int64_t(rounded(q + 2 * k + 1)) + c3;
      p0[k] = uint32_t(uint64_t(v0) & mask);
      p1[k] = uint32_t(uint64_t(v1) & mask);
      p2[k] = uint32_t(uint64_t(v2) & mask);
      p3[k] = uint32_t(uint64_t(v3) & mask);
      c0 = (v0 >> b) - bias;
      c1 = (v1 >> b) - bias;
      c2 = (v2 >> b) - bias;
      c3 = (v3 >> b) - bias;
    }
  }
  s->carry[0] = c0;
  s->carry[1] = c1;
  s->carry[2] = c2;
  s->carry[3] = c3;
}

uint32_t fftCarryFinish(FftCarryStreams* s) {
  const uint64_t quarter = s->quarter, L = 4 * quarter;
  uint64_t stop;
  // The carry out of stream 0 runs into stream 1 while it is non-zero; what
  // is left of it joins the carry out of stream 1 into stream 2, and so on.
  int64_t carry = 0;
  for (int k = 0; k < 3; k++) {
    carry = sweep(s, carry + s->carry[k], (k + 1) * quarter, (k + 2) * quarter, &stop);
  }
  if (s->stage != FftWrapped) return 0;  // the product has no more points
  // x^L = -1: the carry C out of the top comes back at the bottom as -C.
  carry = sweep(s, -(carry + s->carry[3]), 0, L, &stop);
  if (carry == 0) return 0;
  // It ran off the top again: turn the sign once more and sweep again.
  carry = -carry;
  if (carry > 0) {
    carry = sweep(s, carry, 0, L, &stop);
    // A positive carry that runs off the end leaves all points zero: the
    // value is 2^(bL) = -1.
    return carry != 0 ? 1 : 0;
  }
  carry = sweep(s, carry, 0, L < 64 ? L : 64, &stop);
  if (carry == 0) return 0;
  // A borrow through the lowest 64 points means they were all zero, and the
  // value was 0 before the borrow: it is -1.
  memset(s->points, 0, 4 * L);
  return 1;
}
