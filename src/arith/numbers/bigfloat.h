// The number records and their linear-time operations.
//
// BigInt (memory/bigint.h) is an unsigned magnitude; BigFloat is a signed
// floating number in radix 2^32 around it:
//   value = (positive ? 1 : -1) * mantissa * (2^32)^exponent
// The position of a number is exponent + length, the exponent of the word
// above its top word; magnitudes are compared through it. The mantissa is not
// normalised at its low end. The canonical zero is positive 1, exponent 0 and
// an empty mantissa.
//
// Precision p counts words: an operation taking p keeps p + 3 words of its
// result (three guard words), truncated, never rounded.
//
// Operations that may allocate take the Heap first (null: standard
// allocator). Operands are loaded from disk as needed (keepSwap 1 for reads;
// in-place changes drop the disk copy). Failure to allocate is fatal.
#pragma once

#include <cstdint>

#include "memory/bigint.h"
#include "memory/paging.h"

struct Heap;

struct BigFloat {
  uint32_t positive;   // 1 for zero and positive values, 0 for negative
  int64_t exponent;    // power of 2^32 of mantissa word 0
  BigInt mantissa;
};

// Decimal digits per word: log10(2^32). Used by all progress displays.
constexpr double decimalDigitsPerWord = 9.632959861247397;

// ---- BigInt ----------------------------------------------------------------

// target = a fresh copy of source (capacity length + 2, no swap). A paged-out
// source is loaded and stays in memory. target's old contents are not freed.
void bigIntCopy(Heap* heap, BigInt* source, BigInt* target);
// target = value: zero allocates nothing; below 2^32 one word (capacity 3),
// else two words (capacity 4). target's old contents are not freed.
void bigIntFromU64(Heap* heap, BigInt* target, uint64_t value);
// number /= 2^(32 * count), truncated. count >= length leaves the zero;
// otherwise a new array of length - count + 2 words replaces the old one
// (whose disk copy goes too).
void bigIntDropLowWords(Heap* heap, BigInt* number, uint64_t count);
// number *= 2^bits, bits in 1..31 (0: nothing). In place while
// length < capacity, else a new array of length + 3 words.
void bigIntShiftLeftBits(Heap* heap, BigInt* number, uint32_t bits);
// number /= 2^bits, truncated, bits in 1..31, in place. A number that
// becomes zero is destroyed and set to the zero record.
void bigIntShiftRightBits(Heap* heap, BigInt* number, uint32_t bits);

// ---- BigFloat records --------------------------------------------------------

inline void bigFloatSetZero(BigFloat* x) {
  x->positive = 1;
  x->exponent = 0;
  bigIntSetZero(&x->mantissa);
}
inline bool bigFloatIsZero(const BigFloat& x) { return x.mantissa.length == 0; }
// Position: exponent of the word above the top word.
inline int64_t bigFloatPosition(const BigFloat& x) {
  return x.exponent + int64_t(x.mantissa.length);
}
// Moves `source` into `target` (already released); the source is poisoned.
inline void bigFloatMove(BigFloat* target, BigFloat* source) {
  target->positive = source->positive;
  target->exponent = source->exponent;
  bigIntMove(&target->mantissa, &source->mantissa);
}

void bigFloatDestroy(BigFloat* x);
void bigFloatFromU32(Heap* heap, BigFloat* x, uint32_t value);
void bigFloatFromU64(Heap* heap, BigFloat* x, uint64_t value);
// x = the double `value` exactly, low zero words stripped. Used to start
// Newton iterations; an infinity is taken by its bits as a number.
void bigFloatFromDouble(Heap* heap, BigFloat* x, double value);
// The top two words of x as a double (sign included), and in *position the
// power of 2^32 of the lower of them (exponent for a one-word number).
// Zero gives 0.0 and position 0.
double bigFloatTopAsDouble(Heap* heap, BigFloat* x, int64_t* position);

// ---- Linear operations ---------------------------------------------------------

// Compares |x| and |y|: -1, 0 or 1. Zero is below every non-zero number.
int bigFloatCompareMagnitudes(Heap* heap, BigFloat* x, BigFloat* y);

// out = x + y to precision p (out is overwritten, not freed; it must not be
// x or y). Both zero: canonical zero. One zero: a full copy of the other.
// Otherwise the window is the top p + 3 words of the result, but never lower
// than the lower exponent; capacity is window + 3.
void bigFloatAdd(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p);
// x = x + y through a temporary. x and y may be the same record.
void bigFloatAddTo(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p);
// x = x - y: flips y's sign around bigFloatAddTo. x and y must differ.
void bigFloatSubtractFrom(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p);
// out = x + y for positive x and y, as bigFloatAdd. Returns the highest word
// position of the kept window at which the words of x and y differ; when
// they agree everywhere in it, one below the window's lowest position.
int64_t bigFloatAddAgreeing(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p);

// x = x * word, keeping at most p + 3 words (low words drop, exponent rises).
// word 1 leaves x alone; word 0 gives the canonical zero.
void bigFloatMultiplyWord(Heap* heap, BigFloat* x, uint32_t word, uint64_t p);
// x = x * 2^bits, bits signed. Halving a number with an even low word is a
// right shift that loses nothing; otherwise a left shift with the exponent
// one lower.
void bigFloatShiftBits(Heap* heap, BigFloat* x, int64_t bits);
// Drops all words below the radix point. A number whose words all lie more
// than one word below the point becomes an empty mantissa with exponent 0
// and its sign kept (a negative-flagged zero); exactly below: canonical zero.
void bigFloatTruncateToInteger(Heap* heap, BigFloat* x);

// ---- Products (wrappers over bigIntSquare / bigIntMultiply) ----------------
// chop = max(0, lengthX + lengthY - (p + 3)) low product words are dropped and
// added to the exponent. The in-place forms return at once for a zero x;
// bigFloatMultiplyInPlace does not look at y (a zero y leaves an empty
// mantissa with the computed sign and exponent). The Into forms give the
// canonical zero for a zero operand; `out` must be empty or released.

void bigFloatSquareInPlace(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower);
void bigFloatSquareInto(Heap* heap, BigFloat* x, BigFloat* out, uint64_t p, uint32_t threadPower);
void bigFloatMultiplyInPlace(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p,
                             uint32_t threadPower);
// outB = a * b at pB words and outC = a * c at pC words, the results of
// two bigFloatMultiplyInto calls, with one transform of a's mantissa; only
// when both are direct FFT products of one transform length whose chops cut
// no operand, all three in memory, none zero, and the arena has room on top.
// Returns false, nothing done, otherwise.
bool bigFloatMultiplyShared(Heap* heap, BigFloat* a, BigFloat* b, BigFloat* outB, uint64_t pB,
                            BigFloat* c, BigFloat* outC, uint64_t pC);
void bigFloatMultiplyInto(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p,
                          uint32_t threadPower);

// ---- Heap housekeeping and paging -----------------------------------------------

// Close the heap gaps below the numbers' arrays (any order; the arrays must
// be in one heap). Null arrays and standard-allocator arrays are passed over.
void bigFloatCompact2(BigFloat* x, BigFloat* y);
void bigFloatCompact3(BigFloat* x, BigFloat* y, BigFloat* z);

// Pages the mantissa out on globalSwapPaths (RaidFile record from the
// standard allocator). A null pointer or a zero number is passed over.
void bigFloatPushToDisk(BigFloat* x);
// Pushes the two records of a Q/R style pair, in order.
void bigFloatPushPairToDisk(BigFloat* first, BigFloat* second);
