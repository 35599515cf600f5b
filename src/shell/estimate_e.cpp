// The memory peak of e. Its one block is split once or twice at the top
// with products on all threads; the last merge holds the four (six, for
// compute and verify) halves of the range's numbers and a result of full
// size, with the scratch of a half-size product. The finish holds P, 1/Q and
// their product (one more full number for compute and verify) with the
// scratch of a full-size product.
#include "shell/estimate_e.h"

#include <algorithm>

#include "constants/e.h"
#include "constants/series.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"

uint64_t eSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower) {
  const uint64_t numerators = algorithm == 2 ? 2 : 1;
  const uint64_t words = wordCount + 2;
  // Q(1, N) of the whole range has the W words; each half about half of it.
  // The top merge multiplies two halves on all threads: the product at its
  // own size, and on threads the scratch of the thread recursion's levels.
  const uint64_t half = (words >> 1) + 10;
  uint64_t halfScratch = productScratchAt(half + 2, threadPower);
  if (threadPower > 0)
    halfScratch = std::max(halfScratch, estimateProduct(half, threadPower, 1, 1));
  const uint64_t merges = 4 * (2 + numerators) * (words + 8) + halfScratch;
  // The last product is taken at its own size, without the estimator's
  // margin of 100 words: a reciprocal of W + 6 words (Newton keeps up to
  // p + 6) times a number of at most W words, chopped to W + 3 words, which
  // drops the reciprocal's lowest 3 words first: a mean operand of W + 1.5
  // words. For exp(-1) the number is Q = N! without its stripped low words,
  // the twos of N! (N - popcount(N) bits), and with up to 1 zero word of its
  // last product's array.
  uint64_t productWords = words + 2;
  if (algorithm == 1) {
    const uint64_t terms = termsForWords(words, eSeriesKind(1));
    const uint64_t stripped = (terms - uint64_t(__builtin_popcountll(terms))) / 32;
    productWords = (2 * words - stripped + 5) / 2;
  }
  const uint64_t finish =
      4 * (2 + numerators) * (words + 8) + productScratchAt(productWords, threadPower);
  // The blocks' headers and guards: 48 bytes each, a dozen at most live.
  uint64_t peak = std::max(merges, finish) + 1024;
  if (algorithm == 2) {
    // The second value waits while the first is converted.
    peak = std::max(peak, estimateConversion(wordCount, threadPower) + 4 * (words + 8));
  }
  return peak;
}

uint64_t eSeriesDisk(uint32_t algorithm, uint64_t wordCount) {
  const uint64_t numerators = algorithm == 2 ? 2 : 1;
  return 4 * (2 * (1 + numerators) + 2) * (wordCount + 2 + 8);
}
