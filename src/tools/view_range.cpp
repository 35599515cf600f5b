// Viewing a range of digits in rows of 50, the status line of the long
// tools, and the test that a range's block files are all at hand.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "platform/console.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"
#include "tools/viewer_internal.h"

namespace {

constexpr char digitLetters[] = "0123456789abcdef";
constexpr uint32_t rowDigits = 50;
constexpr uint32_t groupDigits = 10;

// Prints one row: places [from, to) of row `row` hold digits, the others
// blanks; `values` are the digits of places from .. to - 1.
void printRow(uint64_t row, uint32_t from, uint32_t to, const uint8_t* values) {
  for (uint32_t group = 0; group < rowDigits; group += groupDigits) {
    uint32_t end = group + groupDigits;
    uint32_t digitsFrom = from > group ? from : group;
    uint32_t digitsTo = to < end ? to : end;
    if (digitsFrom >= digitsTo) {
      printWide(std::string(groupDigits + 1, ' '));
      continue;
    }
    std::string text;
    printWide(std::string(digitsFrom - group, ' '));
    for (uint32_t place = digitsFrom; place < digitsTo; place++) {
      text += digitLetters[values[place - from]];
    }
    setColor(14);
    printWide(text);
    setColor(7);
    printWide(std::string(end - digitsTo + 1, ' '));
  }
  printWide(" :  ");
  setColor(10);
  printGrouped(row * rowDigits + to, 0);
  setColor(7);
  printWide("\n");
}

}  // namespace

uint64_t readDigitNumber(const char* prompt, uint64_t low, uint64_t high) {
  for (;;) {
    printWide(prompt);
    setColor(11);
    uint64_t value = 0;
    bool ok = readUnsigned64(&value);
    setColor(7);
    if (ok && value >= low && value <= high) return value;
  }
}

void statusStart(StatusLine* status, const char* label, const char* tail) {
  status->label = label;
  status->tail = tail;
  status->nextLook = 1u << 20;
  status->lastPrintMs = wallClockMilliseconds();
}

void statusPrint(StatusLine* status, uint64_t done) {
  uint64_t now = wallClockMilliseconds();
  if (now - status->lastPrintMs <= 1000) return;
  status->lastPrintMs = now;
  statusFinal(status, done);
}

void statusFinal(const StatusLine* status, uint64_t done) {
  clearStatusLine();
  printWide(status->label);
  printGrouped(done, 0);
  printWide(status->tail);
}

void printDigitRows(DigitReader* reader, uint64_t first, uint64_t count) {
  seekDigit(reader, first);
  uint8_t values[rowDigits];
  uint64_t at = first;
  const uint64_t end = first + count;
  while (at < end) {
    uint64_t row = at / rowDigits;
    uint32_t from = uint32_t(at - row * rowDigits);
    uint64_t rowEnd = (row + 1) * rowDigits;
    uint32_t to = uint32_t((end < rowEnd ? end : rowEnd) - row * rowDigits);
    readDigits(reader, values, to - from);
    printRow(row, from, to, values);
    at = row * rowDigits + to;
  }
}

void viewRange(DigitReader* reader) {
  if (reader->totalDigits == 0) fatalMessage("No more digits left.");
  uint64_t start = readDigitNumber("Starting Digit: ", 1, reader->totalDigits);
  uint64_t count = readDigitNumber("Digits to View: ", 1, UINT64_MAX);
  count = clampCount(reader->totalDigits, start - 1, count);
  printWide("\n");
  checkBlocksAvailable(reader, start - 1, count);
  printDigitRows(reader, start - 1, count);
  printWide("\n");
}

void checkBlocksAvailable(DigitReader* reader, uint64_t first, uint64_t count) {
  if (reader->kind != digitFileCompressed || reader->blockCount <= 1 || count == 0) return;
  const uint64_t lastBlock = (first + count - 1) / reader->blockSize;
  bool missing = false;
  for (uint64_t block = first / reader->blockSize; block <= lastBlock; block++) {
    char* path = zdgBlockPath(reader, block);
    int fd = open(path, O_RDONLY | O_CLOEXEC);
    if (fd >= 0) {
      close(fd);
    } else {
      if (!missing) printWide("The following missing file(s) are needed to access this range:\n");
      missing = true;
      printWide(path);
      printWide("\n");
    }
    free(path);
  }
  if (missing) {
    printWide("\n");
    pauseExit(0);
  }
}
