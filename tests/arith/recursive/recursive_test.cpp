// The recursive methods against GMP: lengths, cut-overs, Toom-3 splits, the
// Karatsuba difference cases, forced small cut-overs on exact scratch, and
// the unbalanced forms at their step edges.
#include "arith/recursive/recursive.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "arith/product_check.h"

using productcheck::anyOperand;
using productcheck::Entry;
using productcheck::matches;
using testbridge::Kind;

namespace {

typedef void (*Square)(const uint32_t*, uint64_t, uint32_t*, uint32_t*);
typedef void (*Multiply)(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*);

// f(a, la, b, lb, out, scratch) as an entry (chop 0; b null for a square).
template <class F>
Entry entryOf(F f) {
  return [=](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out,
             uint64_t, uint32_t* s) { return f(a, la, b, lb, out, s), uint64_t(0); };
}

Entry balanced(Square square, Multiply multiply) {
  return entryOf([=](auto a, uint64_t n, auto b, uint64_t, auto out, auto s) {
    b ? multiply(a, b, n, out, s) : square(a, n, out, s);
  });
}

void expectBoth(const Entry& entry, const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                uint64_t squareScratch, uint64_t multiplyScratch) {
  EXPECT_TRUE(matches(entry, a, nullptr, 0, squareScratch));
  EXPECT_TRUE(matches(entry, a, &b, 0, multiplyScratch));
}

}  // namespace

// Toom-3 splits into k, k, r with r = k, k - 1, k - 2 among the lengths.
TEST(RecursiveProducts, EntriesAgreeWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint64_t> lengths = productcheck::tuningEdges(1, 1200);
  for (uint64_t n = 1; n <= 64; n++) lengths.push_back(n);
  for (uint64_t k : {53, 167, 168, 341}) lengths.insert(lengths.end(), {3 * k, 3 * k - 1, 3 * k - 2});
  for (uint64_t n = 65; n <= 1200; n += 1 + random.below(12)) lengths.push_back(n);
  for (int i = 0; i < 10; i++) lengths.push_back(random.logUniform(1200, 20000));
  const Entry entry = balanced(toom3Square, toom3Multiply);
  for (uint64_t n : lengths) {
    const uint64_t squareScratch = recursionScratchWords(n, true);
    const uint64_t multiplyScratch = recursionScratchWords(n, false);
    expectBoth(entry, anyOperand(random, n), anyOperand(random, n), squareScratch, multiplyScratch);
    const auto ones = testbridge::operand(random, Kind::AllOnes, n);
    expectBoth(entry, ones, ones, squareScratch, multiplyScratch);
  }
  // Each method reached directly one below, at and one above each cut-over.
  const Entry methods[] = {
      entryOf([](auto a, uint64_t n, auto b, uint64_t, auto out, auto) {
        b ? basecaseMultiply(a, b, n, out) : basecaseSquare(a, n, out);
      }),
      balanced(karatsubaSquare, karatsubaMultiply), entry};
  for (uint64_t edge : {sqrK, sqrT, elmK, elmT})
    for (uint64_t n = edge - 1; n <= edge + 1; n++)
      for (Kind kind : {Kind::Uniform, Kind::AllOnes, Kind::Runs}) {
        const auto a = testbridge::operand(random, kind, n), b = anyOperand(random, n);
        for (const Entry& method : methods)
          expectBoth(method, a, b, recursionScratchWords(n, true), recursionScratchWords(n, false));
      }
}

