// Products of unequal lengths against GMP: the schoolbook rows at every pair
// of small lengths, and the block products of unbalancedKaratsuba and
// unbalancedToom3 at the shapes where their steps change, with the scratch
// held to unbalancedScratchWords by canaries.
#include <gtest/gtest.h>

#include "arith/recursive.h"
#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;

namespace {

typedef void (*Unbalanced)(const uint32_t*, uint64_t, const uint32_t*, uint64_t, uint32_t*,
                           uint32_t*);

// a * b by `routine` on guarded arrays, compared with GMP.
::testing::AssertionResult productMatches(Unbalanced routine, const std::vector<uint32_t>& a,
                                          const std::vector<uint32_t>& b, uint64_t scratchWords) {
  uint64_t la = a.size(), lb = b.size();
  GuardedWords out(la + lb), scratch(scratchWords);
  routine(a.data(), la, b.data(), lb, out.data(), scratch.data());
  std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), la, b.data(), lb);
  if (!std::equal(expected.begin(), expected.end(), out.data()))
    return ::testing::AssertionFailure() << "wrong product " << la << " x " << lb;
  if (!out.intact()) return ::testing::AssertionFailure() << out.intact().message();
  if (!scratch.intact())
    return ::testing::AssertionFailure()
           << "scratch of " << scratchWords << " words: " << scratch.intact().message();
  return ::testing::AssertionSuccess();
}

// Both routines, both operand orders.
void expectShape(testbridge::Random& random, uint64_t longer, uint64_t shorter) {
  std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), longer);
  std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), shorter);
  uint64_t words = unbalancedScratchWords(longer, shorter);
  EXPECT_TRUE(productMatches(unbalancedKaratsuba, a, b, words));
  EXPECT_TRUE(productMatches(unbalancedKaratsuba, b, a, words));
  EXPECT_TRUE(productMatches(unbalancedToom3, a, b, words));
  EXPECT_TRUE(productMatches(unbalancedToom3, b, a, words));
}

}  // namespace

// Every pair of lengths up to 40: the limb loops see each parity of each
// operand, one-word rows, and tops that are a lone word. The equal-length
// schoolbook routines too, through every fixed-length kernel and beyond.
TEST(UnbalancedProducts, SchoolbookRowsAtAllSmallShapes) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n = 1; n <= 40; n++) {
    for (Kind kind : {Kind::Uniform, Kind::AllOnes, Kind::Runs, Kind::PowerPlusOne}) {
      std::vector<uint32_t> a = testbridge::operand(random, kind, n);
      std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), n);
      GuardedWords square(2 * n), product(2 * n);
      basecaseSquare(a.data(), n, square.data());
      basecaseMultiply(a.data(), b.data(), n, product.data());
      std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), n, a.data(), n);
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), square.data())) << n;
      expected = testbridge::gmpProduct(a.data(), n, b.data(), n);
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), product.data())) << n;
      ASSERT_TRUE(square.intact() && product.intact()) << n;
    }
  }
  for (uint64_t la = 1; la <= 40; la++) {
    for (uint64_t lb = 1; lb <= 40; lb++) {
      Kind kind = (la + lb) % 5 == 0 ? Kind::AllOnes : Kind::Uniform;
      std::vector<uint32_t> a = testbridge::operand(random, kind, la);
      std::vector<uint32_t> b = testbridge::operand(random, kind, lb);
      GuardedWords out(la + lb);
      basecaseMultiplyRows(a.data(), la, b.data(), lb, out.data());
      std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), la, b.data(), lb);
      ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << la << " x " << lb;
      ASSERT_TRUE(out.intact()) << la << " x " << lb;
    }
  }
  // Long rows: a shorter operand below elmK against thousands of words.
  for (uint64_t lb : {1, 2, 7, 14}) {
    std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, 3001);
    std::vector<uint32_t> b = testbridge::operand(random, Kind::AllOnes, lb);
    EXPECT_TRUE(productMatches(unbalancedKaratsuba, a, b, unbalancedScratchWords(3001, lb)));
  }
}

