// Zeta(3) and Catalan's constant: the leaves against GMP (the four-number
// records of Ramanujan's Catalan series through a threaded summation), the
// values and the logarithmic term against MPFR.
#include "constants/zeta_catalan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "constants/compute_settings.h"
#include "constants/euler.h"
#include "constants/pi.h"
#include "memory/heap.h"
#include "constants/series.h"
#include "series_check.h"
#include "shell/estimate.h"
#include "support/swap_folders.h"
#include "support/test_arena.h"

namespace {

using series_check::Number;

// out = a k + b, exactly for any k.
void linear(mpz_t out, uint64_t k, uint64_t a, int64_t b) {
  series_check::setIndex(out, k);
  mpz_mul_ui(out, out, a);
  if (b >= 0) {
    mpz_add_ui(out, out, uint64_t(b));
  } else {
    mpz_sub_ui(out, out, uint64_t(-b));
  }
}

// out = (a k + b)(c k + d).
void product(mpz_t out, uint64_t k, uint64_t a, int64_t b, uint64_t c, int64_t d) {
  Number t;
  linear(out, k, a, b);
  linear(t.z, k, c, d);
  mpz_mul(out, out, t.z);
}

// The signed three-record terms of Zeta(3) formula 2, formula 1 and Lupas.
void zetaCatalanTerm(int which, uint64_t k, mpz_t p, mpz_t q, mpz_t r) {
  Number kk, t;
  series_check::setIndex(kk.z, k);
  if (which == 2) {  // Lupas
    mpz_pow_ui(p, kk.z, 3);
    linear(t.z, k, 64, -32);
    mpz_mul(p, p, t.z);
    product(q, k, 4, 1, 4, 3);
    mpz_mul(q, q, q);
    product(t.z, k, 5, 2, 8, 8);
    mpz_add_ui(t.z, t.z, 3);
  } else if (which == 1) {  // Zeta(3), formula 1
    mpz_pow_ui(p, kk.z, 5);
    linear(q, k, 4, 2);
    mpz_pow_ui(q, q, 5);
    product(t.z, k, 205, 250, 1, 0);
    mpz_add_ui(t.z, t.z, 77);
  } else {  // Zeta(3), formula 2
    mpz_pow_ui(p, kk.z, 5);
    linear(t.z, k, 2, -1);
    mpz_pow_ui(t.z, t.z, 3);
    mpz_mul(p, p, t.z);
    product(q, k, 8, 2, 4, 3);
    mpz_pow_ui(q, q, 3);
    product(t.z, k, 9, 3, 3, 2);
    mpz_mul(q, q, t.z);
    const uint64_t c[] = {126392, 412708, 531578, 336367, 104000, 12463};
    mpz_set_ui(t.z, c[0]);
    for (int i = 1; i < 6; i++) {
      mpz_mul(t.z, t.z, kk.z);
      mpz_add_ui(t.z, t.z, c[i]);
    }
  }
  mpz_mul(r, p, t.z);
  if (k & 1) mpz_neg(r, r);
}

void setValue(mpfr_t v, uint32_t id) {
  if (id == constantZeta3) {
    mpfr_zeta_ui(v, 3, MPFR_RNDZ);
  } else {
    mpfr_const_catalan(v, MPFR_RNDZ);
  }
}

// Same sign, exponent and words (a paged-out y is loaded first).
bool sameBits(const BigFloat& x, BigFloat& y) {
  if (bigIntIsPagedOut(y.mantissa)) bigIntLoad(nullptr, &y.mantissa, 0);
  return x.positive == y.positive && x.exponent == y.exponent &&
         x.mantissa.length == y.mantissa.length &&
         std::equal(x.mantissa.words, x.mantissa.words + x.mantissa.length, y.mantissa.words);
}

}  // namespace

