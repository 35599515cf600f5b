// The largest run that the multiplications serve. Every constant's largest
// product is a square of two numbers of wordCount + 100 words (the margin the
// estimates carry), and the hybrid transform holds hybridProductWordsLimit
// words of product: so wordCount stays at most limit / 2 - 100. The decimal
// count is the largest whose wordCount, by the digit relations
// (hexDigits = floor(d * log16(10)) + 1, wordCount = (hexDigits >> 3) + 2),
// stays within it.
#pragma once

#include <cstdint>

#include "arith/hybrid/hybrid_params.h"

constexpr uint64_t largestRunWords = hybridProductWordsLimit / 2 - 100;
constexpr uint64_t largestRunDecimalDigits = 96329598611499ull;

static_assert(largestRunWords == 9999999999900ull, "the word limit of every constant");