// The edges between the steps: S = 1 and S < elmK (rows), L = 2S (one
// balanced product and an equal remainder, not the block loop), L = 2S +- 1,
// L a multiple of S (no short last block), L just above S, L far above S, and
// shorter lengths on both sides of elmT for the Toom-3 form.
TEST(UnbalancedProducts, ShapesAtTheStepEdges) {
  testbridge::Random random = testbridge::testRandom();
  const uint64_t shapes[][2] = {
      {2, 1},      {900, 1},   {30, 14},     {15, 14},     {16, 15},      {30, 15},    {31, 15},
      {29, 15},    {100, 50},  {101, 50},    {99, 50},     {100, 20},     {101, 20},   {61, 60},
      {5000, 16},  {4096, 37}, {1002, 501},  {1003, 501},  {1001, 501},   {1000, 500}, {2600, 600},
      {3000, 600}, {601, 600}, {1500, 1499}, {5003, 1700}, {12000, 4000}, {7, 3},      {64, 63}};
  for (const auto& shape : shapes) {
    SCOPED_TRACE(std::to_string(shape[0]) + " x " + std::to_string(shape[1]));
    expectShape(random, shape[0], shape[1]);
  }
}

TEST(UnbalancedProducts, RandomShapes) {
  testbridge::Random random = testbridge::testRandom();
  for (int round = 0; round < 60; round++) {
    uint64_t longer = random.logUniform(2, 6000);
    uint64_t shorter = random.logUniform(1, longer - 1);
    SCOPED_TRACE(std::to_string(longer) + " x " + std::to_string(shorter));
    expectShape(random, longer, shorter);
  }
}

// Small cut-overs force the block loop, the remainder recursion and Toom-3
// blocks at small sizes; the scratch is exactly 2 * min plus the walk at min.
TEST(UnbalancedProducts, ForcedCutoversAndExactScratch) {
  testbridge::Random random = testbridge::testRandom();
  const RecursionCutovers cuts[] = {{2, 7}, {3, 8}, {4, 13}};
  for (RecursionCutovers cut : cuts) {
    for (int round = 0; round < 80; round++) {
      uint64_t longer = random.logUniform(2, 400);
      uint64_t shorter = random.logUniform(1, longer - 1);
      std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), longer);
      std::vector<uint32_t> b =
          testbridge::operand(random, testbridge::randomKind(random), shorter);
      uint64_t words = 2 * shorter + recursionScratchWordsFor(shorter, cut.karatsuba, cut.toom3);
      SCOPED_TRACE(std::to_string(longer) + " x " + std::to_string(shorter) + " cut-overs " +
                   std::to_string(cut.karatsuba) + "/" + std::to_string(cut.toom3));
      auto karatsuba = [&](const uint32_t* x, uint64_t lx, const uint32_t* y, uint64_t ly,
                           uint32_t* out, uint32_t* scratch) {
        unbalancedKaratsubaWith(x, lx, y, ly, out, scratch, cut);
      };
      auto toom = [&](const uint32_t* x, uint64_t lx, const uint32_t* y, uint64_t ly, uint32_t* out,
                      uint32_t* scratch) { unbalancedToom3With(x, lx, y, ly, out, scratch, cut); };
      for (int form = 0; form < 2; form++) {
        GuardedWords out(longer + shorter), scratch(words);
        if (form == 0)
          karatsuba(a.data(), longer, b.data(), shorter, out.data(), scratch.data());
        else
          toom(b.data(), shorter, a.data(), longer, out.data(), scratch.data());
        std::vector<uint32_t> expected =
            testbridge::gmpProduct(a.data(), longer, b.data(), shorter);
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << "form " << form;
        EXPECT_TRUE(out.intact()) << "form " << form;
        EXPECT_TRUE(scratch.intact()) << "form " << form;
      }
    }
  }
}
