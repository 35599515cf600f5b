// FFT products and squares against GMP: every length from 54 to 13056 words
// sampled densely with each FftSizeTable row boundary on both sides, the
// lengths 3 * 2^k and 5 * 2^k, unbalanced shapes, chops, all-ones operands,
// the worst rounding error of each row, and the failure paths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <set>
#include <vector>

#include "arith/fft/fft_test_support.h"
#include "arith/tuning.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

using testbridge::Kind;
using testbridge::Number;
using testbridge::Random;

namespace {

// The largest direct FFT square: 13056 words, the row of 835584 bits.
constexpr uint64_t largestWords = hybridSquareThreshold - 1;

// Operand lengths: every length to 200, then a log-uniform sample, each row
// boundary of FftSizeTable (the largest square of the row and one past it, and
// the same for its odd-width drop), and the lengths 3 * 2^k and 5 * 2^k.
std::vector<uint64_t> sampledLengths(Random& random, uint64_t sampleCount) {
  std::set<uint64_t> lengths;
  for (uint64_t n = fftSquareThreshold; n <= 200; n++) lengths.insert(n);
  for (uint64_t i = 0; i < sampleCount; i++) lengths.insert(random.logUniform(200, largestWords));
  for (uint32_t r = 0; r < fftSizeRowCount; r++) {
    const FftSizeRow& row = FftSizeTable[r];
    uint64_t L = sizeCodeLength(row.code);
    for (uint64_t bits : {row.capacity, (row.bitsPerPoint - uint64_t(1)) * L}) {
      for (uint64_t n : {bits / 64 - 1, bits / 64, bits / 64 + 1}) {
        if (n >= fftSquareThreshold && n <= largestWords) lengths.insert(n);
      }
    }
  }
  for (uint64_t m : {3, 5}) {
    for (uint64_t n = m; n <= largestWords; n *= 2) {
      if (n >= fftSquareThreshold) lengths.insert(n);
    }
  }
  return {lengths.begin(), lengths.end()};
}

// a * b (a squared for b null) without a chop, against GMP.
::testing::AssertionResult productMatches(const std::vector<uint32_t>& a,
                                          const std::vector<uint32_t>* b,
                                          const FftLookupTables* tables = ffttest::tables()) {
  const std::vector<uint32_t>& other = b == nullptr ? a : *b;
  const uint64_t total = a.size() + other.size();
  testbridge::GuardedWords out(total);
  uint64_t code = b == nullptr ? fftSquare(nullptr, a.data(), a.size(), out.data(), 0, tables)
                               : fftMultiply(nullptr, a.data(), a.size(), b->data(), b->size(),
                                             out.data(), 0, tables);
  if (code != 0) return ::testing::AssertionFailure() << "returned " << code;
  if (!out.intact()) return ::testing::AssertionFailure() << "wrote past the product";
  auto expected = testbridge::gmpProduct(a.data(), a.size(), other.data(), other.size());
  Number e;
  testbridge::toMpz(e.z, expected.data(), total);
  return testbridge::equalsMpz(out.data(), total, e.z);
}

// The square of words[0 .. n) through one transform of the given row, as the
// products do it (balanced points, signed rounding), with the worst distance
// of a coefficient to an integer before the rounding.
std::vector<uint32_t> rowSquare(const std::vector<uint32_t>& words, const FftSizeRow& row,
                                double* worstError) {
  const uint64_t L = sizeCodeLength(row.code), n = words.size();
  const uint32_t bits = row.bitsPerPoint;
  ffttest::Buffer buffer(L);
  std::vector<uint32_t> points(L);
  splitWordsToBalancedPoints(points.data(), L / 2, words.data(), n, bits);
  forwardFft(buffer.data, points.data(), row.code, ffttest::tables());
  fftPointwiseSquare(buffer.data, row.code);
  ffttest::Buffer copy(L);
  std::copy(buffer.data, buffer.data + L, copy.data);
  fftKernels()->inversePasses(copy.data, row.code, ffttest::tables());
  *worstError = ffttest::worstRoundingError(copy.data, row.code);
  inverseFftSigned(buffer.data, points.data(), row.code, bits, ffttest::tables());
  std::vector<uint32_t> out(2 * n);
  packPointsToWords(points.data(), L, out.data(), 2 * n, bits);
  return out;
}

// Operands whose balanced points all sit at one end of the range: every
// point 2^(b-1) - 1, or (by the carries) every point -2^(b-1). Their squares
// have the largest coefficients that balanced points allow.
std::vector<uint32_t> extremeOperand(uint64_t n, uint32_t bits, bool negative) {
  std::vector<uint32_t> points((32 * n + bits - 1) / bits, (1u << (bits - 1)) - 1);
  if (negative) points[0] = 1u << (bits - 1);
  std::vector<uint32_t> words(n);
  packPointsToWords(points.data(), points.size(), words.data(), n, bits);
  return words;
}

}  // namespace

