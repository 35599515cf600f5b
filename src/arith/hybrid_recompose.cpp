// The output stage of the hybrid transform: the inverse's elements become
// the words of the product. Element i holds 2^k times the coefficient of
// 2^(32 c i); coefficients overlap their neighbours by W - c words, so each
// finished element passes its upper words (its tail) on to the next.
#include <cstdint>
#include <cstring>

#include "arith/fermat.h"
#include "arith/hybrid.h"

HybridFault hybridFaultForTesting = {0, 0, 0};

static void hybridFaultFire(uint32_t stage, uint32_t* transform, uint64_t stride, uint32_t k) {
  if (hybridFaultForTesting.stage != stage) return;
  const uint64_t element = hybridFaultForTesting.element & ((uint64_t(1) << k) - 1);
  const uint64_t word = hybridFaultForTesting.word % (stride - 1);
  transform[element * stride + word] ^= 1;
  hybridFaultForTesting.stage = 0;
}

void hybridFaultAfterForward(uint32_t* transform, uint64_t stride, uint32_t k) {
  hybridFaultFire(1, transform, stride, k);
}

void hybridFaultAfterInverse(uint32_t* transform, uint64_t stride, uint32_t k) {
  hybridFaultFire(2, transform, stride, k);
}

// Writes words[0 .. count) of the product, placed at product word `at`, as
// far as they fall in [start, end).
static void writeWanted(const OutputRange& range, const uint32_t* words, uint64_t count,
                        uint64_t at) {
  uint64_t from = range.start > at ? range.start - at : 0;
  uint64_t to = range.end > at ? range.end - at : 0;
  if (to > count) to = count;
  if (from >= to) return;
  memcpy(range.destination + (at + from - range.start), words + from, 4 * (to - from));
}

uint32_t hybridOutputStage(const OutputRange& range, uint32_t* transform, uint64_t stride,
                           uint32_t* scratch) {
  const uint64_t W = range.words, c = range.chunk, count = uint64_t(1) << range.levels;
  const uint64_t tailWords = W - c;
  uint32_t failed = 0;
  const uint32_t* tail = nullptr;  // the previous element's upper words, if it was finished
  uint64_t last = 0;
  for (uint64_t i = 0; i < count; i++) {
    const uint64_t base = i * c;
    if (base >= range.end) break;
    if (range.start > base + W) {
      // Wholly below the wanted words: neither divided nor checked; its
      // carry into the wanted part is dropped.
      tail = nullptr;
      continue;
    }
    uint32_t* element = transform + i * stride;
    // Divide by 2^k: multiply by 2^(2n - k).
    fermatShift(scratch, element, W, 64 * W - range.levels);
    failed |= (scratch[W - 1] | scratch[W]) != 0 ? 1 : 0;
    if (tail != nullptr) {
      uint64_t carry = 0;
      for (uint64_t j = 0; j < tailWords; j++) {
        carry += uint64_t(scratch[j]) + tail[j];
        scratch[j] = uint32_t(carry);
        carry >>= 32;
      }
      for (uint64_t j = tailWords; j < W && carry != 0; j++) {
        carry += scratch[j];
        scratch[j] = uint32_t(carry);
        carry >>= 32;
      }
    }
    writeWanted(range, scratch, c, base);
    memcpy(element, scratch + c, 4 * tailWords);
    tail = element;
    last = i;
  }
  if (tail != nullptr) writeWanted(range, tail, tailWords, (last + 1) * c);
  return failed;
}
