// Schoolbook loops over 64-bit limbs with 128-bit products.
#include "arith/recursive/basecase_limbs.h"

typedef unsigned __int128 u128;

uint64_t limbsMultiply1(Limb* r, const Limb* a, uint64_t n, uint64_t m) {
  uint64_t carry = 0;
  uint64_t i = 0;
  for (; i + 2 <= n; i += 2) {
    u128 t0 = (u128)a[i] * m + carry;
    u128 t1 = (u128)a[i + 1] * m + (uint64_t)(t0 >> 64);
    r[i] = (uint64_t)t0;
    r[i + 1] = (uint64_t)t1;
    carry = (uint64_t)(t1 >> 64);
  }
  if (i < n) {
    u128 t = (u128)a[i] * m + carry;
    r[i] = (uint64_t)t;
    carry = (uint64_t)(t >> 64);
  }
  return carry;
}

uint64_t limbsAddMultiply1(Limb* r, const Limb* a, uint64_t n, uint64_t m) {
  uint64_t carry = 0;
  uint64_t i = 0;
  for (; i + 2 <= n; i += 2) {
    u128 t0 = (u128)a[i] * m + r[i] + carry;
    u128 t1 = (u128)a[i + 1] * m + r[i + 1] + (uint64_t)(t0 >> 64);
    r[i] = (uint64_t)t0;
    r[i + 1] = (uint64_t)t1;
    carry = (uint64_t)(t1 >> 64);
  }
  if (i < n) {
    u128 t = (u128)a[i] * m + r[i] + carry;
    r[i] = (uint64_t)t;
    carry = (uint64_t)(t >> 64);
  }
  return carry;
}

void limbsMultiplyBasecase(Limb* r, const Limb* a, uint64_t an, const Limb* b, uint64_t bn) {
  r[an] = limbsMultiply1(r, a, an, b[0]);
  for (uint64_t i = 1; i < bn; i++) r[an + i] = limbsAddMultiply1(r + i, a, an, b[i]);
}

void limbsSquareBasecase(Limb* r, const Limb* a, uint64_t n) {
  if (n == 1) {
    u128 s = (u128)a[0] * a[0];
    r[0] = (uint64_t)s;
    r[1] = (uint64_t)(s >> 64);
    return;
  }
  // Cross products a[i] * a[j], i < j, summed at r[i + j].
  r[0] = 0;
  r[n] = limbsMultiply1(r + 1, a + 1, n - 1, a[0]);
  for (uint64_t i = 1; i + 1 < n; i++)
    r[i + n] = limbsAddMultiply1(r + 2 * i + 1, a + i + 1, n - 1 - i, a[i]);
  r[2 * n - 1] = 0;
  // Double the cross sum and add the squares, pair by pair, rising.
  uint64_t shiftIn = 0;  // top bit of the previous pair
  uint64_t carry = 0;    // 0 or 1
  for (uint64_t i = 0; i < n; i++) {
    uint64_t lo = r[2 * i], hi = r[2 * i + 1];
    u128 doubled = ((u128)((hi << 1) | (lo >> 63)) << 64) | ((lo << 1) | shiftIn);
    shiftIn = hi >> 63;
    u128 square = (u128)a[i] * a[i];
    u128 sum = doubled + square;
    uint64_t over = sum < doubled;
    u128 total = sum + carry;
    over += total < sum;
    r[2 * i] = (uint64_t)total;
    r[2 * i + 1] = (uint64_t)(total >> 64);
    carry = over;
  }
}
