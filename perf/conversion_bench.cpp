// Times the base conversion of an n-word integer to radix 10^9 (table build
// and convertToDecimal) against GMP's mpz_get_str on the same number in the
// same process, and checks that both give the same digits.
//
//   conversion_bench [--min N] [--max N] [--threads K] [--quick] [--ours-only]
//                    [--repeat R]
//
// --ours-only skips GMP and the digit check (for profiling our side alone);
// --repeat runs each size R times (one line each).
// Sizes run from 1000 to 1000000 words (1, 2, 5 steps per decade). Prints
// per size: the table time, the conversion time, their sum, GMP's time and
// the ratio of the sum to GMP's. Each figure is one run: at these sizes one
// run takes long enough to measure, and the table is built once per result
// in the program too.
#include <gmp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "bench_support.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

struct Options {
  uint64_t minimum = 1000;
  uint64_t maximum = 1000000;
  uint32_t threads = 0;
  bool quick = false;
  bool oursOnly = false;
  uint32_t repeat = 1;
};

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--quick"))
      options.quick = true;
    else if (!std::strcmp(argv[i], "--ours-only"))
      options.oursOnly = true;
    else if (!std::strcmp(argv[i], "--min") && i + 1 < argc)
      options.minimum = std::strtoull(argv[++i], nullptr, 10);
    else if (!std::strcmp(argv[i], "--max") && i + 1 < argc)
      options.maximum = std::strtoull(argv[++i], nullptr, 10);
    else if (!std::strcmp(argv[i], "--repeat") && i + 1 < argc)
      options.repeat = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc)
      options.threads = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    else {
      std::fprintf(
          stderr,
          "usage: %s [--min N] [--max N] [--threads K] [--quick] [--ours-only] [--repeat R]\n",
          argv[0]);
      std::exit(2);
    }
  }
  return options;
}

// The decimal text of radix-10^9 words, top word without leading zeros.
std::string decimalText(const uint32_t* words, uint64_t n) {
  if (n == 0) return "0";
  std::string text = std::to_string(words[n - 1]);
  char group[16];
  for (uint64_t i = n - 1; i-- > 0;) {
    std::snprintf(group, sizeof group, "%09u", words[i]);
    text += group;
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = parse(argc, argv);
  std::vector<uint64_t> sizes;
  for (uint64_t decade = 1000; decade <= options.maximum; decade *= 10) {
    for (uint64_t step : {1, 2, 5}) {
      uint64_t n = decade * step;
      if (options.quick && step != 1) continue;
      if (n < options.minimum || n > options.maximum) continue;
      for (uint32_t r = 0; r < std::max(options.repeat, 1u); ++r) sizes.push_back(n);
    }
  }

  std::mt19937_64 random(2024);
  std::printf("threads exponent %u\n", options.threads);
  std::printf("%8s  %10s %10s %10s  %10s %7s  %10s\n", "words", "table s", "convert s", "total s",
              "gmp s", "ratio", "conv cpu");
  int failures = 0;
  for (uint64_t n : sizes) {
    std::vector<uint32_t> words(n);
    for (auto& w : words) w = uint32_t(random());
    words[n - 1] |= 1;

    // The tables a run of this size builds before it computes.
    buildFftTables(n + 100);
    Heap heap;
    heapInit(nullptr, &heap, (64ull << 20) + n * 4 * 48);
    BigFloat x;
    bigFloatSetZero(&x);
    x.mantissa.words = heapAllocateWords(&heap, n + 2);
    std::memcpy(x.mantissa.words, words.data(), n * 4);
    x.mantissa.length = n;
    x.mantissa.capacity = n + 2;

    std::string console;
    consoleCaptureTo(&console);
    double start = benchNow();
    BaseConversionTable table;
    buildBaseConversionTable(&heap, &x, &table, options.threads);
    double tableSeconds = benchNow() - start;
    start = benchNow();
    const double cpuStart = benchCpuNow();
    ConversionOutput out;
    uint64_t digits = uint64_t(double(n) * decimalDigitsPerWord) + 1;
    convertToDecimal(&heap, &out, &x, digits, &table, 0, options.threads);
    double convertSeconds = benchNow() - start;
    double convertCpu = benchCpuNow() - cpuStart;
    consoleCaptureTo(nullptr);

    double gmpSeconds = 1e-9;
    bool same = true;
    if (!options.oursOnly) {
      mpz_t z;
      mpz_init(z);
      mpz_import(z, n, -1, 4, 0, 0, words.data());
      std::vector<char> buffer(mpz_sizeinbase(z, 10) + 2);
      start = benchNow();
      mpz_get_str(buffer.data(), 10, z);
      gmpSeconds = benchNow() - start;
      mpz_clear(z);
      same = decimalText(out.digits.words, out.digits.length) == std::string(buffer.data());
    }
    if (!same) failures++;
    releaseConversionOutput(&out);
    releaseBaseConversionTable(&table);
    heapDestroy(&heap);

    double total = tableSeconds + convertSeconds;
    std::printf("%8llu  %10.4f %10.4f %10.4f  %10.4f %7.2f  %10.4f%s\n", (unsigned long long)n,
                tableSeconds, convertSeconds, total, gmpSeconds,
                options.oursOnly ? 0.0 : total / gmpSeconds, convertCpu, same ? "" : "  WRONG");
    std::fflush(stdout);
  }
  return failures == 0 ? 0 : 1;
}
