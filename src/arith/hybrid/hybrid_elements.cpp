// The element products of the hybrid transform: squares and products modulo
// 2^(32W) + 1, by the nega-cyclic FFT (whose wrap-around is the ring's
// reduction) or, for small elements, by the recursive methods and a
// subtraction of the high half; and the threads over the elements.
#include <cstdint>
#include <cstring>

#include "arith/hybrid/fermat.h"
#include "arith/fft/fft.h"
#include "arith/hybrid/hybrid.h"
#include "arith/recursive/recursive.h"
#include "platform/console.h"

namespace {

// Elements of fewer words than this (all threads' share) are not forked.
constexpr uint64_t forkElementWords = 10000;

uint64_t roundUp16(uint64_t words) { return (words + 15) & ~uint64_t(15); }

void setOne(uint32_t* element, uint64_t W) {
  memset(element, 0, 4 * (W + 1));
  element[0] = 1;
}

// element = low - high of the 2W-word product (2^(32W) = -1).
void reduceProduct(uint32_t* element, const uint32_t* product, uint64_t W) {
  int64_t acc = 0;
  for (uint64_t i = 0; i < W; i++) {
    acc = (acc >> 32) + int64_t(product[i]) - int64_t(product[W + i]);
    element[i] = uint32_t(acc);
  }
  fermatFold(element, W, acc >> 32);
}

double* alignedBuffer(uint32_t* scratch) {
  if ((reinterpret_cast<uintptr_t>(scratch) & 15) != 0)
    assertionFailure("Invalid Data Alignment: ", "FFT Multiplication", "");
  return reinterpret_cast<double*>(scratch);
}

// The FFT's result: its points, or -1 when the inverse says so.
void finishFft(uint32_t* element, double* buffer, uint32_t* points, const ElementPlan& plan) {
  const uint64_t W = plan.words;
  if (inverseFftWrapped(buffer, points, plan.code, plan.bitsPerPoint, plan.tables) != 0) {
    memset(element, 0, 4 * W);
    element[W] = 1;
    return;
  }
  packPointsToWords(points, plan.length, element, W, plan.bitsPerPoint);
  element[W] = 0;
}

}  // namespace

// Balanced points, each in [-2^(b-1), 2^(b-1)] but the top one, which keeps
// its carry (0 .. 2^b): the coefficients of an element product stay four
// times below those of unsigned points, whose worst rounding error reached
// 0.25 on the element rows (2b + log2(L) up to 49).
void hybridElementSplit(uint32_t* points, const uint32_t* element, const ElementPlan& plan) {
  splitWordsToBalancedPoints(points, plan.length, element, plan.words, plan.bitsPerPoint);
}

uint64_t hybridElementScratchWords(const ElementPlan& plan, bool square) {
  const uint64_t W = plan.words;
  if (plan.method == 1) return roundUp16(square ? 3 * plan.length : 5 * plan.length);
  uint64_t recursion = recursionScratchWordsFor(W, sqrK, sqrT);
  if (!square) {
    uint64_t products = recursionScratchWords(W, false);
    if (products > recursion) recursion = products;
  }
  return roundUp16(2 * W + recursion);
}

// E = E^2. The scratch (hybridElementScratchWords) is 16-byte aligned.
void hybridElementSquare(uint32_t* element, const ElementPlan& plan, uint32_t* scratch) {
  const uint64_t W = plan.words;
  if (element[W] != 0) {  // (-1)^2 = 1
    setOne(element, W);
    return;
  }
  if (plan.method == 0) {
    toom3Square(element, W, scratch, scratch + 2 * W);
    reduceProduct(element, scratch, W);
    return;
  }
  const uint64_t L = plan.length;
  double* buffer = alignedBuffer(scratch);
  uint32_t* points = scratch + 2 * L;
  hybridElementSplit(points, element, plan);
  forwardFftFull(buffer, points, plan.code, plan.tables);
  fftPointwiseSquare(buffer, plan.code);
  finishFft(element, buffer, points, plan);
}

// A = A * B; the -1 cases are a negation or 1. Scratch as above (product).
void hybridElementProduct(uint32_t* first, const uint32_t* second, const ElementPlan& plan,
                          uint32_t* scratch) {
  const uint64_t W = plan.words;
  if (first[W] != 0 && second[W] != 0) {
    setOne(first, W);
    return;
  }
  if (first[W] != 0) {
    memcpy(first, second, 4 * (W + 1));
    fermatNegate(first, W);
    return;
  }
  if (second[W] != 0) {
    fermatNegate(first, W);
    return;
  }
  if (plan.method == 0) {
    toom3Multiply(first, second, W, scratch, scratch + 2 * W);
    reduceProduct(first, scratch, W);
    return;
  }
  const uint64_t L = plan.length;
  double* buffer = alignedBuffer(scratch);
  double* other = alignedBuffer(scratch + 2 * L);
  uint32_t* points = scratch + 4 * L;
  hybridElementSplit(points, second, plan);
  forwardFftFull(other, points, plan.code, plan.tables);
  hybridElementSplit(points, first, plan);
  forwardFftFull(buffer, points, plan.code, plan.tables);
  fftPointwiseMultiply(buffer, other, plan.code);
  finishFft(first, buffer, points, plan);
}

// Elements [begin, begin + count) from the last to the first; threads take
// halves while there are threads and enough words.
template <typename One>
static void elementRange(uint64_t begin, uint64_t count, uint64_t W, uint32_t* scratch,
                         uint64_t scratchStride, uint32_t threadPower, One one) {
  if (threadPower > 0 && count >= 2 && W * count >= forkElementWords) {
    const uint64_t half = count / 2;
    uint32_t* upperScratch = scratch + (scratchStride << (threadPower - 1));
    auto upper = [&] {
      elementRange(begin + half, count - half, W, upperScratch, scratchStride, threadPower - 1,
                   one);
    };
    fermatFork(upper, [&] {
      elementRange(begin, half, W, scratch, scratchStride, threadPower - 1, one);
    });
    return;
  }
  for (uint64_t i = begin + count; i-- > begin;) one(i, scratch);
}

void hybridElementSquares(uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                          uint32_t* scratch, uint64_t scratchStride, const ElementPlan& plan,
                          uint32_t threadPower) {
  elementRange(0, uint64_t(1) << k, W, scratch, scratchStride, threadPower,
               [&](uint64_t i, uint32_t* s) { hybridElementSquare(transform + i * stride, plan, s); });
}

void hybridElementProducts(uint32_t* first, const uint32_t* second, uint64_t W, uint64_t stride,
                           uint32_t k, uint32_t* scratch, uint64_t scratchStride,
                           const ElementPlan& plan, uint32_t threadPower) {
  elementRange(0, uint64_t(1) << k, W, scratch, scratchStride, threadPower,
               [&](uint64_t i, uint32_t* s) {
                 hybridElementProduct(first + i * stride, second + i * stride, plan, s);
               });
}
