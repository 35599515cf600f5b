// Size selection: refusals past the last rows, the hybrid parameter search and
// tables, and the memory figures of products.
#include "arith/fft/fft_sizes.h"

#include <gtest/gtest.h>

#include "arith/hybrid/element_sizes.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/product_bytes.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

namespace {

TEST(HybridParams, RefusesPastTheLimitWithoutTheTables) {
  // The direct transform past its last row: refused.
  const uint64_t last = FftSizeTable[fftSizeRowCount - 1].capacity;
  SizeCode code = 0;
  uint32_t bits = 0;
  EXPECT_EQ(fftParamsFor(last / 2, &code, &bits), 0u);
  EXPECT_EQ(fftParamsFor(last / 2 + 1, &code, &bits), 1u);
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
  // Past the last rows of the build's tables, both are the search.
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

TEST(ProductBytesDeath, PastTheTablesIsFatal) {
  EXPECT_EXIT((consoleToStandardError(), fftProductBytes(24159191040ull / 64 + 1)),
              ::testing::ExitedWithCode(1), "Maximum FFT size Exceeded\\.");
  EXPECT_EXIT((consoleToStandardError(), hybridProductBytes(hybridProductWordsLimit + 1, 0)),
              ::testing::ExitedWithCode(1),
              "Maximum supported multiplication size has been exceeded\\.");
}

TEST(ProductBytes, PeakCoversEveryRowBelow) {
  const HybridParamTable none = {nullptr, 0};
  // Just above row 335413248 the next row needs less memory; the peak keeps the first's.
  uint64_t first = hybridProductBytesWith(none, multiplyTable, 335413248, 0);
  uint64_t above = hybridProductBytesWith(none, multiplyTable, 335413249, 0);
  EXPECT_LT(above, first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 335413249, 0), first);
  EXPECT_GE(hybridPeakBytesWith(none, multiplyTable, 352256000, 3),
            hybridProductBytesWith(none, multiplyTable, 335413248, 3));
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

}  // namespace
