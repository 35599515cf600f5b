// What a product will cost in memory, for the resource estimator and the
// disk path: the direct FFT's buffers, the hybrid transform's blocks, and
// the peak over the hybrid parameter tables.
#pragma once

#include <cstdint>

#include "arith/hybrid/hybrid_params.h"

// Bytes of a product of two n-word operands (the square shape): from 58
// words the FFT's two transforms, point buffer and product, 20L + 8n; below
// 15 words 2n (a deliberate minimum that counts no scratch); in between the
// product and the recursion's scratch, 16n + 4 * recursionScratchWords(n)
// against elmK, elmT. Past FftSizeTable: fatal "Maximum FFT size Exceeded.".
uint64_t fftProductBytes(uint64_t words);

// Bytes of a hybrid product of `productWords` words on 2^threadPower
// threads: two transforms, the butterfly scratch and the element scratch of
// each thread. Without parameters: fatal "Maximum supported multiplication
// size has been exceeded.".
uint64_t hybridProductBytes(uint64_t productWords, uint32_t threadPower);
uint64_t hybridProductBytesWith(const HybridParamTable& squares, const HybridParamTable& products,
                                uint64_t productWords, uint32_t threadPower);

// The parameter tables are not monotonic (a smaller product may need more
// memory than a larger one), so the peak is the largest hybridProductBytes
// over the table rows below n (row 0 left out) and at the capacity of the
// pair that hybridSearch(n) gives.
uint64_t hybridPeakBytes(uint64_t productWords, uint32_t threadPower);
uint64_t hybridPeakBytesWith(const HybridParamTable& squares, const HybridParamTable& products,
                             uint64_t productWords, uint32_t threadPower);
