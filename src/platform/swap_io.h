// The system calls under the swap files of RaidFile: open, reserve real disk
// space, positional reads and writes that loop until every byte has moved,
// and transfers that leave nothing behind in the page cache: they move at
// most swapIoDefaultWindowBytes at a time and flush (fdatasync) and drop
// (POSIX_FADV_DONTNEED) each window before the next, so that swap traffic
// holds at most one window of cache per file however large the transfer. Every call returns 0 or an errno value; the caller
// decides between retrying and ending.
#pragma once

#include <cstdint>

// The largest stretch of one transfer between two flushes: 64 MiB.
constexpr uint64_t swapIoDefaultWindowBytes = uint64_t(64) << 20;

// Opens `path` for reading and writing, creating it if needed (contents
// kept). Returns the descriptor, or -1 with the error in *error.
int swapFileOpen(const char* path, int* error);
// Makes the file exactly `bytes` long with its blocks allocated on disk.
int swapFileReserve(int fd, uint64_t bytes);
// Reads `bytes` bytes at byte `offset`; a read that cannot progress is EIO.
// The pages read are dropped from the cache window by window.
int swapFileRead(int fd, uint64_t offset, void* buffer, uint64_t bytes);
// Writes `bytes` bytes at byte `offset`; each window is flushed to the
// device and dropped from the cache before the next is written. A write that cannot progress is EIO.
int swapFileWrite(int fd, uint64_t offset, const void* buffer, uint64_t bytes);
// Closes the descriptor. On Linux the descriptor is gone even when an error
// is reported, so a failed close must not be repeated.
int swapFileClose(int fd);
// Removes the file.
int swapFileDelete(const char* path);

// Test hook: the next `count` calls of one step fail with `error` (the real
// call is skipped, except for close, which still releases the descriptor).
enum SwapIoStep {
  SwapIoOpen = 0,
  SwapIoReserve,
  SwapIoRead,
  SwapIoWrite,
  SwapIoClose,
  SwapIoDelete,
  SwapIoStepCount
};
void swapIoFailNextForTesting(SwapIoStep step, uint32_t count, int error);
// Test hooks: the window of one flush (0 restores 64 MiB), and the windows
// moved since the start of the program.
void swapIoSetWindowBytesForTesting(uint64_t bytes);
uint64_t swapIoWindowCount();
