// Product front ends: bigIntSquare and bigIntMultiply against GMP over
// sampled lengths, the chop and zero rules, the method choice, the retry
// protocol driven by injected worker failures, multiplyWordArrays, and the
// BigFloat product wrappers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "arith/bigfloat.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "arith/tuning.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

class FrontEnds : public ::testing::Test {
 protected:
  Heap heap;
  std::string output;
  uint64_t savedErrorCount = 0;
  void SetUp() override {
    heapInit(nullptr, &heap, 32 << 20);
    savedErrorCount = errorCount;
    errorCount = 0;
  }
  void TearDown() override {
    multiplyInjectFaults(0);
    consoleCaptureTo(nullptr);
    errorCount = savedErrorCount;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left alive";
    heapDestroy(&heap);
  }
  void capture() {
    output.clear();
    consoleCaptureTo(&output);
  }
};

// Checks out = floor(a * b / 2^(32 chop)) (a == b for squares): exact when
// the chop reaches no further than the shorter operand, otherwise at most 3
// below (the workers drop operand words that cannot reach the window). Also
// the length rule: the window, or one less when its top word is zero. After
// a third attempt (`doubled`) the array is that of the doubled operands' product
// and the length may have fallen once more by the division by 4.
void checkProduct(const BigInt& a, const BigInt& b, const BigInt& out, uint64_t chop,
                  bool doubled = false) {
  Mpz x, y, full, got;
  mpzFromBigInt(x.z, a);
  mpzFromBigInt(y.z, b);
  mpz_mul(full.z, x.z, y.z);
  mpz_tdiv_q_2exp(full.z, full.z, 32 * chop);
  const uint64_t window = a.length + b.length - chop;
  if (doubled) {
    EXPECT_GE(out.capacity, window + 2);
    ASSERT_LE(out.length, window);
    if (out.length > 0) {
      EXPECT_NE(out.words[out.length - 1], 0u);
    }
  } else {
    ASSERT_TRUE(out.length == window || out.length == window - 1) << out.length;
    EXPECT_EQ(out.capacity, window + 2);
    if (out.length == window - 1) {
      EXPECT_EQ(out.words[window - 1], 0u);
    }
  }
  mpzFromBigInt(got.z, out);
  mpz_sub(full.z, full.z, got.z);
  if (chop <= std::min(a.length, b.length)) {
    EXPECT_EQ(mpz_sgn(full.z), 0) << "la " << a.length << " lb " << b.length << " chop " << chop;
  } else {
    EXPECT_GE(mpz_sgn(full.z), 0);
    EXPECT_LE(mpz_cmp_ui(full.z, 3), 0) << "la " << a.length << " lb " << b.length;
  }
}

TEST_F(FrontEnds, SquaresAndProductsAgreeWithGmp) {
  OperandSource source = testOperands(0);
  for (int round = 0; round < 160; round++) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    const uint64_t la = source.length(3000);
    const uint64_t lb = round % 4 == 0 ? la : source.length(3000);
    BigInt a, b, out;
    makeBigInt(&heap, &a, source.anyWords(la));
    makeBigInt(&heap, &b, source.anyWords(lb));
    const uint64_t chop = round % 3 == 0 ? 0 : source.below(la + lb);
    bigIntMultiply(&heap, &a, &b, &out, chop, 0, 0);
    checkProduct(a, b, out, chop);
    bigIntDestroy(&out);
    const uint64_t squareChop = round % 3 == 0 ? 0 : source.below(2 * la);
    bigIntSquare(&heap, &a, &out, squareChop, 0, 0);
    checkProduct(a, a, out, squareChop);
    bigIntDestroy(&out);
    bigIntDestroy(&a);
    bigIntDestroy(&b);
  }
}

