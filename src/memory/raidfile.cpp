// RaidFile swap files: creation with retries, striped transfers on one
// thread per file, deletion with retries.
#include "memory/raidfile.h"

#include <errno.h>
#include <time.h>

#include <atomic>
#include <cassert>
#include <cstdio>
#include <cstring>

#include "platform/console.h"
#include "platform/swap_io.h"

PathList* globalSwapPaths = nullptr;

namespace {

constexpr uint64_t defaultPieceBytes = 0x80000000ull;

std::atomic<uint64_t> pieceBytes{defaultPieceBytes};
std::atomic<uint64_t> writeCount{0};
std::atomic<uint64_t> writeWords{0};
std::atomic<uint64_t> pieceCount{0};
std::atomic<uint64_t> liveWords{0};
std::atomic<uint64_t> peakWords{0};
std::atomic<uint32_t> retryDelayMs{1000};
std::atomic<void (*)()> retryHook{nullptr};

// Pause between two attempts of a step that retries for ever, so that a
// persistent error does not flood the console.
void waitBeforeRetry() {
  if (void (*hook)() = retryHook.load()) hook();
  uint32_t ms = retryDelayMs.load();
  if (ms == 0) return;
  timespec pause = {static_cast<time_t>(ms / 1000), static_cast<long>(ms % 1000) * 1000000L};
  nanosleep(&pause, nullptr);
}

// The message of a failed step that will be tried again.
void reportRetry(const char* text, int error, bool withSystemError) {
  setColor(12);
  printWide("\n");
  printWide(text);
  printWide("\n\n");
  if (withSystemError) reportSystemError(error, SystemErrorOther);
  printWide("\nRe-attempting...\n");
  colorDefault();
  // Nobody is left to clear the cause once input has ended.
  if (consoleInputAtEnd()) fatalMessage("Unexpected end of input.");
}

// A lost transfer loses a number: the end of the program.
[[noreturn]] void transferFailure(const char* text, int error, SystemErrorKind kind) {
  setColor(12);
  printWide("\n");
  printWide(text);
  printWide("\n\n");
  reportSystemError(error, kind);
  colorDefault();
  pauseExit(1);
}

}  // namespace

uint64_t raidFileSizeAfterRefusal(uint64_t bytes) {
  const uint64_t largest = ~uint64_t(0);
  return bytes > largest / 4 ? largest : bytes * 4;
}

