// A root heap for one test or one measurement; the work must leave it empty.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>

#include "memory/heap.h"

struct TestArena {
  Heap heap;
  explicit TestArena(uint64_t bytes) { heapInit(nullptr, &heap, bytes); }
  ~TestArena() {
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the arena";
    heapDestroy(&heap);
  }
};
