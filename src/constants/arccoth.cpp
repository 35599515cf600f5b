// The ArcCoth series: its descriptions for the six x in use, its iterative
// leaf in two widths, and ArcCothSum, the summation and finish
//   ArcCoth(x) = (Q + R) / (x Q).
#include <cmath>
#include <string>

#include "constants/constant_steps.h"
#include "constants/log.h"
#include "constants/series.h"
#include "constants/term_words.h"
#include "platform/console.h"

namespace {

// ln(s) / (32 ln 2) words a term and lnFactorial(2n) / (64 ln 2) for the
// odd factors: the words of s^n (2n + 1)!!.
template <uint32_t X>
long double sizeWords(long double n) {
  return arcCothSizeWords(X, n);
}

// P(0, n) = (2n + 1)!! / 1.
long double sizePWords(long double n) {
  return lnFactorial(2.0L * n) * 0.022542110013890053L;
}

// s = x^2 is the context of each kind.
template <uint32_t X>
struct ArcCothKind {
  static constexpr uint64_t s = uint64_t(X) * X;
  static SeriesKind make() {
    SeriesKind kind = {};
    kind.numerators = 1;
    kind.hasP = 1;
    kind.alternatingMask = 0;
    kind.leafTerms = arcCothLeafTerms;
    kind.floatLeafTerms = 8;
    kind.singleBlock = 0;
    kind.firstIndex = 0;
    kind.termsPerWord = 1.0L / (logl((long double)X) * 0.09016844005556021L);
    kind.sizeWords = sizeWords<X>;
    kind.sizePWords = sizePWords;
    kind.leaf = arcCothLeaf;
    kind.context = &s;
    return kind;
  }
};

const SeriesKind kind26 = ArcCothKind<26>::make();
const SeriesKind kind99 = ArcCothKind<99>::make();
const SeriesKind kind251 = ArcCothKind<251>::make();
const SeriesKind kind449 = ArcCothKind<449>::make();
const SeriesKind kind4801 = ArcCothKind<4801>::make();
const SeriesKind kind8749 = ArcCothKind<8749>::make();

// The numbers of (a, b] for b - a >= 2, in the 32-bit form (every odd factor
// c below 2^32, so s c fits 64 bits and each term is one word pass) or the
// wide form (c of 64 bits, two passes a term).
void iterativeRange(uint64_t a, uint64_t b, uint64_t s, TermWords* p, TermWords* q,
                    TermWords* r) {
  const bool narrow = b <= arcCothLimit32;
  const unsigned __int128 c1 = 2 * (unsigned __int128)a + 3;
  const unsigned __int128 c2 = 2 * (unsigned __int128)a + 5;
  termWordsSet(p, c1 * c2);
  termWordsSet(r, c1 + c2 * s);
  *q = *p;
  // s^2 takes 64 bits once s passes 16 bits.
  termWordsMultiply(q, s * s);
  for (uint64_t k = a + 3; k <= b; k++) {
    const uint64_t c = 2 * k + 1;
    if (narrow) {
      termWordsMultiply(r, s * c);
      termWordsMultiply(q, s * c);
    } else {
      termWordsMultiply(r, s);
      termWordsMultiply(r, c);
      termWordsMultiply(q, s);
      termWordsMultiply(q, c);
    }
    termWordsAdd(r, p);
    termWordsMultiply(p, c);
  }
}

}  // namespace

long double arcCothSizeWords(uint32_t x, long double n) {
  return logl((long double)x) * 0.09016844005556021L * n +
         lnFactorial(2.0L * n) * 0.022542110013890053L;
}

const SeriesKind* arcCothSeriesKind(uint32_t x) {
  switch (x) {
    case 26:
      return &kind26;
    case 99:
      return &kind99;
    case 251:
      return &kind251;
    case 449:
      return &kind449;
    case 4801:
      return &kind4801;
    case 8749:
      return &kind8749;
    default:
      return nullptr;
  }
}

bool arcCothLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                 SplitRecord* out, uint32_t wantP) {
  const uint64_t terms = last - first;
  if (terms == 0 || terms > arcCothLeafTerms) return false;
  const uint64_t s = *static_cast<const uint64_t*>(kind->context);
  TermWords p, q, r;
  if (terms == 1) {
    const unsigned __int128 c = 2 * (unsigned __int128)first + 3;
    termWordsSet(&p, c);
    termWordsSet(&q, c);
    termWordsMultiply(&q, s);
    termWordsSet(&r, 1);
  } else {
    iterativeRange(first, last, s, &p, &q, &r);
  }
  splitRecordSetZero(out);
  if (wantP) termWordsToSplit(heap, &p, &out->p);
  termWordsToSplit(heap, &q, &out->q);
  termWordsToSplit(heap, &r, &out->r[0]);
  return true;
}

void arcCothSum(Heap* heap, BigFloat* out, uint32_t x, uint64_t words, uint32_t threadPower,
                uint32_t mode, uint32_t show) {
  const SeriesKind* kind = arcCothSeriesKind(x);
  if (kind == nullptr) invalidParameters("ArcCothSum", "no series for this x");
  const uint64_t start = show ? timerStart() : 0;
  if (show) printWide("ArcCoth( " + std::to_string(x) + " ):  ");
  SplitFloats sum;
  constantSumQuietly(heap, kind, &sum, words, threadPower, mode, show);
  if (show) clearStatusLine();
  constantRatioFinish(heap, &sum.q, &sum.r[0], 1, 1, x, out, words, threadPower, mode, show);
  if (show) {
    clearStatusLine();
    printWide("ArcCoth( " + std::to_string(x) + " ):  ");
    constantPrintColoredTime(11, start);
    printWide("\n");
  }
}