TEST_F(FrontEnds, EmptyResultsCallNoWorker) {
  OperandSource source = testOperands(22);
  BigInt a, b, zero, out;
  makeBigInt(&heap, &a, source.anyWords(5));
  makeBigInt(&heap, &b, source.anyWords(3));
  bigIntSetZero(&zero);
  const uint64_t calls = multiplyWorkerCalls();
  out.length = 99;  // whatever out held is cleared
  bigIntMultiply(&heap, &a, &b, &out, 8, 0, 0);
  EXPECT_EQ(out.length, 0u);
  EXPECT_EQ(out.words, nullptr);
  bigIntMultiply(&heap, &a, &b, &out, 1000, 0, 0);
  EXPECT_EQ(out.length, 0u);
  // A zero operand: the attempt number is not even looked at.
  bigIntMultiply(&heap, &zero, &a, &out, 0, 2, 0);
  EXPECT_EQ(out.length, 0u);
  bigIntSquare(&heap, &zero, &out, 0, 2, 0);
  EXPECT_EQ(out.length, 0u);
  bigIntSquare(&heap, &a, &out, 10, 0, 0);
  EXPECT_EQ(out.length, 0u);
  EXPECT_EQ(multiplyWorkerCalls(), calls);
  // One word under the limit does call it.
  bigIntMultiply(&heap, &a, &b, &out, 7, 0, 0);
  checkProduct(a, b, out, 7);
  EXPECT_EQ(multiplyWorkerCalls(), calls + 1);
  bigIntDestroy(&out);
  bigIntDestroy(&a);
  bigIntDestroy(&b);
}

TEST(MethodChoice, ThresholdsAndThreads) {
  EXPECT_EQ(chooseSquareMethod(fftSquareThreshold - 1, 0), MultiplyRecursive);
  EXPECT_EQ(chooseSquareMethod(fftSquareThreshold, 0), MultiplyFft);
  EXPECT_EQ(chooseSquareMethod(13056, 0), MultiplyFft);
  EXPECT_EQ(chooseSquareMethod(13057, 0), MultiplyHybrid);
  EXPECT_EQ(chooseSquareMethod(13057, 3), MultiplyHybrid);
  EXPECT_EQ(chooseSquareMethod(12000, 1), MultiplyHybrid);
  EXPECT_EQ(chooseSquareMethod(11999, 1), MultiplyFft);
  EXPECT_EQ(chooseSquareMethod(12000, 0), MultiplyFft);
  EXPECT_EQ(chooseMultiplyMethod(fftMultiplyThreshold - 1, 0), MultiplyRecursive);
  EXPECT_EQ(chooseMultiplyMethod(fftMultiplyThreshold, 0), MultiplyFft);
  EXPECT_EQ(chooseMultiplyMethod(12000, 1), MultiplyHybrid);
  EXPECT_EQ(chooseMultiplyMethod(12000, 0), MultiplyFft);
  EXPECT_EQ(chooseMultiplyMethod(13057, 0), MultiplyHybrid);
}

TEST(MethodChoice, DiskPathNeedsPagedOutLargeBalancedOperands) {
  BigInt a{13057, nullptr, 0, nullptr};
  BigInt b{13057 * 4, nullptr, 0, nullptr};
  EXPECT_TRUE(squareWantsDiskPath(a));
  a.length = 13056;
  EXPECT_FALSE(squareWantsDiskPath(a));
  a.length = 13057;
  EXPECT_TRUE(multiplyWantsDiskPath(a, b));
  EXPECT_TRUE(multiplyWantsDiskPath(b, a));
  b.length += 1;  // more than 4 times as long
  EXPECT_FALSE(multiplyWantsDiskPath(a, b));
  EXPECT_FALSE(multiplyWantsDiskPath(b, a));
  b.length = 20000;
  uint32_t word = 1;
  b.words = &word;  // in memory
  EXPECT_FALSE(multiplyWantsDiskPath(a, b));
  EXPECT_FALSE(squareWantsDiskPath(b));
}

const char* const firstFailure =
    "\n\nMultiplication Failure:\nRe-attempting with same parameters...\n";
const char* const secondFailure =
    "\n\nSecond Attempt Failed: Possible Software Bug.\n"
    "Re-attempting with different parameters...\n";
const char* const hardwareVerdict =
    "\nSecond Attempt Succeeded with same parameters.\n"
    "Most likely a hardware error... Please check your hardware.\nContinuing...\n\n";
const char* const softwareVerdict =
    "\nThird Attempt Succeeded with different parameters.\n"
    "Most likely a software error... Please report this bug.\nContinuing...\n\n";

