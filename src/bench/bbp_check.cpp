// The end check of a Pi run's hexadecimal file by digit extraction.
#include <cstdlib>

#include "bench/bbp.h"
#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
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

}  // namespace

void bbpCorruptHexDigitForTesting(int64_t placesFromEnd) { corruptPlace = placesFromEnd; }

void checkPiHexFile(ComputeSettings* settings) {
  if (settings->constantId != constantPi || settings->digitsPerFile != 0) return;
  const uint64_t n = settings->hexDigits;
  if (n < 8) return;
  char* path = digitFileName(settings, 16, 0);
  if (!pathExists(path)) {
    free(path);
    return;
  }
  uint64_t start = timerStart();
  uint64_t size = fileSize(path);
  if (size < 8) fatalMessage("Error Reading File.");
  if (corruptPlace >= 0 && uint64_t(corruptPlace) < size) corruptHexDigit(path, size, corruptPlace);
  char text[8];
  int fd = fileOpenRead(path);
  fileReadAt(fd, size - 8, text, 8);
  fileClose(fd);
  free(path);

  uint32_t digits = 0;
  if (!parseHex(text, &digits) || !piHexDigitsAgree(n - 7, digits, settings->threadPower)) {
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
