// BigInt and BigFloat linear operations: the edge cases of the records
// (canonical zero, capacities, in-place paths) and random additions, shifts
// and word products checked against GMP.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include "arith/bigfloat.h"
#include "arith/number_oracle.h"
#include "memory/heap.h"

namespace {

// A small arena per test, so that tests can count live blocks.
class LinearOps : public ::testing::Test {
 protected:
  Heap heap;
  void SetUp() override { heapInit(nullptr, &heap, 8 << 20); }
  void TearDown() override {
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left alive";
    heapDestroy(&heap);
  }
};

void expectCanonicalZero(const BigFloat& x) {
  EXPECT_EQ(x.positive, 1u);
  EXPECT_EQ(x.exponent, 0);
  EXPECT_EQ(x.mantissa.length, 0u);
  EXPECT_EQ(x.mantissa.words, nullptr);
  EXPECT_EQ(x.mantissa.capacity, 0u);
  EXPECT_EQ(x.mantissa.swap, nullptr);
}

// out = x + y checked against GMP: each operand truncated below the window
// by itself, then added; plus the shape of the record.
void checkAdd(Heap* heap, BigFloat& x, BigFloat& y, uint64_t p) {
  BigFloat out;
  bigFloatAdd(heap, &x, &y, &out, p);
  const bool xZero = bigFloatIsZero(x), yZero = bigFloatIsZero(y);
  if (xZero || yZero) {
    const BigFloat& other = xZero ? y : x;
    if (bigFloatIsZero(other)) {
      expectCanonicalZero(out);
    } else {
      // A full copy, not truncated.
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

TEST_F(LinearOps, AddOfOppositesIsTheCanonicalZero) {
  OperandSource source = testOperands(11);
  for (uint64_t n : {1, 2, 7, 40}) {
    BigFloat x, y, out;
    auto words = source.anyWords(n);
    makeBigFloat(&heap, &x, words, -5, true);
    makeBigFloat(&heap, &y, words, -5, false);
    out.exponent = 77;  // stale values must not survive
    bigFloatAdd(&heap, &x, &y, &out, 3);
    expectCanonicalZero(out);
    // Through AddTo and SubtractFrom as well.
    bigFloatAddTo(&heap, &x, &y, 3);
    expectCanonicalZero(x);
    makeBigFloat(&heap, &x, words, -5, false);
    bigFloatSubtractFrom(&heap, &x, &x, 3);
    expectCanonicalZero(x);
    bigFloatDestroy(&y);
  }
}

TEST_F(LinearOps, AddOfZeroIsAFullCopy) {
  OperandSource source = testOperands(12);
  BigFloat x, zero, out;
  makeBigFloat(&heap, &x, source.anyWords(50), -20, false);
  bigFloatSetZero(&zero);
  bigFloatAdd(&heap, &x, &zero, &out, 4);  // p + 3 = 7 < 50
  EXPECT_EQ(out.positive, 0u);
  EXPECT_EQ(out.exponent, -20);
  EXPECT_EQ(bigIntWords(out.mantissa), bigIntWords(x.mantissa));
  EXPECT_EQ(out.mantissa.capacity, 52u);
  bigFloatDestroy(&out);
  bigFloatAdd(&heap, &zero, &x, &out, 4);
  EXPECT_EQ(out.mantissa.length, 50u);
  bigFloatDestroy(&out);
  bigFloatAdd(&heap, &zero, &zero, &out, 4);
  expectCanonicalZero(out);
  bigFloatDestroy(&x);
}

TEST_F(LinearOps, AddOfDisjointRangesFillsZeroWords) {
  BigFloat x, y, out;
  makeBigFloat(&heap, &x, {7, 8}, 10, true);
  makeBigFloat(&heap, &y, {5, 6}, -3, true);
  bigFloatAdd(&heap, &x, &y, &out, 100);
  ASSERT_EQ(out.exponent, -3);
  ASSERT_EQ(out.mantissa.length, 15u);
  std::vector<uint32_t> expected(15, 0);
  expected[0] = 5, expected[1] = 6, expected[13] = 7, expected[14] = 8;
  EXPECT_EQ(bigIntWords(out.mantissa), expected);
  EXPECT_EQ(out.mantissa.capacity, 15u + 3);
  bigFloatDestroy(&out);
  // The same with a window that cuts y away entirely: only x remains.
  bigFloatAdd(&heap, &x, &y, &out, 0);
  EXPECT_EQ(out.exponent, 9);
  EXPECT_EQ(bigIntWords(out.mantissa), (std::vector<uint32_t>{0, 7, 8}));
  bigFloatDestroy(&out);
  // Opposite signs across the gap: a borrow runs through all the zero words.
  y.positive = 0;
  bigFloatAdd(&heap, &x, &y, &out, 100);
  ASSERT_EQ(out.mantissa.length, 15u);
  EXPECT_EQ(out.mantissa.words[0], uint32_t(-5));
  EXPECT_EQ(out.mantissa.words[1], uint32_t(-7));
  for (int i = 2; i < 13; i++) EXPECT_EQ(out.mantissa.words[i], 0xFFFFFFFFu);
  EXPECT_EQ(out.mantissa.words[13], 6u);
  bigFloatDestroy(&out);
  bigFloatDestroy(&x);
  bigFloatDestroy(&y);
}

TEST_F(LinearOps, CarryAndBorrowAcrossTheWholeWindow) {
  for (uint64_t n : {1, 2, 3, 9, 64}) {
    BigFloat ones, one, out;
    makeBigFloat(&heap, &ones, std::vector<uint32_t>(n, 0xFFFFFFFFu), 2, true);
    makeBigFloat(&heap, &one, {1}, 2, true);
    bigFloatAdd(&heap, &ones, &one, &out, n);
    // The carry word is stored behind the window, whose capacity has room.
    ASSERT_EQ(out.mantissa.length, n + 1);
    EXPECT_EQ(out.mantissa.capacity, n + 3);
    for (uint64_t i = 0; i < n; i++) EXPECT_EQ(out.mantissa.words[i], 0u);
    EXPECT_EQ(out.mantissa.words[n], 1u);
    EXPECT_EQ(out.exponent, 2);
    // 2^(32n) - 1 back: borrows all the way and strips the top word.
    one.positive = 0;
    BigFloat back;
    bigFloatAdd(&heap, &out, &one, &back, n);
    EXPECT_EQ(bigIntWords(back.mantissa), std::vector<uint32_t>(n, 0xFFFFFFFFu));
    EXPECT_EQ(back.positive, 1u);
    bigFloatDestroy(&back);
    bigFloatDestroy(&out);
    bigFloatDestroy(&ones);
    bigFloatDestroy(&one);
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
    if (source.below(2)) {
      checkAdd(&heap, x, y, p);
    } else {
      checkAdd(&heap, y, x, p);
    }
    bigFloatDestroy(&x);
    bigFloatDestroy(&y);
  }
}

TEST_F(LinearOps, AddToAndSubtractFromMatchAdd) {
  OperandSource source = testOperands(13);
  for (int round = 0; round < 200; round++) {
    BigFloat x, y;
    makeBigFloat(&heap, &x, source.anyWords(source.length(60)), int64_t(source.below(9)) - 4,
                 source.below(2) == 0);
    makeBigFloat(&heap, &y, source.anyWords(source.length(60)), int64_t(source.below(9)) - 4,
                 source.below(2) == 0);
    const uint64_t p = source.below(70);
    Mpz before, yValue, after, expected;
    mpzFromBigFloat(before.z, x, -200);
    mpzFromBigFloat(yValue.z, y, -200);
    const uint32_t ySign = y.positive;
    const int64_t lowest = std::min(x.exponent, y.exponent);
    const int64_t top = std::max(bigFloatPosition(x), bigFloatPosition(y));
    const int64_t low = std::max(top - int64_t(p + 3), lowest);
    bigFloatSubtractFrom(&heap, &x, &y, p);
    EXPECT_EQ(y.positive, ySign) << "the sign of y is restored";
    mpz_sub(expected.z, before.z, yValue.z);
    mpzFromBigFloat(after.z, x, -200);
    // Truncation loses less than one unit of the window's lowest word per
    // operand, and nothing when the window reaches the lowest exponent.
    mpz_sub(expected.z, expected.z, after.z);
    mpz_abs(expected.z, expected.z);
    if (low == lowest) {
      EXPECT_EQ(mpz_sgn(expected.z), 0) << "round " << round;
    } else {
      Mpz bound;
      mpz_set_ui(bound.z, 2);
      mpz_mul_2exp(bound.z, bound.z, uint64_t(32 * (low + 200)));
      EXPECT_LT(mpz_cmp(expected.z, bound.z), 0) << "round " << round;
    }
    bigFloatDestroy(&x);
    bigFloatDestroy(&y);
  }
}

TEST_F(LinearOps, CompareMagnitudes) {
  BigFloat a, b, zero;
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
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &a, &zero), 1);
  EXPECT_EQ(bigFloatCompareMagnitudes(&heap, &zero, &zero), 0);
  bigFloatDestroy(&a);
  bigFloatDestroy(&b);
}

TEST_F(LinearOps, AddAgreeingFindsTheHighestDifferingWord) {
  BigFloat x, y, out;
  makeBigFloat(&heap, &x, {1, 2, 3, 4, 5}, -5, true);
  makeBigFloat(&heap, &y, {9, 9, 3, 4, 5}, -5, true);
  EXPECT_EQ(bigFloatAddAgreeing(&heap, &x, &y, &out, 10), -4);
  EXPECT_EQ(out.mantissa.words[0], 10u);
  bigFloatDestroy(&out);
  // A window of three words ends above the difference: full agreement,
  // reported as one below the window's lowest position -3.
  EXPECT_EQ(bigFloatAddAgreeing(&heap, &x, &y, &out, 0), -4);
  bigFloatDestroy(&out);
  y.mantissa.words[1] = 2;
  EXPECT_EQ(bigFloatAddAgreeing(&heap, &x, &y, &out, 10), -5);
  bigFloatDestroy(&out);
  y.mantissa.words[0] = 1;
  EXPECT_EQ(bigFloatAddAgreeing(&heap, &x, &y, &out, 10), -6);  // equal: below the window
  bigFloatDestroy(&out);
  y.mantissa.words[4] = 6;
  EXPECT_EQ(bigFloatAddAgreeing(&heap, &x, &y, &out, 10), -1);
  bigFloatDestroy(&out);
  bigFloatDestroy(&x);
  bigFloatDestroy(&y);
}

TEST_F(LinearOps, MultiplyWord) {
  OperandSource source = testOperands(14);
  BigFloat x;
  // Word 1 leaves even an over-long number alone.
  makeBigFloat(&heap, &x, source.anyWords(30), -3, false);
  uint32_t* array = x.mantissa.words;
  bigFloatMultiplyWord(&heap, &x, 1, 2);
  EXPECT_EQ(x.mantissa.words, array);
  EXPECT_EQ(x.mantissa.length, 30u);
  EXPECT_EQ(x.exponent, -3);
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

TEST_F(LinearOps, ShiftByMinusOne) {
  // Odd word 0: left by 31 with the exponent one lower, at most one word more.
  BigFloat x;
  makeBigFloat(&heap, &x, {3, 0xFFFFFFFFu}, 4, true);
  bigFloatShiftBits(&heap, &x, -1);
  EXPECT_EQ(x.exponent, 3);
  EXPECT_EQ(bigIntWords(x.mantissa), (std::vector<uint32_t>{0x80000000u, 0x80000001u, 0x7FFFFFFFu}));
  bigFloatDestroy(&x);
  makeBigFloat(&heap, &x, {5, 1}, 4, true);
  bigFloatShiftBits(&heap, &x, -1);
  EXPECT_EQ(x.exponent, 3);
  EXPECT_EQ(bigIntWords(x.mantissa), (std::vector<uint32_t>{0x80000000u, 0x80000002u}));
  bigFloatDestroy(&x);
  // Even word 0: a right shift, same exponent; the length falls only when
  // the top word was 1.
  makeBigFloat(&heap, &x, {6, 7}, 4, true);
  bigFloatShiftBits(&heap, &x, -1);
  EXPECT_EQ(x.exponent, 4);
  EXPECT_EQ(bigIntWords(x.mantissa), (std::vector<uint32_t>{0x80000003u, 3}));
  bigFloatDestroy(&x);
  makeBigFloat(&heap, &x, {6, 1}, 4, true);
  bigFloatShiftBits(&heap, &x, -1);
  EXPECT_EQ(x.exponent, 4);
  EXPECT_EQ(bigIntWords(x.mantissa), (std::vector<uint32_t>{0x80000003u}));
  bigFloatDestroy(&x);
}

TEST_F(LinearOps, RandomShiftsAreExact) {
  OperandSource source = testOperands(15);
  for (int round = 0; round < 400; round++) {
    BigFloat x;
    const uint64_t n = source.length(40);
    makeBigFloat(&heap, &x, source.anyWords(n), int64_t(source.below(21)) - 10,
                 source.below(2) == 0, source.below(3));
    const int64_t bits = int64_t(source.below(401)) - 200;
    Mpz before, after;
    mpzFromBigFloat(before.z, x, -100);
    bigFloatShiftBits(&heap, &x, bits);
    // x * 2^bits, both sides measured from the same base.
    if (bits >= 0) mpz_mul_2exp(before.z, before.z, uint64_t(bits));
    mpzFromBigFloat(after.z, x, -100);
    if (bits < 0) mpz_mul_2exp(after.z, after.z, uint64_t(-bits));
    EXPECT_EQ(mpz_cmp(before.z, after.z), 0) << "round " << round << " bits " << bits;
    EXPECT_NE(x.mantissa.words[x.mantissa.length - 1], 0u);
    EXPECT_LE(x.mantissa.length, n + 1);
    bigFloatDestroy(&x);
  }
}

TEST_F(LinearOps, BigIntShifts) {
  BigInt x;
  makeBigInt(&heap, &x, {1});
  const uint32_t blocks = heap.activeBlocks;
  bigIntShiftRightBits(&heap, &x, 1);
  EXPECT_EQ(x.length, 0u);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(x.capacity, 0u);
  EXPECT_EQ(heap.activeBlocks, blocks - 1) << "the array is released";

  // Left: in place while length < capacity, else a new array of length + 3.
  makeBigInt(&heap, &x, {0x80000001u, 0xC0000000u}, 1);
  uint32_t* array = x.words;
  bigIntShiftLeftBits(&heap, &x, 1);
  EXPECT_EQ(x.words, array);
  EXPECT_EQ(bigIntWords(x), (std::vector<uint32_t>{2, 0x80000001u, 1}));
  bigIntShiftLeftBits(&heap, &x, 31);
  EXPECT_NE(x.words, array);
  EXPECT_EQ(x.capacity, 6u);
  EXPECT_EQ(bigIntWords(x), (std::vector<uint32_t>{0, 0x80000001u, 0xC0000000u}));
  bigIntShiftRightBits(&heap, &x, 31);
  EXPECT_EQ(bigIntWords(x), (std::vector<uint32_t>{2, 0x80000001u, 1}));
  bigIntDestroy(&x);
  EXPECT_EQ(x.length, bigIntDestroyedLength);
}

TEST_F(LinearOps, BigIntConstructionAndDropLowWords) {
  BigInt x;
  const uint32_t blocks = heap.activeBlocks;
  bigIntFromU64(&heap, &x, 0);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(x.length, 0u);
  EXPECT_EQ(heap.activeBlocks, blocks) << "zero allocates nothing";
  bigIntFromU64(&heap, &x, 0xFFFFFFFFu);
  EXPECT_EQ(x.length, 1u);
  EXPECT_EQ(x.capacity, 3u);
  bigIntDestroy(&x);
  bigIntFromU64(&heap, &x, 0x100000000ull);
  EXPECT_EQ(bigIntWords(x), (std::vector<uint32_t>{0, 1}));
  EXPECT_EQ(x.capacity, 4u);
  bigIntDestroy(&x);

  makeBigInt(&heap, &x, {1, 2, 3, 4});
  bigIntDropLowWords(&heap, &x, 0);
  EXPECT_EQ(x.length, 4u);
  bigIntDropLowWords(&heap, &x, 3);
  EXPECT_EQ(bigIntWords(x), (std::vector<uint32_t>{4}));
  EXPECT_EQ(x.capacity, 3u);
  bigIntDropLowWords(&heap, &x, 1);
  EXPECT_EQ(x.length, 0u);
  EXPECT_EQ(x.words, nullptr);
  makeBigInt(&heap, &x, {1, 2});
  bigIntDropLowWords(&heap, &x, 9);
  EXPECT_EQ(x.words, nullptr);

  BigInt copy;
  makeBigInt(&heap, &x, {9, 8, 7});
  bigIntCopy(&heap, &x, &copy);
  EXPECT_NE(copy.words, x.words);
  EXPECT_EQ(bigIntWords(copy), bigIntWords(x));
  EXPECT_EQ(copy.capacity, 5u);
  bigIntDestroy(&copy);
  bigIntDestroy(&x);
}

TEST_F(LinearOps, CompactionClosesGapsBelowTheArrays) {
  OperandSource source = testOperands(17);
  const auto xWords = source.anyWords(100), yWords = source.anyWords(60);
  uint32_t* gapBelowX = heapAllocateWords(&heap, 500);
  BigFloat x, y, zero;
  makeBigFloat(&heap, &x, xWords, -4, true);
  uint32_t* gapBelowY = heapAllocateWords(&heap, 300);
  makeBigFloat(&heap, &y, yWords, 7, false);
  bigFloatSetZero(&zero);
  heapRelease(gapBelowX);
  heapRelease(gapBelowY);
  uint32_t* const xBefore = x.mantissa.words;
  uint32_t* const yBefore = y.mantissa.words;
  // Any order; a zero number is passed over.
  bigFloatCompact3(&y, &zero, &x);
  EXPECT_EQ(zero.mantissa.words, nullptr);
  EXPECT_LT(x.mantissa.words, xBefore);
  EXPECT_LT(y.mantissa.words, yBefore);
  EXPECT_LT(x.mantissa.words, y.mantissa.words);
  EXPECT_EQ(bigIntWords(x.mantissa), xWords);
  EXPECT_EQ(bigIntWords(y.mantissa), yWords);
  // Closed gaps: compacting again moves nothing.
  uint32_t* const xAfter = x.mantissa.words;
  bigFloatCompact2(&x, &y);
  EXPECT_EQ(x.mantissa.words, xAfter);
  bigFloatDestroy(&x);
  bigFloatDestroy(&y);
}

TEST_F(LinearOps, TruncateToInteger) {
  BigFloat x;
  // Exponent not negative: nothing.
  makeBigFloat(&heap, &x, {1, 2}, 0, false);
  bigFloatTruncateToInteger(&heap, &x);
  EXPECT_EQ(x.mantissa.length, 2u);
  bigFloatDestroy(&x);
  // f < length: the upper words, exponent 0, capacity length - f + 2.
  makeBigFloat(&heap, &x, {1, 2, 3}, -2, false);
  bigFloatTruncateToInteger(&heap, &x);
  EXPECT_EQ(bigIntWords(x.mantissa), (std::vector<uint32_t>{3}));
  EXPECT_EQ(x.exponent, 0);
  EXPECT_EQ(x.positive, 0u);
  EXPECT_EQ(x.mantissa.capacity, 3u);
  bigFloatDestroy(&x);
  // f == length: the canonical zero, even for a negative number.
  makeBigFloat(&heap, &x, {1, 2, 3}, -3, false);
  bigFloatTruncateToInteger(&heap, &x);
  expectCanonicalZero(x);
  // f > length: an empty mantissa that keeps its negative sign.
  makeBigFloat(&heap, &x, {1, 2, 3}, -4, false);
  bigFloatTruncateToInteger(&heap, &x);
  EXPECT_EQ(x.positive, 0u);
  EXPECT_EQ(x.exponent, 0);
  EXPECT_EQ(x.mantissa.length, 0u);
  EXPECT_EQ(x.mantissa.words, nullptr);
}

TEST_F(LinearOps, DoubleConversions) {
  BigFloat x;
  int64_t position = 99;
  bigFloatSetZero(&x);
  EXPECT_EQ(bigFloatTopAsDouble(&heap, &x, &position), 0.0);
  // Top two words, position of the lower one; a set top bit is no sign.
  makeBigFloat(&heap, &x, {5, 0xFFFFFFFFu, 0xFFFFFFFFu}, -4, false);
  EXPECT_EQ(bigFloatTopAsDouble(&heap, &x, &position), -18446744073709551616.0);
  EXPECT_EQ(position, -3);
  bigFloatDestroy(&x);
  makeBigFloat(&heap, &x, {12345}, 7, true);
  EXPECT_EQ(bigFloatTopAsDouble(&heap, &x, &position), 12345.0);
  EXPECT_EQ(position, 7);
  bigFloatDestroy(&x);

  OperandSource source = testOperands(16);
  for (int round = 0; round < 2000; round++) {
    double d = std::ldexp(1.0 + double(source.rng() >> 11) * 0x1p-53,
                          int(source.below(600)) - 300);
    if (round % 7 == 0) d = std::ldexp(double(source.rng() >> 11), 0);  // integers
    if (round % 11 == 0) d = std::ldexp(double(source.rng() >> 40), -1074);  // subnormals
    if (source.below(2)) d = -d;
    if (d == 0.0) continue;
    bigFloatFromDouble(&heap, &x, d);
    // Exact, with no low zero word. A subnormal (exponent field 0) is read
    // with the exponent of the field, 2^-1075, and so comes out halved: that
    // is the conversion's rule, and Newton starts never see subnormals.
    long double expected = std::fabs((long double)d);
    if (std::fabs(d) < 0x1p-1022) expected /= 2;
    ASSERT_NE(x.mantissa.words[0], 0u) << d;
    EXPECT_EQ(x.positive, d > 0 ? 1u : 0u);
    long double exact = 0;
    for (uint64_t i = x.mantissa.length; i-- > 0;) exact = exact * 0x1p32L + x.mantissa.words[i];
    EXPECT_EQ(std::ldexp(exact, int(32 * x.exponent)), expected) << d;
    // Back: exact when the bits fit two words; from three words the top two
    // hold at least 33 bits, so the loss is below one part in 2^32.
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
