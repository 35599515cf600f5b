// Balanced squares and products of the recursive methods against GMP: every
// length through the dispatching entries, the cut-over edges, operands that
// stress carries and the Karatsuba difference, and scratch kept within the
// figure of recursionScratchWords.
#include <gtest/gtest.h>

#include <functional>

#include "arith/recursive.h"
#include "support/gmp_bridge.h"

using testbridge::GuardedWords;
using testbridge::Kind;

namespace {

// Runs `routine` (out, scratch) on guarded arrays of 2n and `scratchWords`
// words and compares out with a * b.
void expectProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                   uint64_t scratchWords,
                   const std::function<void(uint32_t*, uint32_t*)>& routine,
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
  expectProduct(a, a, scratchWords,
                [&](uint32_t* out, uint32_t* s) { routine(a.data(), n, out, s); }, what);
}

void expectMultiply(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                    uint64_t scratchWords,
                    void (*routine)(const uint32_t*, const uint32_t*, uint64_t, uint32_t*,
                                    uint32_t*),
                    const char* what) {
  uint64_t n = a.size();
  expectProduct(a, b, scratchWords,
                [&](uint32_t* out, uint32_t* s) { routine(a.data(), b.data(), n, out, s); },
                what);
}

// Lengths 1 .. 1200: every one up to 200, then a stride of 7 from a random
// start, plus the lengths next to each cut-over.
std::vector<uint64_t> lengthsTo1200(testbridge::Random& random) {
  std::vector<uint64_t> lengths;
  for (uint64_t n = 1; n <= 200; n++) lengths.push_back(n);
  for (uint64_t n = 200 + random.below(7); n <= 1200; n += 7) lengths.push_back(n);
  for (uint64_t edge : {sqrK, sqrT, elmK, elmT, 2 * sqrT, 3 * sqrT, 2 * elmT})
    for (uint64_t n = edge - 2; n <= edge + 2; n++) lengths.push_back(n);
  return lengths;
}

}  // namespace

TEST(RecursiveProducts, SquaresAgreeWithGmpAtEveryLengthTo1200) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : lengthsTo1200(random)) {
    Kind kind = testbridge::randomKind(random);
    SCOPED_TRACE(testbridge::kindName(kind));
    expectSquare(testbridge::operand(random, kind, n), recursionScratchWords(n, true),
                 toom3Square, "toom3Square");
  }
}

TEST(RecursiveProducts, ProductsAgreeWithGmpAtEveryLengthTo1200) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : lengthsTo1200(random)) {
    Kind kindA = testbridge::randomKind(random), kindB = testbridge::randomKind(random);
    SCOPED_TRACE(std::string(testbridge::kindName(kindA)) + " x " +
                 testbridge::kindName(kindB));
    expectMultiply(testbridge::operand(random, kindA, n),
                   testbridge::operand(random, kindB, n), recursionScratchWords(n, false),
                   toom3Multiply, "toom3Multiply");
  }
}
