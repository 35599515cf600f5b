// e's three series descriptions and its compute steps: the summation over
// (1, N], then the finish by one reciprocal and one full product (two of
// each for compute and verify). In Basic Swap the numbers that wait are
// pushed to disk, the reciprocals are the swap forms, and the closing
// products take both factors paged out (the disk path for large ones).
#include "constants/e.h"

#include "arith/newton/newton.h"
#include "constants/compute_settings.h"
#include "constants/series.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "platform/console.h"

namespace {

// The three kinds: e has no P, one block starting at index 1 (the terms
// j = 0 and 1 are left out), and N found by search on n! (no fixed rate).
constexpr SeriesKind eKind(uint32_t numerators, uint32_t alternatingMask, SeriesLeaf leaf) {
  SeriesKind kind = {};
  kind.numerators = numerators;
  kind.hasP = 0;
  kind.alternatingMask = alternatingMask;
  kind.leafTerms = eLeafTerms;
  kind.floatLeafTerms = seriesSerialTerms;
  kind.singleBlock = 1;
  kind.firstIndex = 1;
  kind.termsPerWord = 0.0L;
  kind.sizeWords = eSizeWords;
  kind.sizePWords = eSizeWords;  // unused without P
  kind.leaf = leaf;
  return kind;
}

const SeriesKind plusKind = eKind(1, 0, eLeafPlus);
const SeriesKind minusKind = eKind(1, 1, eLeafMinus);
// r[0] for exp(1), r[1] (alternating) for exp(-1), one shared Q.
const SeriesKind bothKind = eKind(2, 2, eLeafBoth);

bool swapMode(uint32_t mode) {
  return mode == computeModeBasicSwap;
}

void destroy(BigFloat* x) {
  bigFloatDestroy(x);
  bigFloatSetZero(x);
}

// Closes the gaps below the arrays of the numbers left, highest first.
void trim2(BigFloat* x, BigFloat* y) {
  bigFloatCompact2(x, y);
}
void trim1(BigFloat* x) {
  BigFloat zero;
  bigFloatSetZero(&zero);
  bigFloatCompact2(x, &zero);
}

// x = 1 / x to p words by the form of the mode. The "Iterating:" line
// starts a progress path of its own.
void invert(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower, uint32_t mode,
            uint32_t show) {
  if (show) progressReset();
  if (swapMode(mode)) {
    bigFloatInvertSwapped(heap, x, p, threadPower, show);
  } else {
    bigFloatInvert(heap, x, p, threadPower, show);
  }
}

void pushIfSwap(BigFloat* x, uint32_t mode) {
  if (swapMode(mode)) bigFloatPushToDisk(x);
}

// "Multiplying..." with the digit count of `words` words.
void printMultiplying(uint64_t words) {
  const uint64_t digits = uint64_t(double(words) * decimalDigitsPerWord) + 1;
  clearStatusLine();
  printWide("Multiplying...    ( " + formatGrouped(digits, 0) + " )");
}

// Writes the integer part 2 by hand: the sum of the terms from j = 2 on is
// below 1, so the word at exponent 0 is free and the product's array has
// room above its top word.
void addIntegerTwo(Heap* heap, BigFloat* x) {
  if (bigFloatIsZero(*x)) {
    bigFloatFromU32(heap, x, 2);
    return;
  }
  BigInt* m = &x->mantissa;
  bigIntLoad(heap, m, 0);
  if (x->exponent + int64_t(m->length) != 0 || m->length >= m->capacity) {
    assertionFailure("addIntegerTwo", "The fraction of e is not below one word", "");
  }
  m->words[m->length] = 2;
  m->length++;
}

// The summation of a kind at W words; the time is printed by the finish.
void sumE(Heap* heap, const SeriesKind* kind, SplitFloats* sum, uint64_t words,
          uint32_t threadPower, uint32_t mode, uint32_t show) {
  sumSeries(heap, kind, sum, words, threadPower, mode, show);
  if (show) clearStatusLine();
}

void printTimeLine(uint64_t start) {
  clearStatusLine();
  printWide("Time: ");
  setColor(11);
  printTime(timerSeconds(start));
  colorDefault();
}

}  // namespace

