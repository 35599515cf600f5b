// e by the Taylor series of exp(1) and of exp(-1), summed by binary
// splitting over (1, N] with Q(k) = k:
//
//   exp(1) (algorithm 0):  P(a,b)/Q(a,b) = sum over j in (a,b] of 1/((a+1)...j),
//                          e = 2 + P/Q;
//   exp(-1) (algorithm 1): the same with signs alternating from + at j = a+1,
//                          P/Q = exp(-1), e = Q/P;
//   compute and verify (algorithm 2): both numerators over one shared Q,
//                          the first value by 1/exp(-1), the second by exp(1).
//
// In the series machinery e has no P(k) (it is 1): its numerator is the
// machinery's R, merged as R = R1 * Q2 +/- R2, and its Q(a,b) = (a+1)...b.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct Heap;
struct ComputeSettings;
struct SeriesKind;
struct SplitRecord;

constexpr uint32_t eExpOne = 0;
constexpr uint32_t eExpMinusOne = 1;
constexpr uint32_t eComputeVerify = 2;

// Ranges under this many terms (ending below 2^32 - 1) are built by the
// iterative leaf.
constexpr uint32_t eLeafTerms = 9;

// The series description of an algorithm (0, 1 or 2).
const SeriesKind* eSeriesKind(uint32_t algorithm);

// Words of Q(1, n) = n!: lnFactorialWords(n).
long double eSizeWords(long double n);

// ---- Leaves ----------------------------------------------------------------------
// The numbers of (first, last]: one term gives P = 1, Q = first + 1; from two
// terms up to eLeafTerms, with last below 2^32 - 1, a single pass per term
// over arrays of last - first words. Other ranges are refused (split by the
// serial layer). P is the machinery's r[0] (and r[1] for exp(-1) in the
// verifying form).
bool eLeafPlus(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
               uint32_t wantP);
bool eLeafMinus(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
                uint32_t wantP);
bool eLeafBoth(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
               uint32_t wantP);

// ---- Compute steps ---------------------------------------------------------------
// `wordCount` is the caller's precision; 2 guard words are added. `mode` is
// computeModeRamOnly or computeModeBasicSwap. `show` 0 prints nothing (the
// stress test). `out` is a fresh record holding e to wordCount + 2 words.

void computeEExpOne(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                    uint32_t mode, uint32_t show);
void computeEExpMinusOne(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                         uint32_t mode, uint32_t show);
// Both values from one summation: `first` by 1/exp(-1), `second` by exp(1).
void computeEVerify(Heap* heap, BigFloat* first, BigFloat* second, uint64_t wordCount,
                    uint32_t threadPower, uint32_t mode, uint32_t show);

// The entry of the driver: computes e by settings->algorithm in
// settings->computeMode, writes the hexadecimal and decimal files (two of
// each for compute and verify) and returns the seconds of computation and
// conversion, writing excluded. Modes other than Ram Only and Basic Swap
// compute nothing and return 0.
double computeE(ComputeSettings* settings);
