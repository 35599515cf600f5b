// Heap compaction below the arrays of two or three numbers, so that the
// next big product finds one free region.
#include "arith/numbers/bigfloat.h"
#include "memory/heap.h"

namespace {

void compactNumbers(BigFloat* numbers[], uint32_t count) {
  void* arrays[3];
  void** pointers[3];
  for (uint32_t i = 0; i < count; i++) {
    arrays[i] = numbers[i]->mantissa.words;
    pointers[i] = &arrays[i];
  }
  heapCompactBlocks(pointers, count);
  for (uint32_t i = 0; i < count; i++) {
    numbers[i]->mantissa.words = static_cast<uint32_t*>(arrays[i]);
  }
}

}  // namespace

void bigFloatCompact2(BigFloat* x, BigFloat* y) {
  BigFloat* numbers[2] = {x, y};
  compactNumbers(numbers, 2);
}

void bigFloatCompact3(BigFloat* x, BigFloat* y, BigFloat* z) {
  BigFloat* numbers[3] = {x, y, z};
  compactNumbers(numbers, 3);
}
