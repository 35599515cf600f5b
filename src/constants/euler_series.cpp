// The two series of Euler's constant: their descriptions, size estimates,
// term counts, one-term leaves and the four-number merges of series A and B.
#include <array>
#include <cmath>
#include <initializer_list>

#include "constants/euler.h"
#include "constants/series.h"
#include "constants/split_ops.h"
#include "memory/heap.h"

namespace {

constexpr long double ln2 = 0.6931471805599453L;

// The mantissas grow as (j!)^2 (q^2 against y) in series A and B: its
// split point balances that size.
long double mainSize(long double n) {
  return 2.0L * lnFactorialWords(n);
}
long double mainSizeX(long double n) {
  return lnFactorialWords(n);
}
// Series C without its powers of two: Q = j!, P = ((2j - 1)!!)^3 with
// (2j - 1)!! = (2j)! / (2^j j!).
long double correctionSizeP(long double n) {
  return 3.0L * (lnFactorial(2.0L * n) - lnFactorial(n) - n * ln2) * wordsPerNaturalLog;
}
long double correctionSize(long double n) {
  return lnFactorialWords(n) + correctionSizeP(n);
}

constexpr uint32_t largestK = 63;

struct Kinds {
  uint32_t k[largestK + 1];
  SeriesKind main[largestK + 1];
  SeriesKind correction[largestK + 1];
};

Kinds makeKinds() {
  static Kinds kinds;  // the contexts point into it
  for (uint32_t k = 0; k <= largestK; k++) {
    kinds.k[k] = k;
    SeriesKind main = {};
    main.numerators = 2;  // y and z
    main.hasP = 1;        // x
    main.leafTerms = eulerLeafTerms;
    main.floatLeafTerms = seriesSerialTerms;
    main.singleBlock = 1;
    main.sizeWords = mainSize;
    main.sizePWords = mainSizeX;
    main.leaf = eulerLeaf;
    main.mergeIntegers = eulerMergeIntegers;
    main.mergeFloats = eulerMergeFloats;
    main.mergeFloatsPaged = eulerMergeFloatsPaged;
    main.context = &kinds.k[k];
    kinds.main[k] = main;
    SeriesKind correction = main;
    correction.numerators = 1;
    correction.sizeWords = correctionSize;
    correction.sizePWords = correctionSizeP;
    correction.leafTerms = 1;
    correction.leaf = eulerCorrectionLeaf;
    correction.mergeIntegers = nullptr;
    correction.mergeFloats = nullptr;
    correction.mergeFloatsPaged = nullptr;
    kinds.correction[k] = correction;
  }
  return kinds;
}

const Kinds& allKinds() {
  static const Kinds kinds = makeKinds();
  return kinds;
}

uint32_t kOf(const SeriesKind* kind) {
  return *static_cast<const uint32_t*>(kind->context);
}

// A fresh number of value * 2^bits: the whole words of the power go to the
// stripped count, the rest shifts the value (128 bits at most).
void numberTimesPower(Heap* heap, SplitNumber* number, unsigned __int128 value, uint64_t bits) {
  uint32_t* words = splitNumberAllocate(heap, number, 6);
  const unsigned __int128 low = value << (bits & 31);
  const unsigned __int128 high = (bits & 31) == 0 ? 0 : value >> (128 - (bits & 31));
  for (int i = 0; i < 4; i++) words[i] = uint32_t(low >> (32 * i));
  words[4] = uint32_t(high);
  words[5] = 0;
  splitNumberFinish(number, 5);
  if (number->length != 0) number->stripped += bits >> 5;
}

}  // namespace

const SeriesKind* eulerSeriesKind(uint32_t k) {
  return &allKinds().main[k > largestK ? largestK : k];
}

const SeriesKind* eulerCorrectionKind(uint32_t k) {
  return &allKinds().correction[k > largestK ? largestK : k];
}

long double eulerTermWords(uint32_t k, long double terms) {
  return (terms * (long double)k * ln2 - stirlingConstant -
          (terms + 0.5L) * (logl(terms) - 1.0L)) *
         0.09016844005556021L;
}

