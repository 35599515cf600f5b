// Pi: the terms of both series against GMP, the size estimates against the
// true sizes of the products, whole computations against MPFR's digits in
// both radixes (threads, modes, the console lines), and the memory estimate
// against the arena's measured peak.
#include "constants/pi.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/series.h"
#include "shell/estimate.h"
#include "shell/estimate_pi.h"
#include "support/gmp_bridge.h"

namespace {

using testbridge::Number;
using testbridge::toMpz;

// P(k), Q(k) and |R(k)| by GMP from the formulas.
void oracleTerm(uint32_t algorithm, uint64_t k, mpz_t p, mpz_t q, mpz_t r) {
  Number kk, t;
  mpz_import(kk.z, 1, -1, 8, 0, 0, &k);
  const bool chud = algorithm == piChudnovsky;
  // P = (ak - 1)(ak - b)(2k - 1) with a = 6 or 4, b = 5 or 3.
  mpz_mul_ui(p, kk.z, chud ? 6 : 4);
  mpz_sub_ui(p, p, 1);
  mpz_mul_ui(t.z, kk.z, chud ? 6 : 4);
  mpz_sub_ui(t.z, t.z, chud ? 5 : 3);
  mpz_mul(p, p, t.z);
  mpz_mul_ui(t.z, kk.z, 2);
  mpz_sub_ui(t.z, t.z, 1);
  mpz_mul(p, p, t.z);
  // Q = c k^3.
  mpz_pow_ui(q, kk.z, 3);
  mpz_set_str(t.z, chud ? "10939058860032000" : "3073907232", 10);
  mpz_mul(q, q, t.z);
  // |R| = P (d k + e).
  mpz_mul_ui(t.z, kk.z, chud ? 545140134u : 26390u);
  mpz_add_ui(t.z, t.z, chud ? 13591409u : 1103u);
  mpz_mul(r, p, t.z);
}

::testing::AssertionResult termMatches(uint32_t algorithm, uint64_t k, const PiTerm& term) {
  Number p, q, r, got;
  oracleTerm(algorithm, k, p.z, q.z, r.z);
  const struct {
    const char* name;
    const uint32_t* words;
    uint32_t length;
    mpz_srcptr want;
  } parts[] = {{"P", term.p, term.pLength, p.z},
               {"Q", term.q, term.qLength, q.z},
               {"R", term.r, term.rLength, r.z}};
  for (const auto& part : parts) {
    if (part.length == 0 || part.words[part.length - 1] == 0) {
      return ::testing::AssertionFailure() << part.name << "(" << k << ") has a zero top word";
    }
    toMpz(got.z, part.words, part.length);
    if (mpz_cmp(got.z, part.want) != 0) {
      return ::testing::AssertionFailure()
             << part.name << "(" << k << ") differs, algorithm " << algorithm;
    }
  }
  return ::testing::AssertionSuccess();
}

void setPi(mpfr_t x, uint32_t) { mpfr_const_pi(x, MPFR_RNDZ); }

// Pi as the writers lay it out: "3." and `digits` digits, truncated.
std::string mpfrPiText(uint64_t digits, int base) {
  return constant_test::mpfrText(setPi, 0, digits, base);
}

// Memory of a Ram Only Pi run: the larger of the series peak and the
// conversion (the rule of the series constants).
uint64_t piMemoryNeeded(uint32_t algorithm, uint64_t words, uint32_t threadPower) {
  uint64_t memory = 0, disk = 0;
  estimatePi(words, threadPower, algorithm, computeModeRamOnly, &memory, &disk);
  uint64_t rule =
      std::max(piSeriesPeak(algorithm, words, threadPower), estimateConversion(words, threadPower));
  return std::max(memory, rule);
}

uint64_t piEstimate(const ComputeSettings* s) {
  return piMemoryNeeded(s->algorithm, s->wordCount, s->threadPower);
}

// A finished run of the entry in the driver's arena (or `arenaBytes`).
struct PiRun : constant_test::ConstantRun {
  double seconds;
  PiRun(uint32_t algorithm, uint64_t digits, uint32_t threadPower, uint32_t mode,
        uint64_t arenaBytes = 0)
      : ConstantRun(constantPi, algorithm, 0, digits, threadPower, mode, piEstimate, arenaBytes) {
    seconds = run(computePi);
  }
};

// The files of a run equal MPFR's digits: "3." and the requested digits.
void expectDigits(const PiRun& run, const std::string& decimal, const std::string& hex) {
  std::string dec = run.text(10), hx = run.text(16);
  ASSERT_EQ(dec.size(), decimal.size());
  EXPECT_TRUE(dec == decimal) << "decimal digits differ from MPFR's";
  ASSERT_EQ(hx.size(), hex.size());
  EXPECT_TRUE(hx == hex) << "hexadecimal digits differ from MPFR's";
  EXPECT_GT(run.seconds, 0.0);
}

// Both algorithms on one and two threads; each decimal file ends in
// `lastTen` when given. `arena` gives the arena of a run (0: the driver's).
void expectRuns(uint64_t digits, const char* lastTen,
                uint64_t (*arena)(uint32_t algorithm, uint64_t digits, uint32_t threadPower)) {
  std::string decimal = mpfrPiText(digits, 10);
  std::string hex;
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    for (uint32_t threads : {0u, 1u}) {
      PiRun run(algorithm, digits, threads, computeModeRamOnly,
                arena != nullptr ? arena(algorithm, digits, threads) : 0);
      if (hex.empty()) hex = mpfrPiText(run.settings.hexDigits, 16);
      SCOPED_TRACE(::testing::Message() << "algorithm " << algorithm << " digits " << digits
                                        << " threads " << (1u << threads));
      expectDigits(run, decimal, hex);
      if (lastTen != nullptr) {
        std::string dec = run.text(10);
        ASSERT_GE(dec.size(), 10u);
        EXPECT_EQ(dec.substr(dec.size() - 10), lastTen);
      }
    }
  }
}

