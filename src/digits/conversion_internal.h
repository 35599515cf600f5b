// Pieces shared by the RAM and swap forms of the base conversion.
#pragma once

#include <cstdint>

#include "digits/base_conversion.h"

struct RaidFile;

// An integer BigFloat (exponent >= 0, sign ignored) as a BigInt, with zero
// words put below the mantissa for a positive exponent. Consumes x.
void conversionIntegerFromFloat(Heap* heap, BigFloat* x, BigInt* out);

// divideAndModulus; `paged` is the swap form, which pushes each operand of a
// big product to disk first so that the product may take the disk path, and
// leaves the table's entries of `level` paged out again.
void conversionDivide(Heap* heap, BigInt* x, BigInt* remainderOut, int32_t level,
                      BaseConversionTable* table, uint32_t threads, bool paged);

// Divisions whose power has at most this many words (by position) may take
// the short form below.
constexpr uint64_t shortDivideWords = 64;

// divideAndModulus in word arithmetic on the stack, for a power of at most
// shortDivideWords words and x of at most twice that plus two words (in
// memory): the same quotient, remainder, corrections and failures as the
// general form. x's array takes the quotient; the remainder gets its own.
// Returns false, having changed nothing, for a division outside those sizes.
bool conversionDivideShort(Heap* heap, BigInt* x, BigInt* remainderOut, const BigFloat& power,
                           const BigFloat& inverse);

// The figures of one conversion: precision, Y and its hash, the window.
struct ConversionStart {
  uint64_t start;       // timer at the title line
  BigInt y;             // the normalised integer
  int64_t scale;        // radix words right of the point
  uint64_t binaryHash;  // hash of y in radix 2^32
  uint64_t window;      // radix 10^9 words of the output
};

// Steps 1 to 5 of a conversion shared by both forms: the title, the
// precision, normalisation and the binary hash.
void conversionBegin(Heap* heap, ConversionStart* begin, BigFloat* number, uint64_t digits,
                     uint32_t secondary, uint32_t threads);
// The decimal hash against the binary one; a mismatch is fatal.
void conversionCheck(uint64_t binaryHash, uint64_t decimalHash);
