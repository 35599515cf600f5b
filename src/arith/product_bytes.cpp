// Memory of products, for the resource estimator and the disk path.
#include "arith/product_bytes.h"

#include <algorithm>

#include "arith/hybrid/element_sizes.h"
#include "arith/fft/fft_sizes.h"
#include "arith/recursive/recursive.h"
#include "platform/console.h"

uint64_t fftProductBytes(uint64_t words) {
  if (words >= fftMultiplyThreshold) {
    uint32_t row = fftSizeRowFor(64 * words);
    if (row >= fftSizeRowCount) fatalMessage("Maximum FFT size Exceeded.");
    uint64_t length = sizeCodeLength(FftSizeTable[row].code);
    return 20 * length + 8 * words;
  }
  if (words < elmK) return 2 * words;
  return 16 * words + 4 * recursionScratchWordsFor(words, elmK, elmT);
}

// Bytes of a hybrid product with the pair (k, m) on 2^threadPower threads.
static uint64_t pairBytes(uint32_t k, uint32_t m, uint32_t threadPower) {
  uint64_t h = uint64_t(m) << k;
  uint64_t words = h / 128;
  uint32_t threads = std::min(k, threadPower);
  uint64_t transforms = 8 * (words + 1) << k;
  uint64_t butterflies = 4 * ((h / 64 | 1) + 1) << threads;
  uint64_t element;
  if (words >= 28) {
    // A rough figure of 5 Le words for the element FFT; the border of 28 (not
    // the plan's 24) is part of the estimate.
    uint32_t row = elementSizeRowExact(32 * words);
    if (row >= elementSizeRowCount)
      invalidParameters("Element Size Lookup",
                        "The element size is not a row of the element size table.");
    uint64_t length = sizeCodeLength(ElementSizeTable[row].code);
    element = (length * 5 / 2) * 8 / 4;
  } else {
    element = 2 * words + recursionScratchWordsFor(words, elmK, elmT);
  }
  return transforms + butterflies + (4 * element << threads);
}

uint64_t hybridProductBytesWith(const HybridParamTable& squares, const HybridParamTable& products,
                                uint64_t productWords, uint32_t threadPower) {
  uint32_t k = 0;
  uint32_t m = 0;
  if (hybridMultiplyParamsWith(products, squares, productWords, &k, &m) != 0) {
    fatalMessage("Maximum supported multiplication size has been exceeded.");
  }
  return pairBytes(k, m, threadPower);
}

uint64_t hybridProductBytes(uint64_t productWords, uint32_t threadPower) {
  return hybridProductBytesWith(SquareParamTable, MultiplyParamTable, productWords, threadPower);
}

// The largest figure over rows 1 .. row of n (none when that row is 0 or past
// the end of the table).
static uint64_t tablePeak(const HybridParamTable& table, const HybridParamTable& squares,
                          const HybridParamTable& products, uint64_t productWords,
                          uint32_t threadPower) {
  uint32_t row = sizeTableSearch(table.rows, table.count, productWords);
  uint64_t peak = 0;
  if (row == 0 || row >= table.count) return 0;
  for (uint32_t i = row; i >= 1; i--) {
    peak = std::max(peak,
                    hybridProductBytesWith(squares, products, table.rows[i].capacity, threadPower));
  }
  return peak;
}

uint64_t hybridPeakBytesWith(const HybridParamTable& squares, const HybridParamTable& products,
                             uint64_t productWords, uint32_t threadPower) {
  uint64_t peak = tablePeak(squares, squares, products, productWords, threadPower);
  peak = std::max(peak, tablePeak(products, squares, products, productWords, threadPower));
  uint32_t k = 0;
  uint32_t m = 0;
  if (productWords > hybridProductWordsLimit || hybridSearch(productWords, &k, &m) != 0) {
    fatalMessage("Maximum supported multiplication size has been exceeded.");
  }
  // The figure at the pair's capacity; a capacity past the hybrid limit (the
  // pair of a size near it) is taken at the pair itself.
  uint64_t capacity = hybridCapacity(k, m);
  uint64_t atCapacity = capacity <= hybridProductWordsLimit
                            ? hybridProductBytesWith(squares, products, capacity, threadPower)
                            : pairBytes(k, m, threadPower);
  return std::max(peak, atCapacity);
}

uint64_t hybridPeakBytes(uint64_t productWords, uint32_t threadPower) {
  return hybridPeakBytesWith(SquareParamTable, MultiplyParamTable, productWords, threadPower);
}