namespace {

// Opens the file of `entry` (whose path is set) and sizes it to
// stripeWords words. Each round after a refused size asks for four times
// the size of the round before, up to the largest size (never wrapping to
// an empty file).
void openSwapFile(RaidFileEntry* entry, uint64_t stripeWords) {
  int error = 0;
  entry->handle = swapFileOpen(entry->path, &error);
  while (entry->handle < 0) {
    reportRetry("Unable to create file.", error, true);
    waitBeforeRetry();
    entry->handle = swapFileOpen(entry->path, &error);
  }
  uint64_t bytes = stripeWords * 4;
  for (;;) {
    error = swapFileReserve(entry->handle, bytes);
    if (error == 0) break;
    reportRetry("Unable to allocate swap file.", error, true);
    waitBeforeRetry();
    bytes = raidFileSizeAfterRefusal(bytes);
  }
}

// Closes and deletes one file. A failed close is reported but not repeated:
// the system has released the descriptor either way. A file that is
// already gone counts as deleted.
void closeAndDelete(RaidFileEntry* entry) {
  if (entry->handle >= 0) {
    int error = swapFileClose(entry->handle);
    if (error != 0) {
      setColor(12);
      printWide("\nUnable to close file.\n\n");
      reportSystemError(error, SystemErrorOther);
      colorDefault();
    }
    entry->handle = -1;
  }
  for (;;) {
    int error = swapFileDelete(entry->path);
    if (error == 0 || error == ENOENT) break;
    reportRetry("Unable to delete file.", error, false);
    waitBeforeRetry();
  }
  heapRelease(entry->path);
  entry->path = nullptr;
}

// Moves one record's words in pieces of at most pieceBytes bytes.
template <bool write>
uint64_t transferRecord(void* context) {
  TransferRecord* record = static_cast<TransferRecord*>(context);
  if (record->wordCount == 0) return 0;
  uint64_t piece = pieceBytes.load(std::memory_order_relaxed);
  uint64_t at = record->offset * 4;
  uint8_t* memory = reinterpret_cast<uint8_t*>(record->buffer);
  uint64_t left = record->wordCount * 4;
  while (left > 0) {
    uint64_t bytes = left > piece ? piece : left;
    pieceCount.fetch_add(1, std::memory_order_relaxed);
    if constexpr (write) {
      int error = swapFileWrite(record->file->handle, at, memory, bytes);
      if (error != 0) transferFailure("Write Fault", error, SystemErrorWrite);
    } else {
      int error = swapFileRead(record->file->handle, at, memory, bytes);
      if (error != 0) transferFailure("Read Fault", error, SystemErrorRead);
    }
    at += bytes;
    memory += bytes;
    left -= bytes;
  }
  return 0;
}

// Words first .. first + wordCount - 1 of the array, one record per file
// touched; all files but the last go to raised-priority threads, the last
// runs here, then all are joined in order.
void transfer(RaidFile* file, uint64_t first, uint32_t* buffer, uint64_t wordCount, bool write) {
  if (wordCount == 0) return;
  uint64_t stripe = file->stripeWords;
  assert(first + wordCount <= stripe * file->fileCount);
  uint64_t end = first + wordCount;
  uint64_t firstFile = first / stripe;
  uint64_t lastFile = (end - 1) / stripe;
  for (uint64_t i = firstFile; i <= lastFile; i++) {
    uint64_t stripeStart = i * stripe;
    uint64_t position = first > stripeStart ? first : stripeStart;
    uint64_t stop = end < stripeStart + stripe ? end : stripeStart + stripe;
    TransferRecord* record = &file->transfers[i];
    record->file = &file->files[i];
    record->offset = position - stripeStart;
    record->buffer = buffer + (position - first);
    record->reserved = 0;
    record->wordCount = stop - position;
  }
  ThreadRoutine routine = write ? transferRecord<true> : transferRecord<false>;
  for (uint64_t i = firstFile; i < lastFile; i++) {
    threadSpawnRaised(&file->threads[i], routine, &file->transfers[i]);
  }
  routine(&file->transfers[lastFile]);
  for (uint64_t i = firstFile; i < lastFile; i++) threadJoin(&file->threads[i]);
}

// "dir" + "/" + name, or name alone for the empty path; a path that ends
// in '/' or '\\' gets no second separator. The buffer starts at 16
// characters and doubles until the text fits.
char* buildFullName(Heap* heap, const char* path, const char* name) {
  size_t pathLength = strlen(path);
  bool separator = pathLength > 0 && path[pathLength - 1] != '/' && path[pathLength - 1] != '\\';
  size_t length = pathLength + (separator ? 1 : 0) + strlen(name);
  size_t capacity = 16;
  while (capacity < length + 1) capacity *= 2;
  char* text = static_cast<char*>(heapAllocate(heap, capacity, 1));
  memcpy(text, path, pathLength);
  if (separator) text[pathLength] = '/';
  strcpy(text + pathLength + (separator ? 1 : 0), name);
  return text;
}

}  // namespace

