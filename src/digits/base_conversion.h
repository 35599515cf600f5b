// Base conversion: a finished BigFloat in radix 2^32 becomes a little-endian
// array of words in radix 10^9 (nine decimal digits a word) for the decimal
// writers.
//
// The method is divide and conquer with a table of exact powers of 10^9 and
// their reciprocals. The number is first made an integer Y (normalisation),
// then cut recursively at powers of 10^9: each cut is one divideAndModulus,
// two products and at most a few corrections. Every conversion is guarded by
// a checksum: Y is hashed modulo 2^61 - 1 in radix 2^32 and the result in
// radix 10^9; the two must agree.
//
// The swap forms (Basic Swap) keep the table's entries and the numbers of
// the top levels in swap files and write the output to a swap file; below
// the top levels they are the same code as the RAM forms.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct Heap;
struct RaidFile;

// Radix 10^9 words per 32-bit word (32 log10(2) / 9), and the inverse.
constexpr double radixWordsPerWord = 1.070328873471933;
constexpr double wordsPerRadixWord = 0.9342922766870708;
// 32-bit words per decimal digit: 1 / 9.632959861247397.
constexpr double wordsPerDecimalDigit = 0.1038102529652301;
constexpr uint32_t billion = 1000000000;
// The precision that asks powerOfBillion for the exact value.
constexpr uint64_t exactPrecision = 0x8000000000000000ull;
constexpr uint32_t baseConversionMaxLevels = 32;

// Exact powers of 10^9 with their reciprocals, by level. Level i holds
// power[i] = 10^(9 * baseWords * 2^i) exactly (its low zero words kept in
// the exponent, out of the mantissa) and inverse[i] = 1 / power[i] to
// (position of power[i] + 4) words. Levels 0 .. levels - 1 exist.
struct BaseConversionTable {
  uint64_t baseWords;  // c: radix 10^9 words covered by level 0, 8 .. 15
  uint32_t levels;     // 0: no levels (small numbers)
  BigFloat power[baseConversionMaxLevels];
  BigFloat inverse[baseConversionMaxLevels];
};

// The result of a conversion: digits.words[0 .. digits.length) in radix
// 10^9, little-endian, the top word non-zero (length 0 for the value zero).
// The value is digits / 10^(9 * scale): `scale` words lie right of the
// decimal point. The swap form leaves `digits` paged out (words null, swap
// set); bigIntLoad brings it in.
struct ConversionOutput {
  BigInt digits;
  int64_t scale;
};

// ---- Table ------------------------------------------------------------------

// Sizing from the mantissa length `length`: L = trunc(length * 1.0703...) + 2
// radix words, halved (rounding up) until below 16; c is what is left and
// `levels` the count of halvings.
void baseConversionTableSize(uint64_t length, uint64_t* baseWords, uint32_t* levels);

// Prints "Constructing Base Conversion Table:" and builds `table` for a
// number of the size of `number` (only its mantissa length is read).
void buildBaseConversionTable(Heap* heap, const BigFloat* number, BaseConversionTable* table,
                              uint32_t threads);
// The same for Basic Swap: the entries end up paged out on globalSwapPaths.
void buildBaseConversionTableSwapped(Heap* heap, const BigFloat* number, BaseConversionTable* table,
                                     uint32_t threads);
// Destroys every entry (and its swap files); levels becomes 0.
void releaseBaseConversionTable(BaseConversionTable* table);

// out = 10^(9 n) by left-to-right binary exponentiation, each step kept to
// precision + 13 (square) or precision + 14 (times 10^9) words, low zero
// words carried in the exponent. n = 0 gives 1; n < 0 the reciprocal of
// 10^(9 |n|) to `precision` words. precision = exactPrecision asks for the
// exact value. Where the value can be exact it is checked modulo 2^61 - 1;
// a mismatch is fatal ("Base Conversion Normalization: Checksum Mismatch").
// `out` is a fresh record.
void powerOfBillion(Heap* heap, int64_t n, BigFloat* out, uint64_t precision, uint32_t threads);

// ---- Conversion -------------------------------------------------------------

// Converts `number` (its magnitude) to `digits` decimal digits and more:
// normalisation, the binary hash, the deconstruction from the table's top
// level on all threads, the decimal hash and its comparison. `secondary` 0
// or 1 picks the primary or the secondary cutting parameters (one word more
// of precision, so every cut falls elsewhere). Consumes `number`'s storage
// (the record is left the canonical zero). `table` must have been built for
// `number`. A checksum mismatch is fatal ("Base Conversion: Checksum
// Mismatch").
void convertToDecimal(Heap* heap, ConversionOutput* out, BigFloat* number, uint64_t digits,
                      BaseConversionTable* table, uint32_t secondary, uint32_t threads);
