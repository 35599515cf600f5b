// Balanced squares and products of the recursive methods against GMP: sampled
// lengths through the dispatching entries with every cut-over edge, operands
// that stress carries and the Karatsuba difference, and scratch kept within
// the figure of recursionScratchWords by canaries.
#include "arith/recursive/recursive.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;

namespace {

typedef std::function<void(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*)>
    Routine;

// routine(a, b, n, out, scratch) on guarded arrays, compared with a * b.
void expectProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                   uint64_t scratchWords, const Routine& routine, const std::string& what) {
  const uint64_t n = a.size();
  GuardedWords out(2 * n), scratch(scratchWords);
  routine(a.data(), b.data(), n, out.data(), scratch.data());
  std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), n, b.data(), n);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << what << " n " << n;
  EXPECT_TRUE(out.intact()) << what << " out, n " << n;
  EXPECT_TRUE(scratch.intact()) << what << " scratch, n " << n;
}

Routine squareOf(void (*square)(const uint32_t*, uint64_t, uint32_t*, uint32_t*)) {
  return [square](const uint32_t* a, const uint32_t*, uint64_t n, uint32_t* out, uint32_t* s) {
    square(a, n, out, s);
  };
}

// The dispatching entries on a square of a and a product a * b.
void expectEntries(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b) {
  const uint64_t n = a.size();
  expectProduct(a, a, recursionScratchWords(n, true), squareOf(toom3Square), "toom3Square");
  expectProduct(a, b, recursionScratchWords(n, false), toom3Multiply, "toom3Multiply");
}

}  // namespace

// Every length to 64, each cut-over and one either side, Toom-3 splits of n
// into k, k, r with r = k, k - 1, k - 2, a sparse sample up to 1200 and some
// lengths to 20000, each with random operand kinds.
TEST(RecursiveProducts, EntriesAgreeWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint64_t> lengths;
  for (uint64_t n = 1; n <= 64; n++) lengths.push_back(n);
  for (uint64_t edge : {sqrK, sqrT, elmK, elmT})
    for (uint64_t n = edge - 1; n <= edge + 1; n++) lengths.push_back(n);
  for (uint64_t k : {53, 167, 168, 341})
    lengths.insert(lengths.end(), {3 * k, 3 * k - 1, 3 * k - 2});
  for (uint64_t n = 65; n <= 1200; n += 1 + random.below(12)) lengths.push_back(n);
  for (int i = 0; i < 10; i++) lengths.push_back(random.logUniform(1200, 20000));
  for (uint64_t n : lengths) {
    Kind kindA = testbridge::randomKind(random), kindB = testbridge::randomKind(random);
    SCOPED_TRACE(std::string(testbridge::kindName(kindA)) + " x " + testbridge::kindName(kindB));
    expectEntries(testbridge::operand(random, kindA, n), testbridge::operand(random, kindB, n));
  }
}

// All ones: the largest carries everywhere, yet the product 2^(64n) -
// 2^(32n+1) + 1 fits its 2n words exactly.
TEST(RecursiveProducts, AllOnesOperands) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint64_t> lengths = {1000, 1503, 3001, 4800};
  for (uint64_t n = 1; n <= 600; n += (n < 40 ? 1 : 1 + random.below(8))) lengths.push_back(n);
  for (uint64_t n : lengths) {
    std::vector<uint32_t> ones = testbridge::operand(random, Kind::AllOnes, n);
    expectEntries(ones, ones);
  }
}

