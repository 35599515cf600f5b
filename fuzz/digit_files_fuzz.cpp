// Fuzz target: random bytes as a compressed digit file (alone or as block 0
// of a series), as a text digit file, and as the range of the viewer's rows.
// Every input must end either normally or by one of the program's fatal
// messages; a crash, a sanitizer report or a hang is a finding.
//
// The fatal endings exit the process. The build wraps exit() (linker option
// --wrap=exit) so that an exit inside the target jumps back here, and the
// files and memory of the abandoned reader are released.
//
// Input layout: byte 0 picks the mode (low two bits) and the radix (bit 2);
// bytes 1..16 give a start and a count for seeks and rows; the rest is the
// file.
#include <fcntl.h>
#include <setjmp.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>

#include "memory/heap.h"
#include "platform/console.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"

extern "C" void __real_exit(int status);

namespace {

jmp_buf escape;
bool insideTarget = false;
int firstFreeFd = 3;
std::string folder;
std::string sink;
DigitReader reader;

// Largest count of digits read per input: keeps an execution short.
constexpr uint64_t readLimit = 1u << 16;

void writeInput(const std::string& path, const uint8_t* data, size_t size) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd < 0) abort();
  if (size > 0 && write(fd, data, size) != ssize_t(size)) abort();
  close(fd);
}

void releaseReader() {
  for (int fd = firstFreeFd; fd < firstFreeFd + 64; fd++) close(fd);
  reader.file = -1;
  zdgClose(&reader);
}

uint64_t load64(const uint8_t* bytes) {
  uint64_t value;
  memcpy(&value, bytes, 8);
  return value;
}

void exercise(const uint8_t* data, size_t size) {
  const uint32_t mode = data[0] & 3;
  const uint32_t radix = (data[0] & 4) != 0 ? 16 : 10;
  uint64_t first = load64(data + 1);
  uint64_t count = load64(data + 9) % 4096;
  const uint8_t* file = data + 17;
  const size_t fileSize = size - 17;
  memset(&reader, 0, sizeof reader);
  reader.file = -1;
  std::string path;
  if (mode == 0) {
    path = folder + "/input.zdg";
  } else if (mode == 1) {
    path = folder + "/series/x - Dec - 0.zdg";
  } else {
    path = folder + "/input.txt";
  }
  writeInput(path, file, fileSize);
  if (mode <= 1) {
    openCompressedDigits(nullptr, &reader, path.c_str());
  } else {
    openTextDigits(&reader, path.c_str());
    reader.radix = radix;
  }
  // In order from where the reader stands, then at an arbitrary place, then
  // as rows.
  uint64_t total = reader.totalDigits;
  uint8_t values[256];
  uint64_t left = total - reader.position;
  uint64_t inOrder = left < readLimit ? left : readLimit;
  for (uint64_t done = 0; done < inOrder;) {
    uint64_t take = inOrder - done < sizeof values ? inOrder - done : sizeof values;
    readDigits(&reader, values, take);
    done += take;
  }
  if (total > 0) {
    first %= total;
    seekDigit(&reader, first);
    if (first < total) nextDigit(&reader);
    count = clampCount(total, first, count);
    checkBlocksAvailable(&reader, first, count);
    printDigitRows(&reader, first, count);
  }
  sink.clear();
  closeDigits(&reader);
}

}  // namespace

extern "C" void __wrap_exit(int status) {
  if (insideTarget) longjmp(escape, 1);
  __real_exit(status);
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  // The inputs go to DIGIT_FUZZ_FOLDER (scripts/fuzz.sh sets one in its
  // build folder, reused by every run), else to a fresh temporary folder.
  const char* given = getenv("DIGIT_FUZZ_FOLDER");
  if (given != nullptr) {
    folder = given;
    mkdir(folder.c_str(), 0700);
  } else {
    char pattern[] = "/tmp/digit_fuzz_XXXXXX";
    if (mkdtemp(pattern) == nullptr) abort();
    folder = pattern;
  }
  std::string series = folder + "/series";
  mkdir(series.c_str(), 0700);
  int probe = dup(0);
  firstFreeFd = probe;
  close(probe);
  consoleCaptureTo(&sink);
  consoleInputFrom("");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 17 || size > (1u << 20)) return 0;
  insideTarget = true;
  if (setjmp(escape) == 0) {
    exercise(data, size);
  } else {
    releaseReader();
    sink.clear();
  }
  insideTarget = false;
  return 0;
}
