// The memory and the shape of an FFT product: heap blocks that fail with a
// byte count rather than fatally, and the transform that a size asks for.
#include <cstdlib>

#include "arith/fft/fft_internal.h"
#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"

namespace {

// Bytes by which the heap's first-fit placement of a block of `need` bytes
// falls short, or 0 when it fits: the walk of heapAllocate, read only.
uint64_t heapShortfall(const Heap* heap, uint64_t need) {
  const uint64_t tail = uint64_t(heap->tableLimit - heap->usedEnd);
  if (tail < 16) return 16 - tail + need;
  uintptr_t cursor = reinterpret_cast<uintptr_t>(heap->base);
  for (uint32_t i = 0; i < heap->activeBlocks; i++) {
    const HeapEntry* entry = heapEntry(heap, i);
    if (need <= entry->address - cursor) return 0;
    cursor = entry->address + entry->size;
  }
  uint64_t room = reinterpret_cast<uintptr_t>(heap->tableLimit) - cursor;
  return need + 16 <= room ? 0 : need + 16 - room;
}

}  // namespace

void* fftTake(Heap* heap, FftBlocks* blocks, uint64_t bytes, uint64_t* missing) {
  constexpr uint64_t alignment = 64;
  if (heap != nullptr) {
    uint64_t shortfall = heapShortfall(heap, heapBlockBytes(bytes, alignment));
    if (shortfall != 0) {
      fftReleaseAll(blocks);
      *missing = shortfall;
      return nullptr;
    }
  }
  void* block = heapAllocate(heap, bytes, alignment);
  blocks->block[blocks->count++] = block;
  return block;
}

void fftReleaseAll(FftBlocks* blocks) {
  while (blocks->count > 0) heapRelease(blocks->block[--blocks->count]);
}

FftShape fftShapeFor(uint64_t operandBits, const FftLookupTables* tables) {
  FftShape shape;
  if (fftParamsFor(operandBits, &shape.code, &shape.bits) != 0) {
    fatalMessage("Maximum FFT size Exceeded.");
  }
  shape.length = sizeCodeLength(shape.code);
  shape.tables = fftTablesServing(tables, shape.code);
  return shape;
}

// The tables a transform of `code` reads: the run's, which are built for
// every product the run makes (the direct FFT up to its largest plain size
// and every element of the hybrid transform). A code they don't serve is a
// fault of the caller.
const FftLookupTables* fftTablesServing(const FftLookupTables* tables, SizeCode code) {
  if (tables == nullptr || code > tables->builtCode) {
    invalidParameters("FFT Multiplication",
                      "The lookup tables were not built for this transform length.");
  }
  return tables;
}
