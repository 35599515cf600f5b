// Addition and subtraction of BigFloats, with the truncation window of the
// precision rule, and the comparison of magnitudes that subtraction needs.
#include <algorithm>

#include "arith/numbers/bigfloat.h"
#include "memory/heap.h"

namespace {

// Word of x at power-of-2^32 position `position`; 0 outside its range.
inline uint32_t wordAt(const BigFloat& x, int64_t position) {
  const int64_t index = position - x.exponent;
  if (index < 0 || uint64_t(index) >= x.mantissa.length) return 0;
  return x.mantissa.words[index];
}

// out[0..n) = a[0..n) +- b[0..n) + carry, where an absent operand reads as
// zeros. carry is 0 or 1 for additions, 0 or -1 (a borrow) for subtractions;
// the new carry is returned. out does not overlap a or b.
template <bool Subtract, bool HasA, bool HasB>
int64_t combineRun(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t n,
                   int64_t carry) {
  auto step = [&](uint64_t i) {
    int64_t sum = carry;
    if constexpr (HasA) sum += a[i];
    if constexpr (HasB) {
      if constexpr (Subtract) sum -= b[i];
      else sum += b[i];
    }
    out[i] = uint32_t(sum);
    carry = sum >> 32;
  };
  uint64_t i = 0;
  for (; i + 1 < n; i += 2) {
    step(i);
    step(i + 1);
  }
  if (i < n) step(i);
  return carry;
}

template <bool Subtract>
int64_t combineSegment(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t n,
                       int64_t carry) {
  if (a && b) return combineRun<Subtract, true, true>(out, a, b, n, carry);
  if (a) return combineRun<Subtract, true, false>(out, a, b, n, carry);
  if (b) return combineRun<Subtract, false, true>(out, a, b, n, carry);
  return combineRun<Subtract, false, false>(out, a, b, n, carry);
}

// Writes a +- b over the positions [low, top) into out[0 .. top - low),
// reading words outside an operand's range as 0, and returns the last carry.
// The window is cut where an operand's range starts or ends, so each piece
// runs one loop without range tests.
template <bool Subtract>
int64_t combineWindow(uint32_t* out, int64_t low, int64_t top, const BigFloat& a,
                      const BigFloat& b) {
  const int64_t aBegin = std::clamp(a.exponent, low, top);
  const int64_t aEnd = std::clamp(bigFloatPosition(a), low, top);
  const int64_t bBegin = std::clamp(b.exponent, low, top);
  const int64_t bEnd = std::clamp(bigFloatPosition(b), low, top);
  int64_t cuts[6] = {low, top, aBegin, aEnd, bBegin, bEnd};
  std::sort(cuts, cuts + 6);
  int64_t carry = 0;
  for (int k = 0; k + 1 < 6; k++) {
    const int64_t start = cuts[k], end = cuts[k + 1];
    if (start == end) continue;
    const uint32_t* aw =
        (start >= aBegin && start < aEnd) ? a.mantissa.words + (start - a.exponent) : nullptr;
    const uint32_t* bw =
        (start >= bBegin && start < bEnd) ? b.mantissa.words + (start - b.exponent) : nullptr;
    carry = combineSegment<Subtract>(out + (start - low), aw, bw, uint64_t(end - start), carry);
  }
  return carry;
}

void loadBoth(Heap* heap, BigFloat* x, BigFloat* y) {
  bigIntLoad(heap, &x->mantissa, 1);
  bigIntLoad(heap, &y->mantissa, 1);
}

// out = a copy of x with its sign and exponent.
void copyFloat(Heap* heap, BigFloat* x, BigFloat* out) {
  out->positive = x->positive;
  out->exponent = x->exponent;
  bigIntCopy(heap, &x->mantissa, &out->mantissa);
}

// Lowest position of the kept window of x + y (both non-zero).
int64_t windowLow(const BigFloat& x, const BigFloat& y, int64_t top, uint64_t p) {
  const int64_t low = top - int64_t(p + 3);
  const int64_t lowestExponent = std::min(x.exponent, y.exponent);
  return low < lowestExponent ? lowestExponent : low;
}

}  // namespace

