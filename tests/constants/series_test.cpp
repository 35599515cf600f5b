// The binary splitting machinery on a series of its own: P(k) = k,
// Q(k) = 3k + 1, R(k) = k + 5, with and without alternating signs. Its
// numbers of any range are known exactly from GMP, so the integer layers are
// checked word for word; the whole summation (plans of several blocks,
// truncated float blocks) is checked against the exact sum and against
// itself across thread counts, failed thread creation and Basic Swap.
#include "constants/series.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "series_check.h"
#include "support/gmp_bridge.h"
#include "support/run_program.h"
#include "support/swap_folders.h"
#include "support/test_arena.h"

namespace {

using testbridge::Number;

struct TestTerms {
  bool alternating;
};

// Exact numbers of (a, b] by the recurrence on the last term:
// R(a,b) = R(a,b-1) Q(b) +/- P(a,b-1) R(b), minus when b - 1 - a is odd in
// an alternating series; R is the magnitude (the first term dominates).
// Long ranges are cut in two and joined by the same rule, for speed.
void exactRange(bool alternating, uint64_t a, uint64_t b, mpz_t p, mpz_t q, mpz_t r) {
  if (b - a > 64) {
    const uint64_t m = a + (b - a) / 2;
    Number p2, q2, r2;
    exactRange(alternating, a, m, p, q, r);
    exactRange(alternating, m, b, p2.z, q2.z, r2.z);
    mpz_mul(r, r, q2.z);
    mpz_mul(r2.z, r2.z, p);
    (alternating && ((m - a) & 1) ? mpz_sub : mpz_add)(r, r, r2.z);
    mpz_mul(p, p, p2.z);
    mpz_mul(q, q, q2.z);
    return;
  }
  mpz_set_ui(p, 1);
  mpz_set_ui(q, 1);
  mpz_set_ui(r, 0);
  Number t;
  for (uint64_t k = a + 1; k <= b; k++) {
    mpz_mul_ui(r, r, 3 * k + 1);
    mpz_mul_ui(t.z, p, k + 5);
    (alternating && ((k - 1 - a) & 1) ? mpz_sub : mpz_add)(r, r, t.z);
    mpz_mul_ui(p, p, k);
    mpz_mul_ui(q, q, 3 * k + 1);
  }
}

// A number of the record from a GMP value.
void numberFromMpz(Heap* heap, SplitNumber* number, const mpz_t value) {
  const uint64_t words = (mpz_sizeinbase(value, 2) + 31) / 32;
  uint32_t* array = splitNumberAllocate(heap, number, words + 1);
  size_t count = 0;
  mpz_export(array, &count, -1, 4, 0, 0, value);
  splitNumberFinish(number, count);
}

// The leaf takes up to three terms, through GMP.
bool testLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
              uint32_t wantP) {
  if (last - first > kind->leafTerms) return false;
  const TestTerms* terms = static_cast<const TestTerms*>(kind->context);
  Number p, q, r;
  exactRange(terms->alternating, first, last, p.z, q.z, r.z);
  splitRecordSetZero(out);
  if (wantP) numberFromMpz(heap, &out->p, p.z);
  numberFromMpz(heap, &out->q, q.z);
  numberFromMpz(heap, &out->r[0], r.z);
  return true;
}

// Q(0, n) = prod (3k + 1), about 3^n n! by size.
long double testSizeWords(long double n) {
  return (n * 1.0986122886681098L + lnFactorial(n)) * wordsPerNaturalLog;
}
long double testSizePWords(long double n) {
  return lnFactorial(n) * wordsPerNaturalLog;
}

const TestTerms plainTerms = {false};
const TestTerms alternatingTerms = {true};

// Each term gains log2(3) bits in the limit: 32 / log2(3) terms a word.
constexpr long double testTermsPerWord = 20.189752114286097L;

SeriesKind makeKind(bool alternating) {
  SeriesKind kind = {};
  kind.numerators = 1;
  kind.hasP = 1;
  kind.alternatingMask = alternating ? 1 : 0;
  kind.leafTerms = 3;
  kind.floatLeafTerms = 8;
  kind.termsPerWord = testTermsPerWord;
  kind.sizeWords = testSizeWords;
  kind.sizePWords = testSizePWords;
  kind.leaf = testLeaf;
  kind.context = alternating ? &alternatingTerms : &plainTerms;
  return kind;
}

