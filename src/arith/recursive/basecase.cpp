// Schoolbook squares and products on word arrays. The even part of each
// operand goes through the 64-bit limb loops; an odd top word is a 32-bit
// limb whose rows are added at a limb boundary (word n - 1 is even when n is
// odd), so no limb is ever read or written past the arrays.
#include <cassert>

#include "arith/recursive/basecase_fixed.h"
#include "arith/recursive/basecase_limbs.h"
#include "arith/recursive/recursive.h"

namespace {

void storeWide(uint32_t* out, uint64_t value) {
  out[0] = (uint32_t)value;
  out[1] = (uint32_t)(value >> 32);
}

}  // namespace

// out[0 .. 2n) = a^2, n >= 1. out must not overlap a.
void basecaseSquare(const uint32_t* a, uint64_t n, uint32_t* out) {
  assert(n >= 1);
  if (n <= basecaseFixedMaximum) {
    fixedSquareKernels[n](a, out);
    return;
  }
  uint64_t m = n / 2;
  Limb* r = asLimbs(out);
  limbsSquareBasecase(r, asLimbs(a), m);
  if (n & 1) {
    // a = A + x * 2^(64m): a^2 = A^2 + 2xA * 2^(64m) + x^2 * 2^(128m).
    uint64_t x = a[n - 1];
    r[2 * m] = x * x;
    r[2 * m] += limbsAddMultiply1(r + m, asLimbs(a), m, 2 * x);
  }
}

// out[0 .. 2n) = a * b, n >= 1. out must not overlap a or b.
void basecaseMultiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  assert(n >= 1);
  if (n <= basecaseFixedMaximum) {
    fixedMultiplyKernels[n](a, b, out);
    return;
  }
  uint64_t m = n / 2;
  Limb* r = asLimbs(out);
  limbsMultiplyBasecase(r, asLimbs(a), m, asLimbs(b), m);
  if (n & 1) {
    uint64_t x = a[n - 1], y = b[n - 1];
    r[2 * m] = x * y;
    r[2 * m] += limbsAddMultiply1(r + m, asLimbs(b), m, x);
    r[2 * m] += limbsAddMultiply1(r + m, asLimbs(a), m, y);
  }
}

// out[0 .. lengthA + lengthB) = a * b, lengths >= 1: rows over the longer
// operand. out must not overlap a or b.
void basecaseMultiplyRows(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                          uint32_t* out) {
  assert(lengthA >= 1 && lengthB >= 1);
  if (lengthA < lengthB) {
    const uint32_t* t = a;
    a = b;
    b = t;
    uint64_t l = lengthA;
    lengthA = lengthB;
    lengthB = l;
  }
  uint64_t total = lengthA + lengthB;
  if (lengthA == 1) {
    storeWide(out, (uint64_t)a[0] * b[0]);
    return;
  }
  uint64_t ma = lengthA / 2, mb = lengthB / 2;
  bool oddA = lengthA & 1, oddB = lengthB & 1;
  Limb* r = asLimbs(out);
  if (mb == 0) {
    // One row of one word: its carry is below 2^32.
    uint64_t carry = limbsMultiply1(r, asLimbs(a), ma, b[0]);
    if (oddA)
      storeWide(out + 2 * ma, (uint64_t)a[lengthA - 1] * b[0] + carry);
    else
      out[2 * ma] = (uint32_t)carry;
    return;
  }
  limbsMultiplyBasecase(r, asLimbs(a), ma, asLimbs(b), mb);
  if (oddA && oddB) {
    uint64_t x = a[lengthA - 1], y = b[lengthB - 1];
    r[ma + mb] = x * y;
    r[ma + mb] += limbsAddMultiply1(r + ma, asLimbs(b), mb, x);
    r[ma + mb] += limbsAddMultiply1(r + mb, asLimbs(a), ma, y);
  } else if (oddA) {
    out[total - 1] = (uint32_t)limbsAddMultiply1(r + ma, asLimbs(b), mb, a[lengthA - 1]);
  } else if (oddB) {
    out[total - 1] = (uint32_t)limbsAddMultiply1(r + mb, asLimbs(a), ma, b[lengthB - 1]);
  }
}
