// Pi: the terms of both series against GMP, the size estimates against the
// true sizes of the products, and a table of whole runs of the entry: MPFR's
// digits in both radixes, the memory estimate against the arena's measured
// peak, the console lines of the finish.
#include "constants/pi.h"

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "constant_run.h"
#include "constants/series.h"
#include "shell/estimate.h"
#include "shell/estimate_pi.h"
#include "support/death_console.h"
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

// Pi as the writers lay it out, one evaluation per size and radix.
const std::string& mpfrPiText(uint64_t digits, int base) {
  static std::map<std::pair<uint64_t, int>, std::string> texts;
  auto [at, fresh] = texts.try_emplace({digits, base});
  if (fresh) at->second = constant_test::mpfrText(setPi, 0, digits, base);
  return at->second;
}

// The driver's figure for a Ram Only run: the larger of the series peak and
// the conversion (the rule of the series constants).
uint64_t piEstimate(const ComputeSettings* s) {
  uint64_t memory = 0, disk = 0;
  estimatePi(s->wordCount, s->threadPower, s->algorithm, computeModeRamOnly, &memory, &disk);
  return std::max({memory, piSeriesPeak(s->algorithm, s->wordCount, s->threadPower),
                   estimateConversion(s->wordCount, s->threadPower)});
}

}  // namespace

TEST(PiTerms, BothFormsAgreeWithGmpAcrossTheirRanges) {
  testbridge::Random random = testbridge::testRandom();
  // Where c k^3 stops fitting 64 bits, the 32-bit bounds of both series
  // (piTerm dispatches past them) and the 64-bit one; Ramanujan's linear
  // factor changes method at 2^49.
  std::vector<uint64_t> ks = {2642245ull, 1073741824ull, chudnovskyLimit32, chudnovskyLimit32 + 1,
                              ramanujanLimit32 + 1, (1ull << 49) - 1, 1ull << 49, piTermLimit64};
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
  // Q = c k^3 passes 4 words near k = 2^25 (c is 54 bits).
  for (auto [k, length] : {std::pair{31000000u, 4u}, {32000000u, 5u}}) {
    chudnovskyTerm32(k, &term);
    EXPECT_EQ(term.qLength, length) << k;
  }
}

TEST(PiTermsDeathTest, IndicesOutsideAFormAreRefused) {
  PiTerm term;
  const char* message = "Invalid Function Parameters: Pi leaf\n\nterm index out of range";
  EXPECT_DEATH((consoleToStandardError(), chudnovskyTerm32(uint32_t(chudnovskyLimit32 + 1), &term)),
               message);
  EXPECT_DEATH((consoleToStandardError(), ramanujanTerm32(0, &term)), message);
  EXPECT_DEATH((consoleToStandardError(), ramanujanTerm64(piTermLimit64 + 1, &term)), message);
}

TEST(PiSeries, SizeEstimatesFollowTheProducts) {
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
  }
}

// Each run of the entry writes MPFR's digits in both radixes. On one thread
// in Ram Only the arena's measured peak (the whole entry, conversion and
// writing included) is under the driver's figure and within a quarter of it
// from 20000 digits, below the hybrid range; threaded and swapped runs fit
// the arena of that figure. 1001 digits: N under 100 for Chudnovsky (serial
// summation, no plan).
TEST(PiCompute, RunsOfBothAlgorithmsAgainstMpfrAndTheirMemory) {
  struct Case { uint32_t algorithm; uint64_t digits; uint32_t threadPower, mode; };
  std::vector<Case> cases = {{piChudnovsky, 1001, 0, computeModeRamOnly},
                             {piRamanujan, 1001, 1, computeModeRamOnly},
                             {piChudnovsky, 100001, 1, computeModeRamOnly},
                             {piRamanujan, 100001, 1, computeModeRamOnly},
                             {piChudnovsky, 30000, 1, computeModeBasicSwap},
                             {piRamanujan, 30000, 1, computeModeBasicSwap}};
  for (uint32_t algorithm : {piChudnovsky, piRamanujan}) {
    for (uint64_t digits : {20000ull, 45000ull, 77777ull, 120000ull}) {
      cases.push_back({algorithm, digits, 0, computeModeRamOnly});
    }
  }
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << "algorithm " << c.algorithm << " digits " << c.digits
                                      << " threadPower " << c.threadPower << " mode " << c.mode);
    constant_test::ConstantRun run(constantPi, c.algorithm, 0, c.digits, c.threadPower, c.mode,
                                   piEstimate);
    EXPECT_GT(run.run(computePi), 0.0);
    EXPECT_TRUE(run.text(10) == mpfrPiText(c.digits, 10)) << "decimal digits differ from MPFR's";
    EXPECT_TRUE(run.text(16) == mpfrPiText(run.settings.hexDigits, 16))
        << "hexadecimal digits differ from MPFR's";
    if (c.threadPower == 0 && c.digits >= 20000) {
      EXPECT_LE(run.peakBytes(), run.settings.memoryNeeded) << "estimate below the peak";
      EXPECT_LE(double(run.settings.memoryNeeded) / double(run.peakBytes()), 1.25)
          << "estimate far above the peak";
    }
    if (c.algorithm != piChudnovsky || c.digits != 20000) continue;
    // The summation's count, then the finish's lines in their order.
    const std::string& text = run.console;
    size_t at = 0, multiplying = std::string::npos;
    for (const char* line : {"Summing Series:  ", "Finalizing...", "Multiplying...    ( ",
                             "InvSqrt...\n", "Final Multiply...\n", "\nPi:  ", " seconds  ( "}) {
      const size_t found = text.find(line, at);
      ASSERT_NE(found, std::string::npos) << line;
      if (line[0] == 'M') multiplying = found;
      at = found;
    }
    // The digit count printed with "Multiplying...": trunc(W * 9.63...) + 1.
    const uint64_t words = run.settings.wordCount + 2;
    const std::string count = formatGrouped(uint64_t(double(words) * 9.632959861247397) + 1, 0);
    EXPECT_EQ(text.compare(multiplying + 20, count.size(), count), 0);
  }
}
