// Memory of the base conversion and of the two root constants, and the
// memory of a run in Basic Swap.
#include <algorithm>

#include "arith/fft/fft_sizes.h"
#include "arith/hybrid/hybrid_params.h"
#include "arith/recursive/recursive.h"
#include "arith/tuning.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"

// Length of the conversion's padded number in base-10^9 words, n << d, with
// w the base-10^9 words of the result: n = w + 2 halved (rounding up) until
// it is below 16, d counting the halvings; 0 and 0 when w + 2 is below 16.
static void conversionShape(uint64_t wordCount, uint64_t* w, uint64_t* top, uint32_t* levels) {
  *w = uint64_t((long double)wordCount * (long double)radixWords);
  uint64_t n = *w + 2;
  uint32_t d = 0;
  if (n >= 16) {
    while (n >= 16) {
      n = (n + 1) >> 1;
      d++;
    }
  } else {
    n = 0;
  }
  *top = n;
  *levels = d;
}

// Words of the conversion's table: its powers of 10^9 and their inverses.
static uint64_t conversionTableWords(uint64_t top, uint32_t levels) {
  return uint64_t((long double)(top << levels) * (long double)splitFactor);
}

// Mantissa words of 10^(9 m) as the conversion holds it: the factor 2^(9 m)
// goes to the exponent but for its last 9 m mod 32 bits, so 9 m log2(5)
// bits and those remain.
static uint64_t billionPowerWords(uint64_t m) {
  const uint64_t bits = uint64_t((long double)(9 * m) * 2.32192809488736234787L) + (9 * m) % 32 + 1;
  return (bits + 31) / 32;
}

// The power of the normalisation of a number of `length` words: m =
// trunc(length * radixWords) at the most.
static uint64_t normalizationPowerWords(uint64_t length) {
  return billionPowerWords(uint64_t((long double)length * (long double)radixWords));
}

// The peak of a conversion is its normalisation, the product of the number
// (a constant's L + 5 words) with 10^(9 m), which keeps log10(5) of that
// length: a product of 1.7 L words, the square shape of 0.85 L. It runs
// beside the number, the table and the power, with the gaps that the
// power's last squares leave below it; the top division holds the output
// and Y instead beside a smaller product, and the halves of the thread layer
// on their split heaps stay far below both (measured on 2 to 8 threads).
//
// This departs from the plain maximum of the working memory and the top
// division's product: that maximum is under half the measured peak from
// 3000 words up. The shape of the working memory is kept, (L + w + table)
// words, with 64 bytes for each of the table's 2 blocks a level and 1 KiB for
// the other blocks' headers; the output's w words stand in for the gaps. The product
// is taken at its exact length, without the margin of estimateProduct, and
// without thread levels (the products are single-threaded; the hybrid
// figure of productScratchAt keeps its own threads).
uint64_t estimateConversion(uint64_t wordCount, uint32_t threadPower) {
  uint64_t w, top;
  uint32_t levels;
  conversionShape(wordCount, &w, &top, &levels);
  const uint64_t working =
      (wordCount + w + conversionTableWords(top, levels)) * 4 + 128 * levels + 1024;
  const uint64_t length = wordCount + 5;
  const uint64_t power = normalizationPowerWords(length);
  const uint64_t size = (length + power + 1) / 2;
  // The front end picks the method by the shorter operand, the power.
  const uint64_t product =
      power < transformStart ? karatsubaScratchBytes(size) : productScratchAt(size, threadPower);
  // The top division's second product, q * D, runs beside the quotient q
  // (about the top power's length); where the normalisation's product is a
  // hybrid one and q * D a direct FFT, that phase is the larger by about q.
  const uint64_t quotient =
      levels == 0 ? 0 : uint64_t(double(top << (levels - 1)) * radixWordsInverse) + 6;
  return working + 4 * (power + quotient) + product;
}

// Swap space of the conversion: the number and its output, both parts of the
// top division, and the table's levels, all of which page in Basic Swap.
uint64_t estimateConversionDisk(uint64_t wordCount) {
  uint64_t w, top;
  uint32_t levels;
  conversionShape(wordCount, &w, &top, &levels);
  return (2 * (wordCount + w) + conversionTableWords(top, levels)) * 4;
}

