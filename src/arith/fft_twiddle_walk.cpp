// Twiddles of any angle at the resolution of a pyramid level, by the
// symmetries of the circle: the level holds only the first octant.
#include "arith/fft_internal.h"

void fftTwiddleFill(double* out, const double* level, uint64_t octantPairs, uint64_t start,
                    uint64_t stride, uint64_t count) {
  const uint64_t Q = octantPairs, quadrant = 2 * Q, circle = 8 * Q;
  for (uint64_t k = 0; k < count; k++) {
    uint64_t n = (start + k * stride) % circle;
    uint64_t r = n % quadrant;
    double c, s;
    if (r == 0) {
      c = 1.0;
      s = 0.0;
    } else if (r <= Q) {
      c = level[2 * r - 2];
      s = level[2 * r - 1];
    } else {  // pi/2 - angle lies in the first octant
      c = level[2 * (quadrant - r) - 1];
      s = level[2 * (quadrant - r) - 2];
    }
    // Turn by the quadrant: each quarter turn maps (c, s) to (-s, c).
    for (uint64_t t = n / quadrant; t > 0; t--) {
      double next = -s;
      s = c;
      c = next;
    }
    out[2 * k] = c;
    out[2 * k + 1] = s;
  }
}
