// The text reader, the kind of a path, and the calls that serve both kinds.
#include "tools/digit_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "platform/console.h"

namespace {

// Bytes searched for the point at the start of a text file.
constexpr uint32_t pointSearchBytes = 63;

// Values of the characters in each radix; 0xff is no digit.
struct DigitTables {
  uint8_t decimal[256];
  uint8_t hexadecimal[256];
  DigitTables() {
    for (int c = 0; c < 256; c++) {
      decimal[c] = c >= '0' && c <= '9' ? uint8_t(c - '0') : 0xff;
      hexadecimal[c] = c >= 'a' && c <= 'f' ? uint8_t(c - 'a' + 10) : decimal[c];
    }
  }
};
const DigitTables digitTables;

void readTextDigits(DigitReader* reader, uint8_t* values, uint64_t count) {
  if (count > reader->totalDigits - reader->position) fatalMessage("No more digits left.");
  const uint8_t* table = reader->radix == 16 ? digitTables.hexadecimal : digitTables.decimal;
  while (count > 0) {
    uint32_t available = digitReaderRefill(reader);
    if (available == 0) fatalMessage("Read Fault");
    uint32_t take = count < available ? uint32_t(count) : available;
    const uint8_t* bytes = reader->buffer + reader->bufferAt;
    uint8_t invalid = 0;
    for (uint32_t i = 0; i < take; i++) {
      uint8_t value = table[bytes[i]];
      invalid |= value & 0x80;
      values[i] = value;
    }
    if (invalid != 0) fatalMessage("Invalid Digit");
    reader->bufferAt += take;
    reader->position += take;
    values += take;
    count -= take;
  }
}

}  // namespace

DigitFileKind checkExtension(const char* path) {
  size_t length = strlen(path);
  if (length >= 5) {
    const char* tail = path + length - 4;
    if (strcmp(tail, ".txt") == 0) return digitFileText;
    if (strcmp(tail, ".zdg") == 0) return digitFileCompressed;
  }
  fatalMessage("Unrecognized file extension.");
}

void openTextDigits(DigitReader* reader, const char* path) {
  digitReaderInit(nullptr, reader);
  reader->kind = digitFileText;
  reader->radix = 16;
  size_t length = strlen(path);
  reader->path = static_cast<char*>(malloc(length + 1));
  if (reader->path == nullptr) fatalMemory();
  memcpy(reader->path, path, length + 1);
  reader->file = open(path, O_RDONLY | O_CLOEXEC);
  if (reader->file < 0) fatalMessage("Unable to open or create file.");

  // The head: up to the point, searched in the first 63 bytes.
  uint8_t head[pointSearchBytes];
  uint32_t got = 0;
  while (got < pointSearchBytes) {
    uint32_t available = digitReaderRefill(reader);
    if (available == 0) break;
    uint32_t take = pointSearchBytes - got < available ? pointSearchBytes - got : available;
    memcpy(head + got, reader->buffer + reader->bufferAt, take);
    reader->bufferAt += take;
    got += take;
  }
  const void* point = memchr(head, '.', got);
  if (point == nullptr) {
    fatalMessage("A decimal place was not found within the first 63 bytes of the file.");
  }
  reader->dataStart = static_cast<const uint8_t*>(point) - head + 1;
  off_t size = lseek(reader->file, 0, SEEK_END);
  if (size < 0) fatalMessage("Error Reading File.");
  reader->totalDigits = uint64_t(size) - uint64_t(reader->dataStart);
  reader->blockSize = reader->totalDigits == 0 ? 1 : reader->totalDigits;
  reader->blockCount = 1;

  // First digits: the first 52 bytes of the file, as a compressed header has them.
  uint32_t first = got < zdgFirstDigitsLength ? got : zdgFirstDigitsLength;
  reader->firstDigits = static_cast<char*>(malloc(first + 1));
  if (reader->firstDigits == nullptr) fatalMemory();
  memcpy(reader->firstDigits, head, first);
  reader->firstDigits[first] = 0;
  seekDigit(reader, 0);
}

void openCompressedDigits(Heap* heap, DigitReader* reader, const char* path) {
  zdgOpen(heap, reader, path);
}

uint32_t nextDigit(DigitReader* reader) {
  if (reader->kind == digitFileCompressed) return zdgNextDigit(reader);
  uint8_t value;
  readTextDigits(reader, &value, 1);
  return value;
}

void readDigits(DigitReader* reader, uint8_t* values, uint64_t count) {
  if (reader->kind == digitFileCompressed) {
    zdgReadDigits(reader, values, count);
  } else {
    readTextDigits(reader, values, count);
  }
}

void seekDigit(DigitReader* reader, uint64_t n) {
  if (reader->kind == digitFileCompressed) {
    zdgSeek(reader, n);
    return;
  }
  if (n > reader->totalDigits) fatalMessage("No more digits left.");
  digitReaderSeekFile(reader, uint64_t(reader->dataStart) + n);
  reader->position = n;
}

void closeDigits(DigitReader* reader) { zdgClose(reader); }

char* digitHead(const DigitReader* reader) {
  const char* text = reader->firstDigits != nullptr ? reader->firstDigits : "";
  const char* point = strchr(text, '.');
  size_t length = point == nullptr ? 0 : size_t(point - text) + 1;
  char* head = static_cast<char*>(malloc(length + 1));
  if (head == nullptr) fatalMemory();
  memcpy(head, text, length);
  head[length] = 0;
  return head;
}
