// The butterflies of the Fermat transform: sum and twiddled difference of
// two elements, and the inverse step that undoes it up to a factor 2.
#include <cstdint>
#include <cstring>

#include "arith/fermat.h"

// a = a + b, b = (a - b) * 2^(e/2). a and b are distinct elements of W + 1
// words; scratch: fermatButterflyScratchWords(W) words.
void butterflyForward(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  uint32_t* difference = scratch;
  fermatSub(difference, a, b, W);
  fermatAdd(a, a, b, W);
  e %= 128 * W;
  if (e == 0) {
    memcpy(b, difference, 4 * (W + 1));
    return;
  }
  fermatShiftHalf(b, difference, W, e, scratch + W + 1);
}

// t = b * 2^(-e/2), a = a + t, b = a - t. Same sizes as above.
void butterflyInverse(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  const uint64_t period = 128 * W;
  e %= period;
  uint32_t* twiddled = scratch;
  if (e == 0) {
    memcpy(twiddled, b, 4 * (W + 1));
  } else {
    fermatShiftHalf(twiddled, b, W, period - e, scratch + W + 1);
  }
  fermatSub(b, a, twiddled, W);
  fermatAdd(a, a, twiddled, W);
}
