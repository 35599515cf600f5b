// BigInt and BigFloat linear operations: record edge cases, and random
// additions, shifts and word products against GMP.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "arith/numbers/bigfloat.h"
#include "arith/number_oracle.h"
#include "memory/heap.h"
#include "support/test_arena.h"

namespace {

struct LinearOps : ::testing::Test {
  TestArena arena{8 << 20};
  Heap& heap = arena.heap;
};

void expectCanonicalZero(const BigFloat& x) {
  EXPECT_TRUE(x.positive == 1 && x.exponent == 0 && x.mantissa.length == 0 &&
              x.mantissa.words == nullptr && x.mantissa.capacity == 0 && x.mantissa.swap == nullptr)
      << "not the canonical zero";
}

// out = x + y against GMP, each operand truncated below the window; a zero
// operand gives an untruncated copy of the other.
void checkAdd(Heap* heap, BigFloat& x, BigFloat& y, uint64_t p) {
  BigFloat out;
  bigFloatAdd(heap, &x, &y, &out, p);
  const bool xZero = bigFloatIsZero(x), yZero = bigFloatIsZero(y);
  if (xZero || yZero) {
    const BigFloat& other = xZero ? y : x;
    if (bigFloatIsZero(other)) {
      expectCanonicalZero(out);
    } else {
      EXPECT_EQ(out.positive, other.positive);
      EXPECT_EQ(out.exponent, other.exponent);
      EXPECT_EQ(bigIntWords(out.mantissa), bigIntWords(other.mantissa));
      EXPECT_EQ(out.mantissa.capacity, other.mantissa.length + 2);
    }
    bigFloatDestroy(&out);
    return;
  }
  const int64_t top = std::max(bigFloatPosition(x), bigFloatPosition(y));
  const int64_t base = std::min(x.exponent, y.exponent);
  const int64_t low = std::max(top - int64_t(p + 3), base);
  Mpz a, b, expected, got;
  mpzFromBigFloat(a.z, x, base);
  mpzFromBigFloat(b.z, y, base);
  mpz_tdiv_q_2exp(a.z, a.z, uint64_t(32 * (low - base)));
  mpz_tdiv_q_2exp(b.z, b.z, uint64_t(32 * (low - base)));
  mpz_add(expected.z, a.z, b.z);
  if (mpz_sgn(expected.z) == 0) {
    expectCanonicalZero(out);
    return;
  }
  ASSERT_EQ(out.exponent, low);
  mpzFromBigFloat(got.z, out, low);
  EXPECT_EQ(mpz_cmp(expected.z, got.z), 0) << "p " << p << " top " << top << " low " << low;
  EXPECT_EQ(out.mantissa.capacity, uint64_t(top - low) + 3);
  EXPECT_LE(out.mantissa.length, uint64_t(top - low) + 1);
  EXPECT_NE(out.mantissa.words[out.mantissa.length - 1], 0u);
  bigFloatDestroy(&out);
}

// x -= y: y's sign restored, error below one unit of the window's lowest word
// per operand (none when the window reaches the lowest word).
void checkSubtractFrom(Heap* heap, BigFloat& x, BigFloat& y, uint64_t p) {
  Mpz before, yValue, after, error;
  mpzFromBigFloat(before.z, x, -200);
  mpzFromBigFloat(yValue.z, y, -200);
  const uint32_t ySign = y.positive;
  const int64_t lowest = std::min(x.exponent, y.exponent);
  const int64_t top = std::max(bigFloatPosition(x), bigFloatPosition(y));
  const int64_t low = std::max(top - int64_t(p + 3), lowest);
  bigFloatSubtractFrom(heap, &x, &y, p);
  EXPECT_EQ(y.positive, ySign);
  mpzFromBigFloat(after.z, x, -200);
  mpz_sub(error.z, before.z, yValue.z);
  mpz_sub(error.z, error.z, after.z);
  mpz_abs(error.z, error.z);
  if (low == lowest) EXPECT_EQ(mpz_sgn(error.z), 0);
  else EXPECT_LT(mpz_sizeinbase(error.z, 2), uint64_t(32 * (low + 200) + 2));
}

TEST_F(LinearOps, AddOfOppositesIsTheCanonicalZero) {
  OperandSource source = testOperands(11);
  BigFloat zero, out;
  bigFloatSetZero(&zero);
  bigFloatAdd(&heap, &zero, &zero, &out, 4);
  expectCanonicalZero(out);
  for (uint64_t n : {1, 2, 7, 40}) {
    BigFloat x, y;
    auto words = source.anyWords(n);
    makeBigFloat(&heap, &x, words, -5, true);
    makeBigFloat(&heap, &y, words, -5, false);
    out.exponent = 77;  // stale values must not survive
    bigFloatAdd(&heap, &x, &y, &out, 3);
    expectCanonicalZero(out);
    bigFloatAddTo(&heap, &x, &y, 3);
    expectCanonicalZero(x);
    makeBigFloat(&heap, &x, words, -5, false);
    bigFloatSubtractFrom(&heap, &x, &x, 3);
    expectCanonicalZero(x);
    bigFloatDestroy(&y);
  }
}

TEST_F(LinearOps, RandomAdditionsAgreeWithGmp) {
  OperandSource source = testOperands(0);
  for (int round = 0; round < 1500; round++) {
    SCOPED_TRACE(testing::Message() << "round " << round);
    BigFloat x, y;
    const uint64_t lx = source.length(300), ly = source.length(300);
    const int64_t ex = int64_t(source.below(41)) - 20;
    makeBigFloat(&heap, &x, source.anyWords(lx), ex, source.below(2) == 0);
    switch (source.below(5)) {
      case 0: {  // the same top words: deep cancellation
        auto words = bigIntWords(x.mantissa);
        const uint64_t keep = source.below(lx + 1);
        for (uint64_t i = 0; i + keep < lx; i++) words[i] = uint32_t(source.rng());
        makeBigFloat(&heap, &y, words, ex, source.below(2) == 0);
        break;
      }
      case 1:  // a zero operand
        bigFloatSetZero(&y);
        break;
      default:
        makeBigFloat(&heap, &y, source.anyWords(ly), int64_t(source.below(61)) - 30,
                     source.below(2) == 0);
    }
    const uint64_t p = source.below(3) == 0 ? source.below(8) : source.below(400);
    if (source.below(2)) checkAdd(&heap, x, y, p);
    else checkAdd(&heap, y, x, p);
    if (!bigFloatIsZero(y)) checkSubtractFrom(&heap, x, y, p);
    for (BigFloat* f : {&x, &y}) bigFloatDestroy(f);
  }
}

TEST_F(LinearOps, CompareMagnitudesAndAgreement) {
  BigFloat a, b, zero, out;
  bigFloatSetZero(&zero);
  makeBigFloat(&heap, &a, {0, 0, 5}, -2, true);  // 5 at position 0
  makeBigFloat(&heap, &b, {5}, 0, false);
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &a, &b), 0);
  b.mantissa.words[0] = 6;
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &a, &b), -1);
  a.mantissa.words[0] = 1;  // a now has words below b's range
  b.mantissa.words[0] = 5;
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &a, &b), 1);
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &b, &a), -1);
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &zero, &a), -1);
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &zero, &zero), 0);
  for (BigFloat* f : {&a, &b}) bigFloatDestroy(f);

  // The highest differing word, or one below the window when none differs in it.
  makeBigFloat(&heap, &a, {1, 2, 3, 4, 5}, -5, true);
  makeBigFloat(&heap, &b, {9, 9, 3, 4, 5}, -5, true);
  const struct {
    uint64_t word;
    uint32_t value;
    uint64_t p;
    int64_t agreed;
  } steps[] = {{0, 9, 10, -4}, {0, 9, 0, -4}, {1, 2, 10, -5}, {0, 1, 10, -6}, {4, 6, 10, -1}};
  for (const auto& step : steps) {
    b.mantissa.words[step.word] = step.value;
    EXPECT_EQ(bigFloatAddAgreeing(&heap, &a, &b, &out, step.p), step.agreed);
    bigFloatDestroy(&out);
  }
  for (BigFloat* f : {&a, &b}) bigFloatDestroy(f);
}

