// Heap arena: allocation and release edges, split and merge (also across two
// real threads), compaction, and the fatal endings.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "memory/heap.h"
#include "memory/heap_table.h"
#include "platform/console.h"
#include "platform/threads.h"

namespace {

// Checks every invariant of the table: sorted, non-overlapping blocks inside
// the region, owner words, tableLimit, usedEnd and the peaks.
void expectConsistent(const Heap* heap, bool afterMerge = false) {
  ASSERT_EQ(heap->tableLimit, heap->tableTop - 16 * uint64_t(heap->activeBlocks));
  uint8_t* cursor = heap->base;
  for (uint32_t i = 0; i < heap->activeBlocks; i++) {
    const HeapEntry* entry = heapEntry(heap, i);
    uint8_t* block = reinterpret_cast<uint8_t*>(entry->address);
    ASSERT_GE(block, cursor) << "entry " << i;
    ASSERT_EQ(*reinterpret_cast<Heap**>(block), heap) << "owner of entry " << i;
    cursor = block + entry->size;
  }
  ASSERT_LE(cursor, heap->tableLimit);
  EXPECT_EQ(heap->usedEnd, cursor);
  // After a merge the peak is the estimate of both halves, which may lie
  // below blocks adopted from the upper child; otherwise it bounds usedEnd.
  if (!afterMerge) EXPECT_GE(heap->peakUsed, heap->usedEnd);
  EXPECT_GE(heap->peakBlocks, heap->activeBlocks);
}

uint8_t* blockOf(void* payload) {
  return reinterpret_cast<uint8_t*>(static_cast<uint64_t*>(payload)[-3]);
}

void fillPattern(void* payload, uint64_t bytes, uint32_t seed) {
  uint8_t* at = static_cast<uint8_t*>(payload);
  for (uint64_t i = 0; i < bytes; i++) at[i] = static_cast<uint8_t>(seed * 131 + i * 7);
}

bool hasPattern(const void* payload, uint64_t bytes, uint32_t seed) {
  const uint8_t* at = static_cast<const uint8_t*>(payload);
  for (uint64_t i = 0; i < bytes; i++) {
    if (at[i] != static_cast<uint8_t>(seed * 131 + i * 7)) return false;
  }
  return true;
}

// Runs `body` in a death-test child with the console written to stderr, so
// that the expected text can be matched.
#define EXPECT_FATAL_TEXT(body, text)            \
  EXPECT_EXIT(                                   \
      {                                          \
        consoleInputFrom("");                    \
        dup2(STDERR_FILENO, STDOUT_FILENO);      \
        body;                                    \
      },                                         \
      ::testing::ExitedWithCode(1), text)

TEST(Heap, ZeroSizeGivesMarkerAndTouchesNothing) {
  Heap heap;
  heapInit(nullptr, &heap, 1000);
  EXPECT_EQ(heap.tableTop - heap.base, 1000);
  EXPECT_EQ(heapAllocate(&heap, 0, 8), heapEmptyPointer);
  EXPECT_EQ(heapAllocate(nullptr, 0, 64), heapEmptyPointer);
  heapRelease(heapEmptyPointer);
  heapRelease(nullptr);
  EXPECT_EQ(heap.activeBlocks + heap.peakBlocks, 0u);
  EXPECT_EQ(heap.usedEnd, heap.base);
  EXPECT_EQ(heap.peakUsed, heap.base);
  // The region is cleared at creation and the size rounds up to 8.
  for (uint8_t* at = heap.base; at < heap.tableTop; at++) ASSERT_EQ(*at, 0);
  heapDestroy(&heap);
  heapInit(nullptr, &heap, 1001);
  EXPECT_EQ(heap.tableTop - heap.base, 1008);
  heapDestroy(&heap);
}

TEST(Heap, BlockLayoutAtEveryAlignment) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 20);
  std::mt19937_64 random(7);
  for (uint64_t alignment : {1, 8, 16, 64, 4096}) {
    for (int round = 0; round < 10; round++) {
      uint64_t size = 1 + random() % 3000;
      uint64_t effective = std::max<uint64_t>(alignment, 8);
      uint64_t rounded = (size + 7) & ~uint64_t(7);
      uint8_t* payload = static_cast<uint8_t*>(heapAllocate(&heap, size, alignment));
      uint64_t* header = reinterpret_cast<uint64_t*>(payload);
      const HeapEntry* last = heapEntry(&heap, heap.activeBlocks - 1);
      ASSERT_EQ(reinterpret_cast<uintptr_t>(payload) % effective, 0u);
      ASSERT_EQ(last->size, rounded + effective + 40);
      ASSERT_EQ(header[-2], rounded);
      ASSERT_EQ(header[-1], heapGuard);
      ASSERT_EQ(*reinterpret_cast<uint64_t*>(payload + rounded), heapGuard);
      ASSERT_LE(payload + rounded + 8, blockOf(payload) + last->size);
      fillPattern(payload, size, round);
    }
  }
  expectConsistent(&heap);
  // A null heap serves from malloc with the same header and no owner.
  void* loose = heapAllocate(nullptr, 100, 64);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(loose) % 64, 0u);
  EXPECT_EQ(*reinterpret_cast<Heap**>(blockOf(loose)), nullptr);
  heapRelease(loose);
  EXPECT_EQ(heapAllocateWords(&heap, 0), heapEmptyPointer);
  uint32_t* words = heapAllocateWords(&heap, 5);
  EXPECT_EQ(static_cast<uint64_t*>(static_cast<void*>(words))[-2], 24u);
  heapDestroy(&heap);
}

