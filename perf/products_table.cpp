// One table of the product front ends against GMP's mpz_mul: squares and
// products of two different operands, on one thread and on two, from 1024
// to 16777216 words (or --min / --max), with the method the front end
// chose. Every result is checked against GMP's before it is timed.
//
//   products_table [--min N] [--max N] [--time SECONDS] [--one-thread]
//
// Sizes are powers of two and the midpoints 3 * 2^k between them. A time is
// the best of several runs of the call (at least 3, and more while their sum
// is below --time, default 0.5 s); GMP's runs alternate with ours. The ratio
// is numbrella / GMP (lower is faster). The load average of the machine is
// printed before and after, since the figures mean little on a busy one.
#include <gmp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "memory/bigint.h"
#include "memory/heap.h"

namespace {

// Best times of `ours` and `theirs`, run alternately.
template <typename A, typename B>
void bestTimes(A&& ours, B&& theirs, double target, double* bestOurs, double* bestTheirs) {
  *bestOurs = *bestTheirs = 1e30;
  double spent = 0;
  for (int run = 0; run < 100 && (run < 3 || spent < target); run++) {
    double start = benchNow();
    ours();
    const double a = benchNow() - start;
    start = benchNow();
    theirs();
    const double b = benchNow() - start;
    *bestOurs = std::min(*bestOurs, a);
    *bestTheirs = std::min(*bestTheirs, b);
    spent += a + b;
  }
}

// The product's words, zero-padded to n, hold z.
bool sameAsMpz(const BigInt& out, uint64_t n, const mpz_t z) {
  std::vector<uint32_t> got(n, 0);
  std::copy(out.words, out.words + std::min(out.length, n), got.begin());
  return out.length <= n && benchSameAsMpz(got.data(), n, z);
}

const char* methodName(MultiplyMethod method) {
  return method == MultiplyRecursive ? "rec" : method == MultiplyFft ? "fft" : "hyb";
}

void printLoad(const char* when) {
  char text[128] = "?";
  if (FILE* file = std::fopen("/proc/loadavg", "r")) {
    if (std::fgets(text, sizeof text, file) == nullptr) text[0] = 0;
    std::fclose(file);
  }
  std::printf("load average %s: %s", when, text);
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t minimum = 1024, maximum = 16777216;
  double target = 0.5;
  bool twoThreads = true;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--min") && i + 1 < argc) {
      minimum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--max") && i + 1 < argc) {
      maximum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--time") && i + 1 < argc) {
      target = std::strtod(argv[++i], nullptr);
    } else if (!std::strcmp(argv[i], "--one-thread")) {
      twoThreads = false;
    } else {
      std::fprintf(stderr, "usage: %s [--min N] [--max N] [--time SECONDS] [--one-thread]\n",
                   argv[0]);
      return 2;
    }
  }
  std::vector<uint64_t> sizes;
  for (uint64_t n = 1024; n <= maximum; n *= 2) {
    if (n >= minimum) sizes.push_back(n);
    if (n + n / 2 >= minimum && n + n / 2 <= maximum) sizes.push_back(n + n / 2);
  }
  // The tables a run of the largest size builds.
  buildFftTables(maximum + 100);
  Heap heap;
  heapInit(nullptr, &heap, 80 * maximum + (256ull << 20));
  std::mt19937_64 random(1618);
  mpz_t x, y, z;
  mpz_inits(x, y, z, nullptr);
  printLoad("before");
  std::printf("%9s | %-7s %9s %9s %6s %9s %6s | %-7s %9s %9s %6s %9s %6s\n", "words", "sqr", "1t s",
              "gmp s", "ratio", "2t s", "ratio", "mul", "1t s", "gmp s", "ratio", "2t s", "ratio");
  int failures = 0;
  for (uint64_t n : sizes) {
    std::vector<uint32_t> a(n), b(n);
    for (auto& w : a) w = uint32_t(random());
    for (auto& w : b) w = uint32_t(random());
    a[n - 1] |= 1;
    b[n - 1] |= 1;
    mpz_import(x, n, -1, 4, 0, 0, a.data());
    mpz_import(y, n, -1, 4, 0, 0, b.data());
    BigInt first{n, a.data(), n, nullptr}, second{n, b.data(), n, nullptr};
    std::printf("%9llu |", (unsigned long long)n);
    for (bool square : {true, false}) {
      double ours[2] = {0, 0}, gmp = 1e30;
      for (uint32_t threadPower = 0; threadPower <= (twoThreads ? 1u : 0u); threadPower++) {
        BigInt out;
        auto call = [&] {
          if (square) {
            bigIntSquare(&heap, &first, &out, 0, 0, threadPower);
          } else {
            bigIntMultiply(&heap, &first, &second, &out, 0, 0, threadPower);
          }
        };
        auto theirs = [&] { square ? mpz_mul(z, x, x) : mpz_mul(z, x, y); };
        call();
        theirs();
        if (!sameAsMpz(out, 2 * n, z)) {
          std::printf(" %s %ut WRONG", square ? "square" : "product", threadPower + 1);
          failures++;
        }
        heapRelease(out.words);
        double mine = 0, best = 0;
        bestTimes([&] { call(), heapRelease(out.words); }, theirs, target, &mine, &best);
        ours[threadPower] = mine;
        gmp = std::min(gmp, best);
      }
      const MultiplyMethod one = square ? chooseSquareMethod(n, 0) : chooseMultiplyMethod(n, 0);
      const MultiplyMethod two = square ? chooseSquareMethod(n, 1) : chooseMultiplyMethod(n, 1);
      char methods[16];
      std::snprintf(methods, sizeof methods, "%s/%s", methodName(one), methodName(two));
      std::printf(" %-7s %9.5f %9.5f %6.3f", methods, ours[0], gmp, ours[0] / gmp);
      if (twoThreads) {
        std::printf(" %9.5f %6.3f |", ours[1], ours[1] / gmp);
      } else {
        std::printf(" %9s %6s |", "-", "-");
      }
      std::fflush(stdout);
    }
    std::printf("\n");
  }
  printLoad("after");
  mpz_clears(x, y, z, nullptr);
  heapDestroy(&heap);
  releaseFftTables();
  return failures == 0 ? 0 : 1;
}
