// The workers smallSquare, smallMultiply and smallMultiplyEqual: the full
// product at chop 0, the exact upper words while chop stays within the
// operands, and the shortened product when chop passes an operand length;
// plus their use of the heap and the fatal Toom-3 self-check.
//
// What is asserted for a chop beyond an operand: the retained words equal,
// exactly, the upper words of the product of the operands with their low
// words dropped as the rule says (computed by GMP), and they lie below the
// true floor(a * b / 2^(32 chop)) by 0 to 3 units of the last retained word.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "arith/recursive.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;
using testbridge::Number;

namespace {

// floor(x / 2^(32 chop)) of the product of a and b with `dropA`, `dropB` low
// words removed first, as `words` words.
std::vector<uint32_t> upperWords(const std::vector<uint32_t>& a, uint64_t dropA,
                                 const std::vector<uint32_t>& b, uint64_t dropB, uint64_t chop,
                                 uint64_t words) {
  Number x, y;
  testbridge::toMpz(x.z, a.data() + dropA, a.size() - dropA);
  testbridge::toMpz(y.z, b.data() + dropB, b.size() - dropB);
  mpz_mul(x.z, x.z, y.z);
  mpz_tdiv_q_2exp(x.z, x.z, 32 * chop);
  return testbridge::fromMpz(x.z, words);
}

// (true - got) as a number, for words of equal length; -1 when got is larger.
int64_t shortfall(const std::vector<uint32_t>& truth, const uint32_t* got) {
  Number t, g;
  testbridge::toMpz(t.z, truth.data(), truth.size());
  testbridge::toMpz(g.z, got, truth.size());
  mpz_sub(t.z, t.z, g.z);
  if (mpz_sgn(t.z) < 0) return -1;
  return mpz_fits_slong_p(t.z) ? mpz_get_si(t.z) : 1000;
}

// Checks one call of a worker with the retained words in a guarded array.
// `dropA`/`dropB` are the words the chop rule leaves out (0 when it keeps all).
void expectChopped(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b, uint64_t chop,
                   uint64_t dropA, uint64_t dropB, const GuardedWords& got,
                   const std::string& what) {
  uint64_t retained = a.size() + b.size() - chop;
  std::vector<uint32_t> truth = upperWords(a, 0, b, 0, chop, retained);
  std::vector<uint32_t> rule = upperWords(a, dropA, b, dropB, chop - dropA - dropB, retained);
  SCOPED_TRACE(what + " lengths " + std::to_string(a.size()) + " x " + std::to_string(b.size()) +
               " chop " + std::to_string(chop));
  EXPECT_TRUE(std::equal(rule.begin(), rule.end(), got.data())) << "not the rule's words";
  int64_t below = shortfall(truth, got.data());
  EXPECT_GE(below, 0);
  EXPECT_LE(below, 3);
  if (dropA == 0 && dropB == 0) {
    EXPECT_EQ(below, 0);
  }
  EXPECT_TRUE(got.intact());
}

}  // namespace

TEST(SmallEntries, SquaresWithEveryKindOfChop) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : {1, 2, 5, 11, 12, 13, 40, 53, 157, 158, 159, 400}) {
    std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), n);
    std::vector<uint64_t> chops = {0, 1, n / 2, n, n + 1, 2 * n - 1};
    chops.push_back(n + random.below(n));
    for (uint64_t chop : chops) {
      if (chop >= 2 * n) continue;
      GuardedWords got(2 * n - chop);
      EXPECT_EQ(smallSquare(nullptr, a.data(), n, got.data(), chop), 0u);
      uint64_t drop = chop > n ? chop - n : 0;
      expectChopped(a, a, chop, drop, drop, got, "smallSquare");
    }
  }
}

TEST(SmallEntries, EqualProductsWithEveryKindOfChop) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : {1, 3, 14, 15, 16, 57, 300, 500, 501, 502}) {
    std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), n);
    std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), n);
    for (uint64_t chop : {uint64_t(0), uint64_t(1), n - 1, n, n + 1, n + n / 2, 2 * n - 1}) {
      if (chop >= 2 * n) continue;
      GuardedWords got(2 * n - chop);
      EXPECT_EQ(smallMultiplyEqual(nullptr, a.data(), b.data(), n, got.data(), chop), 0u);
      uint64_t drop = chop > n ? chop - n : 0;
      expectChopped(a, b, chop, drop, drop, got, "smallMultiplyEqual");
    }
  }
}

