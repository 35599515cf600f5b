// e: the iterative leaves and the sums of its three series against GMP, the
// values of the compute steps against MPFR, and a table of whole runs of the
// entry (all three algorithms, one to eight threads, Ram Only and Basic
// Swap): MPFR's digits in both radixes and the memory estimate against the
// arena's measured peak.
#include "constants/e.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/series.h"
#include "shell/estimate.h"
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

using constant_test::numberIs;

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

void setE(mpfr_t x, uint32_t) {
  mpfr_set_ui(x, 1, MPFR_RNDN);
  mpfr_exp(x, x, MPFR_RNDZ);
}

// e's text as the writers lay it out, one evaluation per size and radix.
const std::string& mpfrEText(uint64_t digits, int base) {
  static std::map<std::pair<uint64_t, int>, std::string> texts;
  auto [at, fresh] = texts.try_emplace({digits, base});
  if (fresh) at->second = constant_test::mpfrText(setE, 0, digits, base);
  return at->second;
}

// The driver's figure: the Ram Only need covers a swap run too.
uint64_t eEstimate(const ComputeSettings* s) {
  return std::max(eSeriesPeak(s->algorithm, s->wordCount, s->threadPower),
                  estimateConversion(s->wordCount, s->threadPower));
}

// The compute step of an algorithm alone, into x.
void computeStep(Heap* heap, uint32_t algorithm, BigFloat* x, uint64_t words, uint32_t threads) {
  if (algorithm == eComputeVerify) {
    BigFloat y;
    computeEVerify(heap, x, &y, words, threads, computeModeRamOnly, 0);
    bigFloatDestroy(&y);
  } else if (algorithm == eExpMinusOne) {
    computeEExpMinusOne(heap, x, words, threads, computeModeRamOnly, 0);
  } else {
    computeEExpOne(heap, x, words, threads, computeModeRamOnly, 0);
  }
}

const uint32_t allAlgorithms[] = {eExpOne, eExpMinusOne, eComputeVerify};

}  // namespace

// The leaves term by term, and the thread layer over ranges of all sizes,
// past the word bound too, against GMP.
TEST(ESeries, LeavesAndRangesAgreeWithGmp) {
  testbridge::Random random = testbridge::testRandom();
  Heap heap;
  heapInit(nullptr, &heap, 32 << 20);
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
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
  releaseFftTables();
}

TEST(ECompute, EveryFormulaIsGoodToTheGuardWords) {
  buildFftTables(3000);
  Heap heap;
  heapInit(nullptr, &heap, 64 << 20);
  for (uint64_t words : {1ull, 2ull, 5ull, 64ull, 333ull, 2049ull}) {
    BigFloat plus, minus, first, second;
    computeEExpOne(&heap, &plus, words, 0, computeModeRamOnly, 0);
    computeEExpMinusOne(&heap, &minus, words, 1, computeModeRamOnly, 0);
    computeEVerify(&heap, &first, &second, words, 0, computeModeRamOnly, 0);
    mpfr_t a, e;
    mpfr_inits2(mpfr_prec_t(32 * words + 256), a, e, (mpfr_ptr)0);
    mpfr_set_ui(e, 1, MPFR_RNDN);
    mpfr_exp(e, e, MPFR_RNDN);
    for (BigFloat* x : {&plus, &minus, &first, &second}) {
      ASSERT_EQ(x->exponent + int64_t(x->mantissa.length), 1) << words;
      Number m;
      testbridge::toMpz(m.z, x->mantissa.words, x->mantissa.length);
      mpfr_set_z(a, m.z, MPFR_RNDN);
      mpfr_mul_2si(a, a, long(32 * x->exponent), MPFR_RNDN);
      mpfr_sub(a, a, e, MPFR_RNDN);
      // Good to the caller's words: the two guard words absorb the error.
      EXPECT_LT(mpfr_get_exp(a), -32 * long(words)) << words;
    }
    EXPECT_EQ(second.mantissa.length, plus.mantissa.length);
    EXPECT_EQ(0, memcmp(second.mantissa.words, plus.mantissa.words, 4 * plus.mantissa.length));
    mpfr_clears(a, e, (mpfr_ptr)0);
    for (BigFloat* x : {&second, &first, &minus, &plus}) bigFloatDestroy(x);
  }
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
  releaseFftTables();
}

