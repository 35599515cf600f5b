// Product front ends against GMP (random lengths, every cut-over of tuning.h),
// the method choice, the retry protocol and the BigFloat product wrappers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <thread>

#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "arith/numbers/bigfloat.h"
#include "arith/product_check.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/death_console.h"
#include "support/test_arena.h"

using productcheck::matches;

namespace {

class FrontEnds : public ::testing::Test {
 protected:
  TestArena arena{32 << 20};
  Heap& heap = arena.heap;
  std::string output;
  uint64_t savedErrorCount = 0;
  void SetUp() override {
    savedErrorCount = errorCount;
    errorCount = 0;
    consoleCaptureTo(&output);
  }
  void TearDown() override {
    multiplyInjectFaults(0);
    consoleCaptureTo(nullptr);
    errorCount = savedErrorCount;
  }
};

// out holds the window (or one less, top word zero) in window + 2 words; after
// a third attempt (`doubled`) the division by 4 may shorten it once more.
void expectShape(const BigInt& out, uint64_t window, bool doubled = false) {
  if (doubled) {
    EXPECT_GE(out.capacity, window + 2);
    EXPECT_LE(out.length, window);
    if (out.length > 0) { EXPECT_NE(out.words[out.length - 1], 0u); }
    return;
  }
  EXPECT_TRUE(out.length == window || out.length == window - 1) << out.length << " of " << window;
  EXPECT_EQ(out.capacity, window + 2);
  if (out.length == window - 1) { EXPECT_EQ(out.words[window - 1], 0u); }
}

// The BigInt front ends as a driver entry, on the heap and thread count given.
productcheck::Entry frontEntry(Heap* heap, uint32_t threadPower) {
  return [=](const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb, uint32_t* out,
             uint64_t chop, uint32_t*) {
    BigInt x, y, product;
    bigIntSetZero(&y);
    makeBigInt(heap, &x, std::vector<uint32_t>(a, a + la));
    if (b != nullptr) makeBigInt(heap, &y, std::vector<uint32_t>(b, b + lb));
    if (b == nullptr) bigIntSquare(heap, &x, &product, chop, 0, threadPower);
    else bigIntMultiply(heap, &x, &y, &product, chop, 0, threadPower);
    expectShape(product, la + lb - chop);
    std::fill(out, out + la + lb - chop, 0u);
    std::copy(product.words, product.words + product.length, out);
    for (BigInt* v : {&product, &x, &y}) bigIntDestroy(v);
    return uint64_t(0);
  };
}

// out = a * b exactly (no chop).
bool exact(const BigInt& a, const BigInt& b, const BigInt& out) {
  std::vector<uint32_t> got = bigIntWords(out);
  got.resize(a.length + b.length, 0u);
  return got == testbridge::gmpProduct(a.words, a.length, b.words, b.length);
}

}  // namespace

// Random lengths and chops, then each cut-over +-1, random and all ones, 1 and 2 threads.
TEST_F(FrontEnds, SquaresAndProductsAgreeWithGmp) {
  OperandSource source = testOperands(0);
  for (int round = 0; round < 160; round++) {
    const uint64_t la = source.length(3000);
    const uint64_t lb = round % 4 == 0 ? la : source.length(3000);
    const auto a = source.anyWords(la), b = source.anyWords(lb);
    EXPECT_TRUE(matches(frontEntry(&heap, 0), a, &b, round % 3 == 0 ? 0 : source.below(la + lb)));
    EXPECT_TRUE(matches(frontEntry(&heap, 0), a, nullptr, round % 3 == 0 ? 0 : source.below(2 * la)));
  }
  for (uint64_t n : productcheck::tuningEdges(1, ~uint64_t(0))) {
    for (uint32_t threadPower : {0u, 1u}) {
      const auto a = threadPower ? source.words(n, testbridge::Kind::AllOnes) : source.anyWords(n);
      const auto b = source.anyWords(n);
      EXPECT_TRUE(matches(frontEntry(&heap, threadPower), a, nullptr));
      EXPECT_TRUE(matches(frontEntry(&heap, threadPower), a, &b));
    }
  }
}

// Nothing left by the chop, or a zero operand: zero without a worker call.
TEST_F(FrontEnds, EmptyResultsCallNoWorker) {
  OperandSource source = testOperands(0);
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
  expectShape(out, 1);
  EXPECT_EQ(multiplyWorkerCalls(), calls + 1);
  for (BigInt* x : {&out, &a, &b}) bigIntDestroy(x);
}

