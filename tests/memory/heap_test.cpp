// Heap arena: block layout, first fit and the end of the region, release
// among many, split and merge, compaction, and the fatal endings. (Split
// heaps on real threads are run by every threaded product and conversion.)
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"
#include "support/death_console.h"

namespace {

// Every invariant of the table: sorted, non-overlapping blocks owned by the
// heap, tableLimit, usedEnd and the peaks (after a merge the peak is an
// estimate that may lie below blocks adopted from the upper child).
void expectConsistent(const Heap* heap, bool afterMerge = false) {
  ASSERT_EQ(heap->tableLimit, heap->tableTop - 16 * uint64_t(heap->activeBlocks));
  uint8_t* cursor = heap->base;
  for (uint32_t i = 0; i < heap->activeBlocks; i++) {
    uint8_t* block = reinterpret_cast<uint8_t*>(heapEntry(heap, i)->address);
    ASSERT_GE(block, cursor) << "entry " << i;
    ASSERT_EQ(*reinterpret_cast<Heap**>(block), heap) << "owner of entry " << i;
    cursor = block + heapEntry(heap, i)->size;
  }
  EXPECT_EQ(heap->usedEnd, cursor);
  if (!afterMerge) { EXPECT_GE(heap->peakUsed, heap->usedEnd); }
  EXPECT_GE(heap->peakBlocks, heap->activeBlocks);
}

uint8_t* blockOf(void* payload) { return reinterpret_cast<uint8_t*>(static_cast<uint64_t*>(payload)[-3]); }
Heap* ownerOf(void* payload) { return *reinterpret_cast<Heap**>(blockOf(payload)); }

void fillPattern(void* payload, uint64_t bytes, uint32_t seed) {
  for (uint64_t i = 0; i < bytes; i++) static_cast<uint8_t*>(payload)[i] = uint8_t(seed * 131 + i * 7);
}
bool hasPattern(const void* payload, uint64_t bytes, uint32_t seed) {
  for (uint64_t i = 0; i < bytes; i++)
    if (static_cast<const uint8_t*>(payload)[i] != uint8_t(seed * 131 + i * 7)) return false;
  return true;
}

#define EXPECT_FATAL_TEXT(body, text) \
  EXPECT_EXIT({ consoleToStandardError(); body; }, ::testing::ExitedWithCode(1), text)

// A root heap of `bytes` for one test, empty again at its end.
struct TestHeap {
  Heap heap;
  explicit TestHeap(uint64_t bytes) { heapInit(nullptr, &heap, bytes); }
  ~TestHeap() {
    EXPECT_EQ(heap.activeBlocks, 0u);
    EXPECT_EQ(heap.usedEnd, heap.base);
    heapDestroy(&heap);
  }
};

TEST(Heap, EmptyRequestsLayoutAtEveryAlignmentAndNullHeaps) {
  TestHeap arena(1 << 20);
  Heap& heap = arena.heap;
  EXPECT_EQ(heapAllocate(&heap, 0, 8), heapEmptyPointer);
  EXPECT_EQ(heapAllocateWords(&heap, 0), heapEmptyPointer);
  heapRelease(heapEmptyPointer);
  heapRelease(nullptr);
  EXPECT_EQ(heap.peakBlocks, 0u);
  EXPECT_EQ(heap.peakUsed, heap.base);
  std::mt19937_64 random(7);
  std::vector<void*> blocks;
  for (uint64_t alignment : {1, 8, 16, 64, 4096}) {
    for (int round = 0; round < 10; round++) {
      // Aligned, owned, with the payload and its upper guard inside the block.
      const uint64_t size = 1 + random() % 3000, rounded = (size + 7) & ~uint64_t(7);
      uint8_t* payload = static_cast<uint8_t*>(heapAllocate(&heap, size, alignment));
      ASSERT_EQ(reinterpret_cast<uintptr_t>(payload) % std::max<uint64_t>(alignment, 8), 0u);
      ASSERT_EQ(*reinterpret_cast<uint64_t*>(payload + rounded), heapGuard);
      ASSERT_LE(payload + rounded + 8, blockOf(payload) + heapEntry(&heap, heap.activeBlocks - 1)->size);
      blocks.push_back(payload);
    }
  }
  expectConsistent(&heap);
  for (void* p : blocks) heapRelease(p);
  // A null heap serves from malloc with the same header and no owner.
  void* loose = heapAllocate(nullptr, 100, 64);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(loose) % 64, 0u);
  EXPECT_EQ(ownerOf(loose), nullptr);
  heapRelease(loose);
  // The size rounds up to 8 and the region starts cleared.
  Heap odd;
  heapInit(nullptr, &odd, 1001);
  EXPECT_EQ(odd.tableTop - odd.base, 1008);
  EXPECT_EQ(std::count(odd.base, odd.tableTop, 0), 1008);
  heapDestroy(&odd);
}