// ---- Sqrt(n) and the Golden Ratio -------------------------------------------------
// These follow the run's allocations phase by phase, in heap blocks: the last
// Newton step of the inverse root, the building of the conversion table, the
// normalisation of the base conversion (the number times a power of 10^9 of
// its own length: the largest product of the run) and its top division.
// Products between the recursive range and the hybrid transform's run on
// the direct FFT: a square takes a transform buffer and its points, 12 bytes
// a point of the row's length, a product two buffers and the points, 20
// bytes a point. Larger ones take the hybrid transform's figure.

// Bytes of a heap block of `words` words: payload, header, guards, entry.
static uint64_t rootBlock(uint64_t words) { return 4 * words + 64; }

// Transform length of the FFT row of a product of `productBits` bits; 0 past
// the FFT's largest row.
static uint64_t rootFftLength(uint64_t productBits) {
  SizeCode code;
  uint32_t bitsPerPoint;
  if (fftParamsFor(productBits / 2, &code, &bitsPerPoint) != 0) return 0;
  return sizeCodeLength(code);
}

// The hybrid transform's figure for a product of `productWords` words (the
// run's limits keep it within the transform's range).
static uint64_t rootHybridWork(uint64_t productWords, uint32_t threadPower) {
  return productScratchAt(std::min(productWords / 2 + 1, hybridProductWordsLimit / 2),
                          threadPower);
}

// Bytes a product of na by nb words takes besides its operands and result.
// Past the FFT's rows only the hybrid transform can take it: its figure.
static uint64_t rootProductWork(uint64_t na, uint64_t nb, bool square, uint32_t t) {
  if (square) {
    if (na < fftSquareThreshold) return rootBlock(2 * na) + rootBlock(recursionScratchWords(na, true));
    if (na >= hybridSquareThreshold || (t > 0 && na >= threadedHybridThreshold))
      return rootHybridWork(2 * na, t);
    uint64_t length = rootFftLength(64 * na);
    if (length == 0) return rootHybridWork(2 * na, t);
    return 12 * length + 2 * 128;
  }
  if (std::min(na, nb) < fftMultiplyThreshold) {
    return rootBlock(na + nb) + rootBlock(unbalancedScratchWords(na, nb));
  }
  const uint64_t shorter = std::min(na, nb);
  if (shorter >= hybridMultiplyThreshold || (t > 0 && shorter >= threadedHybridThreshold))
    return rootHybridWork(na + nb, t);
  uint64_t length = rootFftLength(32 * (na + nb));
  if (length == 0) return rootHybridWork(na + nb, t);
  return 20 * length + 3 * 128;
}

// The last step of the inverse root to w words, h = w / 2 + 1. The steps
// below leave x at the end of two blocks of its size. Then s = x^2 and
// s = s * n (w + 6 words each) and e = 1 - s (w + 6 at most) come above it,
// s and its first form leaving holes that the product e * x (h + 3 words)
// may take; its transform comes above e.
static uint64_t rootNewtonPeak(uint64_t w, uint32_t t) {
  const uint64_t h = w / 2 + 1;
  const uint64_t x = 2 * rootBlock(h + 9);
  const uint64_t square = x + rootBlock(w + 8) + rootProductWork(h + 6, h + 6, true, t);
  const uint64_t product =
      x + 3 * rootBlock(w + 9) + rootBlock(h + 5) + rootProductWork(h + 6, w + 6 - h, false, t);
  return std::max(square, product);
}

// Mantissa words of 10^(9 n) and of its inverse, to the power's position + 4
// words and 3 guard words.
static uint64_t rootPowerWords(uint64_t n) { return billionPowerWords(n); }
static uint64_t rootInverseWords(uint64_t n) { return uint64_t(double(n) * radixWordsInverse) + 9; }

