// The workers that the product front ends call below the transform
// thresholds: the scratch walk, the chop rules, and the choice among
// schoolbook, Karatsuba and Toom-3.
#include <cassert>
#include <cstring>

#include "arith/recursive/recursive.h"

uint64_t recursionScratchWordsFor(uint64_t n, uint64_t karatsubaThreshold,
                                  uint64_t toom3Threshold) {
  uint64_t total = 0;
  while (n >= toom3Threshold) {
    uint64_t q = (n + 2) / 3;
    total += 6 * q + 2;
    n = q + 1;
  }
  while (n >= karatsubaThreshold) {
    uint64_t e = (n + 1) & ~uint64_t(1);
    total += e;
    n = e / 2;
  }
  return total;
}

uint64_t recursionScratchWords(uint64_t n, bool square) {
  if (square) return recursionScratchWordsFor(2 * n, sqrK, sqrT);
  return recursionScratchWordsFor(n, elmK, elmT);
}

uint64_t unbalancedScratchWords(uint64_t lengthA, uint64_t lengthB) {
  if (lengthA == lengthB) return recursionScratchWords(lengthA, false);
  uint64_t shorter = lengthA < lengthB ? lengthA : lengthB;
  return 2 * shorter + recursionScratchWords(shorter, false);
}

namespace {

// Scratch from the heap for the duration of one product; the empty marker
// when no words are needed.
uint32_t* takeScratch(Heap* heap, uint64_t words) {
  return words == 0 ? nullptr : heapAllocateWords(heap, words);
}

void giveScratch(uint32_t* scratch) {
  if (scratch != nullptr) heapRelease(scratch);
}

void formSquare(Heap* heap, const uint32_t* a, uint64_t n, uint32_t* out) {
  uint32_t* scratch = takeScratch(heap, recursionScratchWords(n, true));
  if (n >= sqrT)
    toom3Square(a, n, out, scratch);
  else if (n >= sqrK)
    karatsubaSquare(a, n, out, scratch);
  else if (n == 1) {
    uint64_t s = (uint64_t)a[0] * a[0];
    out[0] = (uint32_t)s;
    out[1] = (uint32_t)(s >> 32);
  } else
    basecaseSquare(a, n, out);
  giveScratch(scratch);
}

void formProduct(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                 uint64_t lengthB, uint32_t* out) {
  if (lengthA == lengthB) {
    uint64_t n = lengthA;
    uint32_t* scratch = takeScratch(heap, recursionScratchWords(n, false));
    if (n >= elmT)
      toom3Multiply(a, b, n, out, scratch);
    else if (n >= elmK)
      karatsubaMultiply(a, b, n, out, scratch);
    else if (n == 1) {
      uint64_t p = (uint64_t)a[0] * b[0];
      out[0] = (uint32_t)p;
      out[1] = (uint32_t)(p >> 32);
    } else
      basecaseMultiply(a, b, n, out);
    giveScratch(scratch);
    return;
  }
  uint64_t shorter = lengthA < lengthB ? lengthA : lengthB;
  uint32_t* scratch = takeScratch(heap, unbalancedScratchWords(lengthA, lengthB));
  if (shorter < elmT)
    unbalancedKaratsuba(a, lengthA, b, lengthB, out, scratch);
  else
    unbalancedToom3(a, lengthA, b, lengthB, out, scratch);
  giveScratch(scratch);
}

// The full product into a temporary, then its words from `chop` upward.
void productAboveChop(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                      uint64_t lengthB, bool square, uint32_t* product, uint64_t chop) {
  uint64_t total = lengthA + lengthB;
  uint32_t* temp = heapAllocateWords(heap, total);
  if (square)
    formSquare(heap, a, lengthA, temp);
  else
    formProduct(heap, a, lengthA, b, lengthB, temp);
  std::memcpy(product, temp + chop, 4 * (total - chop));
  heapRelease(temp);
}

}  // namespace

uint64_t smallSquare(Heap* heap, const uint32_t* a, uint64_t n, uint32_t* product, uint64_t chop) {
  assert(n >= 1 && chop < 2 * n);
  if (chop == 0) {
    formSquare(heap, a, n, product);
    return 0;
  }
  if (chop > n) {
    // Words below d cannot reach word chop of the square except by carries.
    uint64_t d = chop - n;
    a += d;
    n -= d;
    chop = n;
  }
  productAboveChop(heap, a, n, a, n, true, product, chop);
  return 0;
}

uint64_t smallMultiply(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                       uint64_t lengthB, uint32_t* product, uint64_t chop) {
  assert(lengthA >= 1 && lengthB >= 1 && chop < lengthA + lengthB);
  if (chop > lengthA) {
    uint64_t d = chop - lengthA;
    uint64_t e = chop > lengthB ? chop - lengthB : 0;
    lengthA -= e;
    a += e;
    lengthB -= d;
    b += d;
    chop -= d + e;
  } else if (chop > lengthB) {
    uint64_t e = chop - lengthB;
    lengthA -= e;
    a += e;
    chop -= e;
  }
  if (chop != 0)
    productAboveChop(heap, a, lengthA, b, lengthB, false, product, chop);
  else
    formProduct(heap, a, lengthA, b, lengthB, product);
  return 0;
}

uint64_t smallMultiplyEqual(Heap* heap, const uint32_t* a, const uint32_t* b, uint64_t n,
                            uint32_t* product, uint64_t chop) {
  assert(n >= 1 && chop < 2 * n);
  if (chop > n) {
    uint64_t d = chop - n;
    a += d;
    b += d;
    n -= d;
    chop -= 2 * d;
  }
  if (chop != 0)
    productAboveChop(heap, a, n, b, n, false, product, chop);
  else
    formProduct(heap, a, n, b, n, product);
  return 0;
}
