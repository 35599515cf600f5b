// Heap arena: root creation, first-fit allocation, release by binary search,
// and the table operations under them.
#include <cassert>
#include <cstdlib>
#include <cstring>

#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"

namespace {

uint64_t roundUp8(uint64_t size) { return (size + 7) & ~uint64_t(7); }

// Writes owner, block address, payload size and the two guards; returns the
// payload. The block must hold roundUp8(size) + alignment + 40 bytes.
void* fillBlock(uint8_t* block, Heap* owner, uint64_t roundedSize, uint64_t alignment) {
  uintptr_t at = reinterpret_cast<uintptr_t>(block);
  uint8_t* payload = reinterpret_cast<uint8_t*>(((at + 32) & ~(alignment - 1)) + alignment);
  uint64_t* words = reinterpret_cast<uint64_t*>(payload);
  *reinterpret_cast<Heap**>(block) = owner;
  words[-3] = static_cast<uint64_t>(at);
  words[-2] = roundedSize;
  words[-1] = heapGuard;
  *reinterpret_cast<uint64_t*>(payload + roundedSize) = heapGuard;
  return payload;
}

}  // namespace

uint32_t heapFindEntry(const Heap* heap, const uint8_t* block) {
  uint64_t address = reinterpret_cast<uintptr_t>(block);
  uint32_t low = 0;
  uint32_t high = heap->activeBlocks;
  while (high - low > 1) {
    uint32_t middle = low + (high - low) / 2;
    if (heapEntry(heap, middle)->address > address) {
      high = middle;
    } else {
      low = middle;
    }
  }
  return low;
}

void heapInsertEntry(Heap* heap, uint32_t index, uint8_t* block, uint64_t size) {
  uint32_t count = heap->activeBlocks;
  if (index < heap->fitBlocks) heap->fitBlocks = index;
  if (index < count) {
    // Entries index .. count-1 move to index+1 .. count (16 bytes lower).
    memmove(heap->tableTop - 16 * (count + 1), heap->tableTop - 16 * count, 16 * (count - index));
  }
  HeapEntry* entry = heapEntry(heap, index);
  entry->address = reinterpret_cast<uintptr_t>(block);
  entry->size = size;
  heap->activeBlocks = count + 1;
  heap->tableLimit -= 16;
  if (heap->activeBlocks > heap->peakBlocks) heap->peakBlocks = heap->activeBlocks;
  heap->usedEnd = heapEntryEnd(heapEntry(heap, count));
  if (heap->usedEnd > heap->peakUsed) heap->peakUsed = heap->usedEnd;
}

void heapRemoveEntry(Heap* heap, uint32_t index) {
  uint32_t count = heap->activeBlocks;
  assert(index < count);
  if (index < heap->fitBlocks) heap->fitBlocks = index;
  if (index + 1 < count) {
    // Entries index+1 .. count-1 move to index .. count-2 (16 bytes higher).
    memmove(heap->tableTop - 16 * (count - 1), heap->tableTop - 16 * count,
            16 * (count - 1 - index));
  }
  heap->tableLimit += 16;
  heap->activeBlocks = count - 1;
  heap->usedEnd = count > 1 ? heapEntryEnd(heapEntry(heap, count - 2)) : heap->base;
}

uint8_t* heapPlaceBlock(Heap* heap, uint64_t need) {
  // No entry can be added: fail even if a gap would hold the block.
  if (static_cast<uint64_t>(heap->tableLimit - heap->usedEnd) < 16) return nullptr;
  // The lowest fitBlocks entries have no gap of `need` bytes when need is
  // above fitGap: the first fit lies above them. The walk records how far
  // it went without a fit and the largest gap it passed.
  uint32_t i = 0;
  uint8_t* cursor = heap->base;
  uint64_t largest = 0;
  if (need > heap->fitGap && heap->fitBlocks != 0) {
    i = heap->fitBlocks;
    cursor = heapEntryEnd(heapEntry(heap, i - 1));
    largest = heap->fitGap;
  }
  uint32_t count = heap->activeBlocks;
  for (; i < count; i++) {
    HeapEntry* entry = heapEntry(heap, i);
    uint64_t gap = entry->address - reinterpret_cast<uintptr_t>(cursor);
    if (need <= gap) {
      heapInsertEntry(heap, i, cursor, need);
      // The new block sits on its lower neighbour: no gap below it.
      heap->fitBlocks = i + 1;
      heap->fitGap = largest;
      return cursor;
    }
    if (gap > largest) largest = gap;
    cursor = heapEntryEnd(entry);
  }
  // At the end the new table entry must fit too.
  uint64_t room = static_cast<uint64_t>(heap->tableLimit - cursor);
  heap->fitBlocks = count;
  heap->fitGap = largest;
  if (need > room || room - need < 16) return nullptr;
  heapInsertEntry(heap, count, cursor, need);
  heap->fitBlocks = count + 1;
  return cursor;
}

