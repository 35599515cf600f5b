// Product front ends: bigIntSquare and bigIntMultiply against GMP over
// sampled lengths, the chop and zero rules, the method choice, the retry
// protocol driven by injected worker failures, multiplyWordArrays, and the
// BigFloat product wrappers.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "arith/numbers/bigfloat.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "arith/tuning.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/death_console.h"

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
    consoleCaptureTo(&output);
  }
  void TearDown() override {
    multiplyInjectFaults(0);
    consoleCaptureTo(nullptr);
    errorCount = savedErrorCount;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left alive";
    heapDestroy(&heap);
  }
};

// Checks out = floor(a * b / 2^(32 chop)): exact when the chop reaches no
// further than the shorter operand, otherwise at most 3 below (operand words
// that cannot reach the window are dropped). The length is the window, or
// one less with a zero top word. After a third attempt (`doubled`) the
// length may have fallen once more by the division by 4.
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
  EXPECT_GE(mpz_sgn(full.z), 0);
  EXPECT_LE(mpz_cmp_ui(full.z, chop <= std::min(a.length, b.length) ? 0 : 3), 0)
      << "la " << a.length << " lb " << b.length << " chop " << chop;
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
    for (BigInt* x : {&out, &a, &b}) bigIntDestroy(x);
  }
}

// A chop that leaves nothing, or a zero operand (whatever the attempt
// number), gives zero without calling a worker; one word under does call.
TEST_F(FrontEnds, EmptyResultsCallNoWorker) {
  OperandSource source = testOperands(22);
  BigInt a, b, zero, out;
  makeBigInt(&heap, &a, source.anyWords(5));
  makeBigInt(&heap, &b, source.anyWords(3));
  bigIntSetZero(&zero);
  const uint64_t calls = multiplyWorkerCalls();
  out.length = 99;  // whatever out held is cleared
  bigIntMultiply(&heap, &a, &b, &out, 8, 0, 0);
  EXPECT_EQ(out.words, nullptr);
  bigIntMultiply(&heap, &a, &b, &out, 1000, 0, 0);
  EXPECT_EQ(out.length, 0u);
  bigIntMultiply(&heap, &zero, &a, &out, 0, 2, 0);
  EXPECT_EQ(out.length, 0u);
  bigIntSquare(&heap, &zero, &out, 0, 2, 0);
  EXPECT_EQ(out.length, 0u);
  bigIntSquare(&heap, &a, &out, 10, 0, 0);
  EXPECT_EQ(out.length, 0u);
  EXPECT_EQ(multiplyWorkerCalls(), calls);
  bigIntMultiply(&heap, &a, &b, &out, 7, 0, 0);
  checkProduct(a, b, out, 7);
  EXPECT_EQ(multiplyWorkerCalls(), calls + 1);
  for (BigInt* x : {&out, &a, &b}) bigIntDestroy(x);
}

TEST(MethodChoice, ThresholdsThreadsAndDiskPath) {
  const struct {
    bool square;
    uint64_t n;
    uint32_t threadPower;
    MultiplyMethod method;
  } cases[] = {{true, fftSquareThreshold - 1, 0, MultiplyRecursive},
               {true, fftSquareThreshold, 0, MultiplyFft}, {true, 13056, 0, MultiplyFft},
               {true, 13057, 0, MultiplyHybrid}, {true, 12000, 1, MultiplyHybrid},
               {true, 11999, 1, MultiplyFft}, {false, 12000, 1, MultiplyHybrid},
               {false, fftMultiplyThreshold - 1, 0, MultiplyRecursive},
               {false, fftMultiplyThreshold, 0, MultiplyFft},
               {false, 12000, 0, MultiplyFft}, {false, 13057, 0, MultiplyHybrid}};
  for (const auto& c : cases) {
    const uint32_t t = c.threadPower;
    EXPECT_EQ(c.square ? chooseSquareMethod(c.n, t) : chooseMultiplyMethod(c.n, t), c.method)
        << c.square << " " << c.n << " threads 2^" << t;
  }
  // The disk path: paged-out operands above the hybrid threshold, at most
  // four times apart in length.
  BigInt a{13057, nullptr, 0, nullptr}, b{13057 * 4, nullptr, 0, nullptr};
  EXPECT_TRUE(squareWantsDiskPath(a));
  EXPECT_TRUE(multiplyWantsDiskPath(a, b));
  EXPECT_TRUE(multiplyWantsDiskPath(b, a));
  b.length += 1;
  EXPECT_FALSE(multiplyWantsDiskPath(b, a));
  a.length = 13056;
  EXPECT_FALSE(squareWantsDiskPath(a));
  uint32_t word = 1;
  b = BigInt{20000, &word, 0, nullptr};  // in memory
  a.length = 13057;
  EXPECT_FALSE(multiplyWantsDiskPath(a, b));
  EXPECT_FALSE(squareWantsDiskPath(b));
}

