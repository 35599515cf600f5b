// Fully unrolled schoolbook kernels for 1 to basecaseFixedMaximum words, the
// leaf lengths of the recursive methods. Indexed by the word count; entry 0
// is null. out receives 2n words and must not overlap the operands.
#pragma once

#include <cstdint>

constexpr uint64_t basecaseFixedMaximum = 16;

typedef void (*FixedMultiplyKernel)(const uint32_t* a, const uint32_t* b, uint32_t* out);
typedef void (*FixedSquareKernel)(const uint32_t* a, uint32_t* out);

extern const FixedMultiplyKernel fixedMultiplyKernels[basecaseFixedMaximum + 1];
extern const FixedSquareKernel fixedSquareKernels[basecaseFixedMaximum + 1];
