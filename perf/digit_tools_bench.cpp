// Speed of the digit tools on a file of random decimal digits: compressing
// the text, decompressing it again, and the three comparers. Prints seconds
// and MB/s (MB = 10^6 bytes of the text side) for each. Files are written to
// --folder (default: the current directory) and removed at the end; they
// are read back while still in the page cache, as a tool run right after a
// computation would find them.
//
//   digit_tools_bench [--digits N] [--folder PATH]
#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

#include "bench_support.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "tools/compare_digits.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"

namespace {

void writeRandomText(const std::string& path, uint64_t digits) {
  FILE* f = fopen(path.c_str(), "wb");
  if (f == nullptr) exit(1);
  fputs("3.", f);
  std::mt19937_64 random(1);
  std::string chunk(1 << 20, '0');
  for (uint64_t done = 0; done < digits;) {
    uint64_t take = std::min<uint64_t>(chunk.size(), digits - done);
    for (uint64_t i = 0; i < take; i++) chunk[i] = char('0' + random() % 10);
    fwrite(chunk.data(), 1, take, f);
    done += take;
  }
  fclose(f);
}

// Processor seconds of this process (user and system), which a loaded
// machine does not inflate the way it inflates the wall clock.
double cpuSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
         double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) * 1e-6;
}

struct Timing {
  double wall;
  double cpu;
};

Timing timingStart() { return {benchNow(), cpuSeconds()}; }

void report(const char* what, Timing start, uint64_t bytes) {
  double wall = benchNow() - start.wall;
  double cpu = cpuSeconds() - start.cpu;
  std::printf("%-28s wall %7.3f s %8.1f MB/s   cpu %7.3f s %8.1f MB/s\n", what, wall,
              double(bytes) / wall / 1e6, cpu, double(bytes) / cpu / 1e6);
  std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t digits = 100000000;
  std::string folder = ".";
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], "--digits") == 0) digits = std::strtoull(argv[i + 1], nullptr, 10);
    if (std::strcmp(argv[i], "--folder") == 0) folder = argv[i + 1];
  }
  const std::string text = folder + "/bench_source.txt";
  const std::string back = folder + "/bench_back.txt";
  const std::string zdg = folder + "/bench_digits.zdg";
  writeRandomText(text, digits);
  std::printf("%llu decimal digits, text %llu bytes\n", (unsigned long long)digits,
              (unsigned long long)(digits + 2));

  std::string sink;
  consoleCaptureTo(&sink);
  Heap heap;
  heapInit(nullptr, &heap, toolHeapBytes);

  DigitReader reader;
  openTextDigits(&reader, text.c_str());
  CompressRequest request = {digits, 0, "Bench", "b", folder.c_str(), "bench_digits", 10};
  Timing start = timingStart();
  compressTextDigits(&heap, &reader, &request);
  report("compress (text -> zdg)", start, digits);
  closeDigits(&reader);

  openCompressedDigits(&heap, &reader, zdg.c_str());
  start = timingStart();
  decompressToFile(&reader, 0, digits, back.c_str());
  report("decompress (zdg -> text)", start, digits);
  closeDigits(&reader);

  // Comparisons three times each (the loaded machine's noise).
  uint64_t matched = 0;
  for (int round = 0; round < 3; round++) {
    start = timingStart();
    matched += compareText(text.c_str(), back.c_str());
    report("compare text / text", start, digits);
    start = timingStart();
    matched += compareMixed(zdg.c_str(), text.c_str());
    report("compare zdg / text", start, digits);
    start = timingStart();
    matched += compareCompressed(zdg.c_str(), zdg.c_str());
    report("compare zdg / zdg", start, digits);
  }
  heapDestroy(&heap);
  consoleCaptureTo(nullptr);
  if (matched != 9 * digits) {
    std::printf("MISMATCH: %llu digits matched in all\n", (unsigned long long)matched);
    return 1;
  }
  if (std::getenv("DIGIT_BENCH_KEEP") == nullptr) {
    unlink(text.c_str());
    unlink(back.c_str());
    unlink(zdg.c_str());
  }
  return 0;
}
