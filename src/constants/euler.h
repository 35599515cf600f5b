// Euler's constant by the method of Brent and McMillan, with n = 2^k:
//
//   B = sum over j >= 0 of (n^j / j!)^2,   A = the same sum weighted by the
//   harmonic numbers H_j,   gamma = A / B - ln n            (error ~ e^(-4n)),
//
// and with refinement by the asymptotic series
//
//   K = sum over j >= 0 of ((2j)!)^3 / ((j!)^4 (16 n)^(2j)),
//   gamma = A / B - K / (4 n B^2) - ln n                    (error ~ e^(-8n)).
//
// A and B come from one four-number series (series A and B) over (0, N]: per
// range q (product of the indices), x (with q, the harmonic part), y and z,
// with the leaf of term j being q = j, x = 1, y = z = n^(2j), merged as
//   x = x1 q2 + x2 q1,  q = q1 q2,  y = y1 q2^2 + y2,
//   z = z1 q2^3 + x1 q2 y2 + z2 q1,
// so that B = 1 + y / q^2 and A = z / q^3. K is the three-record series
// (series C) with P(j) = R(j) = (2j - 1)^3 and Q(j) = 32 j n^2, K = (Q + R) / Q.
// Powers of two are carried as stripped words and the exponent, never as
// mantissa words. The records of series A and B hold p = x, q = q,
// r[0] = y, r[1] = z.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct Heap;
struct SeriesKind;
struct SplitRecord;
struct SplitFloats;

constexpr uint32_t eulerRefined = 0;
constexpr uint32_t eulerAlone = 1;
constexpr uint32_t eulerComputeVerify = 2;

// The two series for n = 2^k (k from 5 to 60). Descriptions are per k and
// live for the whole process.
const SeriesKind* eulerSeriesKind(uint32_t k);
const SeriesKind* eulerCorrectionKind(uint32_t k);

// Words of (n^N / N!)^2 (negative once N! outgrows n^N):
// (N k ln 2 - 1.4189385332046727 - (N + 0.5)(ln N - 1)) * 2 / (32 ln 2).
long double eulerTermWords(uint32_t k, long double terms);
// Terms of series A and B for W words: from N = n, doubling while the
// words of the N-th term stay above trunc(size(n)) - W, then bisection to
// adjacent bounds (the upper one).
uint64_t eulerMainTerms(uint32_t k, uint64_t words);
// Words of the correction's error e^(-4n): trunc(4 n / (32 ln 2)).
uint64_t eulerCorrectionSkipWords(uint32_t k);
// Terms M of series C for Wc words, by bisection in [1, 2n] on the words of
// the M-th term, which first fall below -Wc there.
uint64_t eulerCorrectionTerms(uint32_t k, uint64_t words);

// The leaves and the merges of series A and B. Series A and B's leaf takes
// ranges of up to eulerLeafTerms terms, built term by term in words; series
// C's one term.
constexpr uint32_t eulerLeafTerms = 16;
bool eulerLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
               SplitRecord* out, uint32_t wantP);
bool eulerCorrectionLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                         SplitRecord* out, uint32_t wantP);
void eulerMergeIntegers(Heap* heap, const SeriesKind* kind, SplitRecord* left, SplitRecord* right,
                        SplitRecord* out, uint64_t first, uint64_t middle, uint32_t wantP,
                        uint32_t threadPower);
void eulerMergeFloats(Heap* heap, const SeriesKind* kind, SplitFloats* left, SplitFloats* right,
                      SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                      uint32_t wantP, uint32_t threadPower);
// The float merge for Basic Swap: the numbers wait on disk between the
// steps and the results are left there.
void eulerMergeFloatsPaged(Heap* heap, const SeriesKind* kind, SplitFloats* left,
                           SplitFloats* right, SplitFloats* out, uint64_t leftPrecision,
                           uint64_t rightPrecision, uint32_t wantP, uint32_t threadPower);

// gamma to wordCount + 2 words (a fresh record) with n = 2^k; `refined`
// adds series C. `log2` is Log(2) to the same words, or null to compute it
// (with its console lines when the run has taken more than 30 seconds, else
// the one line "Computing: Log(2)"); when `keepLog2` is not null the Log(2)
// computed here is handed back there. `mode` 1 Ram Only, 2 Basic Swap;
// `show` 0 prints nothing; otherwise the total time closes under `name`.
void eulerCompute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower, uint32_t k,
                  bool refined, BigFloat* log2, BigFloat* keepLog2, uint32_t mode, uint32_t show,
                  const char* name);

// The entry of the driver: every algorithm, Ram Only and Basic Swap, k from
// settings->constantParameter. Returns the computation seconds, writing
// excluded.
double computeEuler(ComputeSettings* settings);
