// The worst rounding error of each element transform length at its widest
// points, and the element squares exact against GMP modulo 2^N + 1.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "arith/fft/fft_test_support.h"
#include "arith/hybrid/element_sizes.h"
#include "arith/hybrid/hybrid.h"
#include "support/gmp_bridge.h"

namespace {

// Lengths up to 2^18 points (the test tables); NUMBRELLA_ELEMENT_LENGTH raises it.
uint64_t longestLength() {
  const char* v = std::getenv("NUMBRELLA_ELEMENT_LENGTH");
  return v != nullptr ? std::strtoull(v, nullptr, 10) : uint64_t(1) << 18;
}

const FftLookupTables* tablesFor(SizeCode code) {
  if (code <= 72) return ffttest::tables();
  static FftLookupTables* big = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
  if (big == nullptr || growFftTables(big, code) != 0) abort();
  return big;
}

// W words whose points are all 2^(b-1) - 1, or all ones.
std::vector<uint32_t> element(uint64_t W, uint32_t b, bool allOnes) {
  std::vector<uint32_t> words(W + 1, allOnes ? ~0u : 0u);
  words[W] = 0;
  if (allOnes) return words;
  std::vector<uint32_t> points(32 * W / b, (1u << (b - 1)) - 1);
  packPointsToWords(points.data(), points.size(), words.data(), W, b);
  return words;
}

}  // namespace

TEST(ElementRounding, WorstErrorOfEachElementLengthStaysBelowTheDirectRowsMargin) {
  std::vector<const ElementSizeRow*> widest;
  for (const ElementSizeRow& row : ElementSizeTable) {
    if (sizeCodeLength(row.code) > longestLength()) continue;
    auto same = std::find_if(widest.begin(), widest.end(),
                             [&](const ElementSizeRow* w) { return w->code == row.code; });
    if (same == widest.end()) widest.push_back(&row);
    else if ((*same)->bitsPerPoint < row.bitsPerPoint) *same = &row;
  }
  ASSERT_GE(widest.size(), 30u);
  double worstOfAll = 0.0;
  for (const ElementSizeRow* row : widest) {
    const uint64_t W = row->capacity / 32, L = sizeCodeLength(row->code);
    ElementPlan plan;
    ASSERT_EQ(elementPlanFor(&plan, tablesFor(row->code), W), row->code);
    double worst = 0.0;
    for (bool allOnes : {true, false}) {
      std::vector<uint32_t> x = element(W, row->bitsPerPoint, allOnes);
      testbridge::Number expected;
      testbridge::toMpz(expected.z, x.data(), W);
      mpz_mul(expected.z, expected.z, expected.z);
      ffttest::reduceFermat(expected.z, 32 * W);
      ffttest::Buffer buffer(L);
      std::vector<uint32_t> points(L);
      hybridElementSplit(points.data(), x.data(), plan);
      forwardFftFull(buffer.data, points.data(), plan.code, plan.tables);
      fftPointwiseSquare(buffer.data, plan.code);
      fftKernels()->inversePasses(buffer.data, plan.code, plan.tables);
      worst = std::fmax(worst, ffttest::worstRoundingError(buffer.data, plan.code));
      std::vector<uint32_t> scratch(hybridElementScratchWords(plan, true) + 4);
      uint32_t* aligned = scratch.data() + ((16 - reinterpret_cast<uintptr_t>(scratch.data()) % 16) % 16) / 4;
      hybridElementSquare(x.data(), plan, aligned);
      ASSERT_TRUE(testbridge::equalsMpz(x.data(), W + 1, expected.z)) << "L = " << L;
    }
    std::printf("[ ROUNDING ] L = %9llu, %2u bits: worst error %.5f\n", (unsigned long long)L,
                unsigned(row->bitsPerPoint), worst);
    worstOfAll = std::fmax(worstOfAll, worst);
    EXPECT_LT(worst, 0.25) << "L = " << L << ", " << row->bitsPerPoint << " bits";
  }
  std::printf("[ ROUNDING ] worst of all element lengths: %.5f\n", worstOfAll);
}
