// FFT products and squares against GMP at every row boundary, unbalanced and
// chopped; the worst rounding error of each row; the failure paths; and the
// front ends either side of the hand-over to the hybrid transform.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "arith/fft/fft_test_support.h"
#include "arith/tuning.h"
#include "arith/product_check.h"
#include "arith/multiply.h"
#include "memory/bigint.h"
#include "memory/heap.h"
#include "support/death_console.h"

using productcheck::anyOperand;
using productcheck::matches;
using testbridge::Kind;
using testbridge::Random;

namespace {

// The largest operand the front ends send to one direct transform.
constexpr uint64_t largestDirectWords =
    std::max(std::max(hybridSquareThreshold, hybridMultiplyThreshold), threadedHybridThreshold) - 1;

// Tables serving every row up to that of the largest direct product.
const FftLookupTables* rowTables() {
  static FftLookupTables* built = [] {
    auto* t = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
    if (t == nullptr || growFftTables(t, FftSizeTable[fftSizeRowFor(64 * largestDirectWords)].code) != 0)
      abort();
    return t;
  }();
  return built;
}

productcheck::Entry fftEntry(const FftLookupTables* tables = ffttest::tables(), Heap* heap = nullptr) {
  return [=](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out,
             uint64_t chop, uint32_t*) {
    return b == nullptr ? fftSquare(heap, a, la, out, chop, tables)
                        : fftMultiply(heap, a, la, b, lb, out, chop, tables);
  };
}

// The square through one transform of the row as the products do it, with the
// worst distance of a coefficient to an integer before the rounding.
std::vector<uint32_t> rowSquare(const std::vector<uint32_t>& words, const FftSizeRow& row,
                                double* worstError) {
  const uint64_t L = sizeCodeLength(row.code), n = words.size();
  const uint32_t bits = row.bitsPerPoint;
  ffttest::Buffer buffer(L), copy(L);
  std::vector<uint32_t> points(L);
  splitWordsToBalancedPoints(points.data(), L / 2, words.data(), n, bits);
  forwardFft(buffer.data, points.data(), row.code, rowTables());
  fftPointwiseSquare(buffer.data, row.code);
  std::copy(buffer.data, buffer.data + L, copy.data);
  fftKernels()->inversePasses(copy.data, row.code, rowTables());
  *worstError = ffttest::worstRoundingError(copy.data, row.code);
  inverseFftSigned(buffer.data, points.data(), row.code, bits, rowTables());
  std::vector<uint32_t> out(2 * n);
  packPointsToWords(points.data(), L, out.data(), 2 * n, bits);
  return out;
}

// Balanced points all 2^(b-1) - 1, or (by the carries) all -2^(b-1).
std::vector<uint32_t> extremeOperand(uint64_t n, uint32_t bits, bool negative) {
  std::vector<uint32_t> points((32 * n + bits - 1) / bits, (1u << (bits - 1)) - 1);
  if (negative) points[0] = 1u << (bits - 1);
  std::vector<uint32_t> words(n);
  packPointsToWords(points.data(), points.size(), words.data(), n, bits);
  return words;
}

}  // namespace

TEST(FftProducts, UnbalancedShapesAndChops) {
  Random random = testbridge::testRandom();
  const productcheck::Entry entry = fftEntry();
  const uint64_t shapes[][2] = {{59, 58},     {117, 58},   {116, 58},     {201, 100},
                                {4097, 1024}, {13056, 64}, {13000, 6500}, {20000, 60},
                                {100000, 13056}};
  for (const auto& shape : shapes) {
    const auto a = anyOperand(random, shape[0]), b = anyOperand(random, shape[1]);
    EXPECT_TRUE(matches(entry, a, &b));
    EXPECT_TRUE(matches(entry, b, &a));
  }
  for (int trial = 0; trial < 100; trial++) {
    const bool square = trial % 4 == 0;
    const uint64_t na = random.logUniform(fftMultiplyThreshold, 9000);
    const uint64_t nb = square || trial % 5 == 0 ? na : random.logUniform(fftMultiplyThreshold, 9000);
    const uint64_t chop = trial % 3 == 0 ? random.below(std::min(na, nb) + 1)
                                         : random.between(std::min(na, nb), na + nb - 1);
    const auto a = anyOperand(random, na), b = anyOperand(random, nb);
    ASSERT_TRUE(matches(entry, a, square ? nullptr : &b, chop));
  }
}

