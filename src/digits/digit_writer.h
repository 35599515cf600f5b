// Digit writers: the hexadecimal digits of a finished BigFloat and the
// decimal digits of its base conversion, written as text files named after
// the run ("Pi - Dec - Chudnovsky.txt").
//
// Text layout, in either radix (R = 2^32 or 10^9, eight or nine digits a
// word, lower-case letters):
//   zero                   "0"
//   one integer word       the word's digits without leading zeros, "."
//   several integer words  "4294967296^k * 0." (or "1000000000^k * 0."),
//                          then the top word with its leading zeros
//   below one              "0.", the zeros after the point, the digits
// then digits with no separators up to integerDigits + the requested count,
// counted from the first non-zero digit; digits past the stored words are
// "0". There is no trailing line end.
//
// Each top writer picks its worker by computeMode (Ram Only or Basic Swap)
// and digitsPerFile (0: text; any other value: the compressed format of
// digits/zdg.h, one file for -1, files of that many digits otherwise). Any
// other mode writes nothing and returns 0.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct BaseConversionTable;
struct ConversionOutput;
struct Heap;

// ---- Top writers ---------------------------------------------------------------

// Writes settings->hexDigits hexadecimal digits after the point of `number`
// (plus `integerDigits` before it) to the "Hex" file of the run. The number
// is read, not consumed; in Basic Swap a paged-out number is brought in for
// the writing and paged out again after. `labelFlag` 0 names a
// compute-and-verify file "Computation", 1 "Verification" (other algorithms
// have their own file word). Returns the seconds spent writing.
double writeHexDigits(ComputeSettings* settings, BigFloat* number, uint64_t integerDigits,
                      uint32_t labelFlag);

// Converts `number` to decimal with `table` (built for it, in the form of the
// run's mode) asking for decimalDigits + integerDigits digits, and writes
// settings->decimalDigits digits after the point to the "Dec" file. The
// number is consumed. `labelFlag` also picks the conversion's cutting
// parameters: 1 (the second value of a compute-and-verify run) uses the
// secondary cuts. Returns the seconds spent writing the file; the
// conversion itself is computation and is not included.
double writeDecimalDigits(ComputeSettings* settings, BigFloat* number, uint64_t integerDigits,
                          BaseConversionTable* table, uint32_t labelFlag);

// Digits of a top integer word, for integerDigits: hexadecimal digits
// (shifts by 4 until zero) and decimal digits (divisions by 10 until zero).
// Zero has no digits.
uint64_t hexIntegerDigits(uint32_t topWord);
uint64_t decimalIntegerDigits(uint32_t topWord);

// ---- File names ----------------------------------------------------------------

// The digit file's name for `radix` 10 or 16: outputPath (with "/" added
// unless it ends in "/" or "\"), the constant's short name ("Sqrt(n)" from
// constantParameter for Sqrt), " - Dec - " or " - Hex - ", the algorithm's
// file word or, for compute-and-verify, "Computation" (labelFlag 0) or
// "Verification" (1), and ".txt" when digitsPerFile is 0. Owned text: the
// caller frees it with free().
char* digitFileName(const ComputeSettings* settings, uint32_t radix, uint32_t labelFlag);

// ---- Buffered stream -------------------------------------------------------------

// A file being written through one buffer. The buffer comes from the heap
// (malloc when the heap is null), sized from what is free, at most
// 0x80000000 bytes and no more than the caller's expected file size.
struct DigitStream {
  int fd;
  char* buffer;
  uint64_t size;  // bytes in the buffer
  uint64_t fill;  // bytes waiting in it
  Heap* heap;
  uint8_t* peakBefore;  // the heap's high-water mark before the buffer was taken
};

// Creates (or empties) `path`. When the file cannot be created, prints
// "Unable to open or create file.", "Re-attempting...", waits for a key and
// tries again, for as long as it takes. `expectedBytes` caps the buffer.
void digitStreamOpen(Heap* heap, DigitStream* stream, const char* path, uint64_t expectedBytes);
// Gives up on a file that could not be created after `limit` attempts, with
// the fatal "Unable to open or create file." (0, the default: never give up).
// For runs with no operator, and for the tests.
void digitStreamOpenAttempts(uint32_t limit);
// Sends the buffer out in one write; a failed or short write is fatal
// ("Error Writing File." in red and the system error).
void digitStreamFlush(DigitStream* stream);
inline void digitStreamPut(DigitStream* stream, char c) {
  if (stream->fill == stream->size) digitStreamFlush(stream);
  stream->buffer[stream->fill++] = c;
}
void digitStreamPutText(DigitStream* stream, const char* text);
// Flushes, closes the file and releases the buffer. The buffer is sized from
// the free space on purpose and is not a need of the run: the heap's
// high-water mark is put back to where it was before the buffer.
void digitStreamClose(DigitStream* stream);

// ---- Layout (shared by both radixes; exposed for the tests) -------------------------

// A number to write: value = words / R^scale with R = 2^32 (radix 16) or
// 10^9 (radix 10); words[0 .. length) little-endian, top word non-zero
// unless length is 0.
struct DigitSource {
  const uint32_t* words;
  uint64_t length;
  int64_t scale;   // words right of the point (minus the exponent)
  uint32_t radix;  // 16 or 10
};

// Writes the layout above with `count` digits (the requested digits plus
// the integer digits) and the progress lines under `label` ("Writing
// Decimal Digits:" ...; null: no progress lines). Returns the digits written.
uint64_t writeDigitLayout(DigitStream* stream, const DigitSource* source, uint64_t count,
                          const char* label);

// The workers under the top writers; the number is in memory. Each opens its
// file(s), writes the settings' digit count of the source's radix plus
// `integerDigits`, closes, and returns the seconds spent.
double writeDigitText(ComputeSettings* settings, const DigitSource* source, uint64_t integerDigits,
                      uint32_t labelFlag);
// The compressed format's worker (digitsPerFile non-zero). Fewer than 100
// requested digits is fatal ("Too few digits to compress."), and so is a
// value that is not below R (position 0 or 1): "Number is out of range.".
// The files hold the digits that follow the point in the text layout.
double writeDigitCompressed(ComputeSettings* settings, const DigitSource* source,
                            uint64_t integerDigits, uint32_t labelFlag);
// The head of a compressed file: fills firstDigits (52 characters and a
// terminator: the integer word's digits or "0", ".", the digits after the
// point) and *firstIndex (the source word where the digits after the point
// begin), and returns how many digits follow the point when the text layout
// writes `count` digits. Fatal for a position other than 0 or 1.
uint64_t compressedLayout(const DigitSource* source, uint64_t count, char* firstDigits,
                          int64_t* firstIndex);
// "Too few digits to compress." when requestedDigits is below 100; the
// decimal writer checks it before it spends the conversion.
void digitCompressedCheck(uint64_t requestedDigits);
