// The hand-over from the direct FFT to the hybrid transform: the front ends
// against GMP either side of every hand-over with all-ones operands, on one
// thread and on two. (The rounding of every row the direct products use is
// measured in fft_test.cpp.) The estimate's scratch covers the products
// either side of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "arith/fft/fft_test_support.h"
#include "arith/multiply.h"
#include "memory/bigint.h"
#include "memory/heap.h"
#include "shell/estimate.h"
#include "support/gmp_bridge.h"

using testbridge::Kind;

namespace {

// The largest operand the front ends send to one direct transform: an
// equal-length product or square below the hand-over, or an unbalanced one
// whose lengths sum to less than twice it.
constexpr uint64_t largestDirectWords =
    std::max(std::max(hybridSquareThreshold, hybridMultiplyThreshold), threadedHybridThreshold) - 1;

}  // namespace

// All-ones operands (the largest coefficients) one word either side of each
// hand-over, through the front ends with the method they choose checked:
// squares, equal products, and unbalanced products whose short operand sits
// at the edge: one word longer (one transform below the edge) and three
// times as long (below the edge the hybrid transform on one thread).
TEST(FftHandOver, FrontEndsAgreeWithGmpEitherSideOfEachHandOver) {
  struct Case {
    uint64_t edge;
    uint32_t threadPower;
    bool square;
  };
  const Case cases[] = {{hybridSquareThreshold, 0, true},
                        {hybridMultiplyThreshold, 0, false},
                        {threadedHybridThreshold, 1, true},
                        {threadedHybridThreshold, 1, false}};
  testbridge::Random random = testbridge::testRandom();
  // The tables a run of this size builds, so that the direct FFT serves it.
  buildFftTables(largestDirectWords + 100);
  Heap heap;
  heapInit(nullptr, &heap, 320 * largestDirectWords + (64 << 20));
  for (const Case& c : cases) {
    for (uint64_t n : {c.edge - 1, c.edge}) {
      const MultiplyMethod method =
          c.square ? chooseSquareMethod(n, c.threadPower) : chooseMultiplyMethod(n, c.threadPower);
      EXPECT_EQ(method, n < c.edge ? MultiplyFft : MultiplyHybrid) << n;
      if (n < c.edge) EXPECT_TRUE(fftTablesServe(fftTables, fftSquareCode(n, 0))) << n;
      std::vector<uint32_t> ones = testbridge::operand(random, Kind::AllOnes, n);
      std::vector<uint32_t> near = testbridge::operand(random, Kind::AllOnes, n + 1);
      std::vector<uint32_t> far = testbridge::operand(random, Kind::AllOnes, 3 * n + 1);
      BigInt a{n, ones.data(), n, nullptr};
      BigInt b{n + 1, near.data(), n + 1, nullptr}, d{3 * n + 1, far.data(), 3 * n + 1, nullptr};
      for (BigInt* other : c.square ? std::vector<BigInt*>{&a} : std::vector<BigInt*>{&a, &b, &d}) {
        BigInt out;
        if (c.square) {
          bigIntSquare(&heap, &a, &out, 0, 0, c.threadPower);
        } else {
          bigIntMultiply(&heap, &a, other, &out, 0, 0, c.threadPower);
        }
        std::vector<uint32_t> got(out.words, out.words + out.length);
        got.resize(n + other->length, 0u);
        EXPECT_EQ(got, testbridge::gmpProduct(ones.data(), n, other->words, other->length))
            << n << " x " << other->length << " words, threadPower " << c.threadPower;
        heapRelease(out.words);
      }
    }
  }
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
  releaseFftTables();  // the next test builds the usual ones
}

// The memory estimate's scratch of an n-word product (productScratch, taken
// at n + 100 words) covers what the front ends take above the operands on
// either side of the hand-over: the largest direct FFTs and the first hybrid
// products, squares and products, on one thread and on two.
TEST(FftHandOver, ProductScratchCoversEitherSideOfTheHandOver) {
  buildFftTables(hybridSquareThreshold + 100);
  testbridge::Random random = testbridge::testRandom();
  double closest = 1e30;
  for (uint64_t n : {hybridSquareThreshold - 101, hybridSquareThreshold - 1, hybridSquareThreshold}) {
    for (uint32_t threadPower : {0u, 1u}) {
      const uint64_t estimate = productScratch(n, threadPower);
      for (bool square : {true, false}) {
        Heap heap;
        heapInit(nullptr, &heap, estimate + 16 * n + (1 << 20));
        BigInt a{n, heapAllocateWords(&heap, n + 2), n + 2, nullptr}, b = a, out;
        b.words = heapAllocateWords(&heap, n + 2);
        testbridge::fill(random, Kind::Uniform, a.words, n);
        testbridge::fill(random, Kind::Uniform, b.words, n);
        a.words[n - 1] = b.words[n - 1] = ~0u;
        const uint64_t operands = uint64_t(heap.peakUsed - heap.base);
        if (square) {
          bigIntSquare(&heap, &a, &out, 0, 0, threadPower);
        } else {
          bigIntMultiply(&heap, &a, &b, &out, 0, 0, threadPower);
        }
        const uint64_t peak = uint64_t(heap.peakUsed - heap.base) - operands;
        EXPECT_GE(estimate, peak) << (square ? "square of " : "product of ") << n
                                  << " words, threadPower " << threadPower;
        closest = std::min(closest, double(estimate) / double(peak));
        for (uint32_t* words : {out.words, b.words, a.words}) heapRelease(words);
        heapDestroy(&heap);
      }
    }
  }
  std::printf("productScratch / peak at the hand-over: at least %.3f\n", closest);
  releaseFftTables();
}
