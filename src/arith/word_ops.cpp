// Shared loops over word arrays: carries and borrows with 64-bit arithmetic.
#include "arith/word_ops.h"

uint32_t addWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  uint64_t carry = 0;
  uint64_t i = 0;
  for (; i + 2 <= n; i += 2) {
    uint64_t s0 = (uint64_t)target[i] + source[i] + carry;
    uint64_t s1 = (uint64_t)target[i + 1] + source[i + 1] + (s0 >> 32);
    target[i] = (uint32_t)s0;
    target[i + 1] = (uint32_t)s1;
    carry = s1 >> 32;
  }
  if (i < n) {
    uint64_t s = (uint64_t)target[i] + source[i] + carry;
    target[i] = (uint32_t)s;
    carry = s >> 32;
  }
  return (uint32_t)carry;
}

uint32_t subtractWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  int64_t acc = 0;
  for (uint64_t i = 0; i < n; i++) {
    acc += (int64_t)target[i] - (int64_t)source[i];
    target[i] = (uint32_t)acc;
    acc >>= 32;
  }
  return (uint32_t)(-acc);
}

void subtractWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  int64_t acc = 0;
  for (uint64_t i = 0; i < n; i++) {
    acc += (int64_t)a[i] - (int64_t)b[i];
    out[i] = (uint32_t)acc;
    acc >>= 32;
  }
}

uint32_t rippleCarry(uint32_t* target, uint64_t n, uint32_t carry) {
  for (uint64_t i = 0; carry != 0 && i < n; i++) {
    uint32_t t = target[i] + carry;
    carry = t < carry;
    target[i] = t;
  }
  return carry;
}

void rippleSignedCarry(uint32_t* target, uint64_t n, int64_t carry) {
  for (uint64_t i = 0; carry != 0 && i < n; i++) {
    carry += target[i];
    target[i] = (uint32_t)carry;
    carry >>= 32;
  }
}

int compareWords(const uint32_t* a, const uint32_t* b, uint64_t n) {
  for (uint64_t i = n; i-- > 0;) {
    if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
  }
  return 0;
}
