// Binary splitting: the one machinery that sums every hypergeometric series
// of the program. A series is given by its term functions P(k), Q(k), R(k)
// (k counting from 1) through a leaf that builds the numbers of a short range
// (a, b], meaning the terms a+1 .. b, and by a size estimate of Q(0, n) in
// words. For a range:
//   P(a,b) = prod P(k),  Q(a,b) = prod Q(k),
//   R(a,b) = R(a,m) * Q(m,b) +/- P(a,m) * R(m,b)      (any split point m)
// so that R(a,b) / Q(a,b) is the sum of the range's terms. Alternating
// numerators keep magnitudes: the sign is minus when m - a is odd.
//
// A summation turns a precision in words into a term count, cuts the terms
// into blocks (SeriesPlan), sums each block through the progress, thread and
// serial layers down to the leaf, merges the blocks from the last one down at
// truncated precision, and hands back floats R (one or two numerators) and Q
// whose quotient is the sum. The caller divides and finishes.
//
// Everything a series varies is in its SeriesKind: counts of numbers, the
// leaf, the size estimates and a few bounds. The layers are generic code
// over that record. Sizes are 32-bit words; memory figures are bytes.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct Heap;

// ---- Size estimates --------------------------------------------------------

// 1 / (32 ln 2): words per unit of natural logarithm.
constexpr long double wordsPerNaturalLog = 0.045084220027780106L;
// 0.5 ln(2 pi) + 0.5, the constant of Stirling's approximation below.
constexpr long double stirlingConstant = 1.4189385332046727L;

// ln(n!) by Stirling: (n + 1.5) (ln(n + 1) - 1) + 1.4189385332046727, in
// extended precision.
long double lnFactorial(long double n);
// Words of n!: lnFactorial(n) * wordsPerNaturalLog.
long double lnFactorialWords(long double n);

// ---- Records -----------------------------------------------------------------

// One number of a range in integer form. Low zero words are stripped: the
// value is words[0 .. length) * 2^(32 * stripped). The words between `base`
// and `words` are zero (they are the stripped run, or cleared), so the number
// can become a BigFloat on `base` without moving a word. A zero number has
// length 0. `base` is the allocation (released with heapRelease).
struct SplitNumber {
  uint64_t stripped;  // low zero words removed
  uint64_t length;    // words from `words` up, the top one non-zero
  uint32_t* words;    // first non-zero word
  uint32_t* base;     // the allocation, or null
  uint64_t capacity;  // words allocated at `base`
};

// Numerators that share one Q: 1 for most series, 2 for the verifying form
// of e (exp(1) and exp(-1) summed together).
constexpr uint32_t seriesMaxNumerators = 2;

// The numbers of one range in integer form (below a block's top). `p` is
// unused when the series has P(k) = 1 or when the caller asks for no P.
struct SplitRecord {
  SplitNumber p;
  SplitNumber q;
  SplitNumber r[seriesMaxNumerators];
};

// The numbers of one range in float form (block tops, truncated blocks and
// the whole sum). Signs are real here: an alternating numerator is negative
// when the first term of its range, a + 1, is odd.
struct SplitFloats {
  BigFloat p;
  BigFloat q;
  BigFloat r[seriesMaxNumerators];
};

// One block of a summation plan.
struct SeriesBlock {
  uint64_t precision;   // words this block must still deliver, 0 at the least
  uint64_t first;       // range bound a
  uint64_t last;        // range bound b
  uint32_t topLevels;   // depth at which the block stops using all threads per product
  uint32_t swapLevels;  // halvings of the block's memory need to fit the budget (swap only)
  uint32_t reserved;    // always 0
  uint32_t swapFlag;    // 1: even halved, twice the need exceeds the budget (swap only)
  uint32_t shift;       // 0: summed exactly in integers; else in truncated floats
};

// Growable list of blocks; owns its storage (standard allocator).
struct SeriesPlan {
  SeriesBlock* blocks;
  uint64_t count;
  uint64_t capacity;
};

// ---- The description of a series ------------------------------------------------

struct SeriesKind;

// Builds the numbers of (first, last] into `out` (fresh records allocated
// from `heap`; p only when wantP and the series has P). Returns false when
// the range is not one the leaf takes (too long, or indices past its word
// size): the serial layer then splits it at the midpoint. A range of one
// term must always be taken.
using SeriesLeaf = bool (*)(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                            SplitRecord* out, uint32_t wantP);
// A size in words as a function of a term count (extended precision).
using SeriesSize = long double (*)(long double terms);
// Optional replacements of the standard merges, for series whose numbers do
// not combine as P, Q, R (null: the standard merge). `first` is the left
// range's a, `middle` the split point. The inputs are consumed.
using SeriesMergeIntegers = void (*)(Heap* heap, const SeriesKind* kind, SplitRecord* left,
                                     SplitRecord* right, SplitRecord* out, uint64_t first,
                                     uint64_t middle, uint32_t wantP, uint32_t threadPower);