TEST(FftProducts, SquaresAndProductsAgreeWithGmpFrom54To13056Words) {
  // Random and all-ones operands at every sampled length, up to the largest
  // row's all-ones square.
  Random random = testbridge::testRandom();
  for (uint64_t n : sampledLengths(random, 120)) {
    auto a = testbridge::operand(random, testbridge::randomKind(random), n);
    auto ones = testbridge::operand(random, Kind::AllOnes, n);
    ASSERT_TRUE(productMatches(a, nullptr)) << "n = " << n;
    ASSERT_TRUE(productMatches(ones, nullptr)) << "all ones, n = " << n;
    if (n < fftMultiplyThreshold) continue;
    auto b = testbridge::operand(random, testbridge::randomKind(random), n);
    ASSERT_TRUE(productMatches(a, &b)) << "n = " << n;
    ASSERT_TRUE(productMatches(ones, &b)) << "all ones times b, n = " << n;
  }
}

TEST(FftProducts, WorstRoundingErrorOfEachRowStaysBelowAQuarter) {
  // Each row at its full capacity (the largest square it holds): random,
  // all-ones and the two extreme operands; row 1 is the 128-point row at 22
  // bits, row 18 the largest row of a direct product.
  Random random = testbridge::testRandom();
  for (uint32_t r = 0; r < fftSizeRowCount; r++) {
    const FftSizeRow& row = FftSizeTable[r];
    const uint64_t n = row.capacity / 64;
    if (n > largestWords) break;
    double worst = 0.0;
    for (int kind = 0; kind < 5; kind++) {
      std::vector<uint32_t> a = kind == 0  ? testbridge::operand(random, Kind::AllOnes, n)
                                : kind < 3 ? extremeOperand(n, row.bitsPerPoint, kind == 2)
                                           : testbridge::operand(random, Kind::Uniform, n);
      double error;
      ASSERT_EQ(rowSquare(a, row, &error), testbridge::gmpProduct(a.data(), n, a.data(), n))
          << "row " << r;
      worst = std::fmax(worst, error);
    }
    std::printf("[ ROUNDING ] row %2u: L = %6llu, %u bits, %5llu words: worst error %.5f\n", r,
                (unsigned long long)sizeCodeLength(row.code), unsigned(row.bitsPerPoint),
                (unsigned long long)n, worst);
    EXPECT_LT(worst, 0.25) << "row " << r;
  }
}

TEST(FftProducts, UnbalancedShapes) {
  Random random = testbridge::testRandom();
  const uint64_t shapes[][2] = {{59, 58},     {117, 58},   {116, 58},     {201, 100},
                                {4097, 1024}, {13056, 64}, {13000, 6500}, {20000, 60},
                                {100000, 13056}};
  for (const auto& shape : shapes) {
    auto a = testbridge::operand(random, testbridge::randomKind(random), shape[0]);
    auto b = testbridge::operand(random, testbridge::randomKind(random), shape[1]);
    EXPECT_TRUE(productMatches(a, &b)) << shape[0] << " x " << shape[1];
    EXPECT_TRUE(productMatches(b, &a)) << shape[1] << " x " << shape[0];
  }
}

