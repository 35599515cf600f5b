// The square and product front ends on BigInt records: method choice, the
// product array, and the retry protocol around the workers.
#include <utility>

#include "arith/multiply.h"
#include "arith/retry.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "platform/console.h"

namespace {

// Takes over a finished product array of `window` words (+2 of slack).
void acceptProduct(BigInt* out, uint32_t* product, uint64_t window) {
  out->words = product;
  out->capacity = window + 2;
  out->length = product[window - 1] == 0 ? window - 1 : window;
}

// Failure steps of a square after attempt `attempt` failed. The product
// array is already back in the heap.
void squareFailed(Heap* heap, BigInt* a, BigInt* out, uint64_t chop, uint32_t attempt,
                  uint32_t threadPower, bool diskPath) {
  const uint32_t next = attempt + 1;
  retryRecordFailure(next);  // next 3 does not return
  if (next == 1) {
    bigIntSquare(heap, a, out, chop, 1, threadPower);
    return;
  }
  // Same answer from other data in every word: (2a)^2 / 4.
  if (!diskPath) {
    BigInt doubled;
    retryDoubledCopy(heap, a, &doubled);
    bigIntSquare(heap, &doubled, out, chop, 2, threadPower);
    bigIntDestroy(&doubled);
    retryQuarterProduct(heap, out, false);
    return;
  }
  retryDoubleOperand(heap, a, diskPath);
  bigIntSquare(heap, a, out, chop, 2, threadPower);
  retryHalveOperand(heap, a, diskPath);
  retryQuarterProduct(heap, out, diskPath);
}

void multiplyFailed(Heap* heap, BigInt* a, BigInt* b, BigInt* out, uint64_t chop,
                    uint32_t attempt, uint32_t threadPower, bool diskPath) {
  const uint32_t next = attempt + 1;
  retryRecordFailure(next);
  if (next == 1) {
    bigIntMultiply(heap, a, b, out, chop, 1, threadPower);
    return;
  }
  // (2a)(2b) / 4; a record given twice is doubled once.
  if (!diskPath) {
    BigInt doubledA, doubledB;
    retryDoubledCopy(heap, a, &doubledA);
    if (b != a) retryDoubledCopy(heap, b, &doubledB);
    bigIntMultiply(heap, &doubledA, b != a ? &doubledB : &doubledA, out, chop, 2, threadPower);
    bigIntDestroy(&doubledA);
    if (b != a) bigIntDestroy(&doubledB);
    retryQuarterProduct(heap, out, false);
    return;
  }
  retryDoubleOperand(heap, a, diskPath);
  if (b != a) retryDoubleOperand(heap, b, diskPath);
  bigIntMultiply(heap, a, b, out, chop, 2, threadPower);
  retryHalveOperand(heap, a, diskPath);
  if (b != a) retryHalveOperand(heap, b, diskPath);
  retryQuarterProduct(heap, out, diskPath);
}

void squareInMemory(Heap* heap, BigInt* a, BigInt* out, uint64_t chop, uint32_t attempt,
                    uint32_t threadPower) {
  const uint64_t n = a->length;
  bigIntLoad(heap, a, 1);
  const uint64_t window = 2 * n - chop;
  uint32_t* product = heapAllocateWords(heap, window + 2);
  const uint64_t code = runSquareWorker(heap, a->words, n, product, chop, threadPower, attempt);
  if (code == 0) {
    reportRetryResult(attempt);
    acceptProduct(out, product, window);
    return;
  }
  if (code != multiplyDetectedError) fatalMemory();
  heapRelease(product);
  squareFailed(heap, a, out, chop, attempt, threadPower, false);
}

// a is the longer operand; both are non-zero and la + lb > chop.
void multiplyInMemory(Heap* heap, BigInt* a, BigInt* b, BigInt* out, uint64_t chop,
                      uint32_t attempt, uint32_t threadPower) {
  const uint64_t la = a->length, lb = b->length;
  bigIntLoad(heap, a, 1);
  bigIntLoad(heap, b, 1);
  const uint64_t window = la + lb - chop;
  uint32_t* product = heapAllocateWords(heap, window + 2);
  const uint64_t code =
      runMultiplyWorker(heap, a->words, la, b->words, lb, product, chop, threadPower, attempt);
  if (code == 0) {
    reportRetryResult(attempt);
    acceptProduct(out, product, window);
    return;
  }
  if (code != multiplyDetectedError) fatalMemory();
  heapRelease(product);
  multiplyFailed(heap, a, b, out, chop, attempt, threadPower, false);
}

// ---- Disk path ----------------------------------------------------------------
// The operands stay in their swap files; the result is made in a new
// RaidFile of the window's words and left on disk (out.words null). A failed
// check deletes that file before the retry makes a new one.

// A RaidFile record and its files for `words` words, from `heap`.
RaidFile* newResultFile(Heap* heap, uint64_t words) {
  auto* file = static_cast<RaidFile*>(heapAllocate(heap, sizeof(RaidFile), 8));
  raidFileCreate(heap, file, globalSwapPaths, 0, words);
  return file;
}

// Takes over a finished result file.
void acceptDiskProduct(BigInt* out, RaidFile* file, uint64_t length) {
  out->swap = file;
  out->length = length;
  if (length == 0) bigIntDropSwap(out);
}

void squareOnDisk(Heap* heap, BigInt* a, BigInt* out, uint64_t chop, uint32_t attempt,
                  uint32_t threadPower) {
  const uint64_t n = a->length, window = 2 * n - chop;
  RaidFile* file = newResultFile(heap, window);
  uint64_t length = 0;
  const uint64_t code =
      runDiskSquareWorker(heap, a->swap, n, file, &length, chop, threadPower, attempt);
  if (code == 0) {
    reportRetryResult(attempt);
    acceptDiskProduct(out, file, length);
    return;
  }
  if (code != multiplyDetectedError) fatalMemory();
  raidFileDelete(file);
  heapRelease(file);
  squareFailed(heap, a, out, chop, attempt, threadPower, true);
}

void multiplyOnDisk(Heap* heap, BigInt* a, BigInt* b, BigInt* out, uint64_t chop,
                    uint32_t attempt, uint32_t threadPower) {
  const uint64_t window = a->length + b->length - chop;
  RaidFile* file = newResultFile(heap, window);
  uint64_t length = 0;
  const uint64_t code = runDiskMultiplyWorker(heap, a->swap, a->length, b->swap, b->length, file,
                                              &length, chop, threadPower, attempt);
  if (code == 0) {
    reportRetryResult(attempt);
    acceptDiskProduct(out, file, length);
    return;
  }
  if (code != multiplyDetectedError) fatalMemory();
  raidFileDelete(file);
  heapRelease(file);
  multiplyFailed(heap, a, b, out, chop, attempt, threadPower, true);
}

}  // namespace

void bigIntSquare(Heap* heap, BigInt* a, BigInt* out, uint64_t chop, uint32_t attempt,
                  uint32_t threadPower) {
  bigIntSetZero(out);
  const uint64_t n = a->length;
  // A chop that takes the whole square leaves nothing to compute.
  if (n == 0 || chop >= 2 * n) return;
  if (squareWantsDiskPath(*a)) {
    squareOnDisk(heap, a, out, chop, attempt, threadPower);
  } else {
    squareInMemory(heap, a, out, chop, attempt, threadPower);
  }
}

void bigIntMultiply(Heap* heap, BigInt* a, BigInt* b, BigInt* out, uint64_t chop,
                    uint32_t attempt, uint32_t threadPower) {
  if (a->length < b->length) std::swap(a, b);
  bigIntSetZero(out);
  const uint64_t la = a->length, lb = b->length;
  if (lb == 0 || la + lb <= chop) return;
  if (multiplyWantsDiskPath(*a, *b)) {
    multiplyOnDisk(heap, a, b, out, chop, attempt, threadPower);
  } else {
    multiplyInMemory(heap, a, b, out, chop, attempt, threadPower);
  }
}