TEST(Heap, FirstFitTakesAnExactGapButNotOneByteLess) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  void* a = heapAllocate(&heap, 64, 8);
  void* b = heapAllocate(&heap, 200, 8);  // block of 248 bytes
  void* c = heapAllocate(&heap, 64, 8);
  uint8_t* gapStart = blockOf(b);
  heapRelease(b);
  // One word more than the gap: goes to the end.
  void* tooBig = heapAllocate(&heap, 208, 8);
  EXPECT_GT(blockOf(tooBig), blockOf(c));
  // Exactly the gap: goes into it, and the table stays sorted.
  void* exact = heapAllocate(&heap, 200, 8);
  EXPECT_EQ(blockOf(exact), gapStart);
  EXPECT_EQ(heapEntry(&heap, 1)->address, reinterpret_cast<uintptr_t>(gapStart));
  expectConsistent(&heap);
  heapRelease(a);
  for (void* p : {exact, c, tooBig}) heapRelease(p);
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

TEST(Heap, EndOfRegionCountsTheNewTableEntry) {
  Heap heap;
  heapInit(nullptr, &heap, 4096);
  void* a = heapAllocate(&heap, 400, 8);  // 448-byte block at base
  void* b = heapAllocate(&heap, 8, 8);
  uint64_t room = static_cast<uint64_t>(heap.tableLimit - heap.usedEnd);
  // need + 16 == room fits and leaves the region full.
  void* filling = heapAllocate(&heap, room - 16 - 48, 8);
  EXPECT_EQ(heapFreeSpace(&heap), 0u);
  heapRelease(filling);
  // need + 16 == room + 8 does not fit, though the block alone would.
  EXPECT_FATAL_TEXT(heapAllocate(&heap, room - 16 - 48 + 8, 8), "Memory Allocation Failure.");
  void* c = heapAllocate(&heap, room - 16 - 48 - 8, 8);  // leaves 8 bytes
  heapRelease(a);                                         // gap of 448, table room 24
  void* d = heapAllocate(&heap, 8, 8);                    // into the gap, room 8 again
  EXPECT_EQ(blockOf(d), heap.base);
  EXPECT_EQ(heap.tableLimit - heap.usedEnd, 8);
  // tableLimit - usedEnd < 16: no entry can be added, though the gap fits.
  EXPECT_FATAL_TEXT(heapAllocate(&heap, 8, 8), "Memory Allocation Failure.");
  for (void* p : {b, c, d}) heapRelease(p);
  heapDestroy(&heap);
}

