// The entry of e for the driver: compute, write the hexadecimal digits,
// build the base conversion table, convert and write the decimal digits, and
// return the time without the writing. Compute and verify writes each of its
// two values in both radixes, under "Computation" and "Verification".
#include "constants/compute_settings.h"
#include "constants/e.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

namespace {

void buildTable(ComputeSettings* settings, BigFloat* number, BaseConversionTable* table) {
  if (settings->computeMode == computeModeBasicSwap) {
    buildBaseConversionTableSwapped(settings->heap, number, table, settings->threadPower);
  } else {
    buildBaseConversionTable(settings->heap, number, table, settings->threadPower);
  }
}

// One value: e has one digit before the point in either radix.
double writeOne(ComputeSettings* settings, BigFloat* value) {
  double writing = writeHexDigits(settings, value, 1, 0);
  BaseConversionTable table;
  buildTable(settings, value, &table);
  writing += writeDecimalDigits(settings, value, 1, &table, 0);
  releaseBaseConversionTable(&table);
  bigFloatDestroy(value);
  return writing;
}

// Both values of compute and verify: the hexadecimal files first, then one
// table for both conversions (the second with the secondary cuts).
double writeBoth(ComputeSettings* settings, BigFloat* first, BigFloat* second) {
  double writing = writeHexDigits(settings, first, 1, 0);
  writing += writeHexDigits(settings, second, 1, 1);
  if (settings->computeMode == computeModeBasicSwap) {
    bigFloatPushToDisk(first);
    bigFloatPushToDisk(second);
  }
  BaseConversionTable table;
  buildTable(settings, first, &table);
  writing += writeDecimalDigits(settings, first, 1, &table, 0);
  writing += writeDecimalDigits(settings, second, 1, &table, 1);
  releaseBaseConversionTable(&table);
  bigFloatDestroy(first);
  bigFloatDestroy(second);
  return writing;
}

}  // namespace

double computeE(ComputeSettings* settings) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;
  const uint64_t start = timerStart();
  Heap* heap = settings->heap;
  const uint64_t words = settings->wordCount;
  const uint32_t threads = settings->threadPower;
  double writing = 0.0;
  if (settings->algorithm == eComputeVerify) {
    BigFloat first, second;
    computeEVerify(heap, &first, &second, words, threads, mode, 1);
    clearStatusLine();
    printWide("Compute + Verify:  ");
    setColor(14);
    printTime(timerSeconds(start));
    colorDefault();
    printWide("\n");
    writing = writeBoth(settings, &first, &second);
  } else {
    BigFloat value;
    if (settings->algorithm == eExpMinusOne) {
      computeEExpMinusOne(heap, &value, words, threads, mode, 1);
    } else {
      computeEExpOne(heap, &value, words, threads, mode, 1);
    }
    printWide("\n");
    writing = writeOne(settings, &value);
  }
  return timerSeconds(start) - writing;
}
