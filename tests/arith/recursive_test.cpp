// Balanced squares and products of the recursive methods against GMP: every
// length through the dispatching entries, the cut-over edges, operands that
// stress carries and the Karatsuba difference, and scratch kept within the
// figure of recursionScratchWords.
#include "arith/recursive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;

namespace {

// Runs `routine` (out, scratch) on guarded arrays of 2n and `scratchWords`
// words and compares out with a * b.
void expectProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                   uint64_t scratchWords, const std::function<void(uint32_t*, uint32_t*)>& routine,
                   const char* what) {
  uint64_t la = a.size(), lb = b.size();
  GuardedWords out(la + lb), scratch(scratchWords);
  routine(out.data(), scratch.data());
  std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), la, b.data(), lb);
  bool same = std::equal(expected.begin(), expected.end(), out.data());
  EXPECT_TRUE(same) << what << " lengths " << la << " x " << lb;
  EXPECT_TRUE(out.intact()) << what << " out, lengths " << la << " x " << lb;
  EXPECT_TRUE(scratch.intact()) << what << " scratch, lengths " << la << " x " << lb;
}

void expectSquare(const std::vector<uint32_t>& a, uint64_t scratchWords,
                  void (*routine)(const uint32_t*, uint64_t, uint32_t*, uint32_t*),
                  const char* what) {
  uint64_t n = a.size();
  expectProduct(
      a, a, scratchWords, [&](uint32_t* out, uint32_t* s) { routine(a.data(), n, out, s); }, what);
}

void expectMultiply(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                    uint64_t scratchWords,
                    void (*routine)(const uint32_t*, const uint32_t*, uint64_t, uint32_t*,
                                    uint32_t*),
                    const char* what) {
  uint64_t n = a.size();
  expectProduct(
      a, b, scratchWords,
      [&](uint32_t* out, uint32_t* s) { routine(a.data(), b.data(), n, out, s); }, what);
}

// Every length 1 .. 1200 (each cut-over and the lengths either side of it
// among them), in a shuffled order.
std::vector<uint64_t> lengthsTo1200(testbridge::Random& random) {
  std::vector<uint64_t> lengths;
  for (uint64_t n = 1; n <= 1200; n++) lengths.push_back(n);
  std::shuffle(lengths.begin(), lengths.end(), random.engine);
  return lengths;
}

}  // namespace

TEST(RecursiveProducts, SquaresAgreeWithGmpAtEveryLengthTo1200) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : lengthsTo1200(random)) {
    Kind kind = testbridge::randomKind(random);
    SCOPED_TRACE(testbridge::kindName(kind));
    expectSquare(testbridge::operand(random, kind, n), recursionScratchWords(n, true), toom3Square,
                 "toom3Square");
  }
}

TEST(RecursiveProducts, ProductsAgreeWithGmpAtEveryLengthTo1200) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : lengthsTo1200(random)) {
    Kind kindA = testbridge::randomKind(random), kindB = testbridge::randomKind(random);
    SCOPED_TRACE(std::string(testbridge::kindName(kindA)) + " x " + testbridge::kindName(kindB));
    expectMultiply(testbridge::operand(random, kindA, n), testbridge::operand(random, kindB, n),
                   recursionScratchWords(n, false), toom3Multiply, "toom3Multiply");
  }
}

TEST(RecursiveProducts, SampledLengthsTo20000) {
  testbridge::Random random = testbridge::testRandom();
  for (int round = 0; round < 16; round++) {
    uint64_t n = random.logUniform(1200, 20000);
    expectSquare(testbridge::operand(random, testbridge::randomKind(random), n),
                 recursionScratchWords(n, true), toom3Square, "toom3Square");
    uint64_t m = random.logUniform(1200, 20000);
    expectMultiply(testbridge::operand(random, testbridge::randomKind(random), m),
                   testbridge::operand(random, testbridge::randomKind(random), m),
                   recursionScratchWords(m, false), toom3Multiply, "toom3Multiply");
  }
}

