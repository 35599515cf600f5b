// Compressed digit files (".zdg"): a readable text header, one zero byte,
// then the digits packed into little-endian 64-bit words, 19 decimal digits
// (the first digit weighs 10^18) or 16 hexadecimal digits (the first digit is
// the top four bits) a word. The last word of a block is filled at the low
// end with zeros. A long number may be split into blocks of `Blocksize`
// digits, one file each, kept in a folder named after the stem; each file
// carries the whole header with its own BlockID, so that any digit is found
// by arithmetic alone.
//
// Header lines (all ending in CR LF; blank lines as shown):
//   #Compressed Digit File            FileVersion:\t1.0.0
//   NameLong:\t...   NameShort:\t...  Base:\t10|16   FirstDigits:\t(52 chars)
//   TotalDigits:\t(digits after the point)  Program:\tnumbrella  Version:\t...
//   Blocksize:\t...  TotalBlocks:\t...  BlockID:\t...  EndHeader
//
// The reader keeps its state in a DigitReader, the record that the digit
// tools share for text and compressed files.
#pragma once

#include <cstddef>
#include <cstdint>

#include "digits/digit_writer.h"

struct Heap;

// Largest decimal word: nineteen nines.
constexpr uint64_t zdgDecimalWordMax = 9999999999999999999ull;
constexpr uint64_t zdgTenTo18 = 1000000000000000000ull;
// Characters of the FirstDigits text.
constexpr uint32_t zdgFirstDigitsLength = 52;

inline uint32_t zdgDigitsPerWord(uint32_t radix) { return radix == 16 ? 16 : 19; }

// Count of decimal digits of the block count, at least 1: the width of the
// zero-padded block numbers in the names of a series.
uint32_t zdgIdWidth(uint64_t blockCount);

// ---- Writer ----------------------------------------------------------------

struct ZdgWriter {
  DigitStream stream;
  Heap* heap;
  uint32_t radix;
  uint32_t digitsPerWord;
  uint64_t totalDigits;
  uint64_t blockSize;
  uint64_t blockCount;
  uint64_t blockId;
  uint64_t blockLeft;      // digits still to come in the open block
  uint64_t word;           // the word being collected
  uint32_t wordDigits;     // digits in it
  char* header;            // the header up to "BlockID:\t" (owned)
  char* name;              // the open file's path; block number at nameDigitsAt (owned)
  size_t nameDigitsAt;
  uint32_t idWidth;
};

// Computes the blocks (digitsPerFile -1 or 0, or at least totalDigits: one
// file whose Blocksize is totalDigits), builds the first file's name, makes
// the folder of a series, opens the first file and writes its header.
// `path` (null or empty: none) and `stem` give "path/stem.zdg" for one file
// and the folder "path/stem" for a series, whose files are named
// nameShort " - Dec - " (or " - Hex - ") block number ".zdg". A radix other
// than 10 or 16 is fatal ("Unrecognized Radix"); so is totalDigits 0.
void zdgCreate(Heap* heap, ZdgWriter* writer, const char* nameLong, const char* nameShort,
               uint32_t radix, const char* firstDigits, uint64_t totalDigits,
               int64_t digitsPerFile, const char* path, const char* stem);
// Digits per block: all of them unless digitsPerFile is positive and smaller.
uint64_t zdgBlockSize(uint64_t totalDigits, int64_t digitsPerFile);
// The path of the file that zdgCreate opens first (owned by the caller,
// free()); totalDigits at least 1.
char* zdgFirstFilePath(const char* path, const char* stem, const char* nameShort, uint32_t radix,
                       uint64_t totalDigits, int64_t digitsPerFile);