using SeriesMergeFloats = void (*)(Heap* heap, const SeriesKind* kind, SplitFloats* left,
                                   SplitFloats* right, SplitFloats* out, uint64_t leftPrecision,
                                   uint64_t rightPrecision, uint32_t wantP, uint32_t threadPower);

struct SeriesKind {
  uint32_t numerators;       // R numbers sharing Q: 1 or 2
  uint32_t hasP;             // 0: P(k) = 1 for every k, no P anywhere (e)
  uint32_t alternatingMask;  // bit i: numerator i alternates in sign
  uint32_t leafTerms;        // the serial layer hands ranges of at most this many terms to the leaf
  uint32_t floatLeafTerms;   // the float serial layer enters the integers at this many terms
  uint32_t singleBlock;      // 1: one block over the whole range (e), no plan search
  uint64_t firstIndex;       // the summed range is (firstIndex, N]
  long double termsPerWord;  // 1 / w for a fixed rate; 0: N by search on sizeWords
  SeriesSize sizeWords;      // words of Q(0, n): term count, split point, plan
  SeriesSize sizePWords;     // words of P(0, n), for memory figures only
  SeriesLeaf leaf;
  SeriesMergeIntegers mergeIntegers;   // null: standard
  SeriesMergeFloats mergeFloats;       // null: standard
  const void* context;                 // the series' own data, for its leaf
  SeriesMergeFloats mergeFloatsPaged;  // Basic Swap form of mergeFloats (null: standard)
};

// Flags of the layers.
constexpr uint32_t seriesWantP = 1;         // the caller needs P of this range
constexpr uint32_t seriesShowProgress = 2;  // this recursion prints progress lines
constexpr uint32_t seriesSwapMode = 4;      // Basic Swap: top levels page their halves out

// Ranges from this many terms are split at the size midpoint, not the
// plain one; from seriesThreadTerms on, the progress and thread layers split.
constexpr uint64_t seriesSizeSplitTerms = 100;
constexpr uint64_t seriesThreadTerms = 1000;
// The serial layer's usual leaf bound.
constexpr uint32_t seriesSerialTerms = 32;

// ---- Term count, split point, plan -------------------------------------------------

// N for `words` words: trunc(words * termsPerWord) + 1 for a fixed rate;
// otherwise the least N with sizeWords(N) >= words, by doubling from 1 and
// bisection.
uint64_t termsForWords(uint64_t words, const SeriesKind* kind);

// The split point of (a, b]: the plain midpoint below 100 terms, else the
// m where sizeWords reaches half of size(a) + size(b) (the upper bound of
// the bisection). a < m < b for b - a >= 2.
uint64_t splitPoint(const SeriesKind* kind, uint64_t a, uint64_t b);

// topLevels of a block over `words` words on 2^threads threads: 1, or 2 when
// the top products are large enough to be split a second time.
uint32_t seriesTopLevels(uint64_t words, uint32_t threads);

void seriesPlanInit(SeriesPlan* plan, uint64_t capacity);
void seriesPlanAppend(SeriesPlan* plan, const SeriesBlock& block);
void seriesPlanRelease(SeriesPlan* plan);

// Fills `plan` for `words` words (guard words included) and returns N.
// `mode`: 1 Ram Only, 2 Basic Swap, 3 swap-aware last levels, 0 level fields
// off. A singleBlock series gets its one block (firstIndex, N].
// `memoryBudget` (bytes) is compared with each block's need in swap modes.
uint64_t buildSeriesPlan(SeriesPlan* plan, const SeriesKind* kind, uint64_t memoryBudget,
                         uint64_t words, uint32_t threads, uint32_t mode);

// Memory need in bytes of a block from `first` to `last` at `precision`
// words, before the shift: the numbers, 32 bytes a precision word and the
// larger product workspace.
uint64_t seriesBlockNeed(const SeriesKind* kind, uint64_t first, uint64_t last, uint64_t precision,
                         uint32_t threads);

// ---- Summation -----------------------------------------------------------------------

// The whole summation of (firstIndex, N] for `words` words (the caller's
// count plus its guard words). Prints "Summing Series:  N terms" when `show`.
// `threads` is the thread exponent of the run (0 for one thread); the
// recursion gets threads + 1 when it is non-zero. `mode` is the compute mode
// (1 Ram Only, 2 Basic Swap). Results: out->q and out->r[0 .. numerators),
// fresh records (in Basic Swap they may be left on disk); out->p is left the
// zero. Returns N.
uint64_t sumSeries(Heap* heap, const SeriesKind* kind, SplitFloats* out, uint64_t words,
                   uint32_t threads, uint32_t mode, uint32_t show);

