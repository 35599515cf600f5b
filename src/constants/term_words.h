// Small fixed-size word arrays for the leaves of the series: the terms of a
// short range are built here by word passes with 64-bit and 128-bit
// products, then copied into the summation's numbers.
#pragma once

#include <cstdint>

struct Heap;
struct SplitNumber;

// Room for the longest leaf number: nine terms of up to three words each, a
// polynomial factor and the carries.
constexpr uint32_t termWordsCapacity = 48;

// An unsigned number, little-endian words, length without zero top words.
struct TermWords {
  uint32_t words[termWordsCapacity];
  uint32_t length;
};

// x = value.
void termWordsSet(TermWords* x, unsigned __int128 value);
// x = x * factor.
void termWordsMultiply(TermWords* x, uint64_t factor);
// x = x + y.
void termWordsAdd(TermWords* x, const TermWords* y);
// x = x - y, for x >= y.
void termWordsSubtract(TermWords* x, const TermWords* y);
// x = x + value.
void termWordsAddSmall(TermWords* x, uint64_t value);
// x = x * y (schoolbook; both short).
void termWordsMultiplyBy(TermWords* x, const TermWords* y);
// A fresh split number holding x (two words to spare).
void termWordsToSplit(Heap* heap, const TermWords* x, SplitNumber* out);
