// Reciprocals and inverse square roots: |x r - 1| (or |x r^2 - 1|) below
// 2^(-32 p) checked exactly; the progress line; the swap forms on real swap
// files give the RAM forms' digits and leave no file behind.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "arith/newton/newton.h"
#include "arith/number_oracle.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "support/run_program.h"
#include "support/swap_folders.h"
#include "support/test_arena.h"

namespace {

// log2 |x r - 1| (r squared when `root`), exactly; -1e9 for zero.
double residualBits(const BigFloat& x, const BigFloat& r, bool root) {
  Mpz a, b, one;
  mpzFromBigFloat(a.z, x, x.exponent);
  mpzFromBigFloat(b.z, r, r.exponent);
  mpz_mul(a.z, a.z, b.z);
  if (root) mpz_mul(a.z, a.z, b.z);
  const int64_t shift = -32 * (x.exponent + (root ? 2 : 1) * r.exponent);  // value = a / 2^shift
  if (shift < 0) return 1e9;  // r far too large: |x r - 1| >= 1
  mpz_setbit(one.z, uint64_t(shift));
  mpz_sub(a.z, a.z, one.z);
  return mpz_sgn(a.z) == 0 ? -1e9 : double(mpz_sizeinbase(a.z, 2)) - double(shift);
}

double wordResidualBits(Heap* heap, uint32_t n, const BigFloat& r) {
  BigFloat word;
  bigFloatFromU32(heap, &word, n);
  const double bits = residualBits(word, r, true);
  bigFloatDestroy(&word);
  return bits;
}

bool sameNumber(const BigFloat& a, const BigFloat& b) {
  return a.positive == b.positive && a.exponent == b.exponent &&
         bigIntWords(a.mantissa) == bigIntWords(b.mantissa);
}

class Newton : public ::testing::Test {
 protected:
  TestArena arena{96 << 20};
  Heap& heap = arena.heap;
  OperandSource source = testOperands(0);
  void make(BigFloat* x, uint64_t length, bool positive) {
    makeBigFloat(&heap, x, source.anyWords(length), int64_t(source.below(13)) - 6, positive);
  }
  void copy(const BigFloat& x, BigFloat* to) {
    makeBigFloat(&heap, to, bigIntWords(x.mantissa), x.exponent, x.positive);
  }
  void destroy(std::initializer_list<BigFloat*> numbers) {
    for (BigFloat* x : numbers) bigFloatDestroy(x);
  }
};

// Swap files over two temporary folders, checked empty at the end.
class NewtonSwap : public Newton {
 protected:
  SwapFolders folders{2u};
  void TearDown() override {
    Newton::TearDown();
    EXPECT_TRUE(folders.empty()) << "swap files left behind";
  }
  // The swap writes `run` made, its console output captured.
  template <class Run>
  static uint64_t writesOf(std::string* out, Run run) {
    progressReset();
    consoleCaptureTo(out);
    const uint64_t before = raidFileWriteCount();
    run();
    consoleCaptureTo(nullptr);
    return raidFileWriteCount() - before;
  }
  static bool pagedOut(const BigFloat& x) {
    return x.mantissa.words == nullptr && x.mantissa.swap != nullptr;
  }
};

}  // namespace

TEST_F(Newton, ReciprocalsAndInverseRootsMatchOverPrecisions) {
  for (int form = 0; form < 3; form++) {
    double worstMargin = 1e9;
    for (int index = 0; index < 90; index++) {
      const uint64_t p = index < 40 ? index + 1 : source.random.logUniform(41, form == 0 ? 20000 : 10000);
      const uint64_t lengths[] = {1, 2, p / 2 + 1, p + 3, 2 * p + 1};
      const uint64_t length = lengths[source.below(5)];
      const uint32_t n = index % 3 == 2 ? uint32_t(source.rng()) | 1 : uint32_t(2 + source.below(9));
      SCOPED_TRACE(testing::Message() << "form " << form << " p " << p << " length " << length);
      BigFloat x, original, r;
      double bits;
      if (form == 2) {
        invSqrtWord(&heap, n, &r, p, 0, 0);
        bits = wordResidualBits(&heap, n, r);
        EXPECT_EQ(r.positive, 1u);
        bigFloatDestroy(&r);
      } else {
        make(&x, length, form == 1 || source.below(2) == 0);
        copy(x, &original);
        (form == 0 ? bigFloatReciprocal : bigFloatInvSqrt)(&heap, &x, &r, p, 0, 0);
        EXPECT_EQ(r.positive, x.positive);
        bits = residualBits(x, r, form == 1);
        EXPECT_TRUE(sameNumber(x, original)) << "x was changed";
        if (form == 0) {
          bigFloatInvert(&heap, &x, p, 0, 0);
          EXPECT_TRUE(sameNumber(x, r));
        }
        destroy({&r, &x, &original});
      }
      EXPECT_LE(bits, -32.0 * double(p));
      worstMargin = std::min(worstMargin, -bits - 32.0 * double(p));
    }
    // Guard words kept past the guarantee: 31 bits the worst over 200 seeds.
    EXPECT_GE(worstMargin, 24.0) << form;
  }
  const uint64_t p = 100000;
  BigFloat x, r;
  make(&x, p, false);
  bigFloatReciprocal(&heap, &x, &r, p, 1, 0);
  EXPECT_EQ(r.positive, 0u);
  EXPECT_LE(residualBits(x, r, false), -32.0 * double(p));
  destroy({&r, &x});
  invSqrtWord(&heap, 3, &r, p, 1, 0);
  EXPECT_LE(wordResidualBits(&heap, 3, r), -32.0 * double(p));
  bigFloatDestroy(&r);
}

