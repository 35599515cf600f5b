// One Karatsuba step whose three half products are schoolbook, compiled per
// length for karatsubaLeafMinimum <= n <= karatsubaLeafMaximum. Same contract
// as karatsubaCore at that n when (n + 1) / 2 is below the Karatsuba cut-over:
// out[0 .. 2n), scratch[0 .. 2 ((n + 1) / 2)).
#pragma once

#include <cstdint>

constexpr uint64_t karatsubaLeafMinimum = 12;
constexpr uint64_t karatsubaLeafMaximum = 32;

typedef void (*KaratsubaSquareLeaf)(const uint32_t* a, uint32_t* out, uint32_t* scratch);
typedef void (*KaratsubaMultiplyLeaf)(const uint32_t* a, const uint32_t* b, uint32_t* out,
                                      uint32_t* scratch);

KaratsubaSquareLeaf karatsubaSquareLeaf(uint64_t n);
KaratsubaMultiplyLeaf karatsubaMultiplyLeaf(uint64_t n);