// The compute step alone: on one thread its arena peak against the series
// figure, at sizes spread over the transform rows below the hybrid range;
// on threads, where the high-water mark is set by where the halves' heaps
// lie and not by use, it fits an arena of the series figure and not a byte
// more.
TEST(EMemory, ComputeStepFitsTheSeriesFigureClosely) {
  const uint32_t saved = globalThreadPower;
  for (uint32_t algorithm : allAlgorithms) {
    for (uint64_t words = 1000; words < 12600; words += 277) {
      buildFftTables(words + 100);
      const uint64_t estimate = eSeriesPeak(algorithm, words, 0);
      Heap heap;
      heapInit(nullptr, &heap, estimate + 1048576);
      BigFloat x;
      computeStep(&heap, algorithm, &x, words, 0);
      bigFloatDestroy(&x);
      const double ratio = double(estimate) / double(heap.peakUsed - heap.base);
      heapDestroy(&heap);
      releaseFftTables();
      EXPECT_GE(ratio, 1.0) << "algorithm " << algorithm << " words " << words;
      EXPECT_LE(ratio, 1.25) << "algorithm " << algorithm << " words " << words;
    }
    for (uint32_t threads : {1u, 2u, 3u}) {
      globalThreadPower = threads;
      for (uint64_t words : {1500ull, 6007ull, 12001ull}) {
        buildFftTables(words + 100);
        Heap heap;
        heapInit(nullptr, &heap, eSeriesPeak(algorithm, words, threads));
        BigFloat x;
        computeStep(&heap, algorithm, &x, words, threads);
        EXPECT_EQ(x.exponent + int64_t(x.mantissa.length), 1);
        bigFloatDestroy(&x);
        EXPECT_EQ(heap.activeBlocks, 0u);
        heapDestroy(&heap);
        releaseFftTables();
      }
    }
    globalThreadPower = saved;
  }
}

// Whole runs: both radixes equal MPFR's (both labels for compute and
// verify), whatever the threads and the mode; on one thread in Ram Only the
// driver's figure covers the arena's peak, writers and conversion included,
// within a quarter from 12345 digits. Basic Swap leaves no swap file.
TEST(ERuns, EveryAlgorithmThreadCountAndModeAgainstMpfr) {
  struct Case { uint64_t digits; uint32_t threadPower, mode; };
  const Case cases[] = {{1000, 0, computeModeRamOnly},    {1000, 1, computeModeRamOnly},
                        {12345, 0, computeModeRamOnly},   {12345, 1, computeModeRamOnly},
                        {30001, 0, computeModeRamOnly},   {50001, 0, computeModeRamOnly},
                        {100001, 0, computeModeRamOnly},  {40000, 2, computeModeRamOnly},
                        {40000, 3, computeModeRamOnly},   {1000, 1, computeModeBasicSwap},
                        {50001, 1, computeModeBasicSwap}};
  for (uint32_t algorithm : allAlgorithms) {
    for (const Case& c : cases) {
      SCOPED_TRACE(::testing::Message() << "algorithm " << algorithm << " digits " << c.digits
                                        << " threadPower " << c.threadPower << " mode " << c.mode);
      constant_test::ConstantRun run(constantE, algorithm, 0, c.digits, c.threadPower, c.mode,
                                     eEstimate);
      run.run(computeE);
      const std::string& decimal = mpfrEText(c.digits, 10);
      const std::string& hex = mpfrEText(run.settings.hexDigits, 16);
      for (uint32_t label = 0; label < (algorithm == eComputeVerify ? 2u : 1u); label++) {
        EXPECT_TRUE(run.text(10, label) == decimal) << "decimal file " << label;
        EXPECT_TRUE(run.text(16, label) == hex) << "hexadecimal file " << label;
      }
      if (c.threadPower == 0 && c.digits >= 12345) {
        const double ratio = double(run.settings.memoryNeeded) / double(run.peakBytes());
        EXPECT_GE(ratio, 1.0);
        EXPECT_LE(ratio, 1.25);
      }
      if (algorithm != eComputeVerify || c.digits != 50001 || c.mode != computeModeRamOnly) continue;
      // The lines of compute and verify, in their order.
      const uint64_t words = run.settings.wordCount + 2;
      const uint64_t terms = termsForWords(words, eSeriesKind(eComputeVerify));
      const std::string digits = formatGrouped(uint64_t(double(words) * 9.632959861247397) + 1, 0);
      size_t at = 0;
      for (const std::string& line :
           {"Summing Series:  " + formatGrouped(terms, 0) + " terms\n",
            std::string("Final Division - 1/exp(-1)...\n"), std::string("Iterating: "),
            "Multiplying...    ( " + digits + " )", std::string("Final Division - exp(1)...\n"),
            std::string("Compute + Verify:  ")}) {
        const size_t found = run.console.find(line, at);
        ASSERT_NE(found, std::string::npos) << line << run.console;
        at = found;
      }
    }
  }
}
