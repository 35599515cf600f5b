// Hybrid transform products against GMP: element squares and products
// modulo 2^(32W) + 1 (recursive and FFT forms, the -1 cases), squares and
// products of many sizes and kinds with chops, unbalanced shapes and
// threads, chosen parameters (k = 3, odd m, W not a multiple of 8), the
// check on the top words through the fault switch, and memory shortage.
#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "support/gmp_bridge.h"
#include "arith/hybrid/fermat.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/multiply.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"

namespace {

using testbridge::Kind;
using testbridge::Number;
using testbridge::Random;

// Tables that serve the element FFTs of every product below 8.5M words.
const FftLookupTables* tables() {
  static FftLookupTables* built = [] {
    auto* t = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
    if (t == nullptr || growFftTables(t, hybridElementCodeBound(8500000)) != 0) abort();
    return t;
  }();
  return built;
}

// (a * b) >> (32 chop) as words, and the operands shortened as the
// products do it for a chop beyond an operand.
std::vector<uint32_t> truncatedProduct(const uint32_t* a, uint64_t na, const uint32_t* b,
                                       uint64_t nb, uint64_t chop) {
  Number x, y;
  testbridge::toMpz(x.z, a, na);
  testbridge::toMpz(y.z, b, nb);
  mpz_mul(x.z, x.z, y.z);
  mpz_tdiv_q_2exp(x.z, x.z, 32 * chop);
  return testbridge::fromMpz(x.z, na + nb - chop);
}

// A chopped product may drop the carry of elements wholly below the chop:
// it is the truncated product or one less. Unchopped it is exact.
::testing::AssertionResult closeEnough(const std::vector<uint32_t>& want, const uint32_t* got,
                                       bool exact) {
  Number w, g, difference;
  testbridge::toMpz(w.z, want.data(), want.size());
  testbridge::toMpz(g.z, got, want.size());
  mpz_sub(difference.z, w.z, g.z);
  if (mpz_sgn(difference.z) == 0 || (!exact && mpz_cmp_ui(difference.z, 1) == 0))
    return ::testing::AssertionSuccess();
  return testbridge::equalsMpz(got, want.size(), w.z)
         << " (difference " << mpz_get_si(difference.z) << ")";
}

// Runs a square (b null) or product through the public entries and
// compares. The chop follows the products' rule for operand cuts.
void checkProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>* b, uint64_t chop,
                  uint32_t threadPower) {
  const uint64_t na = a.size(), nb = b == nullptr ? na : b->size();
  const std::string what = std::string(b == nullptr ? "square " : "product ") +
                           std::to_string(na) + " x " + std::to_string(nb) + " chop " +
                           std::to_string(chop) + " threads 2^" + std::to_string(threadPower);
  testbridge::GuardedWords out(na + nb - chop);
  uint64_t code;
  std::vector<uint32_t> want;
  if (b == nullptr) {
    code = hybridSquare(nullptr, a.data(), na, out.data(), chop, tables(), threadPower);
    const uint64_t drop = chop > na ? chop - na : 0;
    want = truncatedProduct(a.data() + drop, na - drop, a.data() + drop, na - drop, chop - 2 * drop);
  } else {
    code = hybridMultiply(nullptr, a.data(), na, b->data(), nb, out.data(), chop, tables(),
                          threadPower);
    const uint64_t dropA = chop > nb ? chop - nb : 0, dropB = chop > na ? chop - na : 0;
    want = truncatedProduct(a.data() + dropA, na - dropA, b->data() + dropB, nb - dropB,
                            chop - dropA - dropB);
  }
  ASSERT_EQ(code, 0u) << what;
  ASSERT_TRUE(out.intact()) << what;
  ASSERT_TRUE(closeEnough(want, out.data(), chop == 0)) << what;
}

