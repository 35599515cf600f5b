// Euler's constant: series A and B with their top merge, the value A / B,
// the refinement by series C, the logarithm k ln 2, and the driver's entry
// with its compute-and-verify form (n = 2^k refined, then n = 2^(k+1) alone).
#include <algorithm>
#include <cmath>

#include "constants/compute_settings.h"
#include "constants/constant_steps.h"
#include "constants/euler.h"
#include "constants/log.h"
#include "constants/series.h"
#include "constants/series_internal.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"

namespace {

void printStatus(const char* text) {
  clearStatusLine();
  printWide(text);
}

void printTerms(const char* label, uint64_t terms) {
  printWide(label);
  printGrouped(terms, 0);
  printWide(" terms\n");
}

// One block over (0, terms] whose merges keep `words` words: the exact
// numbers of these series outgrow the precision long before the top. With
// `swap` its merges of numbers near that size page their halves out.
SeriesBlock truncatedBlock(uint64_t terms, uint64_t words, uint32_t threadPower, bool swap) {
  SeriesBlock block = {};
  block.precision = words;
  block.last = terms;
  block.topLevels = seriesTopLevels(words, threadPower);
  block.swapFlag = swap ? 1 : 0;
  block.shift = 1;
  return block;
}

// The kind with exact integer sums over ranges whose numbers stay near a
// quarter of `words`: the largest of them grows by about 3 ln(terms)
// natural-log units a term (z against q^3).
SeriesKind exactUpTo(const SeriesKind* kind, uint64_t terms, uint64_t words) {
  SeriesKind local = *kind;
  const long double perTerm = 3.0L * logl((long double)terms + 2.0L) * wordsPerNaturalLog;
  const long double fit = (long double)words / (4.0L * perTerm);
  local.floatLeafTerms = uint32_t(std::clamp(fit, (long double)seriesSerialTerms, 1.0e6L));
  return local;
}

// Series A and B at W words: both halves of (0, N] with every merge at W
// words, then their merge on all threads. out: q, y = r[0], z = r[1]. In
// Basic Swap the merges of numbers near W words page their halves out;
// the results may be left on disk.
void sumMainSeries(Heap* heap, uint32_t k, uint64_t words, uint32_t threadPower, SplitFloats* out,
                   uint32_t mode, uint32_t show) {
  const uint64_t terms = eulerMainTerms(k, words);
  const SeriesKind kind = exactUpTo(eulerSeriesKind(k), terms, words);
  if (show) printTerms("Series A and B:  ", terms);
  const uint32_t exponent = threadPower == 0 ? 0 : threadPower + 1;
  const bool paged = constantSwapMode(mode);
  const SeriesBlock block = truncatedBlock(terms, words, threadPower, paged);
  const uint32_t flags = (show ? seriesShowProgress : 0) | (paged ? seriesSwapMode : 0);
  const uint64_t middle = splitPoint(&kind, 0, terms);
  SplitFloats left, right;
  if (show) {
    progressReset();
    progressPush('0');
  }
  seriesPrintProgress(flags);
  seriesProgressLayerFloat(heap, &kind, 0, middle, &left, &block, 1, exponent,
                           flags | seriesWantP);
  if (paged) splitFloatsPushToDisk(&left);
  if (show) progressReplace('1');
  seriesPrintProgress(flags);
  seriesProgressLayerFloat(heap, &kind, middle, terms, &right, &block, 1, exponent, flags);
  if (show) progressReplace('-');
  seriesPrintProgress(flags);
  if (paged) {
    eulerMergeFloatsPaged(heap, &kind, &left, &right, out, words, words, 0,
                          seriesMergeThreads(exponent));
  } else {
    eulerMergeFloats(heap, &kind, &left, &right, out, words, words, 0,
                     seriesMergeThreads(exponent));
  }
  if (show) progressReset();
}

// The refinement subtracted from z: (Rc + Qc) T^2 / (4 n Qc y^2), with
// T = q^2 and y = q^2 + y of the main series (both consumed).
void subtractCorrection(Heap* heap, BigFloat* z, BigFloat* t, BigFloat* y, uint32_t k,
                        uint64_t words, uint32_t threadPower, uint32_t mode, uint32_t show) {
  const uint64_t skip = eulerCorrectionSkipWords(k);
  if (words <= skip + 3) {
    if (show) printWide("Series C not needed\n");
    constantDestroy(t);
    constantDestroy(y);
    return;
  }
  const uint64_t wc = words - skip;
  const uint64_t terms = eulerCorrectionTerms(k, wc);
  if (show) printTerms("Series C:  ", terms);
  constantPushIfSwap(z, mode);
  constantPushIfSwap(t, mode);
  constantPushIfSwap(y, mode);
  const uint64_t start = show ? timerStart() : 0;
  const SeriesKind kind = exactUpTo(eulerCorrectionKind(k), 2 * terms, wc);
  // In Basic Swap its merges of numbers near wc words page their halves out,
  // as those of series A and B do.
  const bool paged = constantSwapMode(mode);
  SeriesPlan plan;
  seriesPlanInit(&plan, 1);
  seriesPlanAppend(&plan, truncatedBlock(terms, wc, threadPower, paged));
  SplitFloats c;
  if (show) progressReset();
  sumSeriesPlan(heap, &kind, &plan, terms, wc, threadPower == 0 ? 0 : threadPower + 1,
                (show ? seriesShowProgress : 0) | (paged ? seriesSwapMode : 0), &c);
  seriesPlanRelease(&plan);
  if (show) printStatus("Finalizing...");
  BigFloat* rc = &c.r[0];
  BigFloat* qc = &c.q;
  constantLoad(heap, rc);
  constantLoad(heap, qc);
  bigFloatAddTo(heap, rc, qc, wc);
  bigFloatShiftBits(heap, qc, int64_t(k) + 2);  // 4 n
  constantLoad(heap, t);
  bigFloatSquareInPlace(heap, t, wc, threadPower);
  bigFloatMultiplyInPlace(heap, rc, t, wc, threadPower);
  constantDestroy(t);
  constantLoad(heap, y);
  bigFloatSquareInPlace(heap, y, wc, threadPower);
  bigFloatMultiplyInPlace(heap, qc, y, wc, threadPower);
  constantDestroy(y);
  constantTrim(rc, qc);
  constantInvert(heap, qc, wc, threadPower, mode, 0);
  bigFloatMultiplyInPlace(heap, rc, qc, wc, threadPower);
  constantDestroy(qc);
  constantLoad(heap, z);
  bigFloatSubtractFrom(heap, z, rc, words);
  constantDestroy(rc);
  constantTrim(z, nullptr);
  if (show) constantPrintPhaseTime(start);
  if (show) printWide("\n");
}

// Log(2) to W words: with its own lines once the run has passed 30 seconds,
// else quietly under one line with the time after it.
void computeLog2(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                 uint32_t mode, uint32_t show, uint64_t runStart) {
  const uint32_t power = std::min(threadPower, globalThreadPower);
  if (show && timerSeconds(runStart) > 30.0) {
    log2Compute(heap, out, wordCount, power, mode, 1);
    printWide("\n");
    return;
  }
  const uint64_t start = show ? timerStart() : 0;
  if (show) printWide("Computing: Log(2)   ");
  log2Compute(heap, out, wordCount, power, mode, 0);
  if (show) {
    constantPrintColoredTime(11, start);
    printWide("\n");
  }
}

}  // namespace