TEST(Heap, ReleasingTheLastBlockResetsUsedEnd) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 14);
  void* a = heapAllocate(&heap, 100, 8);
  void* b = heapAllocate(&heap, 300, 16);
  uint8_t* endOfA = blockOf(a) + heapBlockBytes(100, 8);
  heapRelease(b);
  EXPECT_EQ(heap.usedEnd, endOfA);
  EXPECT_EQ(heapFreeSpace(&heap), static_cast<uint64_t>(heap.tableLimit - endOfA));
  heapRelease(a);
  EXPECT_EQ(heap.usedEnd, heap.base);
  EXPECT_EQ(heapFreeSpace(&heap), uint64_t(1) << 14);
  heapDestroy(&heap);
}

TEST(Heap, ReleaseFindsBlocksAmongManyInAnyOrder) {
  Heap heap;
  heapInit(nullptr, &heap, 4 << 20);
  std::mt19937_64 random(11);
  struct Live { void* payload; uint64_t size; uint32_t seed; };
  std::vector<Live> live;
  uint32_t seed = 0;
  // Rounds of allocating and releasing, so that gaps form and are refilled.
  for (int round = 0; round < 4; round++) {
    for (int i = 0; i < 120; i++) {
      uint64_t size = 1 + random() % 2000;
      void* p = heapAllocate(&heap, size, uint64_t(8) << (random() % 4));
      fillPattern(p, size, ++seed);
      live.push_back({p, size, seed});
    }
    std::shuffle(live.begin(), live.end(), random);
    size_t keep = round == 3 ? 0 : live.size() / 3;
    while (live.size() > keep) {
      heapRelease(live.back().payload);
      live.pop_back();
      if (live.size() % 17 == 0) expectConsistent(&heap);
    }
    for (const Live& block : live) ASSERT_TRUE(hasPattern(block.payload, block.size, block.seed));
    ASSERT_EQ(heap.activeBlocks, live.size());
  }
  EXPECT_EQ(heap.usedEnd, heap.base);
  heapDestroy(&heap);
}

TEST(HeapSplit, SurvivorsOfBothChildrenAreAdopted) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  void* before = heapAllocate(&heap, 100, 8);
  heapSplit(&heap, 2);
  Heap* children = heap.children;
  ASSERT_NE(children, nullptr);
  EXPECT_EQ(children[1].tableTop - children[1].base, children[0].tableTop - children[0].base);
  // The children take all but the reserve (and their owner words).
  EXPECT_GE(heapFreeSpace(&heap), 2 * 2 * 16u);
  EXPECT_LT(heapFreeSpace(&heap), 2 * 2 * 16u + 16);
  void* a = heapAllocate(&children[0], 500, 8);
  void* temp = heapAllocate(&children[0], 3000, 8);
  void* b1 = heapAllocate(&children[1], 40, 16);
  void* b2 = heapAllocate(&children[1], 77, 8);
  fillPattern(a, 500, 1);
  fillPattern(b1, 40, 2);
  fillPattern(b2, 77, 3);
  heapRelease(temp);
  uint64_t peak0 = children[0].peakUsed - children[0].base;
  uint64_t peak1 = children[1].peakUsed - children[1].base;
  uint8_t* usedAtSplit = heap.usedAtSplit;
  heapMerge(&heap);
  EXPECT_EQ(heap.activeBlocks, 4u);
  expectConsistent(&heap, true);
  EXPECT_TRUE(hasPattern(a, 500, 1));
  EXPECT_TRUE(hasPattern(b1, 40, 2));
  EXPECT_TRUE(hasPattern(b2, 77, 3));
  EXPECT_GE(heap.peakUsed, usedAtSplit + 2 * std::max(peak0, peak1));
  for (void* p : {b2, a, before, b1}) heapRelease(p);
  EXPECT_EQ(heap.activeBlocks, 0u);
  EXPECT_EQ(heap.usedEnd, heap.base);
  heapDestroy(&heap);
}

