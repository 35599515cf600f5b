// Times the digit extraction of Pi's hexadecimal digits at given positions,
// and checks them against MPFR when --mpfr is given (MPFR computes Pi to the
// largest position first, which takes long beyond 10^8 digits).
//
//   bbp_bench [--threads k] [--mpfr] position...
//
// Prints per position the eight digits, the seconds and, with --mpfr,
// whether they agree.
#include <mpfr.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "bench/bbp.h"

int main(int argc, char** argv) {
  uint32_t threadPower = 0;
  bool mpfr = false;
  std::vector<uint64_t> positions;
  for (int i = 1; i < argc; ++i) {
    if (strcmp(argv[i], "--threads") == 0 && i + 1 < argc) {
      threadPower = uint32_t(atoi(argv[++i]));
    } else if (strcmp(argv[i], "--mpfr") == 0) {
      mpfr = true;
    } else {
      positions.push_back(strtoull(argv[i], nullptr, 10));
    }
  }
  std::string reference;
  if (mpfr && !positions.empty()) {
    uint64_t largest = 0;
    for (uint64_t p : positions) largest = p > largest ? p : largest;
    auto start = std::chrono::steady_clock::now();
    mpfr_t pi;
    mpfr_init2(pi, mpfr_prec_t(4 * (largest + 16)));
    mpfr_const_pi(pi, MPFR_RNDZ);
    mpfr_exp_t exponent;
    char* text = mpfr_get_str(nullptr, &exponent, 16, largest + 9, pi, MPFR_RNDZ);
    reference = text;  // "3243f6a8..." : digit position p is reference[p]
    mpfr_free_str(text);
    mpfr_clear(pi);
    printf("MPFR reference: %.1f s\n",
           std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
  for (uint64_t p : positions) {
    auto start = std::chrono::steady_clock::now();
    bool exact = false;
    uint32_t digits = piHexDigitsAt(p, threadPower, &exact);
    double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    printf("position %llu: %08x%s  %.3f s", (unsigned long long)p, digits, exact ? "" : " (edge)",
           seconds);
    if (!reference.empty()) {
      uint32_t expected = uint32_t(std::stoul(reference.substr(p, 8), nullptr, 16));
      printf("  MPFR %08x %s", expected, expected == digits ? "agree" : "DIFFER");
    }
    printf("\n");
  }
  return 0;
}
