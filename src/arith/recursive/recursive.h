// Products of small numbers on plain word arrays: schoolbook, Karatsuba and
// Toom-3, each falling back on the one below it, and the entries that the
// product front ends call for operands below the transform thresholds.
//
// Words are uint32_t, little-endian, radix 2^32. Unless a comment says
// otherwise: lengths are >= 1, `out` receives 2n words (lengthA + lengthB for
// the unequal forms) and must not overlap an operand or the scratch; operands
// may overlap each other (a square of a number with itself as a product is
// fine). The recursive routines never allocate: their scratch is a caller
// array sized by recursionScratchWords. They have no failure return; the one
// self-check is the Toom-3 division by 6, which ends fatally.
#pragma once

#include <cstdint>

#include "arith/tuning.h"
#include "memory/heap.h"

// Words of scratch for the recursive methods at length n. Squares walk from 2n
// against sqrK/sqrT (a deliberate over-allowance), products walk from n
// against elmK/elmT. Zero when the start is below the Karatsuba threshold.
uint64_t recursionScratchWords(uint64_t n, bool square);

// The walk itself with explicit thresholds, starting from `n` as given:
// while n >= toom3Threshold { q = (n + 2) / 3; t += 6q + 2; n = q + 1; }
// while n >= karatsubaThreshold { e = (n + 1) & ~1; t += e; n = e / 2; }.
// Walked from n itself it is exactly what the routines use, squares
// included; it never decreases with n, and it is never below the Karatsuba-only
// walk (toom3Threshold infinite), so the Karatsuba routines may also be called
// directly above the Toom-3 cut-over with this scratch.
uint64_t recursionScratchWordsFor(uint64_t n, uint64_t karatsubaThreshold, uint64_t toom3Threshold);

// Scratch of unbalancedKaratsuba / unbalancedToom3 for lengths lengthA and
// lengthB: 2 * min + recursionScratchWords(min, false). For equal lengths it
// is recursionScratchWords(n, false).
uint64_t unbalancedScratchWords(uint64_t lengthA, uint64_t lengthB);

// ---- Schoolbook -------------------------------------------------------------
// out[0 .. 2n) = a^2, n >= 1.
void basecaseSquare(const uint32_t* a, uint64_t n, uint32_t* out);
// out[0 .. 2n) = a * b, equal lengths n >= 1.
void basecaseMultiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out);
// out[0 .. lengthA + lengthB) = a * b, any lengths >= 1 (rows over the longer).
void basecaseMultiplyRows(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                          uint32_t* out);

// ---- Karatsuba (subtractive form) -------------------------------------------
// Below sqrK (elmK) these are the schoolbook routines. Scratch:
// recursionScratchWords(n, true / false) words.
void karatsubaSquare(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch);
void karatsubaMultiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                       uint32_t* scratch);

// ---- Toom-3 (points 0, 1, 2, 1/2, infinity) ---------------------------------
// Below sqrT (elmT) these are the Karatsuba routines. Scratch as above.
void toom3Square(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch);
void toom3Multiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                   uint32_t* scratch);

// ---- Unequal lengths --------------------------------------------------------
// out[0 .. lengthA + lengthB) = a * b; either operand may be the longer.
// Scratch: unbalancedScratchWords(lengthA, lengthB) words.
void unbalancedKaratsuba(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                         uint32_t* out, uint32_t* scratch);
// As above with Toom-3 for the balanced blocks; below elmT (shorter length) it
// is unbalancedKaratsuba.
void unbalancedToom3(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                     uint32_t* out, uint32_t* scratch);

// ---- Workers of the product front ends --------------------------------------
// `product` receives the words of the product from index `chop` upward:
// 2n - chop words (lengthA + lengthB - chop), chop below that total. Scratch
// and temporaries come from `heap` (null: the standard allocator). When chop
// exceeds an operand length the low words of that operand that cannot reach
// the retained part are left out, so the result is the upper part of a
// shortened product: it never exceeds floor(full / 2^(32 chop)) and falls
// short of it by at most 3. Return 0 (the worker code for "done"); running out
// of memory ends fatally inside the heap.
uint64_t smallSquare(Heap* heap, const uint32_t* a, uint64_t n, uint32_t* product, uint64_t chop);
uint64_t smallMultiply(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                       uint64_t lengthB, uint32_t* product, uint64_t chop);
uint64_t smallMultiplyEqual(Heap* heap, const uint32_t* a, const uint32_t* b, uint64_t n,
                            uint32_t* product, uint64_t chop);

// ---- Internal entries with explicit cut-overs (for tests and tuning) --------
// The same routines with the Karatsuba and Toom-3 thresholds passed in, so a
// path can be forced at any size. karatsuba >= 2 and toom3 >= 7 (the smallest
// lengths these splits handle). Scratch: recursionScratchWordsFor(n,
// karatsuba, toom3) (for unbalanced forms 2 * min plus that at min).
struct RecursionCutovers {
  uint64_t karatsuba;
  uint64_t toom3;
};
inline constexpr RecursionCutovers squareCutovers = {sqrK, sqrT};
inline constexpr RecursionCutovers multiplyCutovers = {elmK, elmT};

void karatsubaSquareWith(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch,
                         RecursionCutovers cut);
void karatsubaMultiplyWith(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                           uint32_t* scratch, RecursionCutovers cut);
void toom3SquareWith(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch,
                     RecursionCutovers cut);
void toom3MultiplyWith(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                       uint32_t* scratch, RecursionCutovers cut);
void unbalancedKaratsubaWith(const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                             uint64_t lengthB, uint32_t* out, uint32_t* scratch,
                             RecursionCutovers cut);
void unbalancedToom3With(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                         uint32_t* out, uint32_t* scratch, RecursionCutovers cut);

// Test hook: when set, the next Toom-3 interpolation flips one bit of its
// result (and clears the flag), so the division-by-6 check must fire. Not
// synchronised: set it only where one thread multiplies.
extern bool toom3CorruptForTesting;
