// The product and conversion estimates against the peak measured in a root
// heap of their own. A product's figure covers all above its operands, for
// every form of an n-word product; a conversion's covers the whole run of a
// number shaped like a constant's result.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "constants/compute_settings.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "shell/estimate.h"
#include "support/gmp_bridge.h"
#include "support/test_arena.h"

using testbridge::Random;
using testbridge::testRandom;

namespace {

struct Arena : TestArena {
  using TestArena::TestArena;
  uint64_t peak() const { return uint64_t(heap.peakUsed - heap.base); }
};

// x = n random words (top word non-zero) at word exponent `exponent`, in an
// array of n + 2 words as the products leave them.
void makeNumber(Heap* heap, Random& random, BigFloat* x, uint64_t n, int64_t exponent) {
  bigFloatSetZero(x);
  x->mantissa.words = heapAllocateWords(heap, n + 2);
  for (uint64_t i = 0; i < n; i++) x->mantissa.words[i] = random.word();
  x->mantissa.words[n - 1] |= 1;
  x->mantissa.length = n;
  x->mantissa.capacity = n + 2;
  x->exponent = exponent;
}

// ---- Products ------------------------------------------------------------------

enum ProductForm { FormSquare, FormMultiply, FormChoppedSquare, FormChoppedMultiply, FormUnbalanced };
const char* const formNames[] = {"square", "multiply", "chopped square", "chopped multiply",
                                 "unbalanced"};

// Bytes of one product of n-word operands in `form` above its operands: the
// chopped forms keep p + 3 = n words as the constants do; the unbalanced
// form takes an n / 3 + 1 word second operand (the FFT's pieces).
uint64_t productPeak(Random& random, uint64_t n, uint32_t threadPower, ProductForm form) {
  Arena arena(4 * estimateProduct(n, threadPower, 0, 0) + 64 * n + (1 << 20));
  Heap* heap = &arena.heap;
  BigFloat a, b;
  makeNumber(heap, random, &a, n, 0);
  makeNumber(heap, random, &b, form == FormUnbalanced ? n / 3 + 1 : n, 0);
  const uint64_t operands = arena.peak();
  BigFloat out;
  bigFloatSetZero(&out);
  switch (form) {
    case FormSquare:
      bigIntSquare(heap, &a.mantissa, &out.mantissa, 0, 0, threadPower);
      break;
    case FormMultiply:
    case FormUnbalanced:
      bigIntMultiply(heap, &a.mantissa, &b.mantissa, &out.mantissa, 0, 0, threadPower);
      break;
    case FormChoppedSquare:
      bigFloatSquareInto(heap, &a, &out, n - 3, threadPower);
      break;
    case FormChoppedMultiply:
      bigFloatMultiplyInto(heap, &a, &b, &out, n - 3, threadPower);
      break;
  }
  const uint64_t peak = arena.peak() - operands;
  bigFloatDestroy(&out);
  bigFloatDestroy(&b);
  bigFloatDestroy(&a);
  return peak;
}

// The largest form at n, each form checked against the estimate at
// `threadPower` on the way.
uint64_t largestProductPeak(Random& random, uint64_t n, uint32_t threadPower) {
  const uint64_t estimate = estimateProduct(n, threadPower, 0, 0);
  uint64_t largest = 0;
  for (int form = FormSquare; form <= FormUnbalanced; form++) {
    const uint64_t peak = productPeak(random, n, threadPower, ProductForm(form));
    EXPECT_GE(estimate, peak) << formNames[form] << " of " << n << " words, threadPower "
                              << threadPower;
    largest = std::max(largest, peak);
  }
  return largest;
}

// The worst ratio of a sweep and where it was.
struct WorstRatio {
  double ratio = 0;
  uint64_t size = 0;
  void take(double r, uint64_t at) {
    if (r > ratio) ratio = r, size = at;
  }
};

// The sizes named by the method edges (recursive to FFT at 54/58, the
// FFT's old edge at 13057, the hand-over to the hybrid transform at
// hybridStart) and powers of ten.
const std::vector<uint64_t> productSizes = {
    10,   53,    54,    57,     58,     100,  500, 1000, 5000, 13056, 13057, 100000,
    hybridStart - 101, hybridStart - 1, hybridStart};

// The product's own figure, productScratch, covers every form on any
// thread count (the hybrid range forks inside the product); estimateProduct
// adds the thread recursion's levels on top.
TEST(EstimatePeak, ProductScratchCoversEveryFormWithinAQuarter) {
  // Tables as a run at the hand-over builds them, so that the largest direct
  // products take the FFT there.
  buildFftTables(hybridStart + 100);
  Random random = testRandom();
  std::vector<uint64_t> sizes = productSizes;
  for (int i = 0; i < 8; i++) sizes.push_back(random.logUniform(10, 100000));
  WorstRatio plain, large, atMargin;
  const uint64_t fftEdgePeak = largestProductPeak(random, hybridStart - 1, 0);
  for (uint64_t n : sizes) {
    for (uint32_t threadPower : {0u, 1u, 2u}) {
      // Threads change nothing below the hybrid range: sample them at its start.
      if (threadPower != 0 && n < hybridStart) continue;
      const uint64_t estimate = productScratch(n, threadPower);
      const uint64_t peak = largestProductPeak(random, n, threadPower);
      EXPECT_GE(estimate, peak) << n << " words, threadPower " << threadPower;
      plain.take(double(estimate) / double(peak), n);
      if (n >= 500) large.take(double(estimate) / double(peak), n);
      // The estimate is taken at n + 100 words, so the bound holds against
      // that product; in the hybrid range it also holds the FFT's largest
      // plain size, and the hybrid rows' memory is not monotonic: a looser bound.
      uint64_t peakAtMargin = largestProductPeak(random, n + 100, threadPower);
      const bool hybridRange = n + 100 >= hybridStart;
      if (hybridRange) peakAtMargin = std::max(peakAtMargin, fftEdgePeak);
      EXPECT_LE(double(estimate), (hybridRange ? 1.5 : 1.25) * double(peakAtMargin))
          << n << " words at +100";
      atMargin.take(double(estimate) / double(peakAtMargin), n);
    }
  }
  std::printf(
      "productScratch / peak: worst %.3f at %llu words, %.3f at %llu from 500 words; "
      "against the peak at +100 words %.3f at %llu\n",
      plain.ratio, (unsigned long long)plain.size, large.ratio, (unsigned long long)large.size,
      atMargin.ratio, (unsigned long long)atMargin.size);
  releaseFftTables();  // the next test builds the usual ones
}

// ---- Conversions -------------------------------------------------------------------

// The most decimal digits whose run has `words` words, and the one digit
// left of the point that the writers add.
uint64_t conversionDigits(uint64_t words) {
  uint64_t digits = uint64_t(double(8 * (words - 2) + 7) / hexDigitsPerDecimal);
  while ((uint64_t(double(digits) * hexDigitsPerDecimal) + 1) / 8 + 2 > words) digits--;
  return digits + 1;
}

// Peak of a whole conversion of an L-word constant: a number of L + 5 words
// (p + 3 at p = L + 2) whose top word lies `position` words above the point,
// the table, the secondary conversion (one word more than the primary).
uint64_t conversionPeak(Random& random, uint64_t words, uint32_t threadPower, int64_t position) {
  Arena arena(4 * estimateConversion(words, threadPower) + (1 << 20));
  Heap* heap = &arena.heap;
  BigFloat x;
  makeNumber(heap, random, &x, words + 5, position - int64_t(words + 5));
  std::string console;
  consoleCaptureTo(&console);
  BaseConversionTable table;
  buildBaseConversionTable(heap, &x, &table, threadPower);
  ConversionOutput out;
  convertToDecimal(heap, &out, &x, conversionDigits(words), &table, 1, threadPower);
  consoleCaptureTo(nullptr);
  releaseConversionOutput(&out);
  releaseBaseConversionTable(&table);
  return arena.peak();
}

// Both shapes are measured and the estimate must cover the larger; the upper
// bound is taken against it from 1000 words. Below that the whole run takes
// tens of KB and the fixed 1 KiB for block headers and the product margins
// weigh more (the ratio stays under 1.5 from 100 words, under 2.5 below).
TEST(EstimatePeak, ConversionCoversTheWholeRunWithinAQuarter) {
  Random random = testRandom();
  std::vector<uint64_t> sizes = {10, 57, 58, 100, 1000, 5000, 13056, 13057, 20000, 50000, 100000};
  for (int i = 0; i < 12; i++) sizes.push_back(random.logUniform(10, 100000));
  WorstRatio worst, small;
  for (uint64_t words : sizes) {
    for (uint32_t threadPower : {0u, 1u, 2u}) {
      const uint64_t estimate = estimateConversion(words, threadPower);
      uint64_t peak = 0;
      for (int64_t position : {0, 1}) {
        const uint64_t shape = conversionPeak(random, words, threadPower, position);
        EXPECT_GE(estimate, shape)
            << words << " words, threadPower " << threadPower << ", position " << position;
        peak = std::max(peak, shape);
      }
      const double ratio = double(estimate) / double(peak);
      // From 12000 words the hybrid rows' memory is not monotonic: looser.
      const double bound = words >= 12000 ? 1.8 : words >= 1000 ? 1.25 : words >= 100 ? 1.5 : 2.5;
      EXPECT_LE(ratio, bound) << words << " words, threadPower " << threadPower;
      (words >= 1000 ? worst : small).take(ratio, words);
    }
  }
  std::printf("estimateConversion / peak: worst %.3f at %llu words (from 1000), %.3f at %llu\n",
              worst.ratio, (unsigned long long)worst.size, small.ratio,
              (unsigned long long)small.size);
}

}  // namespace
