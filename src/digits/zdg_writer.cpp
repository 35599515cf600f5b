// The writer of compressed digit files: the header, the packing of digits
// into words, and the change of file at the end of each block.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "digits/zdg.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/version.h"

namespace {

char* copyText(const std::string& text) {
  char* copy = static_cast<char*>(malloc(text.size() + 1));
  if (copy == nullptr) fatalMemory();
  memcpy(copy, text.c_str(), text.size() + 1);
  return copy;
}

// "path/" (a slash added unless the path ends in one) or "" without a path.
std::string pathPrefix(const char* path) {
  if (path == nullptr || path[0] == 0) return "";
  std::string prefix = path;
  char last = prefix.back();
  if (last != '/' && last != '\\') prefix += '/';
  return prefix;
}

// "path/stem.zdg" for a single block, else the folder's first file
// "path/stem/nameShort - Dec - 000.zdg" (as many zeros as the block count
// has digits).
std::string firstFileName(const char* path, const char* stem, const char* nameShort,
                          uint32_t radix, uint64_t blockCount) {
  std::string name = pathPrefix(path) + stem;
  if (blockCount == 1) return name + ".zdg";
  name += std::string("/") + nameShort + (radix == 16 ? " - Hex - " : " - Dec - ");
  return name + std::string(zdgIdWidth(blockCount), '0') + ".zdg";
}

// Writes block `writer->blockId`'s number into the name, zero-padded.
void writeBlockNumber(ZdgWriter* writer) {
  uint64_t value = writer->blockId;
  for (uint32_t i = writer->idWidth; i > 0; i--) {
    writer->name[writer->nameDigitsAt + i - 1] = char('0' + value % 10);
    value /= 10;
  }
}

// Opens the file of the current block and writes its header.
void openBlockFile(ZdgWriter* writer) {
  if (writer->blockCount > 1) writeBlockNumber(writer);
  const uint64_t digits = writer->blockId + 1 < writer->blockCount
                              ? writer->blockSize
                              : writer->totalDigits - writer->blockSize * writer->blockId;
  writer->blockLeft = digits;
  const uint64_t bytes = (digits + writer->digitsPerWord - 1) / writer->digitsPerWord * 8;
  digitStreamOpen(writer->heap, &writer->stream, writer->name, bytes + 1024);
  digitStreamPutText(&writer->stream, writer->header);
  char tail[64];
  snprintf(tail, sizeof tail, "%llu\r\n\r\nEndHeader\r\n\r\n",
           static_cast<unsigned long long>(writer->blockId));
  digitStreamPutText(&writer->stream, tail);
  digitStreamPut(&writer->stream, 0);
}

}  // namespace

uint32_t zdgIdWidth(uint64_t blockCount) {
  uint32_t width = 1;
  for (uint64_t power = 10; power < blockCount; power *= 10) {
    width++;
    if (power > UINT64_MAX / 10) break;
  }
  return width;
}