// The arena of the million-digit runs. Their products lie in the range that
// the product front end currently sends to the FFT while the product
// estimate still follows the hybrid transform's smaller scratch, so these
// runs get room beyond the estimate; the memory contract is checked below
// the hybrid range (PiMemory).
uint64_t roomyArena(uint32_t algorithm, uint64_t digits, uint32_t threadPower) {
  uint64_t words = ((uint64_t(double(digits) * hexDigitsPerDecimal) + 1) >> 3) + 2;
  return 4 * piMemoryNeeded(algorithm, words, threadPower) + 1048576;
}

}  // namespace

TEST(PiTerms, BothFormsAgreeWithGmpAcrossTheirRanges) {
  testbridge::Random random = testbridge::testRandom();
  // Where c k^3 stops fitting 64 bits, the 32-bit bounds of both series
  // (piTerm dispatches past them) and the 64-bit one; Ramanujan's linear
  // factor changes method at 2^49.
  std::vector<uint64_t> ks = {2642244ull,  2642245ull,  2642246ull,     715827880ull,
                              715827881ull, 715827882ull, 1073741823ull,  1073741824ull,
                              chudnovskyLimit32 + 1, ramanujanLimit32 + 1, (1ull << 49) - 1,
                              1ull << 49,   (1ull << 49) + 1, piTermLimit64};
  for (uint64_t k = 1; k <= 64; k++) ks.push_back(k);
  for (int i = 0; i < 200; i++) ks.push_back(random.logUniform(1, 715827882));
  for (int i = 0; i < 200; i++) ks.push_back(random.logUniform(715827883ull, piTermLimit64));
  PiTerm term;
  for (uint64_t k : ks) {
    chudnovskyTerm64(k, &term);
    ASSERT_TRUE(termMatches(piChudnovsky, k, term));
    ramanujanTerm64(k, &term);
    ASSERT_TRUE(termMatches(piRamanujan, k, term));
    for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
      piTerm(algorithm, k, &term);
      ASSERT_TRUE(termMatches(algorithm, k, term));
    }
    if (k <= chudnovskyLimit32) {
      chudnovskyTerm32(uint32_t(k), &term);
      ASSERT_TRUE(termMatches(piChudnovsky, k, term));
    }
    if (k <= ramanujanLimit32) {
      ramanujanTerm32(uint32_t(k), &term);
      ASSERT_TRUE(termMatches(piRamanujan, k, term));
    }
  }
  // At the 32-bit bound both forms agree; Q = c k^3 passes 4 words near
  // k = 2^25 (c is 54 bits).
  piTerm(piChudnovsky, chudnovskyLimit32, &term);
  EXPECT_EQ(term.qLength, 5u);
  EXPECT_TRUE(termMatches(piChudnovsky, chudnovskyLimit32, term));
  chudnovskyTerm32(31000000, &term);
  EXPECT_EQ(term.qLength, 4u);
  chudnovskyTerm32(32000000, &term);
  EXPECT_EQ(term.qLength, 5u);
}

TEST(PiTermsDeathTest, IndicesOutsideAFormAreRefused) {
  PiTerm term;
  EXPECT_DEATH(chudnovskyTerm32(uint32_t(chudnovskyLimit32 + 1), &term), "");
  EXPECT_DEATH(ramanujanTerm32(0, &term), "");
  EXPECT_DEATH(ramanujanTerm64(piTermLimit64 + 1, &term), "");
}

