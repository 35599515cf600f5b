// The Digit Viewer: shows a range of digits of a text or compressed digit
// file, decompresses a range to a text file, compresses a text file.
#pragma once

#include <cstdint>

#include "digits/zdg.h"

struct Heap;

// Main-menu entry: asks for a path and opens the menu of its kind.
void digitViewerMenu();
void viewCompressed(const char* path);
void viewText(const char* path);

// Asks for a start and a count and prints the digits in rows of 50.
void viewRange(DigitReader* reader);
// Prints `count` digits from digit `first` (0-based), rows aligned on
// absolute positions: row r holds digits 50r + 1 .. 50r + 50, a blank after
// every tenth place, and " :  " with the position of the row's last digit.
// The range must lie within the file.
void printDigitRows(DigitReader* reader, uint64_t first, uint64_t count);
// Asks for a range and a destination and writes the range as text.
void decompressRange(DigitReader* reader);
// Writes digits first .. first + count - 1 to `path` as text, with the head
// of the number ("3.") when first is 0.
void decompressToFile(DigitReader* reader, uint64_t first, uint64_t count, const char* path);
// The compress dialogue and the compression of a text file.
void compressDigits(Heap* heap, DigitReader* reader);
// Lists the block files of a series that the range first .. first+count-1
// needs and that cannot be opened; when any is missing the run ends after
// the list with status 0.
void checkBlocksAvailable(DigitReader* reader, uint64_t first, uint64_t count);

// Bytes of each small heap the tools make for themselves: 20 MiB.
constexpr uint64_t toolHeapBytes = 20971520;

// What the compress dialogue collects.
struct CompressRequest {
  uint64_t digits;         // digits from the start to compress
  uint64_t digitsPerFile;  // 0: one file
  const char* nameLong;
  const char* nameShort;
  const char* directory;   // "": the current directory
  const char* fileName;    // the stem, without extension
  uint32_t radix;
};
// Compresses the first request->digits digits of the text file; the
// header's first digits are the first 52 bytes of the file.
void compressTextDigits(Heap* heap, DigitReader* reader, const CompressRequest* request);

// Cuts `count` to the digits that follow digit `first` (0-based) in a file
// of `total` digits.
inline uint64_t clampCount(uint64_t total, uint64_t first, uint64_t count) {
  uint64_t left = first < total ? total - first : 0;
  return count < left ? count : left;
}

// Status line of the long loops: "\r", blanks, label, count, "  digits ...",
// at most once a second and not before 2^20 digits have gone by since the
// last look at the clock.
struct StatusLine {
  const char* label;
  const char* tail;
  uint64_t nextLook;
  uint64_t lastPrintMs;
};
void statusStart(StatusLine* status, const char* label, const char* tail);
void statusPrint(StatusLine* status, uint64_t done);
inline void statusUpdate(StatusLine* status, uint64_t done) {
  if (done >= status->nextLook) {
    status->nextLook = done + (1u << 20);
    statusPrint(status, done);
  }
}
