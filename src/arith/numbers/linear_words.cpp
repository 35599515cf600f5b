// Shift and word-multiply kernels on plain word arrays.
#include "arith/numbers/linear_words.h"

uint32_t linearShiftLeft(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t bits) {
  const uint32_t back = 32 - bits;
  const uint32_t top = a[n - 1] >> back;
  uint64_t i = n - 1;
  // Pairs from the top: out[i] takes the low bits of a[i - 1].
  while (i >= 2) {
    const uint32_t hi = a[i], mid = a[i - 1], lo = a[i - 2];
    out[i] = (hi << bits) | (mid >> back);
    out[i - 1] = (mid << bits) | (lo >> back);
    i -= 2;
  }
  if (i == 1) {
    out[1] = (a[1] << bits) | (a[0] >> back);
  }
  out[0] = a[0] << bits;
  return top;
}

void linearShiftRight(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t bits) {
  const uint32_t back = 32 - bits;
  uint64_t i = 0;
  for (; i + 2 < n; i += 2) {
    const uint32_t lo = a[i], mid = a[i + 1], hi = a[i + 2];
    out[i] = (lo >> bits) | (mid << back);
    out[i + 1] = (mid >> bits) | (hi << back);
  }
  for (; i + 1 < n; i++) out[i] = (a[i] >> bits) | (a[i + 1] << back);
  out[n - 1] = a[n - 1] >> bits;
}

uint32_t linearMultiplyWord(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t word) {
  uint64_t carry = 0;
  uint64_t i = 0;
  for (; i + 1 < n; i += 2) {
    carry += uint64_t(a[i]) * word;
    const uint32_t first = uint32_t(carry);
    carry >>= 32;
    carry += uint64_t(a[i + 1]) * word;
    out[i] = first;
    out[i + 1] = uint32_t(carry);
    carry >>= 32;
  }
  if (i < n) {
    carry += uint64_t(a[i]) * word;
    out[i] = uint32_t(carry);
    carry >>= 32;
  }
  return uint32_t(carry);
}