TEST_F(LinearOps, MultiplyWord) {
  OperandSource source = testOperands(14);
  BigFloat x;
  makeBigFloat(&heap, &x, source.anyWords(30), -3, false);
  bigFloatMultiplyWord(&heap, &x, 1, 2);  // word 1 leaves even an over-long number alone
  EXPECT_EQ(x.mantissa.length, 30u);
  bigFloatMultiplyWord(&heap, &x, 0, 2);
  expectCanonicalZero(x);
  for (int round = 0; round < 300; round++) {
    const uint64_t n = source.length(80);
    const uint64_t extra = source.below(3);  // capacity n, n + 1 or n + 2
    makeBigFloat(&heap, &x, source.anyWords(n), int64_t(source.below(11)) - 5, true, extra);
    const uint32_t word = source.below(4) == 0 ? 0xFFFFFFFFu : uint32_t(source.rng()) | 2u;
    const uint64_t p = source.below(100);
    const uint64_t drop = n > p + 3 ? n - (p + 3) : 0;
    Mpz expected, got;
    testbridge::toMpz(expected.z, x.mantissa.words + drop, n - drop);
    mpz_mul_ui(expected.z, expected.z, word);
    const int64_t exponent = x.exponent;
    uint32_t* before = x.mantissa.words;
    bigFloatMultiplyWord(&heap, &x, word, p);
    EXPECT_EQ(x.exponent, exponent + int64_t(drop));
    mpzFromBigInt(got.z, x.mantissa);
    EXPECT_EQ(mpz_cmp(expected.z, got.z), 0) << "round " << round;
    EXPECT_LE(x.mantissa.length, p + 4);
    if (drop == 0 && extra > 0) {
      EXPECT_EQ(x.mantissa.words, before) << "in place while length < capacity";
    } else {
      EXPECT_EQ(x.mantissa.capacity, n - drop + 3);
    }
    bigFloatDestroy(&x);
  }
}