// ---- Elements ---------------------------------------------------------------

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
    // -1 in either or both, all ones, random.
    if (trial % 4 == 1) a[W] = 1;
    else testbridge::fill(random, trial == 2 ? Kind::AllOnes : testbridge::randomKind(random),
                          a.data(), W);
    if (trial % 4 == 1 || trial % 4 == 2) b[W] = trial % 8 < 4 ? 1 : 0;
    if (b[W] == 0) testbridge::fill(random, trial == 3 ? Kind::AllOnes : Kind::Uniform, b.data(), W);
    Number va, vb, want;
    testbridge::toMpz(va.z, a.data(), W + 1);
    testbridge::toMpz(vb.z, b.data(), W + 1);

    std::vector<uint32_t> x = a;
    hybridElementSquare(x.data(), plan, scratch);
    mpz_mul(want.z, va.z, va.z);
    mpz_mod(want.z, want.z, modulus.z);
    ASSERT_TRUE(testbridge::equalsMpz(x.data(), W + 1, want.z)) << "square, W " << W;

    x = a;
    hybridElementProduct(x.data(), b.data(), plan, scratch);
    mpz_mul(want.z, va.z, vb.z);
    mpz_mod(want.z, want.z, modulus.z);
    ASSERT_TRUE(testbridge::equalsMpz(x.data(), W + 1, want.z)) << "product, W " << W;
  }
  // (2^(n/2))^2 = 2^n = -1: the wrapped result says -1; (-1)^2 = 1.
  if (W % 2 != 0) return;
  std::vector<uint32_t> x(W + 1, 0), y(W + 1, 0);
  x[W / 2] = y[W / 2] = 1;
  hybridElementProduct(x.data(), y.data(), plan, scratch);
  std::vector<uint32_t> minusOne(W + 1, 0), one(W + 1, 0);
  minusOne[W] = one[0] = 1;
  EXPECT_EQ(x, minusOne) << "W " << W;
  hybridElementSquare(y.data(), plan, scratch);
  EXPECT_EQ(y, minusOne) << "W " << W;
  hybridElementSquare(y.data(), plan, scratch);
  EXPECT_EQ(y, one) << "W " << W;
}

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

// ---- Whole products -----------------------------------------------------------

TEST(HybridProducts, SquaresAndProductsOfManyShapesMatchGmp) {
  // Eight squares of 6000 to 150000 words, then balanced and unbalanced
  // products; all ones among them, chops on most, one and two threads.
  Random random = testbridge::testRandom();
  const uint64_t shapes[][2] = {{12000, 12000}, {13057, 13000}, {40000, 12500}, {12100, 50000},
                                {30000, 3000},   {100000, 9000}, {64000, 64000}, {150000, 20000}};
  for (int trial = 0; trial < 16; trial++) {
    const bool square = trial < 8;
    const uint64_t na = square ? random.logUniform(6000, 150000) : shapes[trial - 8][0];
    const uint64_t nb = square ? na : shapes[trial - 8][1];
    const Kind kind = trial == 0 || trial == 9 ? Kind::AllOnes : testbridge::randomKind(random);
    const std::vector<uint32_t> a = testbridge::operand(random, kind, na);
    const std::vector<uint32_t> b = testbridge::operand(random, kind, nb);
    const uint32_t threadPower = trial % 2;
    const uint64_t chop = square ? (trial < 3 ? 0 : random.below(trial % 3 == 0 ? 2 * na - 1 : na))
                                 : (trial < 12 ? 0 : random.below(na + nb - 1));
    checkProduct(a, square ? nullptr : &b, chop, threadPower);
  }
  // An array times itself takes the square's single forward transform.
  const std::vector<uint32_t> a = testbridge::operand(random, Kind::Runs, 25000);
  checkProduct(a, &a, 0, 1);
  checkProduct(a, &a, 12500, 0);
}

TEST(HybridProducts, LargeSquaresAndProductsMatchGmp) {
  // 200K to 1.5M words of product: all ones, random with a chop, an
  // unbalanced random product; then 2M x 2M words on two threads.
  Random random = testbridge::testRandom();
  const uint64_t n = random.logUniform(100000, 350000);
  const std::vector<uint32_t> ones = testbridge::operand(random, Kind::AllOnes, n);
  checkProduct(ones, nullptr, 0, 1);
  const uint64_t m = random.logUniform(150000, 500000);
  const std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, m);
  const uint64_t chop = random.below(2 * m);
  checkProduct(a, nullptr, chop, 0);
  const std::vector<uint32_t> b = testbridge::operand(random, Kind::Runs, m / 3 + 7);
  checkProduct(a, &b, 0, 1);
  const std::vector<uint32_t> c = testbridge::operand(random, Kind::Uniform, 2000000);
  const std::vector<uint32_t> d = testbridge::operand(random, Kind::Uniform, 2000000);
  checkProduct(c, &d, 0, 1);
}

