// The two lowest Karatsuba levels compiled per length, for the build's
// cut-overs: squares of sqrK .. karatsubaFixedSquareMaximum words with the
// cut-over sqrK, products of elmK .. karatsubaFixedMultiplyMaximum words with
// elmK. Same contract and results as karatsubaCore with those cut-overs:
// out[0 .. 2n), scratch as recursionScratchWords walks Karatsuba from n.
#pragma once

#include <cstdint>

#include "arith/tuning.h"

// Up to where both halves are themselves at most one fixed level (4K - 4).
constexpr uint64_t karatsubaFixedSquareMaximum = 4 * sqrK - 4;
constexpr uint64_t karatsubaFixedMultiplyMaximum = 4 * elmK - 4;

typedef void (*KaratsubaFixedSquare)(const uint32_t* a, uint32_t* out, uint32_t* scratch);
typedef void (*KaratsubaFixedMultiply)(const uint32_t* a, const uint32_t* b, uint32_t* out,
                                       uint32_t* scratch);

// The routine for n words, or null outside the range.
KaratsubaFixedSquare karatsubaFixedSquare(uint64_t n);
KaratsubaFixedMultiply karatsubaFixedMultiply(uint64_t n);
