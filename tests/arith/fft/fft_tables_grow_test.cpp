// Growing the tables when the memory for a pyramid cannot be had.
#include <gtest/gtest.h>

#include <cstdlib>

#include "arith/fft/fft_tables.h"

TEST(FftTablesGrow, AFailedGrowthKeepsTheTablesItHad) {
  // 2^47 points would take 2^50 bytes, more than any address space: the
  // growth fails, and the tables still serve (only) what they served.
  auto* tables = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  ASSERT_EQ(growFftTables(tables, 40), 0u);
  EXPECT_NE(growFftTables(tables, 4 * 47), 0u);
  EXPECT_EQ(tables->builtCode, 40u);
  EXPECT_GE(pyramidLevelCount(tables->pyramid2), 11u);
  EXPECT_GE(pyramidLevelCount(tables->pyramid3), 9u);
  EXPECT_EQ(growFftTables(tables, 44), 0u);
  EXPECT_EQ(tables->builtCode, 44u);
  releaseFftTablesRecord(tables);
}