// The conversion of a number of `length` words to `words` words of
// precision, beside its table: all levels in Ram Only; in Basic Swap only
// the level in use, the others being on disk.
static uint64_t rootConversionPeak(uint64_t length, uint64_t words, bool swapped, uint32_t t) {
  // The table's shape as the conversion sizes it (without its level limit).
  uint64_t c = uint64_t(double(length) * radixWords) + 2;
  uint32_t levels = 0;
  for (; c >= 16; levels++) c = (c + 1) >> 1;
  const uint64_t number = rootBlock(length + 2);
  // The table: building the top level beside the levels below it (its power,
  // then the reciprocal's last step, x * r at the inverse's length).
  uint64_t table = 0;
  uint64_t building = 0;
  for (uint32_t i = 0; i < levels; i++) {
    const uint64_t n = c << i;
    const uint64_t power = rootPowerWords(n), inverse = rootInverseWords(n);
    const uint64_t r = inverse / 2 + 8;
    uint64_t step = (swapped ? 0 : table) + rootBlock(power + 2) + rootBlock(r) +
                    rootBlock(inverse + 3) + rootProductWork(power, r, false, t);
    if (i > 0) {
      const uint64_t below = rootPowerWords(n / 2);
      step = std::max(step, (swapped ? 0 : table) + rootBlock(power + 2) +
                                rootProductWork(below, below, true, t));
    }
    building = std::max(building, number + step);
    table += rootBlock(power + 2) + rootBlock(inverse + 3);
  }
  const uint64_t kept = swapped ? 0 : table;
  // The normalisation: 10^(9 m), m = (length - 1) * 1.07..., by squares to
  // words + 13 words at most (the exact power is shorter for a number of
  // position 1), then its product with the number, above the table. The
  // product keeps `words` words: the front end drops the low words of either
  // operand past that length, which cannot reach them, and near a transform
  // row's edge those few words decide the row. The squares and steps by
  // 10^9 before it leave holes of up to twice the power's size under it.
  const uint64_t m = uint64_t(double(length - 1) * radixWords);
  const uint64_t power = std::min(words + 13, rootPowerWords(m));
  const uint64_t half = std::min(words + 13, rootPowerWords(m / 2 + 1));
  const uint64_t squaring = kept + number + rootBlock(half + 2) + rootBlock(power + 2) +
                            rootProductWork(half, half, true, t);
  const uint64_t product = kept + number + 3 * rootBlock(power + 2) + rootBlock(words + 5) +
                           rootProductWork(std::min(length, words), std::min(power, words), false, t);
  // The top division: the integer Y (in the number's place) and the output
  // beside q = Y * inverse, kept to the precision p of the top power, which
  // leaves p + 3 words of Y in the product.
  uint64_t division = 0;
  if (levels > 0) {
    const uint64_t n = c << (levels - 1);
    const uint64_t inverse = rootInverseWords(n);
    const uint64_t p = uint64_t(double(n) * radixWordsInverse) + 6;
    const uint64_t output = uint64_t(double(words + 5) * radixWords) + 2;
    const uint64_t levelInUse =
        swapped ? rootBlock(rootPowerWords(n) + 2) + rootBlock(inverse + 3) : table;
    division = levelInUse + number + rootBlock(output) + rootBlock(p + 5) +
               rootProductWork(std::min(words + 5, p + 3), inverse, false, t);
  }
  return std::max({building, squaring, product, division});
}

// Room for the small blocks of a run: one-word numbers, the records of the
// split heaps, the conversion's child heaps and their tables.
static constexpr uint64_t rootSmallBlocks = 1024;

static uint64_t rootPeak(uint64_t wordCount, bool swapped, uint32_t t) {
  const uint64_t w = wordCount + 2;
  // The conversion's precision is the words of the digits asked for, the
  // integer digits included (at most wordCount - 1), and 3 guard words; its
  // products keep 3 words more: at most wordCount + 5.
  const uint64_t words = wordCount + 5;
  return std::max(rootNewtonPeak(w, t), rootConversionPeak(w + 4, words, swapped, t)) +
         rootSmallBlocks;
}

uint64_t estimateRoot(uint64_t wordCount, uint32_t threadPower) {
  return rootPeak(wordCount, false, threadPower);
}

// In Basic Swap only the operands of the product at hand are meant to sit in
// memory, the largest products being taken by the disk path. Until the disk
// workers are in the build those products run in memory, and the run's peak
// is that of Ram Only without the conversion table's other levels, which
// stay on disk.
uint64_t estimateRootSwap(uint64_t wordCount, uint32_t threadPower) {
  return rootPeak(wordCount, true, threadPower);
}
