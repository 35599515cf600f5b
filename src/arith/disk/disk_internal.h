// Shared parts of the disk products: the shape of one hybrid transform, the
// heap blocks of a product, the transform run up to the inverse, and the
// recomposition of a product inside its own transform.
#pragma once

#include <cstdint>

#include "arith/fft/fft_blocks.h"
#include "arith/hybrid/element_sizes.h"

// One hybrid transform: 2^k elements of W words at `stride` (W + 1), each
// taking c operand words, on 2^t threads.
struct DiskShape {
  uint32_t k, m, t;
  uint64_t W, c, stride, count;
  uint64_t transformWords;  // stride * 2^k
  uint64_t butterflyWords;  // butterfly scratch of all threads
  uint64_t elementWords;    // element scratch of one thread
  ElementPlan plan;
};

// The shape of parameters (k, m) for a square or a product. Fatal
// "Maximum supported multiplication size has been exceeded." when the
// parameter search has nothing for `productWords`.
void diskShapeForSquare(DiskShape* shape, uint64_t productWords, const FftLookupTables* tables,
                        uint32_t threadPower);
void diskShapeForProduct(DiskShape* shape, uint64_t productWords, const FftLookupTables* tables,
                         uint32_t threadPower);

// Heap bytes a block of `words` words takes at the products' 64-byte
// alignment, its table entry included.
uint64_t diskBlockBytes(uint64_t words);

// A square chopped above its operand drops the lowest chop - n operand
// words; a product drops the words of either operand that lie wholly in the
// chop. *skipA (*skipB) is the offset of the first word read.
void diskAdjustSquare(uint64_t* n, uint64_t* chop, uint64_t* skip);
void diskAdjustProduct(uint64_t* na, uint64_t* nb, uint64_t* chop, uint64_t* skipA,
                       uint64_t* skipB);

// The transform of a product up to its inverse: `first` = forward(a),
// `second` = forward(b) (b null: a square, second unused), then the element
// products into `first`. butterflies: shape.butterflyWords words;
// elementScratch: shape.elementWords << t words.
void diskTransform(const DiskShape& shape, const uint32_t* a, uint64_t na, const uint32_t* b,
                   uint64_t nb, uint32_t* first, uint32_t* second, uint32_t* butterflies,
                   uint32_t* elementScratch);

// The inverse of `transform` with the product recomposed in place: words
// [0, end) of the product end up at transform[0 .. end). Element i's words
// go to i * c and up, below its own slot, over elements already finished.
// Returns 0, or 1 when an element fails the check (its top words must be 0)
// or a carry leaves its place. scratch: 2^t times 2(W + 1) words.
uint32_t diskInverseInPlace(const DiskShape& shape, uint32_t* transform, uint64_t end,
                            uint32_t* butterflies);

// The words of buffer[0 .. words) without zero words at the top.
uint64_t diskTrimmedLength(const uint32_t* buffer, uint64_t words);

constexpr uint64_t diskDetectedError = ~uint64_t(0);
