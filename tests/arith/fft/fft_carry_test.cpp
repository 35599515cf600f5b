// The last stage's carry finish, branch by branch, on 64 points of 7 bits in
// four streams.
#include <gtest/gtest.h>

#include <vector>

#include "arith/fft/fft_internal.h"

namespace {

constexpr uint64_t L = 64;
constexpr uint32_t bits = 7, full = (1u << bits) - 1;

struct CarryCase {
  const char* what;
  FftLastStage stage;
  uint32_t fill;
  int64_t carry[4];
  uint32_t minusOne;
  // The expected points: `rest` everywhere but the listed (index, value).
  uint32_t rest;
  std::vector<std::pair<uint64_t, uint32_t>> points;
};

}  // namespace

TEST(FftCarry, EveryBranchOfTheCarryFinish) {
  std::vector<std::pair<uint64_t, uint32_t>> fullBelow48;
  for (uint64_t k = 0; k < 48; k++) fullBelow48.push_back({k, full});
  std::vector<std::pair<uint64_t, uint32_t>> zeroBelow17;
  for (uint64_t k = 0; k < 16; k++) zeroBelow17.push_back({k, 0});
  zeroBelow17.push_back({16, 126});
  const CarryCase cases[] = {
      // 1 through the all-ones stream 1, plus stream 1's own 2.
      {"through a stream", FftFull, 0, {1, 2, 0, 0}, 0, 0, {{32, 3}}},
      // Through all of stream 3 and off the top.
      {"dropped", FftFull, full, {0, 0, 1, 5}, 0, 0, fullBelow48},
      {"dropped signed", FftFullSigned, full, {0, 0, 1, 5}, 0, 0, fullBelow48},
      // 5 - 7 borrows from point 17 on.
      {"borrow", FftFullSigned, 0, {-7, 0, 0, 0}, 0, full, zeroBelow17},
      // x^L = -1: a carry of -1 out of the top is +1 at the bottom.
      {"wrapped", FftWrapped, 0, {0, 0, 0, -1}, 0, 0, {{0, 1}}},
      // 2^(bL) = -1: the borrow turns and the second +1 runs off as well.
      {"top carry on zero", FftWrapped, 0, {0, 0, 0, 1}, 1, 0, {}},
      // -2 and +1: the +1 comes back as -1 on zeros and survives.
      {"surviving borrow", FftWrapped, full, {0, 0, 0, -1}, 1, 0, {}},
      // -2 and -2: -4 is 2^(bL) - 3.
      {"settles at once", FftWrapped, full, {0, 0, 0, 2}, 0, full, {{0, full - 2}}},
      // 0 and -2: comes back as +1 and settles at all ones.
      {"positive second sweep", FftWrapped, 0, {0, 0, 0, 2}, 0, full, {}},
  };
  for (const CarryCase& c : cases) {
    std::vector<uint32_t> points(L, c.fill);
    if (c.stage == FftFull && c.carry[0] == 1) for (uint64_t k = 16; k < 32; k++) points[k] = full;
    if (c.stage == FftFullSigned && c.carry[0] == -7) points[16] = 5;
    FftCarryStreams s;
    fftCarryStart(&s, points.data(), L, bits, c.stage);
    for (int i = 0; i < 4; i++) s.carry[i] = c.carry[i];
    EXPECT_EQ(fftCarryFinish(&s), c.minusOne) << c.what;
    std::vector<uint32_t> expected(L, c.rest);
    for (const auto& [k, value] : c.points) expected[k] = value;
    EXPECT_EQ(points, expected) << c.what;
  }
}
