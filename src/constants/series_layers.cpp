// The layers of the recursion in integer form: the progress layer (top
// levels, products on all threads, the progress line), the thread layer (two
// halves on split heaps, one on a new thread) and the serial layer down to
// the series' leaf.
#include <algorithm>

#include "constants/series.h"
#include "constants/series_internal.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"

uint32_t seriesReservedBlocks(const SeriesKind* kind) {
  return 1 + kind->numerators + (kind->hasP ? 1 : 0);
}

uint32_t seriesMergeThreads(uint32_t threads) {
  return std::min(threads, globalThreadPower);
}

void seriesPrintProgress(uint32_t flags) {
  if (flags & seriesShowProgress) progressPrint("Summing...  ", "");
}

void seriesSerialLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                       SplitRecord* out, uint32_t flags) {
  const uint64_t terms = last - first;
  const uint32_t wantP = flags & seriesWantP;
  if (terms <= kind->leafTerms && kind->leaf(heap, kind, first, last, out, wantP)) return;
  if (terms < 2) assertionFailure("seriesSerialLayer", "The leaf refused a single term", "");
  const uint64_t middle = splitPoint(kind, first, last);
  SplitRecord left, right;
  seriesSerialLayer(heap, kind, first, middle, &left, flags | seriesWantP);
  seriesSerialLayer(heap, kind, middle, last, &right, flags);
  seriesMergeIntegers(heap, kind, &left, &right, out, first, middle, wantP, 0);
}

// ---- Thread layer ------------------------------------------------------------------

namespace {

// What a started thread receives; the routine copies it and runs the layer.
struct SeriesThreadJob {
  Heap* heap;
  const SeriesKind* kind;
  uint64_t first;
  uint64_t last;
  SplitRecord* out;
  uint32_t threads;
  uint32_t flags;
};

uint64_t seriesThreadRoutine(void* context) {
  const SeriesThreadJob job = *static_cast<const SeriesThreadJob*>(context);
  seriesThreadLayer(job.heap, job.kind, job.first, job.last, job.out, job.threads, job.flags);
  return 0;
}

}  // namespace

void seriesThreadLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                       SplitRecord* out, uint32_t threads, uint32_t flags) {
  if (threads == 0 || last - first < seriesThreadTerms) {
    seriesSerialLayer(heap, kind, first, last, out, flags);
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
  // Below the progress layer nothing prints.
  const uint32_t below = flags & ~seriesShowProgress;
  SplitRecord left, right;
  SeriesThreadJob leftJob = {leftHeap,           kind, first, middle, &left, threads - 1,
                             below | seriesWantP};
  SeriesThreadJob rightJob = {rightHeap, kind, middle, last, &right, threads - 1, below};
  ThreadHandle handle;
  threadSpawn(&handle, seriesThreadRoutine, &leftJob);
  seriesThreadRoutine(&rightJob);
  threadJoin(&handle);
  if (heap != nullptr) heapMerge(heap);
  seriesMergeIntegers(heap, kind, &left, &right, out, first, middle, flags & seriesWantP, 0);
}

// ---- Progress layer ------------------------------------------------------------------

void seriesProgressLayer(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
                         SplitRecord* out, const SeriesBlock* block, uint32_t level,
                         uint32_t threads, uint32_t flags) {
  if (level == block->topLevels || last - first < seriesThreadTerms) {
    seriesThreadLayer(heap, kind, first, last, out, threads, flags);
    return;
  }
  const bool show = (flags & seriesShowProgress) != 0;
  const uint64_t middle = splitPoint(kind, first, last);
  SplitRecord left, right;
  if (show) progressPush('0');
  seriesPrintProgress(flags);
  seriesProgressLayer(heap, kind, first, middle, &left, block, level + 1, threads,
                      flags | seriesWantP);
  seriesPrintProgress(flags);
  if (show) progressReplace('1');
  seriesPrintProgress(flags);
  seriesProgressLayer(heap, kind, middle, last, &right, block, level + 1, threads, flags);
  seriesPrintProgress(flags);
  if (show) progressReplace('-');
  seriesMergeIntegers(heap, kind, &left, &right, out, first, middle, flags & seriesWantP,
                      seriesMergeThreads(threads));
  if (show) progressPop();
}