void raidFileCreate(Heap* heap, RaidFile* file, const PathList* paths, uint64_t reserved,
                    uint64_t totalWords) {
  file->name = static_cast<char*>(heapAllocate(heap, 24, 8));
  snprintf(file->name, 24, "nmb_%016llx.sf",
           static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(file->name)));
  bool listed = paths != nullptr && paths->count != 0;
  uint64_t count = listed ? paths->count : 1;
  file->fileCount = count;
  file->totalWords = totalWords;
  file->stripeWords = (totalWords + count - 1) / count;
  const uint64_t live = liveWords.fetch_add(totalWords, std::memory_order_relaxed) + totalWords;
  uint64_t peak = peakWords.load(std::memory_order_relaxed);
  while (live > peak && !peakWords.compare_exchange_weak(peak, live)) {
  }
  file->files = static_cast<RaidFileEntry*>(heapAllocate(heap, count * sizeof(RaidFileEntry), 8));
  file->transfers =
      static_cast<TransferRecord*>(heapAllocate(heap, count * sizeof(TransferRecord), 8));
  file->threads = static_cast<ThreadHandle*>(heapAllocate(heap, count * sizeof(ThreadHandle), 8));
  memset(file->transfers, 0, count * sizeof(TransferRecord));
  memset(file->threads, 0, count * sizeof(ThreadHandle));
  for (uint64_t i = 0; i < count; i++) {
    const char* path = listed ? paths->paths[i] : "";
    RaidFileEntry* entry = &file->files[i];
    entry->path = buildFullName(heap, path, file->name);
    entry->handle = -1;
    openSwapFile(entry, file->stripeWords);
  }
}

void raidFileCreateAndWrite(Heap* heap, RaidFile* file, const PathList* paths,
                            uint64_t reserved, const uint32_t* words, uint64_t wordCount) {
  raidFileCreate(heap, file, paths, reserved, wordCount);
  raidFileWriteAt(file, 0, words, wordCount);
}

void raidFileRead(RaidFile* file, uint32_t* buffer, uint64_t wordCount) {
  transfer(file, 0, buffer, wordCount, false);
}

void raidFileReadAt(RaidFile* file, uint64_t offset, uint32_t* buffer, uint64_t wordCount) {
  transfer(file, offset, buffer, wordCount, false);
}

void raidFileWriteAt(RaidFile* file, uint64_t offset, const uint32_t* buffer,
                     uint64_t wordCount) {
  writeCount.fetch_add(1, std::memory_order_relaxed);
  writeWords.fetch_add(wordCount, std::memory_order_relaxed);
  // The write routines only read the buffer.
  transfer(file, offset, const_cast<uint32_t*>(buffer), wordCount, true);
}

void raidFileDelete(RaidFile* file) {
  if (file->files != nullptr) liveWords.fetch_sub(file->totalWords, std::memory_order_relaxed);
  for (uint64_t i = 0; i < file->fileCount; i++) closeAndDelete(&file->files[i]);
  heapRelease(file->name);
  heapRelease(file->files);
  heapRelease(file->transfers);
  heapRelease(file->threads);
  file->name = nullptr;
  file->files = nullptr;
  file->transfers = nullptr;
  file->threads = nullptr;
}

void raidFileDump(const RaidFile* file) {
  printWide("RaidFile Path Dump:\n");
  for (uint64_t i = 0; i < file->fileCount; i++) {
    const char* path = file->files != nullptr ? file->files[i].path : nullptr;
    printWide(path != nullptr ? path : "NULL");
    printWide("\n");
  }
}

uint64_t raidFileWriteCount() { return writeCount.load(); }
uint64_t raidFileWriteWords() { return writeWords.load(); }
uint64_t raidFilePieceCount() { return pieceCount.load(); }
uint64_t raidFilePeakBytes() { return 4 * peakWords.load(); }
void raidFileResetPeak() { peakWords.store(liveWords.load()); }

void raidFileSetPieceBytesForTesting(uint64_t bytes) {
  assert(bytes % 4 == 0);
  pieceBytes.store(bytes == 0 ? defaultPieceBytes : bytes);
}

void raidFileSetRetryDelayForTesting(uint32_t milliseconds) { retryDelayMs.store(milliseconds); }

void raidFileSetRetryHookForTesting(void (*hook)()) { retryHook.store(hook); }