int bigFloatCompareMagnitudes(Heap* heap, BigFloat* x, BigFloat* y) {
  loadBoth(heap, x, y);
  if (bigFloatIsZero(*x)) return bigFloatIsZero(*y) ? 0 : -1;
  if (bigFloatIsZero(*y)) return 1;
  const int64_t px = bigFloatPosition(*x), py = bigFloatPosition(*y);
  if (px != py) return px > py ? 1 : -1;
  const int64_t lowest = std::min(x->exponent, y->exponent);
  for (int64_t i = px - 1; i >= lowest; i--) {
    const uint32_t wx = wordAt(*x, i), wy = wordAt(*y, i);
    if (wx != wy) return wx > wy ? 1 : -1;
  }
  return 0;
}

void bigFloatAdd(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p) {
  loadBoth(heap, x, y);
  const bool xZero = bigFloatIsZero(*x), yZero = bigFloatIsZero(*y);
  if (xZero && yZero) {
    bigFloatSetZero(out);
    return;
  }
  if (yZero) {
    copyFloat(heap, x, out);
    return;
  }
  if (xZero) {
    copyFloat(heap, y, out);
    return;
  }

  const bool subtract = x->positive != y->positive;
  const BigFloat* a = x;  // the minuend of a subtraction
  const BigFloat* b = y;
  if (subtract) {
    const int order = bigFloatCompareMagnitudes(heap, x, y);
    if (order == 0) {
      bigFloatSetZero(out);
      return;
    }
    if (order < 0) std::swap(a, b);
  }

  const int64_t top = std::max(bigFloatPosition(*x), bigFloatPosition(*y));
  const int64_t low = windowLow(*x, *y, top, p);
  const uint64_t n = uint64_t(top - low);
  uint32_t* words = heapAllocateWords(heap, n + 3);
  uint64_t length = n;
  if (subtract) {
    combineWindow<true>(words, low, top, *a, *b);
    while (length > 0 && words[length - 1] == 0) length--;
    if (length == 0) {
      heapRelease(words);
      bigFloatSetZero(out);
      return;
    }
  } else {
    const int64_t carry = combineWindow<false>(words, low, top, *a, *b);
    words[n] = uint32_t(carry);
    if (carry != 0) length++;
  }
  out->positive = a->positive;
  out->exponent = low;
  out->mantissa.length = length;
  out->mantissa.words = words;
  out->mantissa.capacity = n + 3;
  out->mantissa.swap = nullptr;
}

void bigFloatAddTo(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p) {
  BigFloat sum;
  bigFloatAdd(heap, x, y, &sum, p);
  bigFloatDestroy(x);
  bigFloatMove(x, &sum);
}

void bigFloatSubtractFrom(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p) {
  if (x == y) {
    // x - x: flipping y would flip x as well.
    bigFloatDestroy(x);
    bigFloatSetZero(x);
    return;
  }
  const bool flip = !bigFloatIsZero(*y);
  if (flip) y->positive ^= 1;
  bigFloatAddTo(heap, x, y, p);
  if (flip) y->positive ^= 1;
}

int64_t bigFloatAddAgreeing(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p) {
  loadBoth(heap, x, y);
  int64_t top = 0, low = 0;
  if (bigFloatIsZero(*x) || bigFloatIsZero(*y)) {
    // Against a zero every word of the other number differs; its top word
    // is the highest.
    const BigFloat& other = bigFloatIsZero(*x) ? *y : *x;
    top = bigFloatPosition(other);
    low = top;
    if (!bigFloatIsZero(other)) low = top - 1;
  } else {
    top = std::max(bigFloatPosition(*x), bigFloatPosition(*y));
    low = windowLow(*x, *y, top, p);
  }
  int64_t differing = low - 1;
  for (int64_t i = top - 1; i >= low; i--) {
    if (wordAt(*x, i) != wordAt(*y, i)) {
      differing = i;
      break;
    }
  }
  bigFloatAdd(heap, x, y, out, p);
  return differing;
}
