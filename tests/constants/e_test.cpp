// e: the iterative leaves and the sums of its three series against GMP.
#include "constants/e.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "constants/compute_settings.h"
#include "platform/threads.h"
#include "series_check.h"
#include "support/test_arena.h"
#include "constants/series.h"
#include "shell/estimate_e.h"
#include "support/gmp_bridge.h"

namespace {

using testbridge::Number;

// P of exp(1), P of exp(-1) (magnitude) and Q over (a, b], term by term:
// P = P k +/- 1, Q = Q k.
void exactRange(uint64_t a, uint64_t b, mpz_t plus, mpz_t minus, mpz_t q) {
  mpz_set_ui(plus, 0);
  mpz_set_ui(minus, 0);
  mpz_set_ui(q, 1);
  Number kk;
  for (uint64_t k = a + 1; k <= b; k++) {
    mpz_import(kk.z, 1, -1, 8, 0, 0, &k);
    mpz_mul(plus, plus, kk.z);
    mpz_add_ui(plus, plus, 1);
    mpz_mul(minus, minus, kk.z);
    ((k - a - 1) & 1 ? mpz_sub_ui : mpz_add_ui)(minus, minus, 1);
    mpz_mul(q, q, kk.z);
  }
}

using series_check::numberIs;

// The numbers of (a, b] as the algorithm's record holds them.
::testing::AssertionResult recordIs(uint32_t algorithm, const SplitRecord& record, uint64_t a,
                                    uint64_t b) {
  Number plus, minus, q;
  exactRange(a, b, plus.z, minus.z, q.z);
  auto result = numberIs(record.q, q.z, "Q");
  if (result && algorithm != eExpMinusOne) result = numberIs(record.r[0], plus.z, "P(exp(1))");
  if (result && algorithm == eExpMinusOne) result = numberIs(record.r[0], minus.z, "P(exp(-1))");
  if (result && algorithm == eComputeVerify) result = numberIs(record.r[1], minus.z, "P(exp(-1))");
  if (!result) result << " over (" << a << ", " << b << "], algorithm " << algorithm;
  return result;
}

const uint32_t allAlgorithms[] = {eExpOne, eExpMinusOne, eComputeVerify};

}  // namespace

// The leaves term by term, and the thread layer over ranges of all sizes,
// past the word bound too, against GMP.
TEST(ESeries, LeavesAndRangesAgreeWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  TestArena arena(32 << 20);
  Heap& heap = arena.heap;
  std::vector<uint64_t> starts = {1, 2, 3, 0xfffffff0ull, 0xfffffffe - 9, 0xfffffffe - 2};
  for (int i = 0; i < 30; i++) starts.push_back(random.logUniform(1, 0xfffffff0ull));
  for (uint32_t algorithm : allAlgorithms) {
    const SeriesKind* kind = eSeriesKind(algorithm);
    for (uint64_t a : starts) {
      for (uint64_t terms = 1; terms <= eLeafTerms; terms++) {
        const uint64_t b = a + terms;
        SplitRecord record;
        if (b > 0xfffffffeull && terms > 1) {
          // Factors past a word: refused, for the serial layer to split.
          EXPECT_FALSE(kind->leaf(&heap, kind, a, b, &record, 0)) << a << " " << b;
          continue;
        }
        ASSERT_TRUE(kind->leaf(&heap, kind, a, b, &record, 0)) << a << " " << b;
        ASSERT_TRUE(recordIs(algorithm, record, a, b));
        EXPECT_TRUE(record.p.base == nullptr);
        splitRecordRelease(&record);
      }
    }
    SplitRecord record;
    EXPECT_FALSE(kind->leaf(&heap, kind, 5, 5 + eLeafTerms + 1, &record, 0));
  }
  buildFftTables(20000);
  const std::pair<uint64_t, uint64_t> ranges[] = {
      {1, 2}, {1, 33}, {1, 5000}, {777, 1999}, {0xfffffff0ull, 0xfffffff0ull + 40},
      {0xffffffffull * 3, 0xffffffffull * 3 + 77}};
  for (uint32_t algorithm : allAlgorithms) {
    for (auto [a, b] : ranges) {
      SplitRecord record;
      seriesThreadLayer(&heap, eSeriesKind(algorithm), a, b, &record, 2, 0);
      ASSERT_TRUE(recordIs(algorithm, record, a, b));
      splitRecordRelease(&record);
    }
  }
  // A word count so small that N is 1: the empty sum, Q = 1 and P = 0.
  SplitFloats sum;
  EXPECT_EQ(sumSeries(&heap, eSeriesKind(eExpOne), &sum, 0, 0, 1, 0), 1u);
  EXPECT_EQ(sum.q.mantissa.length, 1u);
  EXPECT_EQ(sum.q.mantissa.words[0], 1u);
  EXPECT_TRUE(bigFloatIsZero(sum.r[0]));
  splitFloatsRelease(&sum);
  releaseFftTables();
}

