// smallSquare, smallMultiply and smallMultiplyEqual at every kind of chop, and
// the Toom-3 division by 6, whose check is fatal for an odd value and for an
// even one that 3 does not divide.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "arith/product_check.h"
#include "arith/recursive/recursive.h"
#include "arith/recursive/toom3_passes.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/death_console.h"

using productcheck::Entry;
using productcheck::matches;

namespace {

// The workers as one entry: a square, or a product of equal or unequal lengths.
Entry smallEntry(Heap* heap) {
  return [heap](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out,
                uint64_t chop, uint32_t*) {
    if (b == nullptr) return smallSquare(heap, a, la, out, chop);
    if (la == lb) return smallMultiplyEqual(heap, a, b, la, out, chop);
    return smallMultiply(heap, a, la, b, lb, out, chop);
  };
}

}  // namespace

// Chops inside, at and around each length and past the longer; every other
// case from an arena, whose blocks all go back with nothing printed.
TEST(SmallEntries, EveryKindOfChop) {
  testbridge::Random random = testbridge::testRandom();
  enum Form { Square, Equal, Unequal };
  const struct {
    Form form;
    uint64_t la, lb;
  } cases[] = {{Square, 1, 1},     {Square, 2, 2},     {Square, 11, 11},   {Square, 12, 12},
               {Square, 13, 13},   {Square, 53, 53},   {Square, 157, 157}, {Square, 158, 158},
               {Square, 159, 159}, {Square, 400, 400}, {Equal, 1, 1},      {Equal, 14, 14},
               {Equal, 15, 15},    {Equal, 16, 16},    {Equal, 57, 57},    {Equal, 500, 500},
               {Equal, 501, 501},  {Equal, 502, 502},  {Unequal, 9, 3},    {Unequal, 3, 9},
               {Unequal, 40, 57},  {Unequal, 57, 40},  {Unequal, 200, 7},  {Unequal, 30, 1000},
               {Unequal, 700, 650}, {Unequal, 1, 20}};
  std::string printed;
  consoleCaptureTo(&printed);
  Heap heap;
  heapInit(nullptr, &heap, 8 << 20);
  bool arena = false;
  for (const auto& c : cases) {
    const Entry entry = smallEntry((arena = !arena) ? &heap : nullptr);
    const auto a = productcheck::anyOperand(random, c.la), b = productcheck::anyOperand(random, c.lb);
    const uint64_t small = std::min(c.la, c.lb), large = std::max(c.la, c.lb);
    for (uint64_t chop : {uint64_t(0), uint64_t(1), small / 2, small, small + 1,
                          (small + large) / 2, large, large + 1, large + random.below(small),
                          c.la + c.lb - 1}) {
      if (chop < c.la + c.lb) { EXPECT_TRUE(matches(entry, a, c.form == Square ? nullptr : &b, chop)); }
    }
    EXPECT_EQ(heap.activeBlocks, 0u);
  }
  heapDestroy(&heap);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(printed, "");
}

// An arena too small for the scratch ends in the fatal memory path.
TEST(SmallEntries, ATooSmallArenaIsFatal) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        Heap tiny;
        heapInit(nullptr, &tiny, 4096);
        std::vector<uint32_t> a(2000, 7u);
        std::vector<uint32_t> out(4000);
        smallSquare(&tiny, a.data(), 2000, out.data(), 0);
      },
      ::testing::ExitedWithCode(1), "Memory Allocation Failure\\.");
}

// A multiple of 6 adds its quotient; remainders 1 to 4 are fatal, as is the
// corruption hook's flipped low bit inside a real Toom-3 product.
TEST(SmallEntries, Toom3DivisionBySixChecksBothFactors) {
  testbridge::Random random = testbridge::testRandom();
  const uint64_t k = 5, words = 4 * k + 1;
  testbridge::Number q, x;
  for (int round = 0; round < 20; round++) {
    auto quotient = testbridge::operand(random, testbridge::randomKind(random), words);
    quotient[words - 1] = round < 10 ? quotient[words - 1] % 0x2AAAAAAAu : 0;
    testbridge::toMpz(q.z, quotient.data(), words);
    mpz_mul_ui(x.z, q.z, 6);
    std::vector<uint32_t> value = testbridge::fromMpz(x.z, words), at(words + 3, 0);
    toom3DivideBySixAndAdd(value.data(), k, at.data(), words, 3);
    EXPECT_TRUE(testbridge::equalsMpz(at.data(), words + 3, q.z)) << "round " << round;
  }
  const char* expected =
      "FATAL ERROR: Assertion Failure\n\nImpossible Functional Result: Toom-3 "
      "Multiplication\n\nDivision by 6 produced a non-zero remainder\\.";
  for (uint32_t remainder : {1u, 2u, 3u, 4u}) {
    mpz_mul_ui(x.z, q.z, 6);
    mpz_add_ui(x.z, x.z, remainder);
    std::vector<uint32_t> value = testbridge::fromMpz(x.z, words), at(words, 0);
    EXPECT_DEATH((consoleToStandardError(),
                  toom3DivideBySixAndAdd(value.data(), k, at.data(), words, 0)),
                 expected)
        << "remainder " << remainder;
  }
  std::vector<uint32_t> a(sqrT + 5, 0x12345678u), b(elmT, 0x9abcdef0u);
  std::vector<uint32_t> out(2 * elmT), scratch(recursionScratchWords(elmT, true));
  for (bool square : {true, false}) {
    EXPECT_DEATH(
        {
          consoleToStandardError();
          toom3CorruptForTesting = true;
          if (square) toom3Square(a.data(), a.size(), out.data(), scratch.data());
          else smallMultiplyEqual(nullptr, b.data(), b.data(), b.size(), out.data(), 0);
        },
        expected);
  }
}
