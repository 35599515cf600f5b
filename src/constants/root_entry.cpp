// The shape shared by the entries of Sqrt(n) and the Golden Ratio: compute,
// write the hexadecimal digits, build the conversion table, convert and
// write the decimal digits, and return the time without the writing.
#include "constants/compute_settings.h"
#include "constants/roots.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

double rootEntry(ComputeSettings* settings, uint32_t swapped) {
  uint64_t start = timerStart();
  Heap* heap = settings->heap;
  const uint32_t threads = settings->threadPower;
  const char* name = settings->displayName != nullptr ? settings->displayName : "";

  BigFloat value;
  uint64_t hexInteger = 1;
  uint64_t decimalInteger = 1;
  if (settings->constantId == constantGoldenRatio) {
    goldenRatioCompute(heap, &value, settings->wordCount, threads, swapped, name);
  } else {
    sqrtNCompute(heap, &value, settings->wordCount, threads, settings->constantParameter, swapped,
                 name);
    // Sqrt(n) may have up to five decimal digits left of the point.
    uint32_t top = rootIntegerWord(&value);
    hexInteger = hexIntegerDigits(top);
    decimalInteger = decimalIntegerDigits(top);
  }

  double writing = writeHexDigits(settings, &value, hexInteger, 0);
  BaseConversionTable table;
  if (swapped) {
    // Only the conversion's operands need to be in memory from here on.
    bigFloatPushToDisk(&value);
    buildBaseConversionTableSwapped(heap, &value, &table, threads);
  } else {
    buildBaseConversionTable(heap, &value, &table, threads);
  }
  writing += writeDecimalDigits(settings, &value, decimalInteger, &table, 0);
  releaseBaseConversionTable(&table);
  return timerSeconds(start) - writing;
}
