// Euler's constant. Series A and B merge at W words from the level where
// their exact numbers (q ~ N!, x ~ q, y ~ q^2, z ~ q^3 without the powers of
// two) outgrow W: each such level above the current merge leaves its left
// half's four numbers waiting, and the merge itself holds both halves, its
// results and a product. The finish holds q, y, z, T and the reciprocal's
// working numbers; Log(2) runs with A / B (and T and y of the refinement
// when series C was skipped) released.
#include "shell/estimate_euler.h"

#include <algorithm>
#include <cmath>

#include "constants/euler.h"
#include "constants/series.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"
#include "shell/estimate_logs.h"

namespace {

// Bytes of `count` numbers of `words` words with their margins.
uint64_t numbers(long double count, uint64_t words) {
  return uint64_t(count * 4.0L * (long double)(words + 8));
}

// Words left waiting by the left halves of the levels from `from` to `to`
// on the path of the current merge: at level l a half holds each number of
// exact top size s at min(W, s / 2^l) words.
long double waitingWords(const long double* sizes, uint32_t count, uint64_t words, uint64_t from,
                         uint64_t to) {
  long double sum = 0.0L;
  for (uint64_t level = from; level <= to && level < 64; level++) {
    for (uint32_t i = 0; i < count; i++) {
      sum += std::min((long double)words, ldexpl(sizes[i], -int(level)));
    }
  }
  return sum;
}

// A summation whose merges are truncated at `words` words, on 2^e heaps:
// the merges above the thread layer hold the left halves of the levels
// above them; from there each of the 2^e heaps holds its own branch.
uint64_t truncatedSummationPeak(const long double* sizes, uint32_t count, uint64_t words,
                                uint32_t threadPower) {
  const uint32_t exponent = threadPower == 0 ? 0 : threadPower + 1;
  const uint64_t top = seriesTopLevels(words, threadPower);
  const long double merge = 0.75L * (long double)count;  // the merge's own numbers
  uint64_t peak = 0;
  for (uint64_t level = 0; level < top; level++) {
    const long double held = waitingWords(sizes, count, words, 1, level) + merge * (words + 8);
    peak = std::max(peak, uint64_t(4.0L * held) + productScratchAt(words + 8, threadPower));
  }
  const long double above = waitingWords(sizes, count, words, 1, top);
  // A branch on its own heap part also holds both halves of its merges.
  const long double branchMerge = exponent == 0 ? merge : 2.5L * (long double)count;
  const long double branch =
      waitingWords(sizes, count, words, top + exponent + 1, 64) + branchMerge * (words + 8);
  const uint64_t branchBytes = uint64_t(4.0L * branch) + productScratchAt(words + 8, 0);
  return std::max(peak, uint64_t(4.0L * above) + (branchBytes << exponent));
}

uint64_t mainSeriesPeak(uint32_t k, uint64_t words, uint32_t threadPower) {
  const long double q = lnFactorialWords((long double)eulerMainTerms(k, words));
  const long double sizes[4] = {q, q, 2.0L * q, 3.0L * q};  // x, q, y, z
  return truncatedSummationPeak(sizes, 4, words, threadPower);
}

uint64_t correctionPeak(uint32_t k, uint64_t words, uint32_t threadPower) {
  const uint64_t skip = eulerCorrectionSkipWords(k);
  if (words <= skip + 3) return 0;
  const uint64_t wc = words - skip;
  const uint64_t terms = eulerCorrectionTerms(k, wc);
  const long double m = (long double)terms;
  const long double q = lnFactorialWords(m);
  const long double p = 3.0L * (lnFactorial(2.0L * m) - lnFactorial(m) - m * 0.6931471805599453L) *
                        wordsPerNaturalLog;
  const long double sizes[3] = {p, q, p + q};
  // z, T and y wait at W words.
  return numbers(3.0L, words) + truncatedSummationPeak(sizes, 3, wc, threadPower);
}

uint64_t passPeak(uint32_t k, bool refined, uint64_t wordCount, uint32_t threadPower,
                  uint64_t kept) {
  const uint64_t words = wordCount + 2;
  uint64_t peak = mainSeriesPeak(k, words, threadPower) + kept;
  // q, y, z, T and the reciprocal's numbers.
  peak = std::max(peak, numbers(7.0L, words) + productScratchAt(words + 8, threadPower) + kept);
  if (refined) peak = std::max(peak, correctionPeak(k, words, threadPower) + kept);
  // Log(2) with A / B waiting (and its copy kept).
  const uint64_t log2 = logSeriesPeak(constantLog2, 0, wordCount, threadPower);
  return std::max(peak, log2 + numbers(1.0L, words) + kept);
}

// Swap bytes of one pass of series A and B in Basic Swap: the left halves
// of every level above the merge at hand wait on disk, with that merge's
// inputs, results and a product (ten numbers of W words).
uint64_t mainSeriesDisk(uint32_t k, uint64_t words) {
  const long double q = lnFactorialWords((long double)eulerMainTerms(k, words));
  const long double sizes[4] = {q, q, 2.0L * q, 3.0L * q};  // x, q, y, z
  const long double waiting = waitingWords(sizes, 4, words, 1, 64);
  return uint64_t(4.0L * waiting) + numbers(10.0L, words);
}

}  // namespace

uint64_t eulerSeriesDisk(uint32_t algorithm, uint64_t wordCount, uint32_t k) {
  const uint64_t words = wordCount + 2;
  if (algorithm == 0) return mainSeriesDisk(k, words);
  if (algorithm == 1) return mainSeriesDisk(k + 1, words);
  // Compute and verify: the first value and Log(2) wait through the second pass.
  return std::max(mainSeriesDisk(k, words), mainSeriesDisk(k + 1, words) + numbers(2.0L, words));
}

uint64_t eulerSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower,
                         uint32_t k) {
  if (algorithm == 0) return passPeak(k, true, wordCount, threadPower, 0) + 1024;
  if (algorithm == 1) return passPeak(k + 1, false, wordCount, threadPower, 0) + 1024;
  const uint64_t kept = numbers(1.0L, wordCount + 2);
  uint64_t peak = passPeak(k, true, wordCount, threadPower, kept);
  peak = std::max(peak, passPeak(k + 1, false, wordCount, threadPower, kept));
  peak = std::max(peak, estimateConversion(wordCount, threadPower) + kept);
  return peak + 1024;
}
