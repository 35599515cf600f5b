// Size selection: the transform size search and its odd-width drop, the
// element size lookup, the hybrid parameter search and tables, element plans, and the
// memory figures of products.
#include "arith/fft/fft_sizes.h"

#include <gtest/gtest.h>


#include "arith/hybrid/element_sizes.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/product_bytes.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

namespace {

// The row for x: the row of that exact capacity if there is one; below the
// first capacity row 1; otherwise the first row that holds x.
uint32_t expectedRow(uint64_t x) {
  for (uint32_t i = 0; i < fftSizeRowCount; i++) {
    if (FftSizeTable[i].capacity == x) return i;
  }
  if (x < FftSizeTable[0].capacity) return 1;
  for (uint32_t i = 0; i < fftSizeRowCount; i++) {
    if (FftSizeTable[i].capacity >= x) return i;
  }
  return fftSizeRowCount;
}

TEST(FftParams, SearchAgreesWithTheRowRuleAtEdgesAndRandomSizes) {
  testbridge::Random random = testbridge::testRandom();
  for (uint32_t i = 0; i < fftSizeRowCount; i++) {
    uint64_t c = FftSizeTable[i].capacity;
    for (uint64_t x : {c - 1, c, c + 1}) EXPECT_EQ(fftSizeRowFor(x), expectedRow(x)) << x;
  }
  EXPECT_EQ(fftSizeRowFor(0), 1u);
  // Past the last row: refused.
  const uint64_t last = FftSizeTable[fftSizeRowCount - 1].capacity;
  SizeCode code = 0;
  uint32_t bits = 0;
  EXPECT_EQ(fftParamsFor(last / 2, &code, &bits), 0u);
  EXPECT_EQ(fftParamsFor(last / 2 + 1, &code, &bits), 1u);
  EXPECT_EQ(fftParamsFor(uint64_t(1) << 40, &code, &bits), 1u);
  for (int i = 0; i < 2000; i++) {
    uint64_t x = random.logUniform(1, 30000000000ull);
    EXPECT_EQ(fftSizeRowFor(x), expectedRow(x)) << x;
  }
}

TEST(FftParams, OddWidthsDropOnlyWhileTheProductFits) {
  for (uint32_t i = 1; i < fftSizeRowCount; i++) {
    const FftSizeRow& row = FftSizeTable[i];
    uint64_t length = sizeCodeLength(row.code);
    uint64_t narrower = (row.bitsPerPoint - 1) * length;
    SizeCode code;
    uint32_t bits;
    // Product bits just above the previous row, at the narrower capacity, and
    // just above it (products are even).
    for (uint64_t x : {FftSizeTable[i - 1].capacity + 2, narrower, narrower + 2}) {
      if (x <= FftSizeTable[i - 1].capacity || x > row.capacity) continue;
      ASSERT_EQ(fftParamsFor(x / 2, &code, &bits), 0u);
      EXPECT_EQ(code, row.code);
      bool drops = (row.bitsPerPoint & 1) != 0 && x <= narrower;
      EXPECT_EQ(bits, drops ? row.bitsPerPoint - 1 : row.bitsPerPoint) << x;
    }
  }
}

TEST(HybridSearch, PicksAValidPairThatHoldsTheProduct) {
  uint32_t k = 0;
  uint32_t m = 0;
  // 120 words: four exponents 9..6; k = 6, m = 28 (448-bit elements, 384
  // words of capacity) is the cheapest.
  ASSERT_EQ(hybridSearch(120, &k, &m), 0u);
  EXPECT_EQ(k, 6u);
  EXPECT_EQ(m, 28u);
  EXPECT_EQ(hybridCapacity(6, 28), 384u);
  testbridge::Random random = testbridge::testRandom();
  for (int i = 0; i < 300; i++) {
    uint64_t n = i < 23 ? hybridCapacity(9 + i, 1) + (i & 1) : random.logUniform(1, hybridProductWordsLimit);
    ASSERT_EQ(hybridSearch(n, &k, &m), 0u) << n;
    EXPECT_GE(hybridCapacity(k, m), n);
    EXPECT_LT(elementSizeRowExact(((uint64_t(m) << k) / 128) * 32), elementSizeRowCount) << n;
  }
}

TEST(HybridParams, RefusesPastTheLimitWithoutTheTables) {
  uint32_t k = 0;
  uint32_t m = 0;
  EXPECT_EQ(hybridSquareParams(hybridProductWordsLimit, &k, &m), 0u);
  EXPECT_GE(hybridCapacity(k, m), hybridProductWordsLimit);
  EXPECT_EQ(hybridMultiplyParams(hybridProductWordsLimit, &k, &m), 0u);
  EXPECT_EQ(hybridSquareParams(hybridProductWordsLimit + 1, &k, &m), 1u);
  EXPECT_EQ(hybridMultiplyParams(hybridProductWordsLimit + 1, &k, &m), 1u);
  // Refused even when a table would hold the size.
  const HybridParamRow huge[] = {{hybridCapacity(24, 31), 24, 31}};
  HybridParamTable table = {huge, 1};
  EXPECT_EQ(hybridSquareParamsWith(table, hybridProductWordsLimit + 1, &k, &m), 1u);
  // With the build's tables empty, both are the search.
  uint32_t sk = 0, sm = 0;
  ASSERT_EQ(hybridSearch(987654321, &sk, &sm), 0u);
  ASSERT_EQ(hybridMultiplyParams(987654321, &k, &m), 0u);
  EXPECT_EQ(k, sk);
  EXPECT_EQ(m, sm);
}

// Rows quoted for the tuned tables: capacity, k, m.
const HybridParamRow squareRows[] = {{120, 3, 512},        {152, 3, 640},       {248, 3, 1024},
                                     {36832, 5, 9216},     {1375744, 9, 1344},  {20963328, 13, 80},
                                     {536838144, 15, 128}, {587137024, 16, 35}, {603848704, 17, 9}};
const HybridParamRow multiplyRows[] = {{120, 3, 512},       {176, 4, 192},      {21488, 4, 21504},
                                       {686080, 11, 42},    {10469376, 14, 10}, {335413248, 17, 5},
                                       {335478784, 16, 20}, {352256000, 16, 21}};
const HybridParamTable squareTable = {squareRows, 9};
const HybridParamTable multiplyTable = {multiplyRows, 8};

TEST(HybridParams, QuotedRowsAreFoundThenTheSearchServes) {
  uint32_t k = 0, m = 0;
  ASSERT_EQ(hybridSquareParamsWith(squareTable, 120, &k, &m), 0u);
  EXPECT_EQ(k, 3u);
  EXPECT_EQ(m, 512u);
  ASSERT_EQ(hybridSquareParamsWith(squareTable, 121, &k, &m), 0u);
  EXPECT_EQ(m, 640u);
  ASSERT_EQ(hybridSquareParamsWith(squareTable, 1375745, &k, &m), 0u);
  EXPECT_EQ(k, 13u);
  // Past the products' last row the squares' rows serve, then the search.
  ASSERT_EQ(hybridMultiplyParamsWith(multiplyTable, squareTable, 177, &k, &m), 0u);
  EXPECT_EQ(k, 4u);
  EXPECT_EQ(m, 21504u);
  ASSERT_EQ(hybridMultiplyParamsWith(multiplyTable, squareTable, 600000000, &k, &m), 0u);
  EXPECT_EQ(k, 17u);
  EXPECT_EQ(m, 9u);
  uint32_t sk = 0, sm = 0;
  ASSERT_EQ(hybridSearch(603848705, &sk, &sm), 0u);
  ASSERT_EQ(hybridMultiplyParamsWith(multiplyTable, squareTable, 603848705, &k, &m), 0u);
  EXPECT_EQ(k, sk);
  EXPECT_EQ(m, sm);
}

TEST(ProductBytesDeath, PastTheTablesIsFatal) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        fftProductBytes(24159191040ull / 64 + 1);
      },
      ::testing::ExitedWithCode(1), "Maximum FFT size Exceeded\\.");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        hybridProductBytes(hybridProductWordsLimit + 1, 0);
      },
      ::testing::ExitedWithCode(1), "Maximum supported multiplication size has been exceeded\\.");
}

