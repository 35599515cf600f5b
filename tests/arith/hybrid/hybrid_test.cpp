// Hybrid products against GMP (a chopped result may be one below the rule):
// elements, many shapes, chosen parameters, every tuned row, refused threads,
// the top-word check under injected corruption, and memory shortage.
#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "arith/product_check.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "support/death_console.h"
#include "support/test_arena.h"

namespace {

using productcheck::anyOperand;
using productcheck::Entry;
using testbridge::Kind;
using testbridge::Number;
using testbridge::Random;

// Tables that serve the element FFTs of every product below 8.5M words.
constexpr uint64_t tabledWords = 8500000;
const FftLookupTables* tables() {
  static FftLookupTables* built = [] {
    auto* t = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
    if (t == nullptr || growFftTables(t, hybridElementCodeBound(tabledWords)) != 0) abort();
    return t;
  }();
  return built;
}

// The public entries on `threadPower`; with k set, one transform of k, m.
Entry hybridEntry(uint32_t threadPower, uint32_t k = 0, uint32_t m = 0) {
  return [=](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out,
             uint64_t chop, uint32_t*) {
    if (k != 0) return hybridProductWith(nullptr, a, la, b, lb, out, chop, k, m, tables(), threadPower);
    return b == nullptr ? hybridSquare(nullptr, a, la, out, chop, tables(), threadPower)
                        : hybridMultiply(nullptr, a, la, b, lb, out, chop, tables(), threadPower);
  };
}

::testing::AssertionResult matches(const Entry& entry, const std::vector<uint32_t>& a,
                                   const std::vector<uint32_t>* b, uint64_t chop = 0) {
  return productcheck::matches(entry, a, b, chop, 0, 1);
}

// Element squares and products modulo 2^(32W) + 1, -1 and all ones among them.
void checkElements(uint64_t W, Random& random) {
  ElementPlan plan;
  elementPlanFor(&plan, tables(), W);
  std::vector<uint32_t> storage(hybridElementScratchWords(plan, false) + 16);
  uint32_t* scratch = reinterpret_cast<uint32_t*>(
      (reinterpret_cast<uintptr_t>(storage.data()) + 63) & ~uintptr_t(63));
  Number modulus;
  mpz_setbit(modulus.z, 32 * W);
  mpz_add_ui(modulus.z, modulus.z, 1);
  for (int trial = 0; trial < 12; trial++) {
    std::vector<uint32_t> a(W + 1, 0), b(W + 1, 0);
    if (trial % 4 == 1) a[W] = 1;
    else testbridge::fill(random, trial == 2 ? Kind::AllOnes : testbridge::randomKind(random), a.data(), W);
    if (trial % 4 == 1 || trial % 4 == 2) b[W] = trial % 8 < 4 ? 1 : 0;
    if (b[W] == 0) testbridge::fill(random, trial == 3 ? Kind::AllOnes : Kind::Uniform, b.data(), W);
    Number va, vb, want;
    testbridge::toMpz(va.z, a.data(), W + 1);
    testbridge::toMpz(vb.z, b.data(), W + 1);
    for (bool square : {true, false}) {
      std::vector<uint32_t> x = a;
      if (square) hybridElementSquare(x.data(), plan, scratch);
      else hybridElementProduct(x.data(), b.data(), plan, scratch);
      mpz_mul(want.z, va.z, square ? va.z : vb.z);
      mpz_mod(want.z, want.z, modulus.z);
      ASSERT_TRUE(testbridge::equalsMpz(x.data(), W + 1, want.z)) << square << ", W " << W;
    }
  }
  if (W % 2 != 0) return;
  std::vector<uint32_t> x(W + 1, 0), y(W + 1, 0), minusOne(W + 1, 0), one(W + 1, 0);
  x[W / 2] = y[W / 2] = 1;
  minusOne[W] = one[0] = 1;
  hybridElementProduct(x.data(), y.data(), plan, scratch);
  EXPECT_EQ(x, minusOne) << "W " << W;
  hybridElementSquare(y.data(), plan, scratch);
  EXPECT_EQ(y, minusOne) << "W " << W;
  hybridElementSquare(y.data(), plan, scratch);
  EXPECT_EQ(y, one) << "W " << W;
}

}  // namespace

