// The reader of compressed digit files: the header's keys, the data words,
// seeking by arithmetic and the change of block file in a series.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "digits/zdg.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// A header longer than this has no zero byte worth looking for.
constexpr size_t headerLimit = 1u << 20;

[[noreturn]] void invalidFile() { fatalMessage("Invalid File"); }

char* copyText(const std::string& text) {
  char* copy = static_cast<char*>(malloc(text.size() + 1));
  if (copy == nullptr) fatalMemory();
  memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

int openForReading(const char* path) {
  int fd = open(path, O_RDONLY | O_CLOEXEC);
  if (fd < 0) fatalMessage("Unable to open or create file.");
  return fd;
}

// Reads the bytes before the zero byte into `header` (when not null) and
// consumes the zero byte; the data start is the file offset after it.
// Returns -1 when the file ends first.
int64_t skipHeader(DigitReader* reader, std::string* header) {
  size_t seen = 0;
  for (;;) {
    uint32_t available = digitReaderRefill(reader);
    if (available == 0) return -1;
    const uint8_t* start = reader->buffer + reader->bufferAt;
    const void* zero = memchr(start, 0, available);
    uint32_t take = zero != nullptr ? uint32_t(static_cast<const uint8_t*>(zero) - start) : available;
    seen += take;
    if (seen > headerLimit) return -1;
    if (header != nullptr) header->append(reinterpret_cast<const char*>(start), take);
    reader->bufferAt += take;
    if (zero != nullptr) {
      reader->bufferAt++;
      off_t at = lseek(reader->file, 0, SEEK_CUR);
      if (at < 0) fatalMessage("Error Reading File.");
      return int64_t(at) - int64_t(reader->bufferEnd - reader->bufferAt);
    }
  }
}

// A decimal count that fits in 64 bits; false for anything else.
bool parseCount(const std::string& text, uint64_t* value) {
  if (text.empty() || text.size() > 20) return false;
  uint64_t result = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    uint64_t digit = uint64_t(c - '0');
    if (result > (UINT64_MAX - digit) / 10) return false;
    result = result * 10 + digit;
  }
  *value = result;
  return true;
}

// The keys of the header, in the order of the file's lines.
enum HeaderKey {
  keyFileVersion,
  keyNameLong,
  keyNameShort,
  keyBase,
  keyFirstDigits,
  keyTotalDigits,
  keyProgram,
  keyVersion,
  keyBlocksize,
  keyTotalBlocks,
  keyBlockId,
  keyCount
};
const char* const keyNames[keyCount] = {"FileVersion", "NameLong",  "NameShort", "Base",
                                        "FirstDigits", "TotalDigits", "Program", "Version",
                                        "Blocksize",   "TotalBlocks", "BlockID"};

// Splits the header into its lines and picks out each key's value: the text
// after "Key:" with one tab skipped. Unknown lines are passed over;
// "EndHeader" ends the parse. False when a key is missing.
bool parseHeader(const std::string& header, std::string values[keyCount]) {
  bool found[keyCount] = {};
  size_t at = 0;
  while (at < header.size()) {
    size_t end = header.find('\n', at);
    if (end == std::string::npos) end = header.size();
    std::string line = header.substr(at, end - at);
    at = end + 1;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line == "EndHeader") break;
    size_t colon = line.find(':');
    if (colon == std::string::npos) continue;
    std::string key = line.substr(0, colon);
    std::string value = line.substr(colon + 1);
    if (!value.empty() && value[0] == '\t') value.erase(0, 1);
    for (int k = 0; k < keyCount; k++) {
      if (key == keyNames[k]) {
        values[k] = value;
        found[k] = true;
      }
    }
  }
  for (int k = 0; k < keyCount; k++) {
    if (!found[k]) return false;
  }
  return true;
}

