// The linear passes of Toom-3 (evaluation, interpolation, division by 6 with
// the addition), shared by the square and the product. Layout and names as
// in toom3.cpp.
#pragma once

#include <cstdint>

// at1, at2, atHalf (k + 1 words each) = x0 + x1 + x2, x0 + 2 x1 + 4 x2 and
// 4 x0 + 2 x1 + x2, for x cut into thirds of k, k and r words.
void toom3Evaluate(const uint32_t* x, uint64_t k, uint64_t r, uint32_t* at1, uint32_t* at2,
                   uint32_t* atHalf);

// With p1, p2, p3 at scratch[0], [2k], [4k] (their words 2k in saved[]), z0
// at out[0 .. 2k) and z4 at out[4k .. 4k + 2r): leaves 6 z1 + 6 z3 * 2^(64k)
// in scratch[0 .. 4k] and z2 in place at out[2k ..), added over z4.
void toom3Interpolate(uint32_t* out, uint32_t* scratch, uint64_t n, uint64_t k, uint64_t r,
                      const uint32_t saved[3]);

// Divides x[0 .. 4k] by 6 in place (fatal if x is not a multiple of 6), then
// adds its first `span` words at `at`, the carry rippling through `rest` more.
void toom3DivideBySixAndAdd(uint32_t* x, uint64_t k, uint32_t* at, uint64_t span, uint64_t rest);
