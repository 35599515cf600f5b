// The shared random-number test driver itself: reproducible streams, the
// operand kinds as documented, the GMP round trip, and guards that notice a
// stray write.
#include "support/gmp_bridge.h"

#include <gtest/gtest.h>

#include <algorithm>

using testbridge::Kind;

TEST(GmpBridge, StreamsRepeatAndDiffer) {
  testbridge::Random first = testbridge::testRandom(5), again = testbridge::testRandom(5);
  testbridge::Random other = testbridge::testRandom(6);
  bool differs = false;
  for (int i = 0; i < 16; i++) {
    uint64_t x = first.next();
    EXPECT_EQ(x, again.next());
    differs |= x != other.next();
  }
  EXPECT_TRUE(differs);
  for (int i = 0; i < 1000; i++) {
    uint64_t v = first.logUniform(3, 70);
    ASSERT_GE(v, 3u);
    ASSERT_LE(v, 70u);
  }
}

TEST(GmpBridge, OperandKindsAreWhatTheySay) {
  testbridge::Random random = testbridge::testRandom();
  for (uint64_t n : {1, 2, 9}) {
    std::vector<uint32_t> ones = testbridge::operand(random, Kind::AllOnes, n);
    EXPECT_EQ(std::count(ones.begin(), ones.end(), 0xFFFFFFFFu), (long)n);
    std::vector<uint32_t> lone = testbridge::operand(random, Kind::LoneTop, n);
    EXPECT_NE(lone[n - 1], 0u);
    EXPECT_EQ(std::count(lone.begin(), lone.end(), 0u), (long)n - 1);
    testbridge::Number z, expected;
    std::vector<uint32_t> plus = testbridge::operand(random, Kind::PowerPlusOne, n);
    testbridge::toMpz(z.z, plus.data(), n);
    mpz_ui_pow_ui(expected.z, 2, 32 * (n - 1));
    mpz_add_ui(expected.z, expected.z, 1);
    EXPECT_EQ(mpz_cmp(z.z, expected.z), 0) << n;
    std::vector<uint32_t> minus = testbridge::operand(random, Kind::PowerMinusOne, n);
    testbridge::toMpz(z.z, minus.data(), n);
    mpz_sub_ui(expected.z, expected.z, 2);
    EXPECT_EQ(mpz_cmp(z.z, expected.z), 0) << n;
  }
  // Runs: long stretches of equal bits, so whole words of 0 and of all ones.
  bool zeroWord = false, onesWord = false;
  for (int draw = 0; draw < 20; draw++) {
    std::vector<uint32_t> runs = testbridge::operand(random, Kind::Runs, 64);
    zeroWord |= std::count(runs.begin(), runs.end(), 0u) > 0;
    onesWord |= std::count(runs.begin(), runs.end(), 0xFFFFFFFFu) > 0;
  }
  EXPECT_TRUE(zeroWord && onesWord);
}

TEST(GmpBridge, RoundTripAndMismatchReport) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint32_t> words = testbridge::operand(random, Kind::Uniform, 12);
  words[11] = 0;  // a zero top word survives the trip as padding
  testbridge::Number z;
  testbridge::toMpz(z.z, words.data(), words.size());
  EXPECT_EQ(testbridge::fromMpz(z.z, 12), words);
  EXPECT_TRUE(testbridge::equalsMpz(words.data(), 12, z.z));
  words[3] ^= 1;
  EXPECT_FALSE(testbridge::equalsMpz(words.data(), 12, z.z));
}

TEST(GmpBridge, GuardsNoticeWritesOutside) {
  testbridge::GuardedWords inside(10), past(10), before(10);
  inside.data()[9] = 1;
  EXPECT_TRUE(inside.intact());
  past.data()[10] = 1;
  EXPECT_FALSE(past.intact());
  before.data()[-1] = 1;
  EXPECT_FALSE(before.intact());
  EXPECT_EQ(inside.data()[0], testbridge::GuardedWords::poison);
}
