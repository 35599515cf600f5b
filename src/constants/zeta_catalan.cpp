// The series of Zeta(3) and Catalan's constant: their descriptions, size
// estimates and one-term leaves.
#include "constants/zeta_catalan.h"

#include "constants/series.h"
#include "constants/term_words.h"
#include "platform/console.h"

namespace {

// Sizes in words: ln of the leading constant of the term's factor a term,
// and the power of k! (Stirling), over 32 ln 2.
long double words(long double lnConstant, long double power, long double n) {
  return (lnConstant * n + power * lnFactorial(n)) * wordsPerNaturalLog;
}

// Formula 2: Q(k) ~ 27 * 32768 k^8, P(k) ~ 8 k^8.
long double formula2Size(long double n) {
  return words(13.693124247311782L, 8.0L, n);
}
long double formula2SizeP(long double n) {
  return words(2.0794415416798357L, 8.0L, n);
}
// Formula 1: Q(k) ~ 1024 k^5, P(k) = k^5.
long double formula1Size(long double n) {
  return words(6.931471805599453L, 5.0L, n);
}
long double formula1SizeP(long double n) {
  return words(0.0L, 5.0L, n);
}
// Lupas: Q(k) ~ 256 k^4, P(k) ~ 64 k^4.
long double lupasSize(long double n) {
  return words(5.545177444479562L, 4.0L, n);
}
long double lupasSizeP(long double n) {
  return words(4.1588830833596715L, 4.0L, n);
}
// Ramanujan's Catalan series: Qa Qb ~ 8192 k^6, P ~ 2 k^2.
long double ramanujanSize(long double n) {
  return words(9.010913347279288L, 6.0L, n);
}
long double ramanujanSizeP(long double n) {
  return words(0.6931471805599453L, 2.0L, n);
}

SeriesKind makeKind(long double termsPerWord, SeriesSize size, SeriesSize sizeP, SeriesLeaf leaf,
                    uint32_t alternating, const void* context) {
  SeriesKind kind = {};
  kind.numerators = 1;
  kind.hasP = 1;
  kind.alternatingMask = alternating;
  kind.leafTerms = 1;
  kind.floatLeafTerms = seriesSerialTerms;
  kind.termsPerWord = termsPerWord;
  kind.sizeWords = size;
  kind.sizePWords = sizeP;
  kind.leaf = leaf;
  kind.context = context;
  return kind;
}

const uint32_t formula2Context = zeta3Formula2;
const uint32_t formula1Context = zeta3Formula1;

const SeriesKind formula2Kind = makeKind(1.909890472011108L, formula2Size, formula2SizeP,
                                         zeta3Leaf, 1, &formula2Context);
const SeriesKind formula1Kind =
    makeKind(3.2L, formula1Size, formula1SizeP, zeta3Leaf, 1, &formula1Context);
SeriesKind makeLupasKind() {
  SeriesKind kind = makeKind(16.0L, lupasSize, lupasSizeP, lupasLeaf, 1, nullptr);
  kind.leafTerms = lupasLeafTerms;
  return kind;
}
const SeriesKind lupasKind = makeLupasKind();

SeriesKind makeRamanujanKind() {
  SeriesKind kind =
      makeKind(8.0L, ramanujanSize, ramanujanSizeP, catalanRamanujanLeaf, 0, nullptr);
  kind.numerators = 2;  // R and Qb
  kind.mergeIntegers = catalanMergeIntegers;
  kind.mergeFloats = catalanMergeFloats;
  kind.mergeFloatsPaged = catalanMergeFloatsPaged;
  return kind;
}
const SeriesKind ramanujanKind = makeRamanujanKind();

void checkIndex(uint64_t k) {
  if (k == 0 || k > zetaCatalanTermLimit) {
    invalidParameters("Zeta(3) and Catalan leaves", "term index out of range");
  }
}

// x = value of the polynomial with the given coefficients (highest first)
// at k, by Horner's rule on words.
void horner(TermWords* x, const uint64_t* coefficients, uint32_t count, uint64_t k) {
  termWordsSet(x, coefficients[0]);
  for (uint32_t i = 1; i < count; i++) {
    termWordsMultiply(x, k);
    termWordsAddSmall(x, coefficients[i]);
  }
}

void toRecord(Heap* heap, SplitRecord* out, const TermWords& p, const TermWords& q,
              const TermWords& r, uint32_t wantP) {
  splitRecordSetZero(out);
  if (wantP) termWordsToSplit(heap, &p, &out->p);
  termWordsToSplit(heap, &q, &out->q);
  termWordsToSplit(heap, &r, &out->r[0]);
}

}  // namespace

const SeriesKind* zeta3SeriesKind(uint32_t algorithm) {
  return algorithm == zeta3Formula1 ? &formula1Kind : &formula2Kind;
}

const SeriesKind* lupasSeriesKind() {
  return &lupasKind;
}

const SeriesKind* catalanRamanujanSeriesKind() {
  return &ramanujanKind;
}

