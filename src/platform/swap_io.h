// The system calls under the swap files of RaidFile: open, reserve real disk
// space, positional reads and writes that loop until every byte has moved,
// and writes that leave nothing behind in the page cache (fdatasync, then
// POSIX_FADV_DONTNEED), so that swap traffic does not double the memory the
// computation uses. Every call returns 0 or an errno value; the caller
// decides between retrying and ending.
#pragma once

#include <cstdint>

// Opens `path` for reading and writing, creating it if needed (contents
// kept). Returns the descriptor, or -1 with the error in *error.
int swapFileOpen(const char* path, int* error);
// Makes the file exactly `bytes` long with its blocks allocated on disk.
int swapFileReserve(int fd, uint64_t bytes);
// Reads `bytes` bytes at byte `offset`; a read that cannot progress is EIO.
// The pages read are dropped from the cache afterwards.
int swapFileRead(int fd, uint64_t offset, void* buffer, uint64_t bytes);
// Writes `bytes` bytes at byte `offset`, flushes them to the device and
// drops them from the cache. A write that cannot progress is EIO.
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
