// The workers smallSquare, smallMultiply and smallMultiplyEqual: the full
// product at chop 0, the exact upper words while chop stays within the
// operands, and past an operand length the upper words of the product with
// the low words dropped by the rule, 0 to 3 units below the true quotient;
// plus their use of the heap and the fatal Toom-3 self-check.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "arith/recursive/recursive.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;
using testbridge::Number;

namespace {

// x = floor(a' b' / 2^(32 shift)), a' and b' without their dropA, dropB
// low words.
void upperProduct(Number& x, const std::vector<uint32_t>& a, uint64_t dropA,
                  const std::vector<uint32_t>& b, uint64_t dropB, uint64_t shift) {
  Number y;
  testbridge::toMpz(x.z, a.data() + dropA, a.size() - dropA);
  testbridge::toMpz(y.z, b.data() + dropB, b.size() - dropB);
  mpz_mul(x.z, x.z, y.z);
  mpz_tdiv_q_2exp(x.z, x.z, 32 * shift);
}

// Checks the retained words of one call against the drop rule: past lengthA
// b loses words, past lengthB a does.
void expectChopped(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b, uint64_t chop,
                   const GuardedWords& got, const std::string& what) {
  const uint64_t la = a.size(), lb = b.size(), retained = la + lb - chop;
  const uint64_t dropA = chop > lb ? chop - lb : 0, dropB = chop > la ? chop - la : 0;
  SCOPED_TRACE(what + " lengths " + std::to_string(la) + " x " + std::to_string(lb) + " chop " +
               std::to_string(chop));
  Number rule, truth, shortfall;
  upperProduct(rule, a, dropA, b, dropB, chop - dropA - dropB);
  upperProduct(truth, a, 0, b, 0, chop);
  EXPECT_TRUE(testbridge::equalsMpz(got.data(), retained, rule.z)) << "not the rule's words";
  testbridge::toMpz(shortfall.z, got.data(), retained);
  mpz_sub(shortfall.z, truth.z, shortfall.z);
  EXPECT_GE(mpz_sgn(shortfall.z), 0);
  EXPECT_LE(mpz_cmp_ui(shortfall.z, dropA + dropB == 0 ? 0 : 3), 0);
  EXPECT_TRUE(got.intact());
}

}  // namespace

// Chops at 0, 1, inside both operands, at and around each length, a random
// one past the longer, and the last word.
TEST(SmallEntries, EveryKindOfChop) {
  testbridge::Random random = testbridge::testRandom();
  enum Form { Square, Equal, Unequal };
  const struct {
    Form form;
    uint64_t la, lb;
  } cases[] = {{Square, 1, 1},     {Square, 2, 2},       {Square, 11, 11},     {Square, 12, 12},
               {Square, 13, 13},   {Square, 53, 53},     {Square, 157, 157},   {Square, 158, 158},
               {Square, 159, 159}, {Square, 400, 400},   {Equal, 1, 1},        {Equal, 14, 14},
               {Equal, 15, 15},    {Equal, 16, 16},      {Equal, 57, 57},      {Equal, 500, 500},
               {Equal, 501, 501},  {Equal, 502, 502},    {Unequal, 9, 3},      {Unequal, 3, 9},
               {Unequal, 40, 57},  {Unequal, 57, 40},    {Unequal, 200, 7},    {Unequal, 30, 1000},
               {Unequal, 700, 650}, {Unequal, 1, 20}};
  for (const auto& c : cases) {
    std::vector<uint32_t> a = testbridge::operand(random, testbridge::randomKind(random), c.la);
    std::vector<uint32_t> b =
        c.form == Square ? a : testbridge::operand(random, testbridge::randomKind(random), c.lb);
    const uint64_t small = std::min(c.la, c.lb), large = std::max(c.la, c.lb);
    for (uint64_t chop : {uint64_t(0), uint64_t(1), small / 2, small, small + 1,
                          (small + large) / 2, large, large + 1, large + random.below(small),
                          c.la + c.lb - 1}) {
      if (chop >= c.la + c.lb) continue;
      GuardedWords got(c.la + c.lb - chop);
      uint64_t status = 0;
      if (c.form == Square) status = smallSquare(nullptr, a.data(), c.la, got.data(), chop);
      if (c.form == Equal)
        status = smallMultiplyEqual(nullptr, a.data(), b.data(), c.la, got.data(), chop);
      if (c.form == Unequal)
        status = smallMultiply(nullptr, a.data(), c.la, b.data(), c.lb, got.data(), chop);
      EXPECT_EQ(status, 0u);
      expectChopped(a, b, chop, got, c.form == Square ? "square" : "product");
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
    GuardedWords got(2 * n + 4), square(2 * n - 1);
    smallMultiply(&heap, a.data(), n, b.data(), n + 7, got.data(), 3);
    expectChopped(a, b, 3, got, "smallMultiply from a heap");
    smallSquare(&heap, a.data(), n, square.data(), 1);
    expectChopped(a, a, 1, square, "smallSquare from a heap");
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
  for (bool square : {true, false}) {
    EXPECT_DEATH(
        {
          consoleInputFrom("");
          dup2(STDERR_FILENO, STDOUT_FILENO);
          toom3CorruptForTesting = true;
          if (square) toom3Square(a.data(), a.size(), out.data(), scratch.data());
          else smallMultiplyEqual(nullptr, b.data(), b.data(), b.size(), out.data(), 0);
        },
        expected);
  }
  // Without the hook (set only in the children) the same square is right.
  EXPECT_FALSE(toom3CorruptForTesting);
  toom3Square(a.data(), a.size(), out.data(), scratch.data());
  std::vector<uint32_t> square = testbridge::gmpProduct(a.data(), a.size(), a.data(), a.size());
  EXPECT_TRUE(std::equal(square.begin(), square.end(), out.data()));
}
