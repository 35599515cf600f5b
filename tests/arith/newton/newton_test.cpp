// Reciprocals and inverse square roots in memory, checked exactly against
// MPFR: a result r good to p words has |x r - 1| (or |x r^2 - 1|) below
// 2^(-32 p). Inputs are random over many precisions, both signs, several
// lengths relative to p, and the kinds of newton_oracle.h.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "arith/newton/newton.h"
#include "memory/heap.h"
#include "newton_oracle.h"
#include "platform/console.h"

using namespace newton_oracle;

namespace {

uint64_t testSeed() {
  const char* text = std::getenv("NEWTON_TEST_SEED");
  return text ? std::strtoull(text, nullptr, 10) : 20240611;
}

// Precisions 1..40 and a log-uniform sample up to `top`.
std::vector<uint64_t> samplePrecisions(std::mt19937_64& rng, uint64_t top, int count) {
  std::vector<uint64_t> list;
  for (uint64_t p = 1; p <= 40; p++) list.push_back(p);
  std::uniform_real_distribution<double> logSize(std::log(41.0), std::log(double(top)));
  for (int i = 0; i < count; i++) list.push_back(uint64_t(std::exp(logSize(rng))));
  return list;
}

// Length of x against the precision: shorter, about equal, or longer (then
// the products cut it).
uint64_t sampleLength(std::mt19937_64& rng, uint64_t p) {
  const uint64_t lengths[] = {1, 2, p / 2 + 1, p + 3, 2 * p + 1};
  return lengths[rng() % 5];
}

struct TestHeap {
  Heap heap;
  explicit TestHeap(uint64_t bytes) { heapInit(nullptr, &heap, bytes); }
  ~TestHeap() {
    EXPECT_EQ(heap.activeBlocks, 0u);
    heapDestroy(&heap);
  }
};

void destroy(std::initializer_list<BigFloat*> numbers) {
  for (BigFloat* x : numbers) bigFloatDestroy(x);
}

enum class Form { Reciprocal, InvSqrt, InvSqrtWord };

}  // namespace

TEST(NewtonHalfPrecision, EveryChainEndsAtOne) {
  for (uint64_t start = 2; start < 3000; start++) {
    uint64_t p = start, steps = 0;
    while (p > 1 && steps++ < 64) {
      uint64_t next = newtonHalfPrecision(p);
      ASSERT_LT(next, p) << "from " << p;
      p = next;
    }
    EXPECT_EQ(p, 1u);
  }
}

// bigFloatReciprocal (and bigFloatInvert, the same bits in place),
// bigFloatInvSqrt and invSqrtWord against MPFR; x stays intact, nothing
// leaks, and the guard words leave more than a word to spare.
TEST(Newton, ReciprocalsAndInverseRootsMatchMpfrOverPrecisions) {
  const uint64_t seed = testSeed();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937_64 rng(seed);
  TestHeap arena(64 << 20);
  Heap* heap = &arena.heap;
  const Kind kinds[] = {Kind::Uniform, Kind::AllOnes, Kind::Runs, Kind::LoneTop};
  const uint32_t words[] = {2, 3, 4, 5, 10, 9, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFFFEu, 1u << 31 | 1};
  for (Form form : {Form::Reciprocal, Form::InvSqrt, Form::InvSqrtWord}) {
    double worstMargin = 1e9;
    int index = 0;
    const uint64_t top = form == Form::Reciprocal ? 20000 : 10000;
    for (uint64_t p : samplePrecisions(rng, top, form == Form::Reciprocal ? 80 : 50)) {
      const uint64_t length = sampleLength(rng, p);
      const Kind kind = kinds[index % 4];
      const uint32_t n = index % 3 == 2 ? uint32_t(rng()) | 1 : words[index % 10];
      index++;
      const bool positive = form != Form::Reciprocal || (rng() & 1);
      SCOPED_TRACE("form " + std::to_string(int(form)) + ", p " + std::to_string(p) +
                   ", length " + std::to_string(length) + ", kind " + std::to_string(int(kind)) +
                   ", n " + std::to_string(n) + (positive ? ", positive" : ", negative"));
      BigFloat x, original, r;
      double bits;
      if (form == Form::InvSqrtWord) {
        invSqrtWord(heap, n, &r, p, 0, 0);
        bits = residualBitsWord(heap, n, &r);
        EXPECT_EQ(r.positive, 1u);
        bigFloatDestroy(&r);
      } else {
        makeNumber(heap, &x, length, int64_t(rng() % 13) - 6, positive, kind, rng);
        copyNumber(heap, &x, &original);
        if (form == Form::Reciprocal) {
          bigFloatReciprocal(heap, &x, &r, p, 0, 0);
        } else {
          bigFloatInvSqrt(heap, &x, &r, p, 0, 0);
        }
        EXPECT_EQ(r.positive, x.positive);
        bits = residualBits(heap, &x, &r, form == Form::InvSqrt);
        EXPECT_TRUE(sameNumber(heap, &x, &original)) << "x was changed";
        if (form == Form::Reciprocal) {
          bigFloatInvert(heap, &x, p, 0, 0);
          EXPECT_TRUE(sameNumber(heap, &x, &r));
        }
        destroy({&r, &x, &original});
      }
      EXPECT_LE(bits, -32.0 * double(p));
      worstMargin = std::min(worstMargin, -bits - 32.0 * double(p));
    }
    EXPECT_GT(worstMargin, 32.0) << int(form);
  }
}