// Small cut-overs run every path deep on scratch exactly the walk: a canary
// hit means the walk undercounts.
TEST(RecursiveProducts, ForcedCutoversAndExactScratch) {
  testbridge::Random random = testbridge::testRandom();
  for (RecursionCutovers cut : {RecursionCutovers{2, 7}, {3, 9}, {5, 11}, {4, 20}, {8, 8}}) {
    SCOPED_TRACE(testing::Message() << "cut-overs " << cut.karatsuba << "/" << cut.toom3);
    const Entry toom = entryOf([cut](auto a, uint64_t n, auto b, uint64_t, auto out, auto s) {
      b ? toom3MultiplyWith(a, b, n, out, s, cut) : toom3SquareWith(a, n, out, s, cut);
    });
    const Entry karatsuba = entryOf([cut](auto a, uint64_t n, auto b, uint64_t, auto out, auto s) {
      b ? karatsubaMultiplyWith(a, b, n, out, s, cut) : karatsubaSquareWith(a, n, out, s, cut);
    });
    for (uint64_t n = 1; n <= 260; n += (n < 40 ? 1 : 1 + random.below(12))) {
      const auto a = anyOperand(random, n), b = anyOperand(random, n);
      const uint64_t words = recursionScratchWordsFor(n, cut.karatsuba, cut.toom3);
      expectBoth(toom, a, b, words, words);
      const uint64_t karatsubaWords = recursionScratchWordsFor(n, cut.karatsuba, ~uint64_t(0));
      expectBoth(karatsuba, a, b, karatsubaWords, karatsubaWords);
    }
    if (cut.toom3 > 13) continue;
    for (bool useToom : {false, true}) {
      const Entry unbalanced = entryOf([=](auto a, auto la, auto b, auto lb, auto out, auto s) {
        useToom ? unbalancedToom3With(a, la, b, lb, out, s, cut)
                : unbalancedKaratsubaWith(a, la, b, lb, out, s, cut);
      });
      for (int round = 0; round < 60; round++) {
        const uint64_t longer = random.logUniform(2, 400), shorter = random.logUniform(1, longer - 1);
        const auto a = anyOperand(random, longer), b = anyOperand(random, shorter);
        const uint64_t words = 2 * shorter + recursionScratchWordsFor(shorter, cut.karatsuba, cut.toom3);
        EXPECT_TRUE(matches(unbalanced, useToom ? b : a, useToom ? &a : &b, 0, words));
      }
    }
  }
}

// Rows at every pair of lengths to 40; block products at their step edges
// (S = 1, L = 2S +- 1, multiples, just above, far above, around elmT), then random.
TEST(UnbalancedProducts, RowsAndBlockShapesAgreeWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  const Entry rows = entryOf([](auto a, auto la, auto b, auto lb, auto out, auto) {
    basecaseMultiplyRows(a, la, b, lb, out);
  });
  for (uint64_t la = 1; la <= 40; la++) {
    for (uint64_t lb = 1; lb <= 40; lb++) {
      const Kind kind = (la + lb) % 5 == 0 ? Kind::AllOnes : Kind::Uniform;
      const auto a = testbridge::operand(random, kind, la), b = testbridge::operand(random, kind, lb);
      ASSERT_TRUE(matches(rows, a, &b));
    }
  }
  std::vector<std::pair<uint64_t, uint64_t>> shapes = {
      {2, 1},      {900, 1},   {3001, 2},    {3001, 14},   {30, 14},      {15, 14},    {16, 15},
      {30, 15},    {31, 15},   {29, 15},     {100, 50},    {101, 50},     {99, 50},    {100, 20},
      {101, 20},   {61, 60},   {5000, 16},   {4096, 37},   {1002, 501},   {1003, 501}, {1001, 501},
      {1000, 500}, {2600, 600}, {3000, 600}, {601, 600},   {1500, 1499},  {5003, 1700}, {12000, 4000},
      {7, 3},      {64, 63}};
  for (int round = 0; round < 40; round++) {
    const uint64_t longer = random.logUniform(2, 6000);
    shapes.push_back({longer, random.logUniform(1, longer - 1)});
  }
  const Entry karatsuba = entryOf(unbalancedKaratsuba), toom = entryOf(unbalancedToom3);
  for (const auto& [longer, shorter] : shapes) {
    const auto a = anyOperand(random, longer), b = anyOperand(random, shorter);
    const uint64_t words = unbalancedScratchWords(longer, shorter);
    for (const Entry& routine : {karatsuba, toom}) {
      EXPECT_TRUE(matches(routine, a, &b, 0, words));
      EXPECT_TRUE(matches(routine, b, &a, 0, words));
    }
  }
}