TEST_F(FrontEnds, FirstFailureIsRetriedWithTheSameNumbers) {
  OperandSource source = testOperands(23);
  BigInt a, b, out;
  makeBigInt(&heap, &a, source.anyWords(70));
  makeBigInt(&heap, &b, source.anyWords(40));
  capture();
  multiplyInjectFaults(1);
  bigIntSquare(&heap, &a, &out, 3, 0, 0);
  EXPECT_EQ(output, std::string(firstFailure) + hardwareVerdict);
  EXPECT_EQ(errorCount, 1u);
  checkProduct(a, a, out, 3);
  bigIntDestroy(&out);
  // The failed product array went back: only a, b and out were alive.
  EXPECT_EQ(heap.activeBlocks, 2u);

  output.clear();
  bigIntMultiply(&heap, &b, &a, &out, 0, 0, 0);
  EXPECT_EQ(output, std::string(firstFailure) + hardwareVerdict);
  EXPECT_EQ(errorCount, 2u);
  checkProduct(a, b, out, 0);
  bigIntDestroy(&out);
  bigIntDestroy(&a);
  bigIntDestroy(&b);
}

// The third attempt works on doubled operands and divides by 4. Operands
// cover an odd low word, a top bit that makes the doubled number longer, an
// array without slack (the doubling takes a new one) and a chop.
TEST_F(FrontEnds, SecondFailureRunsOnDoubledNumbers) {
  OperandSource source = testOperands(24);
  struct Case {
    std::vector<uint32_t> words;
    uint64_t extra;
    uint64_t chop;
  };
  std::vector<Case> cases = {
      {{0xFFFFFFFFu}, 0, 0},
      {{3, 0x80000000u}, 2, 0},
      {source.words(60, testbridge::Kind::AllOnes), 0, 0},
      {source.words(60, testbridge::Kind::Uniform), 2, 17},
      {source.words(9, testbridge::Kind::LoneTop), 1, 4},
  };
  cases[3].words[0] |= 1;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "length " << c.words.size() << " chop " << c.chop);
    BigInt a, b, out;
    makeBigInt(&heap, &a, c.words, c.extra);
    makeBigInt(&heap, &b, source.anyWords(c.words.size() + 5), 0);
    capture();
    multiplyInjectFaults(3);
    errorCount = 0;
    bigIntSquare(&heap, &a, &out, c.chop, 0, 0);
    EXPECT_EQ(output, std::string(firstFailure) + secondFailure + softwareVerdict);
    EXPECT_EQ(errorCount, 2u);
    EXPECT_EQ(bigIntWords(a), c.words) << "the operand is restored";
    checkProduct(a, a, out, c.chop, true);
    bigIntDestroy(&out);

    output.clear();
    bigIntMultiply(&heap, &a, &b, &out, c.chop, 0, 0);
    EXPECT_EQ(output, std::string(firstFailure) + secondFailure + softwareVerdict);
    EXPECT_EQ(bigIntWords(a), c.words);
    EXPECT_EQ(b.length, c.words.size() + 5);
    checkProduct(a, b, out, c.chop, true);
    bigIntDestroy(&out);
    // One record as both operands is doubled once: (2a)(2a) / 4.
    bigIntMultiply(&heap, &a, &a, &out, c.chop, 0, 0);
    EXPECT_EQ(bigIntWords(a), c.words);
    checkProduct(a, a, out, c.chop, true);
    bigIntDestroy(&out);
    EXPECT_EQ(errorCount, 6u);
    bigIntDestroy(&a);
    bigIntDestroy(&b);
  }
}

// In a death test the console is sent to standard error, where the matcher
// can see it, and the pause finds no input.
void consoleToStandardError() {
  dup2(STDERR_FILENO, STDOUT_FILENO);
  consoleInputFrom("");
}

TEST_F(FrontEnds, ThirdFailureEndsTheProgram) {
  OperandSource source = testOperands(25);
  BigInt a;
  makeBigInt(&heap, &a, source.anyWords(20));
  EXPECT_EXIT(
      {
        consoleToStandardError();
        multiplyInjectFaults(7);
        BigInt out;
        bigIntSquare(&heap, &a, &out, 0, 0, 0);
      },
      ::testing::ExitedWithCode(1),
      "Re-attempting with different parameters.*Third Attempt Failed: Unable to determine "
      "cause of error.\nTerminating Program...\n");
  bigIntDestroy(&a);
}