const std::string firstFailure =
    "\n\nMultiplication Failure:\nRe-attempting with same parameters...\n";
const std::string secondFailure =
    "\n\nSecond Attempt Failed: Possible Software Bug.\n"
    "Re-attempting with different parameters...\n";
const std::string hardwareVerdict =
    "\nSecond Attempt Succeeded with same parameters.\n"
    "Most likely a hardware error... Please check your hardware.\nContinuing...\n\n";
const std::string softwareVerdict =
    "\nThird Attempt Succeeded with different parameters.\n"
    "Most likely a software error... Please report this bug.\nContinuing...\n\n";

// Injected failures of the first attempt (retried with the same numbers) and
// of the first two (the third works on doubled operands and divides by 4).
// Operands cover an odd low word, a top bit that makes the doubled number
// longer, an array without slack (the doubling takes a new one) and a chop;
// a square, a product, and one record as both operands ((2a)(2a) / 4).
TEST_F(FrontEnds, FailedAttemptsAreRetried) {
  OperandSource source = testOperands(24);
  struct Case {
    std::vector<uint32_t> words;
    uint64_t extra, chop;
  };
  std::vector<Case> cases = {{{0xFFFFFFFFu}, 0, 0},
                             {{3, 0x80000000u}, 2, 0},
                             {source.words(60, testbridge::Kind::AllOnes), 0, 0},
                             {source.words(60, testbridge::Kind::Uniform), 2, 17},
                             {source.words(9, testbridge::Kind::LoneTop), 1, 4},
                             {source.words(70, testbridge::Kind::Uniform), 2, 3}};
  cases[3].words[0] |= 1;
  for (const Case& c : cases) {
    for (uint32_t faults : {1u, 3u}) {
      SCOPED_TRACE(testing::Message() << "length " << c.words.size() << " chop " << c.chop
                                      << " faults " << faults);
      BigInt a, b, out;
      makeBigInt(&heap, &a, c.words, c.extra);
      makeBigInt(&heap, &b, source.anyWords(c.words.size() + 5), 0);
      for (BigInt* other : {(BigInt*)nullptr, &b, &a}) {
        output.clear();
        errorCount = 0;
        multiplyInjectFaults(faults);
        if (other == nullptr) bigIntSquare(&heap, &a, &out, c.chop, 0, 0);
        else bigIntMultiply(&heap, &a, other, &out, c.chop, 0, 0);
        EXPECT_EQ(output, faults == 1 ? firstFailure + hardwareVerdict
                                      : firstFailure + secondFailure + softwareVerdict);
        EXPECT_EQ(errorCount, faults == 1 ? 1u : 2u);
        EXPECT_EQ(bigIntWords(a), c.words) << "the operand is restored";
        EXPECT_EQ(b.length, c.words.size() + 5);
        checkProduct(a, other ? *other : a, out, c.chop, faults == 3);
        bigIntDestroy(&out);
        EXPECT_EQ(heap.activeBlocks, 2u) << "the failed product array went back";
      }
      for (BigInt* v : {&a, &b}) bigIntDestroy(v);
    }
  }
}