// The disk path takes paged-out operands from its own threshold, at most four
// times apart; a number in memory never takes it.
TEST(MethodChoice, DiskPathEdges) {
  BigInt a{diskProductThreshold, nullptr, 0, nullptr}, b{4 * diskProductThreshold, nullptr, 0, nullptr};
  EXPECT_TRUE(squareWantsDiskPath(a));
  EXPECT_TRUE(multiplyWantsDiskPath(a, b));
  EXPECT_TRUE(multiplyWantsDiskPath(b, a));
  b.length += 1;
  EXPECT_FALSE(multiplyWantsDiskPath(b, a));
  a.length -= 1;
  EXPECT_FALSE(squareWantsDiskPath(a));
  uint32_t word = 1;
  b = BigInt{20000, &word, 0, nullptr};  // in memory
  a.length += 1;
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

// One or two injected failures (the third attempt doubles and divides by 4), on
// an odd low word, a top bit that lengthens the double, no slack, and chops;
// squares, products and one record as both operands.
TEST_F(FrontEnds, FailedAttemptsAreRetried) {
  OperandSource source = testOperands(0);
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
      const auto bWords = source.anyWords(c.words.size() + 5);
      makeBigInt(&heap, &b, bWords, 0);
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
        EXPECT_EQ(bigIntWords(b), bWords);
        const std::vector<uint32_t>& second = other == &b ? bWords : c.words;
        const uint64_t window = c.words.size() + second.size() - c.chop;
        expectShape(out, window, faults == 3);
        std::vector<uint32_t> got(window, 0);
        std::copy(out.words, out.words + out.length, got.begin());
        EXPECT_TRUE(productcheck::windowMatches(c.words, second, c.chop, got.data()));
        bigIntDestroy(&out);
        EXPECT_EQ(heap.activeBlocks, 2u) << "the failed product array went back";
      }
      for (BigInt* v : {&a, &b}) bigIntDestroy(v);
    }
  }
}

// Fatal: a third failure, ECC disabled, memory codes; multiplyWordArrays ends a
// successful re-run as a memory failure and a second failure as a software bug.
TEST_F(FrontEnds, FatalRetryBranches) {
  OperandSource source = testOperands(0);
  BigInt a, b;
  makeBigInt(&heap, &a, source.anyWords(20));
  makeBigInt(&heap, &b, source.words(20, testbridge::Kind::AllOnes));
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

// In place: a zero y empties the mantissa (sign, exponent computed), a zero x
// stays; Into with a zero either side: the canonical zero.
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
  for (BigFloat* f : {&x, &y}) bigFloatDestroy(f);
}

// A third attempt while another thread reads the same operand (the base
// conversion's threads share table entries): the operand is left as it was.
TEST(FrontEndFaults, AThirdAttemptLeavesASharedOperandAsItWas) {
  OperandSource source = testOperands(0);
  const uint64_t n = 30000;
  const std::vector<uint32_t> value = source.words(n, testbridge::Kind::Uniform);
  BigInt shared, mine[2], out[2];
  makeBigInt(nullptr, &shared, value, 8);
  for (BigInt& b : mine) makeBigInt(nullptr, &b, source.words(n - 7, testbridge::Kind::Uniform), 8);
  const uint64_t savedErrors = errorCount;
  multiplyInjectFaults(3);
  for (int round = 0; round < 3; round++) {
    errorCount = 0;
    std::thread other([&] { bigIntMultiply(nullptr, &shared, &mine[1], &out[1], 0, 0, 0); });
    bigIntMultiply(nullptr, &shared, &mine[0], &out[0], 0, 0, 0);
    other.join();
    for (int t = 0; t < 2; t++) {
      EXPECT_TRUE(exact(shared, mine[t], out[t])) << "thread " << t << ", round " << round;
      bigIntDestroy(&out[t]);
    }
    ASSERT_EQ(bigIntWords(shared), value);
  }
  multiplyInjectFaults(0);
  errorCount = savedErrors;
  for (BigInt* v : {&shared, &mine[0], &mine[1]}) bigIntDestroy(v);
}

// Tables of 1024 points serve the hybrid's elements but no direct FFT of the product.
TEST(FrontEndFaults, TablesThatServeNoDirectTransformLeaveItToTheHybrid) {
  auto* small = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  ASSERT_EQ(growFftTables(small, 40), 0u);
  FftLookupTables* saved = fftTables;
  fftTables = small;
  OperandSource source = testOperands(1);
  const uint64_t shapes[][2] = {{10000, 0}, {9000, 9000}, {11000, 9000}, {40000, 6000}};
  for (const auto& shape : shapes) {
    BigInt a, b, out;
    makeBigInt(nullptr, &a, source.words(shape[0], testbridge::Kind::Uniform));
    makeBigInt(nullptr, &b, source.words(shape[1] == 0 ? 1 : shape[1], testbridge::Kind::Uniform));
    if (shape[1] == 0) bigIntSquare(nullptr, &a, &out, 0, 0, 0);
    else bigIntMultiply(nullptr, &a, &b, &out, 0, 0, 0);
    EXPECT_TRUE(exact(a, shape[1] == 0 ? a : b, out)) << shape[0] << " x " << shape[1];
    for (BigInt* v : {&a, &b, &out}) bigIntDestroy(v);
  }
  fftTables = saved;
  releaseFftTablesRecord(small);
}
