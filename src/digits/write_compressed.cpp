// The compressed worker of the digit writers: the same digits after the
// point as the text layout gives, handed to the compressed file writer,
// with the head of the number as the header's first digits.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "digits/zdg.h"
#include "platform/console.h"

namespace {

constexpr char hexLetters[] = "0123456789abcdef";
// Digits between two looks at the clock.
constexpr uint64_t progressStride = 16ull << 20;

// The digits of one source word with its leading zeros, as values.
inline uint32_t wordDigits(uint32_t word, uint32_t radix, uint8_t* digits) {
  if (radix == 16) {
    for (int i = 7; i >= 0; i--) {
      digits[i] = uint8_t(word & 15);
      word >>= 4;
    }
    return 8;
  }
  for (int i = 8; i >= 0; i--) {
    digits[i] = uint8_t(word % 10);
    word /= 10;
  }
  return 9;
}

// Walks the digits after the point: words[index], words[index - 1], ...,
// zero words past the stored ones.
struct DigitWalk {
  const DigitSource* source;
  int64_t index;
  uint8_t digits[9];
  uint32_t count;
  uint32_t at;
};

inline uint32_t walkNext(DigitWalk* walk) {
  if (walk->at == walk->count) {
    uint32_t word = walk->index >= 0 ? walk->source->words[walk->index] : 0;
    walk->index--;
    walk->count = wordDigits(word, walk->source->radix, walk->digits);
    walk->at = 0;
  }
  return walk->digits[walk->at++];
}

void progressLine(const char* label, uint64_t written) {
  clearStatusLine();
  printWide(label);
  printGrouped(written, 0);
  printWide("  digits written");
}

}  // namespace

void digitCompressedCheck(uint64_t requestedDigits) {
  if (requestedDigits < 100) fatalMessage("Too few digits to compress.");
}

uint64_t compressedLayout(const DigitSource* source, uint64_t count, char* firstDigits,
                          int64_t* firstIndex) {
  const uint32_t perWord = source->radix == 16 ? 8 : 9;
  char* text = firstDigits;
  uint64_t after;
  if (source->length == 0) {
    *text++ = '0';
    *firstIndex = -1;
    after = count;
  } else {
    const int64_t position = int64_t(source->length) - source->scale;
    if (position != 0 && position != 1) fatalMessage("Number is out of range.");
    int64_t top = int64_t(source->length) - 1;
    uint8_t digits[9];
    wordDigits(source->words[top], source->radix, digits);
    uint32_t first = 0;
    while (digits[first] == 0) first++;
    if (position == 1) {
      // The integer word's digits go before the point and count in `count`.
      for (uint32_t i = first; i < perWord; i++) *text++ = hexLetters[digits[i]];
      *firstIndex = top - 1;
      uint64_t integer = perWord - first;
      after = count > integer ? count - integer : 0;
    } else {
      // Below one: the zeros of the top word before its first non-zero
      // digit are written too, and counted apart from `count`.
      *text++ = '0';
      *firstIndex = top;
      after = count + first;
    }
  }
  *text++ = '.';
  DigitWalk walk = {source, *firstIndex, {}, 0, 0};
  while (text < firstDigits + zdgFirstDigitsLength) *text++ = hexLetters[walkNext(&walk)];
  *text = 0;
  return after;
}

double writeDigitCompressed(ComputeSettings* settings, const DigitSource* source,
                            uint64_t integerDigits, uint32_t labelFlag) {
  uint64_t start = timerStart();
  const bool hex = source->radix == 16;
  const uint64_t requested = hex ? settings->hexDigits : settings->decimalDigits;
  digitCompressedCheck(requested);

  char firstDigits[zdgFirstDigitsLength + 16];
  int64_t firstIndex;
  const uint64_t total = compressedLayout(source, requested + integerDigits, firstDigits, &firstIndex);

  char* stem = digitFileName(settings, source->radix, labelFlag);
  char shortName[32];
  const char* nameShort = settings->nameShort != nullptr ? settings->nameShort : "";
  if (settings->constantId == constantSqrtN) {
    snprintf(shortName, sizeof shortName, "Sqrt(%u)", settings->constantParameter);
    nameShort = shortName;
  }
  const char* nameLong = settings->nameLong != nullptr ? settings->nameLong : nameShort;
  const char* label = hex ? "Writing Hexadecimal Digits:   " : "Writing Decimal Digits:   ";
  printWide(label);

  ZdgWriter writer;
  zdgCreate(settings->heap, &writer, nameLong, nameShort, source->radix, firstDigits, total,
            settings->digitsPerFile, nullptr, stem);
  DigitWalk walk = {source, firstIndex, {}, 0, 0};
  uint64_t lastPrintMs = wallClockMilliseconds();
  for (uint64_t done = 0; done < total;) {
    uint64_t batch = total - done < progressStride ? total - done : progressStride;
    for (uint64_t i = 0; i < batch; i++) zdgPutDigit(&writer, walkNext(&walk));
    done += batch;
    uint64_t now = wallClockMilliseconds();
    if (now - lastPrintMs > 1000) {
      lastPrintMs = now;
      progressLine(label, done);
    }
  }
  zdgClose(&writer);
  progressLine(label, total);
  printWide("\n");
  free(stem);
  return timerSeconds(start);
}
