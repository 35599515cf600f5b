// Front ends in two situations that the other tests don't reach: a third
// attempt while another thread reads the same operand (the base conversion's
// threads share their table entries), and FFT tables too small for a direct
// transform.
#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>

#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"

namespace {

// out = a * b exactly (no chop), after a third attempt or not.
::testing::AssertionResult exact(const BigInt& a, const BigInt& b, const BigInt& out) {
  Mpz x, y, got;
  mpzFromBigInt(x.z, a);
  mpzFromBigInt(y.z, b);
  mpz_mul(x.z, x.z, y.z);
  mpzFromBigInt(got.z, out);
  if (mpz_cmp(x.z, got.z) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "wrong product of " << a.length << " x " << b.length;
}

}  // namespace

TEST(FrontEndFaults, AThirdAttemptLeavesASharedOperandAsItWas) {
  // Two threads multiply the same `shared` (room to double in place) by
  // operands of their own; every product fails twice and is done the third
  // time on doubled operands while the other thread reads `shared`.
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

TEST(FrontEndFaults, TablesThatServeNoDirectTransformLeaveItToTheHybrid) {
  // Tables of 1024 points serve the hybrid's elements at these sizes but no
  // direct FFT of the whole product: squares, equal and unequal products.
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