bool zeta3Leaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
               SplitRecord* out, uint32_t wantP) {
  if (last - first != 1) return false;
  const uint64_t k = last;
  checkIndex(k);
  TermWords p, q, r;
  termWordsSet(&p, k);
  for (int i = 0; i < 4; i++) termWordsMultiply(&p, k);
  if (*static_cast<const uint32_t*>(kind->context) == zeta3Formula1) {
    termWordsSet(&q, 4 * k + 2);
    for (int i = 0; i < 4; i++) termWordsMultiply(&q, 4 * k + 2);
    static const uint64_t poly1[] = {205, 250, 77};
    horner(&r, poly1, 3, k);
  } else {
    for (int i = 0; i < 3; i++) termWordsMultiply(&p, 2 * k - 1);
    const unsigned __int128 cube = (unsigned __int128)(8 * k + 2) * (4 * k + 3);
    TermWords c;
    termWordsSet(&c, cube);
    termWordsSet(&q, (unsigned __int128)(9 * k + 3) * (3 * k + 2));
    for (int i = 0; i < 3; i++) termWordsMultiplyBy(&q, &c);
    static const uint64_t poly2[] = {126392, 412708, 531578, 336367, 104000, 12463};
    horner(&r, poly2, 6, k);
  }
  termWordsMultiplyBy(&r, &p);
  toRecord(heap, out, p, q, r, wantP);
  return true;
}

// Lupas' factors of term k: P = k (4k - 2) (4k)^2, the square root of
// Q = ((4k + 1)(4k + 3))^2, and R / P = (5k + 2)(8k + 8) + 3.
struct LupasFactors {
  unsigned __int128 p1, p2, q, poly;
};

LupasFactors lupasFactors(uint64_t k) {
  return {(unsigned __int128)k * (4 * k - 2), (unsigned __int128)(4 * k) * (4 * k),
          (unsigned __int128)(4 * k + 1) * (4 * k + 3), (unsigned __int128)(5 * k + 2) * (8 * k + 8) + 3};
}

bool lupasLeaf(Heap* heap, const SeriesKind*, uint64_t first, uint64_t last, SplitRecord* out,
               uint32_t wantP) {
  const uint64_t terms = last - first;
  if (terms == 0 || terms > lupasLeafTerms) return false;
  // Several terms only while every factor fits 64 bits (k below 2^26).
  if (terms > 1 && last >= lupasIterativeLimit) return false;
  checkIndex(first + 1);
  checkIndex(last);
  TermWords p, q, r;
  LupasFactors f = lupasFactors(first + 1);
  TermWords factor;
  termWordsSet(&p, f.p1);
  termWordsSet(&factor, f.p2);
  termWordsMultiplyBy(&p, &factor);
  termWordsSet(&q, f.q);
  TermWords root = q;
  termWordsMultiplyBy(&q, &root);
  termWordsSet(&r, f.poly);
  termWordsMultiplyBy(&r, &p);
  // Further terms from the left, R carrying the first term's sign:
  // R = R Q(k) -/+ P(a, k) (R(k) / P(k)), P = P P(k), Q = Q Q(k).
  for (uint64_t k = first + 2; k <= last; k++) {
    f = lupasFactors(k);
    termWordsMultiply(&p, uint64_t(f.p1));
    termWordsMultiply(&p, uint64_t(f.p2));
    termWordsMultiply(&r, uint64_t(f.q));
    termWordsMultiply(&r, uint64_t(f.q));
    termWordsMultiply(&q, uint64_t(f.q));
    termWordsMultiply(&q, uint64_t(f.q));
    TermWords t = p;
    termWordsMultiply(&t, uint64_t(f.poly));
    if (((k - first) & 1) == 0) {
      termWordsSubtract(&r, &t);  // terms alternate and fall: R stays positive
    } else {
      termWordsAdd(&r, &t);
    }
  }
  toRecord(heap, out, p, q, r, wantP);
  return true;
}

bool catalanRamanujanLeaf(Heap* heap, const SeriesKind*, uint64_t first, uint64_t last,
                          SplitRecord* out, uint32_t wantP) {
  if (last - first != 1) return false;
  const uint64_t k = last;
  checkIndex(k);
  TermWords p, qa, qb, r;
  termWordsSet(&p, (unsigned __int128)k * (2 * k - 1));
  termWordsSet(&qa, (unsigned __int128)(8 * k - 6) * (4 * k - 1));
  termWordsSet(&qb, (unsigned __int128)(4 * k + 1) * (4 * k + 3));
  TermWords f = qb;
  termWordsMultiplyBy(&qb, &f);
  termWordsSet(&r, (unsigned __int128)(5 * k + 3) * (8 * k + 6) + 1);
  termWordsMultiplyBy(&r, &p);
  toRecord(heap, out, p, qa, r, wantP);
  termWordsToSplit(heap, &qb, &out->r[1]);
  return true;
}
