// The heap blocks of one FFT product and the tables that serve a transform:
// shared by the direct FFT and the element products of the hybrid transform
// (fft_buffers.cpp).
#pragma once

#include <cstdint>

#include "arith/fft/fft_sizes.h"
#include "arith/fft/fft_tables.h"

struct Heap;

// The heap blocks of one product, released together in reverse order.
struct FftBlocks {
  void* block[4];
  uint32_t count;
};

// Takes `bytes` at a 64-byte boundary from the heap (null heap: the standard
// allocator). When the heap cannot hold the block, every block taken so far
// is released, *missing gets the bytes that were short, and null is returned.
void* fftTake(Heap* heap, FftBlocks* blocks, uint64_t bytes, uint64_t* missing);
void fftReleaseAll(FftBlocks* blocks);

// `tables` when they serve `code`, else tables of the FFT module's own that
// do (see fft_buffers.cpp).
const FftLookupTables* fftTablesServing(const FftLookupTables* tables, SizeCode code);

