// Words to points against a bit-by-bit reference and back at every width:
// the fast groups and the general loops, zero fill, word offsets, and
// balanced points.
#include <gtest/gtest.h>

#include <vector>

#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "support/gmp_bridge.h"

using testbridge::Random;

namespace {

uint32_t bitAt(const std::vector<uint32_t>& words, uint64_t bit) {
  return bit / 32 < words.size() ? (words[bit / 32] >> (bit % 32)) & 1 : 0;
}

// The stream cut one bit at a time.
std::vector<uint32_t> referenceSplit(const std::vector<uint32_t>& words, uint64_t count,
                                     uint32_t b) {
  std::vector<uint32_t> points(count, 0);
  for (uint64_t k = 0; k < count; k++) {
    for (uint32_t i = 0; i < b; i++) points[k] |= bitAt(words, k * b + i) << i;
  }
  return points;
}

}  // namespace

// Short of the words, exactly at them, and with zero points beyond; the
// general loop (odd widths included) from any first point. Then the joins,
// from word 0 and from a word offset by the fast and general loops, give the
// words back as far as the points reach and zeros past them.
TEST(FftSplit, EveryWidthSplitsTheBitStreamAndJoinsItBack) {
  Random random = testbridge::testRandom();
  for (uint32_t b = 1; b <= 30; b++) {
    for (int trial = 0; trial < 12; trial++) {
      uint64_t n = random.between(1, 70);
      uint64_t needed = (32 * n + b - 1) / b;
      uint64_t count = trial % 3 == 0 ? random.between(1, needed) : needed + random.below(40);
      auto words = testbridge::operand(random, testbridge::randomKind(random), n);
      std::vector<uint32_t> points(count + 4, 0xC0DEFACE);
      splitWordsToPoints(points.data(), count, words.data(), n, b);
      auto expected = referenceSplit(words, count, b);
      ASSERT_EQ(std::vector<uint32_t>(points.begin(), points.begin() + count), expected)
          << "b " << b << " n " << n << " count " << count;
      for (uint64_t k = count; k < count + 4; k++) ASSERT_EQ(points[k], 0xC0DEFACEu);
      if (b >= 7) {
        const uint64_t first = random.below(count);
        std::vector<uint32_t> general(count, 0xFFFFFFFF);
        splitWordsToPointsGeneral(general.data(), first, count, words.data(), n, b);
        for (uint64_t k = first; k < count; k++) ASSERT_EQ(general[k], expected[k]) << b << " " << k;
      }
      const uint64_t bits = count * b, covered = (bits + 31) / 32;
      const uint64_t skip = trial < 4 || b < 7 || b > 22 ? 0 : random.below(covered);
      const uint64_t m = trial % 3 == 1 ? random.between(1, covered - skip) : covered - skip + random.below(4);
      std::vector<uint32_t> back(m, 0);
      for (uint64_t w = 0; w < m; w++) {
        const uint64_t g = skip + w;
        if (g < n && 32 * g < bits) back[w] = bits >= 32 * (g + 1) ? words[g] : words[g] & ((1u << (bits - 32 * g)) - 1);
      }
      for (int form = 0; form < 3; form++) {
        if ((form == 0 && skip != 0) || (form > 0 && (b < 7 || b > 22))) continue;
        testbridge::GuardedWords joined(m);
        if (form == 0) packPointsToWords(points.data(), count, joined.data(), m, b);
        if (form == 1) packPointsToWordsFrom(points.data(), count, skip, joined.data(), m, b);
        if (form == 2) packPointsToWordsGeneral(points.data(), count, skip, joined.data(), m, b);
        ASSERT_EQ(std::vector<uint32_t>(joined.data(), joined.data() + m), back)
            << "form " << form << " b " << b << " count " << count << " skip " << skip;
        ASSERT_TRUE(joined.intact());
      }
    }
  }
}

TEST(FftSplit, BalancedPointsKeepTheValueWithinHalfTheRange) {
  Random random = testbridge::testRandom();
  for (uint32_t b = 7; b <= 22; b++) {
    for (int trial = 0; trial < 8; trial++) {
      uint64_t n = random.between(1, 90);
      uint64_t needed = (32 * n + b - 1) / b;
      uint64_t count = needed + (trial % 2 == 0 ? 0 : random.below(10));
      auto words = testbridge::operand(random, testbridge::randomKind(random), n);
      std::vector<uint32_t> points(count);
      splitWordsToBalancedPoints(points.data(), count, words.data(), n, b);
      // Sum of point k * 2^(b k), points read as signed.
      testbridge::Number value, term, expected;
      for (uint64_t k = count; k-- > 0;) {
        mpz_mul_2exp(value.z, value.z, b);
        if (int32_t(points[k]) >= 0) {
          mpz_add_ui(value.z, value.z, points[k]);
        } else {
          mpz_sub_ui(value.z, value.z, uint32_t(-int32_t(points[k])));
        }
      }
      testbridge::toMpz(expected.z, words.data(), n);
      ASSERT_EQ(mpz_cmp(value.z, expected.z), 0) << "b " << b << " n " << n;
      const int32_t half = int32_t(1) << (b - 1);
      for (uint64_t k = 0; k + 1 < needed; k++) {
        ASSERT_GE(int32_t(points[k]), -half) << b << " " << k;
        ASSERT_LE(int32_t(points[k]), half) << b << " " << k;
      }
      // The top data point keeps its carry, and nothing lies beyond it.
      ASSERT_GE(int32_t(points[needed - 1]), -half);
      ASSERT_LE(int32_t(points[needed - 1]), 2 * half);
      for (uint64_t k = needed; k < count; k++) ASSERT_EQ(points[k], 0u);
    }
  }
}
