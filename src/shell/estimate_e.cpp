// The memory peak of e. Its one block is split once or twice at the top
// with products on all threads; the last merge holds the four (six, for
// compute and verify) halves of the range's numbers and a result of full
// size, with the scratch of a half-size product. The finish holds P, 1/Q and
// their product (one more full number for compute and verify) with the
// scratch of a full-size product.
#include "shell/estimate_e.h"

#include <algorithm>

#include "shell/estimate.h"

uint64_t eSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower) {
  const uint64_t numerators = algorithm == 2 ? 2 : 1;
  const uint64_t words = wordCount + 2;
  // Q(1, N) of the whole range has the W words; each half about half of it.
  const uint64_t half = (words >> 1) + 10;
  const uint64_t halfScratch = std::max(productScratch(half, threadPower),
                                        estimateProduct(half, threadPower, 1, 1));
  const uint64_t merges = 4 * (2 + numerators) * (words + 8) + halfScratch;
  const uint64_t finish = 4 * (2 + numerators) * (words + 8) + productScratch(words, threadPower);
  uint64_t peak = std::max(merges, finish);
  if (algorithm == 2) {
    // The second value waits while the first is converted.
    peak = std::max(peak, estimateConversion(wordCount, threadPower) + 4 * (words + 8));
  }
  return peak;
}
