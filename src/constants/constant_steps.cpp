// Steps shared by the series constants: numbers in either mode, the ratio
// finish of a summed series, the console lines and the writing of results.
#include "constants/constant_steps.h"

#include "arith/newton/newton.h"
#include "constants/compute_settings.h"
#include "constants/series.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "platform/console.h"

bool constantSwapMode(uint32_t mode) {
  return mode == computeModeBasicSwap;
}

void constantPushIfSwap(BigFloat* x, uint32_t mode) {
  if (constantSwapMode(mode)) bigFloatPushToDisk(x);
}

void constantLoad(Heap* heap, BigFloat* x) {
  if (bigIntIsPagedOut(x->mantissa)) bigIntLoad(heap, &x->mantissa, 0);
}

void constantDestroy(BigFloat* x) {
  bigFloatDestroy(x);
  bigFloatSetZero(x);
}

void constantTrim(BigFloat* x, BigFloat* y) {
  BigFloat zero;
  bigFloatSetZero(&zero);
  bigFloatCompact2(x, y != nullptr ? y : &zero);
}

void constantInvert(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower, uint32_t mode,
                    uint32_t show) {
  if (show) progressReset();
  if (constantSwapMode(mode)) {
    bigFloatInvertSwapped(heap, x, p, threadPower, show);
  } else {
    bigFloatInvert(heap, x, p, threadPower, show);
  }
}

uint64_t constantSumQuietly(Heap* heap, const SeriesKind* kind, SplitFloats* out, uint64_t words,
                            uint32_t threads, uint32_t mode, uint32_t show) {
  const uint32_t exponent = threads == 0 ? 0 : threads + 1;
  SeriesPlan plan;
  seriesPlanInit(&plan, 16);
  const uint64_t budget = heap != nullptr ? heapFreeSpace(heap) : ~uint64_t(0);
  const uint64_t terms = buildSeriesPlan(&plan, kind, budget, words, threads, mode);
  uint32_t flags = show ? seriesShowProgress : 0;
  if (mode >= computeModeBasicSwap) flags |= seriesSwapMode;
  sumSeriesPlan(heap, kind, &plan, terms, words, exponent, flags, out);
  seriesPlanRelease(&plan);
  return terms;
}

void constantRatioFinish(Heap* heap, BigFloat* q, BigFloat* r, uint32_t a, uint32_t b, uint32_t d,
                         BigFloat* out, uint64_t words, uint32_t threadPower, uint32_t mode,
                         uint32_t show) {
  // T = a Q + b R, then Q = 1 / (d Q), then T * Q.
  BigFloat t;
  constantLoad(heap, q);
  if (a == 1) {
    bigIntCopy(heap, &q->mantissa, &t.mantissa);
    t.exponent = q->exponent;
    t.positive = q->positive;
  } else {
    bigFloatFromU32(heap, &t, a);
    bigFloatMultiplyInPlace(heap, &t, q, words, threadPower);
  }
  constantPushIfSwap(q, mode);
  constantLoad(heap, r);
  if (b != 1) bigFloatMultiplyWord(heap, r, b, words);
  bigFloatAddTo(heap, &t, r, words);
  constantDestroy(r);
  constantPushIfSwap(&t, mode);
  constantLoad(heap, q);
  bigFloatMultiplyWord(heap, q, d, words);
  constantInvert(heap, q, words, threadPower, mode, show);
  if (!constantSwapMode(mode)) constantTrim(&t, q);
  if (show) constantPrintMultiplying(words);
  // In Basic Swap both factors wait on disk: a large product runs on the
  // disk path, and its result comes in once they are gone.
  constantPushIfSwap(q, mode);
  constantPushIfSwap(&t, mode);
  bigFloatMultiplyInPlace(heap, &t, q, words, threadPower);
  constantDestroy(q);
  constantLoad(heap, &t);
  constantTrim(&t, nullptr);
  bigFloatMove(out, &t);
}

void constantPrintMultiplying(uint64_t words) {
  const uint64_t digits = uint64_t(double(words) * decimalDigitsPerWord) + 1;
  clearStatusLine();
  printWide("Multiplying...    ( " + formatGrouped(digits, 0) + " )");
}

void constantPrintColoredTime(int color, uint64_t start) {
  setColor(color);
  printTime(timerSeconds(start));
  colorDefault();
}

void constantPrintPhaseTime(uint64_t start) {
  clearStatusLine();
  printWide("Time: ");
  constantPrintColoredTime(11, start);
}

void constantPrintTotal(const char* name, uint64_t start) {
  printWide("\n");
  setColor(10);
  printWide(name);
  colorDefault();
  printWide(":  ");
  constantPrintColoredTime(14, start);
}

void constantPrintComputeVerify(uint64_t start) {
  clearStatusLine();
  printWide("Compute + Verify:  ");
  constantPrintColoredTime(14, start);
  printWide("\n");
}

namespace {

void buildTable(ComputeSettings* settings, BigFloat* number, BaseConversionTable* table) {
  if (constantSwapMode(settings->computeMode)) {
    buildBaseConversionTableSwapped(settings->heap, number, table, settings->threadPower);
  } else {
    buildBaseConversionTable(settings->heap, number, table, settings->threadPower);
  }
}

}  // namespace

double constantWriteOne(ComputeSettings* settings, BigFloat* value, uint32_t labelFlag,
                        uint64_t integerDigits) {
  double writing = writeHexDigits(settings, value, integerDigits, labelFlag);
  BaseConversionTable table;
  buildTable(settings, value, &table);
  writing += writeDecimalDigits(settings, value, integerDigits, &table, labelFlag);
  releaseBaseConversionTable(&table);
  bigFloatDestroy(value);
  return writing;
}

double constantWriteBoth(ComputeSettings* settings, BigFloat* first, BigFloat* second,
                         uint64_t integerDigits) {
  double writing = writeHexDigits(settings, first, integerDigits, 0);
  writing += writeHexDigits(settings, second, integerDigits, 1);
  constantPushIfSwap(first, settings->computeMode);
  constantPushIfSwap(second, settings->computeMode);
  BaseConversionTable table;
  buildTable(settings, first, &table);
  writing += writeDecimalDigits(settings, first, integerDigits, &table, 0);
  writing += writeDecimalDigits(settings, second, integerDigits, &table, 1);
  releaseBaseConversionTable(&table);
  bigFloatDestroy(first);
  bigFloatDestroy(second);
  return writing;
}