TEST_F(FrontEnds, DisabledEccMakesTheFirstFailureFatal) {
  OperandSource source = testOperands(26);
  BigInt a, b;
  makeBigInt(&heap, &a, source.anyWords(20));
  makeBigInt(&heap, &b, source.anyWords(20));
  EXPECT_EXIT(
      {
        consoleToStandardError();
        errorCount = errorCountEccDisabled;
        multiplyInjectFaults(1);
        BigInt out;
        bigIntMultiply(&heap, &a, &b, &out, 0, 0, 0);
      },
      ::testing::ExitedWithCode(1),
      "^\n\n\n\nHARDWARE ERROR DETECTED:\nAn error has been detected.\nNo attempt will made to "
      "correct it because ECC is disabled.\n\nPlease check your hardware. :\\)\n\n");
  bigIntDestroy(&a);
  bigIntDestroy(&b);
}

TEST_F(FrontEnds, OtherWorkerCodesAreMemoryFailures) {
  OperandSource source = testOperands(27);
  BigInt a;
  makeBigInt(&heap, &a, source.anyWords(20));
  EXPECT_EXIT(
      {
        consoleToStandardError();
        multiplyInjectFaults(1, 4096);
        BigInt out;
        bigIntSquare(&heap, &a, &out, 0, 0, 0);
      },
      ::testing::ExitedWithCode(1), "Memory Allocation Failure.");
  bigIntDestroy(&a);
}

TEST_F(FrontEnds, MultiplyWordArrays) {
  OperandSource source = testOperands(28);
  for (int round = 0; round < 40; round++) {
    const uint64_t la = source.length(700), lb = source.length(700);
    auto a = source.anyWords(la), b = source.anyWords(lb);
    if (round % 5 == 0) a[la - 1] = 1, b[lb - 1] = 1;  // a short product
    std::vector<uint32_t> out(la + lb, 0xDEADBEEFu);
    const uint64_t length = multiplyWordArrays(&heap, a.data(), la, b.data(), lb, out.data(), 0);
    Mpz x, y, expected;
    testbridge::toMpz(x.z, a.data(), la);
    testbridge::toMpz(y.z, b.data(), lb);
    mpz_mul(expected.z, x.z, y.z);
    // The length is the product's own: no zero word on top.
    EXPECT_EQ(length, (mpz_sizeinbase(expected.z, 2) + 31) / 32) << "round " << round;
    EXPECT_TRUE(testbridge::equalsMpz(out.data(), la + lb, expected.z)) << "round " << round;
  }
}

TEST_F(FrontEnds, MultiplyWordArraysFailureRules) {
  const std::vector<uint32_t> a = {1, 2, 3}, b = {4, 5};
  std::vector<uint32_t> out(5);
  // A re-run that succeeds still ends as a memory failure; a disabled ECC
  // does not stop the re-run.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        errorCount = errorCountEccDisabled;
        multiplyInjectFaults(1);
        multiplyWordArrays(&heap, a.data(), 3, b.data(), 2, out.data(), 0);
      },
      ::testing::ExitedWithCode(1),
      "^\n\nMultiplication Failure:\nRe-attempting with same parameters...\n\n\n.*Memory "
      "Allocation Failure.");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        multiplyInjectFaults(3);
        multiplyWordArrays(&heap, a.data(), 3, b.data(), 2, out.data(), 0);
      },
      ::testing::ExitedWithCode(1),
      "Re-attempting with same parameters...\nSecond Attempt Failed: Possible Software "
      "Bug.\nTerminating Program...\n");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        multiplyInjectFaults(1, 12);
        multiplyWordArrays(&heap, a.data(), 3, b.data(), 2, out.data(), 0);
      },
      ::testing::ExitedWithCode(1), "Memory Allocation Failure.");
}

// ---- BigFloat product wrappers ---------------------------------------------

// Checks a wrapper's result: chop, sign, exponent and the words.
void checkFloatProduct(const BigFloat& x, const BigFloat& y, const BigFloat& out, uint64_t p) {
  const uint64_t lx = x.mantissa.length, ly = y.mantissa.length;
  const uint64_t chop = lx + ly > p + 3 ? lx + ly - (p + 3) : 0;
  EXPECT_EQ(out.positive, x.positive == y.positive ? 1u : 0u);
  EXPECT_EQ(out.exponent, x.exponent + y.exponent + int64_t(chop));
  checkProduct(x.mantissa, y.mantissa, out.mantissa, chop);
}

