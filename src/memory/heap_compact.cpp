// Compaction of live blocks (the one place where a block moves) and the
// debugging dump of a heap's table.
#include <cassert>
#include <cstring>

#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"

namespace {

// Moves the block of `*payloadSlot` down over the gap below it, if any.
void compactOne(void** payloadSlot) {
  uint8_t* payload = static_cast<uint8_t*>(*payloadSlot);
  if (payload == nullptr || payload == heapEmptyPointer) return;
  uint64_t* header = reinterpret_cast<uint64_t*>(payload);
  uint8_t* block = reinterpret_cast<uint8_t*>(header[-3]);
  Heap* owner = *reinterpret_cast<Heap**>(block);
  if (owner == nullptr) return;
  uint32_t index = heapFindEntry(owner, block);
  HeapEntry* entry = heapEntry(owner, index);
  assert(entry->address == reinterpret_cast<uintptr_t>(block));
  uint8_t* floor = index == 0 ? owner->base : heapEntryEnd(heapEntry(owner, index - 1));
  uint64_t gap = static_cast<uint64_t>(block - floor) & ~uint64_t(3);
  if (gap == 0) return;
  memmove(block - gap, block, entry->size);
  entry->address -= gap;
  // The gap above the moved block grew: the first-fit shortcut ends at it.
  if (index + 1 < owner->fitBlocks) owner->fitBlocks = index + 1;
  reinterpret_cast<uint64_t*>(payload - gap)[-3] = entry->address;
  owner->usedEnd = heapEntryEnd(heapEntry(owner, owner->activeBlocks - 1));
  *payloadSlot = payload - gap;
}

}  // namespace

// Closes the gaps below the given blocks, lowest payload first so that each
// block can take the room its lower neighbours freed. Blocks keep their
// alignment only when the gaps are multiples of it: meant for word arrays
// (alignment 8).
void heapCompactBlocks(void** pointers[], uint32_t count) {
  constexpr uint32_t maxCount = 16;
  assert(count <= maxCount);
  void** order[maxCount];
  for (uint32_t i = 0; i < count; i++) {
    // Insertion by payload address.
    uint32_t j = i;
    while (j > 0 && *order[j - 1] > *pointers[i]) {
      order[j] = order[j - 1];
      j--;
    }
    order[j] = pointers[i];
  }
  for (uint32_t i = 0; i < count; i++) compactOne(order[i]);
}

void heapDump(const Heap* heap) {
  printWide("Heap Table Dump:\n");
  if (heap == nullptr) {
    printWide("Heap is NULL\n\n");
    return;
  }
  uint64_t total = static_cast<uint64_t>(heap->tableTop - heap->base);
  printNarrow("Parent              : %p\n", static_cast<void*>(heap->parent));
  printWide("Total Size          : " + formatBytes(total) + "\n");
  printNarrow("Active Allocations  : %u\n", heap->activeBlocks);
  printNarrow("Peak Allocations    : %u\n", heap->peakBlocks);
  printWide("Current Usage       : " + formatBytes(heap->usedEnd - heap->base) + "\n");
  printWide("Peak Heap Usage     : " + formatBytes(heap->peakUsed - heap->base) + "\n");
  printNarrow("Start : %p\n", static_cast<void*>(heap->base));
  printNarrow("End   : %p\n", static_cast<void*>(heap->tableTop));
  uint64_t gapBytes = 0;
  if (heap->activeBlocks == 0) {
    printWide("No Active Allocations\n\n");
  } else {
    uint8_t* cursor = heap->base;
    for (uint32_t i = 0; i < heap->activeBlocks; i++) {
      const HeapEntry* entry = heapEntry(heap, i);
      uint8_t* block = reinterpret_cast<uint8_t*>(entry->address);
      if (block > cursor) {
        gapBytes += static_cast<uint64_t>(block - cursor);
        printWide("Free Space:   (" + formatBytes(block - cursor) + " )\n");
      }
      printNarrow("Base: %p   Size: %p   ( ", static_cast<void*>(block),
                  reinterpret_cast<void*>(entry->size));
      printWide(formatBytes(entry->size) + " )\n");
      cursor = heapEntryEnd(entry);
    }
    printWide("\n");
  }
  printNarrow("Table Limit         : %p\n", static_cast<void*>(heap->tableLimit));
  // Share of the used span that lies in gaps between blocks.
  uint64_t span = static_cast<uint64_t>(heap->usedEnd - heap->base);
  double fragmentation = span == 0 ? 0.0 : 100.0 * double(gapBytes) / double(span);
  printNarrow("Fragmentation       : %.2f%%\n\n", fragmentation);
}
