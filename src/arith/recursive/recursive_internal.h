// Shared inside the recursive product methods: the balanced cores with the
// square/product choice as a template parameter. Not for callers outside
// basecase/karatsuba/toom3/unbalanced.
#pragma once

#include <cstdint>

#include "arith/recursive/recursive.h"

// out[0 .. 2n) = a * b (a * a when Square; b is then ignored).
template <bool Square>
void karatsubaCore(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                   uint32_t* scratch, RecursionCutovers cut);
template <bool Square>
void toom3Core(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out, uint32_t* scratch,
               RecursionCutovers cut);

// Schoolbook of either kind at n >= 1.
template <bool Square>
inline void basecaseCore(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  if constexpr (Square)
    basecaseSquare(a, n, out);
  else
    basecaseMultiply(a, b, n, out);
}