TEST(HybridElements, SquaresAndProductsModuloTheRingMatchGmp) {
  Random random = testbridge::testRandom();
  for (uint64_t W : {1u, 5u, 8u, 16u, 22u, 23u, 28u, 64u}) checkElements(W, random);
  // FFT elements: the rows of the element size table, sampled up to 3000 words.
  uint32_t fftSizes = 0;
  for (uint32_t row = 0; row < elementSizeRowCount; row += 1 + uint32_t(random.below(6))) {
    const uint64_t W = ElementSizeTable[row].capacity / 32;
    if (W < elementFftWords) continue;
    if (W > 3000 || ElementSizeTable[row].code > tables()->builtCode) break;
    checkElements(W, random);
    fftSizes++;
  }
  EXPECT_GE(fftSizes, 5u);
}

// Squares and products to 2M x 2M words, chops, one and two threads; an array
// times itself takes the square's single forward transform.
TEST(HybridProducts, SquaresAndProductsOfManyShapesMatchGmp) {
  Random random = testbridge::testRandom();
  const uint64_t shapes[][2] = {{12000, 12000}, {13057, 13000}, {40000, 12500}, {12100, 50000},
                                {30000, 3000},   {100000, 9000}, {64000, 64000}, {150000, 20000}};
  for (int trial = 0; trial < 16; trial++) {
    const bool square = trial < 8;
    const uint64_t na = square ? random.logUniform(6000, 150000) : shapes[trial - 8][0];
    const uint64_t nb = square ? na : shapes[trial - 8][1];
    const Kind kind = trial == 0 || trial == 9 ? Kind::AllOnes : testbridge::randomKind(random);
    const auto a = testbridge::operand(random, kind, na), b = testbridge::operand(random, kind, nb);
    const uint64_t chop = square ? (trial < 3 ? 0 : random.below(trial % 3 == 0 ? 2 * na - 1 : na))
                                 : (trial < 12 ? 0 : random.below(na + nb - 1));
    ASSERT_TRUE(matches(hybridEntry(trial % 2), a, square ? nullptr : &b, chop));
  }
  const auto runs = testbridge::operand(random, Kind::Runs, 25000);
  EXPECT_TRUE(matches(hybridEntry(1), runs, &runs));
  EXPECT_TRUE(matches(hybridEntry(0), runs, &runs, 12500));
  const uint64_t n = random.logUniform(100000, 350000), m = random.logUniform(150000, 500000);
  EXPECT_TRUE(matches(hybridEntry(1), testbridge::operand(random, Kind::AllOnes, n), nullptr));
  const auto a = testbridge::operand(random, Kind::Uniform, m);
  const auto b = testbridge::operand(random, Kind::Runs, m / 3 + 7);
  EXPECT_TRUE(matches(hybridEntry(0), a, nullptr, random.below(2 * m)));
  EXPECT_TRUE(matches(hybridEntry(1), a, &b));
  const auto c = anyOperand(random, 2000000), d = anyOperand(random, 2000000);
  EXPECT_TRUE(matches(hybridEntry(1), c, &d));
}

