// The hybrid number-theoretic transform: products of large numbers by a
// Fermat transform over Z / (2^(32W) + 1) (fermat.h) whose element products
// are done by the nega-cyclic FFT (or the recursive methods for small
// elements). The only threaded product method.
//
// With the parameters k, m of hybrid_params.h and H = m * 2^k: 2^k elements
// of W = H / 128 words (plus an overflow word, stride W + 1), each taking a
// chunk of c = H / 256 - 1 operand words. A coefficient of the product stays
// below 2^(32W - 64 + k), so the top two words of every element after the
// inverse are 0: that is the one check of a whole product.
#pragma once

#include <cstdint>

#include "arith/hybrid/element_sizes.h"
#include "arith/fft/fft_tables.h"

struct Heap;

// ---- Products (hybrid_multiply.cpp) -------------------------------------------
// destination = words^2 without its lowest `chop` words: 2n - chop words,
// chop < 2n. A chop beyond n drops the lowest chop - n operand words first
// (the result is then the upper part of a shortened square). Elements of the
// product wholly below the chop are not computed exactly, so a chopped
// result may fall short of the truncated square by 1. The element FFTs need
// `tables` to serve hybridElementCodeBound(2n). Returns 0; all ones when the
// check fails (the front end's retry); otherwise the bytes the heap could
// not give. destination must not overlap the operand.
uint64_t hybridSquare(Heap* heap, const uint32_t* words, uint64_t n, uint32_t* destination,
                      uint64_t chop, const FftLookupTables* tables, uint32_t threadPower);
// destination = a * b without its lowest `chop` words: na + nb - chop words.
// Either operand may be the longer; a and b may be the same array. A long
// operand is cut into pieces of the short length when one transform of the
// whole doesn't pay. Codes as above.
uint64_t hybridMultiply(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                        uint32_t* destination, uint64_t chop, const FftLookupTables* tables,
                        uint32_t threadPower);

// One transform with given parameters k, m (capacity >= the product):
// destination = (a * b)[chop ..), or a^2 when b is null (nb ignored). For
// tests and tuning; fatal when the parameters can't hold the product.
uint64_t hybridProductWith(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* destination, uint64_t chop, uint32_t k,
                           uint32_t m, const FftLookupTables* tables, uint32_t threadPower);

// ---- Element products (hybrid_elements.cpp) ------------------------------------
// Scratch words of one thread's element products: the plan's figure for a
// square; for a product the FFT form needs two transform buffers (5L words)
// and the recursive form the larger of the square and product recursions.
// Rounded up to a multiple of 16 words so that every thread's part stays
// 64-byte aligned.
uint64_t hybridElementScratchWords(const ElementPlan& plan, bool square);
// Every element squared in place (2^k of them at `stride`). Threads take
// halves of the elements; thread j's scratch is scratch + j * scratchStride.
void hybridElementSquares(uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                          uint32_t* scratch, uint64_t scratchStride, const ElementPlan& plan,
                          uint32_t threadPower);
// first = first * second, element by element.
void hybridElementProducts(uint32_t* first, const uint32_t* second, uint64_t W, uint64_t stride,
                           uint32_t k, uint32_t* scratch, uint64_t scratchStride,
                           const ElementPlan& plan, uint32_t threadPower);
// The points[0 .. L) of a reduced element (not -1) that the element FFT loads.
void hybridElementSplit(uint32_t* points, const uint32_t* element, const ElementPlan& plan);
// One element: E = E^2, A = A * B modulo 2^(32W) + 1 (reduced elements).
void hybridElementSquare(uint32_t* element, const ElementPlan& plan, uint32_t* scratch);
void hybridElementProduct(uint32_t* first, const uint32_t* second, const ElementPlan& plan,
                          uint32_t* scratch);

// ---- Output stage (hybrid_recompose.cpp) -------------------------------------
// What the inverse writes: product words [start, end) to destination.
struct OutputRange {
  uint32_t* destination;
  uint64_t end;    // the product's length
  uint64_t start;  // the chop
  uint64_t chunk;  // c
  uint32_t levels; // k
  uint64_t words;  // W
};
// Runs over the inverse's elements in increasing order: divides each by
// 2^k, checks its top words, adds the tail of the one before and writes the
// finished words. Threads take contiguous ranges of elements, each range's
// first element without its predecessor; a sweep then adds the missing
// tails at the seams. Scratch: fermatButterflyScratchWords(W) words a
// thread. Returns 0 or 1 (a failed check).
uint32_t hybridOutputStage(const OutputRange& range, uint32_t* transform, uint64_t stride,
                           uint32_t* scratch, uint32_t threadPower);
// Its parts, for the inverse that feeds the stage column by column. One
// element i: divided, checked (returns 1 on a failure), with the tail of
// element i - 1 (left in that element's slot) added when `withTail`; its
// wanted words written, its own tail left in its slot. Elements wholly
// below `start` are passed over (0). Scratch: W + 1 words.
uint32_t hybridOutputElement(const OutputRange& range, uint32_t* transform, uint64_t stride,
                             uint64_t i, bool withTail, uint32_t* scratch);
// Elements [begin, end) in order, the first without its predecessor.
uint32_t hybridOutputRun(const OutputRange& range, uint32_t* transform, uint64_t stride,
                         uint64_t begin, uint64_t end, uint32_t* scratch);
// A seam: adds the tail of element i - 1 into the destination at element
// i's place (i * c >= start), the carry running up to the end. Call after
// every element and hybridOutputLastTail are done.
void hybridOutputSeam(const OutputRange& range, const uint32_t* transform, uint64_t stride,
                      uint64_t i);
// The tail of the last of `elements` finished elements, written above them.
void hybridOutputLastTail(const OutputRange& range, const uint32_t* transform, uint64_t stride,
                          uint64_t elements);

// ---- Fault injection (tests only) ----------------------------------------------
// When `stage` is 1 the next product flips bit 0 of word `word` of element
// `element` (taken modulo 2^k) right after the forward transform(s); with
// stage 2 when that element, finished by the inverse, enters the output
// stage. The hook clears itself when it fires. Not synchronised: set it
// only while one product runs.
struct HybridFault {
  uint32_t stage;
  uint64_t element;
  uint64_t word;
};
extern HybridFault hybridFaultForTesting;
void hybridFaultAfterForward(uint32_t* transform, uint64_t stride, uint32_t k);
