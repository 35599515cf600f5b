// BigInt: an unsigned magnitude of 32-bit words in radix 2^32, little-endian.
// The record sits in the memory layer because paging moves whole numbers
// between the heap and swap files; the arithmetic on it lives in arith.
//
// States (every operation keeps to them):
//   zero        length 0, words null, capacity 0, swap null
//   RAM only    length > 0, words set, swap null
//   both        length > 0, words set, swap set (the disk copy is current)
//   disk only   length > 0, words null, swap set
//   destroyed   length all ones; words and swap null
#pragma once

#include <cstdint>

struct RaidFile;

struct BigInt {
  uint64_t length;     // significant words; the top word is non-zero (see multiply.h)
  uint32_t* words;     // the array in a Heap; null when zero or paged out
  uint64_t capacity;   // words allocated; 0 when words is null
  RaidFile* swap;      // the disk copy, or null
};

// The poison left in `length` by bigIntDestroy and by a move.
constexpr uint64_t bigIntDestroyedLength = ~uint64_t(0);

// Sets the record to the value zero without releasing anything.
inline void bigIntSetZero(BigInt* number) {
  number->length = 0;
  number->words = nullptr;
  number->capacity = 0;
  number->swap = nullptr;
}

// Moves `source` into `target` (whose old contents must already be released)
// and poisons the source.
inline void bigIntMove(BigInt* target, BigInt* source) {
  *target = *source;
  source->length = bigIntDestroyedLength;
  source->words = nullptr;
  source->capacity = 0;
  source->swap = nullptr;
}

inline bool bigIntIsZero(const BigInt& number) { return number.length == 0; }
inline bool bigIntIsDestroyed(const BigInt& number) {
  return number.length == bigIntDestroyedLength;
}
// Paged out: the value is only on disk.
inline bool bigIntIsPagedOut(const BigInt& number) {
  return number.length != 0 && number.words == nullptr;
}
