// Heap: the arena allocator of a computation. One region claimed at the
// start, blocks growing up from `base`, a sorted block table growing down from
// `tableTop`, first-fit allocation, and a two-way split into child heaps so
// that the threads of a parallel step allocate without locks.
//
// A null Heap pointer is legal everywhere and means the standard allocator.
// Allocation never returns null: failure is the fatal "Memory Allocation
// Failure." path.
#pragma once

#include <cstddef>
#include <cstdint>

struct Heap {
  Heap* parent;          // the heap this one was carved from; null for a root
  uint8_t* base;         // first byte available to blocks
  uint8_t* tableTop;     // one past the region; the table hangs down from here
  uint8_t* usedEnd;      // end of the highest block; base when empty
  uint8_t* tableLimit;   // lowest byte of the table: tableTop - 16 * activeBlocks
  Heap* children;        // the pair of child heaps while split, else null
  uint8_t* usedAtSplit;  // usedEnd at the moment of the split
  uint32_t activeBlocks;
  uint32_t peakBlocks;
  uint8_t* peakUsed;     // highest value usedEnd ever took
  // First-fit shortcut: every one of the lowest `fitBlocks` entries has a
  // gap below it of at most `fitGap` bytes, so a larger request may start
  // its walk above them. Kept by every change of the table.
  uint32_t fitBlocks;
  uint64_t fitGap;
};

// Marker returned for a zero-size request; heapRelease ignores it.
inline void* const heapEmptyPointer = reinterpret_cast<void*>(~uintptr_t(0));

// Guard word written below and above every payload (never checked).
constexpr uint64_t heapGuard = 0x5451234810025523ull;

// Sets up `heap` with a region of `size` bytes (rounded up to 8). With a null
// parent the region comes from malloc and every word is touched (zeroed);
// otherwise it is one block of `parent`.
void heapInit(Heap* parent, Heap* heap, uint64_t size);
// Ends a heap: a root prints "Memory leak detected\n" if blocks remain and
// frees its region; a child hands its surviving blocks to the parent.
void heapDestroy(Heap* heap);
// Payload of `size` bytes aligned to `alignment` (a power of two, raised to 8).
// Size 0 gives heapEmptyPointer. Block size is roundUp8(size) + alignment + 40.
void* heapAllocate(Heap* heap, uint64_t size, uint64_t alignment);
// Word arrays: heapAllocate(heap, 4 * words, 8).
uint32_t* heapAllocateWords(Heap* heap, uint64_t words);
// Frees a payload of any heap (or of malloc); null and the empty marker pass.
void heapRelease(void* pointer);
// tableLimit - usedEnd with live blocks, tableTop - base without.
uint64_t heapFreeSpace(const Heap* heap);
// Bytes a block of `size` payload bytes takes at `alignment`.
uint64_t heapBlockBytes(uint64_t size, uint64_t alignment);
// Cuts the free space into two child heaps, stored in heap->children.
void heapSplit(Heap* heap, uint32_t reservedBlocks);
// Ends both children and adopts their surviving blocks.
void heapMerge(Heap* heap);
// Closes the gap below each of `count` (at most 16) payloads by moving the
// blocks down, taken in rising address order whatever the order given;
// *pointers[i] is updated in place. Null pointers, the empty marker and
// standard-allocator blocks are passed over. Gaps are closed whole, so use
// it on 8-aligned blocks (word arrays). This is the routine under
// bigFloatCompact2/3.
void heapCompactBlocks(void** pointers[], uint32_t count);
// Debugging dump of the block table (not reached by normal paths).
void heapDump(const Heap* heap);
