// Log(2) and Log(10) as integer combinations of
//   ArcCoth(x) = (1/2) ln((x + 1) / (x - 1)) = sum over k >= 0 of 1 / ((2k + 1) x^(2k+1))
// at a few integers x. With s = x^2 the series is summed by binary splitting
// with P(k) = 2k + 1, Q(k) = (2k + 1) s, R(k) = 1 (k = 1 .. N), so that
// ArcCoth(x) = (Q + R) / (x Q). No sign logic: all terms are positive.
//
//   Log(2),  algorithm 0: 18 A(26) - 2 A(4801) + 8 A(8749)
//   Log(2),  algorithm 1: 144 A(251) + 54 A(449) - 38 A(4801) + 62 A(8749)
//   Log(2),  algorithm 2: 72 A(99) - 18 A(449) + 34 A(4801) - 10 A(8749), and
//                         algorithm 1, sharing A(449), A(4801) and A(8749)
//   Log(10), algorithm 0: 478 A(251) + 180 A(449) - 126 A(4801) + 206 A(8749)
//   Log(10), algorithm 1: 239 A(99) - 59 A(449) + 113 A(4801) - 33 A(8749)
//   Log(10), algorithm 2: algorithm 1, then algorithm 0, sharing as above
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct Heap;
struct SeriesKind;
struct SplitRecord;

// ---- The ArcCoth series ---------------------------------------------------------

// The x values that have a series description: 26, 99, 251, 449, 4801, 8749.
// Null for any other x.
const SeriesKind* arcCothSeriesKind(uint32_t x);
// Words of Q(0, n): n ln(s) / (32 ln 2) + lnFactorial(2n) / (64 ln 2).
long double arcCothSizeWords(uint32_t x, long double n);

// Ranges of at most this many terms go to the iterative leaf.
constexpr uint32_t arcCothLeafTerms = 9;
// Largest last index of the 32-bit leaf: 2k + 1 fits a word.
constexpr uint64_t arcCothLimit32 = 2147483647;

// The leaf of the series whose context is s = x^2 (a uint64_t): one term, or
// an iterative range of 2 .. arcCothLeafTerms terms with 32-bit odd factors
// (last <= arcCothLimit32) or 64-bit ones above.
bool arcCothLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                 SplitRecord* out, uint32_t wantP);

// out = ArcCoth(x) to `words` words (W, guard words included: the caller's
// own). `mode` 1 Ram Only, 2 Basic Swap. With `show`: "ArcCoth( x ):  ", the
// progress path and the time on the same line, then a line end.
void arcCothSum(Heap* heap, BigFloat* out, uint32_t x, uint64_t words, uint32_t threadPower,
                uint32_t mode, uint32_t show);

// ---- The constants ------------------------------------------------------------------

// One term of a formula: factor * ArcCoth(x), subtracted when negative.
struct MachinTerm {
  int32_t factor;
  uint32_t x;
};
struct MachinFormula {
  uint32_t count;
  MachinTerm terms[4];
};

// The formula of a constant (constantLog2 or constantLog10) and algorithm
// (0 or 1). For algorithm 2, value 0 is the first value and 1 the second.
const MachinFormula* logFormula(uint32_t constantId, uint32_t algorithm, uint32_t value);

// out = the formula's value to wordCount + 2 words (a fresh record).
void logComputeFormula(Heap* heap, BigFloat* out, const MachinFormula* formula,
                       uint64_t wordCount, uint32_t threadPower, uint32_t mode, uint32_t show);
// Both values of compute and verify from one ArcCoth of each x: `first` by
// the first formula and `second` by the second. The two formulas must share
// every x but their first.
void logComputeBoth(Heap* heap, BigFloat* first, BigFloat* second, const MachinFormula* formulaA,
                    const MachinFormula* formulaB, uint64_t wordCount, uint32_t threadPower,
                    uint32_t mode, uint32_t show);
// Log(2) by algorithm 0, the form Euler's constant calls.
void log2Compute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                 uint32_t mode, uint32_t show);

// The entry of the driver for Log(2) and Log(10) (settings->constantId),
// every algorithm, Ram Only and Basic Swap. Returns the computation seconds,
// writing excluded; other modes compute nothing and return 0.
double computeLog(ComputeSettings* settings);