TEST(HeapSplit, MergePeakCountsTheLargerHalfTwice) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  void* before = heapAllocate(&heap, 16, 8);
  heapSplit(&heap, 0);
  // The pair of records is a block of the heap; carving the children is not use.
  EXPECT_EQ(heap.usedAtSplit, blockOf(heap.children) + heapBlockBytes(2 * sizeof(Heap), 8));
  EXPECT_EQ(heap.peakUsed, heap.usedAtSplit);
  uint8_t* usedAtSplit = heap.usedAtSplit;
  heapRelease(heapAllocate(&heap.children[0], 8, 8));    // peak 56
  heapRelease(heapAllocate(&heap.children[1], 1000, 8)); // peak 1048
  heapMerge(&heap);
  EXPECT_EQ(heap.peakUsed, usedAtSplit + 2 * 1048);
  EXPECT_EQ(heap.activeBlocks, 1u);
  heapRelease(before);
  heapDestroy(&heap);
}

TEST(HeapSplit, ReserveForSurvivorsExactlyOrFatal) {
  // Exactly the reserve for one survivor per child: the split succeeds.
  Heap heap;
  heapInit(nullptr, &heap, 1024);
  uint64_t pairNeed = heapBlockBytes(2 * sizeof(Heap), 8) + 16;
  void* filler = heapAllocate(&heap, 1024 - 16 - 48 - pairNeed - 64 - 96, 8);
  heapSplit(&heap, 1);
  EXPECT_EQ(heap.children[0].tableTop - heap.children[0].base, 40);
  EXPECT_EQ(heap.tableLimit - heap.usedEnd, 32);  // one entry per surviving child block
  heapMerge(&heap);
  heapRelease(filler);
  heapDestroy(&heap);
  // Reserve for no survivor, but child 0 leaves two blocks.
  EXPECT_FATAL_TEXT(
      {
        heapInit(nullptr, &heap, 1 << 14);
        heapSplit(&heap, 0);
        heapAllocate(&heap.children[0], 8, 8);
        heapAllocate(&heap.children[0], 8, 8);
        heapMerge(&heap);
      },
      "Critical Internal Assertion Failure");
  EXPECT_FATAL_TEXT(
      {
        heapInit(nullptr, &heap, 1024);
        // 16 bytes of the 64 that the reserve for one survivor per child needs.
        heapAllocate(&heap, 1024 - 16 - 48 - pairNeed - 16, 8);
        heapSplit(&heap, 1);
      },
      "Memory Allocation Failure.");
}

// One half of a threaded step: allocates, frees and leaves `survivors`
// blocks, splitting again while `depth` is non-zero.
struct HalfWork {
  Heap* heap;
  uint32_t depth;
  uint32_t seed;
  void* survivors[8];
  uint32_t survivorCount;
};

void runHalf(HalfWork* work);

uint64_t halfEntry(void* context) {
  runHalf(static_cast<HalfWork*>(context));
  return 0;
}

void runHalf(HalfWork* work) {
  work->survivorCount = 0;
  if (work->depth > 0) {
    heapSplit(work->heap, 2);
    HalfWork left = {&work->heap->children[0], work->depth - 1, work->seed * 2 + 1, {}, 0};
    HalfWork right = {&work->heap->children[1], work->depth - 1, work->seed * 2 + 2, {}, 0};
    ThreadHandle handle;
    threadSpawn(&handle, halfEntry, &left);
    runHalf(&right);
    threadJoin(&handle);
    heapMerge(work->heap);
    for (HalfWork* half : {&left, &right}) {
      for (uint32_t i = 0; i < half->survivorCount; i++) {
        work->survivors[work->survivorCount++] = half->survivors[i];
      }
    }
    return;
  }
  std::mt19937 random(work->seed);
  std::vector<void*> temporary;
  for (int i = 0; i < 300; i++) {
    temporary.push_back(heapAllocate(work->heap, 1 + random() % 500, 8));
    if (random() % 3 == 0) {
      size_t pick = random() % temporary.size();
      heapRelease(temporary[pick]);
      temporary.erase(temporary.begin() + pick);
    }
  }
  for (void* p : temporary) heapRelease(p);
  void* kept = heapAllocate(work->heap, 64, 8);
  fillPattern(kept, 64, work->seed);
  work->survivors[work->survivorCount++] = kept;
}

