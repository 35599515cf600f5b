// divideAndModulus for short numbers: the same division as the general form
// (the quotient from the top words of x times the top words of the
// reciprocal, floored; the remainder exact; at most two corrections up and
// one add-back) in word arithmetic on the stack. At the low levels of the
// deconstruction there are tens of thousands of these divisions, and the
// product front end, the heap blocks and the BigFloat steps of the general
// form cost more than the products themselves.
#include <algorithm>
#include <cstring>

#include "digits/conversion_internal.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "platform/console.h"

namespace {

// Room for every array of a division with D of at most shortDivideWords
// words by position and x of at most 2 * shortDivideWords + 2 words.
constexpr uint64_t capacityWords = 4 * shortDivideWords + 16;

// out[0 .. la + lb) = a * b by schoolbook; out overlaps neither operand.
void multiplyShort(const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out) {
  std::fill(out, out + la + lb, 0u);
  for (uint64_t i = 0; i < la; ++i) {
    const uint64_t ai = a[i];
    uint64_t carry = 0;
    for (uint64_t j = 0; j < lb; ++j) {
      const uint64_t v = ai * b[j] + out[i + j] + carry;
      out[i + j] = uint32_t(v);
      carry = v >> 32;
    }
    out[i + lb] = uint32_t(carry);
  }
}

uint64_t trimmed(const uint32_t* words, uint64_t n) {
  while (n > 0 && words[n - 1] == 0) --n;
  return n;
}

// r = r +- d * B^shift over `width` words in two's complement (the carry out
// of the top is dropped). Words of r below `shift` are not touched.
void addShifted(uint32_t* r, uint64_t width, const uint32_t* d, uint64_t ld, uint64_t shift,
                bool subtract) {
  uint64_t carry = subtract ? 1 : 0;
  const uint32_t flip = subtract ? ~0u : 0u;
  for (uint64_t i = shift; i < width; ++i) {
    const uint32_t di = (i - shift < ld ? d[i - shift] : 0u) ^ flip;
    const uint64_t v = uint64_t(r[i]) + di + carry;
    r[i] = uint32_t(v);
    carry = v >> 32;
  }
}

bool isNegative(const uint32_t* r, uint64_t width) {
  return (r[width - 1] >> 31) != 0;
}

// r >= d * B^shift for a non-negative r of `width` words.
bool atLeast(const uint32_t* r, uint64_t width, const uint32_t* d, uint64_t ld, uint64_t shift) {
  const uint64_t lr = trimmed(r, width);
  if (lr != ld + shift) return lr > ld + shift;
  for (uint64_t i = lr; i-- > shift;) {
    if (r[i] != d[i - shift]) return r[i] > d[i - shift];
  }
  return true;
}

// q +- 1 on `length` words (q + 1 may carry into word `length`, which the
// caller has room for; q - 1 only for q >= 1).
void stepQuotient(uint32_t* q, uint64_t length, bool down) {
  for (uint64_t i = 0; i <= length; ++i) {
    const uint32_t before = q[i];
    q[i] = down ? before - 1 : before + 1;
    if (down ? before != 0 : q[i] != 0) return;
  }
}

}  // namespace

bool conversionDivideShort(Heap* heap, BigInt* x, BigInt* remainderOut, const BigFloat& power,
                           const BigFloat& inverse) {
  const uint64_t n = uint64_t(bigFloatPosition(power));
  const uint64_t xl = x->length;
  const uint64_t ld = power.mantissa.length;
  const uint64_t li = inverse.mantissa.length;
  if (n > shortDivideWords || xl > 2 * n + 2 || power.exponent < 0 || li > 2 * n + 16 ||
      x->words == nullptr || power.mantissa.words == nullptr || inverse.mantissa.words == nullptr) {
    return false;
  }
  if (xl == 0) {
    bigIntSetZero(remainderOut);
    return true;
  }

  // The quotient's operands as the general form narrows them.
  const uint32_t* a = x->words;
  uint64_t la = xl;
  int64_t exponent = inverse.exponent;
  const uint32_t* b = inverse.mantissa.words;
  uint64_t lb = li;
  if (xl > n) {
    const uint64_t drop = n >= 2 ? n - 2 : 0;
    a += drop;
    la -= drop;
    exponent += int64_t(drop);
    const uint64_t keep = xl - n + 3;
    if (lb > keep) {
      b += lb - keep;
      exponent += int64_t(lb - keep);
      lb = keep;
    }
  }
  uint32_t product[capacityWords];
  multiplyShort(a, la, b, lb, product);
  const uint64_t lp = la + lb;

  // q = floor(product * B^exponent), with a spare word for the corrections.
  uint32_t q[capacityWords];
  uint64_t lq;
  if (exponent >= 0) {
    lq = lp + uint64_t(exponent);
    if (lq + 1 > capacityWords) return false;
    std::fill(q, q + exponent, 0u);
    std::copy(product, product + lp, q + exponent);
  } else {
    const uint64_t start = uint64_t(-exponent);
    lq = start < lp ? lp - start : 0;
    std::copy(product + (lp - lq), product + lp, q);
  }
  lq = trimmed(q, lq);
  q[lq] = 0;

  // r = x - q * D in two's complement, D = mantissa * B^exponent.
  const uint64_t shift = uint64_t(power.exponent);
  const uint64_t width = std::max(xl, lq + ld + shift) + 2;
  if (width > capacityWords) return false;
  uint32_t t[capacityWords];
  multiplyShort(q, lq, power.mantissa.words, ld, t);
  uint32_t r[capacityWords];
  std::copy(x->words, x->words + xl, r);
  std::fill(r + xl, r + width, 0u);
  addShifted(r, width, t, lq + ld, shift, true);

  uint32_t corrections = 0;
  while (!isNegative(r, width) && atLeast(r, width, power.mantissa.words, ld, shift)) {
    if (++corrections > 2) {
      algorithmicFailure("Divide and Modulus", "More than 2 corrections are needed.");
    }
    stepQuotient(q, lq, false);
    lq = trimmed(q, lq + 1);
    q[lq] = 0;
    addShifted(r, width, power.mantissa.words, ld, shift, true);
  }
  uint32_t addBacks = 0;
  while (isNegative(r, width)) {
    if (++addBacks > 1) algorithmicFailure("Divide and Modulus", "More than 1 add-back is needed.");
    stepQuotient(q, lq, true);
    lq = trimmed(q, lq);
    addShifted(r, width, power.mantissa.words, ld, shift, false);
  }

  // The quotient goes back into x's array (it is shorter than x), the
  // remainder into a new one.
  if (lq == 0) {
    bigIntDestroy(x);
    bigIntSetZero(x);
  } else {
    if (lq > x->capacity) {
      bigIntDestroy(x);
      x->words = heapAllocateWords(heap, lq);
      x->capacity = lq;
      x->swap = nullptr;
    }
    // A copy of x on disk no longer matches it.
    bigIntDropSwap(x);
    std::copy(q, q + lq, x->words);
    x->length = lq;
  }
  const uint64_t lr = trimmed(r, width);
  bigIntSetZero(remainderOut);
  if (lr != 0) {
    remainderOut->words = heapAllocateWords(heap, lr);
    std::copy(r, r + lr, remainderOut->words);
    remainderOut->length = lr;
    remainderOut->capacity = lr;
  }
  return true;
}
