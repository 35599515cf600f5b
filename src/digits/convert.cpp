// convertToDecimal: normalisation of the number to an integer Y, the hash of
// Y, the deconstruction into radix 10^9 and the hash of the result.
#include <algorithm>
#include <string>

#include "arith/tuning.h"
#include "digits/base_conversion.h"
#include "digits/conversion_internal.h"
#include "memory/heap.h"
#include "platform/console.h"

void conversionStatusLine(const char* text) {
  clearStatusLine();
  printWide(text);
}

void conversionTimeLine(uint64_t start) {
  double seconds = timerSeconds(start);
  clearStatusLine();
  printWide("Time: ");
  printTime(seconds);
}

void conversionProgress(const char* label, uint64_t words) {
  uint64_t digits = uint64_t(double(words) * decimalDigitsPerWord) + 1;
  std::string extra = "    ( " + formatGrouped(digits, 0) + " )";
  progressPrint(label, extra.c_str());
}

void normalizeForConversion(Heap* heap, BigFloat* number, uint64_t words, BigInt* y, int64_t* scale,
                            uint32_t threads) {
  // m radix words of the fraction: the power 10^(9 m) lifts them above the
  // point. Truncation toward zero; negative for a number with a positive
  // exponent, whose low words are then divided away.
  const int64_t m = int64_t(-double(number->exponent) * radixWordsPerWord);
  BigFloat power;
  powerOfBillion(heap, m, &power, words, threads);
  bigFloatMultiplyInPlace(heap, number, &power, words, threads);
  bigFloatDestroy(&power);
  *scale = m;
  number->positive = 1;
  if (number->exponent < 0 && !bigFloatIsZero(*number)) {
    // The fraction is cut off, not rounded.
    const uint64_t fraction = uint64_t(-number->exponent);
    if (fraction >= number->mantissa.length) {
      assertionFailure("Impossible Functional Result: ", "Base Conversion",
                       "Precision reduced to zero.");
    }
    bigIntDropLowWords(heap, &number->mantissa, fraction);
    number->exponent = 0;
  }
  conversionIntegerFromFloat(heap, number, y);
  bigFloatSetZero(number);
}

uint32_t conversionTopLevels(uint64_t baseWords, uint32_t levels, uint32_t threads,
                             uint32_t* threadsDown) {
  *threadsDown = threads == 0 ? 0 : threads == 1 ? 2 : threads + 2;
  if (levels == 0) return 0;
  // Binary words of the top half of the number, then of its halves.
  uint64_t x = uint64_t(double(baseWords << (levels - 1)) * wordsPerRadixWord) + 100;
  x = (x >> 1) + 10;
  x = (x >> 1) + 10;
  const uint64_t limit = 2 * std::max(hybridSquareThreshold, hybridMultiplyThreshold);
  if (x < limit) return 2;
  for (uint32_t i = 0; i < threads + 2; ++i) x = (x >> 1) + 10;
  return x < limit ? 3 : 2;
}

void conversionBegin(Heap* heap, ConversionStart* begin, BigFloat* number, uint64_t digits,
                     uint32_t secondary, uint32_t threads) {
  printWide(secondary != 0 ? "Base Converting (Secondary Cutting Parameters):\n"
                           : "Base Converting (Primary Cutting Parameters):\n");
  begin->start = timerStart();
  progressReset();
  // The secondary word moves every cut of the deconstruction.
  const uint64_t words = uint64_t(double(digits) * wordsPerDecimalDigit) + secondary + 3;
  conversionProgress("Normalizing      : ", words);
  normalizeForConversion(heap, number, words, &begin->y, &begin->scale, threads);
  conversionStatusLine("Hashing Binary Digits...");
  begin->binaryHash = hashBinaryWords(0, begin->y.words, begin->y.length);
  begin->window = uint64_t(double(begin->y.length) * radixWordsPerWord) + 2;
}

void conversionCheck(uint64_t binaryHash, uint64_t decimalHash) {
  if (binaryHash != decimalHash) fatalMessage("Base Conversion: Checksum Mismatch");
}

void convertToDecimal(Heap* heap, ConversionOutput* out, BigFloat* number, uint64_t digits,
                      BaseConversionTable* table, uint32_t secondary, uint32_t threads) {
  ConversionStart begin;
  conversionBegin(heap, &begin, number, digits, secondary, threads);
  uint32_t* words = heapAllocateWords(heap, begin.window);

  uint32_t threadsDown = 0;
  uint32_t topLevels = conversionTopLevels(table->baseWords, table->levels, threads, &threadsDown);
  deconstructTop(heap, &begin.y, words, begin.window, int32_t(table->levels) - 1, topLevels,
                 threads, threadsDown, table);

  conversionStatusLine("Hashing Decimal Digits...");
  uint64_t length = begin.window;
  while (length > 0 && words[length - 1] == 0) --length;
  conversionCheck(begin.binaryHash, hashDecimalWords(0, words, length));

  out->scale = begin.scale;
  out->digits.swap = nullptr;
  if (length == 0) {
    heapRelease(words);
    bigIntSetZero(&out->digits);
  } else {
    out->digits.words = words;
    out->digits.length = length;
    out->digits.capacity = begin.window;
  }
  conversionTimeLine(begin.start);
}

void releaseConversionOutput(ConversionOutput* out) {
  bigIntDestroy(&out->digits);
  bigIntSetZero(&out->digits);
  out->scale = 0;
}
