// Products of unequal lengths against GMP: the schoolbook rows at every pair
// of small lengths, and the block products of unbalancedKaratsuba and
// unbalancedToom3 at the shapes where their steps change, with the scratch
// held to its figure by canaries.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "arith/recursive/recursive.h"
#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;

namespace {

typedef std::function<void(const uint32_t*, uint64_t, const uint32_t*, uint64_t, uint32_t*,
                           uint32_t*)>
    Unbalanced;

// a * b by `routine` on guarded arrays, compared with GMP.
::testing::AssertionResult productMatches(const Unbalanced& routine,
                                          const std::vector<uint32_t>& a,
                                          const std::vector<uint32_t>& b, uint64_t scratchWords) {
  const uint64_t la = a.size(), lb = b.size();
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

std::vector<uint32_t> anyOperand(testbridge::Random& random, uint64_t n) {
  return testbridge::operand(random, testbridge::randomKind(random), n);
}

}  // namespace

// Every pair of lengths up to 40 (each parity, one-word rows, lone top
// words), and long rows of a short operand against thousands of words.
TEST(UnbalancedProducts, SchoolbookRowsAtAllSmallShapes) {
  testbridge::Random random = testbridge::testRandom();
  const Unbalanced rows = [](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb,
                             uint32_t* out, uint32_t*) { basecaseMultiplyRows(a, la, b, lb, out); };
  for (uint64_t la = 1; la <= 40; la++) {
    for (uint64_t lb = 1; lb <= 40; lb++) {
      Kind kind = (la + lb) % 5 == 0 ? Kind::AllOnes : Kind::Uniform;
      ASSERT_TRUE(productMatches(rows, testbridge::operand(random, kind, la),
                                 testbridge::operand(random, kind, lb), 0));
    }
  }
  for (uint64_t lb : {1, 2, 7, 14}) {
    std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, 3001);
    std::vector<uint32_t> b = testbridge::operand(random, Kind::AllOnes, lb);
    EXPECT_TRUE(productMatches(unbalancedKaratsuba, a, b, unbalancedScratchWords(3001, lb)));
  }
}

// The edges between the steps: S = 1 and S < elmK (rows), L = 2S (one
// balanced product and an equal remainder, not the block loop), L = 2S +- 1,
// L a multiple of S, L just above S, L far above S, shorter lengths on both
// sides of elmT for the Toom-3 form; then random shapes. Both routines, both
// operand orders.
TEST(UnbalancedProducts, ShapesAtTheStepEdgesAndRandom) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<std::pair<uint64_t, uint64_t>> shapes = {
      {2, 1},      {900, 1},   {30, 14},     {15, 14},     {16, 15},      {30, 15},    {31, 15},
      {29, 15},    {100, 50},  {101, 50},    {99, 50},     {100, 20},     {101, 20},   {61, 60},
      {5000, 16},  {4096, 37}, {1002, 501},  {1003, 501},  {1001, 501},   {1000, 500}, {2600, 600},
      {3000, 600}, {601, 600}, {1500, 1499}, {5003, 1700}, {12000, 4000}, {7, 3},      {64, 63}};
  for (int round = 0; round < 40; round++) {
    const uint64_t longer = random.logUniform(2, 6000);
    shapes.push_back({longer, random.logUniform(1, longer - 1)});
  }
  for (const auto& [longer, shorter] : shapes) {
    SCOPED_TRACE(std::to_string(longer) + " x " + std::to_string(shorter));
    std::vector<uint32_t> a = anyOperand(random, longer), b = anyOperand(random, shorter);
    const uint64_t words = unbalancedScratchWords(longer, shorter);
    for (Unbalanced routine : {Unbalanced(unbalancedKaratsuba), Unbalanced(unbalancedToom3)}) {
      EXPECT_TRUE(productMatches(routine, a, b, words));
      EXPECT_TRUE(productMatches(routine, b, a, words));
    }
  }
}

// Small cut-overs force the block loop, the remainder recursion and Toom-3
// blocks at small sizes; the scratch is exactly 2 * min plus the walk at min.
TEST(UnbalancedProducts, ForcedCutoversAndExactScratch) {
  testbridge::Random random = testbridge::testRandom();
  for (RecursionCutovers cut : {RecursionCutovers{2, 7}, {3, 8}, {4, 13}}) {
    const Unbalanced karatsuba = [cut](const uint32_t* x, uint64_t lx, const uint32_t* y,
                                       uint64_t ly, uint32_t* out, uint32_t* scratch) {
      unbalancedKaratsubaWith(x, lx, y, ly, out, scratch, cut);
    };
    const Unbalanced toom = [cut](const uint32_t* x, uint64_t lx, const uint32_t* y, uint64_t ly,
                                  uint32_t* out, uint32_t* scratch) {
      unbalancedToom3With(x, lx, y, ly, out, scratch, cut);
    };
    for (int round = 0; round < 80; round++) {
      const uint64_t longer = random.logUniform(2, 400);
      const uint64_t shorter = random.logUniform(1, longer - 1);
      std::vector<uint32_t> a = anyOperand(random, longer), b = anyOperand(random, shorter);
      const uint64_t words =
          2 * shorter + recursionScratchWordsFor(shorter, cut.karatsuba, cut.toom3);
      SCOPED_TRACE(testing::Message() << longer << " x " << shorter << " cut-overs "
                                      << cut.karatsuba << "/" << cut.toom3);
      EXPECT_TRUE(productMatches(karatsuba, a, b, words));
      EXPECT_TRUE(productMatches(toom, b, a, words));
    }
  }
}