TEST_F(FrontEnds, FloatWrappersAgreeWithGmp) {
  OperandSource source = testOperands(0);
  for (int round = 0; round < 200; round++) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    BigFloat x, y, out, copy;
    makeBigFloat(&heap, &x, source.anyWords(source.length(300)), int64_t(source.below(41)) - 20,
                 source.below(2) == 0);
    makeBigFloat(&heap, &y, source.anyWords(source.length(300)), int64_t(source.below(41)) - 20,
                 source.below(2) == 0);
    const uint64_t p = source.below(4) == 0 ? source.below(6) : source.below(500);
    bigFloatMultiplyInto(&heap, &x, &y, &out, p, 0);
    checkFloatProduct(x, y, out, p);
    bigFloatDestroy(&out);
    bigFloatSquareInto(&heap, &x, &out, p, 0);
    BigFloat positiveX = x;
    positiveX.positive = 1;
    checkFloatProduct(positiveX, positiveX, out, p);
    bigFloatDestroy(&out);
    // The in-place forms give the same records.
    copy.positive = x.positive;
    copy.exponent = x.exponent;
    bigIntCopy(&heap, &x.mantissa, &copy.mantissa);
    bigFloatMultiplyInPlace(&heap, &copy, &y, p, 0);
    checkFloatProduct(x, y, copy, p);
    bigFloatDestroy(&copy);
    copy.positive = x.positive;
    copy.exponent = x.exponent;
    bigIntCopy(&heap, &x.mantissa, &copy.mantissa);
    bigFloatSquareInPlace(&heap, &copy, p, 0);
    checkFloatProduct(positiveX, positiveX, copy, p);
    bigFloatDestroy(&copy);
    bigFloatDestroy(&x);
    bigFloatDestroy(&y);
  }
}

TEST_F(FrontEnds, FloatWrappersTreatZeroOperandsDifferently) {
  BigFloat x, zero, out;
  bigFloatSetZero(&zero);
  makeBigFloat(&heap, &x, {7, 8, 9}, -2, false);
  // In place with a zero y: y is not looked at, the mantissa ends empty but
  // sign and exponent are computed.
  bigFloatMultiplyInPlace(&heap, &x, &zero, 1, 0);
  EXPECT_EQ(x.mantissa.length, 0u);
  EXPECT_EQ(x.mantissa.words, nullptr);
  EXPECT_EQ(x.positive, 0u);
  EXPECT_EQ(x.exponent, -2 + 0 + 0);
  // In place with a zero x: nothing changes, not even the sign.
  BigFloat y;
  makeBigFloat(&heap, &y, {5, 6, 7, 8}, 3, false);
  x.exponent = 11;
  bigFloatMultiplyInPlace(&heap, &x, &y, 1, 0);
  EXPECT_EQ(x.exponent, 11);
  EXPECT_EQ(x.positive, 0u);
  bigFloatSquareInPlace(&heap, &x, 1, 0);
  EXPECT_EQ(x.exponent, 11);
  EXPECT_EQ(x.positive, 0u);
  // Into with a zero operand on either side: the canonical zero.
  out.exponent = 5;
  bigFloatMultiplyInto(&heap, &y, &zero, &out, 1, 0);
  EXPECT_EQ(out.positive, 1u);
  EXPECT_EQ(out.exponent, 0);
  EXPECT_EQ(out.mantissa.words, nullptr);
  out.exponent = 5;
  bigFloatMultiplyInto(&heap, &zero, &y, &out, 1, 0);
  EXPECT_EQ(out.exponent, 0);
  out.exponent = 5;
  bigFloatSquareInto(&heap, &zero, &out, 1, 0);
  EXPECT_EQ(out.exponent, 0);
  EXPECT_EQ(out.positive, 1u);
  // A long in-place product with a chop: the exponent takes the chop.
  makeBigFloat(&heap, &x, {1, 2, 3, 4, 5, 6}, -6, true);
  bigFloatMultiplyInPlace(&heap, &x, &y, 2, 0);  // 10 words, 5 kept: chop 5
  EXPECT_EQ(x.exponent, -6 + 3 + 5);
  EXPECT_EQ(x.positive, 0u);
  bigFloatDestroy(&x);
  bigFloatDestroy(&y);
}

}  // namespace