// Reads the header and fills the reader's fields. Returns null, or the
// message to end with; the texts of the parse are gone by the time the
// caller ends the run with it.
const char* readHeaderFields(DigitReader* reader, const char* path) {
  std::string header;
  reader->dataStart = skipHeader(reader, &header);
  if (reader->dataStart < 0) return "Invalid File";
  std::string values[keyCount];
  if (!parseHeader(header, values)) return "Invalid File";
  uint64_t base;
  if (!parseCount(values[keyBase], &base)) return "Invalid File";
  if (base != 10 && base != 16) return "Unrecognized Radix";
  reader->radix = uint32_t(base);
  if (!parseCount(values[keyTotalDigits], &reader->totalDigits) ||
      !parseCount(values[keyBlocksize], &reader->blockSize) ||
      !parseCount(values[keyTotalBlocks], &reader->blockCount) ||
      !parseCount(values[keyBlockId], &reader->blockId) || reader->blockSize == 0) {
    return "Invalid File";
  }
  uint64_t blocks = reader->totalDigits == 0 ? 1 : (reader->totalDigits - 1) / reader->blockSize + 1;
  if (reader->blockCount != blocks || reader->blockId >= blocks) return "Invalid File";
  reader->idWidth = zdgIdWidth(reader->blockCount);
  size_t length = strlen(path);
  if (reader->blockCount > 1) {
    if (length < 4 + size_t(reader->idWidth)) return "Invalid File";
    reader->pathDigitsAt = length - 4 - reader->idWidth;
  }
  reader->nameLong = copyText(values[keyNameLong]);
  reader->nameShort = copyText(values[keyNameShort]);
  reader->firstDigits = copyText(values[keyFirstDigits]);
  reader->programName = copyText(values[keyProgram] + " " + values[keyVersion]);
  return nullptr;
}

// Loads the next data word into the reader ("Read Fault" when the file ends).
inline void loadWord(DigitReader* reader) {
  uint64_t word;
  if (reader->bufferEnd - reader->bufferAt >= 8) {
    memcpy(&word, reader->buffer + reader->bufferAt, 8);
    reader->bufferAt += 8;
  } else {
    digitReaderReadBytes(reader, &word, 8);
  }
  if (reader->radix == 10) {
    if (word > zdgDecimalWordMax) invalidFile();
    reader->digitsLeft = 19;
  } else {
    reader->digitsLeft = 16;
  }
  reader->word = word;
}

inline uint32_t takeDigit(DigitReader* reader) {
  uint64_t word = reader->word;
  uint32_t digit;
  if (reader->radix == 10) {
    digit = uint32_t(word / zdgTenTo18);
    reader->word = (word - digit * zdgTenTo18) * 10;
  } else {
    digit = uint32_t(word >> 60);
    reader->word = word << 4;
  }
  reader->digitsLeft--;
  return digit;
}

// The `count` (odd) decimal digits of x, top first, into values[0 .. count).
inline void partDigits(uint32_t x, uint8_t* values, int count) {
  for (int i = count - 1; i > 0; i -= 2) {
    uint32_t q = x / 100;
    uint32_t r = x - q * 100;
    values[i] = uint8_t(r % 10);
    values[i - 1] = uint8_t(r / 10);
    x = q;
  }
  values[0] = uint8_t(x);
}

// All 19 (decimal) or 16 (hexadecimal) digits of a fresh word, top first.
inline void wordToDigits(uint64_t word, uint32_t radix, uint8_t* values) {
  if (radix == 16) {
    for (int i = 15; i >= 0; i--) {
      values[i] = uint8_t(word & 15);
      word >>= 4;
    }
    return;
  }
  // 19 digits as 9 + 5 + 5, each part in 32-bit arithmetic, two digits a step.
  uint32_t top = uint32_t(word / 10000000000ull);
  uint64_t low = word - uint64_t(top) * 10000000000ull;
  uint32_t middle = uint32_t(low / 100000);
  uint32_t bottom = uint32_t(low - uint64_t(middle) * 100000);
  partDigits(bottom, values + 14, 5);
  partDigits(middle, values + 9, 5);
  partDigits(top, values, 9);
}

// Before reading digit `position`: the next block when the open one ends.
inline void enterBlock(DigitReader* reader) {
  if (reader->blockCount > 1 && reader->position == reader->blockSize * (reader->blockId + 1)) {
    zdgOpenBlock(reader, reader->blockId + 1);
  }
}

}  // namespace

void zdgOpen(Heap* heap, DigitReader* reader, const char* path) {
  digitReaderInit(heap, reader);
  reader->kind = digitFileCompressed;
  reader->path = copyText(path);
  reader->file = openForReading(path);

  const char* failure = readHeaderFields(reader, path);
  if (failure != nullptr) fatalMessage(failure);
  // The reader stands at the first digit of the block it opened; the other
  // blocks are opened only when a seek or a read needs them.
  reader->position = reader->blockId * reader->blockSize;
  reader->digitsLeft = 0;
}

