// Euler's constant: the term counts of its series.
#include "constants/euler.h"

#include <gtest/gtest.h>

#include <cmath>


#include "constants/series.h"


TEST(EulerSeries, TermCounts) {
  // The N-th term of series A and B lies W words below the largest one, the
  // one before it not yet; the M-th term of series C is below -Wc words.
  for (uint32_t k : {5u, 9u, 17u}) {
    for (uint64_t words : {3ull, 40ull, 5000ull}) {
      const uint64_t n = uint64_t(1) << k;
      const uint64_t terms = eulerMainTerms(k, words);
      const long double top = truncl(eulerTermWords(k, (long double)n));
      EXPECT_GE(terms, n);
      EXPECT_LE(truncl(eulerTermWords(k, (long double)terms)), top - (long double)words);
      EXPECT_GT(truncl(eulerTermWords(k, (long double)(terms - 1))), top - (long double)words);
      const uint64_t m = eulerCorrectionTerms(k, words);
      EXPECT_GE(m, 1u);
      EXPECT_LE(m, 2 * n);
    }
  }
  EXPECT_EQ(eulerCorrectionSkipWords(5), 5u);
}
