// The shared random-number test driver itself: reproducible streams, the
// operand kinds as documented, the GMP round trip, and guards that notice a
// stray write.
#include "support/gmp_bridge.h"

#include <gtest/gtest.h>

#include <algorithm>

using testbridge::Kind;

TEST(GmpBridge, StreamsRepeatAndKindsAreWhatTheySay) {
  testbridge::Random first = testbridge::testRandom(5), again = testbridge::testRandom(5);
  testbridge::Random other = testbridge::testRandom(6);
  bool differs = false;
  for (int i = 0; i < 16; i++) {
    uint64_t x = first.next();
    EXPECT_EQ(x, again.next());
    differs |= x != other.next();
  }
  EXPECT_TRUE(differs);
  for (uint64_t n : {1, 2, 9}) {
    std::vector<uint32_t> ones = testbridge::operand(first, Kind::AllOnes, n);
    EXPECT_EQ(std::count(ones.begin(), ones.end(), 0xFFFFFFFFu), (long)n);
    std::vector<uint32_t> lone = testbridge::operand(first, Kind::LoneTop, n);
    EXPECT_NE(lone[n - 1], 0u);
    EXPECT_EQ(std::count(lone.begin(), lone.end(), 0u), (long)n - 1);
    testbridge::Number z, expected;  // 2^(32(n-1)) + 1, then - 1
    mpz_ui_pow_ui(expected.z, 2, 32 * (n - 1));
    mpz_add_ui(expected.z, expected.z, 1);
    EXPECT_TRUE(testbridge::equalsMpz(testbridge::operand(first, Kind::PowerPlusOne, n).data(), n,
                                      expected.z));
    mpz_sub_ui(expected.z, expected.z, 2);
    EXPECT_TRUE(testbridge::equalsMpz(testbridge::operand(first, Kind::PowerMinusOne, n).data(),
                                      n, expected.z));
  }
}

TEST(GmpBridge, RoundTripMismatchAndGuards) {
  testbridge::Random random = testbridge::testRandom();
  std::vector<uint32_t> words = testbridge::operand(random, Kind::Uniform, 12);
  words[11] = 0;  // a zero top word survives the trip as padding
  testbridge::Number z;
  testbridge::toMpz(z.z, words.data(), words.size());
  EXPECT_EQ(testbridge::fromMpz(z.z, 12), words);
  words[3] ^= 1;
  EXPECT_FALSE(testbridge::equalsMpz(words.data(), 12, z.z));
  testbridge::GuardedWords inside(10), past(10), before(10);
  inside.data()[9] = 1;
  EXPECT_TRUE(inside.intact());
  past.data()[10] = 1;
  EXPECT_FALSE(past.intact());
  before.data()[-1] = 1;
  EXPECT_FALSE(before.intact());
}