// In place while length < capacity, else length + 3; zero releases the array.
TEST_F(LinearOps, BigIntShiftsAndDrops) {
  using W = std::vector<uint32_t>;
  BigInt x;
  makeBigInt(&heap, &x, {1});
  bigIntShiftRightBits(&heap, &x, 1);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(x.capacity, 0u);
  EXPECT_EQ(heap.activeBlocks, 0u);
  makeBigInt(&heap, &x, {0x80000001u, 0xC0000000u}, 1);
  uint32_t* array = x.words;
  bigIntShiftLeftBits(&heap, &x, 1);
  EXPECT_EQ(x.words, array);
  EXPECT_EQ(bigIntWords(x), (W{2, 0x80000001u, 1}));
  bigIntShiftLeftBits(&heap, &x, 31);
  EXPECT_EQ(x.capacity, 6u);
  EXPECT_EQ(bigIntWords(x), (W{0, 0x80000001u, 0xC0000000u}));
  bigIntShiftRightBits(&heap, &x, 31);
  EXPECT_EQ(bigIntWords(x), (W{2, 0x80000001u, 1}));
  bigIntDestroy(&x);
  makeBigInt(&heap, &x, {1, 2, 3, 4});
  bigIntDropLowWords(&heap, &x, 3);
  EXPECT_EQ(bigIntWords(x), (W{4}));
  EXPECT_EQ(x.capacity, 3u);
  bigIntDropLowWords(&heap, &x, 1);
  EXPECT_EQ(x.words, nullptr);
  makeBigInt(&heap, &x, {1, 2});
  bigIntDropLowWords(&heap, &x, 9);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(heap.activeBlocks, 0u);
}

TEST_F(LinearOps, DoubleConversions) {
  BigFloat x;
  int64_t position = 99;
  bigFloatSetZero(&x);
  EXPECT_EQ(bigFloatTopAsDouble(&heap, &x, &position), 0.0);
  OperandSource source = testOperands(16);
  for (int round = 0; round < 2000; round++) {
    double d = std::ldexp(1.0 + double(source.rng() >> 11) * 0x1p-53,
                          int(source.below(600)) - 300);
    if (round % 7 == 0) d = std::ldexp(double(source.rng() >> 11), 0);  // integers
    if (round % 11 == 0) d = std::ldexp(double(source.rng() >> 40), -1074);  // subnormals
    if (source.below(2)) d = -d;
    if (d == 0.0) continue;
    bigFloatFromDouble(&heap, &x, d);
    // Exact; a subnormal comes out halved (read as 2^-1075).
    long double expected = std::fabs((long double)d);
    if (std::fabs(d) < 0x1p-1022) expected /= 2;
    ASSERT_NE(x.mantissa.words[0], 0u) << d;
    EXPECT_EQ(x.positive, d > 0 ? 1u : 0u);
    long double exact = 0;
    for (uint64_t i = x.mantissa.length; i-- > 0;) exact = exact * 0x1p32L + x.mantissa.words[i];
    EXPECT_EQ(std::ldexp(exact, int(32 * x.exponent)), expected) << d;
    const double top = bigFloatTopAsDouble(&heap, &x, &position);
    const long double back = std::ldexp((long double)std::fabs(top), int(32 * position));
    EXPECT_EQ(top < 0, d < 0);
    if (x.mantissa.length <= 2) {
      EXPECT_EQ(back, expected) << d;
    } else {
      EXPECT_LE(back, expected) << d;
      EXPECT_LE(expected - back, expected * 0x1p-32L) << d;
    }
    bigFloatDestroy(&x);
  }
  bigFloatFromDouble(&heap, &x, 0.0);
  EXPECT_EQ(x.mantissa.length, 0u);
}

}  // namespace