// All ones gives the largest carries everywhere, and the product must still
// fit its 2n words exactly (it is 2^(64n) - 2^(32n+1) + 1).
TEST(RecursiveProducts, AllOnesOperands) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint64_t> lengths;
  for (uint64_t n = 1; n <= 600; n++) lengths.push_back(n);
  for (uint64_t n : {1000, 1503, 3001, 4800}) lengths.push_back(n);
  for (uint64_t n : lengths) {
    std::vector<uint32_t> ones = testbridge::operand(random, Kind::AllOnes, n);
    expectSquare(ones, recursionScratchWords(n, true), toom3Square, "toom3Square");
    expectMultiply(ones, ones, recursionScratchWords(n, false), toom3Multiply, "toom3Multiply");
  }
}

// Each method is reached directly at the lengths around its cut-over, and the
// routine below the cut-over must give the same digits as the one above.
TEST(RecursiveProducts, CutoverEdges) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t edge : {sqrK, sqrT}) {
    for (uint64_t n = edge - 1; n <= edge + 1; n++) {
      for (Kind kind : {Kind::Uniform, Kind::AllOnes, Kind::Runs}) {
        std::vector<uint32_t> a = testbridge::operand(random, kind, n);
        uint64_t scratch = recursionScratchWords(n, true);
        expectSquare(a, scratch, karatsubaSquare, "karatsubaSquare");
        expectSquare(a, scratch, toom3Square, "toom3Square");
        expectSquare(
            a, 0,
            [](const uint32_t* x, uint64_t len, uint32_t* out, uint32_t*) {
              basecaseSquare(x, len, out);
            },
            "basecaseSquare");
      }
    }
  }
  for (uint64_t edge : {elmK, elmT}) {
    for (uint64_t n = edge - 1; n <= edge + 1; n++) {
      for (Kind kind : {Kind::Uniform, Kind::AllOnes, Kind::Runs}) {
        std::vector<uint32_t> a = testbridge::operand(random, kind, n);
        std::vector<uint32_t> b = testbridge::operand(random, Kind::Uniform, n);
        uint64_t scratch = recursionScratchWords(n, false);
        expectMultiply(a, b, scratch, karatsubaMultiply, "karatsubaMultiply");
        expectMultiply(a, b, scratch, toom3Multiply, "toom3Multiply");
        expectMultiply(
            a, b, 0,
            [](const uint32_t* x, const uint32_t* y, uint64_t len, uint32_t* out, uint32_t*) {
              basecaseMultiply(x, y, len, out);
            },
            "basecaseMultiply");
      }
    }
  }
}

// The Karatsuba difference: a zero high half makes d equal lo, equal halves
// make d zero, and the larger half may be either one (found by the top word
// of lo when n is odd, otherwise by the compare). Products mix the signs.
TEST(RecursiveProducts, KaratsubaDifferenceCases) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint64_t> lengths = {12, 13, 14, 15, 16, 17, 30, 31, 63, 64, 100, 157, 333, 500};
  for (uint64_t n : lengths) {
    uint64_t h = (n + 1) / 2, l = n - h;
    for (int shape = 0; shape < 5; shape++) {
      std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, n);
      std::vector<uint32_t> b = testbridge::operand(random, Kind::Uniform, n);
      switch (shape) {
        case 0:  // zero high half
          std::fill(a.begin() + h, a.end(), 0u);
          std::fill(b.begin() + h, b.end(), 0u);
          break;
        case 1:  // equal halves (the top word of lo zero when n is odd)
          if (h > l) a[h - 1] = b[h - 1] = 0;
          std::copy(a.begin(), a.begin() + l, a.begin() + h);
          std::copy(b.begin(), b.begin() + l, b.begin() + h);
          break;
        case 2:  // halves equal but for the lowest word: the compare runs down
          if (h > l) a[h - 1] = 0;
          std::copy(a.begin(), a.begin() + l, a.begin() + h);
          a[h] = a[0] + 1;
          if (a[h] == 0) a[0] = 0, a[h] = 1;
          std::copy(a.begin(), a.end(), b.begin());
          b[0] = a[h] + 1;
          if (b[0] == 0) b[0] = 1, b[h] = 0;
          break;
        case 3:  // hi larger in a, lo larger in b: the signs differ
          if (h > l) a[h - 1] = 0;
          a[h + l - 1] = 0xFFFFFFFFu, a[l - 1] = 0;
          b[h - 1] = 0xFFFFFFFFu, b[n - 1] = 0;
          break;
        default:  // zero low half
          std::fill(a.begin(), a.begin() + h, 0u);
          break;
      }
      expectSquare(a, recursionScratchWords(n, true), karatsubaSquare, "karatsubaSquare");
      expectMultiply(a, b, recursionScratchWords(n, false), karatsubaMultiply, "karatsubaMultiply");
      expectMultiply(b, a, recursionScratchWords(n, false), karatsubaMultiply, "karatsubaMultiply");
    }
  }
}

