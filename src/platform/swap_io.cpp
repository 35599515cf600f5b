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

int swapFileRead(int fd, uint64_t offset, void* buffer, uint64_t bytes) {
  int error = 0;
  if (injectedFailure(SwapIoRead, &error)) return error;
  uint8_t* at = static_cast<uint8_t*>(buffer);
  uint64_t done = 0;
  while (done < bytes) {
    ssize_t moved = pread(fd, at + done, bytes - done, static_cast<off_t>(offset + done));
    if (moved < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (moved == 0) return EIO;
    done += static_cast<uint64_t>(moved);
  }
  posix_fadvise(fd, static_cast<off_t>(offset), static_cast<off_t>(bytes), POSIX_FADV_DONTNEED);
  return 0;
}

int swapFileWrite(int fd, uint64_t offset, const void* buffer, uint64_t bytes) {
  int error = 0;
  if (injectedFailure(SwapIoWrite, &error)) return error;
  const uint8_t* at = static_cast<const uint8_t*>(buffer);
  uint64_t done = 0;
  while (done < bytes) {
    ssize_t moved = pwrite(fd, at + done, bytes - done, static_cast<off_t>(offset + done));
    if (moved < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (moved == 0) return EIO;
    done += static_cast<uint64_t>(moved);
  }
  // Dirty pages cannot be dropped; write them out first.
  if (fdatasync(fd) != 0) return errno;
  posix_fadvise(fd, static_cast<off_t>(offset), static_cast<off_t>(bytes), POSIX_FADV_DONTNEED);
  return 0;
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
