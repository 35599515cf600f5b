// Element sizes of the hybrid transform: the table of element sizes whose
// products a nega-cyclic FFT can do exactly, the plan of an element product,
// and the scratch that element products need.
#pragma once

#include <array>
#include <cstdint>

#include "arith/fft/fft_sizes.h"

struct FftLookupTables;

// One row of ElementSizeTable: an element size s = bitsPerPoint * L in bits
// (a multiple of 64), with the code of the nega-cyclic FFT of L points.
struct ElementSizeRow {
  uint64_t capacity;  // bits
  uint32_t bitsPerPoint;
  SizeCode code;
};

constexpr uint32_t elementSizeRowCount = 384;
extern const std::array<ElementSizeRow, elementSizeRowCount> ElementSizeTable;

// The row holding an element of exactly `bits` bits, or elementSizeRowCount
// when the table has no such size (such an element can't be used at all).
uint32_t elementSizeRowExact(uint64_t bits);

// From this element length (words) on, element products use the FFT; below
// it the recursive methods.
constexpr uint64_t elementFftWords = 24;

// How the products of one transform's elements are done.
struct ElementPlan {
  uint32_t method;                // 0 recursive methods, 1 nega-cyclic FFT
  uint64_t words;                 // W, element length without the overflow word
  uint64_t scratchWords;          // scratch of one element product
  SizeCode code;                  // FFT only: transform length code
  uint64_t length;                // FFT only: L
  uint32_t bitsPerPoint;          // FFT only: b, with b * L = 32W
  const FftLookupTables* tables;  // twiddles for the FFT
};

// Fills `plan` for elements of W words and returns its code (0 for the
// recursive form). For W >= 24 the row of 32W bits must exist: the element
// sizes come from the hybrid parameter search or tables, which only use rows
// of ElementSizeTable.
SizeCode elementPlanFor(ElementPlan* plan, const FftLookupTables* tables, uint64_t words);

// Words of element scratch of a transform of W-word elements on 2^threadPower
// threads: one element product's scratch per thread.
uint64_t elementScratchWords(uint64_t words, uint32_t threadPower);