const SeriesKind plainKind = makeKind(false);
const SeriesKind alternatingKind = makeKind(true);

using Arena = TestArena;
using series_check::numberIs;

::testing::AssertionResult recordIs(const SeriesKind& kind, const SplitRecord& record, uint64_t a,
                                    uint64_t b, bool withP) {
  Number p, q, r;
  exactRange(kind.alternatingMask != 0, a, b, p.z, q.z, r.z);
  auto result = numberIs(record.q, q.z, "Q");
  if (result) result = numberIs(record.r[0], r.z, "R");
  if (result && withP) result = numberIs(record.p, p.z, "P");
  if (result && !withP && record.p.base != nullptr) {
    result = ::testing::AssertionFailure() << "P built without being asked for";
  }
  if (!result) result << " over (" << a << ", " << b << "]";
  return result;
}

bool sameFloat(const BigFloat& x, const BigFloat& y) {
  return x.positive == y.positive && x.exponent == y.exponent &&
         x.mantissa.length == y.mantissa.length &&
         std::equal(x.mantissa.words, x.mantissa.words + x.mantissa.length, y.mantissa.words);
}

// log2 of |R/Q - exact sum over (0, N]| relative to the sum.
double relativeErrorBits(const SeriesKind& kind, SplitFloats* sum, uint64_t terms) {
  Number p, q, r;
  exactRange(kind.alternatingMask != 0, 0, terms, p.z, q.z, r.z);
  const mpfr_prec_t bits = mpfr_prec_t(mpz_sizeinbase(q.z, 2) + 256);
  mpfr_t exact, got, qq;
  mpfr_inits2(bits, exact, got, qq, (mpfr_ptr)0);
  mpfr_set_z(exact, r.z, MPFR_RNDN);
  mpfr_div_z(exact, exact, q.z, MPFR_RNDN);
  // The range starts at index 1: odd, so an alternating R is negative.
  if (kind.alternatingMask) mpfr_neg(exact, exact, MPFR_RNDN);
  series_check::mpfrFromFloat(got, sum->r[0]);
  series_check::mpfrFromFloat(qq, sum->q);
  mpfr_prec_round(got, bits, MPFR_RNDN);
  mpfr_div(got, got, qq, MPFR_RNDN);
  mpfr_sub(got, got, exact, MPFR_RNDN);
  mpfr_div(got, got, exact, MPFR_RNDN);
  double result = mpfr_zero_p(got) ? -1e9 : double(mpfr_get_exp(got));
  mpfr_clears(exact, got, qq, (mpfr_ptr)0);
  return result;
}

}  // namespace

