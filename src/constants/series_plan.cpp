// The arithmetic of a summation before any number exists: sizes by
// Stirling's formula, the term count, the split point that halves the digits
// of a range, and the plan of blocks with their level fields.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "arith/product_bytes.h"
#include "arith/tuning.h"
#include "constants/series.h"
#include "platform/console.h"

long double lnFactorial(long double n) {
  return (n + 1.5L) * (logl(n + 1.0L) - 1.0L) + stirlingConstant;
}

long double lnFactorialWords(long double n) {
  return lnFactorial(n) * wordsPerNaturalLog;
}

uint64_t termsForWords(uint64_t words, const SeriesKind* kind) {
  if (kind->termsPerWord > 0.0L) {
    return uint64_t((long double)words * kind->termsPerWord) + 1;
  }
  // Doubling until the size reaches the words, then bisection between the
  // last two candidates; the upper bound is the count.
  const long double wanted = (long double)words;
  uint64_t high = 1;
  while (kind->sizeWords((long double)high) < wanted) high *= 2;
  if (high == 1) return 1;
  uint64_t low = high / 2;
  while (high - low > 1) {
    const uint64_t middle = low + (high - low) / 2;
    if (kind->sizeWords((long double)middle) >= wanted) {
      high = middle;
    } else {
      low = middle;
    }
  }
  return high;
}

uint64_t splitPoint(const SeriesKind* kind, uint64_t a, uint64_t b) {
  if (b - a < seriesSizeSplitTerms) return a + (b - a) / 2;
  const long double target =
      (kind->sizeWords((long double)a) + kind->sizeWords((long double)b)) * 0.5L;
  uint64_t low = a;
  uint64_t high = b;
  while (high - low > 1) {
    const uint64_t middle = low + (high - low) / 2;
    if (target > kind->sizeWords((long double)middle)) {
      low = middle;
    } else {
      high = middle;
    }
  }
  // Both halves keep at least one term whatever the size function does.
  return std::min(std::max(high, a + 1), b - 1);
}

uint32_t seriesTopLevels(uint64_t words, uint32_t threads) {
  const uint64_t limit = 2 * std::max(hybridSquareThreshold, hybridMultiplyThreshold);
  uint64_t x = ((words + 100) >> 1) + 10;
  if (x < limit) return 1;
  for (uint32_t i = 0; i < threads + 1; i++) x = (x >> 1) + 10;
  return x < limit ? 2 : 1;
}

// ---- The block list ------------------------------------------------------------

void seriesPlanInit(SeriesPlan* plan, uint64_t capacity) {
  if (capacity == 0) capacity = 1;
  plan->blocks = static_cast<SeriesBlock*>(malloc(capacity * sizeof(SeriesBlock)));
  if (plan->blocks == nullptr) fatalMemory();
  plan->count = 0;
  plan->capacity = capacity;
}

void seriesPlanAppend(SeriesPlan* plan, const SeriesBlock& block) {
  if (plan->count == plan->capacity) {
    const uint64_t capacity = 2 * plan->capacity;
    void* grown = realloc(plan->blocks, capacity * sizeof(SeriesBlock));
    if (grown == nullptr) fatalMemory();
    plan->blocks = static_cast<SeriesBlock*>(grown);
    plan->capacity = capacity;
  }
  plan->blocks[plan->count++] = block;
}

void seriesPlanRelease(SeriesPlan* plan) {
  free(plan->blocks);
  plan->blocks = nullptr;
  plan->count = 0;
  plan->capacity = 0;
}

// ---- Memory of a block -----------------------------------------------------------

// Bytes of the larger product workspace of a block at `words` words: a
// direct transform below the hybrid threshold, else the hybrid's peak.
static uint64_t productWorkspace(uint64_t words, uint32_t threads) {
  if (words < hybridMultiplyThreshold) return fftProductBytes(words);
  return hybridPeakBytes(2 * words, threads);
}

uint64_t seriesBlockNeed(const SeriesKind* kind, uint64_t first, uint64_t last, uint64_t precision,
                         uint32_t threads) {
  auto recordWords = [kind](uint64_t n) {
    const long double x = (long double)n;
    return 2.0L * kind->sizeWords(x) + (kind->hasP ? kind->sizePWords(x) : 0.0L);
  };
  const long double words = std::max(recordWords(last) - recordWords(first), 0.0L);
  const uint64_t numbers = uint64_t(words * 4.0L);
  const uint64_t work =
      std::max(productWorkspace(precision + 100, 0), productWorkspace(precision + 100, threads));
  return numbers + 32 * precision + 1 + work;
}

// ---- The plan ----------------------------------------------------------------------

// Precision still wanted after `terms` terms at w words a term, clamped.
static long double wordsLeft(uint64_t words, long double wordsPerTerm, uint64_t terms) {
  const long double left = (long double)words - wordsPerTerm * (long double)terms;
  return std::max(left, 0.0L);
}

// Fills the swap fields of a block from its need (bytes, already shifted).
static void setSwapFields(SeriesBlock* block, uint64_t need, uint64_t budget) {
  uint32_t halvings = 0;
  while (need > budget && need > 1) {
    need >>= 1;
    halvings++;
  }
  block->swapLevels = halvings;
  block->swapFlag = halvings != 0 && 2 * need > budget ? 1 : 0;
}

uint64_t buildSeriesPlan(SeriesPlan* plan, const SeriesKind* kind, uint64_t memoryBudget,
                         uint64_t words, uint32_t threads, uint32_t mode) {
  const uint64_t terms = termsForWords(words, kind);
  uint32_t topLevels = mode == 0 ? 0 : seriesTopLevels(words, threads);
  if (kind->singleBlock || kind->termsPerWord <= 0.0L) {
    SeriesBlock block = {};
    block.precision = words;
    block.first = kind->firstIndex;
    block.last = terms;
    block.topLevels = topLevels;
    seriesPlanAppend(plan, block);
    return terms;
  }
  const long double w = 1.0L / kind->termsPerWord;
  uint64_t threshold = words >> 1;
  uint32_t shift = 0;
  uint64_t start = kind->firstIndex;
  while (start < terms) {
    // The block ends where its own Q outgrows the precision it may keep.
    const long double startSize = kind->sizeWords((long double)start);
    uint64_t low = start;
    uint64_t high = terms;
    while (high - low > 1) {
      const uint64_t middle = low + (high - low) / 2;
      const long double kept = ldexpl(wordsLeft(words, w, middle), int(shift)) + startSize;
      if (kept > kind->sizeWords((long double)middle)) {
        low = middle;
      } else {
        high = middle;
      }
    }
    SeriesBlock block = {};
    block.precision = uint64_t(wordsLeft(words, w, start));
    block.first = start;
    block.last = high;
    block.shift = shift;
    if (shift == 0 && mode != 0) {
      block.topLevels = topLevels;
      if (mode >= 2) {
        const uint64_t need = seriesBlockNeed(kind, start, high, block.precision, threads);
        setSwapFields(&block, need, memoryBudget);
      }
    }
    seriesPlanAppend(plan, block);
    // Past each halving of the precision, a block first gives up a top
    // level, then starts to truncate.
    while (block.precision < threshold) {
      threshold >>= 1;
      if (block.swapFlag) continue;
      if (topLevels > 0) {
        topLevels--;
      } else {
        shift++;
      }
    }
    start = high;
  }
  return terms;
}