TEST(ZetaCatalanSeries, LeavesAndThreadedSumsAgreeWithGmp) {
  TestArena arena(32 << 20);
  Heap& heap = arena.heap;
  const SeriesKind* kinds[] = {zeta3SeriesKind(zeta3Formula2), zeta3SeriesKind(zeta3Formula1),
                               lupasSeriesKind()};
  const std::pair<uint64_t, uint64_t> ranges[] = {
      {0, 1}, {4, 5}, {0, 37}, {1000, 3100}, {lupasIterativeLimit - 21, lupasIterativeLimit + 9},
      {zetaCatalanTermLimit - 40, zetaCatalanTermLimit}};
  for (int which = 0; which < 3; which++) {
    for (auto [a, b] : ranges) {
      SplitRecord record;
      seriesThreadLayer(&heap, kinds[which], a, b, &record, 2, seriesWantP);
      Number p, q, r;
      series_check::exactRange(
          [which](uint64_t k, mpz_t pk, mpz_t qk, mpz_t rk) { zetaCatalanTerm(which, k, pk, qk, rk); },
          a, b, p.z, q.z, r.z);
      EXPECT_TRUE(series_check::numberIs(record.p, p.z, "P")) << which << " " << a;
      EXPECT_TRUE(series_check::numberIs(record.q, q.z, "Q")) << which << " " << a;
      EXPECT_TRUE(series_check::numberIs(record.r[0], r.z, "R")) << which << " " << a;
      splitRecordRelease(&record);
    }
    SplitRecord record;
    EXPECT_FALSE(kinds[which]->leaf(&heap, kinds[which], 3, 4 + kinds[which]->leafTerms, &record, 0));
  }
  // Ramanujan's Catalan series: R / (Qa Qb) is the sum of its terms, each
  // R(k) / (Qa(k) Qb(k)) times the product of P(j) / Qa(j) before it.
  for (auto [a, b] : ranges) {
    SplitRecord record;
    seriesThreadLayer(&heap, catalanRamanujanSeriesKind(), a, b, &record, 2, seriesWantP);
    Number p, qa, qb, r, f, g, t;
    mpz_set_ui(p.z, 1);
    mpz_set_ui(qa.z, 1);
    mpz_set_ui(qb.z, 1);
    for (uint64_t k = a + 1; k <= b; k++) {
      Number kk;
      series_check::setIndex(kk.z, k);
      mpz_mul_ui(f.z, kk.z, 2);
      mpz_sub_ui(f.z, f.z, 1);
      mpz_mul(f.z, f.z, kk.z);  // P(k)
      mpz_mul_ui(t.z, kk.z, 8);
      mpz_sub_ui(t.z, t.z, 6);
      mpz_mul_ui(g.z, kk.z, 4);
      mpz_sub_ui(g.z, g.z, 1);
      mpz_mul(g.z, g.z, t.z);  // Qa(k)
      Number qbk, rk;
      product(qbk.z, k, 4, 1, 4, 3);
      mpz_mul(qbk.z, qbk.z, qbk.z);
      product(rk.z, k, 5, 3, 8, 6);
      mpz_add_ui(rk.z, rk.z, 1);
      mpz_mul(rk.z, rk.z, f.z);
      // R = R Qa(k) Qb(k) + P Qb R(k) ... kept as R / (Qa Qb) with P / Qa.
      mpz_mul(r.z, r.z, g.z);
      mpz_mul(r.z, r.z, qbk.z);
      mpz_mul(rk.z, rk.z, p.z);
      mpz_mul(rk.z, rk.z, qb.z);
      mpz_add(r.z, r.z, rk.z);
      mpz_mul(p.z, p.z, f.z);
      mpz_mul(qa.z, qa.z, g.z);
      mpz_mul(qb.z, qb.z, qbk.z);
    }
    EXPECT_TRUE(series_check::numberIs(record.p, p.z, "P")) << a;
    EXPECT_TRUE(series_check::numberIs(record.q, qa.z, "Qa")) << a;
    EXPECT_TRUE(series_check::numberIs(record.r[1], qb.z, "Qb")) << a;
    EXPECT_TRUE(series_check::numberIs(record.r[0], r.z, "R")) << a;
    splitRecordRelease(&record);
  }
}

