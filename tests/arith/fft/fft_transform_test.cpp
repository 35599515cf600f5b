// The transform itself: passes that invert, kernel sets that agree bit for
// bit, nega-cyclic (element) products against GMP modulo 2^(bL) + 1, and the
// wrapped carry with its -1 result.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "arith/hybrid/element_sizes.h"
#include "arith/fft/fft_test_support.h"
#include "platform/console.h"
#include "support/gmp_bridge.h"

using testbridge::Kind;
using testbridge::Number;
using testbridge::Random;

namespace {

// Transform lengths of every kind the program uses: the direct rows up to
// 49152 and element lengths with radix-5 tops.
const SizeCode transformCodes[] = {
    sizeCodeOf(1, 6),  sizeCodeOf(1, 7),  sizeCodeOf(3, 6),  sizeCodeOf(1, 8),  sizeCodeOf(5, 6),
    sizeCodeOf(3, 7),  sizeCodeOf(1, 9),  sizeCodeOf(5, 7),  sizeCodeOf(3, 8),  sizeCodeOf(1, 10),
    sizeCodeOf(5, 8),  sizeCodeOf(3, 9),  sizeCodeOf(1, 11), sizeCodeOf(5, 9),  sizeCodeOf(1, 12),
    sizeCodeOf(3, 11), sizeCodeOf(5, 11), sizeCodeOf(1, 13), sizeCodeOf(3, 14), sizeCodeOf(1, 16)};

std::vector<const FftKernelSet*> usableSets() {
  std::vector<const FftKernelSet*> sets = {fftKernelsScalar()};
  if (fftKernelsAvx2Usable()) sets.push_back(fftKernelsAvx2());
  if (fftKernelsAvx512Usable()) sets.push_back(fftKernelsAvx512());
  return sets;
}

// Random b-bit points.
std::vector<uint32_t> randomPoints(Random& random, uint64_t count, uint32_t bits) {
  std::vector<uint32_t> points(count);
  for (auto& p : points) p = random.word() & ((1u << bits) - 1);
  return points;
}

// The b bits per point that elements of length L use at most (the top of the
// element table's range for that length is what these tests need).
uint32_t elementBits(uint64_t L) {
  uint32_t best = 0;
  for (const auto& row : ElementSizeTable) {
    if (sizeCodeLength(row.code) == L && row.bitsPerPoint > best) best = row.bitsPerPoint;
  }
  return best;
}

// a * b mod 2^(bL) + 1 through the nega-cyclic transform: the points of the
// result, and the return value of inverseFftWrapped.
uint32_t negacyclicProduct(const std::vector<uint32_t>& a, const std::vector<uint32_t>& b,
                           SizeCode code, uint32_t bits, std::vector<uint32_t>* result) {
  const uint64_t L = sizeCodeLength(code);
  ffttest::Buffer first(L), second(L);
  std::vector<uint32_t> points(a);
  forwardFftFull(first.data, points.data(), code, ffttest::tables());
  points = b;
  forwardFftFull(second.data, points.data(), code, ffttest::tables());
  fftPointwiseMultiply(first.data, second.data, code);
  result->assign(L, 0xDEADBEEF);
  return inverseFftWrapped(first.data, result->data(), code, bits, ffttest::tables());
}

// GMP value of b-bit points.
void pointsToMpz(mpz_t z, const std::vector<uint32_t>& points, uint32_t bits) {
  std::vector<uint32_t> words((points.size() * bits + 31) / 32 + 1);
  packPointsToWords(points.data(), points.size(), words.data(), words.size(), bits);
  testbridge::toMpz(z, words.data(), words.size());
}

}  // namespace

TEST(FftTransform, InversePassesUndoForwardPassesTimesAQuarterOfTheLength) {
  Random random = testbridge::testRandom();
  for (SizeCode code : transformCodes) {
    const uint64_t L = sizeCodeLength(code);
    ffttest::Buffer buffer(L);
    std::vector<double> input(L);
    for (auto& x : input) x = double(int64_t(random.below(2000001)) - 1000000);
    memcpy(buffer.data, input.data(), 8 * L);
    fftKernels()->forwardPasses(buffer.data, code, ffttest::tables());
    fftKernels()->inversePasses(buffer.data, code, ffttest::tables());
    double worst = 0.0;
    for (uint64_t k = 0; k < L; k++) {
      worst = std::fmax(worst, std::fabs(buffer.data[k] / double(L / 4) - input[k]));
    }
    EXPECT_LT(worst, 1e-6) << "length " << L;
  }
}