uint64_t eulerMainTerms(uint32_t k, uint64_t words) {
  const long double n = ldexpl(1.0L, int(k));
  const long double target = truncl(eulerTermWords(k, n)) - (long double)words;
  uint64_t high = uint64_t(n);
  while (target < truncl(eulerTermWords(k, (long double)high))) high *= 2;
  uint64_t low = high / 2;
  while (high - low > 1) {
    const uint64_t middle = low + (high - low) / 2;
    if (target < truncl(eulerTermWords(k, (long double)middle))) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return high;
}

uint64_t eulerCorrectionSkipWords(uint32_t k) {
  return uint64_t(4.0L * ldexpl(1.0L, int(k)) * wordsPerNaturalLog);
}

uint64_t eulerCorrectionTerms(uint32_t k, uint64_t words) {
  const uint64_t n = uint64_t(1) << k;
  const long double wanted = -(long double)words;
  auto size = [k](uint64_t m) {
    const long double x = (long double)m;
    return truncl((3.0L * lnFactorial(2.0L * x) - 4.0L * lnFactorial(x) -
                   2.0L * x * (long double)(k + 4) * ln2) *
                  wordsPerNaturalLog);
  };
  uint64_t low = 1;
  uint64_t high = 2 * n;
  while (high - low > 1) {
    const uint64_t middle = low + (high - low) / 2;
    const long double s = size(middle);
    if (s == wanted) return middle;
    if (s > wanted) {
      low = middle;
    } else {
      high = middle;
    }
  }
  return high;
}

// Term j = first + 1 of series C: P = R = (2j - 1)^3, Q = j 2^(2k + 5).
bool eulerCorrectionLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                         SplitRecord* out, uint32_t wantP) {
  if (last - first != 1) return false;
  const unsigned __int128 odd = 2 * (unsigned __int128)last - 1;
  const unsigned __int128 cube = odd * odd * odd;
  splitRecordSetZero(out);
  if (wantP) numberTimesPower(heap, &out->p, cube, 0);
  numberTimesPower(heap, &out->q, last, 2 * uint64_t(kOf(kind)) + 5);
  numberTimesPower(heap, &out->r[0], cube, 0);
  return true;
}