// A plan covers the terms with blocks of falling precision and rising
// shifts; the first block ends where its Q outgrows the precision left, far
// enough down the blocks are truncated, and a big budget never asks for
// swap. A small one halves each block's need until it fits.
TEST(SeriesPlans, BlocksCoverTheTermsAndHalveTheNeedToTheBudget) {
  for (uint32_t mode : {0u, 1u, 2u}) {
    for (uint64_t words : {50ull, 4000ull, 300000ull}) {
      SeriesPlan plan;
      seriesPlanInit(&plan, 1);  // grows by doubling
      const uint64_t terms = buildSeriesPlan(&plan, &plainKind, 1ull << 40, words, 1, mode);
      ASSERT_EQ(terms, termsForWords(words, &plainKind));
      ASSERT_GE(plan.count, 2u);
      uint64_t start = 0;
      for (uint64_t i = 0; i < plan.count; i++) {
        const SeriesBlock& block = plan.blocks[i];
        EXPECT_EQ(block.first, start) << i;
        EXPECT_GT(block.last, block.first) << i;
        const long double left = (long double)words - (long double)block.first / testTermsPerWord;
        EXPECT_EQ(block.precision, uint64_t(std::max(left, 0.0L))) << i;
        EXPECT_EQ(block.reserved + block.swapLevels + block.swapFlag, 0u) << i;
        if (i > 0) {
          EXPECT_GE(block.shift, plan.blocks[i - 1].shift) << i;
        }
        if (block.shift != 0 || mode == 0) {
          EXPECT_EQ(block.topLevels, 0u) << i;
        }
        if (i == 0 && mode != 0) {
          EXPECT_EQ(block.topLevels, seriesTopLevels(words, 1));
        }
        start = block.last;
      }
      EXPECT_EQ(start, terms);
      const SeriesBlock& first = plan.blocks[0];
      const long double w = 1.0L / testTermsPerWord;
      EXPECT_LE((long double)words - w * first.last, testSizeWords(first.last));
      EXPECT_GT((long double)words - w * (first.last - 1), testSizeWords(first.last - 1));
      if (words >= 4000) {
        EXPECT_GT(plan.blocks[plan.count - 1].shift, 0u) << words;
      }
      seriesPlanRelease(&plan);
    }
  }
  SeriesPlan plan;
  seriesPlanInit(&plan, 4);
  const uint64_t budget = 1000000;
  buildSeriesPlan(&plan, &plainKind, budget, 300000, 1, 2);
  for (uint64_t i = 0; i < plan.count; i++) {
    const SeriesBlock& b = plan.blocks[i];
    const uint64_t need = seriesBlockNeed(&plainKind, b.first, b.last, b.precision, 1);
    if (i == 0) {
      // At least the numbers: 4 bytes a word of 2 Q + P, 32 a word of precision.
      const long double numbers = 2 * testSizeWords(b.last) + testSizePWords(b.last);
      ASSERT_GT(need, uint64_t(4 * numbers) + 32 * b.precision);
      ASSERT_GT(b.swapLevels, 0u);
    }
    EXPECT_LE(need >> b.swapLevels, budget) << i;
    if (b.swapLevels > 0) {
      EXPECT_GT(need >> (b.swapLevels - 1), budget) << i;
    }
    EXPECT_EQ(b.swapFlag, b.swapLevels != 0 && 2 * (need >> b.swapLevels) > budget ? 1u : 0u) << i;
  }
  seriesPlanRelease(&plan);
  // A single-block series has one block over (firstIndex, N].
  SeriesKind single = plainKind;
  single.singleBlock = 1;
  single.firstIndex = 1;
  seriesPlanInit(&plan, 4);
  const uint64_t terms = buildSeriesPlan(&plan, &single, 0, 5000, 0, 1);
  ASSERT_EQ(plan.count, 1u);
  const SeriesBlock& only = plan.blocks[0];
  EXPECT_EQ(std::tie(only.first, only.topLevels, only.last, only.precision),
            std::make_tuple(uint64_t(1), 1u, terms, uint64_t(5000)));
  seriesPlanRelease(&plan);
}

// Both layers build the exact numbers of any range, with or without P. A
// failing thread creation prints a warning: none may appear under 1000
// terms, whatever the exponent; at 1000 terms the first split warns and the
// halves run on the caller.
TEST(SeriesLayers, SerialAndThreadedRangesAreExact) {
  buildFftTables(20000);
  testbridge::Random random = testbridge::testRandom();
  Arena arena(64ull << 20);
  std::vector<std::pair<uint64_t, uint64_t>> ranges = {
      {0, 1}, {0, 2}, {0, 3}, {0, 4}, {5, 37}, {0, 99}, {0, 100}, {17, 1017}, {0, 3000}};
  for (int i = 0; i < 6; i++) {
    const uint64_t a = random.logUniform(1, 1ull << 36) - 1;
    ranges.push_back({a, a + random.logUniform(1, 2500)});
  }
  for (const SeriesKind* kind : {&plainKind, &alternatingKind}) {
    for (auto [a, b] : ranges) {
      for (uint32_t wantP : {0u, seriesWantP}) {
        SplitRecord record;
        seriesSerialLayer(&arena.heap, kind, a, b, &record, wantP);
        ASSERT_TRUE(recordIs(*kind, record, a, b, wantP != 0));
        splitRecordRelease(&record);
        seriesThreadLayer(&arena.heap, kind, a, b, &record, 2, wantP);
        ASSERT_TRUE(recordIs(*kind, record, a, b, wantP != 0)) << " threaded";
        splitRecordRelease(&record);
      }
    }
  }
  std::string console;
  consoleCaptureTo(&console);
  threadFailNextSpawnsForTesting(1);
  SplitRecord record;
  seriesThreadLayer(&arena.heap, &alternatingKind, 0, 999, &record, 8, 0);
  splitRecordRelease(&record);
  EXPECT_EQ(console, "");
  seriesThreadLayer(&arena.heap, &alternatingKind, 0, 1000, &record, 8, 0);
  EXPECT_TRUE(recordIs(alternatingKind, record, 0, 1000, false));
  splitRecordRelease(&record);
  consoleCaptureTo(nullptr);
  threadFailNextSpawnsForTesting(0);
  EXPECT_NE(console.find("Warning: Unable to create thread."), std::string::npos);
  releaseFftTables();
}