void eulerCompute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower, uint32_t k,
                  bool refined, BigFloat* log2, BigFloat* keepLog2, uint32_t mode,
                  uint32_t show, const char* name) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumMainSeries(heap, k, words, threadPower, &sum, mode, show);
  BigFloat* q = &sum.q;
  BigFloat* y = &sum.r[0];
  BigFloat* z = &sum.r[1];

  // A / B = z / (q (q^2 + y)). In Basic Swap every number waits on disk
  // outside its steps, so that large products take the disk path.
  uint64_t phase = show ? timerStart() : 0;
  if (show) printStatus("Finalizing...");
  const bool swap = constantSwapMode(mode);
  constantPushIfSwap(z, mode);
  constantPushIfSwap(y, mode);
  constantPushIfSwap(q, mode);
  BigFloat t;
  bigFloatSquareInto(heap, q, &t, words + 3, threadPower);
  bigFloatAddTo(heap, y, &t, words);
  constantPushIfSwap(&t, mode);
  constantPushIfSwap(y, mode);
  bigFloatMultiplyInPlace(heap, q, y, words, threadPower);
  if (!refined) {
    constantDestroy(y);
    constantDestroy(&t);
  }
  if (!swap) constantTrim(q, nullptr);
  constantInvert(heap, q, words, threadPower, mode, 0);
  constantPushIfSwap(q, mode);
  bigFloatMultiplyInPlace(heap, z, q, words, threadPower);
  constantDestroy(q);
  constantLoad(heap, z);
  constantTrim(z, nullptr);
  if (show) {
    constantPrintPhaseTime(phase);
    printWide("\n");
  }
  if (refined) subtractCorrection(heap, z, &t, y, k, words, threadPower, mode, show);

  // gamma = A / B - k ln 2.
  constantPushIfSwap(z, mode);
  BigFloat l;
  if (log2 != nullptr) {
    constantLoad(heap, log2);
    bigIntCopy(heap, &log2->mantissa, &l.mantissa);
    l.exponent = log2->exponent;
    l.positive = log2->positive;
  } else {
    computeLog2(heap, &l, wordCount, threadPower, mode, show, start);
    if (keepLog2 != nullptr) {
      bigIntCopy(heap, &l.mantissa, &keepLog2->mantissa);
      keepLog2->exponent = l.exponent;
      keepLog2->positive = l.positive;
      constantPushIfSwap(keepLog2, mode);
    }
  }
  bigFloatMultiplyWord(heap, &l, k, words);
  constantLoad(heap, z);
  bigFloatSubtractFrom(heap, z, &l, words);
  constantDestroy(&l);
  constantTrim(z, nullptr);
  bigFloatMove(out, z);
  if (show) constantPrintTotal(name, start);
}

