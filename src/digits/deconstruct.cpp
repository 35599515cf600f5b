// The deconstruction: Y is cut at powers of 10^9 from the table's top level
// down, each cut sending the remainder to the low part of the output window
// and the quotient to the rest. Three layers: the top layer cuts with all
// threads on each division and shows progress; the thread layer runs the
// two halves of each cut on two threads with split heaps; the serial layer
// cuts down to the leaf, which converts a few words by schoolbook.
#include <cstring>
#include <functional>
#include <utility>

#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"

namespace {

// Numbers shorter than this are not cut by the top and thread layers.
constexpr uint64_t cutWords = 16;

void clearWords(uint32_t* out, uint64_t count) {
  if (count != 0) std::memset(out, 0, count * 4);
}

void destroyInteger(BigInt* y) {
  bigIntDestroy(y);
  bigIntSetZero(y);
}

// One half of a cut in the thread layer, run by a spawned thread.
struct DeconstructJob {
  Heap* heap;
  BigInt number;
  uint32_t* out;
  uint64_t window;
  int32_t level;
  uint32_t threads;
  BaseConversionTable* table;
};

uint64_t deconstructJobRoutine(void* context) {
  DeconstructJob* job = static_cast<DeconstructJob*>(context);
  deconstructThreads(job->heap, &job->number, job->out, job->window, job->level, job->threads,
                     job->table);
  return 0;
}

// Fills a job with a copy of `part` in `heap` (null: the part itself moves
// in); the original is released.
void fillJob(DeconstructJob* job, Heap* heap, BigInt* part, uint32_t* out, uint64_t window,
             int32_t level, uint32_t threads, BaseConversionTable* table) {
  job->heap = heap;
  if (heap != nullptr) {
    bigIntCopy(heap, part, &job->number);
    destroyInteger(part);
  } else {
    bigIntMove(&job->number, part);
  }
  job->out = out;
  job->window = window;
  job->level = level;
  job->threads = threads;
  job->table = table;
}

// Slides the arrays of the two parts of a cut down over the gaps below them
// (lower address first, as the compaction requires).
void packParts(BigInt* a, BigInt* b) {
  if (std::less<uint32_t*>()(b->words, a->words)) std::swap(a, b);
  void** arrays[2] = {reinterpret_cast<void**>(&a->words), reinterpret_cast<void**>(&b->words)};
  heapCompactBlocks(arrays, 2);
}

}  // namespace

// Schoolbook conversion of a short number: for each binary word from the top,
// decimal = decimal * 2^32 + word, each step a 64-bit value split by 10^9.
// The carry stays below 2^33, so d * 2^32 + carry < 10^9 * 2^32 + 2^33.
void conversionLeaf(const uint32_t* binary, uint64_t n, uint32_t* decimal, uint64_t window) {
  clearWords(decimal, window);
  uint64_t used = 0;
  for (uint64_t i = n; i-- > 0;) {
    uint64_t carry = binary[i];
    for (uint64_t j = 0; j < used; ++j) {
      uint64_t value = (uint64_t(decimal[j]) << 32) + carry;
      carry = value / billion;
      decimal[j] = uint32_t(value - carry * billion);
    }
    while (carry != 0 && used < window) {
      decimal[used++] = uint32_t(carry % billion);
      carry /= billion;
    }
  }
  if (window != 0 && conversionTakeLeafFault()) decimal[0] += 1;
}

void deconstructSerial(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                       BaseConversionTable* table) {
  for (;;) {
    if (window == 0) {
      destroyInteger(y);
      return;
    }
    if (level < 0 || table->levels == 0) {
      conversionLeaf(y->words, y->length, out, window);
      destroyInteger(y);
      return;
    }
    const uint64_t low = std::min(window, conversionLowWindow(table, level));
    // A number shorter than the power (by word position) has quotient zero:
    // no division, the upper window is cleared and the cut moves down.
    if (int64_t(y->length) < bigFloatPosition(table->power[level])) {
      clearWords(out + low, window - low);
      window = low;
      --level;
      continue;
    }
    BigInt remainder;
    divideAndModulus(heap, y, &remainder, level, table, 0);
    deconstructSerial(heap, &remainder, out, low, level - 1, table);
    out += low;
    window -= low;
    --level;
  }
}

void deconstructThreads(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                        uint32_t threads, BaseConversionTable* table) {
  if (y->length < cutWords || threads == 0 || level < 0) {
    deconstructSerial(heap, y, out, window, level, table);
    return;
  }
  if (window == 0) {
    destroyInteger(y);
    return;
  }
  BigInt remainder;
  divideAndModulus(heap, y, &remainder, level, table, 0);
  const uint64_t low = std::min(window, conversionLowWindow(table, level));
  // Each half gets a heap of its own; the parts are copied in (no block of
  // a child survives the merge). The division leaves gaps below its two
  // results: they are closed first, so that the children get that room.
  Heap* left = heap;
  Heap* right = heap;
  if (heap != nullptr) {
    packParts(y, &remainder);
    heapSplit(heap, 0);
    left = &heap->children[0];
    right = &heap->children[1];
  }
  DeconstructJob lower;
  DeconstructJob upper;
  fillJob(&lower, left, &remainder, out, low, level - 1, threads - 1, table);
  fillJob(&upper, right, y, out + low, window - low, level - 1, threads - 1, table);
  ThreadHandle handle;
  threadSpawn(&handle, deconstructJobRoutine, &lower);
  deconstructJobRoutine(&upper);
  threadJoin(&handle);
  if (heap != nullptr) heapMerge(heap);
  bigIntSetZero(y);
}

void deconstructTop(Heap* heap, BigInt* y, uint32_t* out, uint64_t window, int32_t level,
                    uint32_t topLevels, uint32_t threads, uint32_t threadsDown,
                    BaseConversionTable* table) {
  if (y->length < cutWords || topLevels == 0 || level < 0) {
    conversionProgress("Deconstructing   : ", y->length);
    deconstructThreads(heap, y, out, window, level, threadsDown, table);
    return;
  }
  if (window == 0) {
    destroyInteger(y);
    return;
  }
  conversionProgress("Splitting        : ", y->length);
  BigInt remainder;
  divideAndModulus(heap, y, &remainder, level, table, threads);
  const uint64_t low = std::min(window, conversionLowWindow(table, level));
  progressPush('0');
  deconstructTop(heap, &remainder, out, low, level - 1, topLevels - 1, threads, threadsDown, table);
  progressReplace('1');
  deconstructTop(heap, y, out + low, window - low, level - 1, topLevels - 1, threads, threadsDown,
                 table);
  progressReplace('-');
  progressPop();
}