long double eSizeWords(long double n) {
  return lnFactorialWords(n);
}

const SeriesKind* eSeriesKind(uint32_t algorithm) {
  if (algorithm == eExpMinusOne) return &minusKind;
  if (algorithm == eComputeVerify) return &bothKind;
  return &plusKind;
}

void computeEExpOne(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                    uint32_t mode, uint32_t show) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumE(heap, &plusKind, &sum, words, threadPower, mode, show);
  BigFloat p = sum.r[0];
  BigFloat q = sum.q;
  if (bigFloatIsZero(p)) {
    // N = 1: the sum is empty and e is the integer part alone.
    destroy(&q);
    bigFloatFromU32(heap, out, 2);
    return;
  }
  pushIfSwap(&p, mode);
  invert(heap, &q, words, threadPower, mode, show);
  if (!swapMode(mode)) trim2(&p, &q);
  if (show) printMultiplying(words);
  pushIfSwap(&q, mode);  // both paged: a large product takes the disk path
  bigFloatMultiplyInPlace(heap, &p, &q, words, threadPower);
  destroy(&q);
  trim1(&p);
  addIntegerTwo(heap, &p);
  bigFloatMove(out, &p);
  if (show) printTimeLine(start);
}

void computeEExpMinusOne(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                         uint32_t mode, uint32_t show) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumE(heap, &minusKind, &sum, words, threadPower, mode, show);
  BigFloat p = sum.r[0];
  BigFloat q = sum.q;
  if (bigFloatIsZero(p)) {
    assertionFailure("computeEExpMinusOne", "Empty sum of exp(-1)", "Word count too small");
  }
  pushIfSwap(&q, mode);
  invert(heap, &p, words, threadPower, mode, show);
  if (!swapMode(mode)) trim2(&p, &q);
  if (show) printMultiplying(words);
  pushIfSwap(&p, mode);
  bigFloatMultiplyInPlace(heap, &q, &p, words, threadPower);
  destroy(&p);
  trim1(&q);
  bigFloatMove(out, &q);
  if (show) printTimeLine(start);
}

void computeEVerify(Heap* heap, BigFloat* first, BigFloat* second, uint64_t wordCount,
                    uint32_t threadPower, uint32_t mode, uint32_t show) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumE(heap, &bothKind, &sum, words, threadPower, mode, show);
  BigFloat plus = sum.r[0];
  BigFloat minus = sum.r[1];
  BigFloat q = sum.q;
  if (bigFloatIsZero(minus)) {
    assertionFailure("computeEVerify", "Empty sum of exp(-1)", "Word count too small");
  }
  // The first value: Q / P of exp(-1).
  if (show) printWide("Final Division - 1/exp(-1)...\n");
  pushIfSwap(&plus, mode);
  pushIfSwap(&q, mode);
  invert(heap, &minus, words, threadPower, mode, show);
  if (!swapMode(mode)) trim2(&minus, &q);
  if (show) printMultiplying(words);
  pushIfSwap(&minus, mode);
  bigFloatMultiplyInto(heap, &q, &minus, first, words, threadPower);
  destroy(&minus);
  trim2(first, &q);
  pushIfSwap(first, mode);
  // The second value: 2 + P / Q of exp(1).
  if (show) {
    clearStatusLine();
    printWide("Final Division - exp(1)...\n");
  }
  invert(heap, &q, words, threadPower, mode, show);
  if (!swapMode(mode)) trim2(&plus, &q);
  if (show) printMultiplying(words);
  pushIfSwap(&q, mode);
  bigFloatMultiplyInPlace(heap, &plus, &q, words, threadPower);
  destroy(&q);
  trim1(&plus);
  addIntegerTwo(heap, &plus);
  bigFloatMove(second, &plus);
  if (show) printTimeLine(start);
}
