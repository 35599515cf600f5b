// Transform sizes of the complex FFT: the SizeCode of a transform length,
// the table of transform lengths with the bits each point carries, and the
// search that picks the row for a product. The tables are constants of the
// build; the code only searches them.
#pragma once

#include <cstdint>

#include "arith/tuning.h"

// A transform length L (count of real points) as code = 4e + kind:
// kind 0: 2^e, kind 1: 5 * 2^(e-2), kind 2: 3 * 2^(e-1), kind 3: 7 * 2^(e-2).
// Codes grow with L, so two codes compare like their lengths.
using SizeCode = uint32_t;

constexpr SizeCode sizeCodeKindPower = 0;
constexpr SizeCode sizeCodeKindFive = 1;
constexpr SizeCode sizeCodeKindThree = 2;
constexpr SizeCode sizeCodeKindSeven = 3;
// The smallest length that occurs: 64 points.
constexpr SizeCode smallestSizeCode = 24;

// L of a code (kind 3 only for the estimators: no transform exists for it).
constexpr uint64_t sizeCodeLength(SizeCode code) {
  uint32_t e = code >> 2;
  switch (code & 3) {
    case sizeCodeKindPower:
      return uint64_t(1) << e;
    case sizeCodeKindFive:
      return uint64_t(5) << (e - 2);
    case sizeCodeKindThree:
      return uint64_t(3) << (e - 1);
    default:
      return uint64_t(7) << (e - 2);
  }
}

// The code of L = multiplier * 2^exponent, multiplier 1, 3, 5 or 7.
constexpr SizeCode sizeCodeOf(uint32_t multiplier, uint32_t exponent) {
  switch (multiplier) {
    case 1:
      return 4 * exponent + sizeCodeKindPower;
    case 5:
      return 4 * (exponent + 2) + sizeCodeKindFive;
    case 3:
      return 4 * (exponent + 1) + sizeCodeKindThree;
    default:
      return 4 * (exponent + 2) + sizeCodeKindSeven;
  }
}

// One row of FftSizeTable: the capacity in bits (L * bitsPerPoint) of a
// transform of L = multiplier * 2^exponent real points.
struct FftSizeRow {
  uint64_t capacity;  // bits
  uint8_t multiplier;
  uint8_t exponent;
  uint8_t code;
  uint8_t bitsPerPoint;
};

constexpr uint32_t fftSizeRowCount = 66;
extern const FftSizeRow FftSizeTable[fftSizeRowCount];

// The largest product, in bits, that a single FFT can hold: the last row.
constexpr uint64_t fftProductBitsLimit = 24159191040ull;

// The search shared by every size table: binary search on the `capacity` field with
// lo = 0 and hi = count while hi - lo > 1 (lo moves to mid when the row at
// mid holds at most x);
// the row is lo if its capacity equals x exactly, else hi. A size below the
// first capacity selects row 1, and `count` means beyond the table. An empty
// table gives 0 (= count).
template <typename Row>
uint32_t sizeTableSearch(const Row* rows, uint32_t count, uint64_t x) {
  if (count == 0) return 0;
  uint32_t lo = 0;
  uint32_t hi = count;
  while (hi - lo > 1) {
    uint32_t mid = (lo + hi) / 2;
    if (rows[mid].capacity <= x) {
      lo = mid;
    } else {
      hi = mid;
    }
  }
  return rows[lo].capacity == x ? lo : hi;
}

// The row of FftSizeTable for a product of `productBits` bits, or
// fftSizeRowCount when no row holds it.
uint32_t fftSizeRowFor(uint64_t productBits);

// Transform parameters for operands of `operandBits` bits (the product has
// twice as many): returns 0 with the code and the bits per point, or 1 when
// the size is beyond FftSizeTable. An odd width b drops to b - 1 when the
// product still fits (the word splitter has fast paths for even widths).
uint32_t fftParamsFor(uint64_t operandBits, SizeCode* code, uint32_t* bitsPerPoint);
