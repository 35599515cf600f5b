// Arithmetic of the elements of the Fermat ring Z / (2^n + 1), n = 32W:
// addition, subtraction and negation with the overflow word folded back,
// and multiplication by powers of two (sqrt(2) included).
#include <cstdint>
#include <cstring>

#include <immintrin.h>

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

// Word `index` of x << r for an element x whose overflow word is 0, index
// in [1, W]: the two words below meet in one 64-bit shift (r = 0 included).
static inline uint32_t shiftedPair(const uint32_t* x, uint64_t index, uint32_t r) {
  return uint32_t(((uint64_t(x[index]) << 32) | x[index - 1]) >> (32 - r));
}

// out = -2^bits for x = -1 (bits < 2n).
static void shiftMinusOne(uint32_t* out, uint64_t W, uint64_t bits) {
  const uint64_t n = 32 * W;
  memset(out, 0, 4 * (W + 1));
  const bool positive = bits >= n;  // -2^bits = 2^(bits - n)
  if (positive) bits -= n;
  out[bits >> 5] = uint32_t(1) << (bits & 31);
  if (!positive) fermatNegate(out, W);
}

// Two words of x << r at word `index` (1 <= index, index + 1 <= W - 1).
static inline unsigned long long shiftedPair64(const uint32_t* x, uint64_t index, uint32_t r) {
  unsigned long long pair;
  memcpy(&pair, x + index, 8);
  return (pair << r) | (uint64_t(x[index - 1]) >> (32 - r));
}

// out[p] = (first - second - borrow) over words [from, to), where one of
// the two is zero and the other is x << r read at word p + offset.
template <bool xIsSubtracted>
static inline unsigned char shiftRun(uint32_t* out, const uint32_t* x, uint64_t from, uint64_t to,
                                     uint64_t offset, uint32_t r, unsigned char borrow) {
  uint64_t p = from;
  for (; p + 2 <= to; p += 2) {
    const unsigned long long v = shiftedPair64(x, p + offset, r);
    unsigned long long d;
    borrow = xIsSubtracted ? _subborrow_u64(borrow, 0, v, &d) : _subborrow_u64(borrow, v, 0, &d);
    memcpy(out + p, &d, 8);
  }
  if (p < to) {
    const uint32_t v = shiftedPair(x, p + offset, r);
    unsigned int d;
    borrow = xIsSubtracted ? _subborrow_u32(borrow, 0, v, &d) : _subborrow_u32(borrow, v, 0, &d);
    out[p] = d;
  }
  return borrow;
}

void fermatShift(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits) {
  if (x[W] != 0) {
    shiftMinusOne(out, W, bits);
    return;
  }
  const uint64_t n = 32 * W;
  const bool negate = bits >= n;
  if (negate) bits -= n;
  const uint64_t q = bits >> 5;
  const uint32_t r = uint32_t(bits & 31);
  // y = x * 2^bits = A + B 2^n with A, B below 2^n; the result is A - B
  // (B - A when the shift passed n), one borrow chain. B's words land at
  // positions [0, q], A's at [q, W); the single word at q has both.
  const uint32_t lowAtQ = x[0] << r;
  const uint32_t highAtQ = r == 0 ? 0 : x[W - 1] >> (32 - r);
  unsigned char borrow;
  unsigned int d;
  if (!negate) {
    borrow = shiftRun<true>(out, x, 0, q, W - q, r, 0);
    borrow = _subborrow_u32(borrow, lowAtQ, highAtQ, &d);
    out[q] = d;
    borrow = shiftRun<false>(out, x, q + 1, W, uint64_t(0) - q, r, borrow);
  } else {
    borrow = shiftRun<false>(out, x, 0, q, W - q, r, 0);
    borrow = _subborrow_u32(borrow, highAtQ, lowAtQ, &d);
    out[q] = d;
    borrow = shiftRun<true>(out, x, q + 1, W, uint64_t(0) - q, r, borrow);
  }
  fermatFold(out, W, -int64_t(borrow));
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
  fermatShift(out, x, W, (s + 3 * n / 4) % (2 * n));
  fermatShift(scratch, x, W, (s + n / 4) % (2 * n));
  fermatSub(out, out, scratch, W);
}
