// The transform: kernel sets agree bit for bit, nega-cyclic products against
// GMP modulo 2^(bL) + 1, twiddle walks, and the alignment check.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "arith/fft/fft_test_support.h"
#include "arith/hybrid/element_sizes.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

using testbridge::Kind;
using testbridge::Number;
using testbridge::Random;

namespace {

std::vector<const FftKernelSet*> usableSets() {
  std::vector<const FftKernelSet*> sets = {fftKernelsScalar()};
  if (fftKernelsAvx2Usable()) sets.push_back(fftKernelsAvx2());
  if (fftKernelsAvx512Usable()) sets.push_back(fftKernelsAvx512());
  return sets;
}

std::vector<uint32_t> randomPoints(Random& random, uint64_t count, uint32_t bits) {
  std::vector<uint32_t> points(count);
  for (auto& p : points) p = random.word() & ((1u << bits) - 1);
  return points;
}

}  // namespace

// Every kernel set: the same bits for each transform kind, right squares
// through fftSquare and through unsigned points and inverseFft.
TEST(FftTransform, EveryKernelSetGivesTheSameBitsAndRightProducts) {
  Random random = testbridge::testRandom();
  const auto sets = usableSets();
  for (SizeCode code : {sizeCodeOf(1, 6), sizeCodeOf(1, 7), sizeCodeOf(3, 6), sizeCodeOf(1, 8),
                        sizeCodeOf(5, 6), sizeCodeOf(3, 7), sizeCodeOf(1, 9), sizeCodeOf(5, 7),
                        sizeCodeOf(3, 8), sizeCodeOf(1, 10), sizeCodeOf(5, 8), sizeCodeOf(3, 9),
                        sizeCodeOf(1, 11), sizeCodeOf(5, 9), sizeCodeOf(1, 12), sizeCodeOf(3, 11),
                        sizeCodeOf(5, 11), sizeCodeOf(1, 13), sizeCodeOf(3, 14), sizeCodeOf(1, 16)}) {
    const uint64_t L = sizeCodeLength(code);
    const std::vector<uint32_t> a = randomPoints(random, L, 16), b = randomPoints(random, L, 16);
    std::vector<double> reference;
    std::vector<uint32_t> referencePoints;
    for (const FftKernelSet* set : sets) {
      fftUseKernels(set);
      ffttest::Buffer first(L), second(L);
      std::vector<uint32_t> points = a;
      forwardFftFull(first.data, points.data(), code, ffttest::tables());
      points = b;
      forwardFftFull(second.data, points.data(), code, ffttest::tables());
      const std::vector<double> transformed(first.data, first.data + L);
      fftPointwiseMultiply(first.data, second.data, code);
      inverseFftWrapped(first.data, points.data(), code, 16, ffttest::tables());
      if (reference.empty()) {
        reference = transformed;
        referencePoints = points;
        continue;
      }
      EXPECT_TRUE(transformed == reference) << set->name << ", length " << L;
      EXPECT_EQ(points, referencePoints) << set->name << ", length " << L;
    }
  }
  for (const FftKernelSet* set : sets) {
    fftUseKernels(set);
    for (uint64_t n : {54, 700, 5000}) {
      const auto a = testbridge::operand(random, Kind::Uniform, n);
      const auto square = testbridge::gmpProduct(a.data(), n, a.data(), n);
      std::vector<uint32_t> out(2 * n);
      ASSERT_EQ(fftSquare(nullptr, a.data(), n, out.data(), 0, ffttest::tables()), 0u);
      EXPECT_EQ(out, square) << set->name << " " << n;
      SizeCode code;
      uint32_t bits;
      ASSERT_EQ(fftParamsFor(32 * n, &code, &bits), 0u);
      const uint64_t L = sizeCodeLength(code);
      ffttest::Buffer buffer(L);
      std::vector<uint32_t> points(L);
      splitWordsToPoints(points.data(), L / 2, a.data(), n, bits);
      forwardFft(buffer.data, points.data(), code, ffttest::tables());
      fftPointwiseSquare(buffer.data, code);
      inverseFft(buffer.data, points.data(), code, bits, ffttest::tables());
      packPointsToWords(points.data(), L, out.data(), 2 * n, bits);
      EXPECT_EQ(out, square) << set->name << " unsigned " << n;
    }
  }
  fftUseKernels(nullptr);
}

TEST(FftTransformDeathTest, AMisalignedElementBufferIsFatal) {
  ffttest::Buffer buffer(80);
  std::vector<uint32_t> points(64, 1);
  EXPECT_DEATH((consoleToStandardError(),
                forwardFftFull(buffer.data + 1, points.data(), sizeCodeOf(1, 6), ffttest::tables())),
               "FATAL ERROR: Assertion Failure\n\nInvalid Data Alignment: FFT Multiplication");
}

// Angles 2 pi n / (8Q) by strides 1, 2 and 3: within half an ulp.
TEST(FftTransform, TwiddleWalksReachEveryOctantFromTheFirst) {
  Random random = testbridge::testRandom();
  const FftLookupTables* t = ffttest::tables();
  for (uint32_t family : {1u, 3u, 5u}) {
    const double* pyramid = family == 1 ? t->pyramid2 : family == 3 ? t->pyramid3 : t->pyramid5;
    for (uint32_t level : {2u, 3u, 5u, 9u}) {
      const uint64_t Q = uint64_t(family) << (level - 2), circle = 8 * Q;
      for (uint64_t stride : {1, 2, 3}) {
        const uint64_t start = random.below(circle), count = random.between(1, 3 * circle);
        std::vector<double> out(2 * count);
        fftTwiddleFill(out.data(), pyramidLevel(pyramid, family, level), Q, start, stride, count);
        for (uint64_t k = 0; k < count; k++) {
          const long double angle = 2 * M_PIl * (long double)((start + k * stride) % circle) / circle;
          ASSERT_LE(std::fabs((long double)out[2 * k] - cosl(angle)), 1.2e-16L)
              << family << " " << level << " n " << start + k * stride;
          ASSERT_LE(std::fabs((long double)out[2 * k + 1] - sinl(angle)), 1.2e-16L)
              << family << " " << level << " n " << start + k * stride;
        }
      }
    }
  }
}