// The driver over a built plan of N terms: the blocks from the last one to
// the first, each merged into the accumulator. `threadExponent` is the
// recursion's (already raised by one). Under 100 terms the plan is not read
// and (firstIndex, N] is summed serially.
void sumSeriesPlan(Heap* heap, const SeriesKind* kind, const SeriesPlan* plan, uint64_t terms,
                   uint64_t words, uint32_t threadExponent, uint32_t flags, SplitFloats* out);

// ---- The layers (integer form) -----------------------------------------------------------
// Each sums (first, last] into `out` (fresh records). `flags` carries
// seriesWantP, seriesShowProgress and seriesSwapMode.

void seriesProgressLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                         SplitRecord* out, const SeriesBlock* block, uint32_t level,
                         uint32_t threads, uint32_t flags);
void seriesThreadLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                       SplitRecord* out, uint32_t threads, uint32_t flags);
void seriesSerialLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                       SplitRecord* out, uint32_t flags);

// ---- The layers (float form, every result truncated at block->precision) ------------------

void seriesProgressLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                              SplitFloats* out, const SeriesBlock* block, uint32_t level,
                              uint32_t threads, uint32_t flags);
void seriesThreadLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                            SplitFloats* out, const SeriesBlock* block, uint32_t threads,
                            uint32_t flags);
void seriesSerialLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                            SplitFloats* out, const SeriesBlock* block, uint32_t flags);

// ---- Merges ----------------------------------------------------------------------------

// out = the numbers of (first, last] from left = (first, middle] and right =
// (middle, last]; inputs consumed, results stripped. Uses kind->mergeIntegers
// when set.
void seriesMergeIntegers(Heap* heap, const SeriesKind* kind, SplitRecord* left, SplitRecord* right,
                         SplitRecord* out, uint64_t first, uint64_t middle, uint32_t wantP,
                         uint32_t threadPower);
// The same in floats with signs: Q and R1*Q2 at leftPrecision, P1*R2 at
// rightPrecision, R at leftPrecision, P at leftPrecision when wanted. Uses
// kind->mergeFloats when set.
void seriesMergeFloats(Heap* heap, const SeriesKind* kind, SplitFloats* left, SplitFloats* right,
                       SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                       uint32_t wantP, uint32_t threadPower);

// The float merge for Basic Swap: every operand is brought in just before
// its product and every operand and result is pushed to disk after it, so
// that only one product's numbers are in memory. Results are left on disk.
// Uses kind->mergeFloatsPaged when set; a kind with its own merge and no
// paged form has its records loaded and merged in memory.
void seriesMergeFloatsPaged(Heap* heap, const SeriesKind* kind, SplitFloats* left,
                            SplitFloats* right, SplitFloats* out, uint64_t leftPrecision,
                            uint64_t rightPrecision, uint32_t wantP, uint32_t threadPower);
// Pages all numbers of a float record out (globalSwapPaths), or back in.
void splitFloatsPushToDisk(SplitFloats* record);
void splitFloatsLoad(Heap* heap, SplitFloats* record);

// ---- Helpers for leaves and finishes ---------------------------------------------------------

// A fresh number with `capacity` words at base (length 0, nothing stripped).
uint32_t* splitNumberAllocate(Heap* heap, SplitNumber* number, uint64_t capacity);
// Sets the length from the top down (zero top words dropped) given at most
// `length` words at `words`, then strips the low zero words.
void splitNumberFinish(SplitNumber* number, uint64_t length);
// A fresh number of the value (3 words of capacity).
void splitNumberFromU64(Heap* heap, SplitNumber* number, uint64_t value);
// Releases the allocation; the record becomes the zero.
void splitNumberRelease(SplitNumber* number);
void splitNumberSetZero(SplitNumber* number);
// The number as a BigFloat on the same storage (no word moves; the record
// is emptied). Zero gives the canonical zero.
void splitNumberToFloat(SplitNumber* number, BigFloat* out, uint32_t positive);
// Truncates a float to its top p + 3 words in place (low words dropped, the
// exponent raised). seriesWhole keeps everything.
constexpr uint64_t seriesWhole = ~uint64_t(0);
void seriesTruncateFloat(BigFloat* x, uint64_t p);
// Records of a range: set all to zero; release all.
void splitRecordSetZero(SplitRecord* record);
void splitRecordRelease(SplitRecord* record);
void splitFloatsSetZero(SplitFloats* record);
void splitFloatsRelease(SplitFloats* record);
// Converts a range's integer record to floats with the signs of the range
// starting at `first` (alternating numerators negative when first + 1 is
// odd), each truncated to its top precision + 3 words (seriesWhole: kept).
void splitRecordToFloats(const SeriesKind* kind, SplitRecord* record, SplitFloats* out,
                         uint64_t first, uint64_t precision);