// k = 3 with W a multiple of 8 (FFT elements), odd m with W not a multiple
// of 8 (recursive and FFT elements).
TEST(HybridProducts, ChosenParametersGiveExactProducts) {
  Random random = testbridge::testRandom();
  struct Params {
    uint32_t k, m;
  };
  for (Params p : {Params{3, 512}, Params{3, 640}, Params{8, 11}, Params{9, 7}, Params{10, 7},
                   Params{7, 23}}) {
    const uint64_t capacity = hybridCapacity(p.k, p.m);
    for (int full = 0; full < 2; full++) {
      // P = capacity exactly, then a random shorter product.
      const uint64_t na = full == 0 ? capacity / 2 : 1 + random.below(capacity / 2);
      const uint64_t nb = full == 0 ? capacity - na : 1 + random.below(capacity - na);
      const Kind kind = full == 0 ? Kind::AllOnes : Kind::Uniform;
      const std::vector<uint32_t> a = testbridge::operand(random, kind, na);
      const std::vector<uint32_t> b = testbridge::operand(random, kind, nb);
      std::vector<uint32_t> out(na + nb);
      for (uint32_t threadPower : {0u, 3u}) {
        ASSERT_EQ(hybridProductWith(nullptr, a.data(), na, b.data(), nb, out.data(), 0, p.k, p.m,
                                    tables(), threadPower),
                  0u);
        const std::vector<uint32_t> want = testbridge::gmpProduct(a.data(), na, b.data(), nb);
        ASSERT_EQ(out, want) << "k " << p.k << " m " << p.m << " " << na << " x " << nb;
      }
      std::vector<uint32_t> square(2 * na);
      ASSERT_EQ(hybridProductWith(nullptr, a.data(), na, nullptr, 0, square.data(), 0, p.k, p.m,
                                  tables(), 1),
                0u);
      ASSERT_EQ(square, testbridge::gmpProduct(a.data(), na, a.data(), na))
          << "square k " << p.k << " m " << p.m;
    }
  }
}

TEST(HybridProducts, ThreadsAskedOnlyWhereUsefulARefusedOneWarns) {
  // With k = 3 no thread is asked for; a refused spawn prints a warning and
  // the product is still made.
  Random random = testbridge::testRandom();
  for (uint64_t n : {60u, 30000u}) {
    const std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, n);
    std::vector<uint32_t> out(2 * n);
    std::string console;
    consoleCaptureTo(&console);
    threadFailNextSpawnsForTesting(1);
    const uint64_t code =
        n == 60 ? hybridProductWith(nullptr, a.data(), n, nullptr, 0, out.data(), 0, 3, 512,
                                    tables(), 8)
                : hybridSquare(nullptr, a.data(), n, out.data(), 0, tables(), 1);
    threadFailNextSpawnsForTesting(0);
    consoleCaptureTo(nullptr);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(console.find("Warning: Unable to create thread.") != std::string::npos, n != 60);
    EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, a.data(), n));
  }
}

// ---- The check -----------------------------------------------------------------

TEST(HybridCheck, CorruptionAfterTheForwardPassIsCaughtAndTheRetryIsRight) {
  Random random = testbridge::testRandom();
  const uint64_t n = 20000;
  const std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, n);
  const std::vector<uint32_t> b = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> out(2 * n);
  // A flip in element 0 (or 1) after the forward pass comes back from the
  // inverse as the same small term in every coefficient, below the checked
  // top words: the check can't see it. Any other element is spread over
  // the coefficients at shifts that reach the top words.
  uint32_t k, m;
  ASSERT_EQ(hybridMultiplyParams(2 * n, &k, &m), 0u);
  auto seenElement = [&] { return 2 + random.below((uint64_t(1) << k) - 2); };
  for (uint32_t threadPower : {0u, 1u}) {
    hybridFaultForTesting = {1, seenElement(), random.next()};
    EXPECT_EQ(hybridMultiply(nullptr, a.data(), n, b.data(), n, out.data(), 0, tables(),
                             threadPower),
              multiplyDetectedError);
    EXPECT_EQ(hybridFaultForTesting.stage, 0u);
    // The retry runs on the same, untouched operands.
    EXPECT_EQ(hybridMultiply(nullptr, a.data(), n, b.data(), n, out.data(), 0, tables(),
                             threadPower),
              0u);
    EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, b.data(), n));
    ASSERT_EQ(hybridSquareParams(2 * n, &k, &m), 0u);
    hybridFaultForTesting = {1, seenElement(), random.next()};
    EXPECT_EQ(hybridSquare(nullptr, a.data(), n, out.data(), 0, tables(), threadPower),
              multiplyDetectedError);
  }
}

