// Choice of the product method by size, and the one place that maps each
// method to the worker that runs it.
#include <algorithm>
#include <atomic>

#include "arith/multiply.h"
#include "arith/disk/disk.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/recursive/recursive.h"
#include "arith/tuning.h"
#include "memory/heap.h"

namespace {

uint32_t injectedAttempts = 0;
uint64_t injectedCode = multiplyDetectedError;
bool injectedSquaresOnly = false;
std::atomic<uint64_t> workerCalls{0};  // products run on many threads
std::atomic<uint32_t> lastFormCompact{0};

// Test hook: true when this attempt is to fail with the injected code.
bool injectedFailure(uint32_t attempt) {
  workerCalls.fetch_add(1, std::memory_order_relaxed);
  return attempt < 32 && ((injectedAttempts >> attempt) & 1) != 0;
}

// Whether the run's tables serve the direct FFT's transform `code`. Tables
// are built for every product a run makes; where they are not (a product
// larger than the run's tables were sized for), the hybrid transform on
// one thread takes the product instead of the FFT's fatal error.
bool directFftServed(SizeCode code) { return fftTablesServe(fftTables, code); }

}  // namespace

void multiplyInjectFaults(uint32_t attemptMask, uint64_t code, bool squaresOnly) {
  injectedAttempts = attemptMask;
  injectedCode = code;
  injectedSquaresOnly = squaresOnly;
}

uint64_t multiplyWorkerCalls() { return workerCalls.load(std::memory_order_relaxed); }

MultiplyMethod chooseSquareMethod(uint64_t n, uint32_t threadPower) {
  if (n < fftSquareThreshold) return MultiplyRecursive;
  if (n < hybridSquareThreshold && (threadPower == 0 || n < threadedHybridThreshold)) {
    return MultiplyFft;
  }
  return MultiplyHybrid;
}

MultiplyMethod chooseMultiplyMethod(uint64_t shorter, uint32_t threadPower) {
  if (shorter < fftMultiplyThreshold) return MultiplyRecursive;
  if (shorter < hybridMultiplyThreshold && (threadPower == 0 || shorter < threadedHybridThreshold)) {
    return MultiplyFft;
  }
  return MultiplyHybrid;
}

bool squareWantsDiskPath(const BigInt& a) {
  return a.words == nullptr && a.length >= diskProductThreshold;
}

bool multiplyWantsDiskPath(const BigInt& a, const BigInt& b) {
  const uint64_t la = a.length, lb = b.length;
  return a.words == nullptr && b.words == nullptr && la >= diskProductThreshold &&
         lb >= diskProductThreshold && la <= 4 * lb && lb <= 4 * la;
}

// The one place that maps a method to its worker.
uint64_t runSquareWorker(Heap* heap, const uint32_t* a, uint64_t n, uint32_t* product,
                         uint64_t chop, uint32_t threadPower, uint32_t attempt) {
  if (injectedFailure(attempt)) return injectedCode;
  switch (chooseSquareMethod(n, threadPower)) {
    case MultiplyRecursive:
      return smallSquare(heap, a, n, product, chop);
    case MultiplyFft:
      if (!directFftServed(fftSquareCode(n, chop))) {
        return hybridSquare(heap, a, n, product, chop, fftTables, 0);
      }
      return fftSquare(heap, a, n, product, chop, fftTables);
    case MultiplyHybrid:
      return hybridSquare(heap, a, n, product, chop, fftTables, threadPower);
  }
  return smallSquare(heap, a, n, product, chop);
}

uint64_t runMultiplyWorker(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                           uint64_t lengthB, uint32_t* product, uint64_t chop,
                           uint32_t threadPower, uint32_t attempt) {
  if (injectedFailure(attempt) && !injectedSquaresOnly) return injectedCode;
  const bool equal = lengthA == lengthB;
  const uint64_t shorter = lengthA < lengthB ? lengthA : lengthB;
  switch (chooseMultiplyMethod(shorter, threadPower)) {
    case MultiplyRecursive:
      break;
    case MultiplyFft:
      if (!directFftServed(fftMultiplyCode(lengthA, lengthB, chop))) {
        return hybridMultiply(heap, a, lengthA, b, lengthB, product, chop, fftTables, 0);
      }
      if (equal) return fftMultiplyEqual(heap, a, b, lengthA, product, chop, fftTables);
      // Up to four times the short length one transform does it, but only
      // below twice the hybrid threshold; past that, the hybrid transform on
      // one thread. Longer operands go in pieces of the short length.
      if (lengthA + lengthB >= 2 * hybridMultiplyThreshold &&
          std::max(lengthA, lengthB) <= 4 * shorter) {
        return hybridMultiply(heap, a, lengthA, b, lengthB, product, chop, fftTables, 0);
      }
      return fftMultiply(heap, a, lengthA, b, lengthB, product, chop, fftTables);
    case MultiplyHybrid:
      return hybridMultiply(heap, a, lengthA, b, lengthB, product, chop, fftTables, threadPower);
  }
  if (equal) return smallMultiplyEqual(heap, a, b, lengthA, product, chop);
  return smallMultiply(heap, a, lengthA, b, lengthB, product, chop);
}

bool multiplySharedTaken(uint64_t na, uint64_t nb, uint64_t nc) {
  // Injected faults are for the single products and their retries.
  if (injectedAttempts != 0) return false;
  for (uint64_t other : {nb, nc}) {
    const uint64_t shorter = std::min(na, other), longer = std::max(na, other);
    if (chooseMultiplyMethod(shorter, 0) != MultiplyFft || longer > 2 * shorter ||
        na + other >= 2 * hybridMultiplyThreshold) {
      return false;
    }
  }
  const SizeCode code = fftMultiplyCode(na, nb, 0);
  return code == fftMultiplyCode(na, nc, 0) && directFftServed(code);
}

uint64_t runDiskSquareWorker(Heap* heap, RaidFile* a, uint64_t n, RaidFile* result,
                             uint64_t* resultLength, uint64_t chop, uint32_t threadPower,
                             uint32_t attempt) {
  if (injectedFailure(attempt)) return injectedCode;
  const bool compact = heapFreeSpace(heap) <= diskSquareBytes(n, chop, threadPower);
  lastFormCompact.store(compact ? 1 : 0, std::memory_order_relaxed);
  if (compact) {
    return diskSquareCompact(heap, a, 0, n, result, 0, resultLength, chop, fftTables,
                             threadPower);
  }
  return diskSquare(heap, a, 0, n, result, 0, resultLength, chop, fftTables, threadPower);
}

uint64_t runDiskMultiplyWorker(Heap* heap, RaidFile* a, uint64_t lengthA, RaidFile* b,
                               uint64_t lengthB, RaidFile* result, uint64_t* resultLength,
                               uint64_t chop, uint32_t threadPower, uint32_t attempt) {
  if (injectedFailure(attempt)) return injectedCode;
  const bool compact =
      heapFreeSpace(heap) <= diskMultiplyBytes(lengthA, lengthB, chop, threadPower);
  lastFormCompact.store(compact ? 1 : 0, std::memory_order_relaxed);
  if (compact) {
    return diskMultiplyCompact(heap, a, 0, lengthA, b, 0, lengthB, result, 0, resultLength, chop,
                               fftTables, threadPower);
  }
  return diskMultiply(heap, a, 0, lengthA, b, 0, lengthB, result, 0, resultLength, chop,
                      fftTables, threadPower);
}

uint32_t diskLastFormCompact() { return lastFormCompact.load(std::memory_order_relaxed); }
