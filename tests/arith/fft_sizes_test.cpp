// Size selection: the transform size table and its search, the element size
// table, the hybrid parameter search and tables, element plans, and the
// memory figures of products.
#include "arith/fft_sizes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "arith/element_sizes.h"
#include "arith/hybrid_params.h"
#include "arith/product_bytes.h"
#include "platform/console.h"
#include "support/gmp_bridge.h"

namespace {

// The console text of a death test's child goes to standard error when it
// exits, where the death test's pattern can see it.
std::string childConsole;
void prepareChild() {
  consoleInputFrom("");
  consoleCaptureTo(&childConsole);
  atexit([] { fputs(childConsole.c_str(), stderr); });
}

uint64_t log2Exact(uint64_t x) {
  return 63 - __builtin_clzll(x);
}

TEST(SizeCode, DecodesEveryKindAndOrdersLikeLengths) {
  EXPECT_EQ(sizeCodeLength(smallestSizeCode), 64u);
  EXPECT_EQ(sizeCodeLength(4 * 10 + 0), 1024u);
  EXPECT_EQ(sizeCodeLength(4 * 10 + 1), 5u * 256);
  EXPECT_EQ(sizeCodeLength(4 * 10 + 2), 3u * 512);
  EXPECT_EQ(sizeCodeLength(4 * 10 + 3), 7u * 256);
  for (SizeCode code = smallestSizeCode; code < 4 * 33; code++) {
    EXPECT_LT(sizeCodeLength(code), sizeCodeLength(code + 1)) << code;
  }
  EXPECT_EQ(sizeCodeOf(1, 6), smallestSizeCode);
  EXPECT_EQ(sizeCodeOf(3, 6), 30u);
  EXPECT_EQ(sizeCodeOf(5, 14), 4u * 16 + 1);
}

TEST(FftSizeTable, RowsAreConsistentAndWithinThePrecisionBound) {
  const uint64_t firstCapacities[] = {1408, 2816, 4032, 5376};
  for (uint32_t i = 0; i < 4; i++) EXPECT_EQ(FftSizeTable[i].capacity, firstCapacities[i]);
  EXPECT_EQ(FftSizeTable[fftSizeRowCount - 1].capacity, 24159191040ull);
  for (uint32_t i = 0; i < fftSizeRowCount; i++) {
    const FftSizeRow& row = FftSizeTable[i];
    uint64_t length = sizeCodeLength(row.code);
    SCOPED_TRACE(length);
    EXPECT_EQ(length, uint64_t(row.multiplier) << row.exponent);
    EXPECT_EQ(row.capacity, length * row.bitsPerPoint);
    // 2b + log2(L/2) <= 50: sums of L/2 products of b-bit points fit a double.
    EXPECT_LE(2.0 * row.bitsPerPoint + std::log2(length / 2.0), 50.0);
    if (i > 0) EXPECT_LT(FftSizeTable[i - 1].capacity, row.capacity);
  }
  // Fives enter at 81920, which keeps one bit less than the longer 98304.
  EXPECT_EQ(FftSizeTable[20].capacity, 81920u * 16);
  EXPECT_EQ(FftSizeTable[21].capacity, 98304u * 17);
}

TEST(FftParams, ReproducesTheTableExamples) {
  SizeCode code = 0;
  uint32_t bits = 0;
  // A product of exactly 1408 bits takes row 0, one bit less row 1.
  EXPECT_EQ(fftSizeRowFor(1408), 0u);
  EXPECT_EQ(fftSizeRowFor(1407), 1u);
  ASSERT_EQ(fftParamsFor(704, &code, &bits), 0u);
  EXPECT_EQ(sizeCodeLength(code), 64u);
  EXPECT_EQ(bits, 22u);
  ASSERT_EQ(fftParamsFor(703, &code, &bits), 0u);
  EXPECT_EQ(sizeCodeLength(code), 128u);
  EXPECT_EQ(bits, 22u);
  // 5376 bits: row 3 at 21 bits, which 20 bits * 256 points can't hold.
  ASSERT_EQ(fftParamsFor(5376 / 2, &code, &bits), 0u);
  EXPECT_EQ(sizeCodeLength(code), 256u);
  EXPECT_EQ(bits, 21u);
  // 5120 bits lands on row 3 too and drops to the even width.
  ASSERT_EQ(fftParamsFor(5120 / 2, &code, &bits), 0u);
  EXPECT_EQ(sizeCodeLength(code), 256u);
  EXPECT_EQ(bits, 20u);
  // The last row, and the refusal just above it.
  ASSERT_EQ(fftParamsFor(24159191040ull / 2, &code, &bits), 0u);
  EXPECT_EQ(sizeCodeLength(code), 2684354560ull);
  EXPECT_EQ(bits, 9u);
  EXPECT_EQ(fftParamsFor(24159191040ull / 2 + 1, &code, &bits), 1u);
  EXPECT_EQ(fftSizeRowFor(24159191041ull), fftSizeRowCount);
  EXPECT_EQ(fftParamsFor(uint64_t(1) << 40, &code, &bits), 1u);
}

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

TEST(ElementSizeTable, HoldsExactlyTheRowsOfItsRule) {
  EXPECT_EQ(ElementSizeTable.size(), 384u);
  EXPECT_EQ(ElementSizeTable[0].capacity, 448u);
  EXPECT_EQ(ElementSizeTable[0].bitsPerPoint, 7u);
  EXPECT_EQ(sizeCodeLength(ElementSizeTable[0].code), 64u);
  EXPECT_EQ(ElementSizeTable[1].capacity, 512u);
  EXPECT_EQ(ElementSizeTable[2].capacity, 576u);
  const ElementSizeRow& last = ElementSizeTable[elementSizeRowCount - 1];
  EXPECT_EQ(last.capacity, 3758096384ull);
  EXPECT_EQ(last.bitsPerPoint, 7u);
  EXPECT_EQ(sizeCodeLength(last.code), 536870912u);
  // The first rows of lengths 192 and 320.
  auto firstOfLength = [](uint64_t length) {
    for (const ElementSizeRow& row : ElementSizeTable) {
      if (sizeCodeLength(row.code) == length) return row.capacity;
    }
    return uint64_t(0);
  };
  EXPECT_EQ(firstOfLength(192), 1344u);
  EXPECT_EQ(firstOfLength(320), 2240u);
  for (uint32_t i = 0; i < elementSizeRowCount; i++) {
    const ElementSizeRow& row = ElementSizeTable[i];
    uint64_t length = sizeCodeLength(row.code);
    EXPECT_EQ(row.capacity % 64, 0u);
    EXPECT_EQ(row.capacity, length * row.bitsPerPoint);
    EXPECT_GE(row.bitsPerPoint, 7u);
    EXPECT_LE(2 * row.bitsPerPoint + log2Exact(length), 49u);
    if (i > 0) EXPECT_LT(ElementSizeTable[i - 1].capacity, row.capacity);
  }
  // Every pair of the rule is held, by a row of the same or a smaller length.
  const uint32_t lengths[][2] = {
      {64, 20},        {128, 20},      {192, 19},      {256, 20},      {320, 19},
      {384, 19},       {512, 20},      {640, 19},      {768, 19},      {1024, 19},
      {1280, 18},      {1536, 19},     {2048, 18},     {2560, 17},     {3072, 18},
      {4096, 18},      {5120, 17},     {6144, 18},     {8192, 17},     {10240, 16},
      {12288, 17},     {16384, 17},    {20480, 16},    {24576, 17},    {32768, 16},
      {40960, 15},     {49152, 16},    {65536, 16},    {81920, 15},    {98304, 15},
      {131072, 15},    {163840, 14},   {196608, 15},   {262144, 15},   {327680, 14},
      {393216, 14},    {524288, 14},   {655360, 13},   {786432, 14},   {1048576, 13},
      {1310720, 13},   {1572864, 13},  {2097152, 13},  {2621440, 12},  {3145728, 13},
      {4194304, 13},   {5242880, 12},  {6291456, 12},  {8388608, 12},  {10485760, 11},
      {12582912, 12},  {16777216, 12}, {20971520, 11}, {25165824, 11}, {33554432, 11},
      {41943040, 10},  {50331648, 10}, {67108864, 10}, {83886080, 10}, {100663296, 10},
      {134217728, 10}, {167772160, 9}, {201326592, 9}, {268435456, 9}, {335544320, 9},
      {402653184, 9},  {536870912, 7}};
  for (const auto& pair : lengths) {
    for (uint32_t b = 7; b <= pair[1]; b++) {
      uint32_t row = elementSizeRowExact(uint64_t(b) * pair[0]);
      ASSERT_LT(row, elementSizeRowCount) << pair[0] << " " << b;
      EXPECT_LE(sizeCodeLength(ElementSizeTable[row].code), pair[0]);
    }
  }
  EXPECT_EQ(elementSizeRowExact(448 + 64), 1u);
  EXPECT_EQ(elementSizeRowExact(448 + 32), elementSizeRowCount);
  EXPECT_EQ(elementSizeRowExact(384), elementSizeRowCount);
}

// The search by its definition: every pair of the four exponents, least cost
// m * 4^k - k, the larger k on a tie.
bool referenceSearch(uint64_t n, uint32_t* k, uint32_t* m) {
  uint32_t e = 9;
  while (e <= 31 && n > hybridCapacity(e, 1)) e++;
  if (e > 31) return false;
  bool found = false;
  long double best = 0;
  for (uint32_t kk = e - 3; kk <= e; kk++) {
    for (uint32_t mm = 1; mm <= 31; mm++) {
      uint64_t elementBits = ((uint64_t(mm) << kk) / 128) * 32;
      if (n > hybridCapacity(kk, mm) || elementSizeRowExact(elementBits) >= elementSizeRowCount) {
        continue;
      }
      long double cost = ldexpl(mm, 2 * kk) - kk;
      if (!found || cost <= best) {
        found = true;
        best = cost;
        *k = kk;
        *m = mm;
      }
    }
  }
  return found;
}

TEST(HybridSearch, PicksTheCheapestValidPair) {
  uint32_t k = 0;
  uint32_t m = 0;
  // 120 words: four exponents 9..6; k = 6, m = 28 (448-bit elements, 384
  // words of capacity) is the cheapest.
  ASSERT_EQ(hybridSearch(120, &k, &m), 0u);
  EXPECT_EQ(k, 6u);
  EXPECT_EQ(m, 28u);
  EXPECT_EQ(hybridCapacity(6, 28), 384u);
  testbridge::Random random = testbridge::testRandom();
  for (int i = 0; i < 600; i++) {
    uint64_t n = random.logUniform(1, hybridProductWordsLimit);
    if (i < 23) n = hybridCapacity(9 + i, 1) + (i & 1);  // bucket edges
    uint32_t rk = 0, rm = 0;
    ASSERT_TRUE(referenceSearch(n, &rk, &rm)) << n;
    ASSERT_EQ(hybridSearch(n, &k, &m), 0u) << n;
    EXPECT_EQ(k, rk) << n;
    EXPECT_EQ(m, rm) << n;
    EXPECT_GE(hybridCapacity(k, m), n);
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

TEST(HybridParams, QuotedRowsObeyTheirConstructionAndAreFound) {
  for (const HybridParamTable* table : {&squareTable, &multiplyTable}) {
    for (uint32_t i = 0; i < table->count; i++) {
      const HybridParamRow& row = table->rows[i];
      uint64_t h = uint64_t(row.m) << row.k;
      EXPECT_EQ(row.capacity, (h / 256 - 1) << row.k) << row.capacity;
      EXPECT_LT(elementSizeRowExact(h / 128 * 32), elementSizeRowCount) << row.capacity;
    }
  }
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

TEST(ElementPlan, RecursiveBelow24WordsAndFftFrom24) {
  ElementPlan plan;
  // 14 words: 2W plus the Karatsuba walk from 14 against sqrK (one level of 14).
  EXPECT_EQ(elementPlanFor(&plan, nullptr, 14), 0u);
  EXPECT_EQ(plan.method, 0u);
  EXPECT_EQ(plan.scratchWords, 28u + 14);
  elementPlanFor(&plan, nullptr, 11);
  EXPECT_EQ(plan.scratchWords, 22u);
  elementPlanFor(&plan, nullptr, 23);
  EXPECT_EQ(plan.scratchWords, 46u + 24 + 12);
  // 32 words = 1024 bits: 64 points of 16 bits; 3L words of scratch.
  EXPECT_EQ(elementPlanFor(&plan, nullptr, 32), smallestSizeCode);
  EXPECT_EQ(plan.method, 1u);
  EXPECT_EQ(plan.words, 32u);
  EXPECT_EQ(plan.length, 64u);
  EXPECT_EQ(plan.bitsPerPoint, 16u);
  EXPECT_EQ(plan.scratchWords, 192u);
  // 24 words = 768 bits: 64 points of 12 bits.
  elementPlanFor(&plan, nullptr, 24);
  EXPECT_EQ(plan.length, 64u);
  EXPECT_EQ(plan.bitsPerPoint, 12u);
  EXPECT_EQ(elementScratchWords(32, 2), 4u * 192);
  EXPECT_EQ(elementScratchWords(14, 1), 2u * 42);
}

TEST(ProductBytes, FftFiguresByClass) {
  EXPECT_EQ(fftProductBytes(14), 28u);
  // 15 words: one Karatsuba level of 16 against elmK.
  EXPECT_EQ(fftProductBytes(15), 16u * 15 + 4 * 16);
  EXPECT_EQ(fftProductBytes(57), 16u * 57 + 4 * (58 + 30 + 16));
  // 58 words = 3712 bits: 192 points.
  EXPECT_EQ(fftProductBytes(58), 20u * 192 + 8 * 58);
  // 13056 words fill the 49152-point row exactly.
  EXPECT_EQ(fftProductBytes(13056), 20u * 49152 + 8 * 13056);
  EXPECT_EQ(fftProductBytes(13057), 20u * 65536 + 8 * 13057);
}

TEST(ProductBytesDeath, PastTheTablesIsFatal) {
  EXPECT_EXIT(
      {
        prepareChild();
        fftProductBytes(24159191040ull / 64 + 1);
      },
      ::testing::ExitedWithCode(1), "Maximum FFT size Exceeded\\.");
  EXPECT_EXIT(
      {
        prepareChild();
        hybridProductBytes(hybridProductWordsLimit + 1, 0);
      },
      ::testing::ExitedWithCode(1), "Maximum supported multiplication size has been exceeded\\.");
}

TEST(ProductBytes, HybridFiguresOfSmallAndFftElements) {
  // 120 words by the search: k = 6, m = 28, W = 14, recursive elements.
  EXPECT_EQ(hybridProductBytes(120, 0), 8u * 15 * 64 + 4 * 30 + 4 * 28);
  // Threads add butterfly and element scratch, up to 2^k of them.
  EXPECT_EQ(hybridProductBytes(120, 2), 8u * 15 * 64 + 4 * 30 * 4 + 4 * 28 * 4);
  // The quoted row 120: 3, 512: W = 32, elements by a 64-point FFT (5L words).
  const HybridParamTable none = {nullptr, 0};
  EXPECT_EQ(hybridProductBytesWith(squareTable, none, 120, 0), 8u * 33 * 8 + 4 * 66 + 4 * 320);
  EXPECT_EQ(hybridProductBytesWith(squareTable, none, 120, 9),
            8u * 33 * 8 + (4 * 66 + 4 * 320) * 8);
}

TEST(ProductBytes, PeakCoversEveryRowBelow) {
  const HybridParamTable none = {nullptr, 0};
  // The product rows 335413248 (17, 5) and 335478784 (16, 20): just above the
  // first, the second row serves with less memory, and the peak keeps the
  // first row's figure.
  uint64_t first = hybridProductBytesWith(none, multiplyTable, 335413248, 0);
  uint64_t above = hybridProductBytesWith(none, multiplyTable, 335413249, 0);
  EXPECT_EQ(first, 8ull * 5121 * 131072 + 4 * 10242 + 4 * 51200);
  EXPECT_EQ(above, 8ull * 10241 * 65536 + 4 * 20482 + 4 * 102400);
  EXPECT_LT(above, first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 335413249, 0), first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 352256000, 3),
            hybridProductBytesWith(none, multiplyTable, 335413248, 3));
  // A size on row 0 takes the figure at the capacity of its own search.
  uint32_t k = 0, m = 0;
  ASSERT_EQ(hybridSearch(120, &k, &m), 0u);
  EXPECT_EQ(hybridPeakBytesWith(squareTable, none, 120, 0),
            hybridProductBytesWith(squareTable, none, hybridCapacity(k, m), 0));
  // With the build's empty tables, the search alone.
  for (uint64_t n : {uint64_t(30000), uint64_t(5000000), uint64_t(3000000000ull)}) {
    ASSERT_EQ(hybridSearch(n, &k, &m), 0u);
    EXPECT_EQ(hybridPeakBytes(n, 1), hybridProductBytes(hybridCapacity(k, m), 1)) << n;
  }
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
