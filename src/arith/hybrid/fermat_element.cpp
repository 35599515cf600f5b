// Arithmetic of the elements of the Fermat ring Z / (2^n + 1), n = 32W:
// addition, subtraction and negation with the overflow word folded back,
// and multiplication by powers of two (sqrt(2) included).
#include <cstdint>

#include "arith/hybrid/fermat.h"

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

void fermatShift(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits) {
  fermatShiftWords(out, x, W, bits);
}

void fermatShiftHalf(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t e, uint32_t* scratch) {
  const uint64_t n = 32 * W;
  e %= 4 * n;
  if ((e & 1) == 0) {
    fermatShiftWords(out, x, W, e >> 1);
    return;
  }
  // 2^(e/2) = 2^s sqrt(2) = 2^(s + n/4) (2^(n/2) - 1), s = (e - 1) / 2.
  fermatShiftWords(out, x, W, ((e >> 1) + n / 4) % (2 * n));
  if (fermatTimesRootTwoFactor(out, W)) return;
  fermatShiftWords(scratch, out, W, n / 2);
  fermatSub(out, scratch, out, W);
}
