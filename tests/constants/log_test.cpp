// Log(2) and Log(10): the ArcCoth leaf in both widths against GMP, ArcCoth
// values against MPFR, whole runs of the entry against MPFR's digits (every
// algorithm, one and two threads, Ram Only and Basic Swap), and the memory
// estimate against the arena's measured peak.
#include "constants/log.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "constant_run.h"
#include "constants/series.h"
#include "series_check.h"
#include "shell/estimate.h"
#include "shell/estimate_logs.h"

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

void setLog(mpfr_t v, uint32_t constantId) {
  mpfr_set_ui(v, constantId == constantLog10 ? 10 : 2, MPFR_RNDN);
  mpfr_log(v, v, MPFR_RNDZ);
}

std::string logText(uint32_t constantId, uint64_t digits, int base) {
  return series_check::mpfrText([constantId](mpfr_t v) { setLog(v, constantId); }, digits, base);
}

uint64_t logEstimate(const ComputeSettings* s) {
  return std::max(logSeriesPeak(s->constantId, s->algorithm, s->wordCount, s->threadPower),
                  estimateConversion(s->wordCount, s->threadPower));
}

struct LogRun : constant_test::ConstantRun {
  LogRun(uint32_t id, uint32_t algorithm, uint64_t digits, uint32_t threads, uint32_t mode)
      : ConstantRun(id, algorithm, 0, digits, threads, mode, logEstimate) {
    run(computeLog);
  }
};

}  // namespace

TEST(ArcCoth, LeafInBothWidthsAgreesWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  Heap heap;
  heapInit(nullptr, &heap, 1 << 20);
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
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

TEST(ArcCoth, ValuesAgreeWithMpfrAtSmallAndPlannedSizes) {
  // From a few words, where 8749's series has under 100 terms and skips the
  // plan, to sizes with several blocks; one and two threads.
  Heap heap;
  heapInit(nullptr, &heap, 64 << 20);
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
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

TEST(LogRuns, EveryAlgorithmOnOneAndTwoThreadsWritesMpfrsDigits) {
  for (uint32_t id : {constantLog2, constantLog10}) {
    for (uint64_t digits : {1000ull, 23457ull}) {
      const std::string decimal = logText(id, digits, 10);
      const std::string hex = logText(id, uint64_t(double(digits) * 0.8304820237218407) + 1, 16);
      for (uint32_t algorithm : {0u, 1u, 2u}) {
        for (uint32_t threads : {0u, 1u}) {
          LogRun run(id, algorithm, digits, threads, computeModeRamOnly);
          SCOPED_TRACE("constant " + std::to_string(id) + " algorithm " +
                       std::to_string(algorithm) + " threads " + std::to_string(threads));
          EXPECT_EQ(run.text(10), decimal);
          EXPECT_EQ(run.text(16), hex);
          if (algorithm == 2) {
            EXPECT_EQ(run.text(10, 1), decimal);
            EXPECT_EQ(run.text(16, 1), hex);
            EXPECT_NE(run.console.find("Compute + Verify:  "), std::string::npos);
          }
          EXPECT_NE(run.console.find("ArcCoth( 4801 ):  "), std::string::npos);
        }
      }
    }
  }
}

TEST(LogRuns, BasicSwapWritesTheSameDigits) {
  for (uint32_t id : {constantLog2, constantLog10}) {
    for (uint32_t algorithm : {0u, 2u}) {
      if ((id == constantLog2) != (algorithm == 2)) continue;
      const uint64_t digits = 20001;
      LogRun run(id, algorithm, digits, 1, computeModeBasicSwap);
      EXPECT_EQ(run.text(10), logText(id, digits, 10));
      EXPECT_EQ(run.text(16), logText(id, run.settings.hexDigits, 16));
      if (algorithm == 2) {
        EXPECT_EQ(run.text(10, 1), run.text(10));
      }
    }
  }
}
