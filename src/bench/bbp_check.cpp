// The end check of a Pi run's hexadecimal file by digit extraction.
#include <cstdlib>

#include "bench/bbp.h"
#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "digits/zdg.h"
#include "platform/console.h"
#include "platform/files.h"

namespace {

int64_t corruptPlace = -1;

void corruptHexDigit(const char* path, uint64_t size, uint64_t placesFromEnd) {
  int fd = fileOpenWrite(path);
  char digit;
  uint64_t at = size - 1 - placesFromEnd;
  fileReadAt(fd, at, &digit, 1);
  digit = digit == '0' ? '1' : '0';
  fileWriteAt(fd, at, &digit, 1);
  fileClose(fd);
}

// The value of eight hexadecimal characters; false when one is not a digit.
bool parseHex(const char* text, uint32_t* value) {
  uint32_t v = 0;
  for (int i = 0; i < 8; ++i) {
    char c = text[i];
    uint32_t digit;
    if (c >= '0' && c <= '9') {
      digit = uint32_t(c - '0');
    } else if (c >= 'a' && c <= 'f') {
      digit = uint32_t(c - 'a' + 10);
    } else {
      return false;
    }
    v = v * 16 + digit;
  }
  *value = v;
  return true;
}

// The last eight digits of the hexadecimal output as one value: from the end
// of a text file, or through the reader of a compressed one. Gives lastMissing
// when the output is not there (the run wrote none), lastNotDigits when a
// text file ends in something else.
enum LastDigits { lastMissing, lastNotDigits, lastRead };
LastDigits readLastHexDigits(ComputeSettings* settings, uint64_t n, uint32_t* value) {
  char* path = digitFileName(settings, 16, 0);
  if (settings->digitsPerFile == 0) {
    if (!pathExists(path)) {
      free(path);
      return lastMissing;
    }
    uint64_t size = fileSize(path);
    if (size < 8) fatalMessage("Error Reading File.");
    if (corruptPlace >= 0 && uint64_t(corruptPlace) < size) corruptHexDigit(path, size, corruptPlace);
    char text[8];
    int fd = fileOpenRead(path);
    fileReadAt(fd, size - 8, text, 8);
    fileClose(fd);
    free(path);
    return parseHex(text, value) ? lastRead : lastNotDigits;
  }
  const char* nameShort = settings->nameShort != nullptr ? settings->nameShort : "";
  char* first = zdgFirstFilePath(nullptr, path, nameShort, 16, n, settings->digitsPerFile);
  free(path);
  if (!pathExists(first)) {
    free(first);
    return lastMissing;
  }
  DigitReader reader;
  zdgOpen(nullptr, &reader, first);
  free(first);
  if (reader.totalDigits != n) fatalMessage("Error Reading File.");
  uint8_t digits[8];
  zdgSeek(&reader, n - 8);
  zdgReadDigits(&reader, digits, 8);
  zdgClose(&reader);
  // The switch changes the digit as read: a packed file has no single
  // character to flip.
  if (corruptPlace >= 0 && corruptPlace < 8) digits[7 - corruptPlace] ^= 1;
  uint32_t v = 0;
  for (uint8_t d : digits) v = v * 16 + d;
  *value = v;
  return lastRead;
}

}  // namespace

void bbpCorruptHexDigitForTesting(int64_t placesFromEnd) { corruptPlace = placesFromEnd; }

void checkPiHexFile(ComputeSettings* settings) {
  if (settings->constantId != constantPi) return;
  const uint64_t n = settings->hexDigits;
  if (n < 8) return;
  uint64_t start = timerStart();
  uint32_t digits = 0;
  LastDigits read = readLastHexDigits(settings, n, &digits);
  if (read == lastMissing) return;
  if (read == lastNotDigits || !piHexDigitsAgree(n - 7, digits, settings->threadPower)) {
    fatalMessage(
        "The hexadecimal digits disagree with BBP digit extraction. Please check your hardware.");
  }
  printWide("\n\nHexadecimal digits ");
  printGrouped(n - 7, 0);
  printWide(" to ");
  printGrouped(n, 0);
  printWide(" checked by BBP digit extraction: ");
  colorGreen(true);
  printWide("OK");
  colorDefault();
  printNarrow("  (%0.3f seconds)", timerSeconds(start));
}