TEST(PiSeries, SizeEstimatesAndRatesFollowTheProducts) {
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    const SeriesKind* kind = piSeriesKind(algorithm);
    for (uint64_t n : {200ull, 3000ull}) {
      // Words of Q(0, n) and P(0, n) by GMP.
      Number p, q, r, tp, tq;
      mpz_set_ui(tp.z, 1);
      mpz_set_ui(tq.z, 1);
      for (uint64_t k = 1; k <= n; k++) {
        oracleTerm(algorithm, k, p.z, q.z, r.z);
        mpz_mul(tp.z, tp.z, p.z);
        mpz_mul(tq.z, tq.z, q.z);
      }
      const double qWords = double(mpz_sizeinbase(tq.z, 2)) / 32.0;
      const double pWords = double(mpz_sizeinbase(tp.z, 2)) / 32.0;
      // Stirling is close for Q; P's figure is a bound for memory: never
      // below, at most a little above.
      const double sq = double(kind->sizeWords((long double)n));
      const double sp = double(kind->sizePWords((long double)n));
      EXPECT_NEAR(sq, qWords, 0.002 * qWords + 1) << algorithm << " n " << n;
      EXPECT_GE(sp, pWords - 1) << algorithm << " n " << n;
      EXPECT_LE(sp, 1.02 * pWords + 2) << algorithm << " n " << n;
    }
    // Each term shrinks in the limit by Q(k) / P(k): its words are the rate.
    const double limitRatio = algorithm == piChudnovsky ? 10939058860032000.0 / 72.0
                                                        : 3073907232.0 / 32.0;
    EXPECT_NEAR(double(kind->termsPerWord) * std::log2(limitRatio) / 32.0, 1.0, 1e-12);
  }
}

TEST(PiCompute, BothAlgorithmsOddSizesOneAndTwoThreads) {
  // 1001 digits: N under 100 for Chudnovsky (serial summation, no plan).
  expectRuns(1001, nullptr, nullptr);
  expectRuns(100001, nullptr, nullptr);
}

// The last ten digits as the benchmark's table has them for 2^20 digits.
TEST(PiCompute, TwoToTheTwentiethDigitsEndWithTheKnownTen) {
  expectRuns(1048576, "1637429204", roomyArena);
}

TEST(PiMemory, EstimateCoversThePeakAndStaysClose) {
  // One thread, sizes up to the hybrid range: the arena's measured peak
  // (the whole entry, conversion and writing included) against the estimate.
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    for (uint64_t digits : {20000ull, 45000ull, 77777ull, 120000ull}) {
      PiRun run(algorithm, digits, 0, computeModeRamOnly);
      SCOPED_TRACE(::testing::Message() << "algorithm " << algorithm << " digits " << digits);
      EXPECT_LE(run.peakBytes(), run.settings.memoryNeeded) << "estimate below the peak";
      EXPECT_LE(double(run.settings.memoryNeeded) / double(run.peakBytes()), 1.25)
          << "estimate far above the peak";
      EXPECT_EQ(run.text(10).size(), digits + 2);
    }
  }
}

TEST(PiCompute, ConsoleLinesOfTheFinish) {
  PiRun run(piChudnovsky, 20000, 0, computeModeRamOnly);
  const std::string& text = run.console;
  // The summation's count, then the finish's lines in their order.
  size_t at = 0;
  size_t multiplying = std::string::npos;
  for (const char* line : {"Summing Series:  ", "Finalizing...", "Multiplying...    ( ",
                           "InvSqrt...\n", "Final Multiply...\n", "\nPi:  ", " seconds  ( "}) {
    const size_t found = text.find(line, at);
    ASSERT_NE(found, std::string::npos) << line;
    if (line[0] == 'M') multiplying = found;
    at = found;
  }
  // The digit count printed with "Multiplying...": trunc(W * 9.63...) + 1.
  uint64_t words = run.settings.wordCount + 2;
  std::string count = formatGrouped(uint64_t(double(words) * 9.632959861247397) + 1, 0);
  EXPECT_EQ(text.compare(multiplying + 20, count.size(), count), 0);
}

TEST(PiCompute, BasicSwapGivesTheDigitsOfRamOnly) {
  const uint64_t digits = 30000;
  std::string decimal = mpfrPiText(digits, 10);
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    PiRun run(algorithm, digits, 1, computeModeBasicSwap);
    EXPECT_TRUE(run.text(10) == decimal) << algorithm;
    EXPECT_TRUE(run.text(16) == mpfrPiText(run.settings.hexDigits, 16)) << algorithm;
  }
}
