// Helpers shared by the digit tools' sources.
#pragma once

#include <cstdint>

#include "tools/digit_viewer.h"

// Prints `prompt` and reads a 64-bit number in colour 11 until one lies in
// [low, high]; text that is not a number asks again.
uint64_t readDigitNumber(const char* prompt, uint64_t low, uint64_t high);
// Prints the status line now, whatever the clock says.
void statusFinal(const StatusLine* status, uint64_t done);
// Bytes of the chunks in which the tools move digits.
constexpr uint32_t toolChunkDigits = 1u << 16;
// A heap of the tools: 20 MiB.
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
