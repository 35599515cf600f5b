// Twiddle factors: cos and sin of 2 pi t / circle, each the correctly
// rounded double of the true value.
#pragma once

#include <cstdint>

// Fills `pairs` pairs (cos, sin) of the angles 2 pi t / circle for t = 1 ..
// pairs, in this order, into `out` (2 * pairs doubles). Each pair comes from
// one fused sine-and-cosine evaluation of t * theta in extended precision,
// theta = 2 pi / circle; no recurrence. The few values that land too close
// to the midpoint between two doubles for the extended result to decide the
// rounding are evaluated again in double-extended (128-bit) arithmetic.
// threadPower 1 or more splits a long fill over two threads (the same
// values).
void twiddleFill(double* out, uint64_t pairs, uint64_t circle, uint32_t threadPower = 0);

// One pair by the slow exact path alone (tests compare it with the fill).
void twiddleExact(uint64_t t, uint64_t circle, double* cosine, double* sine);
