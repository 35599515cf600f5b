// Zeta(3) and Catalan's constant by hypergeometric series summed by binary
// splitting (k = 1 .. N, R carrying the sign (-1)^k where it alternates):
//
//   Zeta(3), formula 2 (algorithm 0): P = k^5 (2k-1)^3,
//     Q = (9k+3)(3k+2) ((8k+2)(4k+3))^3, R = (-1)^k P poly2(k),
//     Zeta(3) = (12463 Q + R) / (10368 Q);
//   Zeta(3), formula 1 (algorithm 1): P = k^5, Q = (4k+2)^5,
//     R = (-1)^k P (205 k^2 + 250 k + 77), Zeta(3) = (77 Q + R) / (64 Q);
//   Catalan, Lupas (algorithm 0): P = 32 k^3 (2k-1), Q = ((4k+1)(4k+3))^2,
//     R = (-1)^k P (40 k^2 + 56 k + 19), G = (19 Q + R) / (18 Q);
//   Catalan, Ramanujan (algorithm 1): four numbers P = k (2k-1),
//     Qa = (8k-6)(4k-1), Qb = ((4k+1)(4k+3))^2, R = (40 k^2 + 54 k + 19) P,
//     merged as R = R1 Qa2 Qb2 + R2 P1 Qb1, Qa = Qa1 Qa2, Qb = Qb1 Qb2,
//     P = P1 P2, and G = (Pi / 8) log(2 + sqrt(3)) + (9 R + 19 Q) / (48 Q)
//     with Q = Qa Qb; the logarithm by the AGM.
//
// poly2(k) = 126392 k^5 + 412708 k^4 + 531578 k^3 + 336367 k^2 + 104000 k + 12463.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct Heap;
struct SeriesKind;
struct SplitRecord;
struct SplitFloats;

constexpr uint32_t zeta3Formula2 = 0;
constexpr uint32_t zeta3Formula1 = 1;
constexpr uint32_t catalanLupas = 0;
constexpr uint32_t catalanRamanujan = 1;

// Largest k whose term the leaves take (all factors and products in 64 and
// 128 bits with room).
constexpr uint64_t zetaCatalanTermLimit = uint64_t(1) << 40;

// The series descriptions. For Ramanujan's Catalan series the numbers are
// held as p = P, q = Qa, r[0] = R, r[1] = Qb.
const SeriesKind* zeta3SeriesKind(uint32_t algorithm);
const SeriesKind* lupasSeriesKind();
const SeriesKind* catalanRamanujanSeriesKind();

// Lupas' leaf builds up to this many terms by word passes while the last
// index is below the limit (all factors of 64 bits); one term above it.
constexpr uint32_t lupasLeafTerms = 8;
constexpr uint64_t lupasIterativeLimit = uint64_t(1) << 26;

// Leaves: the numbers of a one-term range (first, first + 1]; longer ranges
// are refused (Lupas' leaf takes up to lupasLeafTerms).
bool zeta3Leaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
               SplitRecord* out, uint32_t wantP);
bool lupasLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
               SplitRecord* out, uint32_t wantP);
bool catalanRamanujanLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                          SplitRecord* out, uint32_t wantP);

// The merges of Ramanujan's Catalan series, in integers and in floats (the
// float ones truncating at the two precisions as the standard merge does;
// the paged one, for Basic Swap, leaves its results on disk).
void catalanMergeIntegers(Heap* heap, const SeriesKind* kind, SplitRecord* left,
                          SplitRecord* right, SplitRecord* out, uint64_t first, uint64_t middle,
                          uint32_t wantP, uint32_t threadPower);
void catalanMergeFloats(Heap* heap, const SeriesKind* kind, SplitFloats* left, SplitFloats* right,
                        SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                        uint32_t wantP, uint32_t threadPower);
void catalanMergeFloatsPaged(Heap* heap, const SeriesKind* kind, SplitFloats* left,
                             SplitFloats* right, SplitFloats* out, uint64_t leftPrecision,
                             uint64_t rightPrecision, uint32_t wantP, uint32_t threadPower);

// ---- Compute steps -------------------------------------------------------------
// out = the constant to wordCount + 2 words (a fresh record). `mode` 1 Ram
// Only, 2 Basic Swap; `show` 0 prints nothing.

void zeta3Compute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                  uint32_t algorithm, uint32_t mode, uint32_t show);
void catalanCompute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                    uint32_t algorithm, uint32_t mode, uint32_t show);

// (Pi / 8) log(2 + sqrt(3)) to W = `words` words by the AGM, from Pi (consumed), for Ramanujan's
// Catalan formula, with its console lines when `show`. Returns the number of
// AGM rounds in *rounds when not null.
void catalanLogTerm(Heap* heap, BigFloat* pi, BigFloat* out, uint64_t words, uint32_t threadPower,
                    uint32_t mode, uint32_t show, uint32_t* rounds);

// Entries of the driver: every algorithm, Ram Only and Basic Swap; the
// computation seconds, writing excluded.
double computeZeta3(ComputeSettings* settings);
double computeCatalan(ComputeSettings* settings);