double computeEuler(ComputeSettings* settings) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;
  const uint64_t start = timerStart();
  uint32_t k = settings->constantParameter;
  if (k < 5) k = eulerSizePower(settings->hexDigits);
  Heap* heap = settings->heap;
  const uint64_t wordCount = settings->wordCount;
  const uint32_t threads = settings->threadPower;
  BigFloat value;
  if (settings->algorithm != eulerComputeVerify) {
    const bool refined = settings->algorithm == eulerRefined;
    eulerCompute(heap, &value, wordCount, threads, refined ? k : k + 1, refined, nullptr, nullptr,
                 mode, 1, "Euler");
    printWide("\n");
    const double writing = constantWriteOne(settings, &value, 0, 0);
    return timerSeconds(start) - writing;
  }
  BigFloat log2;
  bigFloatSetZero(&log2);
  eulerCompute(heap, &value, wordCount, threads, k, true, nullptr, &log2, mode, 1, "Compute");
  printWide("\n");
  double writing = constantWriteOne(settings, &value, 0, 0);
  printWide("\nBegin Verification:\n\n");
  BigFloat second;
  eulerCompute(heap, &second, wordCount, threads, k + 1, false, &log2, nullptr, mode, 1, "Verify");
  constantDestroy(&log2);
  printWide("\n");
  writing += constantWriteOne(settings, &second, 1, 0);
  return timerSeconds(start) - writing;
}
