// Splitting a heap into two child heaps for the halves of a parallel step,
// and merging them back after the join.
#include <cassert>

#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"

// Cuts the free space of `heap` in two. Each child gets
// (free - reserve) / 2 bytes, rounded down to 8, where the reserve keeps room
// in the parent's table for `reservedBlocks` surviving blocks per child and
// for the children's own two entries.
void heapSplit(Heap* heap, uint32_t reservedBlocks) {
  assert(heap->children == nullptr);
  Heap* pair = static_cast<Heap*>(heapAllocate(heap, 2 * sizeof(Heap), 8));
  uint64_t free = heapFreeSpace(heap);
  uint64_t reserve = 2 * uint64_t(reservedBlocks) * 16 + 32;
  if (free < reserve) fatalMemory();
  uint8_t* savedPeak = heap->peakUsed;
  heap->usedAtSplit = heap->usedEnd;
  uint64_t childBytes = ((free - reserve) / 2) & ~uint64_t(7);
  heapInit(heap, &pair[0], childBytes);
  heapInit(heap, &pair[1], childBytes);
  heap->children = pair;
  // Carving the children does not count as use.
  heap->peakUsed = savedPeak;
}

// Ends both children (child 0 first); their surviving blocks become blocks of
// `heap` at the same addresses. The peak counts both halves at the size of
// the larger one, as a single thread would have needed.
void heapMerge(Heap* heap) {
  Heap* pair = heap->children;
  assert(pair != nullptr);
  uint64_t peak0 = static_cast<uint64_t>(pair[0].peakUsed - pair[0].base);
  uint64_t peak1 = static_cast<uint64_t>(pair[1].peakUsed - pair[1].base);
  uint64_t peak = peak0 > peak1 ? peak0 : peak1;
  // Adoption raises peakUsed to where the children's surviving blocks lie;
  // what counts instead is both halves at the size of the larger one.
  uint8_t* savedPeak = heap->peakUsed;
  heapDestroy(&pair[0]);
  heapDestroy(&pair[1]);
  uintptr_t estimate = reinterpret_cast<uintptr_t>(heap->usedAtSplit) + 2 * peak;
  heap->peakUsed = savedPeak;
  if (estimate > reinterpret_cast<uintptr_t>(heap->peakUsed)) {
    heap->peakUsed = reinterpret_cast<uint8_t*>(estimate);
  }
  heap->children = nullptr;
  heapRelease(pair);
}
