// The seams of the last stage, forced branch by branch: a carry that runs
// through a whole stream into the next, the top carry dropped or wrapped with
// its sign turned, both second sweeps of the wrap, and the -1 result.
#include <gtest/gtest.h>

#include <vector>

#include "arith/fft_internal.h"

namespace {

struct Streams {
  static constexpr uint64_t L = 64;
  static constexpr uint32_t bits = 7;
  std::vector<uint32_t> points;
  FftCarryStreams s;
  Streams(FftLastStage stage, uint32_t fill) : points(L, fill) {
    fftCarryStart(&s, points.data(), L, bits, stage);
  }
};

constexpr uint32_t full = (1u << Streams::bits) - 1;

}  // namespace

TEST(FftCarry, ACarryRunsThroughAWholeStreamIntoTheNext) {
  Streams t(FftFull, 0);
  for (uint64_t k = 16; k < 32; k++) t.points[k] = full;  // stream 1 all ones
  t.s.carry[0] = 1;
  t.s.carry[1] = 2;
  EXPECT_EQ(fftCarryFinish(&t.s), 0u);
  for (uint64_t k = 16; k < 32; k++) EXPECT_EQ(t.points[k], 0u) << k;
  EXPECT_EQ(t.points[32], 3u);  // 1 through stream 1, plus stream 1's own 2
  EXPECT_EQ(t.points[33], 0u);
}

TEST(FftCarry, TheTopCarryIsDroppedByTheFullForms) {
  for (FftLastStage stage : {FftFull, FftFullSigned}) {
    Streams t(stage, full);
    t.s.carry[2] = 1;  // through all of stream 3 and off the top
    t.s.carry[3] = 5;
    EXPECT_EQ(fftCarryFinish(&t.s), 0u);
    for (uint64_t k = 0; k < 48; k++) EXPECT_EQ(t.points[k], full);
    for (uint64_t k = 48; k < 64; k++) EXPECT_EQ(t.points[k], 0u);
  }
}

TEST(FftCarry, NegativeCarriesBorrowAcrossTheSeams) {
  Streams t(FftFullSigned, 0);
  t.points[16] = 5;
  t.s.carry[0] = -7;  // 5 - 7 borrows from point 17
  EXPECT_EQ(fftCarryFinish(&t.s), 0u);
  EXPECT_EQ(t.points[16], 126u);
  for (uint64_t k = 17; k < 64; k++) EXPECT_EQ(t.points[k], full) << k;
}

TEST(FftCarry, TheWrappedCarryComesBackNegated) {
  // A carry of -1 out of the top is +1 at the bottom (x^L = -1).
  Streams t(FftWrapped, 0);
  t.s.carry[3] = -1;
  EXPECT_EQ(fftCarryFinish(&t.s), 0u);
  EXPECT_EQ(t.points[0], 1u);
  for (uint64_t k = 1; k < 64; k++) EXPECT_EQ(t.points[k], 0u);
}

TEST(FftCarry, ATopCarryOnZeroIsMinusOne) {
  // 2^(bL) = -1: the borrow runs off the top, turns, and the second sweep's
  // +1 runs off the end as well.
  Streams t(FftWrapped, 0);
  t.s.carry[3] = 1;
  EXPECT_EQ(fftCarryFinish(&t.s), 1u);
  EXPECT_EQ(t.points, std::vector<uint32_t>(64, 0));
}

TEST(FftCarry, ABorrowThatSurvivesTheSecondSweepIsMinusOne) {
  // All ones (-2) and a top carry of -1 (+1): the +1 runs off the top, comes
  // back as -1 on all-zero points and survives the lowest 64 of them.
  Streams t(FftWrapped, full);
  t.s.carry[3] = -1;
  EXPECT_EQ(fftCarryFinish(&t.s), 1u);
  EXPECT_EQ(t.points, std::vector<uint32_t>(64, 0));
}

TEST(FftCarry, AWrappedCarryThatSettlesAtOnce) {
  // All ones (-2) and a top carry of 2 (-2): -4 is 2^(bL) - 3.
  Streams t(FftWrapped, full);
  t.s.carry[3] = 2;
  EXPECT_EQ(fftCarryFinish(&t.s), 0u);
  EXPECT_EQ(t.points[0], full - 2);
  for (uint64_t k = 1; k < 64; k++) EXPECT_EQ(t.points[k], full) << k;
}

TEST(FftCarry, APositiveSecondSweepThatSettles) {
  // Zero and a top carry of 2: the -2 borrows off the top, comes back as +1
  // and settles: -2 is 2^(bL) - 1, all ones.
  Streams t(FftWrapped, 0);
  t.s.carry[3] = 2;
  EXPECT_EQ(fftCarryFinish(&t.s), 0u);
  EXPECT_EQ(t.points, std::vector<uint32_t>(64, full));
}
