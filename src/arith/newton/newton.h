// Reciprocals and inverse square roots by Newton iteration. There is no
// division anywhere else: a / b is a * (1 / b) and sqrt(n) is n * (1 / sqrt(n)),
// both formed by the callers.
//
// Every routine works down to a 53-bit start from a double, then climbs back
// up, each step doubling the precision: the step for p words runs at
// P = p + 3 on top of a result good to h = newtonHalfPrecision(p) words. The
// second product of a step runs at h words only, since the error term has
// its first h words zero.
//
// `p` is a precision in words (results keep up to p + 6 words, truncated).
// `show` non-zero pushes "0" on the progress path for every descent and
// prints the "Iterating: " line after each step that reaches h words.
//
// The swap forms page numbers out between the big products of their top
// levels (at most two), so that only the operands of the product at hand sit
// in memory; their operands may be paged out on entry and their inputs may be
// left paged out on return. Below 1000 words, or at depth 2, they are the RAM
// forms, marked ":" on the progress path.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct Heap;

// Words below which the swap forms leave everything in memory.
constexpr uint64_t newtonSwapThreshold = 1000;

// Precision of the step below p: p / 2 + 1, and 1 for p = 2 (so the chain
// runs p, p/2 + 1, ..., 3, 2, 1).
uint64_t newtonHalfPrecision(uint64_t p);

// r = 1 / x to p words. x is read only (it may be loaded from disk); r is a
// fresh record (old contents are not freed). A zero x is not checked.
void bigFloatReciprocal(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t threadPower,
                        uint32_t show);
// x = 1 / x to p words. The last step reuses x's storage for x * r, which
// saves a whole number of memory against bigFloatReciprocal; the result is
// compacted down in its heap.
void bigFloatInvert(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower, uint32_t show);

// As bigFloatReciprocal for swap mode; `depth` counts the swap levels above
// this one (from 2 on, the RAM form is used). x and r are left paged out
// (when the swap path ran).
void bigFloatReciprocalSwapped(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t depth,
                               uint32_t threadPower, uint32_t show);
// As bigFloatInvert for swap mode; below 1000 words, the RAM reciprocal with
// no display.
void bigFloatInvertSwapped(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower,
                           uint32_t show);

// x = 1 / sqrt(n) to p words for a 32-bit n (x is a fresh record).
void invSqrtWord(Heap* heap, uint32_t n, BigFloat* x, uint64_t p, uint32_t threadPower,
                 uint32_t show);
// The same with the top step paging its operands out; always shows progress.
void invSqrtWordSwapped(Heap* heap, uint32_t n, BigFloat* x, uint64_t p, uint32_t threadPower);
// r = 1 / sqrt(x) to p words for a positive x, which is read only; r is a
// fresh record.
void bigFloatInvSqrt(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t threadPower,
                     uint32_t show);
// The same with the top two steps paging their operands out, without
// display: x may be paged out on entry and is left paged out, as r may be.
void bigFloatInvSqrtSwapped(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t threadPower);

// ---- Progress ----------------------------------------------------------------

// The "Iterating: " line for a step that has reached `words` words: the path
// in colour 10, then "    ( " digits " )" in colour 14, where digits is
// floor(words * 9.632959861247397) + 1, then blanks to column 63. Printed only
// when 1000 ms have passed since the last progress print, or when nothing has
// been printed since the reset. Returns true when it printed.
bool newtonPrintProgress(uint64_t words);