TEST(HeapSplit, ThreadsAllocateInTheirOwnChildren) {
  Heap heap;
  heapInit(nullptr, &heap, 8 << 20);
  for (uint32_t depth : {1u, 2u}) {
    HalfWork top = {&heap, depth, 0, {}, 0};
    runHalf(&top);
    ASSERT_EQ(top.survivorCount, 1u << depth);
    EXPECT_EQ(heap.activeBlocks, 1u << depth);
    expectConsistent(&heap, true);
    // Leaves are numbered 2^depth - 1 .. 2^(depth+1) - 2 in the seed tree,
    // left to right as the survivors are collected.
    for (uint32_t i = 0; i < top.survivorCount; i++) {
      EXPECT_EQ(*reinterpret_cast<Heap**>(blockOf(top.survivors[i])), &heap);
      EXPECT_TRUE(hasPattern(top.survivors[i], 64, (1u << depth) - 1 + i)) << i;
      heapRelease(top.survivors[i]);
    }
    EXPECT_EQ(heap.usedEnd, heap.base);
  }
  heapDestroy(&heap);
}

TEST(HeapCompact, ClosesGapsAndKeepsContents) {
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  uint32_t* a = heapAllocateWords(&heap, 10);
  uint32_t* b = heapAllocateWords(&heap, 33);
  uint32_t* c = heapAllocateWords(&heap, 50);
  uint32_t* d = heapAllocateWords(&heap, 7);
  fillPattern(b, 33 * 4, 5);
  fillPattern(d, 7 * 4, 6);
  heapRelease(a);
  heapRelease(c);
  uint32_t* loose = heapAllocateWords(nullptr, 4);
  uint32_t* none = nullptr;
  uint32_t* const looseBefore = loose;
  // Given out of order, with a null and a standard-allocator pointer.
  void** list[] = {reinterpret_cast<void**>(&d), reinterpret_cast<void**>(&none),
                   reinterpret_cast<void**>(&loose), reinterpret_cast<void**>(&b)};
  heapCompactBlocks(list, 4);
  EXPECT_EQ(loose, looseBefore);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(blockOf(b), heap.base);
  EXPECT_EQ(blockOf(d), heap.base + heapBlockBytes(33 * 4, 8));
  EXPECT_TRUE(hasPattern(b, 33 * 4, 5));
  EXPECT_TRUE(hasPattern(d, 7 * 4, 6));
  expectConsistent(&heap);
  // The moved headers lead release to the right entries.
  heapRelease(b);
  heapRelease(d);
  heapRelease(loose);
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

TEST(HeapRoot, DestroyReportsLeaksAndStillFrees) {
  std::string out;
  consoleCaptureTo(&out);
  Heap clean;
  heapInit(nullptr, &clean, 4096);
  heapRelease(heapAllocate(&clean, 10, 8));
  heapDestroy(&clean);
  EXPECT_EQ(out, "");
  Heap leaky;
  heapInit(nullptr, &leaky, 4096);
  heapAllocate(&leaky, 10, 8);
  heapDestroy(&leaky);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out, "Memory leak detected\n");
}

TEST(HeapRoot, RegionThatCannotBeHadIsFatal) {
  EXPECT_FATAL_TEXT(
      {
        Heap heap;
        heapInit(nullptr, &heap, uint64_t(1) << 62);
      },
      "Insufficient Memory or address space.");
}

}  // namespace