// k = 3 and odd m (W not a multiple of 8): full capacity of all ones, then shorter.
TEST(HybridProducts, ChosenParametersGiveExactProducts) {
  Random random = testbridge::testRandom();
  const uint32_t pairs[][2] = {{3, 512}, {3, 640}, {8, 11}, {9, 7}, {10, 7}, {7, 23}};
  for (const auto& p : pairs) {
    const uint64_t capacity = hybridCapacity(p[0], p[1]);
    for (int full = 0; full < 2; full++) {
      const uint64_t na = full == 0 ? capacity / 2 : 1 + random.below(capacity / 2);
      const uint64_t nb = full == 0 ? capacity - na : 1 + random.below(capacity - na);
      const Kind kind = full == 0 ? Kind::AllOnes : Kind::Uniform;
      const auto a = testbridge::operand(random, kind, na), b = testbridge::operand(random, kind, nb);
      for (uint32_t threadPower : {0u, 3u})
        ASSERT_TRUE(matches(hybridEntry(threadPower, p[0], p[1]), a, &b)) << "k " << p[0] << " m " << p[1];
      ASSERT_TRUE(matches(hybridEntry(1, p[0], p[1]), a, nullptr)) << "k " << p[0] << " m " << p[1];
    }
  }
}

// Each row's capacity and one word beyond, all ones and random; rows past
// 8.5M words are left to the benchmarks, which check every result.
TEST(HybridProducts, BothSidesOfEveryTunedRowMatchGmp) {
  Random random = testbridge::testRandom();
  ASSERT_GT(SquareParamTable.count, 4u);
  for (int which = 0; which < 2; which++) {
    const HybridParamTable& table = which == 0 ? SquareParamTable : MultiplyParamTable;
    for (uint32_t row = 1; row < table.count; row++) {
      const HybridParamRow& r = table.rows[row];
      if (r.capacity > tabledWords) continue;
      bool inSquares = false;  // the same transform but for the second operand
      for (uint32_t i = 0; i < SquareParamTable.count; i++) {
        const HybridParamRow& s = SquareParamTable.rows[i];
        inSquares |= s.capacity == r.capacity && s.k == r.k && s.m == r.m;
      }
      if (which == 1 && inSquares) continue;
      for (uint64_t side = 0; side < 2; side++) {
        const uint64_t product = r.capacity - r.capacity % 2 + 2 * side;
        const Kind kind = side == 0 ? Kind::AllOnes : Kind::Uniform;
        const uint64_t na = which == 0 ? product / 2 : product / 2 + product / 7;
        const auto a = testbridge::operand(random, kind, na);
        const auto b = testbridge::operand(random, kind, product - na);
        ASSERT_TRUE(matches(hybridEntry(uint32_t((row + side) % 2)), a, which == 0 ? nullptr : &b))
            << "row " << row << " of table " << which;
      }
    }
  }
}

// k = 3 asks for no thread; a refused spawn warns and the product is made.
TEST(HybridProducts, ThreadsAskedOnlyWhereUsefulARefusedOneWarns) {
  Random random = testbridge::testRandom();
  for (uint64_t n : {60u, 30000u}) {
    const auto a = testbridge::operand(random, Kind::Uniform, n);
    std::string console;
    consoleCaptureTo(&console);
    threadFailNextSpawnsForTesting(1);
    const bool right = n == 60 ? matches(hybridEntry(8, 3, 512), a, nullptr)
                               : matches(hybridEntry(1), a, nullptr);
    threadFailNextSpawnsForTesting(0);
    consoleCaptureTo(nullptr);
    EXPECT_TRUE(right) << n;
    EXPECT_EQ(console.find("Warning: Unable to create thread.") != std::string::npos, n != 60);
  }
}

