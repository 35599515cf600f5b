// Exact products and sums of the summation's integer numbers, for series
// whose merges are not the standard P, Q, R ones (Catalan's constant by
// Ramanujan's formula, the series of Euler's constant).
#pragma once

#include <cstdint>

#include "constants/series.h"

// out = a * b (a fresh number, stripped); the inputs are read. Zero gives
// the zero number.
void splitNumberMultiply(Heap* heap, const SplitNumber& a, const SplitNumber& b, SplitNumber* out,
                         uint32_t threadPower);
// out = a + b, aligned on the stripped counts (a fresh number, stripped).
void splitNumberAdd(Heap* heap, const SplitNumber& a, const SplitNumber& b, SplitNumber* out);
// x = x * y, replacing x (its old storage released).
void splitNumberMultiplyInPlace(Heap* heap, SplitNumber* x, const SplitNumber& y,
                                uint32_t threadPower);
// outB = a * b and outC = a * c (fresh numbers, stripped), with one
// transform of a when both are direct FFT products of one length; the
// results are those of two splitNumberMultiply calls.
void splitNumberMultiplyShared(Heap* heap, const SplitNumber& a, const SplitNumber& b,
                               SplitNumber* outB, const SplitNumber& c, SplitNumber* outC,
                               uint32_t threadPower);
// Moves the given numbers down into the space their consumed neighbours
// left (null entries and zero numbers are passed over).
void splitNumbersCompact(SplitNumber* numbers[], uint32_t count);
