// BigInt operations of linear cost: copy, construction from an integer,
// dropping low words, shifts by a bit count.
#include <cstring>

#include "arith/numbers/bigfloat.h"
#include "arith/numbers/linear_words.h"
#include "memory/heap.h"

void bigIntCopy(Heap* heap, BigInt* source, BigInt* target) {
  if (source->length == 0) {
    bigIntSetZero(target);
    return;
  }
  bigIntLoad(heap, source, 1);
  const uint64_t length = source->length;
  uint32_t* words = heapAllocateWords(heap, length + 2);
  std::memcpy(words, source->words, length * 4);
  target->length = length;
  target->words = words;
  target->capacity = length + 2;
  target->swap = nullptr;
}

void bigIntFromU64(Heap* heap, BigInt* target, uint64_t value) {
  target->swap = nullptr;
  if (value == 0) {
    bigIntSetZero(target);
    return;
  }
  if (value >> 32 == 0) {
    target->words = heapAllocateWords(heap, 3);
    target->words[0] = uint32_t(value);
    target->length = 1;
    target->capacity = 3;
    return;
  }
  target->words = heapAllocateWords(heap, 4);
  target->words[0] = uint32_t(value);
  target->words[1] = uint32_t(value >> 32);
  target->length = 2;
  target->capacity = 4;
}

void bigIntDropLowWords(Heap* heap, BigInt* number, uint64_t count) {
  if (count == 0 || number->length == 0) return;
  if (count >= number->length) {
    bigIntDestroy(number);
    bigIntSetZero(number);
    return;
  }
  bigIntLoad(heap, number, 1);
  const uint64_t kept = number->length - count;
  uint32_t* words = heapAllocateWords(heap, kept + 2);
  std::memcpy(words, number->words + count, kept * 4);
  bigIntDestroy(number);
  number->length = kept;
  number->words = words;
  number->capacity = kept + 2;
}

void bigIntShiftLeftBits(Heap* heap, BigInt* number, uint32_t bits) {
  if (bits == 0 || number->length == 0) return;
  bigIntLoad(heap, number, 0);
  const uint64_t length = number->length;
  if (length < number->capacity) {
    const uint32_t top = linearShiftLeft(number->words, number->words, length, bits);
    number->words[length] = top;
    if (top != 0) number->length = length + 1;
    return;
  }
  uint32_t* words = heapAllocateWords(heap, length + 3);
  const uint32_t top = linearShiftLeft(words, number->words, length, bits);
  words[length] = top;
  heapRelease(number->words);
  number->words = words;
  number->capacity = length + 3;
  if (top != 0) number->length = length + 1;
}

void bigIntShiftRightBits(Heap* heap, BigInt* number, uint32_t bits) {
  if (bits == 0 || number->length == 0) return;
  bigIntLoad(heap, number, 0);
  uint64_t length = number->length;
  linearShiftRight(number->words, number->words, length, bits);
  if (number->words[length - 1] == 0) length--;
  if (length == 0) {
    bigIntDestroy(number);
    bigIntSetZero(number);
    return;
  }
  number->length = length;
}
