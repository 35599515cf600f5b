// Arithmetic of the elements of the Fermat ring Z / (2^n + 1), n = 32W:
// addition, subtraction and negation with the overflow word folded back,
// and multiplication by powers of two (sqrt(2) included).
#include <cstdint>

#include "arith/fermat.h"

void fermatFold(uint32_t* x, uint64_t W, int64_t top) {
  x[W] = 0;
  if (top == 0) return;
  if (top < 0) {
    // v + u with u = -top: a carry out of the words is one more 2^n, that
    // is one less; what is left then (below u) takes the subtraction below.
    uint64_t carry = uint64_t(-top);
    for (uint64_t i = 0; i < W && carry != 0; i++) {
      uint64_t sum = uint64_t(x[i]) + carry;
      x[i] = uint32_t(sum);
      carry = sum >> 32;
    }
    if (carry != 0) fermatFold(x, W, 1);
    return;
  }
  // v - u: a borrow out leaves v - u + 2^n in the words, and the residue
  // is that plus 1 (adding the modulus); 2^n itself is the -1 form.
  uint64_t borrow = uint64_t(top);
  for (uint64_t i = 0; i < W && borrow != 0; i++) {
    uint64_t word = x[i];
    x[i] = uint32_t(word - borrow);
    borrow = word < borrow ? 1 : 0;
  }
  if (borrow == 0) return;
  uint64_t carry = 1;
  for (uint64_t i = 0; i < W && carry != 0; i++) {
    uint64_t sum = uint64_t(x[i]) + carry;
    x[i] = uint32_t(sum);
    carry = sum >> 32;
  }
  x[W] = uint32_t(carry);
}

void fermatAdd(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t W) {
  uint64_t acc = 0;
  for (uint64_t i = 0; i < W; i++) {
    acc = (acc >> 32) + a[i] + b[i];
    out[i] = uint32_t(acc);
  }
  int64_t top = int64_t(acc >> 32) + a[W] + b[W];
  fermatFold(out, W, top);
}

void fermatSub(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t W) {
  int64_t acc = 0;
  for (uint64_t i = 0; i < W; i++) {
    acc = (acc >> 32) + int64_t(a[i]) - int64_t(b[i]);
    out[i] = uint32_t(acc);
  }
  int64_t top = (acc >> 32) + int64_t(a[W]) - int64_t(b[W]);
  fermatFold(out, W, top);
}

void fermatNegate(uint32_t* x, uint64_t W) {
  int64_t acc = 0;
  for (uint64_t i = 0; i < W; i++) {
    acc = (acc >> 32) - int64_t(x[i]);
    x[i] = uint32_t(acc);
  }
  fermatFold(x, W, (acc >> 32) - int64_t(x[W]));
}

// Word i of y = x << (32s + r), x of W + 1 words.
static inline uint32_t shiftedWord(const uint32_t* x, uint64_t W, uint64_t s, uint32_t r,
                                   uint64_t i) {
  if (i < s) return 0;
  uint64_t index = i - s;
  if (r == 0) return index <= W ? x[index] : 0;
  uint32_t low = index <= W ? x[index] << r : 0;
  uint32_t high = (index >= 1 && index <= W + 1) ? x[index - 1] >> (32 - r) : 0;
  return low | high;
}

void fermatShift(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits) {
  const uint64_t n = 32 * W;
  const bool negate = bits >= n;
  if (negate) bits -= n;
  const uint64_t s = bits >> 5;
  const uint32_t r = uint32_t(bits & 31);
  // y = x * 2^bits below 2^(2n + 1): its low n bits minus the rest.
  int64_t acc = 0;
  if (r == 0) {
    // Whole words: word j of x lands at j + s; the s top words wrap negated.
    for (uint64_t i = 0; i < W; i++) {
      int64_t low = i >= s ? int64_t(x[i - s]) : 0;
      int64_t high = i + W >= s && i + W - s <= W ? int64_t(x[i + W - s]) : 0;
      acc = (acc >> 32) + low - high;
      out[i] = uint32_t(acc);
    }
  } else {
    for (uint64_t i = 0; i < W; i++) {
      acc = (acc >> 32) + int64_t(shiftedWord(x, W, s, r, i)) -
            int64_t(shiftedWord(x, W, s, r, i + W));
      out[i] = uint32_t(acc);
    }
  }
  int64_t top = (acc >> 32) - int64_t(shiftedWord(x, W, s, r, 2 * W));
  fermatFold(out, W, top);
  if (negate) fermatNegate(out, W);
}

void fermatShiftHalf(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t e, uint32_t* scratch) {
  const uint64_t n = 32 * W;
  e %= 4 * n;
  if ((e & 1) == 0) {
    fermatShift(out, x, W, e >> 1);
    return;
  }
  // 2^(e/2) = 2^s * sqrt(2) = 2^(s + 3n/4) - 2^(s + n/4), s = (e - 1) / 2.
  const uint64_t s = e >> 1;
  uint32_t* first = scratch;
  uint32_t* second = scratch + W + 1;
  fermatShift(first, x, W, (s + 3 * n / 4) % (2 * n));
  fermatShift(second, x, W, (s + n / 4) % (2 * n));
  fermatSub(out, first, second, W);
}
