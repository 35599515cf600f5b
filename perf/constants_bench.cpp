// Times Log(2), Log(10), Zeta(3), Catalan's and Euler's constants to D decimal digits,
// computation and conversion to decimal (no file writing), against Arb
// (arb_const_log2, arb_const_log10, arb_const_apery, arb_const_catalan,
// arb_const_euler, then
// arb_get_str) and MPFR (mpfr_const_log2, mpfr_log, mpfr_zeta_ui,
// mpfr_const_catalan, mpfr_const_euler, then mpfr_get_str) in the same process, and checks
// that they give the same digits.
//
//   constants_bench [--digits D]... [--constant log2|log10|zeta3|catalan|euler]...
//                   [--algorithm A] [--threads K] [--mpfr-limit D] [--no-peers]
//
// Default: every constant at 1,000,000 and 10,000,000 digits by its
// algorithm 0, 2^K threads (default K = 1) for numbrella and Arb; MPFR (one
// thread) only up to --mpfr-limit digits (default 1,000,000; a tenth of it
// for Zeta(3) and Euler's constant, where MPFR is slow); --no-peers times
// numbrella alone (for profiling). Per size it
// prints each program's computation, conversion and total, and the ratio of
// Arb's total to numbrella's (above 1: numbrella is faster). Each figure is
// one run; Arb's cache is emptied before its run.
#include <arb.h>
#include <flint/flint.h>
#include <mpfr.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "arith/fft/fft_tables.h"
#include "bench_support.h"
#include "constants/compute_settings.h"
#include "constants/euler.h"
#include "constants/log.h"
#include "constants/zeta_catalan.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/estimate.h"

