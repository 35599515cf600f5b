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

// a * b mod 2^(bL) + 1 in buffers `offset` doubles past a 64-byte boundary;
// returns inverseFftWrapped's 1 for -1.
uint32_t negacyclicProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                           SizeCode code, uint32_t bits, std::vector<uint32_t>* result,
                           uint64_t offset = 0) {
  const uint64_t L = sizeCodeLength(code);
  ffttest::Buffer first(L + 8), second(L + 8);
  double* u = first.data + offset;
  double* v = second.data + (offset == 0 ? 0 : 6);
  std::vector<uint32_t> points(a);
  forwardFftFull(u, points.data(), code, ffttest::tables());
  points = b;
  forwardFftFull(v, points.data(), code, ffttest::tables());
  fftPointwiseMultiply(u, v, code);
  result->assign(L, 0xDEADBEEF);
  return inverseFftWrapped(u, result->data(), code, bits, ffttest::tables());
}

void pointsToMpz(mpz_t z, const std::vector<uint32_t>& points, uint32_t bits) {
  std::vector<uint32_t> words((points.size() * bits + 31) / 32 + 1);
  packPointsToWords(points.data(), points.size(), words.data(), words.size(), bits);
  testbridge::toMpz(z, words.data(), words.size());
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

// Element lengths at their widest bits, 12 and 7; buffers only 16-byte aligned
// (as hybrid elements are) give the same points.
TEST(FftNegacyclic, ElementProductsAgreeWithGmpModuloFermatNumbers) {
  Random random = testbridge::testRandom();
  for (uint64_t L : {64, 128, 192, 256, 320, 384, 512, 640, 768, 1024, 1280, 1536, 2560, 5120}) {
    SizeCode code = 0;
    uint32_t widest = 0;
    for (const auto& row : ElementSizeTable) {
      if (sizeCodeLength(row.code) != L) continue;
      code = row.code;
      widest = std::max(widest, uint32_t(row.bitsPerPoint));
    }
    ASSERT_NE(code, 0u) << L;
    for (uint32_t bits : {widest, 12u, 7u}) {
      for (int trial = 0; trial < 3; trial++) {
        std::vector<uint32_t> a = randomPoints(random, L, bits), b = randomPoints(random, L, bits);
        if (trial == 1) a.assign(L, (1u << bits) - 1);
        if (trial == 2) b.assign(L, (1u << bits) - 1);
        std::vector<uint32_t> result, aligned16;
        const uint32_t minusOne = negacyclicProduct(a, b, code, bits, &result);
        Number x, y, z;
        pointsToMpz(x.z, a, bits);
        pointsToMpz(y.z, b, bits);
        mpz_mul(x.z, x.z, y.z);
        ffttest::reduceFermat(x.z, bits * L);
        pointsToMpz(z.z, result, bits);
        if (minusOne) mpz_setbit(z.z, bits * L);  // the caller's -1: 2^N
        EXPECT_EQ(mpz_cmp(z.z, x.z), 0) << "L " << L << " bits " << bits << " trial " << trial;
        if (trial != 0 || bits < 12) continue;
        EXPECT_EQ(negacyclicProduct(a, b, code, bits, &aligned16, 2), minusOne);
        EXPECT_EQ(aligned16, result) << "16-byte aligned, L " << L;
      }
    }
  }
}

// -1 comes back as zeros and the return value 1; -2 times 1 stays all full.
TEST(FftNegacyclic, AProductOfMinusOneReturnsOne) {
  const uint64_t L = 320;
  const SizeCode code = sizeCodeOf(5, 6);
  const uint32_t bits = 7;
  const uint64_t N = bits * L;
  std::vector<uint32_t> a(L, (1u << bits) - 1), b(L, 0), half(L, 0), one(L, 0), result;
  b[0] = 1;
  b[(N - 1) / bits] = 1u << ((N - 1) % bits);
  half[(N / 2) / bits] = 1u << ((N / 2) % bits);
  one[0] = 1;
  EXPECT_EQ(negacyclicProduct(a, b, code, bits, &result), 1u);
  EXPECT_EQ(result, std::vector<uint32_t>(L, 0));
  EXPECT_EQ(negacyclicProduct(half, half, code, bits, &result), 1u);
  EXPECT_EQ(result, std::vector<uint32_t>(L, 0));
  EXPECT_EQ(negacyclicProduct(a, one, code, bits, &result), 0u);
  EXPECT_EQ(result, a);
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