// First fit takes an exact gap but not one a word too small; releasing the
// top block lowers usedEnd; the new table entry counts at the region's end.
TEST(Heap, FirstFitUsedEndAndTheEndOfTheRegion) {
  TestHeap arena(4096);
  Heap& heap = arena.heap;
  void* a = heapAllocate(&heap, 400, 8);  // a block of 448 bytes at base
  void* b = heapAllocate(&heap, 200, 8);
  void* c = heapAllocate(&heap, 64, 8);
  uint8_t* gap = blockOf(b);
  heapRelease(b);
  void* tooBig = heapAllocate(&heap, 208, 8);
  EXPECT_GT(blockOf(tooBig), blockOf(c));
  void* exact = heapAllocate(&heap, 200, 8);
  EXPECT_EQ(blockOf(exact), gap);
  expectConsistent(&heap);
  heapRelease(tooBig);
  EXPECT_EQ(heap.usedEnd, blockOf(c) + heapBlockBytes(64, 8));
  EXPECT_EQ(heapFreeSpace(&heap), uint64_t(heap.tableLimit - heap.usedEnd));
  const uint64_t room = heapFreeSpace(&heap);
  void* filling = heapAllocate(&heap, room - 16 - 48, 8);  // block + entry == room
  EXPECT_EQ(heapFreeSpace(&heap), 0u);
  heapRelease(filling);
  EXPECT_FATAL_TEXT(heapAllocate(&heap, room - 16 - 48 + 8, 8), "Memory Allocation Failure\\.");
  void* rest = heapAllocate(&heap, room - 16 - 48 - 8, 8);  // leaves 8 bytes
  heapRelease(a);                                            // a gap of 448 at base
  void* d = heapAllocate(&heap, 8, 8);
  EXPECT_EQ(blockOf(d), heap.base);
  EXPECT_EQ(heap.tableLimit - heap.usedEnd, 8);
  // No room for one more entry, though the gap would hold the block.
  EXPECT_FATAL_TEXT(heapAllocate(&heap, 8, 8), "Memory Allocation Failure\\.");
  for (void* p : {exact, c, rest, d}) heapRelease(p);
  EXPECT_EQ(heapFreeSpace(&heap), 4096u);
}

// The block a first-fit walk from the base gives a request of `need` bytes.
uint8_t* firstFit(const Heap* heap, uint64_t need) {
  uint8_t* cursor = heap->base;
  for (uint32_t i = 0; i < heap->activeBlocks; i++) {
    uint8_t* block = reinterpret_cast<uint8_t*>(heapEntry(heap, i)->address);
    if (uint64_t(block - cursor) >= need) return cursor;
    cursor = block + heapEntry(heap, i)->size;
  }
  return cursor;
}

// Gaps form and are refilled; every block lands where the plain first-fit
// walk puts it, whatever the allocator skips.
TEST(Heap, ReleaseFindsBlocksAmongManyInAnyOrderAndPlacementStaysFirstFit) {
  TestHeap arena(4 << 20);
  std::mt19937_64 random(11);
  struct Live { void* payload; uint64_t size; uint32_t seed; };
  std::vector<Live> live;
  uint32_t seed = 0;
  for (int round = 0; round < 4; round++) {  // gaps form and are refilled
    for (int i = 0; i < 120; i++) {
      uint64_t size = 1 + random() % (i % 3 == 0 ? 2000 : 100);
      const uint64_t alignment = uint64_t(8) << (random() % 4);
      uint8_t* expected = firstFit(&arena.heap, heapBlockBytes(size, alignment));
      void* p = heapAllocate(&arena.heap, size, alignment);
      ASSERT_EQ(blockOf(p), expected) << "round " << round << " request " << i;
      fillPattern(p, size, ++seed);
      live.push_back({p, size, seed});
    }
    std::shuffle(live.begin(), live.end(), random);
    for (size_t keep = round == 3 ? 0 : live.size() / 3; live.size() > keep; live.pop_back()) {
      heapRelease(live.back().payload);
      if (live.size() % 17 == 0) expectConsistent(&arena.heap);
    }
    for (const Live& block : live) ASSERT_TRUE(hasPattern(block.payload, block.size, block.seed));
  }
  // A compaction joins two gaps that a large request had walked past: the
  // joined gap takes the next request too large for either.
  void* low[5];
  for (void*& p : low) p = heapAllocate(&arena.heap, 200, 8);
  heapRelease(low[1]);
  heapRelease(low[3]);
  void* above = heapAllocate(&arena.heap, 300, 8);
  void** moved[1] = {&low[2]};
  heapCompactBlocks(moved, 1);
  uint8_t* expected = firstFit(&arena.heap, heapBlockBytes(400, 8));
  EXPECT_EQ(expected, blockOf(low[2]) + heapBlockBytes(200, 8));
  void* joined = heapAllocate(&arena.heap, 400, 8);
  EXPECT_EQ(blockOf(joined), expected);
  for (void* p : {low[0], low[2], low[4], above, joined}) heapRelease(p);
}

