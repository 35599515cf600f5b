// Buffered input of the digit readers: one buffer per reader, refilled by one
// read call at a time, so that no digit costs a system call.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "digits/zdg.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// Bytes of the input buffer: large enough that a read call moves a good
// stretch of the file, small enough for the 20 MiB heaps of the tools.
constexpr uint32_t readerBufferBytes = 1u << 20;

}  // namespace

void digitReaderInit(Heap* heap, DigitReader* reader) {
  memset(reader, 0, sizeof *reader);
  reader->file = -1;
  reader->heap = heap;
  reader->bufferSize = readerBufferBytes;
  // A null heap takes the block from the standard allocator.
  reader->buffer = static_cast<uint8_t*>(heapAllocate(heap, readerBufferBytes, 64));
}

uint32_t digitReaderRefill(DigitReader* reader) {
  if (reader->bufferAt < reader->bufferEnd) return reader->bufferEnd - reader->bufferAt;
  ssize_t got;
  do {
    got = read(reader->file, reader->buffer, reader->bufferSize);
  } while (got < 0 && errno == EINTR);
  if (got < 0) fatalMessage("Error Reading File.");
  reader->bufferAt = 0;
  reader->bufferEnd = uint32_t(got);
  return uint32_t(got);
}

void digitReaderReadBytes(DigitReader* reader, void* out, uint64_t bytes) {
  uint8_t* target = static_cast<uint8_t*>(out);
  while (bytes > 0) {
    uint32_t available = digitReaderRefill(reader);
    if (available == 0) fatalMessage("Read Fault");
    uint32_t take = bytes < available ? uint32_t(bytes) : available;
    memcpy(target, reader->buffer + reader->bufferAt, take);
    reader->bufferAt += take;
    target += take;
    bytes -= take;
  }
}

void digitReaderSeekFile(DigitReader* reader, uint64_t offset) {
  if (lseek(reader->file, off_t(offset), SEEK_SET) < 0) fatalMessage("Error Reading File.");
  reader->bufferAt = 0;
  reader->bufferEnd = 0;
}
