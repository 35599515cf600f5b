// The layers of the recursion in float form. A truncated block (shift > 0)
// merges in floats at its precision all the way down to short ranges, which
// are summed in integers and truncated. An exact block (shift 0) takes this
// form only in Basic Swap, where its top levels page their halves out: there
// the float merges keep every word and the thread layer is the integer one.
#include "constants/series.h"
#include "constants/series_internal.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"

namespace {

// The precision of the float merges of a block.
uint64_t mergePrecision(const SeriesBlock* block) {
  return block->shift == 0 ? seriesExactPrecision : block->precision;
}

// The precision at which an integer result becomes a float.
uint64_t convertPrecision(const SeriesBlock* block) {
  return block->shift == 0 ? seriesWhole : block->precision;
}

// Whether a merge of (first, last] pages its halves: in a swap run, in a
// block flagged for swap, once the range's numbers reach half the
// precision (every merge above keeps numbers of about that size).
bool pagedMerge(const SeriesKind* kind, uint64_t first, uint64_t last, const SeriesBlock* block,
                uint32_t flags) {
  if ((flags & seriesSwapMode) == 0 || block->swapFlag == 0 || block->shift == 0) return false;
  return kind->sizeWords((long double)last) - kind->sizeWords((long double)first) >=
         (long double)block->precision / 2;
}

struct SeriesFloatJob {
  Heap* heap;
  const SeriesKind* kind;
  uint64_t first;
  uint64_t last;
  SplitFloats* out;
  const SeriesBlock* block;
  uint32_t threads;
  uint32_t flags;
};

uint64_t seriesFloatRoutine(void* context) {
  const SeriesFloatJob job = *static_cast<const SeriesFloatJob*>(context);
  seriesThreadLayerFloat(job.heap, job.kind, job.first, job.last, job.out, job.block, job.threads,
                         job.flags);
  return 0;
}

}  // namespace

void seriesSerialLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                            SplitFloats* out, const SeriesBlock* block, uint32_t flags) {
  if (block->shift == 0 || last - first <= kind->floatLeafTerms) {
    SplitRecord record;
    seriesSerialLayer(heap, kind, first, last, &record, flags);
    splitRecordToFloats(kind, &record, out, first, convertPrecision(block));
    return;
  }
  const uint64_t middle = splitPoint(kind, first, last);
  const bool paged = pagedMerge(kind, first, last, block, flags);
  SplitFloats left, right;
  seriesSerialLayerFloat(heap, kind, first, middle, &left, block, flags | seriesWantP);
  if (paged) splitFloatsPushToDisk(&left);
  seriesSerialLayerFloat(heap, kind, middle, last, &right, block, flags);
  const uint64_t p = mergePrecision(block);
  if (paged) {
    seriesMergeFloatsPaged(heap, kind, &left, &right, out, p, p, flags & seriesWantP, 0);
  } else {
    seriesMergeFloats(heap, kind, &left, &right, out, p, p, flags & seriesWantP, 0);
  }
}

void seriesThreadLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                            SplitFloats* out, const SeriesBlock* block, uint32_t threads,
                            uint32_t flags) {
  if (block->shift == 0) {
    SplitRecord record;
    seriesThreadLayer(heap, kind, first, last, &record, threads, flags);
    splitRecordToFloats(kind, &record, out, first, seriesWhole);
    return;
  }
  // Merges that page their halves take the whole arena: no split there.
  if (threads == 0 || last - first < seriesThreadTerms ||
      pagedMerge(kind, first, last, block, flags)) {
    seriesSerialLayerFloat(heap, kind, first, last, out, block, flags);
    return;
  }
  const uint64_t middle = splitPoint(kind, first, last);
  Heap* leftHeap = heap;
  Heap* rightHeap = heap;
  if (heap != nullptr) {
    heapSplit(heap, seriesReservedBlocks(kind));
    leftHeap = &heap->children[0];
    rightHeap = &heap->children[1];
  }
  const uint32_t below = flags & ~seriesShowProgress;
  SplitFloats left, right;
  SeriesFloatJob leftJob = {leftHeap, kind,  first,       middle,
                            &left,    block, threads - 1, below | seriesWantP};
  SeriesFloatJob rightJob = {rightHeap, kind, middle, last, &right, block, threads - 1, below};
  ThreadHandle handle;
  threadSpawn(&handle, seriesFloatRoutine, &leftJob);
  seriesFloatRoutine(&rightJob);
  threadJoin(&handle);
  if (heap != nullptr) heapMerge(heap);
  const uint64_t p = mergePrecision(block);
  seriesMergeFloats(heap, kind, &left, &right, out, p, p, flags & seriesWantP, 0);
}

void seriesProgressLayerFloat(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                              SplitFloats* out, const SeriesBlock* block, uint32_t level,
                              uint32_t threads, uint32_t flags) {
  if (level == block->topLevels || last - first < seriesThreadTerms) {
    seriesThreadLayerFloat(heap, kind, first, last, out, block, threads, flags);
    return;
  }
  const bool show = (flags & seriesShowProgress) != 0;
  const bool paged = (flags & seriesSwapMode) != 0;
  const uint64_t middle = splitPoint(kind, first, last);
  SplitFloats left, right;
  if (show) progressPush('0');
  seriesPrintProgress(flags);
  seriesProgressLayerFloat(heap, kind, first, middle, &left, block, level + 1, threads,
                           flags | seriesWantP);
  // In swap mode the finished half leaves memory to the other one.
  if (paged) splitFloatsPushToDisk(&left);
  seriesPrintProgress(flags);
  if (show) progressReplace('1');
  seriesPrintProgress(flags);
  seriesProgressLayerFloat(heap, kind, middle, last, &right, block, level + 1, threads, flags);
  if (paged) splitFloatsPushToDisk(&right);
  seriesPrintProgress(flags);
  if (show) progressReplace('-');
  const uint64_t p = mergePrecision(block);
  const uint32_t mergeThreads = seriesMergeThreads(threads);
  if (paged) {
    seriesMergeFloatsPaged(heap, kind, &left, &right, out, p, p, flags & seriesWantP, mergeThreads);
  } else {
    seriesMergeFloats(heap, kind, &left, &right, out, p, p, flags & seriesWantP, mergeThreads);
  }
  if (show) progressPop();
}