// p = 1 from the double's 53 bits; exact reciprocals of powers of two; x = 3 at
// p = 2, 3; exact inverse roots of 1 and perfect squares.
TEST_F(Newton, ExactAndSmallCases) {
  for (int i = 0; i < 50; i++) {
    BigFloat x, r;
    makeBigFloat(&heap, &x, source.words(1 + source.below(8), testbridge::Kind::Uniform),
                 int64_t(source.below(7)) - 3, source.below(2) == 0);
    bigFloatReciprocal(&heap, &x, &r, 1, 0, 0);
    EXPECT_LE(residualBits(x, r, false), -96.0);
    destroy({&r, &x});
  }
  for (int shift : {0, 1, 17, 31}) {
    for (int64_t exponent : {-3, 4}) {
      for (bool positive : {true, false}) {
        BigFloat x, r;
        makeBigFloat(&heap, &x, {uint32_t(1) << shift}, exponent, positive);
        bigFloatReciprocal(&heap, &x, &r, 50, 0, 0);
        EXPECT_EQ(residualBits(x, r, false), -1e9) << shift << " " << exponent;
        EXPECT_EQ(r.positive, x.positive);
        destroy({&r, &x});
      }
    }
  }
  for (uint64_t p : {2u, 3u}) {
    BigFloat x, r;
    bigFloatFromU32(&heap, &x, 3);
    bigFloatReciprocal(&heap, &x, &r, p, 0, 0);
    EXPECT_LE(residualBits(x, r, false), -32.0 * double(p + 1));
    destroy({&r, &x});
  }
  for (uint64_t p : {1u, 2u, 3u, 100u, 1001u}) {
    BigFloat x;
    invSqrtWord(&heap, 1, &x, p, 0, 0);
    EXPECT_EQ(bigIntWords(x.mantissa), std::vector<uint32_t>{1}) << p;
    EXPECT_TRUE(x.exponent == 0 && x.positive == 1) << p;
    bigFloatDestroy(&x);
  }
  for (uint32_t n : {4u, 1u << 16, 1u << 30}) {
    BigFloat x;
    invSqrtWord(&heap, n, &x, 40, 0, 0);
    EXPECT_EQ(wordResidualBits(&heap, n, x), -1e9) << n;
    bigFloatDestroy(&x);
  }
}

// Path, digits with separators, 64 columns, one a second; a reciprocal prints
// from its deepest step (seven "0"s above the 1-word step); no display, nothing.
TEST_F(Newton, ProgressLineLayoutThrottleAndDeepestStepFirst) {
  std::string out;
  progressReset();
  progressPush('0');
  progressPush(':');
  consoleCaptureTo(&out);
  EXPECT_TRUE(newtonPrintProgress(100));   // 963.29... digits
  EXPECT_FALSE(newtonPrintProgress(200));  // within the second: nothing
  progressPopCount(2);
  std::string expected = "\rIterating: 0:    ( 964 )";
  EXPECT_EQ(out, expected + std::string(64 - expected.size(), ' '));
  out.clear();
  progressReset();
  newtonPrintProgress(1000000);
  EXPECT_EQ(out.substr(0, 35), "\rIterating:     ( 9,632,960 )      ");
  EXPECT_EQ(out.size(), 64u);
  BigFloat x, r;
  bigFloatFromU32(&heap, &x, 7);
  out.clear();
  progressReset();
  bigFloatReciprocal(&heap, &x, &r, 100, 0, 1);
  EXPECT_EQ(out.substr(0, 29), "\rIterating: 0000000    ( 10 )");
  EXPECT_EQ(out.find("Iterating", 2), std::string::npos) << "more than one line in a second";
  EXPECT_EQ(progressPath().depth, 0u);
  out.clear();
  progressReset();
  bigFloatInvert(&heap, &r, 100, 0, 0);
  bigFloatDestroy(&x);
  invSqrtWord(&heap, 5, &x, 30, 0, 0);
  consoleCaptureTo(nullptr);
  EXPECT_TRUE(out.empty());
  destroy({&r, &x});
}