char* zdgBlockPath(const DigitReader* reader, uint64_t block) {
  char* path = copyText(reader->path);
  if (reader->blockCount > 1) {
    for (uint32_t i = reader->idWidth; i > 0; i--) {
      path[reader->pathDigitsAt + i - 1] = char('0' + block % 10);
      block /= 10;
    }
  }
  return path;
}

void zdgOpenBlock(DigitReader* reader, uint64_t block) {
  if (close(reader->file) != 0) fatalMessage("Unable to close file.");
  reader->file = -1;
  char* path = zdgBlockPath(reader, block);
  free(reader->path);
  reader->path = path;
  reader->file = openForReading(path);
  reader->bufferAt = reader->bufferEnd = 0;
  // The block's own header must belong to the same number and name this block.
  DigitReader check = *reader;
  check.nameLong = check.nameShort = check.firstDigits = check.programName = nullptr;
  const char* failure = readHeaderFields(&check, path);
  free(check.nameLong);
  free(check.nameShort);
  free(check.firstDigits);
  free(check.programName);
  if (failure != nullptr) fatalMessage(failure);
  if (check.radix != reader->radix || check.totalDigits != reader->totalDigits ||
      check.blockSize != reader->blockSize || check.blockId != block) {
    invalidFile();
  }
  reader->bufferAt = check.bufferAt;
  reader->bufferEnd = check.bufferEnd;
  reader->dataStart = check.dataStart;
  reader->blockId = block;
  reader->digitsLeft = 0;
}

void zdgSeek(DigitReader* reader, uint64_t n) {
  if (n > reader->totalDigits) fatalMessage("No more digits left.");
  uint64_t block = n / reader->blockSize;
  if (n == reader->totalDigits && block > 0 && n % reader->blockSize == 0) block--;
  if (reader->blockCount > 1 && block != reader->blockId) zdgOpenBlock(reader, block);
  reader->position = n;
  reader->digitsLeft = 0;
  uint64_t offset = n - block * reader->blockSize;
  const uint32_t perWord = zdgDigitsPerWord(reader->radix);
  digitReaderSeekFile(reader, uint64_t(reader->dataStart) + offset / perWord * 8);
  if (n == reader->totalDigits || offset == reader->blockSize) return;
  loadWord(reader);
  for (uint64_t skip = offset % perWord; skip > 0; skip--) takeDigit(reader);
}

uint32_t zdgNextDigit(DigitReader* reader) {
  if (reader->position >= reader->totalDigits) fatalMessage("No more digits left.");
  enterBlock(reader);
  if (reader->digitsLeft == 0) loadWord(reader);
  reader->position++;
  return takeDigit(reader);
}

void zdgReadDigits(DigitReader* reader, uint8_t* values, uint64_t count) {
  if (count > reader->totalDigits - reader->position) fatalMessage("No more digits left.");
  const uint32_t perWord = zdgDigitsPerWord(reader->radix);
  while (count > 0) {
    enterBlock(reader);
    if (reader->digitsLeft == 0) {
      // Whole words straight to the output while they fit in the block.
      uint64_t blockLeft = reader->blockSize * (reader->blockId + 1) - reader->position;
      uint64_t limit = count < blockLeft ? count : blockLeft;
      uint64_t whole = limit / perWord;
      for (uint64_t w = 0; w < whole; w++) {
        loadWord(reader);
        wordToDigits(reader->word, reader->radix, values);
        values += perWord;
      }
      reader->digitsLeft = 0;
      count -= whole * perWord;
      reader->position += whole * perWord;
      if (count == 0) break;
      enterBlock(reader);
      loadWord(reader);
    }
    uint64_t take = reader->digitsLeft;
    if (take > count) take = count;
    uint64_t blockEnd = reader->blockSize * (reader->blockId + 1) - reader->position;
    if (take > blockEnd) take = blockEnd;
    for (uint64_t i = 0; i < take; i++) values[i] = uint8_t(takeDigit(reader));
    values += take;
    count -= take;
    reader->position += take;
  }
}

void zdgClose(DigitReader* reader) {
  if (reader->file >= 0 && close(reader->file) != 0) {
    reader->file = -1;
    fatalMessage("Unable to close file.");
  }
  reader->file = -1;
  free(reader->nameLong);
  free(reader->nameShort);
  free(reader->firstDigits);
  free(reader->programName);
  free(reader->path);
  reader->nameLong = reader->nameShort = reader->firstDigits = reader->programName = nullptr;
  reader->path = nullptr;
  if (reader->buffer != nullptr) heapRelease(reader->buffer);
  reader->buffer = nullptr;
}
