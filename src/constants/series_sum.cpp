// The summation driver: the term count and plan, then the blocks from the
// last to the first, each summed by the layers and merged into the
// accumulator at two precisions (what the block's first and last terms
// still need).
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "constants/series.h"
#include "constants/series_internal.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// max(W - w * terms, 0) in extended precision, clamped below 2^62.
uint64_t precisionAt(const SeriesKind* kind, uint64_t words, uint64_t terms) {
  if (kind->termsPerWord <= 0.0L) return words;
  const long double left = (long double)words - (long double)terms / kind->termsPerWord;
  if (left <= 0.0L) return 0;
  if (left > 4611686018427387904.0L) return 0x3fffffffffffffffull;
  return uint64_t(left);
}

// Sums one block into floats: exact blocks in integers (then converted),
// truncated blocks and every block of a swap run through the float layers.
void sumBlock(Heap* heap, const SeriesKind* kind, const SeriesBlock* block, uint32_t threads,
              uint32_t flags, SplitFloats* out) {
  if (block->shift == 0 && (flags & seriesSwapMode) == 0) {
    SplitRecord record;
    seriesProgressLayer(heap, kind, block->first, block->last, &record, block, 0, threads, flags);
    splitRecordToFloats(kind, &record, out, block->first, seriesWhole);
    return;
  }
  seriesProgressLayerFloat(heap, kind, block->first, block->last, out, block, 0, threads, flags);
}

// The empty sum: Q = 1, R = 0.
void emptySum(Heap* heap, SplitFloats* out) {
  splitFloatsSetZero(out);
  bigFloatFromU32(heap, &out->q, 1);
}

}  // namespace

void sumSeriesPlan(Heap* heap, const SeriesKind* kind, const SeriesPlan* plan, uint64_t terms,
                   uint64_t words, uint32_t threadExponent, uint32_t flags, SplitFloats* out) {
  const uint64_t first = kind->firstIndex;
  if (terms <= first) {
    emptySum(heap, out);
    return;
  }
  if (terms < seriesSizeSplitTerms) {
    SplitRecord record;
    seriesSerialLayer(heap, kind, first, terms, &record, 0);
    splitRecordToFloats(kind, &record, out, first, seriesWhole);
    return;
  }
  const bool show = (flags & seriesShowProgress) != 0;
  const uint32_t layerFlags = flags & ~seriesWantP;
  SplitFloats accumulator;
  const uint64_t count = plan->count;
  for (uint64_t j = count; j-- > 0;) {
    const SeriesBlock* block = &plan->blocks[j];
    if (show) {
      progressReset();
      if (j + 1 < count) {
        char percent[32];
        snprintf(percent, sizeof percent, "%llu%%",
                 (unsigned long long)((100 * terms - 100 * block->last) / terms));
        progressPushText(percent);
      }
    }
    if (j + 1 == count) {
      // The accumulator needs P only for a merged P, which blocks 1 .. j - 1
      // still need: from three blocks on.
      const uint32_t wantP = count >= 3 ? seriesWantP : 0;
      sumBlock(heap, kind, block, threadExponent, layerFlags | wantP, &accumulator);
      continue;
    }
    if (block->swapLevels != 0) splitFloatsPushToDisk(&accumulator);
    SplitFloats summed, merged;
    sumBlock(heap, kind, block, threadExponent, layerFlags | seriesWantP, &summed);
    const uint64_t leftPrecision = precisionAt(kind, words, block->first);
    const uint64_t rightPrecision = precisionAt(kind, words, block->last);
    const uint32_t wantP = j > 0 ? seriesWantP : 0;
    const uint32_t mergeThreads = seriesMergeThreads(threadExponent);
    if (block->swapFlag) {
      seriesMergeFloatsPaged(heap, kind, &summed, &accumulator, &merged, leftPrecision,
                             rightPrecision, wantP, mergeThreads);
    } else {
      splitFloatsLoad(heap, &accumulator);
      seriesMergeFloats(heap, kind, &summed, &accumulator, &merged, leftPrecision, rightPrecision,
                        wantP, mergeThreads);
    }
    accumulator = merged;
  }
  *out = accumulator;
  if (!bigFloatIsZero(out->p)) bigFloatDestroy(&out->p);
  bigFloatSetZero(&out->p);
}

uint64_t sumSeries(Heap* heap, const SeriesKind* kind, SplitFloats* out, uint64_t words,
                   uint32_t threads, uint32_t mode, uint32_t show) {
  const uint32_t exponent = threads == 0 ? 0 : threads + 1;
  SeriesPlan plan;
  seriesPlanInit(&plan, 16);
  const uint64_t budget = heap != nullptr ? heapFreeSpace(heap) : ~uint64_t(0);
  const uint64_t terms = buildSeriesPlan(&plan, kind, budget, words, threads, mode);
  if (show) {
    printWide("Summing Series:  ");
    printGrouped(terms, 0);
    printWide(" terms\n");
  }
  uint32_t flags = show ? seriesShowProgress : 0;
  if (mode >= 2) flags |= seriesSwapMode;
  sumSeriesPlan(heap, kind, &plan, terms, words, exponent, flags, out);
  seriesPlanRelease(&plan);
  return terms;
}