// Survivors of both children are adopted in place; the merged peak counts
// the larger half twice; the split keeps exactly the asked reserve.
TEST(HeapSplit, SurvivorsPeakAndReserve) {
  TestHeap arena(1 << 16);
  Heap& heap = arena.heap;
  void* before = heapAllocate(&heap, 100, 8);
  heapSplit(&heap, 2);
  Heap* children = heap.children;
  EXPECT_EQ(heap.usedAtSplit, blockOf(children) + heapBlockBytes(2 * sizeof(Heap), 8));
  EXPECT_EQ(heap.peakUsed, heap.usedAtSplit) << "carving the children is not use";
  EXPECT_EQ(children[1].tableTop - children[1].base, children[0].tableTop - children[0].base);
  EXPECT_GE(heapFreeSpace(&heap), 2 * 2 * 16u);
  EXPECT_LT(heapFreeSpace(&heap), 2 * 2 * 16u + 16);
  void* a = heapAllocate(&children[0], 500, 8);
  heapRelease(heapAllocate(&children[0], 3000, 8));  // child 0 peaks at 3048 + 548
  void* b1 = heapAllocate(&children[1], 40, 16);
  void* b2 = heapAllocate(&children[1], 77, 8);
  fillPattern(a, 500, 1);
  fillPattern(b2, 77, 3);
  uint8_t* usedAtSplit = heap.usedAtSplit;
  const uint64_t peak0 = children[0].peakUsed - children[0].base;
  heapMerge(&heap);
  EXPECT_EQ(heap.activeBlocks, 4u);
  expectConsistent(&heap, true);
  EXPECT_TRUE(hasPattern(a, 500, 1) && hasPattern(b2, 77, 3));
  EXPECT_EQ(ownerOf(b1), &heap);
  EXPECT_EQ(heap.peakUsed, usedAtSplit + 2 * peak0);
  for (void* p : {b2, a, before, b1}) heapRelease(p);
  // Exactly the reserve for one survivor per child: the split succeeds.
  Heap small;
  heapInit(nullptr, &small, 1024);
  const uint64_t pairNeed = heapBlockBytes(2 * sizeof(Heap), 8) + 16;
  void* filler = heapAllocate(&small, 1024 - 16 - 48 - pairNeed - 64 - 96, 8);
  heapSplit(&small, 1);
  EXPECT_EQ(small.children[0].tableTop - small.children[0].base, 40);
  EXPECT_EQ(small.tableLimit - small.usedEnd, 32);
  heapMerge(&small);
  heapRelease(filler);
  heapDestroy(&small);
  EXPECT_FATAL_TEXT(
      {
        heapInit(nullptr, &small, 1024);  // 16 of the 64 reserve bytes
        heapAllocate(&small, 1024 - 16 - 48 - pairNeed - 16, 8);
        heapSplit(&small, 1);
      },
      "Memory Allocation Failure\\.");
  EXPECT_FATAL_TEXT(
      {
        heapSplit(&heap, 0);  // reserve for no survivor, but two survive
        heapAllocate(&heap.children[0], 8, 8);
        heapAllocate(&heap.children[0], 8, 8);
        heapMerge(&heap);
      },
      "Critical Internal Assertion Failure");
}

TEST(HeapCompact, ClosesGapsKeepsContentsAndPassesOverOthers) {
  TestHeap arena(1 << 16);
  Heap& heap = arena.heap;
  uint32_t* a = heapAllocateWords(&heap, 10);
  uint32_t* b = heapAllocateWords(&heap, 33);
  uint32_t* c = heapAllocateWords(&heap, 50);
  uint32_t* d = heapAllocateWords(&heap, 7);
  fillPattern(b, 33 * 4, 5);
  fillPattern(d, 7 * 4, 6);
  heapRelease(a);
  heapRelease(c);
  uint32_t *loose = heapAllocateWords(nullptr, 4), *none = nullptr;
  uint32_t* const looseBefore = loose;
  void** list[] = {reinterpret_cast<void**>(&d), reinterpret_cast<void**>(&none),
                   reinterpret_cast<void**>(&loose), reinterpret_cast<void**>(&b)};
  heapCompactBlocks(list, 4);
  EXPECT_EQ(loose, looseBefore);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(blockOf(b), heap.base);
  EXPECT_EQ(blockOf(d), heap.base + heapBlockBytes(33 * 4, 8));
  EXPECT_TRUE(hasPattern(b, 33 * 4, 5) && hasPattern(d, 7 * 4, 6));
  expectConsistent(&heap);
  for (void* p : {static_cast<void*>(b), static_cast<void*>(d), static_cast<void*>(loose)}) heapRelease(p);
}

TEST(HeapRoot, LeaksAreReportedAndARegionTooLargeIsFatal) {
  std::string out;
  consoleCaptureTo(&out);
  for (bool leak : {false, true}) {
    Heap heap;
    heapInit(nullptr, &heap, 4096);
    void* p = heapAllocate(&heap, 10, 8);
    if (!leak) heapRelease(p);
    heapDestroy(&heap);
    EXPECT_EQ(out, leak ? "Memory leak detected\n" : "");
  }
  consoleCaptureTo(nullptr);
  Heap heap;
  EXPECT_FATAL_TEXT(heapInit(nullptr, &heap, uint64_t(1) << 62), "Insufficient Memory or address space\\.");
}

}  // namespace
