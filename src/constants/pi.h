// Pi by two hypergeometric series summed by binary splitting:
//
//   Chudnovsky (algorithm 0): P(k) = (6k-1)(6k-5)(2k-1),
//     Q(k) = k^3 * 640320^3 / 24, R(k) = (-1)^k P(k) (545140134 k + 13591409),
//     Pi = 4270934400 Q / (13591409 Q + R) / sqrt(10005);
//   Ramanujan (algorithm 1): P(k) = (4k-1)(4k-3)(2k-1),
//     Q(k) = k^3 * 396^4 / 8, R(k) = P(k) (26390 k + 1103),
//     Pi = 9801 Q / (1103 Q + R) / sqrt(8);
//
// with Q and R the records of the range (0, N]. Chudnovsky's integer records
// hold magnitudes; its merges add or subtract by the parity of the halves.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct Heap;
struct ComputeSettings;

constexpr uint32_t piChudnovsky = 0;
constexpr uint32_t piRamanujan = 1;

// ---- Terms -------------------------------------------------------------------

// Largest k of the 32-bit forms: 6k (Chudnovsky) and 4k (Ramanujan) must
// fit 32 bits.
constexpr uint64_t chudnovskyLimit32 = 715827882;  // 0x2aaaaaaa
constexpr uint64_t ramanujanLimit32 = 1073741824;  // 0x40000000
// Largest k of the 64-bit forms.
constexpr uint64_t piTermLimit64 = uint64_t(1) << 58;
// Words of the term arrays: room for the 64-bit forms' products and carries.
constexpr uint32_t piTermWords = 12;

// One term: P(k), Q(k) and |R(k)|, little-endian words, top word non-zero.
struct PiTerm {
  uint32_t p[piTermWords];
  uint32_t q[piTermWords];
  uint32_t r[piTermWords];
  uint32_t pLength;
  uint32_t qLength;
  uint32_t rLength;
};

// The term of index k (k >= 1). The 32-bit forms take k up to their limit
// and use 64-bit products only; the 64-bit forms take any k up to
// piTermLimit64 and use 128-bit products. Out-of-range k is an assertion.
void chudnovskyTerm32(uint32_t k, PiTerm* term);
void chudnovskyTerm64(uint64_t k, PiTerm* term);
void ramanujanTerm32(uint32_t k, PiTerm* term);
void ramanujanTerm64(uint64_t k, PiTerm* term);
// The term of `algorithm` by the form that k allows.
void piTerm(uint32_t algorithm, uint64_t k, PiTerm* term);

// ---- The two series ------------------------------------------------------------

struct SeriesKind;
struct SplitRecord;

// The binary splitting description of each series: rates, sizes, leaf.
const SeriesKind* piSeriesKind(uint32_t algorithm);

// Words of Q(0, n) and of P(0, n) (extended precision, for the plan and the
// memory figures):
//   size(n)  = (lnQ n + 3 lnFactorial(n)) / (32 ln 2)
//   sizeP(n) = (n ln 72 + 3 lnFactorial(n)) / (32 ln 2)          (Chudnovsky)
//            = (0.75 lnFactorial(4n) - n ln 2) / (32 ln 2)     (Ramanujan)
long double chudnovskySizeWords(long double n);
long double chudnovskySizePWords(long double n);
long double ramanujanSizeWords(long double n);
long double ramanujanSizePWords(long double n);

// The leaf: the numbers of a one-term range (first, first + 1]; longer
// ranges are refused (the serial layer splits them). P only when wantP.
// Q and R come at 4 or 5 words (more past the 32-bit index bound), P at 3.
bool piLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
            uint32_t wantP);

// ---- Compute steps and the entry ---------------------------------------------------

// Pi to wordCount words (2 guard words are added here) into `out`, a fresh
// record: the summation, then the finish. `show` non-zero prints the
// progress lines and times; with it off nothing is printed (stress test).
// The Ram Only form is the one Catalan's constant calls for its Pi.
void piComputeNumber(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                     uint32_t algorithm, uint32_t show);
// The same in Basic Swap: the summation pages its top levels out, the
// finish brings each number in as it is used and inverts by the swap forms.
// The result may be left paged out.
void piComputeNumberSwapped(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                            uint32_t algorithm, uint32_t show);

// The finish: Pi = A Q / (B Q + R) / sqrt(n) at W words, with its console
// lines (when show) and the times since `start` (timerStart). Q and R are
// consumed; `out` is a fresh record.
void piFinish(Heap* heap, BigFloat* q, BigFloat* r, BigFloat* out, uint64_t words,
              uint32_t threadPower, uint32_t algorithm, uint32_t show, uint64_t start);
void piFinishSwapped(Heap* heap, BigFloat* q, BigFloat* r, BigFloat* out, uint64_t words,
                     uint32_t threadPower, uint32_t algorithm, uint32_t show, uint64_t start);

// The entry of the driver: Pi by settings->algorithm in settings->computeMode
// (Ram Only or Basic Swap; any other mode computes nothing and gives 0),
// written in hexadecimal and decimal. Returns the computation time in
// seconds, the writing of the files excluded.
double computePi(ComputeSettings* settings);