// Paging from 1000 words with the RAM digits; paged-out x and r stay out; at
// depth 2 nothing is pushed (":" in the path); RAM forms read a paged-out x.
TEST_F(NewtonSwap, SwapFormsGiveTheRamDigits) {
  for (uint64_t p : {999u, 1000u, 1733u, 4001u}) {
    BigFloat x, ram, original;
    make(&x, p + 3, p % 2 == 0);
    copy(x, &ram);
    copy(x, &original);
    std::string out;
    const uint64_t writes = writesOf(&out, [&] { bigFloatInvertSwapped(&heap, &x, p, 0, 1); });
    bigFloatInvert(&heap, &ram, p, 0, 0);
    bigIntLoad(&heap, &x.mantissa, 1);
    EXPECT_TRUE(sameNumber(x, ram)) << p;
    EXPECT_LE(residualBits(original, x, false), -32.0 * double(p));
    EXPECT_EQ(writes > 0, p >= 1000) << p;
    EXPECT_EQ(out.find("Iterating: ") != std::string::npos, p >= 1000) << p;
    EXPECT_EQ(progressPath().depth, 0u);
    destroy({&x, &ram, &original});
  }
  for (uint64_t p : {1000u, 2500u}) {
    BigFloat x, original, r, ram;
    make(&x, 2 * p, false);
    copy(x, &original);
    bigFloatReciprocal(&heap, &original, &ram, p, 0, 0);
    if (p == 2500) bigFloatPushToDisk(&x);
    bigFloatReciprocalSwapped(&heap, &x, &r, p, 0, 0, 0);
    EXPECT_TRUE(pagedOut(x) && pagedOut(r)) << p;
    for (BigFloat* v : {&x, &r}) bigIntLoad(&heap, &v->mantissa, 1);
    EXPECT_TRUE(sameNumber(r, ram)) << p;
    EXPECT_TRUE(sameNumber(x, original)) << p;
    destroy({&x, &original, &r, &ram});
  }
  BigFloat x, original, r, ram;
  make(&x, 3000, true);
  copy(x, &original);
  std::string out;
  EXPECT_EQ(writesOf(&out, [&] { bigFloatReciprocalSwapped(&heap, &x, &r, 5000, 2, 0, 1); }), 0u);
  EXPECT_EQ(out.substr(0, 13), "\rIterating: :");
  EXPECT_TRUE(x.mantissa.words != nullptr && x.mantissa.swap == nullptr);
  bigFloatReciprocal(&heap, &original, &ram, 5000, 0, 0);
  EXPECT_TRUE(sameNumber(r, ram));
  destroy({&r, &ram});
  for (bool root : {false, true}) {
    bigFloatPushToDisk(&x);
    ASSERT_TRUE(pagedOut(x));
    (root ? bigFloatInvSqrt : bigFloatReciprocal)(&heap, &x, &r, 600, 0, 0);
    (root ? bigFloatInvSqrt : bigFloatReciprocal)(&heap, &original, &ram, 600, 0, 0);
    EXPECT_TRUE(sameNumber(r, ram)) << root;
    destroy({&r, &ram});
  }
  destroy({&x, &original});
}

// invSqrtWordSwapped gives invSqrtWord's digits (":" marks RAM steps); then
// products large enough for the front end's disk path.
TEST_F(NewtonSwap, InvSqrtWordSwappedAndDiskSizedProducts) {
  for (uint64_t p : {999u, 1000u, 2200u}) {
    for (uint32_t n : {2u, 0xFFFFFFFBu}) {
      BigFloat x, ram;
      std::string out;
      const uint64_t writes = writesOf(&out, [&] { invSqrtWordSwapped(&heap, n, &x, p, 0); });
      invSqrtWord(&heap, n, &ram, p, 0, 0);
      bigIntLoad(&heap, &x.mantissa, 1);
      EXPECT_TRUE(sameNumber(x, ram)) << p << " " << n;
      EXPECT_LE(wordResidualBits(&heap, n, x), -32.0 * double(p));
      EXPECT_EQ(out.substr(0, 15), p < 1000 ? "\rIterating: :00" : "\rIterating: 0:0");
      EXPECT_EQ(writes > 0, p >= 1000);
      destroy({&x, &ram});
    }
  }
  const uint64_t p = 30000;
  BigFloat x, original;
  make(&x, p + 3, true);
  copy(x, &original);
  bigFloatPushToDisk(&x);
  bigFloatInvertSwapped(&heap, &x, p, 0, 0);
  bigIntLoad(&heap, &x.mantissa, 1);
  EXPECT_LE(residualBits(original, x, false), -32.0 * double(p));
  destroy({&x, &original});
}