TEST(SeriesLayers, MergesAlignStrippedWordsAndBorrowThroughTheTop) {
  // Ranges whose products end in many zero words, against ones that end in
  // none; and an alternating merge whose subtraction borrows up the words.
  Arena arena(1ull << 20);
  SplitRecord left, right, out;
  SeriesKind kind = alternatingKind;
  kind.hasP = 0;  // R = R1 Q2 -/+ R2
  auto make = [&](SplitRecord* r, uint64_t q, uint64_t qStrip, uint64_t rv, uint64_t rStrip) {
    splitRecordSetZero(r);
    splitNumberFromU64(&arena.heap, &r->q, q);
    r->q.stripped += qStrip;
    splitNumberFromU64(&arena.heap, &r->r[0], rv);
    r->r[0].stripped += rStrip;
  };
  // R1 Q2 = 2^64 * 2^(32*3), R2 = 1: the odd distance subtracts, the even adds.
  for (auto [distance, add] : {std::pair{1u, false}, {2u, true}}) {
    make(&left, 7, 0, 1, 1);
    make(&right, 1, 2, 1, 0);
    seriesMergeIntegers(&arena.heap, &kind, &left, &right, &out, 0, distance, 0, 0);
    Number want, q;
    mpz_set_ui(want.z, 1);
    mpz_mul_2exp(want.z, want.z, 96);
    (add ? mpz_add_ui : mpz_sub_ui)(want.z, want.z, 1);
    EXPECT_TRUE(numberIs(out.r[0], want.z, "R")) << distance;
    mpz_set_ui(q.z, 7);
    mpz_mul_2exp(q.z, q.z, 64);
    EXPECT_TRUE(numberIs(out.q, q.z, "Q")) << distance;
    splitRecordRelease(&out);
  }
}

// The sum is good to the words asked for (two words of slack for the
// truncated blocks); on 2 and 8 threads, with every thread creation failing
// (the halves run on the caller) and in Basic Swap (the top pages through
// real swap files) it has the same bits as on one thread.
TEST(SeriesSums, ThreadedFallbackAndSwappedSumsAreTheSerialBits) {
  buildFftTables(40000);
  const uint32_t savedPower = globalThreadPower;
  SwapFolders folders(2);
  for (const SeriesKind* kind : {&plainKind, &alternatingKind}) {
    for (uint64_t words : {4ull, 300ull, 2500ull}) {
      Arena arena(128ull << 20);
      SplitFloats serial;
      globalThreadPower = 0;
      const uint64_t terms = sumSeries(&arena.heap, kind, &serial, words, 0, 1, 0);
      EXPECT_LT(relativeErrorBits(*kind, &serial, terms), -32.0 * double(words - 2)) << words;
      std::string console;
      for (uint32_t run = 0; run < 4; run++) {
        const uint32_t threads = run == 0 ? 1 : run == 1 ? 3 : run == 2 ? 2 : 1;
        globalThreadPower = threads;
        if (run == 2) {
          consoleCaptureTo(&console);
          threadFailNextSpawnsForTesting(1000);
        }
        SplitFloats other;
        sumSeries(&arena.heap, kind, &other, words, threads, run == 3 ? 2 : 1, 0);
        if (run == 2) {
          threadFailNextSpawnsForTesting(0);
          consoleCaptureTo(nullptr);
        }
        if (run == 3) splitFloatsLoad(&arena.heap, &other);
        EXPECT_TRUE(sameFloat(serial.q, other.q)) << words << " run " << run;
        EXPECT_TRUE(sameFloat(serial.r[0], other.r[0])) << words << " run " << run;
        splitFloatsRelease(&other);
      }
      // 2500 words make blocks long enough for the thread layer to split.
      if (words == 2500) {
        EXPECT_NE(console.find("Unable to create thread"), std::string::npos);
      }
      splitFloatsRelease(&serial);
    }
  }
  globalThreadPower = savedPower;
  EXPECT_TRUE(folders.empty()) << "swap files left behind";
  releaseFftTables();
}

