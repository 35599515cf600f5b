// Times Pi to D decimal digits, computation and conversion to decimal (no
// file writing), against Arb's arb_const_pi with its decimal conversion
// (arb_get_str) in the same process, on one and two threads, and checks that
// both give the same digits.
//
//   pi_bench [--digits D]... [--algorithm 0|1] [--two-threads] [--quick]
//            [--ours-only]
//
// Default sizes are 1,000,000 and 10,000,000 digits (--quick: the first
// only). Per size and thread count it prints numbrella's series-and-finish
// time, its conversion time, their sum, Arb's constant and conversion times,
// their sum, the ratio of the two sums, and numbrella's memory estimate
// against the arena's measured peak, and numbrella's processor seconds
// (all threads; steadier than the wall clock on a shared machine). Each
// figure is one run; Arb's cache of the constant is emptied before each of
// its runs (--ours-only: Arb is not run, and the digits are not checked). With
// PI_BENCH_SHOW set in the environment numbrella's console is shown rather
// than captured (to see why a run ended).
#include <arb.h>
#include <flint/flint.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "bench_support.h"
#include "constants/compute_settings.h"
#include "constants/pi.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/driver.h"
#include "shell/estimate.h"

namespace {

struct Options {
  std::vector<uint64_t> digits;
  uint32_t algorithm = piChudnovsky;
  std::vector<uint32_t> threadPowers = {0, 1};
  bool oursOnly = false;
};

Options parse(int argc, char** argv) {
  Options options;
  bool quick = false;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--quick")) {
      quick = true;
    } else if (!std::strcmp(argv[i], "--ours-only")) {
      options.oursOnly = true;
    } else if (!std::strcmp(argv[i], "--digits") && i + 1 < argc) {
      options.digits.push_back(std::strtoull(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--two-threads")) {
      options.threadPowers = {1};
    } else if (!std::strcmp(argv[i], "--algorithm") && i + 1 < argc) {
      options.algorithm =
          uint32_t(std::strtoul(argv[++i], nullptr, 10)) == 1 ? piRamanujan : piChudnovsky;
    } else {
      std::fprintf(
          stderr,
          "usage: %s [--digits D]... [--algorithm 0|1] [--two-threads] [--quick] [--ours-only]\n",
          argv[0]);
      std::exit(2);
    }
  }
  if (options.digits.empty()) {
    options.digits = {1000000, 10000000};
    if (quick) options.digits.resize(1);
  }
  return options;
}

struct Timing {
  double compute;
  double convert;
  std::string digits;     // "3" and the fraction, no point
  uint64_t estimate = 0;  // numbrella only: the run's memory estimate, bytes
  uint64_t peak = 0;      // and the arena's measured high-water mark
  double cpu = 0;         // numbrella only: processor seconds of the two steps
};

Timing runNumbrella(uint32_t algorithm, uint64_t decimalDigits, uint32_t threadPower) {
  const uint64_t words = benchWordCount(decimalDigits);

  uint64_t memory = 0, disk = 0;
  estimatePi(words, threadPower, algorithm, computeModeRamOnly, &memory, &disk);
  // The arena the program would make: the estimate and its margin. A run
  // that needs more ends with "Memory Allocation Failure.". With threads the
  // arena's high-water mark tells where the split heaps lay, not the need,
  // so the peak is shown for one thread only.
  Heap heap;
  heapInit(nullptr, &heap, memory + arenaMargin);
  globalThreadPower = threadPower;
  buildFftTables(words + 100);

  std::string console;
  if (!getenv("PI_BENCH_SHOW")) consoleCaptureTo(&console);
  Timing timing;
  double start = benchNow();
  const double cpuStart = benchCpuNow();
  BigFloat pi;
  piComputeNumber(&heap, &pi, words, threadPower, algorithm, 0);
  timing.compute = benchNow() - start;
  timing.convert = benchConvert(&heap, &pi, decimalDigits + 1, threadPower, &timing.digits);
  timing.cpu = benchCpuNow() - cpuStart;
  consoleCaptureTo(nullptr);
  timing.estimate = memory;
  timing.peak = threadPower == 0 ? uint64_t(heap.peakUsed - heap.base) : 0;
  bigFloatDestroy(&pi);
  releaseFftTables();
  heapDestroy(&heap);
  return timing;
}

Timing runArb(uint64_t decimalDigits, uint32_t threadPower) {
  flint_cleanup();  // drops the cached constant
  flint_set_num_threads(1 << threadPower);
  slong precision = slong(double(decimalDigits) * std::log2(10.0)) + 64;
  arb_t x;
  arb_init(x);
  Timing timing;
  double start = benchNow();
  arb_const_pi(x, precision);
  timing.compute = benchNow() - start;
  start = benchNow();
  char* text = arb_get_str(x, slong(decimalDigits) + 10, ARB_STR_NO_RADIUS);
  timing.convert = benchNow() - start;
  timing.digits = text;
  flint_free(text);
  arb_clear(x);
  // "3.14159...": drop the point.
  timing.digits.erase(1, 1);
  timing.digits.resize(decimalDigits + 1);
  return timing;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = parse(argc, argv);
  std::printf("Pi by %s; times in seconds; ratio = numbrella / Arb\n",
              options.algorithm == piChudnovsky ? "Chudnovsky" : "Ramanujan");
  std::printf("%10s %7s  %9s %9s %9s  %9s %9s %9s  %6s  %9s %9s  %8s\n", "digits", "threads",
              "series", "convert", "total", "arb pi", "arb str", "arb tot", "ratio", "est MiB",
              "peak MiB", "cpu s");
  int failures = 0;
  for (uint64_t digits : options.digits) {
    for (uint32_t threadPower : options.threadPowers) {
      Timing ours = runNumbrella(options.algorithm, digits, threadPower);
      Timing arb = options.oursOnly ? ours : runArb(digits, threadPower);
      // Arb rounds its last digit; the ten before it must agree.
      uint64_t checked = digits + 1 - 10;
      bool same = ours.digits.compare(0, checked, arb.digits, 0, checked) == 0;
      if (!same) failures++;
      double total = ours.compute + ours.convert;
      double arbTotal = arb.compute + arb.convert;
      if (ours.peak > ours.estimate) failures++;
      std::printf(
          "%10llu %7u  %9.3f %9.3f %9.3f  %9.3f %9.3f %9.3f  %6.2f  %9.1f %9.1f  %8.3f%s%s\n",
          (unsigned long long)digits, 1u << threadPower, ours.compute, ours.convert, total,
          arb.compute, arb.convert, arbTotal, total / arbTotal, double(ours.estimate) / 1048576,
          double(ours.peak) / 1048576, ours.cpu, same ? "" : "  DIGITS DIFFER",
          ours.peak > ours.estimate ? "  PEAK OVER ESTIMATE" : "");
      std::fflush(stdout);
    }
  }
  return failures == 0 ? 0 : 1;
}
