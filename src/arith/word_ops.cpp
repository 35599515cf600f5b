// Shared loops over word arrays. The bulk runs over 64-bit limbs (pairs of
// words) with the processor's carry flag; an odd last word is done alone.
#include "arith/word_ops.h"

#include <x86intrin.h>

#include "arith/basecase_limbs.h"

typedef unsigned long long ull;

uint32_t addWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  Limb* t = asLimbs(target);
  const Limb* s = asLimbs(source);
  uint64_t limbs = n / 2;
  unsigned char carry = 0;
  for (uint64_t i = 0; i < limbs; i++) {
    ull sum;
    carry = _addcarry_u64(carry, t[i], s[i], &sum);
    t[i] = sum;
  }
  if (n & 1) {
    uint64_t sum = (uint64_t)target[n - 1] + source[n - 1] + carry;
    target[n - 1] = (uint32_t)sum;
    carry = (unsigned char)(sum >> 32);
  }
  return carry;
}

uint32_t subtractWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  Limb* t = asLimbs(target);
  const Limb* s = asLimbs(source);
  uint64_t limbs = n / 2;
  unsigned char borrow = 0;
  for (uint64_t i = 0; i < limbs; i++) {
    ull difference;
    borrow = _subborrow_u64(borrow, t[i], s[i], &difference);
    t[i] = difference;
  }
  if (n & 1) {
    uint64_t difference = (uint64_t)target[n - 1] - source[n - 1] - borrow;
    target[n - 1] = (uint32_t)difference;
    borrow = (unsigned char)(difference >> 63);
  }
  return borrow;
}

uint32_t subtractWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  const Limb* x = asLimbs(a);
  const Limb* y = asLimbs(b);
  Limb* r = asLimbs(out);
  uint64_t limbs = n / 2;
  unsigned char borrow = 0;
  for (uint64_t i = 0; i < limbs; i++) {
    ull difference;
    borrow = _subborrow_u64(borrow, x[i], y[i], &difference);
    r[i] = difference;
  }
  if (n & 1) {
    uint64_t difference = (uint64_t)a[n - 1] - b[n - 1] - borrow;
    out[n - 1] = (uint32_t)difference;
    borrow = (unsigned char)(difference >> 63);
  }
  return borrow;
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