namespace {

struct Options {
  std::vector<uint64_t> digits;
  std::vector<uint32_t> constants;
  int algorithm = -1;
  uint32_t threadPower = 1;
  uint64_t mpfrLimit = 1000000;
  bool peers = true;
};

uint32_t constantNamed(const char* name) {
  if (!std::strcmp(name, "log2")) return constantLog2;
  if (!std::strcmp(name, "log10")) return constantLog10;
  if (!std::strcmp(name, "zeta3")) return constantZeta3;
  if (!std::strcmp(name, "catalan")) return constantCatalan;
  if (!std::strcmp(name, "euler")) return constantEuler;
  std::fprintf(stderr, "unknown constant %s\n", name);
  std::exit(2);
}

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--digits") && i + 1 < argc) {
      options.digits.push_back(std::strtoull(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--constant") && i + 1 < argc) {
      options.constants.push_back(constantNamed(argv[++i]));
    } else if (!std::strcmp(argv[i], "--algorithm") && i + 1 < argc) {
      options.algorithm = int(std::strtol(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc) {
      options.threadPower = std::min<uint32_t>(8, uint32_t(std::strtoul(argv[++i], nullptr, 10)));
    } else if (!std::strcmp(argv[i], "--no-peers")) {
      options.peers = false;
    } else if (!std::strcmp(argv[i], "--mpfr-limit") && i + 1 < argc) {
      options.mpfrLimit = std::strtoull(argv[++i], nullptr, 10);
    } else {
      std::fprintf(stderr,
                   "usage: %s [--digits D]... [--constant log2|log10|zeta3|catalan|euler]... "
                   "[--algorithm A] [--threads K] [--mpfr-limit D] [--no-peers]\n",
                   argv[0]);
      std::exit(2);
    }
  }
  if (options.digits.empty()) options.digits = {1000000, 10000000};
  if (options.constants.empty()) {
    options.constants = {constantLog2, constantLog10, constantZeta3, constantCatalan,
                         constantEuler};
  }
  return options;
}

struct Timing {
  double compute = 0.0;
  double convert = 0.0;
  std::string digits;  // all digits, point and leading zeros dropped
  bool ran = false;
};

// Digits of a text: the point and the leading zeros dropped, cut to `count`.
std::string digitsOf(const char* text, uint64_t count) {
  std::string digits;
  for (const char* c = text; *c != 0 && digits.size() < count; c++) {
    if (*c < '0' || *c > '9') continue;
    if (digits.empty() && *c == '0') continue;
    digits += *c;
  }
  return digits;
}

const char* nameOf(uint32_t id) {
  switch (id) {
    case constantLog2:
      return "Log(2)";
    case constantLog10:
      return "Log(10)";
    case constantZeta3:
      return "Zeta(3)";
    case constantEuler:
      return "Euler";
    default:
      return "Catalan";
  }
}

Timing runNumbrella(uint32_t id, uint32_t algorithm, uint64_t decimalDigits,
                    uint32_t threadPower) {
  const uint64_t words = benchWordCount(decimalDigits);
  uint64_t memory = 0, disk = 0;
  estimateConstant(id, algorithm, words, threadPower, computeModeRamOnly, &memory, &disk);
  Heap heap;
  heapInit(nullptr, &heap, memory + (64ull << 20));
  globalThreadPower = threadPower;
  buildFftTables(words + 100);
  std::string console;
  consoleCaptureTo(&console);
  Timing timing;
  const double start = benchNow();
  BigFloat x, other;
  bigFloatSetZero(&other);
  if (id == constantZeta3) {
    zeta3Compute(&heap, &x, words, threadPower, algorithm, computeModeRamOnly, 0);
  } else if (id == constantCatalan) {
    catalanCompute(&heap, &x, words, threadPower, algorithm, computeModeRamOnly, 0);
  } else if (id == constantEuler) {
    // Algorithm 0 at n = 2^k refined, 1 at 2^(k+1) alone.
    ComputeSettings settings;
    fillDefaultComputeSettings(nullptr, &settings);
    setDecimalDigits(&settings, decimalDigits);
    const uint32_t k = eulerSizePower(settings.hexDigits);
    releaseComputeSettings(&settings);
    const bool refined = algorithm != 1;
    eulerCompute(&heap, &x, words, threadPower, refined ? k : k + 1, refined, nullptr, nullptr,
                 computeModeRamOnly, 0, "Euler");
  } else if (algorithm == 2) {
    logComputeBoth(&heap, &x, &other, logFormula(id, 2, 0), logFormula(id, 2, 1), words,
                   threadPower, computeModeRamOnly, 0);
  } else {
    logComputeFormula(&heap, &x, logFormula(id, algorithm, 0), words, threadPower,
                      computeModeRamOnly, 0);
  }
  timing.compute = benchNow() - start;
  if (!bigFloatIsZero(other)) bigFloatDestroy(&other);
  std::string text;
  timing.convert = benchConvert(&heap, &x, decimalDigits + 1, threadPower, &text);
  timing.digits = digitsOf(text.c_str(), decimalDigits);
  consoleCaptureTo(nullptr);
  bigFloatDestroy(&x);
  releaseFftTables();
  heapDestroy(&heap);
  timing.ran = true;
  return timing;
}

Timing runMpfr(uint32_t id, uint64_t decimalDigits) {
  const mpfr_prec_t precision = mpfr_prec_t(double(decimalDigits) * std::log2(10.0)) + 64;
  mpfr_t x;
  mpfr_init2(x, precision);
  Timing timing;
  double start = benchNow();
  if (id == constantLog2) {
    mpfr_const_log2(x, MPFR_RNDZ);
  } else if (id == constantLog10) {
    mpfr_set_ui(x, 10, MPFR_RNDN);
    mpfr_log(x, x, MPFR_RNDZ);
  } else if (id == constantZeta3) {
    mpfr_zeta_ui(x, 3, MPFR_RNDZ);
  } else if (id == constantEuler) {
    mpfr_const_euler(x, MPFR_RNDZ);
  } else {
    mpfr_const_catalan(x, MPFR_RNDZ);
  }
  timing.compute = benchNow() - start;
  start = benchNow();
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, 10, size_t(decimalDigits) + 10, x, MPFR_RNDZ);
  timing.convert = benchNow() - start;
  timing.digits = digitsOf(text, decimalDigits);
  mpfr_free_str(text);
  mpfr_clear(x);
  mpfr_free_cache();
  timing.ran = true;
  return timing;
}

Timing runArb(uint32_t id, uint64_t decimalDigits, uint32_t threadPower) {
  flint_cleanup();
  flint_set_num_threads(1 << threadPower);
  const slong precision = slong(double(decimalDigits) * std::log2(10.0)) + 64;
  arb_t x;
  arb_init(x);
  Timing timing;
  double start = benchNow();
  if (id == constantLog2) {
    arb_const_log2(x, precision);
  } else if (id == constantLog10) {
    arb_const_log10(x, precision);
  } else if (id == constantZeta3) {
    arb_const_apery(x, precision);
  } else if (id == constantEuler) {
    arb_const_euler(x, precision);
  } else {
    arb_const_catalan(x, precision);
  }
  timing.compute = benchNow() - start;
  start = benchNow();
  char* text = arb_get_str(x, slong(decimalDigits) + 10, ARB_STR_NO_RADIUS);
  timing.convert = benchNow() - start;
  timing.digits = digitsOf(text, decimalDigits);
  flint_free(text);
  arb_clear(x);
  timing.ran = true;
  return timing;
}

// Whether two digit strings agree on all but the last few digits (the
// peers round their last digit).
bool agree(const Timing& a, const Timing& b) {
  if (!a.ran || !b.ran) return true;
  const size_t n = std::min(a.digits.size(), b.digits.size());
  const size_t check = n > 5 ? n - 5 : n;
  return a.digits.compare(0, check, b.digits, 0, check) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  const Options options = parse(argc, argv);
  std::printf("%u thread(s) for numbrella and Arb, 1 for MPFR; seconds (computation + conversion)\n",
              1u << options.threadPower);
  std::printf("%-8s %3s %10s | %8s %8s %8s | %8s %8s %8s | %8s %8s | %7s\n", "constant", "alg",
              "digits", "numb.", "conv.", "total", "arb", "get_str", "total", "mpfr", "total",
              "arb/n");
  std::fflush(stdout);
  int status = 0;
  for (uint32_t id : options.constants) {
    const uint32_t algorithm = options.algorithm >= 0 ? uint32_t(options.algorithm) : 0;
    for (uint64_t digits : options.digits) {
      const Timing ours = runNumbrella(id, algorithm, digits, options.threadPower);
      const Timing arb = options.peers ? runArb(id, digits, options.threadPower) : Timing();
      Timing mpfr;
      // MPFR's Zeta(3) and Euler are far slower than the others: a tenth of the limit.
      const bool slow = id == constantZeta3 || id == constantEuler;
      const uint64_t mpfrLimit = slow ? options.mpfrLimit / 10 : options.mpfrLimit;
      if (options.peers && digits <= mpfrLimit) mpfr = runMpfr(id, digits);
      const double total = ours.compute + ours.convert;
      const double arbTotal = arb.compute + arb.convert;
      std::printf("%-8s %3u %10llu | %8.3f %8.3f %8.3f | %8.3f %8.3f %8.3f | ", nameOf(id),
                  algorithm, (unsigned long long)digits, ours.compute, ours.convert, total,
                  arb.compute, arb.convert, arbTotal);
      if (mpfr.ran) {
        std::printf("%8.3f %8.3f | ", mpfr.compute, mpfr.compute + mpfr.convert);
      } else {
        std::printf("%8s %8s | ", "-", "-");
      }
      std::printf("%7.2f\n", arbTotal / total);
      std::fflush(stdout);
      if (!agree(ours, arb) || !agree(ours, mpfr)) {
        std::printf("  DIGITS DIFFER from a peer\n");
        status = 1;
      }
    }
  }
  return status;
}
