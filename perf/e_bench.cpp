// Times e to D decimal digits, computation and conversion to decimal (no
// file writing), against MPFR (mpfr_exp of 1, then mpfr_get_str) and Arb
// (arb_const_e, then arb_get_str) in the same process, and checks that all
// three give the same digits.
//
//   e_bench [--digits D]... [--algorithm 0|1|2] [--threads K] [--quick]
//
// Default sizes are 1,000,000 and 10,000,000 digits (--quick: the first
// only), on one thread (--threads K: 2^K threads for numbrella and Arb;
// MPFR has one). Per size it prints numbrella's series-and-finish time, its
// conversion time, their sum, the same for MPFR and Arb, and the ratios of
// the sums (peer / numbrella: above 1, numbrella is faster). Each figure is
// one run; Arb's cache of the constant is emptied before its run.
#include <arb.h>
#include <flint/flint.h>
#include <mpfr.h>

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
#include "constants/e.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"

namespace {

struct Options {
  std::vector<uint64_t> digits;
  uint32_t algorithm = eExpOne;
  uint32_t threadPower = 0;
};

Options parse(int argc, char** argv) {
  Options options;
  bool quick = false;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--quick")) {
      quick = true;
    } else if (!std::strcmp(argv[i], "--digits") && i + 1 < argc) {
      options.digits.push_back(std::strtoull(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--algorithm") && i + 1 < argc) {
      options.algorithm = uint32_t(std::strtoul(argv[++i], nullptr, 10)) % 3;
    } else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc) {
      options.threadPower = std::min<uint32_t>(8, uint32_t(std::strtoul(argv[++i], nullptr, 10)));
    } else {
      std::fprintf(stderr,
                   "usage: %s [--digits D]... [--algorithm 0|1|2] [--threads K] [--quick]\n",
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
  std::string digits;  // "2" and the fraction, no point
};

Timing runNumbrella(uint32_t algorithm, uint64_t decimalDigits, uint32_t threadPower) {
  const uint64_t words = benchWordCount(decimalDigits);

  uint64_t memory = 0, disk = 0;
  estimateE(words, threadPower, algorithm, computeModeRamOnly, &memory, &disk);
  // Room beyond the estimate: timing, not the memory contract, is measured.
  Heap heap;
  heapInit(nullptr, &heap, 4 * memory + (256ull << 20) + words * 4 * 64);
  globalThreadPower = threadPower;
  buildFftTables(words + 100);

  std::string console;
  consoleCaptureTo(&console);
  Timing timing;
  double start = benchNow();
  BigFloat e, other;
  if (algorithm == eComputeVerify) {
    computeEVerify(&heap, &e, &other, words, threadPower, computeModeRamOnly, 0);
  } else if (algorithm == eExpMinusOne) {
    computeEExpMinusOne(&heap, &e, words, threadPower, computeModeRamOnly, 0);
  } else {
    computeEExpOne(&heap, &e, words, threadPower, computeModeRamOnly, 0);
  }
  timing.compute = benchNow() - start;
  timing.convert = benchConvert(&heap, &e, decimalDigits + 1, threadPower, &timing.digits);
  consoleCaptureTo(nullptr);
  if (algorithm == eComputeVerify) bigFloatDestroy(&other);
  bigFloatDestroy(&e);
  releaseFftTables();
  heapDestroy(&heap);
  return timing;
}

// "2.71828...": the point dropped, cut to the digits and the integer one.
std::string withoutPoint(const char* text, uint64_t decimalDigits) {
  std::string digits(text);
  digits.erase(1, 1);
  digits.resize(decimalDigits + 1);
  return digits;
}

Timing runMpfr(uint64_t decimalDigits) {
  const mpfr_prec_t precision = mpfr_prec_t(double(decimalDigits) * std::log2(10.0)) + 64;
  mpfr_t x;
  mpfr_init2(x, precision);
  Timing timing;
  double start = benchNow();
  mpfr_set_ui(x, 1, MPFR_RNDN);
  mpfr_exp(x, x, MPFR_RNDZ);
  timing.compute = benchNow() - start;
  start = benchNow();
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, 10, size_t(decimalDigits) + 10, x, MPFR_RNDZ);
  timing.convert = benchNow() - start;
  timing.digits = std::string(text).substr(0, decimalDigits + 1);
  mpfr_free_str(text);
  mpfr_clear(x);
  return timing;
}

Timing runArb(uint64_t decimalDigits, uint32_t threadPower) {
  flint_cleanup();  // drops the cached constant
  flint_set_num_threads(1 << threadPower);
  const slong precision = slong(double(decimalDigits) * std::log2(10.0)) + 64;
  arb_t x;
  arb_init(x);
  Timing timing;
  double start = benchNow();
  arb_const_e(x, precision);
  timing.compute = benchNow() - start;
  start = benchNow();
  char* text = arb_get_str(x, slong(decimalDigits) + 10, ARB_STR_NO_RADIUS);
  timing.convert = benchNow() - start;
  timing.digits = withoutPoint(text, decimalDigits);
  flint_free(text);
  arb_clear(x);
  return timing;
}

// The first position where two digit strings differ, or -1.
long firstDifference(const std::string& a, const std::string& b) {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; i++) {
    if (a[i] != b[i]) return long(i);
  }
  return a.size() == b.size() ? -1 : long(n);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::printf("e by algorithm %u, %u thread(s) for numbrella and Arb, 1 for MPFR; seconds\n",
              options.algorithm, 1u << options.threadPower);
  std::printf("%12s | %8s %8s %8s | %8s %8s %8s | %8s %8s %8s | %7s %7s\n", "digits", "numb.",
              "conv.", "total", "mpfr", "get_str", "total", "arb", "get_str", "total", "mpfr/n",
              "arb/n");
  int status = 0;
  for (uint64_t digits : options.digits) {
    const Timing ours = runNumbrella(options.algorithm, digits, options.threadPower);
    const Timing mpfr = runMpfr(digits);
    const Timing arb = runArb(digits, options.threadPower);
    const double total = ours.compute + ours.convert;
    const double mpfrTotal = mpfr.compute + mpfr.convert;
    const double arbTotal = arb.compute + arb.convert;
    std::printf(
        "%12llu | %8.3f %8.3f %8.3f | %8.3f %8.3f %8.3f | %8.3f %8.3f %8.3f | %7.2f %7.2f\n",
        (unsigned long long)digits, ours.compute, ours.convert, total, mpfr.compute, mpfr.convert,
        mpfrTotal, arb.compute, arb.convert, arbTotal, mpfrTotal / total, arbTotal / total);
    const long vsMpfr = firstDifference(ours.digits, mpfr.digits);
    const long vsArb = firstDifference(ours.digits, arb.digits);
    if (vsMpfr >= 0 || vsArb >= 0) {
      std::printf("  DIGITS DIFFER: against MPFR at %ld, against Arb at %ld\n", vsMpfr, vsArb);
      status = 1;
    }
  }
  return status;
}
