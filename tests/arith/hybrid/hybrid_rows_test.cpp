// The hybrid transform as the front ends use it: on both sides of every
// tuned parameter row (the largest sizes sampled), and a corrupted transform
// caught at recomposition and repaired by the front end's retry.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/gmp_bridge.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

using testbridge::Kind;
using testbridge::Random;

// Tables for every element the rows use up to `productWords`.
const FftLookupTables* rowTables(uint64_t productWords) {
  static FftLookupTables* built = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  if (built == nullptr || growFftTables(built, hybridElementCodeBound(productWords)) != 0) abort();
  return built;
}

// Rows up to here (4M-word squares) are tested on both sides.
constexpr uint64_t wholeUpTo = 8500000;

bool sameRowInSquares(const HybridParamRow& row) {
  for (uint32_t i = 0; i < SquareParamTable.count; i++) {
    const HybridParamRow& s = SquareParamTable.rows[i];
    if (s.capacity == row.capacity && s.k == row.k && s.m == row.m) return true;
  }
  return false;
}

// Squares of n words at the capacity of each square row (n = capacity / 2,
// the row's largest square) and one word beyond (the next row), and
// products of two numbers whose lengths add up to the same edges of the
// product rows that differ from the square rows; all ones at one edge,
// random at the other, one thread and two alternating. Rows past 8.5M
// words are left to the benchmarks, which check every result.
TEST(HybridRows, BothSidesOfEveryRowMatchGmp) {
  Random random = testbridge::testRandom();
  const HybridParamTable* tables[] = {&SquareParamTable, &MultiplyParamTable};
  ASSERT_GT(SquareParamTable.count, 4u);
  for (int which = 0; which < 2; which++) {
    const HybridParamTable& table = *tables[which];
    for (uint32_t row = 1; row < table.count; row++) {
      const uint64_t capacity = table.rows[row].capacity;
      if (capacity > wholeUpTo) continue;
      // A product row with a square row's pair and capacity runs the same
      // transform but for the second operand: the square row covers it.
      if (which == 1 && sameRowInSquares(table.rows[row])) continue;
      for (uint64_t side = 0; side < 2; side++) {
        const uint64_t product = capacity - capacity % 2 + 2 * side;
        const Kind kind = side == 0 ? Kind::AllOnes : Kind::Uniform;
        const uint32_t threadPower = uint32_t((row + side) % 2);
        const uint64_t na = which == 0 ? product / 2 : product / 2 + product / 7;
        const uint64_t nb = product - na;
        const std::vector<uint32_t> a = testbridge::operand(random, kind, na);
        const std::vector<uint32_t> b = testbridge::operand(random, kind, nb);
        std::vector<uint32_t> out(product);
        const uint64_t code =
            which == 0 ? hybridSquare(nullptr, a.data(), na, out.data(), 0, rowTables(product),
                                      threadPower)
                       : hybridMultiply(nullptr, a.data(), na, b.data(), nb, out.data(), 0,
                                        rowTables(product), threadPower);
        ASSERT_EQ(code, 0u) << "row " << row << " side " << side;
        const std::vector<uint32_t> want =
            which == 0 ? testbridge::gmpProduct(a.data(), na, a.data(), na)
                       : testbridge::gmpProduct(a.data(), na, b.data(), nb);
        ASSERT_TRUE(out == want) << (which == 0 ? "square" : "product") << " row " << row
                                 << " (capacity " << capacity << "), " << na << " x " << nb;
      }
    }
  }
}

// A word flipped in the transform right after the forward pass: the front
// end sees the failed check, says so, runs the product again and gets it
// right; errorCount records the one fault.
TEST(HybridRows, ACorruptedTransformIsRetriedByTheFrontEnd) {
  Random random = testbridge::testRandom();
  buildFftTables(40000);
  Heap heap;
  heapInit(nullptr, &heap, 64 << 20);
  const uint64_t saved = errorCount;
  for (uint32_t threadPower : {0u, 1u}) {
    errorCount = 0;
    BigInt a, b, out;
    makeBigInt(&heap, &a, testbridge::operand(random, Kind::Uniform, 20000));
    makeBigInt(&heap, &b, testbridge::operand(random, Kind::Uniform, 19000));
    std::string console;
    consoleCaptureTo(&console);
    // Not element 0 or 1, whose flips the check can't see (hybrid_test.cpp).
    uint32_t k, m;
    ASSERT_EQ(hybridMultiplyParams(39000, &k, &m), 0u);
    hybridFaultForTesting = {1, 2 + random.below((uint64_t(1) << k) - 2), random.next()};
    bigIntMultiply(&heap, &a, &b, &out, 0, 0, threadPower);
    consoleCaptureTo(nullptr);
    EXPECT_EQ(hybridFaultForTesting.stage, 0u) << "the fault did not fire";
    EXPECT_NE(console.find("Multiplication Failure:\nRe-attempting with same parameters...\n"),
              std::string::npos)
        << console;
    EXPECT_NE(console.find("Second Attempt Succeeded with same parameters."), std::string::npos);
    EXPECT_EQ(errorCount, 1u);
    EXPECT_TRUE(bigIntWords(out) ==
                testbridge::gmpProduct(a.words, a.length, b.words, b.length));
    for (BigInt* x : {&out, &b, &a}) bigIntDestroy(x);
  }
  errorCount = saved;
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

}  // namespace
