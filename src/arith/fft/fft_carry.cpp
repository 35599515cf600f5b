// The seams of the FFT's last stage (inverseFull and inverseWrapped): the
// kernels carry four streams side by side to break the dependence from point
// to point; joining them costs almost nothing, since a carry stops after a
// few points. In the wrapped form the carry out of the top comes back at the
// bottom.
#include <cstring>

#include "arith/fft/fft_internal.h"

namespace {

// Adds `carry` into points[from ..) while it is non-zero and below `to`, with
// signed (arithmetic) shifts. Returns what is left of it; *stop gets the
// position where it ended.
int64_t sweep(const FftCarryStreams* s, int64_t carry, uint64_t from, uint64_t to, uint64_t* stop) {
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