void zdgCreate(Heap* heap, ZdgWriter* writer, const char* nameLong, const char* nameShort,
               uint32_t radix, const char* firstDigits, uint64_t totalDigits,
               int64_t digitsPerFile, const char* path, const char* stem) {
  if (radix != 10 && radix != 16) fatalMessage("Unrecognized Radix");
  if (totalDigits == 0) fatalMessage("Too few digits to compress.");
  writer->heap = heap;
  writer->radix = radix;
  writer->digitsPerWord = zdgDigitsPerWord(radix);
  writer->totalDigits = totalDigits;
  writer->blockSize = zdgBlockSize(totalDigits, digitsPerFile);
  writer->blockCount = (totalDigits - 1) / writer->blockSize + 1;
  writer->blockId = 0;
  writer->word = 0;
  writer->wordDigits = 0;
  writer->idWidth = zdgIdWidth(writer->blockCount);

  std::string header = "#Compressed Digit File\r\n\r\n";
  header += "FileVersion:\t1.0.0\r\n\r\n";
  header += std::string("NameLong:\t") + nameLong + "\r\n";
  header += std::string("NameShort:\t") + nameShort + "\r\n";
  header += std::string("Base:\t") + (radix == 16 ? "16" : "10") + "\r\n";
  header += std::string("FirstDigits:\t") + firstDigits + "\r\n";
  header += "TotalDigits:\t" + std::to_string(totalDigits) + "\r\n\r\n";
  header += std::string("Program:\t") + programName + "\r\n";
  header += std::string("Version:\t") + versionLine + "\r\n\r\n";
  header += "Blocksize:\t" + std::to_string(writer->blockSize) + "\r\n";
  header += "TotalBlocks:\t" + std::to_string(writer->blockCount) + "\r\n\r\n";
  header += "BlockID:\t";
  writer->header = copyText(header);

  if (writer->blockCount > 1) {
    std::string folder = pathPrefix(path) + stem;
    if (!directoryCreate(folder.c_str())) fatalMessage("Unable to open or create file.");
  }
  std::string name = firstFileName(path, stem, nameShort, radix, writer->blockCount);
  writer->nameDigitsAt = writer->blockCount == 1 ? 0 : name.size() - writer->idWidth - 4;
  writer->name = copyText(name);
  openBlockFile(writer);
}

uint64_t zdgBlockSize(uint64_t totalDigits, int64_t digitsPerFile) {
  return digitsPerFile <= 0 || uint64_t(digitsPerFile) >= totalDigits ? totalDigits
                                                                       : uint64_t(digitsPerFile);
}

char* zdgFirstFilePath(const char* path, const char* stem, const char* nameShort, uint32_t radix,
                       uint64_t totalDigits, int64_t digitsPerFile) {
  const uint64_t blockCount = (totalDigits - 1) / zdgBlockSize(totalDigits, digitsPerFile) + 1;
  return copyText(firstFileName(path, stem, nameShort, radix, blockCount));
}

void zdgNextBlock(ZdgWriter* writer) {
  digitStreamClose(&writer->stream);
  writer->blockId++;
  openBlockFile(writer);
}

void zdgPutDigits(ZdgWriter* writer, const uint8_t* digits, uint64_t count) {
  const uint32_t perWord = writer->digitsPerWord;
  while (count > 0) {
    if (writer->wordDigits == 0 && writer->blockLeft >= perWord && count >= perWord) {
      uint64_t whole = (count < writer->blockLeft ? count : writer->blockLeft) / perWord;
      for (uint64_t w = 0; w < whole; w++) {
        uint64_t word = 0;
        if (writer->radix == 16) {
          for (uint32_t i = 0; i < 16; i++) word = (word << 4) | digits[i];
        } else {
          for (uint32_t i = 0; i < 19; i++) word = word * 10 + digits[i];
        }
        DigitStream* stream = &writer->stream;
        if (stream->size - stream->fill < 8) digitStreamFlush(stream);
        memcpy(stream->buffer + stream->fill, &word, 8);
        stream->fill += 8;
        digits += perWord;
      }
      writer->blockLeft -= whole * perWord;
      count -= whole * perWord;
      continue;
    }
    zdgPutDigit(writer, *digits++);
    count--;
  }
}

void zdgClose(ZdgWriter* writer) {
  if (writer->wordDigits != 0) {
    // A block left unfinished: its last digits go to the top of the word.
    for (; writer->wordDigits < writer->digitsPerWord; writer->wordDigits++) {
      writer->word = writer->radix == 16 ? writer->word << 4 : writer->word * 10;
    }
    uint64_t w = writer->word;
    for (int i = 0; i < 8; i++) {
      digitStreamPut(&writer->stream, char(w & 0xff));
      w >>= 8;
    }
    writer->wordDigits = 0;
  }
  digitStreamClose(&writer->stream);
  free(writer->header);
  free(writer->name);
  writer->header = nullptr;
  writer->name = nullptr;
}