// One transform of a serves a * b and a * c, chopped or not: both equal the
// single products whenever the two take one transform length.
TEST(FftProducts, ASharedTransformGivesTheSingleProducts) {
  Random random = testbridge::testRandom();
  int taken = 0;
  for (int trial = 0; trial < 60; trial++) {
    const uint64_t na = random.logUniform(fftMultiplyThreshold, 9000);
    const uint64_t low = std::max(fftMultiplyThreshold, (na + 1) / 2);
    const uint64_t nb = random.between(low, 2 * na), nc = random.between(low, 2 * na);
    if (fftMultiplyCode(na, nb, 0) != fftMultiplyCode(na, nc, 0)) continue;
    taken++;
    const uint64_t chopB = trial % 2 ? 0 : random.below(std::min(na, nb) + 1);
    const uint64_t chopC = trial % 3 ? 0 : random.below(std::min(na, nc) + 1);
    const auto a = anyOperand(random, na), b = anyOperand(random, nb), c = anyOperand(random, nc);
    std::vector<uint32_t> sharedB(na + nb - chopB), sharedC(na + nc - chopC);
    std::vector<uint32_t> singleB(sharedB.size()), singleC(sharedC.size());
    ASSERT_EQ(fftMultiplyShared(nullptr, a.data(), na, b.data(), nb, sharedB.data(), chopB,
                                c.data(), nc, sharedC.data(), chopC, ffttest::tables()),
              0u);
    fftMultiply(nullptr, a.data(), na, b.data(), nb, singleB.data(), chopB, ffttest::tables());
    fftMultiply(nullptr, a.data(), na, c.data(), nc, singleC.data(), chopC, ffttest::tables());
    EXPECT_EQ(sharedB, singleB) << na << " " << nb << " " << chopB;
    EXPECT_EQ(sharedC, singleC) << na << " " << nc << " " << chopC;
  }
  EXPECT_GE(taken, 10);
}

// Each row the products use, up to that of the largest direct product, at
// its full capacity (more than the front ends give it), with all-ones, the
// two extreme operands and random ones: the square is exact, and the worst
// error, printed, stays below 1/4.
TEST(FftProducts, WorstRoundingErrorOfEachRowStaysBelowAQuarter) {
  Random random = testbridge::testRandom();
  const uint32_t last = fftSizeRowFor(64 * largestDirectWords);
  for (uint32_t r = 0; r <= last; r++) {
    const FftSizeRow& row = FftSizeTable[r];
    const uint64_t n = row.capacity / 64;
    double worst = 0.0;
    for (int kind = 0; kind < (n > 13056 ? 4 : 5); kind++) {
      const std::vector<uint32_t> a = kind == 0  ? testbridge::operand(random, Kind::AllOnes, n)
                                      : kind < 3 ? extremeOperand(n, row.bitsPerPoint, kind == 2)
                                                 : testbridge::operand(random, Kind::Uniform, n);
      double error;
      ASSERT_EQ(rowSquare(a, row, &error), testbridge::gmpProduct(a.data(), n, a.data(), n))
          << "row " << r;
      worst = std::fmax(worst, error);
    }
    std::printf("[ ROUNDING ] row %2u: L = %8llu, %u bits, %7llu words: worst error %.5f\n", r,
                (unsigned long long)sizeCodeLength(row.code), unsigned(row.bitsPerPoint),
                (unsigned long long)n, worst);
    EXPECT_LT(worst, 0.25) << "row " << r;
  }
}

TEST(FftProducts, AShortHeapGivesBackItsBlocksAndTheMissingBytes) {
  Random random = testbridge::testRandom();
  const uint64_t n = 2000;  // 8192 points: 64 KiB of transform, 32 KiB of points
  const auto a = testbridge::operand(random, Kind::Uniform, n);
  const auto b = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> out(2 * n);
  for (uint64_t size : {uint64_t(40000), uint64_t(150000), uint64_t(400000)}) {
    Heap heap;
    heapInit(nullptr, &heap, size);
    const uint64_t square = fftSquare(&heap, a.data(), n, out.data(), 0, ffttest::tables());
    const uint64_t product =
        fftMultiply(&heap, a.data(), n, b.data(), n, out.data(), 0, ffttest::tables());
    EXPECT_EQ(heap.activeBlocks, 0u) << size;
    heapDestroy(&heap);
    EXPECT_EQ(square == 0, size > 100000) << size;
    EXPECT_LT(square, 100000u) << size;
    EXPECT_EQ(product == 0, size > 200000) << size;
    EXPECT_NE(product, ~uint64_t(0));
  }
  EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, b.data(), n));
}

// Tables that don't serve a product are a caller's fault; a size past the last
// row is refused before any word is read.
TEST(FftProductsDeathTest, TablesThatDontServeAndSizesPastTheLastRowAreFatal) {
  auto* small = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  ASSERT_EQ(growFftTables(small, 40), 0u);
  Random random = testbridge::testRandom();
  const auto a = testbridge::operand(random, Kind::Uniform, 5000);
  EXPECT_DEATH((consoleToStandardError(), (void)matches(fftEntry(small), a, nullptr)),
               "Invalid Function Parameters: FFT Multiplication\n\nThe lookup tables were not "
               "built for this transform length.");
  releaseFftTablesRecord(small);
  uint32_t word = 1, out = 0;
  EXPECT_EXIT((consoleToStandardError(),
               fftSquare(nullptr, &word, uint64_t(1) << 29, &out, 0, ffttest::tables())),
              ::testing::ExitedWithCode(1), "Maximum FFT size Exceeded\\.");
}

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
      if (n < c.edge) { EXPECT_TRUE(fftTablesServe(fftTables, fftSquareCode(n, 0))) << n; }
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
