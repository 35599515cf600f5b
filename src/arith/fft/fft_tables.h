// The FFT lookup tables: twiddle pyramids for transform lengths 2^e, 3 * 2^e
// and 5 * 2^e, built once per run before any computation and read-only after
// that, shared by all threads without locks.
//
// A pyramid is an array of doubles, 16-byte aligned. Index 0 holds the level
// count as a 64-bit integer, index 1 is 0. For the family K * 2^e (K = 1, 3,
// 5), level j occupies the doubles K * 2^(j-1) .. K * 2^j - 1 and holds, for
// t = 1 .. K * 2^(j-2) in order, the pair cos(2 pi t / (K 2^(j+1))),
// sin(...): the first octant of the circle at the resolution of level j. A
// transform reads a level with unit stride, forward for the first half of its
// twiddles and backward, cosine and sine swapped, for the second. Below the
// smallest level (j = 2) the heads of the 3- and 5-families hold the
// constants of the radix-3 and radix-5 butterflies.
#pragma once

#include <cstdint>

#include "arith/fft/fft_sizes.h"

struct FftLookupTables {
  uint32_t builtCode;  // highest SizeCode the pyramids serve, 0 at first
  double* pyramid2;    // lengths 2^e
  double* pyramid3;    // lengths 3 * 2^e
  double* pyramid5;    // lengths 5 * 2^e
  double* pyramid7;    // never filled; released all the same
};

// The process's tables; null until buildFftTables.
extern FftLookupTables* fftTables;

// Level count stored at index 0 of a pyramid (0 for a null pyramid).
uint64_t pyramidLevelCount(const double* pyramid);

// The doubles of level j of a pyramid of the family K (1, 3 or 5).
inline const double* pyramidLevel(const double* pyramid, uint32_t family, uint32_t level) {
  return pyramid + (uint64_t(family) << (level - 1));
}

// The words for which the tables are built are capped here: they serve the
// products of the hybrid transform's elements and of direct FFTs, not the
// size of the run.
constexpr uint64_t fftTablesWordCap = 500000;

// The SizeCode the tables must serve for a run of `words` words: the FFT row
// of 64 * min(words, fftTablesWordCap) bits, raised where needed so that the
// element FFT of every hybrid product of up to 2 * words words is served
// (that happens only past about 7 * 10^11 words).
SizeCode fftTablesCodeFor(uint64_t words);

// Sizes the process's tables for a run of `words` words (the driver passes
// its word count plus 100), creating them on first use. Missing memory is
// fatal: "Memory Allocation Failure.". threadPower 1 or more lets the
// twiddles of a large pyramid be filled on two threads (the driver's build,
// before anything else runs); the tables are the same.
void buildFftTables(uint64_t words, uint32_t threadPower = 0);

// Makes `tables` serve transforms up to `code` (>= 24): each pyramid that is
// too short is rebuilt whole. Returns 0, or the bytes that could not be had;
// builtCode is raised only on success, and a pyramid that could not be
// rebuilt keeps its old levels.
uint64_t growFftTables(FftLookupTables* tables, SizeCode code, uint32_t threadPower = 0);
// Whether `tables` (null: none) serve a transform of `code`.
inline bool fftTablesServe(const FftLookupTables* tables, SizeCode code) {
  return tables != nullptr && code <= tables->builtCode;
}

// Frees the pyramids and the record, and clears fftTables.
void releaseFftTables();

// Frees the pyramids of a record made with calloc and grown by
// growFftTables, and the record itself. Null is ignored.
void releaseFftTablesRecord(FftLookupTables* tables);
