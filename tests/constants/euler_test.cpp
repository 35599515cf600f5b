// Euler's constant: the term counts of its series and the leaf of series A
// and B.
#include "constants/euler.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "constants/series.h"
#include "support/test_arena.h"

namespace {

bool sameNumber(const SplitNumber& a, const SplitNumber& b) {
  return a.stripped == b.stripped && a.length == b.length &&
         (a.length == 0 || std::memcmp(a.words, b.words, 4 * a.length) == 0);
}

}  // namespace

// The leaf builds a range term by term: its x, q, y, z are those the merges
// of one-term leaves give, also where the indices and powers are large and
// where the range outgrows the leaf's words (then the range is split).
TEST(EulerSeries, LeafOfManyTermsEqualsMergedSingleTerms) {
  TestArena arena(8 << 20);
  const std::pair<uint64_t, uint64_t> ranges[] = {
      {0, 1}, {0, 16}, {5, 12}, {1000, 1016}, {(1ull << 32) - 9, (1ull << 32) + 7}, {3, 203}};
  for (uint32_t k : {5u, 20u, 63u}) {
    const SeriesKind* kind = eulerSeriesKind(k);
    SeriesKind single = *kind;
    single.leafTerms = 1;
    for (auto [a, b] : ranges) {
      SplitRecord fast, merged;
      seriesSerialLayer(&arena.heap, kind, a, b, &fast, seriesWantP);
      seriesSerialLayer(&arena.heap, &single, a, b, &merged, seriesWantP);
      EXPECT_TRUE(sameNumber(fast.p, merged.p)) << "x " << k << " " << a;
      EXPECT_TRUE(sameNumber(fast.q, merged.q)) << "q " << k << " " << a;
      EXPECT_TRUE(sameNumber(fast.r[0], merged.r[0])) << "y " << k << " " << a;
      EXPECT_TRUE(sameNumber(fast.r[1], merged.r[1])) << "z " << k << " " << a;
      splitRecordRelease(&merged);
      splitRecordRelease(&fast);
    }
  }
}

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