// In this order, each operand released at its last use:
//   x1 = x1 q2; x2 = x2 q1; x = x1 + x2;  z2 = z2 q1;  q = q1 q2;
//   z1 = z1 q2; q2 = q2^2; z1 = z1 q2;  x1 = x1 y2; z = z1 + x1 + z2;
//   y1 = y1 q2; y = y1 + y2.
void eulerMergeIntegers(Heap* heap, const SeriesKind*, SplitRecord* left, SplitRecord* right,
                        SplitRecord* out, uint64_t, uint64_t, uint32_t wantP,
                        uint32_t threadPower) {
  SplitNumber& x1 = left->p;
  SplitNumber& q1 = left->q;
  SplitNumber& y1 = left->r[0];
  SplitNumber& z1 = left->r[1];
  SplitNumber& x2 = right->p;
  SplitNumber& q2 = right->q;
  SplitNumber& y2 = right->r[0];
  SplitNumber& z2 = right->r[1];
  splitRecordSetZero(out);
  // Products that share an operand are formed together (one transform of
  // it where both are direct FFT products); the values are the same.
  SplitNumber product, other;
  splitNumberMultiplyShared(heap, q2, x1, &product, q1, &out->q, threadPower);
  splitNumberRelease(&x1);
  x1 = product;
  if (wantP) {
    splitNumberMultiplyShared(heap, q1, x2, &product, z2, &other, threadPower);
    splitNumberRelease(&z2);
    z2 = other;
    splitNumberRelease(&x2);
    x2 = product;
    splitNumberAdd(heap, x1, x2, &out->p);
  } else {
    splitNumberMultiplyInPlace(heap, &z2, q1, threadPower);
  }
  splitNumberRelease(&x2);
  splitNumberRelease(&q1);
  splitNumberMultiplyInPlace(heap, &z1, q2, threadPower);
  SplitNumber square;
  splitNumberMultiply(heap, q2, q2, &square, threadPower);
  splitNumberRelease(&q2);
  splitNumberMultiplyShared(heap, square, z1, &product, y1, &other, threadPower);
  splitNumberRelease(&square);
  splitNumberRelease(&y1);
  y1 = other;
  splitNumberRelease(&z1);
  z1 = product;
  splitNumberMultiplyInPlace(heap, &x1, y2, threadPower);
  SplitNumber t;
  splitNumberAdd(heap, z1, x1, &t);
  splitNumberRelease(&z1);
  splitNumberRelease(&x1);
  splitNumberAdd(heap, t, z2, &out->r[1]);
  splitNumberRelease(&t);
  splitNumberRelease(&z2);
  splitNumberAdd(heap, y1, y2, &out->r[0]);
  splitNumberRelease(&y1);
  splitNumberRelease(&y2);
  SplitNumber* numbers[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  splitNumbersCompact(numbers, 4);
}

namespace {

void destroy(BigFloat* x) {
  if (!bigFloatIsZero(*x)) bigFloatDestroy(x);
  bigFloatSetZero(x);
}

// x becomes `value` (moved), its old storage released.
void replace(BigFloat* x, BigFloat* value) {
  destroy(x);
  *x = *value;
  bigFloatSetZero(value);
}

// outB = a * b and outC = a * c at p words with one transform of a; false,
// nothing done, where the products don't allow it.
bool sharedInto(Heap* heap, BigFloat* a, BigFloat* b, BigFloat* outB, BigFloat* c,
                BigFloat* outC, uint64_t p) {
  if (bigFloatIsZero(*a) || bigFloatIsZero(*b) || bigFloatIsZero(*c)) return false;
  return bigFloatMultiplyShared(heap, a, b, outB, p, c, outC, p);
}

// out = a + b at p words; both consumed.
void addConsuming(Heap* heap, BigFloat* a, BigFloat* b, BigFloat* out, uint64_t p) {
  bigFloatAdd(heap, a, b, out, p);
  destroy(a);
  destroy(b);
}

// The same steps in floats at `p`, every number in memory. Products that
// share an operand are formed together where one transform of it serves
// both (sharedInto); the values are the same.
void mergeFloatsInMemory(Heap* heap, SplitFloats* left, SplitFloats* right, SplitFloats* out,
                         uint64_t p, uint32_t wantP, uint32_t threadPower) {
  BigFloat* x1 = &left->p;
  BigFloat* q1 = &left->q;
  BigFloat* y1 = &left->r[0];
  BigFloat* z1 = &left->r[1];
  BigFloat* x2 = &right->p;
  BigFloat* q2 = &right->q;
  BigFloat* y2 = &right->r[0];
  BigFloat* z2 = &right->r[1];
  splitFloatsSetZero(out);
  BigFloat product, other;
  if (sharedInto(heap, q2, x1, &product, q1, &out->q, p)) {
    replace(x1, &product);
  } else {
    bigFloatMultiplyInPlace(heap, x1, q2, p, threadPower);
    bigFloatMultiplyInto(heap, q1, q2, &out->q, p, threadPower);
  }
  if (wantP && sharedInto(heap, q1, x2, &product, z2, &other, p)) {
    replace(x2, &product);
    replace(z2, &other);
    bigFloatAdd(heap, x1, x2, &out->p, p);
  } else {
    if (wantP) {
      bigFloatMultiplyInPlace(heap, x2, q1, p, threadPower);
      bigFloatAdd(heap, x1, x2, &out->p, p);
    }
    bigFloatMultiplyInPlace(heap, z2, q1, p, threadPower);
  }
  destroy(x2);
  destroy(q1);
  bigFloatMultiplyInPlace(heap, z1, q2, p, threadPower);
  bigFloatSquareInPlace(heap, q2, p, threadPower);
  if (sharedInto(heap, q2, z1, &product, y1, &other, p)) {
    replace(z1, &product);
    replace(y1, &other);
  } else {
    bigFloatMultiplyInPlace(heap, z1, q2, p, threadPower);
    bigFloatMultiplyInPlace(heap, y1, q2, p, threadPower);
  }
  destroy(q2);
  bigFloatMultiplyInPlace(heap, x1, y2, p, threadPower);
  BigFloat t;
  addConsuming(heap, z1, x1, &t, p);
  addConsuming(heap, &t, z2, &out->r[1], p);
  addConsuming(heap, y1, y2, &out->r[0], p);
  BigFloat* results[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  void** pointers[4];
  for (uint32_t i = 0; i < 4; i++) pointers[i] = reinterpret_cast<void**>(&results[i]->mantissa.words);
  heapCompactBlocks(pointers, 4);
}

// The same steps in floats at `p` in the stated order, paged: both records
// go to disk first, and every number that is used again and every result
// after each step, so that only one step's numbers are in memory (large
// products of paged operands take the disk path).
void mergeFloatsPaged(Heap* heap, SplitFloats* left, SplitFloats* right, SplitFloats* out,
                      uint64_t p, uint32_t wantP, uint32_t threadPower) {
  BigFloat* x1 = &left->p;
  BigFloat* q1 = &left->q;
  BigFloat* y1 = &left->r[0];
  BigFloat* z1 = &left->r[1];
  BigFloat* x2 = &right->p;
  BigFloat* q2 = &right->q;
  BigFloat* y2 = &right->r[0];
  BigFloat* z2 = &right->r[1];
  splitFloatsPushToDisk(left);
  splitFloatsPushToDisk(right);
  auto park = [](std::initializer_list<BigFloat*> numbers) {
    for (BigFloat* x : numbers) bigFloatPushToDisk(x);
  };
  splitFloatsSetZero(out);
  bigFloatMultiplyInPlace(heap, x1, q2, p, threadPower);
  park({x1, q2});
  if (wantP) {
    bigFloatMultiplyInPlace(heap, x2, q1, p, threadPower);
    park({q1});
    bigFloatAdd(heap, x1, x2, &out->p, p);
    park({x1, &out->p});
  }
  destroy(x2);
  bigFloatMultiplyInPlace(heap, z2, q1, p, threadPower);
  park({z2, q1});
  bigFloatMultiplyInto(heap, q1, q2, &out->q, p, threadPower);
  destroy(q1);
  park({q2, &out->q});
  bigFloatMultiplyInPlace(heap, z1, q2, p, threadPower);
  park({z1});
  bigFloatSquareInPlace(heap, q2, p, threadPower);
  park({q2});
  bigFloatMultiplyInPlace(heap, z1, q2, p, threadPower);
  park({z1, q2});
  bigFloatMultiplyInPlace(heap, x1, y2, p, threadPower);
  park({x1, y2});
  BigFloat t;
  addConsuming(heap, z1, x1, &t, p);
  addConsuming(heap, &t, z2, &out->r[1], p);
  park({&out->r[1]});
  bigFloatMultiplyInPlace(heap, y1, q2, p, threadPower);
  destroy(q2);
  addConsuming(heap, y1, y2, &out->r[0], p);
  park({&out->r[0]});
}

void mergeFloats(Heap* heap, SplitFloats* left, SplitFloats* right, SplitFloats* out, uint64_t p,
                 uint32_t wantP, uint32_t threadPower, bool paged) {
  if (paged) {
    mergeFloatsPaged(heap, left, right, out, p, wantP, threadPower);
  } else {
    mergeFloatsInMemory(heap, left, right, out, p, wantP, threadPower);
  }
}

}  // namespace

void eulerMergeFloats(Heap* heap, const SeriesKind*, SplitFloats* left, SplitFloats* right,
                      SplitFloats* out, uint64_t p, uint64_t, uint32_t wantP,
                      uint32_t threadPower) {
  mergeFloats(heap, left, right, out, p, wantP, threadPower, false);
}

void eulerMergeFloatsPaged(Heap* heap, const SeriesKind*, SplitFloats* left, SplitFloats* right,
                           SplitFloats* out, uint64_t p, uint64_t, uint32_t wantP,
                           uint32_t threadPower) {
  mergeFloats(heap, left, right, out, p, wantP, threadPower, true);
}