TEST(ProductBytes, PeakCoversEveryRowBelow) {
  const HybridParamTable none = {nullptr, 0};
  // The product rows 335413248 (17, 5) and 335478784 (16, 20): just above the
  // first, the second row serves with less memory, and the peak keeps the
  // first row's figure.
  uint64_t first = hybridProductBytesWith(none, multiplyTable, 335413248, 0);
  uint64_t above = hybridProductBytesWith(none, multiplyTable, 335413249, 0);
  EXPECT_LT(above, first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 335413249, 0), first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 352256000, 3),
            hybridProductBytesWith(none, multiplyTable, 335413248, 3));
  // The build's tables: every size's own figure and every row below it are
  // covered; past the last row the search alone serves.
  for (uint64_t n = 24000; n < 40000000; n += n / 7) {
    const uint64_t peak = hybridPeakBytes(n, 1);
    EXPECT_GE(peak, hybridProductBytes(n, 1)) << n;
    for (uint32_t i = 1; i < SquareParamTable.count && SquareParamTable.rows[i - 1].capacity < n; i++)
      EXPECT_GE(peak, hybridProductBytes(SquareParamTable.rows[i].capacity, 1)) << n << " row " << i;
  }
  uint32_t k = 0, m = 0;
  ASSERT_EQ(hybridSearch(3000000000ull, &k, &m), 0u);
  EXPECT_EQ(hybridPeakBytes(3000000000ull, 1), hybridProductBytes(hybridCapacity(k, m), 1));
}

TEST(HybridElements, CodeBoundCoversEverySearchBelowIt) {
  testbridge::Random random = testbridge::testRandom();
  for (int i = 0; i < 40; i++) {
    uint64_t limit = random.logUniform(30000, hybridProductWordsLimit);
    uint32_t bound = hybridElementCodeBound(limit);
    for (int j = 0; j < 25; j++) {
      uint64_t n = random.logUniform(1, limit);
      uint32_t k = 0, m = 0;
      ASSERT_EQ(hybridSearch(n, &k, &m), 0u);
      uint64_t words = (uint64_t(m) << k) / 128;
      if (words < elementFftWords) continue;
      EXPECT_LE(ElementSizeTable[elementSizeRowExact(32 * words)].code, bound) << n;
    }
  }
  // Up to 10^12 words of product the elements stay within 2^21 points.
  EXPECT_LE(hybridElementCodeBound(1000000000000ull), sizeCodeOf(5, 19));
}

}  // namespace