// Each ends the program: a third failure; a failure with ECC disabled; worker
// codes other than "wrong product" (memory failures). For multiplyWordArrays
// a re-run that succeeds still ends as a memory failure (a disabled ECC does
// not stop the re-run), and a second failure is a software bug.
TEST_F(FrontEnds, FatalRetryBranches) {
  OperandSource source = testOperands(25);
  BigInt a, b;
  makeBigInt(&heap, &a, source.anyWords(20));
  makeBigInt(&heap, &b, source.anyWords(20));
  const std::vector<uint32_t> x = {1, 2, 3}, y = {4, 5};
  std::vector<uint32_t> words(5);
  enum Target { Square, Product, WordArrays };
  const struct {
    Target target;
    uint32_t faults;
    uint64_t code;
    bool eccDisabled;
    const char* message;
  } cases[] = {
      {Square, 7, multiplyDetectedError, false,
       "Re-attempting with different parameters.*Third Attempt Failed: Unable to determine "
       "cause of error.\nTerminating Program...\n"},
      {Product, 1, multiplyDetectedError, true,
       "^\n\n\n\nHARDWARE ERROR DETECTED:\nAn error has been detected.\nNo attempt will made "
       "to correct it because ECC is disabled.\n\nPlease check your hardware. :\\)\n\n"},
      {Square, 1, 4096, false, "Memory Allocation Failure."},
      {WordArrays, 1, multiplyDetectedError, true,
       "^\n\nMultiplication Failure:\nRe-attempting with same parameters...\n\n\n.*Memory "
       "Allocation Failure."},
      {WordArrays, 3, multiplyDetectedError, false,
       "Re-attempting with same parameters...\nSecond Attempt Failed: Possible Software "
       "Bug.\nTerminating Program...\n"},
      {WordArrays, 1, 12, false, "Memory Allocation Failure."}};
  for (const auto& c : cases) {
    EXPECT_EXIT(
        {
          consoleToStandardError();
          if (c.eccDisabled) errorCount = errorCountEccDisabled;
          multiplyInjectFaults(c.faults, c.code);
          BigInt out;
          if (c.target == Square) bigIntSquare(&heap, &a, &out, 0, 0, 0);
          if (c.target == Product) bigIntMultiply(&heap, &a, &b, &out, 0, 0, 0);
          if (c.target == WordArrays)
            multiplyWordArrays(&heap, x.data(), 3, y.data(), 2, words.data(), 0);
        },
        ::testing::ExitedWithCode(1), c.message);
  }
  for (BigInt* v : {&a, &b}) bigIntDestroy(v);
}

TEST_F(FrontEnds, MultiplyWordArrays) {
  OperandSource source = testOperands(28);
  for (int round = 0; round < 40; round++) {
    const uint64_t la = source.length(700), lb = source.length(700);
    auto a = source.anyWords(la), b = source.anyWords(lb);
    if (round % 5 == 0) a[la - 1] = 1, b[lb - 1] = 1;  // a short product
    std::vector<uint32_t> out(la + lb, 0xDEADBEEFu);
    const uint64_t length = multiplyWordArrays(&heap, a.data(), la, b.data(), lb, out.data(), 0);
    std::vector<uint32_t> expected = testbridge::gmpProduct(a.data(), la, b.data(), lb);
    EXPECT_EQ(out, expected) << "round " << round;
    // The length is the product's own: no zero word on top.
    while (!expected.empty() && expected.back() == 0) expected.pop_back();
    EXPECT_EQ(length, expected.size()) << "round " << round;
  }
}

// ---- BigFloat product wrappers ---------------------------------------------

// A wrapper's result: chop to p + 3 words, sign, exponent and the words.
void checkFloatProduct(const BigFloat& x, const BigFloat& y, const BigFloat& out, uint64_t p) {
  const uint64_t lx = x.mantissa.length, ly = y.mantissa.length;
  const uint64_t chop = lx + ly > p + 3 ? lx + ly - (p + 3) : 0;
  EXPECT_EQ(out.positive, x.positive == y.positive ? 1u : 0u);
  EXPECT_EQ(out.exponent, x.exponent + y.exponent + int64_t(chop));
  checkProduct(x.mantissa, y.mantissa, out.mantissa, chop);
}