// A flip in element 2 or above after the forward pass reaches the checked top
// words (elements 0, 1 do not): caught, a clean rerun is right, and through the
// front end the product is retried as a hardware error.
TEST(HybridCheck, CorruptionAfterTheForwardPassIsCaughtAndRetried) {
  Random random = testbridge::testRandom();
  buildFftTables(40000);
  TestArena arena(64 << 20);
  Heap& heap = arena.heap;
  const uint64_t n = hybridMultiplyThreshold, savedErrors = errorCount;
  const auto a = testbridge::operand(random, Kind::Uniform, n);
  const auto b = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> out(2 * n);
  uint32_t k, m;
  auto seenElement = [&] { return 2 + random.below((uint64_t(1) << k) - 2); };
  for (uint32_t threadPower : {0u, 1u}) {
    ASSERT_EQ(hybridMultiplyParams(2 * n, &k, &m), 0u);
    hybridFaultForTesting = {1, seenElement(), random.next()};
    EXPECT_EQ(hybridMultiply(nullptr, a.data(), n, b.data(), n, out.data(), 0, tables(), threadPower),
              multiplyDetectedError);
    EXPECT_EQ(hybridFaultForTesting.stage, 0u);
    EXPECT_TRUE(matches(hybridEntry(threadPower), a, &b));
    BigInt x, y, product;
    makeBigInt(&heap, &x, a);
    makeBigInt(&heap, &y, b);
    std::string console;
    consoleCaptureTo(&console);
    errorCount = 0;
    hybridFaultForTesting = {1, seenElement(), random.next()};
    bigIntMultiply(&heap, &x, &y, &product, 0, 0, threadPower);
    consoleCaptureTo(nullptr);
    EXPECT_EQ(hybridFaultForTesting.stage, 0u) << "the fault did not fire";
    EXPECT_EQ(console,
              "\n\nMultiplication Failure:\nRe-attempting with same parameters...\n"
              "\nSecond Attempt Succeeded with same parameters.\n"
              "Most likely a hardware error... Please check your hardware.\nContinuing...\n\n");
    EXPECT_EQ(errorCount, 1u);
    EXPECT_TRUE(bigIntWords(product) == testbridge::gmpProduct(a.data(), n, b.data(), n));
    for (BigInt* v : {&product, &y, &x}) bigIntDestroy(v);
    ASSERT_EQ(hybridSquareParams(2 * n, &k, &m), 0u);
    hybridFaultForTesting = {1, seenElement(), random.next()};
    EXPECT_EQ(hybridSquare(nullptr, a.data(), n, out.data(), 0, tables(), threadPower),
              multiplyDetectedError);
  }
  errorCount = savedErrors;
}

// After the inverse: a fault wholly below the chop is harmless, one above is caught.
TEST(HybridCheck, CorruptionBelowTheChopGoesUnreported) {
  Random random = testbridge::testRandom();
  const uint64_t n = 20000, chop = 15000;  // below n: the operand stays whole
  uint32_t k, m;
  ASSERT_EQ(hybridSquareParams(2 * n, &k, &m), 0u);
  const uint64_t W = (uint64_t(m) << k) / 128, c = (uint64_t(m) << k) / 256 - 1;
  const auto a = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> clean(2 * n - chop), faulty(2 * n - chop);
  ASSERT_EQ(hybridSquare(nullptr, a.data(), n, clean.data(), chop, tables(), 0), 0u);
  hybridFaultForTesting = {2, (chop - W) / c - 1, 3};
  ASSERT_EQ(hybridSquare(nullptr, a.data(), n, faulty.data(), chop, tables(), 0), 0u);
  EXPECT_EQ(faulty, clean);
  hybridFaultForTesting = {2, chop / c + 2, 0};
  EXPECT_EQ(hybridSquare(nullptr, a.data(), n, faulty.data(), chop, tables(), 0),
            multiplyDetectedError);
}

TEST(HybridLimits, ShortHeapReturnsTheMissingBytes) {
  Random random = testbridge::testRandom();
  const auto a = testbridge::operand(random, Kind::Uniform, 20000);
  std::vector<uint32_t> out(40000);
  TestArena arena(1 << 16);
  Heap& heap = arena.heap;
  const uint64_t code = hybridSquare(&heap, a.data(), 20000, out.data(), 0, tables(), 0);
  EXPECT_NE(code, 0u);
  EXPECT_NE(code, multiplyDetectedError);
}

TEST(HybridLimitsDeathTest, ProductBeyondTheLimitIsFatal) {
  const uint32_t word = 1;
  EXPECT_EXIT((consoleToStandardError(),
               hybridSquare(nullptr, &word, hybridProductWordsLimit / 2 + 1, nullptr, 0, tables(),
                            0)),
              ::testing::ExitedWithCode(1),
              "Maximum supported multiplication size has been exceeded\\.");
}