TEST(FftTransform, EveryKernelSetGivesTheSameBits) {
  Random random = testbridge::testRandom();
  const auto sets = usableSets();
  for (SizeCode code : transformCodes) {
    const uint64_t L = sizeCodeLength(code);
    const uint32_t bits = 16;
    std::vector<uint32_t> a = randomPoints(random, L, bits), b = randomPoints(random, L, bits);
    std::vector<double> reference;
    std::vector<uint32_t> referencePoints;
    for (const FftKernelSet* set : sets) {
      fftUseKernels(set);
      ffttest::Buffer first(L), second(L);
      forwardFftFull(first.data, a.data(), code, ffttest::tables());
      forwardFftFull(second.data, b.data(), code, ffttest::tables());
      std::vector<double> transformed(first.data, first.data + L);
      fftPointwiseMultiply(first.data, second.data, code);
      std::vector<uint32_t> points(L);
      inverseFftWrapped(first.data, points.data(), code, bits, ffttest::tables());
      if (reference.empty()) {
        reference = transformed;
        referencePoints = points;
        continue;
      }
      uint64_t differing = 0;
      for (uint64_t k = 0; k < L; k++) differing += transformed[k] != reference[k];
      EXPECT_EQ(differing, 0u) << set->name << " against " << sets[0]->name << ", length " << L;
      EXPECT_EQ(points, referencePoints) << set->name << ", length " << L;
    }
  }
  fftUseKernels(nullptr);
}

TEST(FftNegacyclic, ElementProductsAgreeWithGmpModuloFermatNumbers) {
  Random random = testbridge::testRandom();
  for (uint64_t L : {64, 128, 192, 256, 320, 384, 512, 640, 768, 1024, 1280, 1536, 2560, 5120}) {
    SizeCode code = 0;
    for (const auto& row : ElementSizeTable) {
      if (sizeCodeLength(row.code) == L) code = row.code;
    }
    ASSERT_NE(code, 0u) << L;
    for (uint32_t bits : {elementBits(L), 12u, 7u}) {
      const uint64_t N = bits * L;
      for (int trial = 0; trial < 3; trial++) {
        std::vector<uint32_t> a = randomPoints(random, L, bits), b = randomPoints(random, L, bits);
        if (trial == 1) a.assign(L, (1u << bits) - 1);  // 2^N - 1 = -2
        if (trial == 2) b.assign(L, (1u << bits) - 1);
        std::vector<uint32_t> result;
        uint32_t minusOne = negacyclicProduct(a, b, code, bits, &result);
        Number x, y, z, expected;
        pointsToMpz(x.z, a, bits);
        pointsToMpz(y.z, b, bits);
        mpz_mul(expected.z, x.z, y.z);
        ffttest::reduceFermat(expected.z, N);
        pointsToMpz(z.z, result, bits);
        if (minusOne) mpz_setbit(z.z, N);  // the caller's -1: 2^N
        EXPECT_EQ(mpz_cmp(z.z, expected.z), 0)
            << "L " << L << " bits " << bits << " trial " << trial;
        if (trial != 0 || bits < 12) continue;
        // Hybrid element buffers keep only 16-byte alignment: same points.
        ffttest::Buffer first(L + 8), second(L + 8);
        double* u = first.data + 2;
        double* v = second.data + 6;
        std::vector<uint32_t> points(L);
        forwardFftFull(u, a.data(), code, ffttest::tables());
        forwardFftFull(v, b.data(), code, ffttest::tables());
        fftPointwiseMultiply(u, v, code);
        EXPECT_EQ(inverseFftWrapped(u, points.data(), code, bits, ffttest::tables()), minusOne);
        EXPECT_EQ(points, result) << "16-byte aligned, L " << L;
      }
    }
  }
}

