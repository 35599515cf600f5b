// Speed of the digit tools on a file of random decimal digits: compressing
// the text, decompressing it again, and the three comparers. Prints seconds
// and MB/s (MB = 10^6 bytes of the text side) for each. Files are written to
// --folder (default: the current directory) and removed at the end; they
// are read back while still in the page cache, as a tool run right after a
// computation would find them.
//
//   digit_tools_bench [--digits N] [--folder PATH]
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
#include "tools/viewer_internal.h"

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

void report(const char* what, double seconds, uint64_t bytes) {
  std::printf("%-34s %8.3f s  %8.1f MB/s\n", what, seconds, double(bytes) / seconds / 1e6);
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
  double start = benchNow();
  compressTextDigits(&heap, &reader, &request);
  double seconds = benchNow() - start;
  closeDigits(&reader);
  report("compress (text -> zdg)", seconds, digits);

  openCompressedDigits(&heap, &reader, zdg.c_str());
  start = benchNow();
  decompressToFile(&reader, 0, digits, back.c_str());
  seconds = benchNow() - start;
  closeDigits(&reader);
  report("decompress (zdg -> text)", seconds, digits);

  start = benchNow();
  uint64_t matched = compareText(text.c_str(), back.c_str());
  report("compare text / text", benchNow() - start, digits);
  start = benchNow();
  matched += compareMixed(zdg.c_str(), text.c_str());
  report("compare zdg / text", benchNow() - start, digits);
  start = benchNow();
  matched += compareCompressed(zdg.c_str(), zdg.c_str());
  report("compare zdg / zdg", benchNow() - start, digits);
  heapDestroy(&heap);
  consoleCaptureTo(nullptr);
  if (matched != 3 * digits) {
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
