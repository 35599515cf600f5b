// Sqrt(n) and the Golden Ratio: the two constants without a series. Each is
// one inverse square root of a small integer by Newton's iteration and a
// fix-up: sqrt(n) = n * (1 / sqrt(n)), and the Golden Ratio = sqrt(5) / 2 +
// 1/2 with sqrt(5) / 2 = 5 * (1 / sqrt(20)).
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct Heap;

// Compute steps. out = sqrt(n) (n >= 2, any non-square) or the Golden Ratio
// to W = words + 2 words (a fresh record). `swapped` 0 takes the RAM inverse
// root, 1 the Basic Swap one (which pages its top step out and always shows
// its progress). With a non-null `name`: "InvSqrt...", the Newton progress,
// the time line and the total line with `name` in green; with null, silent.
void sqrtNCompute(Heap* heap, BigFloat* out, uint64_t words, uint32_t threadPower, uint32_t n,
                  uint32_t swapped, const char* name);
void goldenRatioCompute(Heap* heap, BigFloat* out, uint64_t words, uint32_t threadPower,
                        uint32_t swapped, const char* name);

// The top integer word of a root (its word at position 0); 0 for a value
// below one. Sqrt(n) has one integer word for every 32-bit n.
uint32_t rootIntegerWord(const BigFloat* value);

// Entries of the driver: compute into settings->heap from wordCount,
// threadPower and (Sqrt) constantParameter, write the hexadecimal file,
// build the conversion table, write the decimal file. They return the
// seconds of the computation and the conversion, without the writing.
double computeSqrtN(ComputeSettings* settings);
double computeSqrtNSwapped(ComputeSettings* settings);
double computeGoldenRatio(ComputeSettings* settings);
double computeGoldenRatioSwapped(ComputeSettings* settings);

// The body shared by the four entries.
double rootEntry(ComputeSettings* settings, uint32_t swapped);

// Console lines of the compute steps: "Time: " and the seconds since
// `start` in light cyan; then the total line, name in green.
void rootTimeLines(uint64_t start, const char* name);
