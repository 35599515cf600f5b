// Scratch of a multiplication for the resource estimates, with the thread
// recursion's levels on top.
#include <algorithm>

#include "arith/fft/fft_sizes.h"
#include "arith/product_bytes.h"
#include "arith/tuning.h"
#include "platform/console.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"

void estimateSizeExceeded() {
  printWide("\n\n");
  printWide("Maximum supported multiplication size has been exceeded.");
  printWide("\n\n");
  pauseExit(1);
}

// The Karatsuba levels for an operand length s from basecaseLimit on: 16s +
// 4t bytes. Lengths below transformStart reach it, and the conversion's
// normalisation a little above that while its shorter operand is below it.
// (Three-way levels start at karatsubaLimit, far above all of these.)
uint64_t karatsubaScratchBytes(uint64_t s) {
  static_assert(transformStart <= karatsubaLimit, "only two-way levels below transformStart");
  uint64_t t = 0;
  uint64_t x = s;
  do {
    x = (x + 1) & ~uint64_t(1);
    t += x;
    x >>= 1;
  } while (x >= basecaseLimit);
  return 16 * s + 4 * t;
}

static_assert(hybridStart == hybridSquareThreshold && hybridStart == hybridMultiplyThreshold,
              "the estimates hand over to the hybrid transform where the front ends do");

// The FFT's share of a product of s words in the hybrid range: the largest
// direct FFT at or below s, reached by one thread below hybridStart and by
// the products a thread of threadPower 0 makes. At hybridStart and above
// the margin of 100 words that every other size gets would step into a
// larger transform row, so only the product's own words of that margin are
// added to the largest plain size: they cover the block headers and guard
// words.
static uint64_t hybridRangeFftBytes(uint64_t s) {
  if (s < hybridStart) return fftProductBytes(s);
  return fftProductBytes(hybridStart - 1) + 8 * 100;
}

uint64_t productScratchAt(uint64_t s, uint32_t threadPower) {
  if (s < transformStart) {
    if (s < basecaseLimit) return 2 * s;
    return karatsubaScratchBytes(s);
  }
  // On threads the front ends take the hybrid transform from
  // threadedHybridThreshold words.
  if (s >= hybridStart || (threadPower > 0 && s >= threadedHybridThreshold)) {
    if (2 * s > hybridProductWordsLimit) estimateSizeExceeded();
    // The transforms' own figure leaves out the product they write, which
    // the FFT's figure holds: it is added here so that both mean the same.
    return std::max(hybridPeakBytes(2 * s, threadPower) + 8 * s, hybridRangeFftBytes(s));
  }
  return fftProductBytes(s);
}

uint64_t productScratch(uint64_t size, uint32_t threadPower) {
  return productScratchAt(size + 100, threadPower);
}

uint64_t estimateProduct(uint64_t size, uint32_t threadPower, uint32_t levelsAdded,
                         uint32_t levelsRemoved) {
  uint64_t total = productScratch(size, threadPower);
  if (threadPower == 0) return total;
  int64_t levels = int64_t(threadPower) + levelsAdded - levelsRemoved;
  uint64_t length = size;
  for (int64_t level = 0; level < levels; level++) {
    length = (length >> 1) + 10;
    total += productScratchAt(length + 110, threadPower);
  }
  return total;
}
