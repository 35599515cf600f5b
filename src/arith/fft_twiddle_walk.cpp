// Twiddles of any angle at the resolution of a pyramid level, by the
// symmetries of the circle: the level holds only the first octant. Runs of
// consecutive angles are copied by segments (forward within an octant, or
// backward with the parts swapped), without a division per value.
#include "arith/fft_internal.h"

namespace {

// The pair (c, s) turned by `quarters` quarter turns: (c, s) -> (-s, c).
inline void emit(double* out, double c, double s, uint64_t quarters) {
  switch (quarters & 3) {
    case 0:
      out[0] = c;
      out[1] = s;
      break;
    case 1:
      out[0] = -s;
      out[1] = c;
      break;
    case 2:
      out[0] = -c;
      out[1] = -s;
      break;
    default:
      out[0] = s;
      out[1] = -c;
      break;
  }
}

// `count` pairs from level pairs first, first + step, ... (step +1 or -1,
// pair t at level[2t - 2]), swapped or not, turned by `quarters`.
void copySegment(double* out, const double* level, uint64_t first, int64_t step, bool swapped,
                 uint64_t quarters, uint64_t count) {
  const double* p = level + 2 * (first - 1);
  const int64_t advance = 2 * step;
  for (uint64_t k = 0; k < count; k++, p += advance) {
    double c = swapped ? p[1] : p[0], s = swapped ? p[0] : p[1];
    emit(out + 2 * k, c, s, quarters);
  }
}

}  // namespace

void fftTwiddleFill(double* out, const double* level, uint64_t octantPairs, uint64_t start,
                    uint64_t stride, uint64_t count) {
  const uint64_t Q = octantPairs, quadrant = 2 * Q;
  if (stride != 1) {
    // Angle n = quarters * 2Q + r, walked without division.
    uint64_t n = start, quarters = n / quadrant, r = n - quarters * quadrant;
    for (uint64_t k = 0; k < count; k++) {
      if (r == 0) {
        emit(out + 2 * k, 1.0, 0.0, quarters);
      } else if (r <= Q) {
        emit(out + 2 * k, level[2 * r - 2], level[2 * r - 1], quarters);
      } else {
        emit(out + 2 * k, level[2 * (quadrant - r) - 1], level[2 * (quadrant - r) - 2], quarters);
      }
      r += stride;
      while (r >= quadrant) {
        r -= quadrant;
        quarters++;
      }
    }
    return;
  }
  uint64_t n = start;
  const uint64_t end = start + count;
  while (n < end) {
    uint64_t quarters = n / quadrant, base = quarters * quadrant, r = n - base;
    double* at = out + 2 * (n - start);
    if (r == 0) {
      emit(at, 1.0, 0.0, quarters);
      n++;
    } else if (r <= Q) {  // forward through the octant, up to r = Q
      uint64_t stop = base + Q + 1 < end ? base + Q + 1 : end;
      copySegment(at, level, r, 1, false, quarters, stop - n);
      n = stop;
    } else {  // backward with the parts swapped, up to the quadrant's end
      uint64_t stop = base + quadrant < end ? base + quadrant : end;
      copySegment(at, level, quadrant - r, -1, true, quarters, stop - n);
      n = stop;
    }
  }
}