// The large cases: a negative 100000-word x, and 1 / sqrt(3), with threaded
// products.
TEST(Newton, HundredThousandWords) {
  std::mt19937_64 rng(testSeed() + 1);
  TestHeap arena(96 << 20);
  Heap* heap = &arena.heap;
  const uint64_t p = 100000;
  BigFloat x, r;
  makeNumber(heap, &x, p, -7, false, Kind::Uniform, rng);
  bigFloatReciprocal(heap, &x, &r, p, 1, 0);
  EXPECT_EQ(r.positive, 0u);
  EXPECT_LE(residualBits(heap, &x, &r, false), -32.0 * double(p));
  destroy({&r, &x});
  invSqrtWord(heap, 3, &r, p, 1, 0);
  EXPECT_LE(residualBitsWord(heap, 3, &r), -32.0 * double(p));
  bigFloatDestroy(&r);
}

TEST(Newton, EdgeCases) {
  std::mt19937_64 rng(testSeed() + 2);
  TestHeap arena(8 << 20);
  Heap* heap = &arena.heap;
  // p = 1: 53 bits from the double, doubled by one step to about 3 words.
  for (int i = 0; i < 50; i++) {
    BigFloat x, r;
    makeNumber(heap, &x, 1 + rng() % 8, int64_t(rng() % 7) - 3, rng() & 1, Kind::Uniform, rng);
    bigFloatReciprocal(heap, &x, &r, 1, 0, 0);
    EXPECT_LE(residualBits(heap, &x, &r, false), -96.0);
    destroy({&r, &x});
  }
  // Powers of two (any sign) have exact reciprocals: the error term is zero.
  for (int shift : {0, 1, 17, 31}) {
    for (int64_t exponent : {-3, 4}) {
      for (bool positive : {true, false}) {
        BigFloat x, r;
        bigFloatFromU32(heap, &x, uint32_t(1) << shift);
        x.exponent = exponent;
        x.positive = positive ? 1 : 0;
        bigFloatReciprocal(heap, &x, &r, 50, 0, 0);
        EXPECT_EQ(residualBits(heap, &x, &r, false), -1e9) << shift << " " << exponent;
        EXPECT_EQ(r.positive, x.positive);
        destroy({&r, &x});
      }
    }
  }
  // x = 3 at p = 2 and 3, the special half precisions.
  for (uint64_t p : {2u, 3u}) {
    BigFloat x, r;
    bigFloatFromU32(heap, &x, 3);
    bigFloatReciprocal(heap, &x, &r, p, 0, 0);
    EXPECT_LE(residualBits(heap, &x, &r, false), -32.0 * double(p + 1));
    destroy({&r, &x});
  }
  // invSqrtWord(1) stays exactly 1; perfect squares give exact roots.
  for (uint64_t p : {1u, 2u, 3u, 100u, 1001u}) {
    BigFloat x;
    invSqrtWord(heap, 1, &x, p, 0, 0);
    ASSERT_EQ(x.mantissa.length, 1u) << p;
    EXPECT_EQ(x.mantissa.words[0], 1u);
    EXPECT_EQ(x.exponent, 0);
    EXPECT_EQ(x.positive, 1u);
    bigFloatDestroy(&x);
  }
  for (uint32_t n : {4u, 1u << 16, 1u << 30}) {
    BigFloat x;
    invSqrtWord(heap, n, &x, 40, 0, 0);
    EXPECT_EQ(residualBitsWord(heap, n, &x), -1e9) << n;
    bigFloatDestroy(&x);
  }
}

// ---- Progress line ----------------------------------------------------------

TEST(NewtonProgress, LineLayoutThrottleAndDeepestStepFirst) {
  std::string out;
  progressReset();
  progressPush('0');
  progressPush(':');
  consoleCaptureTo(&out);
  EXPECT_TRUE(newtonPrintProgress(100));   // 963.29... digits
  EXPECT_FALSE(newtonPrintProgress(200));  // within the second: nothing
  consoleCaptureTo(nullptr);
  progressPopCount(2);
  std::string expected = "\rIterating: 0:    ( 964 )";
  expected += std::string(64 - expected.size(), ' ');
  EXPECT_EQ(out, expected);
  // Thousands separators in the count.
  out.clear();
  progressReset();
  consoleCaptureTo(&out);
  newtonPrintProgress(1000000);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out.substr(0, 35), "\rIterating:     ( 9,632,960 )      ");
  EXPECT_EQ(out.size(), 64u);

  // A reciprocal with the display on prints first from the deepest step,
  // 100 -> 51 -> 26 -> 14 -> 8 -> 5 -> 3 -> 2 -> 1: seven "0"s above the
  // step that reaches 1 word (10 digits); the path is empty afterwards.
  TestHeap arena(8 << 20);
  Heap* heap = &arena.heap;
  BigFloat x, r;
  bigFloatFromU32(heap, &x, 7);
  out.clear();
  progressReset();
  consoleCaptureTo(&out);
  bigFloatReciprocal(heap, &x, &r, 100, 0, 1);
  consoleCaptureTo(nullptr);
  std::string first = "\rIterating: 0000000    ( 10 )";
  EXPECT_EQ(out.substr(0, first.size()), first);
  EXPECT_EQ(out.find("Iterating", 2), std::string::npos) << "more than one line in a second";
  EXPECT_EQ(progressPath().depth, 0u);
  // No display: nothing printed.
  out.clear();
  progressReset();
  consoleCaptureTo(&out);
  bigFloatInvert(heap, &r, 100, 0, 0);
  bigFloatDestroy(&x);
  invSqrtWord(heap, 5, &x, 30, 0, 0);
  consoleCaptureTo(nullptr);
  EXPECT_TRUE(out.empty());
  destroy({&r, &x});
}