void heapInit(Heap* parent, Heap* heap, uint64_t size) {
  uint64_t bytes = roundUp8(size);
  heap->parent = parent;
  heap->children = nullptr;
  heap->activeBlocks = 0;
  heap->peakBlocks = 0;
  uint8_t* region;
  if (parent == nullptr) {
    region = static_cast<uint8_t*>(malloc(bytes));
    if (region == nullptr) fatalMessage("Insufficient Memory or address space.");
    if ((reinterpret_cast<uintptr_t>(region) & 7) != 0) fatalMessage("Alignment Error");
    heap->base = region;
    heap->tableTop = region + bytes;
  } else {
    // One block of the parent with only the owner word in front.
    if (bytes < 8) bytes = 8;
    region = heapPlaceBlock(parent, bytes);
    if (region == nullptr) fatalMemory();
    *reinterpret_cast<Heap**>(region) = parent;
    heap->base = region + 8;
    heap->tableTop = region + bytes;
  }
  heap->usedEnd = heap->base;
  heap->tableLimit = heap->tableTop;
  heap->usedAtSplit = heap->base;
  heap->peakUsed = heap->base;
  heap->fitBlocks = 0;
  heap->fitGap = 0;
  if (parent == nullptr) {
    // Touch every page now, so that a missing footprint shows before the
    // computation starts. The barrier keeps the compiler from turning the
    // malloc and the clearing into a calloc that would touch nothing.
    asm volatile("" : : "r"(region) : "memory");
    memset(region, 0, bytes);
    asm volatile("" : : "r"(region) : "memory");
  }
}

void* heapAllocate(Heap* heap, uint64_t size, uint64_t alignment) {
  if (size == 0) return heapEmptyPointer;
  if (alignment < 8) alignment = 8;
  assert((alignment & (alignment - 1)) == 0);
  // A size this large can only come from an overflowed computation.
  if (size > (uint64_t(1) << 62) || alignment > (uint64_t(1) << 32)) fatalMemory();
  uint64_t roundedSize = roundUp8(size);
  uint64_t need = roundedSize + alignment + 40;
  uint8_t* block;
  if (heap == nullptr) {
    block = static_cast<uint8_t*>(malloc(need));
  } else {
    block = heapPlaceBlock(heap, need);
  }
  if (block == nullptr) fatalMemory();
  return fillBlock(block, heap, roundedSize, alignment);
}

uint32_t* heapAllocateWords(Heap* heap, uint64_t words) {
  if (words > (uint64_t(1) << 60)) fatalMemory();
  return static_cast<uint32_t*>(heapAllocate(heap, 4 * words, 8));
}

void heapRelease(void* pointer) {
  if (pointer == nullptr || pointer == heapEmptyPointer) return;
  uint8_t* block = reinterpret_cast<uint8_t*>(static_cast<uint64_t*>(pointer)[-3]);
  Heap* owner = *reinterpret_cast<Heap**>(block);
  if (owner == nullptr) {
    free(block);
    return;
  }
  // Most releases take the highest block (the arena is used like a stack).
  const uint32_t count = owner->activeBlocks;
  uint32_t index = count != 0 && heapEntry(owner, count - 1)->address ==
                                     reinterpret_cast<uintptr_t>(block)
                       ? count - 1
                       : heapFindEntry(owner, block);
  assert(index < owner->activeBlocks &&
         heapEntry(owner, index)->address == reinterpret_cast<uintptr_t>(block));
  heapRemoveEntry(owner, index);
}

uint64_t heapFreeSpace(const Heap* heap) {
  if (heap->activeBlocks != 0) return static_cast<uint64_t>(heap->tableLimit - heap->usedEnd);
  return static_cast<uint64_t>(heap->tableTop - heap->base);
}

uint64_t heapBlockBytes(uint64_t size, uint64_t alignment) {
  if (alignment < 8) alignment = 8;
  return roundUp8(size) + alignment + 40;
}

void heapDestroy(Heap* heap) {
  if (heap->parent == nullptr) {
    if (heap->activeBlocks != 0) printWide("Memory leak detected\n");
    free(heap->base);
    heap->base = nullptr;
    return;
  }
  // A child: give its region back, then let the parent adopt every block
  // still alive in it, in address order, where the child's block stood.
  Heap* parent = heap->parent;
  uint8_t* region = heap->base - 8;
  uint32_t position = heapFindEntry(parent, region);
  assert(heapEntry(parent, position)->address == reinterpret_cast<uintptr_t>(region));
  heapRemoveEntry(parent, position);
  for (uint32_t i = 0; i < heap->activeBlocks; i++) {
    if (static_cast<uint64_t>(parent->tableLimit - parent->usedEnd) < 16) {
      fatalMessage("Critical Internal Assertion Failure");
    }
    HeapEntry* entry = heapEntry(heap, i);
    uint8_t* block = reinterpret_cast<uint8_t*>(entry->address);
    *reinterpret_cast<Heap**>(block) = parent;
    heapInsertEntry(parent, position + i, block, entry->size);
  }
  heap->activeBlocks = 0;
}