TEST(HybridCheck, CorruptionBelowTheChopGoesUnreported) {
  Random random = testbridge::testRandom();
  const uint64_t n = 20000, chop = 15000;  // below n: the operand stays whole
  uint32_t k, m;
  ASSERT_EQ(hybridSquareParams(2 * n, &k, &m), 0u);
  const uint64_t W = (uint64_t(m) << k) / 128, c = (uint64_t(m) << k) / 256 - 1;
  const std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, n);
  std::vector<uint32_t> clean(2 * n - chop), faulty(2 * n - chop);
  ASSERT_EQ(hybridSquare(nullptr, a.data(), n, clean.data(), chop, tables(), 0), 0u);
  // An element whose words all lie below the chop, after the inverse.
  const uint64_t below = (chop - W) / c - 1;
  hybridFaultForTesting = {2, below, 3};
  ASSERT_EQ(hybridSquare(nullptr, a.data(), n, faulty.data(), chop, tables(), 0), 0u);
  EXPECT_EQ(faulty, clean);
  // The same corruption in a wanted element is caught.
  hybridFaultForTesting = {2, chop / c + 2, 0};
  EXPECT_EQ(hybridSquare(nullptr, a.data(), n, faulty.data(), chop, tables(), 0),
            multiplyDetectedError);
}

// ---- Output stage -------------------------------------------------------------

// Elements holding 2^k times coefficients whose words are mostly all ones,
// so that carries run across the seams of the threaded output stage: the
// threaded stage must give the words of the one-thread stage, and those
// are sum(coefficient_i 2^(32 c i)) (unchopped) or at most 1 less (chopped).
TEST(HybridOutput, ThreadedSeamsGiveTheSequentialWords) {
  Random random = testbridge::testRandom();
  const uint32_t k = 11;
  const uint64_t c = 19, W = 2 * c + 2, stride = W + 1, count = uint64_t(1) << k;
  const uint64_t end = c * count;
  std::vector<uint32_t> elements(count * stride), coefficient(W + 1, 0);
  Number sum, term;
  for (uint64_t i = 0; i < count; i++) {
    // The last two stay 0: a product's coefficients end below c * 2^k words.
    for (uint64_t j = 0; j < W - 2; j++)
      coefficient[j] = i + 2 >= count ? 0 : random.below(4) == 0 ? random.word() : ~0u;
    fermatShift(elements.data() + i * stride, coefficient.data(), W, k);
    testbridge::toMpz(term.z, coefficient.data(), W + 1);
    mpz_mul_2exp(term.z, term.z, 32 * c * i);
    mpz_add(sum.z, sum.z, term.z);
  }
  for (uint64_t start : {uint64_t(0), uint64_t(1000), end / 2 + 7}) {
    std::vector<uint32_t> words[2];
    for (uint32_t threadPower : {0u, 3u}) {
      std::vector<uint32_t> transform = elements, out(end - start);
      std::vector<uint32_t> scratch(fermatButterflyScratchWords(W) << threadPower);
      const OutputRange range = {out.data(), end, start, c, k, W};
      ASSERT_EQ(hybridOutputStage(range, transform.data(), stride, scratch.data(), threadPower),
                0u);
      words[threadPower == 0 ? 0 : 1] = out;
    }
    EXPECT_EQ(words[0], words[1]) << "start " << start;
    Number truncated;
    mpz_tdiv_q_2exp(truncated.z, sum.z, 32 * start);
    EXPECT_TRUE(closeEnough(testbridge::fromMpz(truncated.z, end - start), words[1].data(),
                            start == 0))
        << "start " << start;
  }
}

// ---- Limits and memory -----------------------------------------------------------

TEST(HybridLimits, ShortHeapReturnsTheMissingBytes) {
  Random random = testbridge::testRandom();
  const std::vector<uint32_t> a = testbridge::operand(random, Kind::Uniform, 20000);
  std::vector<uint32_t> out(40000);
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  const uint64_t code = hybridSquare(&heap, a.data(), 20000, out.data(), 0, tables(), 0);
  heapDestroy(&heap);
  EXPECT_NE(code, 0u);
  EXPECT_NE(code, multiplyDetectedError);
}

TEST(HybridLimitsDeathTest, ProductBeyondTheLimitIsFatal) {
  const uint32_t word = 1;
  EXPECT_EXIT(hybridSquare(nullptr, &word, hybridProductWordsLimit / 2 + 1, nullptr, 0, tables(), 0),
              ::testing::ExitedWithCode(1), "");
}

}  // namespace
