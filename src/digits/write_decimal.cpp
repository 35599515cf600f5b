// The decimal writer: base conversion of the BigFloat (Ram Only or Basic
// Swap form), then the digits of the radix-10^9 words, 9 to a word.
#include "constants/compute_settings.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "memory/paging.h"
#include "platform/console.h"

double writeDecimalDigits(ComputeSettings* settings, BigFloat* number, uint64_t integerDigits,
                          BaseConversionTable* table, uint32_t labelFlag) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) {
    bigFloatDestroy(number);
    return 0.0;
  }
  if (settings->digitsPerFile != 0) digitCompressedCheck(settings->decimalDigits);

  // The conversion is asked for the integer digits as well as the requested
  // ones; the second value of a compute-and-verify run is cut elsewhere.
  Heap* heap = settings->heap;
  const uint64_t digits = settings->decimalDigits + integerDigits;
  const uint32_t secondary = labelFlag != 0 ? 1 : 0;
  ConversionOutput out;
  if (mode == computeModeRamOnly) {
    convertToDecimal(heap, &out, number, digits, table, secondary, settings->threadPower);
  } else {
    convertToDecimalSwapped(heap, &out, number, digits, table, secondary, settings->threadPower);
    bigIntLoad(heap, &out.digits, 0);
  }

  DigitSource source;
  source.words = out.digits.words;
  source.length = out.digits.length;
  source.scale = out.scale;
  source.radix = 10;
  double seconds = settings->digitsPerFile == 0
                       ? writeDigitText(settings, &source, integerDigits, labelFlag)
                       : writeDigitCompressed(settings, &source, integerDigits, labelFlag);
  releaseConversionOutput(&out);
  return seconds;
}