// The Into and InPlace forms of products and squares.
TEST_F(FrontEnds, FloatWrappersAgreeWithGmp) {
  OperandSource source = testOperands(0);
  auto copyOf = [&](BigFloat& x, BigFloat* copy) {
    copy->positive = x.positive;
    copy->exponent = x.exponent;
    bigIntCopy(&heap, &x.mantissa, &copy->mantissa);
  };
  for (int round = 0; round < 200; round++) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    BigFloat x, y, out;
    for (BigFloat* f : {&x, &y})
      makeBigFloat(&heap, f, source.anyWords(source.length(300)), int64_t(source.below(41)) - 20,
                   source.below(2) == 0);
    BigFloat positiveX = x;
    positiveX.positive = 1;
    const uint64_t p = source.below(4) == 0 ? source.below(6) : source.below(500);
    bigFloatMultiplyInto(&heap, &x, &y, &out, p, 0);
    checkFloatProduct(x, y, out, p);
    bigFloatDestroy(&out);
    bigFloatSquareInto(&heap, &x, &out, p, 0);
    checkFloatProduct(positiveX, positiveX, out, p);
    bigFloatDestroy(&out);
    copyOf(x, &out);
    bigFloatMultiplyInPlace(&heap, &out, &y, p, 0);
    checkFloatProduct(x, y, out, p);
    bigFloatDestroy(&out);
    copyOf(x, &out);
    bigFloatSquareInPlace(&heap, &out, p, 0);
    checkFloatProduct(positiveX, positiveX, out, p);
    for (BigFloat* f : {&out, &x, &y}) bigFloatDestroy(f);
  }
}

// In place with a zero y: the mantissa ends empty, sign and exponent are
// computed. In place with a zero x: nothing changes. Into with a zero on
// either side: the canonical zero.
TEST_F(FrontEnds, FloatWrappersTreatZeroOperandsDifferently) {
  BigFloat x, y, zero, out;
  bigFloatSetZero(&zero);
  makeBigFloat(&heap, &x, {7, 8, 9}, -2, false);
  makeBigFloat(&heap, &y, {5, 6, 7, 8}, 3, false);
  bigFloatMultiplyInPlace(&heap, &x, &zero, 1, 0);
  EXPECT_EQ(x.mantissa.words, nullptr);
  EXPECT_EQ(x.positive, 0u);
  EXPECT_EQ(x.exponent, -2);
  x.exponent = 11;
  bigFloatMultiplyInPlace(&heap, &x, &y, 1, 0);
  bigFloatSquareInPlace(&heap, &x, 1, 0);
  EXPECT_EQ(x.exponent, 11);
  EXPECT_EQ(x.positive, 0u);
  for (int form = 0; form < 3; form++) {
    out.exponent = 5;
    out.positive = 0;
    if (form == 0) bigFloatMultiplyInto(&heap, &y, &zero, &out, 1, 0);
    if (form == 1) bigFloatMultiplyInto(&heap, &zero, &y, &out, 1, 0);
    if (form == 2) bigFloatSquareInto(&heap, &zero, &out, 1, 0);
    EXPECT_EQ(out.exponent, 0) << form;
    EXPECT_EQ(out.positive, 1u) << form;
    EXPECT_EQ(out.mantissa.words, nullptr) << form;
  }
  // A long in-place product with a chop: 10 words, 5 kept, the exponent
  // takes the chop of 5.
  makeBigFloat(&heap, &x, {1, 2, 3, 4, 5, 6}, -6, true);
  bigFloatMultiplyInPlace(&heap, &x, &y, 2, 0);
  EXPECT_EQ(x.exponent, -6 + 3 + 5);
  EXPECT_EQ(x.positive, 0u);
  for (BigFloat* f : {&x, &y}) bigFloatDestroy(f);
}

}  // namespace