// Unequal lengths, either one the longer, with chop below both lengths,
// between them, and above both (where both operands lose words).
TEST(SmallEntries, UnequalProductsWithEveryKindOfChop) {
  testbridge::Random random = testbridge::testRandom();
  const uint64_t shapes[][2] = {{9, 3},   {3, 9},     {40, 57},   {57, 40},
                                {200, 7}, {30, 1000}, {700, 650}, {1, 20}};
  for (const auto& shape : shapes) {
    uint64_t la = shape[0], lb = shape[1];
    std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), la);
    std::vector<uint32_t> b = testbridge::operand(random, testbridge::randomKind(random), lb);
    uint64_t small = std::min(la, lb), large = std::max(la, lb);
    std::vector<uint64_t> chops = {0,     1,         small,      small + 1, (small + large) / 2,
                                   large, large + 1, la + lb - 1};
    chops.push_back(large + random.below(small));
    for (uint64_t chop : chops) {
      if (chop >= la + lb) continue;
      GuardedWords got(la + lb - chop);
      EXPECT_EQ(smallMultiply(nullptr, a.data(), la, b.data(), lb, got.data(), chop), 0u);
      // The rule: past lengthA both lose words; past lengthB only a does.
      uint64_t dropA = 0, dropB = 0;
      if (chop > la) {
        dropB = chop - la;
        dropA = chop > lb ? chop - lb : 0;
      } else if (chop > lb) {
        dropA = chop - lb;
      }
      expectChopped(a, b, chop, dropA, dropB, got, "smallMultiply");
    }
  }
}

// From an arena: every temporary and scratch goes back (no leak reported at
// the end), and an arena too small for the scratch ends in the fatal memory
// path rather than a wrong product.
TEST(SmallEntries, ScratchComesFromTheHeapAndGoesBack) {
  testbridge::Random random = testbridge::testRandom();
  std::string printed;
  consoleCaptureTo(&printed);
  Heap heap;
  heapInit(nullptr, &heap, 8 << 20);
  for (uint64_t n : {20, 200, 900}) {
    std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, n);
    std::vector<uint32_t> b = testbridge::operand(random, Kind::Uniform, n + 7);
    GuardedWords got(2 * n + 7);
    smallMultiply(&heap, a.data(), n, b.data(), n + 7, got.data(), 3);
    expectChopped(a, b, 3, 0, 0, got, "smallMultiply from a heap");
    GuardedWords square(2 * n - 1);
    smallSquare(&heap, a.data(), n, square.data(), 1);
    expectChopped(a, a, 1, 0, 0, square, "smallSquare from a heap");
  }
  heapDestroy(&heap);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(printed, "");

  EXPECT_EXIT(
      {
        consoleInputFrom("");
        dup2(STDERR_FILENO, STDOUT_FILENO);
        Heap tiny;
        heapInit(nullptr, &tiny, 4096);
        std::vector<uint32_t> a(2000, 7u);
        std::vector<uint32_t> out(4000);
        smallSquare(&tiny, a.data(), 2000, out.data(), 0);
      },
      ::testing::ExitedWithCode(1), "Memory Allocation Failure\\.");
}

// A flipped bit in the interpolation leaves 6 z1 + 6 z3 odd: the division by
// 6 must see it and end with the assertion layout (a deliberate crash).
TEST(SmallEntries, Toom3RemainderCheckIsFatal) {
  std::vector<uint32_t> a(sqrT + 5, 0x12345678u), b(elmT, 0x9abcdef0u);
  std::vector<uint32_t> out(2 * elmT), scratch(recursionScratchWords(elmT, true));
  const char* expected =
      "FATAL ERROR: Assertion Failure\n\nImpossible Functional Result: Toom-3 "
      "Multiplication\n\nDivision by 6 produced a non-zero remainder\\.";
  EXPECT_DEATH(
      {
        consoleInputFrom("");
        dup2(STDERR_FILENO, STDOUT_FILENO);
        toom3CorruptForTesting = true;
        toom3Square(a.data(), a.size(), out.data(), scratch.data());
      },
      expected);
  EXPECT_DEATH(
      {
        consoleInputFrom("");
        dup2(STDERR_FILENO, STDOUT_FILENO);
        toom3CorruptForTesting = true;
        smallMultiplyEqual(nullptr, b.data(), b.data(), b.size(), out.data(), 0);
      },
      expected);
  // Without the hook the same products are right (the flag was only set in
  // the children).
  EXPECT_FALSE(toom3CorruptForTesting);
  toom3Square(a.data(), a.size(), out.data(), scratch.data());
  std::vector<uint32_t> square = testbridge::gmpProduct(a.data(), a.size(), a.data(), a.size());
  EXPECT_TRUE(std::equal(square.begin(), square.end(), out.data()));
}