TEST(FftNegacyclic, AProductOfMinusOneReturnsOne) {
  const uint64_t L = 320;
  const SizeCode code = sizeCodeOf(5, 6);
  const uint32_t bits = 7;
  const uint64_t N = bits * L;
  // (2^N - 1) (2^(N-1) + 1) = -2 * 2^(N-1) * (1 + 2^(1-N)) ... = -1 modulo 2^N + 1.
  std::vector<uint32_t> a(L, (1u << bits) - 1), b(L, 0);
  b[0] = 1;
  b[(N - 1) / bits] = 1u << ((N - 1) % bits);
  std::vector<uint32_t> result;
  EXPECT_EQ(negacyclicProduct(a, b, code, bits, &result), 1u);
  EXPECT_EQ(result, std::vector<uint32_t>(L, 0));
  // 2^(N/2) squared is 2^N = -1 as well; and -1 times 1 stays -1.
  std::vector<uint32_t> half(L, 0);
  half[(N / 2) / bits] = 1u << ((N / 2) % bits);
  EXPECT_EQ(negacyclicProduct(half, half, code, bits, &result), 1u);
  EXPECT_EQ(result, std::vector<uint32_t>(L, 0));
  // Products next to -1 settle: -2 * 1 = 2^N - 1, all points full.
  std::vector<uint32_t> one(L, 0);
  one[0] = 1;
  EXPECT_EQ(negacyclicProduct(a, one, code, bits, &result), 0u);
  EXPECT_EQ(result, a);
}

TEST(FftTransformDeathTest, AMisalignedElementBufferIsFatal) {
  const SizeCode code = sizeCodeOf(1, 6);
  ffttest::Buffer buffer(80);
  std::vector<uint32_t> points(64, 1);
  std::string printed;
  EXPECT_DEATH(
      {
        consoleCaptureTo(&printed);
        forwardFftFull(buffer.data + 1, points.data(), code, ffttest::tables());
      },
      "");
}

TEST(FftTransform, TwiddleWalksReachEveryOctantFromTheFirst) {
  // Angles 2 pi n / (8Q) of any n, by strides 1, 2 and 3, against the
  // correctly rounded cosine and sine: within half a unit in the last place.
  Random random = testbridge::testRandom();
  const FftLookupTables* t = ffttest::tables();
  for (uint32_t family : {1u, 3u, 5u}) {
    const double* pyramid = family == 1 ? t->pyramid2 : family == 3 ? t->pyramid3 : t->pyramid5;
    for (uint32_t level : {2u, 3u, 5u, 9u}) {
      const uint64_t Q = uint64_t(family) << (level - 2), circle = 8 * Q;
      for (uint64_t stride : {1, 2, 3}) {
        uint64_t start = random.below(circle), count = random.between(1, 3 * circle);
        std::vector<double> out(2 * count);
        fftTwiddleFill(out.data(), pyramidLevel(pyramid, family, level), Q, start, stride, count);
        for (uint64_t k = 0; k < count; k++) {
          long double angle = 2 * M_PIl * (long double)((start + k * stride) % circle) / circle;
          ASSERT_LE(std::fabs((long double)out[2 * k] - cosl(angle)), 1.2e-16L)
              << family << " " << level << " n " << start + k * stride;
          ASSERT_LE(std::fabs((long double)out[2 * k + 1] - sinl(angle)), 1.2e-16L)
              << family << " " << level << " n " << start + k * stride;
        }
      }
    }
  }
}

TEST(FftTransform, EveryKernelSetMultipliesAndRoundsBothWays) {
  // The signed last stage through fftSquare, the unsigned one (inverseFft)
  // on plain points.
  Random random = testbridge::testRandom();
  for (const FftKernelSet* set : usableSets()) {
    fftUseKernels(set);
    for (uint64_t n : {54, 700, 5000}) {
      auto a = testbridge::operand(random, Kind::Uniform, n);
      std::vector<uint32_t> out(2 * n);
      ASSERT_EQ(fftSquare(nullptr, a.data(), n, out.data(), 0, ffttest::tables()), 0u);
      EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, a.data(), n)) << set->name << " " << n;
      // Unsigned points and inverseFull.
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
      EXPECT_EQ(out, testbridge::gmpProduct(a.data(), n, a.data(), n)) << set->name << " " << n;
    }
  }
  fftUseKernels(nullptr);
}
