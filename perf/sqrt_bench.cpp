// Times Sqrt(n) (n = 2 unless --n says otherwise) to D decimal digits,
// computation and conversion to decimal (no file writing), against MPFR
// (mpfr_sqrt_ui, then mpfr_get_str) and Arb (arb_sqrt_ui, then arb_get_str)
// in the same process, and checks that all three give the same digits.
//
//   sqrt_bench [--digits D]... [--n N] [--threads K] [--quick]
//
// Default sizes are 1,000,000 and 10,000,000 digits (--quick: the first
// only), on one thread (--threads K: 2^K threads for numbrella and Arb;
// MPFR has one). numbrella runs the steps of its Sqrt(n) entry without the
// file writing: the inverse root by Newton's iteration times n
// (sqrtNCompute), then the conversion table and the conversion to decimal.
// Per size it prints numbrella's compute time, its conversion time, their
// sum, the same for MPFR and Arb, and the ratios of the sums (peer /
// numbrella: above 1, numbrella is faster). Each figure is one run. The
// digit check compares the whole strings (integer digits and fraction,
// without the point) and prints their heads and tails.
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
#include "constants/roots.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"

namespace {

struct Options {
  std::vector<uint64_t> digits;
  uint32_t n = 2;
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
    } else if (!std::strcmp(argv[i], "--n") && i + 1 < argc) {
      options.n = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc) {
      options.threadPower = std::min<uint32_t>(8, uint32_t(std::strtoul(argv[++i], nullptr, 10)));
    } else {
      std::fprintf(stderr, "usage: %s [--digits D]... [--n N] [--threads K] [--quick]\n", argv[0]);
      std::exit(2);
    }
  }
  const uint32_t root = uint32_t(std::sqrt(double(options.n)));
  if (options.n < 2 || root * root == options.n || (root + 1) * (root + 1) == options.n) {
    std::fprintf(stderr, "--n must be a non-square of at least 2\n");
    std::exit(2);
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
  std::string digits;  // integer digits and the fraction, no point
};

Timing runNumbrella(uint32_t n, uint64_t decimalDigits, uint32_t threadPower) {
  const uint64_t words = benchWordCount(decimalDigits);

  const uint64_t memory = estimateRoot(words, threadPower);
  // Room beyond the estimate: timing, not the memory contract, is measured.
  Heap heap;
  heapInit(nullptr, &heap, 4 * memory + (256ull << 20) + words * 4 * 64);
  globalThreadPower = threadPower;
  buildFftTables(words + 100);

  std::string console;
  consoleCaptureTo(&console);
  Timing timing;
  double start = benchNow();
  BigFloat root;
  sqrtNCompute(&heap, &root, words, threadPower, n, 0, nullptr);
  timing.compute = benchNow() - start;
  const uint64_t integerDigits = decimalIntegerDigits(rootIntegerWord(&root));
  timing.convert = benchConvert(&heap, &root, decimalDigits + integerDigits, threadPower, &timing.digits);
  consoleCaptureTo(nullptr);
  bigFloatDestroy(&root);
  releaseFftTables();
  heapDestroy(&heap);
  return timing;
}

// The integer digits of sqrt(n): floor(log10(sqrt(n))) + 1.
uint64_t rootIntegerDigits(uint32_t n) {
  uint64_t digits = 1;
  for (uint64_t bound = 100; bound <= n; bound *= 100) digits++;
  return digits;
}

Timing runMpfr(uint32_t n, uint64_t decimalDigits) {
  const mpfr_prec_t precision = mpfr_prec_t(double(decimalDigits) * std::log2(10.0)) + 64;
  const uint64_t count = decimalDigits + rootIntegerDigits(n);
  mpfr_t x;
  mpfr_init2(x, precision);
  Timing timing;
  double start = benchNow();
  mpfr_sqrt_ui(x, n, MPFR_RNDZ);
  timing.compute = benchNow() - start;
  start = benchNow();
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, 10, size_t(count) + 10, x, MPFR_RNDZ);
  timing.convert = benchNow() - start;
  timing.digits = std::string(text).substr(0, count);
  mpfr_free_str(text);
  mpfr_clear(x);
  return timing;
}

Timing runArb(uint32_t n, uint64_t decimalDigits, uint32_t threadPower) {
  flint_set_num_threads(1 << threadPower);
  const slong precision = slong(double(decimalDigits) * std::log2(10.0)) + 64;
  const uint64_t count = decimalDigits + rootIntegerDigits(n);
  arb_t x;
  arb_init(x);
  Timing timing;
  double start = benchNow();
  arb_sqrt_ui(x, n, precision);
  timing.compute = benchNow() - start;
  start = benchNow();
  char* text = arb_get_str(x, slong(count) + 10, ARB_STR_NO_RADIUS);
  timing.convert = benchNow() - start;
  std::string digits(text);
  digits.erase(std::remove(digits.begin(), digits.end(), '.'), digits.end());
  digits.resize(std::min<uint64_t>(count, digits.size()));
  timing.digits = digits;
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

// "head...tail" of a digit string, 12 digits each.
std::string ends(const std::string& digits) {
  if (digits.size() <= 24) return digits;
  return digits.substr(0, 12) + "..." + digits.substr(digits.size() - 12);
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::printf("Sqrt(%u), %u thread(s) for numbrella and Arb, 1 for MPFR; seconds\n", options.n,
              1u << options.threadPower);
  std::printf("%12s | %8s %8s %8s | %8s %8s %8s | %8s %8s %8s | %7s %7s\n", "digits", "numb.",
              "conv.", "total", "mpfr", "get_str", "total", "arb", "get_str", "total", "mpfr/n",
              "arb/n");
  int status = 0;
  for (uint64_t digits : options.digits) {
    const Timing ours = runNumbrella(options.n, digits, options.threadPower);
    const Timing mpfr = runMpfr(options.n, digits);
    const Timing arb = runArb(options.n, digits, options.threadPower);
    const double total = ours.compute + ours.convert;
    const double mpfrTotal = mpfr.compute + mpfr.convert;
    const double arbTotal = arb.compute + arb.convert;
    std::printf(
        "%12llu | %8.3f %8.3f %8.3f | %8.3f %8.3f %8.3f | %8.3f %8.3f %8.3f | %7.2f %7.2f\n",
        (unsigned long long)digits, ours.compute, ours.convert, total, mpfr.compute, mpfr.convert,
        mpfrTotal, arb.compute, arb.convert, arbTotal, mpfrTotal / total, arbTotal / total);
    const long vsMpfr = firstDifference(ours.digits, mpfr.digits);
    const long vsArb = firstDifference(ours.digits, arb.digits);
    std::printf("  numbrella %s (%zu digits)\n", ends(ours.digits).c_str(), ours.digits.size());
    if (vsMpfr >= 0 || vsArb >= 0) {
      std::printf("  DIGITS DIFFER: against MPFR at %ld, against Arb at %ld\n", vsMpfr, vsArb);
      std::printf("  mpfr      %s\n  arb       %s\n", ends(mpfr.digits).c_str(),
                  ends(arb.digits).c_str());
      status = 1;
    }
  }
  return status;
}