// Each method reached directly around each cut-over gives GMP's digits.
TEST(RecursiveProducts, CutoverEdges) {
  testbridge::Random random = testbridge::testRandom();
  const Routine basecaseSquareRoutine = [](const uint32_t* a, const uint32_t*, uint64_t n,
                                           uint32_t* out, uint32_t*) { basecaseSquare(a, n, out); };
  const Routine basecaseMultiplyRoutine = [](const uint32_t* a, const uint32_t* b, uint64_t n,
                                             uint32_t* out,
                                             uint32_t*) { basecaseMultiply(a, b, n, out); };
  for (uint64_t edge : {sqrK, sqrT, elmK, elmT}) {
    const bool square = edge == sqrK || edge == sqrT;
    for (uint64_t n = edge - 1; n <= edge + 1; n++) {
      for (Kind kind : {Kind::Uniform, Kind::AllOnes, Kind::Runs}) {
        std::vector<uint32_t> a = testbridge::operand(random, kind, n);
        std::vector<uint32_t> b = square ? a : testbridge::operand(random, Kind::Uniform, n);
        const uint64_t scratch = recursionScratchWords(n, square);
        const std::pair<Routine, const char*> routines[] = {
            {square ? squareOf(karatsubaSquare) : Routine(karatsubaMultiply), "karatsuba"},
            {square ? squareOf(toom3Square) : Routine(toom3Multiply), "toom3"},
            {square ? basecaseSquareRoutine : basecaseMultiplyRoutine, "basecase"}};
        for (const auto& [routine, name] : routines) expectProduct(a, b, scratch, routine, name);
      }
    }
  }
}

// The Karatsuba difference: a zero high half makes d equal lo, equal halves
// make d zero, and the larger half may be either one (found by the top word
// of lo when n is odd, otherwise by the compare). Products mix the signs.
TEST(RecursiveProducts, KaratsubaDifferenceCases) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : {12, 13, 14, 15, 16, 17, 31, 64, 157, 333, 500}) {
    const uint64_t h = (n + 1) / 2, l = n - h;
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
          b = a;
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
      }
      expectProduct(a, a, recursionScratchWords(n, true), squareOf(karatsubaSquare), "square");
      expectProduct(a, b, recursionScratchWords(n, false), karatsubaMultiply, "a * b");
      expectProduct(b, a, recursionScratchWords(n, false), karatsubaMultiply, "b * a");
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
    SCOPED_TRACE(testing::Message() << "cut-overs " << cut.karatsuba << "/" << cut.toom3);
    for (uint64_t n = 1; n <= 260; n += (n < 40 ? 1 : 1 + random.below(12))) {
      const uint64_t words = recursionScratchWordsFor(n, cut.karatsuba, cut.toom3);
      const uint64_t karatsubaWords = recursionScratchWordsFor(n, cut.karatsuba, ~uint64_t(0));
      std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), n);
      std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), n);
      auto with = [cut](auto square, auto multiply) {
        return std::make_pair(
            Routine([=](const uint32_t* x, const uint32_t*, uint64_t len, uint32_t* out,
                        uint32_t* s) { square(x, len, out, s, cut); }),
            Routine([=](const uint32_t* x, const uint32_t* y, uint64_t len, uint32_t* out,
                        uint32_t* s) { multiply(x, y, len, out, s, cut); }));
      };
      auto toom = with(toom3SquareWith, toom3MultiplyWith);
      auto karatsuba = with(karatsubaSquareWith, karatsubaMultiplyWith);
      expectProduct(a, a, words, toom.first, "toom3SquareWith");
      expectProduct(a, b, words, toom.second, "toom3MultiplyWith");
      expectProduct(a, a, karatsubaWords, karatsuba.first, "karatsubaSquareWith");
      expectProduct(a, b, karatsubaWords, karatsuba.second, "karatsubaMultiplyWith");
    }
  }
}

// Karatsuba alone above the Toom-3 cut-over (callers may reach it directly)
// needs no more than the walk allows, and the walk grows with n.
TEST(RecursiveProducts, ScratchWalkCoversKaratsubaAlone) {
  for (uint64_t n = 1; n < 100000; n += 1 + n / 64) {
    EXPECT_LE(recursionScratchWordsFor(n, elmK, ~uint64_t(0)), recursionScratchWords(n, false));
    EXPECT_LE(recursionScratchWordsFor(2 * n, sqrK, ~uint64_t(0)), recursionScratchWords(n, true));
    EXPECT_LE(recursionScratchWords(n, false), recursionScratchWords(n + 1, false));
  }
}