// Toom-3 cuts n into k, k, r with r = n - 2k = k, k - 1 or k - 2; the loops
// over the words that the short top third lacks run accordingly.
TEST(RecursiveProducts, Toom3SplitRemainders) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t k : {53, 54, 60, 97, 167, 168, 200, 341}) {
    for (uint64_t n : {3 * k, 3 * k - 1, 3 * k - 2}) {
      Kind kind = testbridge::randomKind(random);
      std::vector<uint32_t> a = testbridge::operand(random, kind, n);
      std::vector<uint32_t> b = testbridge::operand(random, Kind::Uniform, n);
      if (n >= sqrT) expectSquare(a, recursionScratchWords(n, true), toom3Square, "toom3Square");
      if (n >= elmT)
        expectMultiply(a, b, recursionScratchWords(n, false), toom3Multiply, "toom3Multiply");
    }
  }
}

// With small cut-overs every path runs at small sizes, many levels deep, and
// the scratch is exactly the walk from n (for squares too, without the
// doubling), so a canary hit means the walk undercounts.
TEST(RecursiveProducts, ForcedCutoversAndExactScratch) {
  testbridge::Random random = testbridge::testRandom();
  const RecursionCutovers cuts[] = {{2, 7}, {3, 9}, {5, 11}, {4, 20}, {8, 8}};
  for (RecursionCutovers cut : cuts) {
    for (uint64_t n = 1; n <= 260; n += (n < 60 ? 1 : 1 + random.below(9))) {
      uint64_t words = recursionScratchWordsFor(n, cut.karatsuba, cut.toom3);
      std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), n);
      std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), n);
      std::string what =
          "cut-overs " + std::to_string(cut.karatsuba) + "/" + std::to_string(cut.toom3);
      SCOPED_TRACE(what);
      expectProduct(
          a, a, words,
          [&](uint32_t* out, uint32_t* s) { toom3SquareWith(a.data(), n, out, s, cut); },
          "toom3SquareWith");
      expectProduct(
          a, b, words,
          [&](uint32_t* out, uint32_t* s) {
            toom3MultiplyWith(a.data(), b.data(), n, out, s, cut);
          },
          "toom3MultiplyWith");
      uint64_t karatsubaWords = recursionScratchWordsFor(n, cut.karatsuba, ~uint64_t(0));
      expectProduct(
          a, a, karatsubaWords,
          [&](uint32_t* out, uint32_t* s) { karatsubaSquareWith(a.data(), n, out, s, cut); },
          "karatsubaSquareWith");
      expectProduct(
          a, b, karatsubaWords,
          [&](uint32_t* out, uint32_t* s) {
            karatsubaMultiplyWith(a.data(), b.data(), n, out, s, cut);
          },
          "karatsubaMultiplyWith");
    }
  }
}

// The walk by its rules, worked by hand: products of 15 words take one
// Karatsuba level of 16; a square of 6 words walks from 12; a product of 501
// words: q = 167 adds 1004, then Karatsuba from 168: 168 + 84 + 42 + 22.
TEST(RecursiveProducts, ScratchWalkFollowsItsRules) {
  EXPECT_EQ(recursionScratchWords(14, false), 0u);
  EXPECT_EQ(recursionScratchWords(15, false), 16u);
  EXPECT_EQ(recursionScratchWords(5, true), 0u);
  EXPECT_EQ(recursionScratchWords(6, true), 12u);
  EXPECT_EQ(recursionScratchWords(501, false), 1004u + 168 + 84 + 42 + 22);
  // Karatsuba alone at a length above the Toom-3 cut-over needs no more than
  // the walk allows (callers may reach it directly).
  for (uint64_t n = 1; n < 100000; n += 1 + n / 64) {
    EXPECT_LE(recursionScratchWordsFor(n, elmK, ~uint64_t(0)), recursionScratchWords(n, false));
    EXPECT_LE(recursionScratchWordsFor(2 * n, sqrK, ~uint64_t(0)), recursionScratchWords(n, true));
    EXPECT_LE(recursionScratchWords(n, false), recursionScratchWords(n + 1, false));
  }
}
