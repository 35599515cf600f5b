// Decompressing a range of a digit file into a text file.
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/console.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"
#include "tools/viewer_internal.h"

namespace {

constexpr char digitLetters[] = "0123456789abcdef";
constexpr size_t pathCapacity = 1024;

}  // namespace

void decompressToFile(DigitReader* reader, uint64_t first, uint64_t count, const char* path) {
  // No operator loop on a destination that cannot be made: the run ends.
  digitStreamOpenAttempts(1);
  DigitStream stream;
  digitStreamOpen(reader->heap, &stream, path, count + 64);
  if (first == 0) {
    char* head = digitHead(reader);
    digitStreamPutText(&stream, head);
    free(head);
  }
  seekDigit(reader, first);
  StatusLine status;
  statusStart(&status, "Decompressing:  ", "  digits written");
  uint8_t values[toolChunkDigits];
  for (uint64_t done = 0; done < count;) {
    uint32_t take = count - done < toolChunkDigits ? uint32_t(count - done) : toolChunkDigits;
    readDigits(reader, values, take);
    if (stream.size - stream.fill >= take) {
      char* out = stream.buffer + stream.fill;
      if (reader->radix == 10) {
        for (uint32_t i = 0; i < take; i++) out[i] = char('0' + values[i]);
      } else {
        for (uint32_t i = 0; i < take; i++) out[i] = digitLetters[values[i]];
      }
      stream.fill += take;
    } else {
      for (uint32_t i = 0; i < take; i++) digitStreamPut(&stream, digitLetters[values[i]]);
    }
    done += take;
    statusUpdate(&status, done);
  }
  digitStreamClose(&stream);
  statusFinal(&status, count);
  printWide("\n");
}

void decompressRange(DigitReader* reader) {
  if (reader->totalDigits == 0) fatalMessage("No more digits left.");
  uint64_t start = readDigitNumber("Starting Digit: ", 1, reader->totalDigits);
  uint64_t count = readDigitNumber("Digits to Decompress: ", 1, UINT64_MAX);
  count = clampCount(reader->totalDigits, start - 1, count);
  checkBlocksAvailable(reader, start - 1, count);
  printWide("\nEnter the path of the destination file (no need to include .txt extension):\n");
  printWide("Path: ");
  char path[pathCapacity];
  readPathLine(path, sizeof path);
  printWide("\n");
  std::string name = std::string(path) + ".txt";
  decompressToFile(reader, start - 1, count, name.c_str());
}
