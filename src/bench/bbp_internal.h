// The parts of the digit extraction shared by its scalar and AVX-512 forms.
#pragma once

#include <cstdint>

namespace bbp {

using u128 = unsigned __int128;

// The seven denominators of term n are slope * n + offset, the numerator
// 2^shift; negative 1 for a negative coefficient.
struct TermKind {
  uint32_t slope;
  uint32_t offset;
  uint32_t shift;
  uint32_t negative;
};
inline constexpr TermKind termKinds[7] = {
    {4, 1, 5, 1}, {4, 3, 0, 1}, {10, 1, 8, 0}, {10, 3, 6, 1},
    {10, 5, 2, 1}, {10, 7, 2, 1}, {10, 9, 0, 0},
};

// True when this processor has the 52-bit multiply-add instructions.
bool wideKernelAvailable();

// The signed sum of the fractions of the terms n in [first, first + 8 count)
// for 2^bit Pi, all with non-negative exponents and denominators below 2^50,
// in units of 2^-128; each term is truncated to 104 bits.
u128 wideKernelSum(uint64_t bit, uint64_t first, uint64_t count);

}  // namespace bbp
