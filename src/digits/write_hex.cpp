// The hexadecimal writer: the digits of the BigFloat itself, 8 to a word.
#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "memory/paging.h"

double writeHexDigits(ComputeSettings* settings, BigFloat* number, uint64_t integerDigits,
                      uint32_t labelFlag) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;

  // Basic Swap: a number left on disk comes in for the writing and goes back
  // out after (its disk copy is kept, so that costs no write).
  const bool pagedOut = bigIntIsPagedOut(number->mantissa);
  if (pagedOut) bigIntLoad(settings->heap, &number->mantissa, 1);

  DigitSource source;
  source.words = number->mantissa.words;
  source.length = number->mantissa.length;
  source.scale = -number->exponent;
  source.radix = 16;
  double seconds = settings->digitsPerFile == 0
                       ? writeDigitText(settings, &source, integerDigits, labelFlag)
                       : writeDigitCompressed(settings, &source, integerDigits, labelFlag);

  if (pagedOut) bigIntReleaseWords(&number->mantissa);
  return seconds;
}
