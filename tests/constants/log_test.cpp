// Log(2) and Log(10): the ArcCoth leaf in both widths against GMP, and
// ArcCoth values against MPFR.
#include "constants/log.h"

#include <gtest/gtest.h>


#include "constants/compute_settings.h"
#include "constants/series.h"
#include "memory/heap.h"
#include "series_check.h"
#include "support/test_arena.h"

namespace {

using series_check::Number;

const uint32_t allX[] = {26, 99, 251, 449, 4801, 8749};

series_check::TermFunction arcCothTerm(uint32_t x) {
  return [x](uint64_t k, mpz_t p, mpz_t q, mpz_t r) {
    series_check::setIndex(p, k);
    mpz_mul_ui(p, p, 2);
    mpz_add_ui(p, p, 1);
    mpz_mul_ui(q, p, uint64_t(x) * x);
    mpz_set_ui(r, 1);
  };
}

}  // namespace

TEST(ArcCoth, LeafInBothWidthsAgreesWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  TestArena arena(1 << 20);
  Heap& heap = arena.heap;
  std::vector<uint64_t> starts = {0, 1, 2, arcCothLimit32 - 9, arcCothLimit32 - 3,
                                  arcCothLimit32, uint64_t(1) << 40};
  for (int i = 0; i < 12; i++) starts.push_back(random.logUniform(1, uint64_t(1) << 50));
  for (uint32_t x : allX) {
    const SeriesKind* kind = arcCothSeriesKind(x);
    ASSERT_NE(kind, nullptr);
    for (uint64_t a : starts) {
      for (uint64_t terms = 1; terms <= arcCothLeafTerms; terms++) {
        SplitRecord record;
        ASSERT_TRUE(kind->leaf(&heap, kind, a, a + terms, &record, seriesWantP));
        Number p, q, r;
        series_check::exactRange(arcCothTerm(x), a, a + terms, p.z, q.z, r.z);
        EXPECT_TRUE(series_check::numberIs(record.p, p.z, "P")) << x << " " << a << " " << terms;
        EXPECT_TRUE(series_check::numberIs(record.q, q.z, "Q")) << x << " " << a << " " << terms;
        EXPECT_TRUE(series_check::numberIs(record.r[0], r.z, "R")) << x << " " << a << " " << terms;
        splitRecordRelease(&record);
      }
    }
    SplitRecord record;
    EXPECT_FALSE(kind->leaf(&heap, kind, 3, 4 + arcCothLeafTerms, &record, 0));
  }
  EXPECT_EQ(arcCothSeriesKind(7), nullptr);
}

TEST(ArcCoth, ValuesAgreeWithMpfrAtSmallAndPlannedSizes) {
  // From a few words, where 8749's series has under 100 terms and skips the
  // plan, to sizes with several blocks; one and two threads.
  TestArena arena(64 << 20);
  Heap& heap = arena.heap;
  for (uint64_t words : {3ull, 40ull, 301ull, 4099ull}) {
    for (uint32_t x : allX) {
      BigFloat value;
      arcCothSum(&heap, &value, x, words, words & 1, computeModeRamOnly, 0);
      mpfr_t want;
      mpfr_init2(want, mpfr_prec_t(32 * words + 128));
      mpfr_set_ui(want, x, MPFR_RNDN);
      mpfr_ui_div(want, 1, want, MPFR_RNDN);
      mpfr_atanh(want, want, MPFR_RNDN);
      EXPECT_LT(series_check::errorBits(value, want), -32 * long(words - 1)) << x << " " << words;
      mpfr_clear(want);
      bigFloatDestroy(&value);
    }
  }
  EXPECT_LT(termsForWords(40, arcCothSeriesKind(8749)), 100u);
}