TEST(ZetaCatalanCompute, ValuesAtSmallSizesAndTheLogTerm) {
  // Under 100 terms the summation skips the plan; Ramanujan's formula still
  // runs the AGM.
  TestArena arena(64 << 20);
  Heap& heap = arena.heap;
  mpfr_t want;
  for (uint64_t words : {1ull, 5ull, 200ull, 3001ull}) {
    mpfr_init2(want, mpfr_prec_t(32 * words + 256));
    for (uint32_t id : {constantZeta3, constantCatalan}) {
      setValue(want, id);
      for (uint32_t algorithm : {0u, 1u}) {
        BigFloat value;
        if (id == constantZeta3) {
          zeta3Compute(&heap, &value, words, words & 1, algorithm, computeModeRamOnly, 0);
        } else {
          catalanCompute(&heap, &value, words, words & 1, algorithm, computeModeRamOnly, 0);
        }
        EXPECT_LT(series_check::errorBits(value, want), -32 * long(words))
            << id << " " << algorithm << " " << words;
        bigFloatDestroy(&value);
      }
    }
    mpfr_clear(want);
  }
  EXPECT_LT(termsForWords(5 + 2, catalanRamanujanSeriesKind()), 100u);
  // The log term alone: (Pi / 8) log(2 + sqrt(3)), rounds of the AGM.
  const uint64_t words = 2000;
  BigFloat pi, term;
  piComputeNumber(&heap, &pi, words - 2, 0, piChudnovsky, 0);
  uint32_t rounds = 0;
  catalanLogTerm(&heap, &pi, &term, words, 0, computeModeRamOnly, 0, &rounds);
  mpfr_init2(want, 32 * words + 256);
  mpfr_t x;
  mpfr_init2(x, 32 * words + 256);
  mpfr_sqrt_ui(x, 3, MPFR_RNDN);
  mpfr_add_ui(x, x, 2, MPFR_RNDN);
  mpfr_log(x, x, MPFR_RNDN);
  mpfr_const_pi(want, MPFR_RNDN);
  mpfr_mul(want, want, x, MPFR_RNDN);
  mpfr_div_ui(want, want, 8, MPFR_RNDN);
  EXPECT_LT(series_check::errorBits(term, want), -32 * long(words - 2));
  // About log2 of the bits, twice: y starts far above 4.
  EXPECT_GE(rounds, 25u);
  EXPECT_LE(rounds, 34u);
  mpfr_clears(want, x, (mpfr_ptr)0);
  bigFloatDestroy(&term);
}

// The four-number series in Basic Swap. Ramanujan's Catalan series, summed
// in an arena too small for the in-memory sum, pages its numbers out
// between merges and gives the Ram Only bits; whole runs of that formula
// and of Euler's constant in an arena of the driver's swap figure give the
// Ram Only values. No swap file is left.
TEST(ZetaCatalanCompute, FourNumberSeriesInBasicSwapFitTheSwapFigureWithTheRamOnlyBits) {
  SwapFolders folders(1);
  const SeriesKind* kind = catalanRamanujanSeriesKind();
  const uint64_t sumWords = 4000;
  SplitFloats ram, swapped;
  uint64_t ramPeak = 0;
  {
    TestArena arena(64 << 20);
    sumSeries(&arena.heap, kind, &ram, sumWords, 0, computeModeRamOnly, 0);
    ramPeak = uint64_t(arena.heap.peakUsed - arena.heap.base);
    TestArena tight(ramPeak * 9 / 10);
    sumSeries(&tight.heap, kind, &swapped, sumWords, 0, computeModeBasicSwap, 0);
    splitFloatsLoad(&tight.heap, &swapped);
    EXPECT_TRUE(sameBits(ram.q, swapped.q));
    EXPECT_TRUE(sameBits(ram.r[0], swapped.r[0]));
    EXPECT_TRUE(sameBits(ram.r[1], swapped.r[1]));
    splitFloatsRelease(&swapped);
    splitFloatsRelease(&ram);
  }
  // Whole runs of Ramanujan's formula and of Euler's constant (refined,
  // n = 2^k for the run's hexadecimal digits).
  const uint64_t words = 20000;
  const uint32_t k = eulerSizePower(8 * (words - 2));
  for (uint32_t id : {constantCatalan, constantEuler}) {
    uint64_t memory = 0, disk = 0;
    const uint32_t algorithm = id == constantCatalan ? catalanRamanujan : 0;
    estimateConstant(id, algorithm, words, 0, computeModeBasicSwap, &memory, &disk);
    BigFloat value[2];
    TestArena arena(1ull << 30), tight(memory);
    raidFileResetPeak();
    for (uint32_t mode : {computeModeRamOnly, computeModeBasicSwap}) {
      Heap* heap = mode == computeModeRamOnly ? &arena.heap : &tight.heap;
      BigFloat* out = &value[mode - computeModeRamOnly];
      if (id == constantCatalan) {
        catalanCompute(heap, out, words, 0, catalanRamanujan, mode, 0);
      } else {
        eulerCompute(heap, out, words, 0, k, true, nullptr, nullptr, mode, 0, "Euler");
      }
    }
    EXPECT_TRUE(sameBits(value[0], value[1])) << id;
    EXPECT_LE(raidFilePeakBytes(), disk) << id << " swap bytes over the disk figure";
    bigFloatDestroy(&value[1]);
    bigFloatDestroy(&value[0]);
  }
  EXPECT_TRUE(folders.empty()) << "swap files left behind";
}
