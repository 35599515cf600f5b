// Pi: the terms of both series against GMP, and the size estimates against
// the true sizes of the products.
#include "constants/pi.h"

#include <gmp.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "constants/series.h"
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