TEST(FftProducts, ChopsAreExactProductsOfTheKeptWords) {
  // Random shapes (ratios up to 150): the kept words are exact for the
  // operands as the chop rule cuts them, and fall short of the full
  // product's words by at most 3.
  Random random = testbridge::testRandom();
  for (int trial = 0; trial < 100; trial++) {
    uint64_t na = random.logUniform(fftMultiplyThreshold, 9000);
    uint64_t nb = trial % 5 == 0 ? na : random.logUniform(fftMultiplyThreshold, 9000);
    bool square = trial % 4 == 0;
    if (square) nb = na;
    uint64_t total = na + nb;
    // Chops below, at and beyond the operands' lengths.
    uint64_t chop = trial % 3 == 0 ? random.below(std::min(na, nb) + 1)
                                   : random.between(std::min(na, nb), total - 1);
    auto a = testbridge::operand(random, testbridge::randomKind(random), na);
    auto b = square ? a : testbridge::operand(random, testbridge::randomKind(random), nb);
    testbridge::GuardedWords out(total - chop);
    uint64_t code = square ? fftSquare(nullptr, a.data(), na, out.data(), chop, ffttest::tables())
                           : fftMultiply(nullptr, a.data(), na, b.data(), nb, out.data(), chop,
                                         ffttest::tables());
    ASSERT_EQ(code, 0u);
    ASSERT_TRUE(out.intact());
    uint64_t cutA = chop > nb ? chop - nb : 0, cutB = chop > na ? chop - na : 0;
    Number x, y, expected, full, result;
    testbridge::toMpz(x.z, a.data() + cutA, na - cutA);
    testbridge::toMpz(y.z, b.data() + cutB, nb - cutB);
    mpz_mul(expected.z, x.z, y.z);
    mpz_tdiv_q_2exp(expected.z, expected.z, 32 * (chop - cutA - cutB));
    ASSERT_TRUE(testbridge::equalsMpz(out.data(), total - chop, expected.z))
        << na << " x " << nb << " chop " << chop << (square ? " square" : "");
    testbridge::toMpz(x.z, a.data(), na);
    testbridge::toMpz(y.z, b.data(), nb);
    mpz_mul(full.z, x.z, y.z);
    mpz_tdiv_q_2exp(full.z, full.z, 32 * chop);
    testbridge::toMpz(result.z, out.data(), total - chop);
    mpz_sub(full.z, full.z, result.z);
    EXPECT_GE(mpz_sgn(full.z), 0);
    EXPECT_LE(mpz_cmp_ui(full.z, 3), 0) << na << " x " << nb << " chop " << chop;
  }
}

TEST(FftProducts, ALowPartBeyondTheChopHasNoInfluence) {
  Random random = testbridge::testRandom();
  const uint64_t n = 3000, chop = 4500;
  auto a = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> first(2 * n - chop), second(2 * n - chop);
  ASSERT_EQ(fftSquare(nullptr, a.data(), n, first.data(), chop, ffttest::tables()), 0u);
  for (uint64_t k = 0; k < chop - n; k++) a[k] = random.word();
  ASSERT_EQ(fftSquare(nullptr, a.data(), n, second.data(), chop, ffttest::tables()), 0u);
  EXPECT_EQ(first, second);
}

// Tables are built for every product of a run before it starts: a product
// they don't serve is a fault of the caller, and fatal.
TEST(FftProductsDeathTest, TablesTooSmallForTheProductAreFatal) {
  auto* small = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  ASSERT_EQ(growFftTables(small, 40), 0u);
  Random random = testbridge::testRandom();
  auto a = testbridge::operand(random, Kind::Uniform, 5000);
  EXPECT_DEATH(
      {
        consoleToStandardError();
        productMatches(a, nullptr, small);
      },
               "Invalid Function Parameters: FFT Multiplication\n\nThe lookup tables were not "
               "built for this transform length.");
  releaseFftTablesRecord(small);
}

TEST(FftProducts, AShortHeapGivesBackItsBlocksAndTheMissingBytes) {
  Random random = testbridge::testRandom();
  const uint64_t n = 2000;  // 8192 points: 64 KiB of transform, 32 KiB of points
  auto a = testbridge::operand(random, Kind::Uniform, n);
  auto b = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> out(2 * n);
  for (uint64_t size : {uint64_t(40000), uint64_t(150000), uint64_t(400000)}) {
    Heap heap;
    heapInit(nullptr, &heap, size);
    uint64_t square = fftSquare(&heap, a.data(), n, out.data(), 0, ffttest::tables());
    uint64_t product =
        fftMultiply(&heap, a.data(), n, b.data(), n, out.data(), 0, ffttest::tables());
    EXPECT_EQ(heap.activeBlocks, 0u) << size;
    heapDestroy(&heap);
    // Short: the missing bytes; a square needs one transform, a product two.
    EXPECT_EQ(square == 0, size > 100000) << size;
    EXPECT_LT(square, 100000u) << size;
    EXPECT_EQ(product == 0, size > 200000) << size;
    EXPECT_NE(product, ~uint64_t(0));
  }
  EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, b.data(), n));
}

TEST(FftProductsDeathTest, ASizeBeyondTheLastRowIsFatal) {
  // 2^29 words square to more bits than the last row's 24159191040; the size
  // is refused before any word is read.
  uint32_t word = 1, out = 0;
  std::string printed;
  EXPECT_EXIT(
      {
        consoleCaptureTo(&printed);
        fftSquare(nullptr, &word, uint64_t(1) << 29, &out, 0, ffttest::tables());
      },
      ::testing::ExitedWithCode(1), "");
}