// Closes the open block's file and opens the next one with its header.
void zdgNextBlock(ZdgWriter* writer);
// Takes the next digit (0 .. radix - 1); digits beyond totalDigits are
// ignored.
inline void zdgPutDigit(ZdgWriter* writer, uint32_t digit) {
  if (writer->blockLeft == 0) {
    if (writer->blockId + 1 >= writer->blockCount) return;
    zdgNextBlock(writer);
  }
  writer->word = writer->radix == 16 ? (writer->word << 4) + digit : writer->word * 10 + digit;
  writer->blockLeft--;
  if (++writer->wordDigits == writer->digitsPerWord || writer->blockLeft == 0) {
    for (; writer->wordDigits < writer->digitsPerWord; writer->wordDigits++) {
      writer->word = writer->radix == 16 ? writer->word << 4 : writer->word * 10;
    }
    uint64_t w = writer->word;
    for (int i = 0; i < 8; i++) {
      digitStreamPut(&writer->stream, char(w & 0xff));
      w >>= 8;
    }
    writer->word = 0;
    writer->wordDigits = 0;
  }
}
// Takes `count` digits; the same as zdgPutDigit on each, whole words at once.
void zdgPutDigits(ZdgWriter* writer, const uint8_t* digits, uint64_t count);
// Writes the last word and closes the file. Frees what the writer owns.
void zdgClose(ZdgWriter* writer);

// ---- Reader ----------------------------------------------------------------

enum DigitFileKind { digitFileText = 1, digitFileCompressed = 2 };

// The state of reading one digit file, text or compressed. Text files use
// file, firstDigits, totalDigits, dataStart, position and the buffer.
struct DigitReader {
  int file;                 // open descriptor, -1 when closed
  uint32_t kind;            // DigitFileKind
  uint32_t radix;           // 10 or 16 (text: what the caller says; 16 until told)
  char* nameLong;           // from the header (owned)
  char* nameShort;
  char* firstDigits;        // header text, or up to 52 bytes from a text file's start
  char* programName;        // "Program" and "Version" of the header, joined by a blank
  uint64_t totalDigits;     // digits after the point
  uint64_t blockSize;       // as in the header (a text file: totalDigits)
  uint64_t blockCount;
  uint64_t blockId;         // the open block
  int64_t dataStart;        // offset of the first data byte in the open file
  char* path;               // the open file's path (owned); block number in place
  size_t pathDigitsAt;
  uint32_t idWidth;
  uint64_t position;        // next digit number (0 is the first digit after the point)
  uint64_t word;            // the word under reading, its next digit at the top
  uint64_t digitsLeft;      // digits left in it
  // Input buffer: bytes [bufferAt, bufferEnd) are the file's next bytes.
  uint8_t* buffer;
  uint32_t bufferSize;
  uint32_t bufferAt;
  uint32_t bufferEnd;
  Heap* heap;
};

// Opens a compressed file (any block of a series) and reads its header.
// Fatal: "Unable to open or create file.", "Invalid File" (no zero byte, a
// key missing or malformed, inconsistent block fields), "Unrecognized
// Radix", "Error Reading File.". The reader stands at the first digit of
// the block it opened (digit 0 for a single file); no other block file is
// needed until a seek or a read reaches it.
void zdgOpen(Heap* heap, DigitReader* reader, const char* path);
// Moves to digit n (opening its block). Fatal past the end: "No more digits
// left."; a data part cut short: "Read Fault".
void zdgSeek(DigitReader* reader, uint64_t n);
// The next digit's value; the fatal endings of zdgSeek.
uint32_t zdgNextDigit(DigitReader* reader);
// Fills values[0 .. count) with the next digits (count within what is left).
void zdgReadDigits(DigitReader* reader, uint8_t* values, uint64_t count);
// Closes the file and frees what the reader owns. Safe to call twice.
void zdgClose(DigitReader* reader);

// Opens block `block` of the reader's series: rewrites the number in the
// path, opens it, skips its header, notes dataStart. The word is emptied.
void zdgOpenBlock(DigitReader* reader, uint64_t block);
// The path of block `block` (owned by the caller, free()).
char* zdgBlockPath(const DigitReader* reader, uint64_t block);

// Buffered input of the reader (shared with the text reader). Refill loads
// the buffer at the current file position; it returns the bytes now
// available (0 at the end of the file). ReadBytes gives exactly `bytes`
// bytes or ends fatally with "Read Fault".
uint32_t digitReaderRefill(DigitReader* reader);
void digitReaderReadBytes(DigitReader* reader, void* out, uint64_t bytes);
// Moves the file to `offset` and empties the buffer.
void digitReaderSeekFile(DigitReader* reader, uint64_t offset);
// Sets up the buffer (from the heap, or malloc when it is null).
void digitReaderInit(Heap* heap, DigitReader* reader);
