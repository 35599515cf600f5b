// The text layout of a digit file, shared by both radixes: the head (zero,
// integer word and point, or the scaled and below-one forms), then the digits
// word by word up to the count, with the progress line of the writers.
#include <cstdio>
#include <cstdlib>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

namespace {

constexpr char hexLetters[] = "0123456789abcdef";
// Digits between two looks at the clock: 0x100000 batches of 16.
constexpr uint64_t progressStride = 16ull << 20;

// text = the digits of one word with its leading zeros: 8 hexadecimal
// (radix 16) or 9 decimal (radix 10) characters. Returns the count.
inline uint32_t wordText(uint32_t word, uint32_t radix, char* text) {
  if (radix == 16) {
    for (int i = 7; i >= 0; i--) {
      text[i] = hexLetters[word & 15];
      word >>= 4;
    }
    return 8;
  }
  for (int i = 8; i >= 0; i--) {
    text[i] = char('0' + word % 10);
    word /= 10;
  }
  return 9;
}

struct LayoutProgress {
  const char* label;  // null: silent
  uint64_t nextCheck;
  uint64_t lastPrintMs;
};

void progressLine(const char* label, uint64_t written) {
  clearStatusLine();
  printWide(label);
  printGrouped(written, 0);
  printWide("  digits written");
}

void progressCheck(LayoutProgress* progress, uint64_t written) {
  while (written >= progress->nextCheck) progress->nextCheck += progressStride;
  if (progress->label == nullptr) return;
  uint64_t now = wallClockMilliseconds();
  if (now - progress->lastPrintMs <= 1000) return;
  progress->lastPrintMs = now;
  progressLine(progress->label, written);
}

// Digits of words[index], words[index - 1], ... (a negative index reads as a
// zero word) until `written` reaches `count`. Returns the new `written`.
uint64_t emitWords(DigitStream* stream, const DigitSource* source, int64_t index, uint64_t written,
                   uint64_t count, LayoutProgress* progress) {
  char text[9];
  while (written < count) {
    uint32_t word = index >= 0 ? source->words[index] : 0;
    index--;
    uint64_t left = count - written;
    if (stream->size - stream->fill >= 9) {
      // Room for a whole word: straight into the buffer.
      uint32_t n = wordText(word, source->radix, stream->buffer + stream->fill);
      stream->fill += left < n ? left : n;
      written += left < n ? left : n;
    } else {
      uint32_t n = wordText(word, source->radix, text);
      if (left < n) n = uint32_t(left);
      for (uint32_t i = 0; i < n; i++) digitStreamPut(stream, text[i]);
      written += n;
    }
    if (written >= progress->nextCheck) progressCheck(progress, written);
  }
  return written;
}

}  // namespace

uint64_t writeDigitLayout(DigitStream* stream, const DigitSource* source, uint64_t count,
                          const char* label) {
  LayoutProgress progress = {label, progressStride, wallClockMilliseconds()};
  if (label != nullptr) printWide(label);
  uint64_t written = 0;
  if (source->length == 0) {
    digitStreamPut(stream, '0');
  } else {
    const uint32_t perWord = source->radix == 16 ? 8 : 9;
    const int64_t position = int64_t(source->length) - source->scale;
    int64_t index = int64_t(source->length) - 1;
    char text[9];
    uint32_t n = wordText(source->words[index], source->radix, text);
    index--;
    // The top word is non-zero: its first significant digit.
    uint32_t first = 0;
    while (text[first] == '0') first++;

    if (position == 1) {
      for (uint32_t i = first; i < n; i++) digitStreamPut(stream, text[i]);
      written = n - first;
      digitStreamPut(stream, '.');
    } else {
      uint32_t start = 0;
      if (position > 1) {
        char head[48];
        snprintf(head, sizeof head, "%s^%lld * 0.",
                 source->radix == 16 ? "4294967296" : "1000000000",
                 static_cast<long long>(position));
        digitStreamPutText(stream, head);
        // A decimal top word starts like a fraction: its top digit's zero goes.
        if (source->radix == 10 && text[0] == '0') start = 1;
      } else {
        digitStreamPutText(stream, "0.");
        for (int64_t k = 0; k < -position; k++) {
          for (uint32_t i = 0; i < perWord; i++) digitStreamPut(stream, '0');
        }
      }
      // Leading zeros are written but counted from the first non-zero digit.
      for (uint32_t i = start; i < n && written < count; i++) {
        digitStreamPut(stream, text[i]);
        if (i >= first) written++;
      }
    }
    written = emitWords(stream, source, index, written, count, &progress);
  }
  if (label != nullptr) {
    progressLine(label, written);
    printWide("\n");
  }
  return written;
}

double writeDigitText(ComputeSettings* settings, const DigitSource* source, uint64_t integerDigits,
                      uint32_t labelFlag) {
  uint64_t start = timerStart();
  const bool hex = source->radix == 16;
  const uint64_t count = (hex ? settings->hexDigits : settings->decimalDigits) + integerDigits;
  int64_t position = int64_t(source->length) - source->scale;
  uint64_t leadingZeros = position < 0 ? uint64_t(-position) * 9 : 0;
  char* name = digitFileName(settings, source->radix, labelFlag);
  DigitStream stream;
  digitStreamOpen(settings->heap, &stream, name, count + leadingZeros + 64);
  writeDigitLayout(&stream, source, count,
                   hex ? "Writing Hexadecimal Digits:   " : "Writing Decimal Digits:   ");
  digitStreamClose(&stream);
  free(name);
  return timerSeconds(start);
}
