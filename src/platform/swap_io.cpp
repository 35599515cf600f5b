// POSIX calls for swap files.
#include "platform/swap_io.h"

#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <atomic>

namespace {

struct InjectedFailure {
  std::atomic<uint32_t> count{0};
  std::atomic<int> error{0};
};
InjectedFailure injected[SwapIoStepCount];

// True (with *error set) when a test asked this step to fail.
bool injectedFailure(SwapIoStep step, int* error) {
  InjectedFailure& slot = injected[step];
  uint32_t left = slot.count.load(std::memory_order_relaxed);
  while (left > 0) {
    if (slot.count.compare_exchange_weak(left, left - 1)) {
      *error = slot.error.load();
      return true;
    }
  }
  return false;
}

}  // namespace

int swapFileOpen(const char* path, int* error) {
  if (injectedFailure(SwapIoOpen, error)) return -1;
  int fd = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  *error = fd < 0 ? errno : 0;
  return fd;
}

int swapFileReserve(int fd, uint64_t bytes) {
  int error = 0;
  if (injectedFailure(SwapIoReserve, &error)) return error;
  if (ftruncate(fd, static_cast<off_t>(bytes)) != 0) return errno;
  if (bytes == 0) return 0;
  return posix_fallocate(fd, 0, static_cast<off_t>(bytes));
}

namespace {

std::atomic<uint64_t> windowBytes{swapIoDefaultWindowBytes};
std::atomic<uint64_t> windowCount{0};

// Moves bytes [offset, offset + bytes) between the file and `buffer` with
// pread or pwrite until every byte has moved.
template <bool write>
int moveAll(int fd, uint64_t offset, uint8_t* at, uint64_t bytes) {
  uint64_t done = 0;
  while (done < bytes) {
    ssize_t moved = write ? pwrite(fd, at + done, bytes - done, static_cast<off_t>(offset + done))
                          : pread(fd, at + done, bytes - done, static_cast<off_t>(offset + done));
    if (moved < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (moved == 0) return EIO;
    done += static_cast<uint64_t>(moved);
  }
  return 0;
}

// The transfer in windows: each window is moved, written out to the device
// (writes) and dropped from the page cache before the next one starts, so
// a transfer never holds more than one window of cache.
template <bool write>
int moveInWindows(int fd, uint64_t offset, uint8_t* at, uint64_t bytes) {
  const uint64_t window = windowBytes.load(std::memory_order_relaxed);
  uint64_t done = 0;
  while (done < bytes) {
    const uint64_t part = bytes - done < window ? bytes - done : window;
    const off_t start = static_cast<off_t>(offset + done);
    int error = moveAll<write>(fd, offset + done, at + done, part);
    if (error != 0) return error;
    // Dirty pages cannot be dropped; write them out first.
    if (write && fdatasync(fd) != 0) return errno;
    posix_fadvise(fd, start, static_cast<off_t>(part), POSIX_FADV_DONTNEED);
    windowCount.fetch_add(1, std::memory_order_relaxed);
    done += part;
  }
  return 0;
}

}  // namespace

int swapFileRead(int fd, uint64_t offset, void* buffer, uint64_t bytes) {
  int error = 0;
  if (injectedFailure(SwapIoRead, &error)) return error;
  return moveInWindows<false>(fd, offset, static_cast<uint8_t*>(buffer), bytes);
}

int swapFileWrite(int fd, uint64_t offset, const void* buffer, uint64_t bytes) {
  int error = 0;
  if (injectedFailure(SwapIoWrite, &error)) return error;
  // The write path only reads the buffer.
  return moveInWindows<true>(fd, offset, static_cast<uint8_t*>(const_cast<void*>(buffer)), bytes);
}

int swapFileClose(int fd) {
  int error = 0;
  bool forced = injectedFailure(SwapIoClose, &error);
  if (close(fd) != 0 && !forced) error = errno;
  return error;
}

int swapFileDelete(const char* path) {
  int error = 0;
  if (injectedFailure(SwapIoDelete, &error)) return error;
  return unlink(path) == 0 ? 0 : errno;
}

void swapIoFailNextForTesting(SwapIoStep step, uint32_t count, int error) {
  injected[step].error.store(error);
  injected[step].count.store(count);
}

void swapIoSetWindowBytesForTesting(uint64_t bytes) {
  windowBytes.store(bytes == 0 ? swapIoDefaultWindowBytes : bytes);
}

uint64_t swapIoWindowCount() { return windowCount.load(); }
