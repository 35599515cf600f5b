// Memory of the base conversion and of the two root constants, and the
// memory of a run in Basic Swap.
#include <algorithm>

#include "shell/estimate.h"
#include "shell/estimate_internal.h"

// Length of the conversion's padded number in base-10^9 words, n << d, with
// w the base-10^9 words of the result: n = w + 2 halved (rounding up) until
// it is below 16, d counting the halvings; 0 and 0 when w + 2 is below 16.
static void conversionShape(uint64_t wordCount, uint64_t* w, uint64_t* top, uint32_t* levels) {
  *w = uint64_t((long double)wordCount * (long double)radixWords);
  uint64_t n = *w + 2;
  uint32_t d = 0;
  if (n >= 16) {
    while (n >= 16) {
      n = (n + 1) >> 1;
      d++;
    }
  } else {
    n = 0;
  }
  *top = n;
  *levels = d;
}

// Words of the conversion's table: its powers of 10^9 and their inverses.
static uint64_t conversionTableWords(uint64_t top, uint32_t levels) {
  return uint64_t((long double)(top << levels) * (long double)splitFactor);
}

uint64_t estimateConversion(uint64_t wordCount, uint32_t threadPower) {
  uint64_t w, top;
  uint32_t levels;
  conversionShape(wordCount, &w, &top, &levels);
  uint64_t working = (wordCount + w + conversionTableWords(top, levels)) * 4;
  uint64_t product;
  if (levels == 0) {
    product = estimateProduct(wordCount, threadPower, 0, 0);
  } else {
    // The largest division: the top half of the padded number, in words.
    long double length = (long double)(top << (levels - 1)) * (long double)radixWordsInverse;
    if (length >= 16.0L * hybridStart) length *= (long double)bigProductShare;
    // Below the top, the thread layer splits two levels further than there
    // are threads, so that unequal halves balance.
    product = estimateProduct(uint64_t(length), threadPower, 2, 0);
  }
  return std::max(working, product);
}

// Swap space of the conversion: the number and its output, both parts of the
// top division, and the table's levels, all of which page in Basic Swap.
uint64_t estimateConversionDisk(uint64_t wordCount) {
  uint64_t w, top;
  uint32_t levels;
  conversionShape(wordCount, &w, &top, &levels);
  return (2 * (wordCount + w) + conversionTableWords(top, levels)) * 4;
}

// The last Newton step of the inverse square root to W = L + 2 words and the
// small product after it: x at h + 3 words, s = x^2 and e = 1 - s at P + 3
// words side by side, the product's scratch for an (h + 3)-word operand, and
// room for the record overheads.
static uint64_t newtonRootPeak(uint64_t wordCount, uint32_t threadPower) {
  uint64_t w = wordCount + 2;
  uint64_t p = w + 3;
  uint64_t h = w / 2 + 1;
  uint64_t numbers = 4 * ((h + 3) + 3 * (p + 3) + 64);
  return numbers + estimateProduct(h + 3, threadPower, 0, 0);
}

uint64_t estimateRoot(uint64_t wordCount, uint32_t threadPower) {
  return std::max(newtonRootPeak(wordCount, threadPower),
                  estimateConversion(wordCount, threadPower));
}

// In Basic Swap only the operands of the product at hand sit in memory: the
// largest is an L-word product taken by the disk path in its normal form (the
// transforms, the element and butterfly scratch, and a result buffer). Below
// the two levels that swap, the Newton steps run in RAM at a quarter of the
// precision.
uint64_t estimateRootSwap(uint64_t wordCount, uint32_t threadPower) {
  uint64_t s = wordCount + 100;
  uint64_t diskProduct = productScratchAt(s, threadPower) + 8 * s + 1024;
  return std::max(diskProduct, estimateRoot(wordCount / 4 + 16, threadPower));
}
