// Twiddles of any angle at the resolution of a pyramid level, by the
// symmetries of the circle: the level holds only the first octant. Runs of
// consecutive angles are copied by segments (forward within an octant, or
// backward with the parts swapped), without a division per value.
#include "arith/fft/fft_internal.h"

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

// `count` pairs from level pairs first, first + step, ... (pair t at
// level[2t - 2]), swapped or not, turned by `quarters`: one loop per case,
// with nothing to decide inside it.
template <int step, bool swapped, int quarters>
void copyRun(double* out, const double* level, uint64_t first, uint64_t count) {
  const double* p = level + 2 * (int64_t(first) - 1);
  for (uint64_t k = 0; k < count; k++, p += 2 * step) {
    double c = swapped ? p[1] : p[0], s = swapped ? p[0] : p[1];
    out[2 * k] = quarters == 0 ? c : quarters == 1 ? -s : quarters == 2 ? -c : s;
    out[2 * k + 1] = quarters == 0 ? s : quarters == 1 ? c : quarters == 2 ? -s : -c;
  }
}

template <int step, bool swapped>
void copyTurned(double* out, const double* level, uint64_t first, uint64_t quarters,
                uint64_t count) {
  switch (quarters & 3) {
    case 0:
      return copyRun<step, swapped, 0>(out, level, first, count);
    case 1:
      return copyRun<step, swapped, 1>(out, level, first, count);
    case 2:
      return copyRun<step, swapped, 2>(out, level, first, count);
    default:
      return copyRun<step, swapped, 3>(out, level, first, count);
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
      copyTurned<1, false>(at, level, r, quarters, stop - n);
      n = stop;
    } else {  // backward with the parts swapped, up to the quadrant's end
      uint64_t stop = base + quadrant < end ? base + quadrant : end;
      copyTurned<-1, true>(at, level, quadrant - r, quarters, stop - n);
      n = stop;
    }
  }
}
