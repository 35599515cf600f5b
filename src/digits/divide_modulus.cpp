// divideAndModulus: one cut of the deconstruction. x is divided by a power
// of 10^9 from the table through its stored reciprocal, with a bounded
// number of corrections; a larger error means a fault, and is fatal.
#include <algorithm>

#include "digits/base_conversion.h"
#include "digits/conversion_internal.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"

namespace {

// Precision that keeps a sum or difference of two non-negative-exponent
// integers exact: the window then reaches down to the lower exponent.
uint64_t exactWindow(const BigFloat& a, const BigFloat& b) {
  int64_t top = std::max(bigFloatPosition(a), bigFloatPosition(b));
  return uint64_t(top > 0 ? top : 0) + 1;
}

// x += sign * 1 for an integer x >= 0 (sign -1 only for x >= 1).
void addOne(Heap* heap, BigFloat* x, bool subtract) {
  BigFloat one;
  bigFloatFromU32(heap, &one, 1);
  if (subtract) one.positive = 0;
  bigFloatAddTo(heap, x, &one, exactWindow(*x, one));
  bigFloatDestroy(&one);
}

// r += sign * d, d a shared table entry: a private view of its record
// carries the sign, so the entry itself is never written.
void addPower(Heap* heap, BigFloat* r, const BigFloat* d, bool subtract) {
  BigFloat view = *d;
  view.positive = subtract ? 0 : 1;
  bigFloatAddTo(heap, r, &view, exactWindow(*r, view));
}

// Narrows a view of a number's record to its top `keep` words (if it has
// more); the dropped words move into the exponent. Only the view changes.
void keepTopWords(BigFloat* view, uint64_t keep) {
  if (view->mantissa.length <= keep) return;
  const uint64_t drop = view->mantissa.length - keep;
  view->mantissa.words += drop;
  view->mantissa.length = keep;
  view->mantissa.capacity = keep;
  view->exponent += int64_t(drop);
}

bool isNegative(const BigFloat& x) {
  return x.positive == 0 && !bigFloatIsZero(x);
}

// Compares |r| with |d| through a private view of d's record (d is in
// memory here), so that the shared entry is never written.
int compareWithPower(Heap* heap, BigFloat* r, const BigFloat* d) {
  BigFloat view = *d;
  return bigFloatCompareMagnitudes(heap, r, &view);
}

}  // namespace

// An integer BigFloat (exponent >= 0, sign ignored) as a BigInt: zero words
// are put below the mantissa for a positive exponent. Consumes x.
void conversionIntegerFromFloat(Heap* heap, BigFloat* x, BigInt* out) {
  if (bigFloatIsZero(*x)) {
    bigFloatDestroy(x);
    bigIntSetZero(out);
    return;
  }
  if (x->exponent < 0) {
    assertionFailure("Impossible Functional Result: ", "Divide and Modulus",
                     "An integer has words below the radix point.");
  }
  if (x->exponent == 0) {
    bigIntMove(out, &x->mantissa);
    return;
  }
  bigIntLoad(heap, &x->mantissa, 1);
  const uint64_t zeros = uint64_t(x->exponent);
  const uint64_t length = x->mantissa.length + zeros;
  uint32_t* words = heapAllocateWords(heap, length + 2);
  std::fill(words, words + zeros, 0u);
  std::copy(x->mantissa.words, x->mantissa.words + x->mantissa.length, words + zeros);
  bigFloatDestroy(x);
  out->length = length;
  out->words = words;
  out->capacity = length + 2;
  out->swap = nullptr;
}

// The division itself. `paged`: the swap form, which pushes each operand of
// a big product to disk first so that the product may run on the disk path
// (the table's entries are then paged out already).
void conversionDivide(Heap* heap, BigInt* x, BigInt* remainderOut, int32_t level,
                      BaseConversionTable* table, uint32_t threads, bool paged) {
  BigFloat* power = &table->power[level];
  BigFloat* inverse = &table->inverse[level];
  if (!paged && conversionDivideShort(heap, x, remainderOut, *power, *inverse)) return;
  const uint64_t p = uint64_t(bigFloatPosition(*power)) + 5;

  BigFloat dividend = {1, 0, *x};
  bigIntSetZero(x);
  if (paged) bigIntPushToDisk(nullptr, &dividend.mantissa, globalSwapPaths);

  // q = floor(x / D) up to a small error, from the reciprocal at p words.
  // With n = D's word position, q < B^(len(x) - n + 1). Only x's words from
  // position n - 2 up enter the product (the rest is below D / B and moves q
  // by less than 1/B), and only the top len(x) - n + 3 words of I (their
  // relative error B^(n - len(x) - 2) moves q by less than 1/B): the product
  // of the whole operands would be up to half again as long.
  // The narrowed operands are views, so both numbers must be in memory: a
  // paged-out one is loaded by the product into what it is given, and a
  // view's copy would never be released.
  BigFloat quotient;
  const uint64_t n = p - 5;
  const uint64_t length = dividend.mantissa.length;
  if (!paged && length > n && dividend.mantissa.words != nullptr &&
      inverse->mantissa.words != nullptr) {
    BigFloat top = dividend;
    BigFloat reciprocal = *inverse;
    keepTopWords(&top, length - n + 2);
    keepTopWords(&reciprocal, length - n + 3);
    bigFloatMultiplyInto(heap, &top, &reciprocal, &quotient, p, threads);
  } else {
    bigFloatMultiplyInto(heap, &dividend, inverse, &quotient, p, threads);
  }
  if (paged) bigIntPushToDisk(nullptr, &inverse->mantissa, globalSwapPaths);
  bigFloatTruncateToInteger(heap, &quotient);
  quotient.positive = 1;
  if (paged) bigIntPushToDisk(nullptr, &quotient.mantissa, globalSwapPaths);

  // r = x - q * D, exact.
  BigFloat product;
  bigFloatMultiplyInto(heap, &quotient, power, &product, 2 * p, threads);
  if (paged) bigIntPushToDisk(nullptr, &power->mantissa, globalSwapPaths);
  bigFloatSubtractFrom(heap, &dividend, &product, exactWindow(dividend, product));
  bigFloatDestroy(&product);
  BigFloat* remainder = &dividend;
  bigIntLoad(heap, &quotient.mantissa, 0);
  if (paged) bigIntLoad(heap, &power->mantissa, 1);

  // The reciprocal is good to a few units of q: at most two corrections up,
  // at most one down.
  uint32_t corrections = 0;
  while (!isNegative(*remainder) && compareWithPower(heap, remainder, power) >= 0) {
    if (++corrections > 2) {
      algorithmicFailure("Divide and Modulus", "More than 2 corrections are needed.");
    }
    addOne(heap, &quotient, false);
    addPower(heap, remainder, power, true);
  }
  uint32_t addBacks = 0;
  while (isNegative(*remainder)) {
    if (++addBacks > 1) algorithmicFailure("Divide and Modulus", "More than 1 add-back is needed.");
    addOne(heap, &quotient, true);
    addPower(heap, remainder, power, false);
  }
  if (paged) bigIntPushToDisk(nullptr, &power->mantissa, globalSwapPaths);

  conversionIntegerFromFloat(heap, &quotient, x);
  conversionIntegerFromFloat(heap, remainder, remainderOut);
}

void divideAndModulus(Heap* heap, BigInt* x, BigInt* remainderOut, int32_t level,
                      BaseConversionTable* table, uint32_t threads) {
  conversionDivide(heap, x, remainderOut, level, table, threads, false);
}
