// Checked file helpers over POSIX descriptors. Transfers loop until every
// byte has moved; each system call moves at most transferChunk bytes.
#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/console.h"

namespace {

// Largest single read or write (Linux moves at most 0x7ffff000 bytes a call).
constexpr uint64_t transferChunk = 0x40000000;

const char* const textOpen = "Unable to open or create file.";
const char* const textClose = "Unable to close file.";
const char* const textRead = "Error Reading File.";
const char* const textWrite = "Error Writing File.";
const char* const textNoPath = "Path does not exist.";

int openRetrying(const char* path, int flags) {
  int fd;
  do {
    fd = open(path, flags | O_CLOEXEC, 0644);
  } while (fd < 0 && errno == EINTR);
  return fd;
}

// Reads until `bytes` are in or the file ends; -1 on an error.
int64_t readLoop(int fd, bool positional, uint64_t offset, void* buffer, uint64_t bytes) {
  uint8_t* out = static_cast<uint8_t*>(buffer);
  uint64_t done = 0;
  while (done < bytes) {
    uint64_t step = bytes - done < transferChunk ? bytes - done : transferChunk;
    ssize_t got = positional ? pread(fd, out + done, step, static_cast<off_t>(offset + done))
                             : read(fd, out + done, step);
    if (got < 0) {
      if (errno == EINTR) continue;
      return -1;
    }
    if (got == 0) break;
    done += static_cast<uint64_t>(got);
  }
  return static_cast<int64_t>(done);
}

// Writes all `bytes`; false when an error or a write that moves nothing stops it.
bool writeLoop(int fd, bool positional, uint64_t offset, const void* buffer, uint64_t bytes) {
  const uint8_t* in = static_cast<const uint8_t*>(buffer);
  uint64_t done = 0;
  while (done < bytes) {
    uint64_t step = bytes - done < transferChunk ? bytes - done : transferChunk;
    ssize_t put = positional ? pwrite(fd, in + done, step, static_cast<off_t>(offset + done))
                             : write(fd, in + done, step);
    if (put < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    if (put == 0) {
      errno = ENOSPC;
      return false;
    }
    done += static_cast<uint64_t>(put);
  }
  return true;
}

}  // namespace

int fileOpenReadTry(const char* path) {
  return openRetrying(path, O_RDONLY);
}
int fileOpenWriteTry(const char* path) {
  return openRetrying(path, O_RDWR | O_CREAT);
}
int fileCreateTry(const char* path) {
  return openRetrying(path, O_RDWR | O_CREAT | O_TRUNC);
}

int fileOpenRead(const char* path) {
  int fd = fileOpenReadTry(path);
  if (fd < 0) fatalMessage(textOpen);
  return fd;
}

int fileOpenWrite(const char* path) {
  int fd = fileOpenWriteTry(path);
  if (fd < 0) fatalMessage(textOpen);
  return fd;
}

int fileCreate(const char* path) {
  int fd = fileCreateTry(path);
  if (fd < 0) fatalMessage(textOpen);
  return fd;
}

void fileClose(int fd) {
  if (fd < 0) return;
  // A close interrupted by a signal has still released the descriptor.
  if (close(fd) != 0 && errno != EINTR) fatalMessage(textClose);
}

void fileRead(int fd, void* buffer, uint64_t bytes) {
  if (readLoop(fd, false, 0, buffer, bytes) != static_cast<int64_t>(bytes)) fatalMessage(textRead);
}

uint64_t fileReadSome(int fd, void* buffer, uint64_t bytes) {
  int64_t got = readLoop(fd, false, 0, buffer, bytes);
  if (got < 0) fatalMessage(textRead);
  return static_cast<uint64_t>(got);
}

void fileWrite(int fd, const void* buffer, uint64_t bytes) {
  if (!writeLoop(fd, false, 0, buffer, bytes)) fatalMessage(textWrite);
}

void fileReadAt(int fd, uint64_t offset, void* buffer, uint64_t bytes) {
  if (!fileReadAtTry(fd, offset, buffer, bytes)) fatalMessage(textRead);
}

void fileWriteAt(int fd, uint64_t offset, const void* buffer, uint64_t bytes) {
  if (!writeLoop(fd, true, offset, buffer, bytes)) fatalMessage(textWrite);
}

bool fileWriteTry(int fd, const void* buffer, uint64_t bytes) {
  return writeLoop(fd, false, 0, buffer, bytes);
}

bool fileWriteAtTry(int fd, uint64_t offset, const void* buffer, uint64_t bytes) {
  return writeLoop(fd, true, offset, buffer, bytes);
}

bool fileReadAtTry(int fd, uint64_t offset, void* buffer, uint64_t bytes) {
  return readLoop(fd, true, offset, buffer, bytes) == static_cast<int64_t>(bytes);
}

void fileSeek(int fd, uint64_t offset) {
  if (lseek(fd, static_cast<off_t>(offset), SEEK_SET) < 0) fatalMessage(textRead);
}

void fileSetLength(int fd, uint64_t bytes) {
  int result;
  do {
    result = ftruncate(fd, static_cast<off_t>(bytes));
  } while (result != 0 && errno == EINTR);
  if (result != 0) fatalMessage(textWrite);
}

void fileFlush(int fd) {
  if (fdatasync(fd) != 0) fatalMessage(textWrite);
}

uint64_t fileSize(const char* path) {
  struct stat info;
  if (stat(path, &info) != 0) fatalMessage(textNoPath);
  return static_cast<uint64_t>(info.st_size);
}

uint64_t fileSizeOfOpen(int fd) {
  struct stat info;
  if (fstat(fd, &info) != 0) fatalMessage(textNoPath);
  return static_cast<uint64_t>(info.st_size);
}

bool pathExists(const char* path) {
  struct stat info;
  return stat(path, &info) == 0;
}

bool directoryExists(const char* path) {
  struct stat info;
  return stat(path, &info) == 0 && S_ISDIR(info.st_mode);
}

bool directoryCreate(const char* path) {
  if (mkdir(path, 0755) == 0) return true;
  return errno == EEXIST && directoryExists(path);
}

bool fileDelete(const char* path) {
  return unlink(path) == 0;
}
