// The butterflies of the Fermat transform: sum and twiddled difference of
// two elements, and the inverse step that undoes it up to a factor 2. The
// sum and the difference come from one loop with a carry for each.
#include <cstdint>
#include <cstring>

#include <immintrin.h>

#include "arith/fermat.h"

// sum = a + b, difference = a - b in one pass. sum may be a, difference may
// be b (each word is read before it is written); the two must differ.
static void sumAndDifference(uint32_t* sum, uint32_t* difference, const uint32_t* a,
                             const uint32_t* b, uint64_t W) {
  const int64_t topA = a[W], topB = b[W];
  unsigned char carry = 0, borrow = 0;
  uint64_t i = 0;
  // Two words at a time through the processor's carry flag.
  for (; i + 2 <= W; i += 2) {
    unsigned long long x, y, s, d;
    memcpy(&x, a + i, 8);
    memcpy(&y, b + i, 8);
    carry = _addcarry_u64(carry, x, y, &s);
    borrow = _subborrow_u64(borrow, x, y, &d);
    memcpy(sum + i, &s, 8);
    memcpy(difference + i, &d, 8);
  }
  if (i < W) {
    unsigned int s, d;
    const uint32_t x = a[i], y = b[i];
    carry = _addcarry_u32(carry, x, y, &s);
    borrow = _subborrow_u32(borrow, x, y, &d);
    sum[i] = s;
    difference[i] = d;
  }
  fermatFold(sum, W, int64_t(carry) + topA + topB);
  fermatFold(difference, W, topA - topB - int64_t(borrow));
}

// a = a + b, b = (a - b) * 2^(e/2). a and b are distinct elements of W + 1
// words; scratch: fermatButterflyScratchWords(W) words.
void butterflyForward(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  e %= 128 * W;
  if (e == 0) {
    sumAndDifference(a, b, a, b, W);
    return;
  }
  uint32_t* difference = scratch;
  sumAndDifference(a, difference, a, b, W);
  fermatShiftHalf(b, difference, W, e, scratch + W + 1);
}

// t = b * 2^(-e/2), a = a + t, b = a - t. Same sizes as above.
void butterflyInverse(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  const uint64_t period = 128 * W;
  e %= period;
  if (e == 0) {
    sumAndDifference(a, b, a, b, W);
    return;
  }
  uint32_t* twiddled = scratch;
  fermatShiftHalf(twiddled, b, W, period - e, scratch + W + 1);
  sumAndDifference(a, b, a, twiddled, W);
}