// The same for Basic Swap: `number` and the table may be paged out; the top
// levels page Y and its parts, and the output is left in a swap file.
void convertToDecimalSwapped(Heap* heap, ConversionOutput* out, BigFloat* number, uint64_t digits,
                             BaseConversionTable* table, uint32_t secondary, uint32_t threads);
// Releases the output's words and swap file; the record becomes zero.
void releaseConversionOutput(ConversionOutput* out);

// x = x / power[level], remainderOut = x mod power[level], by the stored
// reciprocal: q = floor(x * inverse) at p = position(power) + 5 words,
// r = x - q * power, then at most 2 corrections up and 1 add-back. More
// than that is a fatal algorithmic failure. x and remainderOut are integers;
// remainderOut's old contents are not freed. The table is only read.
void divideAndModulus(Heap* heap, BigInt* x, BigInt* remainderOut, int32_t level,
                      BaseConversionTable* table, uint32_t threads);

// ---- Pieces of the conversion (exposed for the tests) -------------------------

// Hashes modulo 2^61 - 1 of words[0 .. n) read from the top down, continued
// from `hash` (0 to start): h = h * 2^32 + word, or h = h * 10^9 + word.
uint64_t hashBinaryWords(uint64_t hash, const uint32_t* words, uint64_t n);
uint64_t hashDecimalWords(uint64_t hash, const uint32_t* words, uint64_t n);

// Makes the magnitude of `number` an integer y with y / 10^(9 scale) equal
// to it, to `words` words of precision: multiplies by 10^(9 m), m =
// trunc(-exponent * 1.0703...), then cuts the fraction off (or puts zero
// words below). Consumes `number`. Cutting off every word is fatal
// ("Impossible Functional Result: Base Conversion").
void normalizeForConversion(Heap* heap, BigFloat* number, uint64_t words, BigInt* y, int64_t* scale,
                            uint32_t threads);

// Levels of the deconstruction that keep all threads on one division (2 or
// 3), and in *threadsDown the thread exponent handed to the thread layer
// (0, 2, then threads + 2: over-splitting so that unequal halves balance).
uint32_t conversionTopLevels(uint64_t baseWords, uint32_t levels, uint32_t threads,
                             uint32_t* threadsDown);

// The three layers. Each converts y into out[0 .. window) (cleared where y
// has no digits) and consumes y. `level` is the table index to cut at next
// (-1: none left). The top layer cuts `topLevels` times with all `threads`
// and shows the progress line; the thread layer cuts with one thread and
// runs the halves on split heaps, `threads` deep; the serial layer cuts
// down to the leaf.
void deconstructTop(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                    uint32_t topLevels, uint32_t threads, uint32_t threadsDown,
                    BaseConversionTable* table);
void deconstructThreads(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                        uint32_t threads, BaseConversionTable* table);
void deconstructSerial(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                       BaseConversionTable* table);

// decimal[0 .. window) = binary[0 .. n) in radix 10^9, by schoolbook: for
// each binary word from the top, the decimal array is multiplied by 2^32 and
// the word added. Digits that do not fit the window are lost (the checksum
// sees them). For small n: the cost is n * window.
void conversionLeaf(const uint32_t* binary, uint64_t n, uint32_t* decimal, uint64_t window);

// Radix words of the window that receives the remainder of a cut at `level`.
inline uint64_t conversionLowWindow(const BaseConversionTable* table, int32_t level) {
  return table->baseWords << level;
}

// The console lines of the conversion: a status line replacing the current
// one, and "Time: " with the seconds since `start`.
void conversionStatusLine(const char* text);
void conversionTimeLine(uint64_t start);
// "    ( " digits " )" for a number of `words` words: trunc(words * 9.63...) + 1.
void conversionProgress(const char* label, uint64_t words);

// ---- Test hooks (no menu reaches them) ---------------------------------------

// The next `count` leaves add 1 to their lowest output word, as a flipped
// bit in memory would: the decimal checksum must catch it.
void conversionCorruptLeavesForTesting(uint32_t count);
// The next `count` checked powers of 10^9 get their lowest mantissa word
// changed before the check.
void conversionCorruptPowersForTesting(uint32_t count);
// Internal: true (and counts down) when the next leaf or power is to be
// corrupted.
bool conversionTakeLeafFault();
bool conversionTakePowerFault();
