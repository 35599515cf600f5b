// The block table of a Heap, shared by the allocation, split and compaction
// files. Entry i is two 64-bit words (block address, block size in bytes)
// at tableTop - 16 * (i + 1); entries are sorted by rising address.
#pragma once

#include <cstdint>

#include "memory/heap.h"

struct HeapEntry {
  uint64_t address;
  uint64_t size;
};

inline HeapEntry* heapEntry(const Heap* heap, uint64_t index) {
  return reinterpret_cast<HeapEntry*>(heap->tableTop - 16 * (index + 1));
}

inline uint8_t* heapEntryEnd(const HeapEntry* entry) {
  return reinterpret_cast<uint8_t*>(entry->address + entry->size);
}

// Index of the entry with the highest address not above `block` (0 with
// fewer than two entries).
uint32_t heapFindEntry(const Heap* heap, const uint8_t* block);
// First fit of `need` bytes: inserts the entry and does the book-keeping of
// an allocation. Null when it does not fit (the caller decides what fails).
uint8_t* heapPlaceBlock(Heap* heap, uint64_t need);
// Inserts an entry at `index`, moving the entries from there on one slot
// down, then updates the counters, usedEnd, the peaks and the first-fit
// shortcut.
void heapInsertEntry(Heap* heap, uint32_t index, uint8_t* block, uint64_t size);
// Removes entry `index`, moving the entries behind it one slot up; usedEnd
// becomes the end of the new last entry, or base. The first-fit shortcut
// stops below `index`.
void heapRemoveEntry(Heap* heap, uint32_t index);
