// Compressing a text digit file into one compressed file or a series.
#include <cstring>

#include "memory/heap.h"
#include "platform/console.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"
#include "tools/viewer_internal.h"

namespace {

constexpr uint64_t smallestCompression = 1000000;
constexpr size_t textCapacity = 1024;

void askText(const char* question, char* text) {
  printWide(question);
  printWide("\n");
  readPathLine(text, textCapacity);
  printWide("\n");
}

}  // namespace

void compressTextDigits(Heap* heap, DigitReader* reader, const CompressRequest* request) {
  digitStreamOpenAttempts(1);
  reader->radix = request->radix;
  ZdgWriter writer;
  zdgCreate(heap, &writer, request->nameLong, request->nameShort, request->radix,
            reader->firstDigits, request->digits,
            request->digitsPerFile == 0 ? -1 : int64_t(request->digitsPerFile),
            request->directory, request->fileName);
  seekDigit(reader, 0);
  StatusLine status;
  statusStart(&status, "Compressing:  ", "  digits written");
  uint8_t values[toolChunkDigits];
  for (uint64_t done = 0; done < request->digits;) {
    uint64_t left = request->digits - done;
    uint32_t take = left < toolChunkDigits ? uint32_t(left) : toolChunkDigits;
    readDigits(reader, values, take);
    zdgPutDigits(&writer, values, take);
    done += take;
    statusUpdate(&status, done);
  }
  zdgClose(&writer);
  statusFinal(&status, request->digits);
  printWide("\n");
}

void compressDigits(Heap* heap, DigitReader* reader) {
  if (reader->totalDigits < smallestCompression) {
    printWide("Too few digits to compress.\n");
    return;
  }
  CompressRequest request;
  printWide("How many digits (from the beginning) would you like to compress?\n");
  for (;;) {
    request.digits = readDigitNumber("Digits: ", 0, reader->totalDigits);
    if (request.digits >= smallestCompression) break;
    printWide("You need at least 1,000,000 digits to compress.\n");
  }
  printWide("\n");
  request.digitsPerFile = 0;
  if (request.digits > smallestCompression) {
    printWide("Split into multiple files? (0 - do not split)\n");
    for (;;) {
      request.digitsPerFile = readDigitNumber("Digits per file: ", 0, reader->totalDigits - 1);
      if (request.digitsPerFile == 0 || request.digitsPerFile >= smallestCompression) break;
      printWide("You need at least 1,000,000 digits to compress.\n");
    }
    printWide("\n");
  }
  char nameLong[textCapacity], nameShort[textCapacity], directory[textCapacity],
      fileName[textCapacity];
  askText("Specify a long name for this constant (ascii only):", nameLong);
  askText("Specify a short name for this constant (ascii only):", nameShort);
  askText("Specify a destination directory (space = default directory):", directory);
  askText("Specify a filename (do not include extension):", fileName);
  request.nameLong = nameLong;
  request.nameShort = nameShort;
  request.directory = strcmp(directory, " ") == 0 ? "" : directory;
  request.fileName = fileName;
  printWide("What radix are these digits?\n\n");
  setColor(10);
  printWide("  0     Decimal\n");
  printWide("  1     Hexadecimal\n");
  setColor(7);
  printWide("\n");
  request.radix = readMenuOption("option: ", 0, 1) == 0 ? 10 : 16;
  compressTextDigits(heap, reader, &request);
}
