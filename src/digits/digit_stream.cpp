// The buffered stream of the digit writers: one file, one buffer taken from
// the free space of the heap, one write per full buffer.
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/files.h"

namespace {

// Largest buffer: one write call of at most 2 GiB.
constexpr uint64_t streamBufferCap = 0x80000000ull;
// Smallest buffer the stream works with, and the buffer of a heapless stream.
constexpr uint64_t streamBufferMinimum = 4096;
constexpr uint64_t streamBufferMalloc = 16ull << 20;
// Room left in the heap for the buffer's block header, guards and table entry.
constexpr uint64_t streamBlockSlack = 256;

// Attempts at creating a file before giving up; 0 means for as long as the
// operator keeps answering (see digitStreamOpenAttempts).
uint32_t openAttemptLimit = 0;

// Creates the file, asking the operator to fix things and press a key after
// each failure; each retry also waits a second. Once input has ended no one
// can fix anything: the failure ends the run with the system's error.
int createRetrying(const char* path) {
  for (uint32_t attempt = 1;; attempt++) {
    int fd = fileCreateTry(path);
    if (fd >= 0) return fd;
    const int error = errno;
    if (openAttemptLimit != 0 && attempt >= openAttemptLimit) {
      fatalMessage("Unable to open or create file.");
    }
    printWide("\nUnable to open or create file.\n");
    if (!consoleInputEnded()) {
      printWide("Re-attempting...\n");
      runPause();
    }
    if (consoleInputEnded()) {
      reportSystemError(error, SystemErrorOther);
      fatalMessage("Unexpected end of input.");
    }
    sleep(1);
  }
}

}  // namespace

void digitStreamOpenAttempts(uint32_t limit) {
  openAttemptLimit = limit;
}

void digitStreamOpen(Heap* heap, DigitStream* stream, const char* path, uint64_t expectedBytes) {
  stream->fd = createRetrying(path);
  stream->fill = 0;
  stream->heap = heap;
  uint64_t size = expectedBytes < streamBufferCap ? expectedBytes : streamBufferCap;
  if (size < streamBufferMinimum) size = streamBufferMinimum;
  if (heap == nullptr) {
    if (size > streamBufferMalloc) size = streamBufferMalloc;
    stream->buffer = static_cast<char*>(malloc(size));
    if (stream->buffer == nullptr) fatalMemory();
    stream->peakBefore = nullptr;
  } else {
    // The largest piece the heap can spare, down to the minimum.
    uint64_t free = heapFreeSpace(heap);
    uint64_t spare = free > streamBlockSlack ? (free - streamBlockSlack) & ~uint64_t(7) : 0;
    if (size > spare) size = spare;
    if (size < streamBufferMinimum) size = streamBufferMinimum;
    stream->peakBefore = heap->peakUsed;
    stream->buffer = static_cast<char*>(heapAllocate(heap, size, 8));
  }
  stream->size = size;
}

void digitStreamFlush(DigitStream* stream) {
  if (stream->fill == 0) return;
  if (!fileWriteTry(stream->fd, stream->buffer, stream->fill)) {
    int code = errno;
    printWide("\n\n");
    colorRed();
    printWide("Error Writing File.");
    colorDefault();
    reportSystemError(code, SystemErrorWrite);
    printWide("\n");
    pauseExit(1);
  }
  stream->fill = 0;
}

void digitStreamPutText(DigitStream* stream, const char* text) {
  for (; *text != 0; text++) digitStreamPut(stream, *text);
}

void digitStreamClose(DigitStream* stream) {
  digitStreamFlush(stream);
  fileClose(stream->fd);
  stream->fd = -1;
  if (stream->heap == nullptr) {
    free(stream->buffer);
  } else {
    heapRelease(stream->buffer);
    if (stream->heap->peakUsed > stream->peakBefore) stream->heap->peakUsed = stream->peakBefore;
  }
  stream->buffer = nullptr;
  stream->size = 0;
}
