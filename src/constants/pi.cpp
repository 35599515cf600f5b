// Pi's two series as instances of the binary splitting machinery, the
// compute steps (summation then finish) and the entry of the driver.
#include "constants/pi.h"

#include <cmath>

#include "constants/compute_settings.h"
#include "constants/series.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// ln of the factor c of Q(k) = c k^3 (for Chudnovsky 640320^3 / 24).
constexpr long double chudnovskyLnQ = 36.93111616078457L;
constexpr long double ramanujanLnQ = 21.846215303338088L;

// The algorithm a kind's leaf builds terms for.
constexpr uint32_t chudnovskyContext = piChudnovsky;
constexpr uint32_t ramanujanContext = piRamanujan;

// Chudnovsky: alternating R, the float layer enters the integers at 4 terms
// and the integer serial layer goes down to single terms from 4.
const SeriesKind chudnovskyKind = {
    1,                     // numerators
    1,                     // hasP
    1,                     // alternatingMask: R(k) carries (-1)^k
    4,                     // leafTerms
    4,                     // floatLeafTerms
    0,                     // singleBlock
    0,                     // firstIndex: the range (0, N]
    0.6792553465009138L,   // terms per word
    chudnovskySizeWords,   // sizeWords
    chudnovskySizePWords,  // sizePWords
    piLeaf,
    nullptr,
    nullptr,
    &chudnovskyContext,
    nullptr,
};

const SeriesKind ramanujanKind = {
    1,
    1,
    0,  // no signs
    seriesSerialTerms,
    seriesSerialTerms,
    0,
    0,
    1.206753604983153L,
    ramanujanSizeWords,
    ramanujanSizePWords,
    piLeaf,
    nullptr,
    nullptr,
    &ramanujanContext,
    nullptr,
};

}  // namespace

const SeriesKind* piSeriesKind(uint32_t algorithm) {
  return algorithm == piChudnovsky ? &chudnovskyKind : &ramanujanKind;
}

long double chudnovskySizeWords(long double n) {
  return (chudnovskyLnQ * n + 3.0L * lnFactorial(n)) * wordsPerNaturalLog;
}

// Each P(k) = (6k-1)(6k-5)(2k-1) is below 72 k^3, so P(0, n) is below
// 72^n (n!)^3: the bound is as tight as Q's estimate.
long double chudnovskySizePWords(long double n) {
  return (4.276666119016055L * n + 3.0L * lnFactorial(n)) * wordsPerNaturalLog;
}

long double ramanujanSizeWords(long double n) {
  return (ramanujanLnQ * n + 3.0L * lnFactorial(n)) * wordsPerNaturalLog;
}

// (4k-1)(4k-2)(4k-3) over k <= n is three quarters of (4n)! by size; the
// factor 2 of each 4k-2 = 2(2k-1) is taken out again as n ln 2.
long double ramanujanSizePWords(long double n) {
  return (0.75L * lnFactorial(4.0L * n) - n * 0.6931471805599453L) * wordsPerNaturalLog;
}

void piComputeNumber(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                     uint32_t algorithm, uint32_t show) {
  uint64_t start = show ? timerStart() : 0;
  uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumSeries(heap, piSeriesKind(algorithm), &sum, words, threadPower, computeModeRamOnly, show);
  piFinish(heap, &sum.q, &sum.r[0], out, words, threadPower, algorithm, show, start);
}

void piComputeNumberSwapped(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                            uint32_t algorithm, uint32_t show) {
  uint64_t start = show ? timerStart() : 0;
  uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumSeries(heap, piSeriesKind(algorithm), &sum, words, threadPower, computeModeBasicSwap, show);
  piFinishSwapped(heap, &sum.q, &sum.r[0], out, words, threadPower, algorithm, show, start);
}

double computePi(ComputeSettings* settings) {
  uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;
  Heap* heap = settings->heap;
  uint32_t threads = settings->threadPower;
  uint32_t algorithm = settings->algorithm == piRamanujan ? piRamanujan : piChudnovsky;
  uint64_t start = timerStart();

  BigFloat pi;
  if (mode == computeModeRamOnly) {
    piComputeNumber(heap, &pi, settings->wordCount, threads, algorithm, 1);
  } else {
    piComputeNumberSwapped(heap, &pi, settings->wordCount, threads, algorithm, 1);
  }

  // Pi has one digit before the point in either radix.
  double writing = writeHexDigits(settings, &pi, 1, 0);
  BaseConversionTable table;
  if (mode == computeModeRamOnly) {
    buildBaseConversionTable(heap, &pi, &table, threads);
  } else {
    buildBaseConversionTableSwapped(heap, &pi, &table, threads);
  }
  writing += writeDecimalDigits(settings, &pi, 1, &table, 0);
  releaseBaseConversionTable(&table);
  bigFloatDestroy(&pi);
  return timerSeconds(start) - writing;
}
