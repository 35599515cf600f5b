// Hybrid transform squares and products against GMP's mpz_mul, side by side
// in one process, on one thread and on two.
//
//   hybrid_bench [--min N] [--max N] [--time SECONDS] [--square-only] [--params K M]
//
// Sizes are operand words, powers of two from --min (default 16384) to --max
// (default 16777216). Columns: the parameters (k, m), our square on one
// thread, GMP's square, their ratio, our square on two threads and its ratio
// to our one-thread time; then the same for products of two different
// operands. Every result is checked once against GMP before it is timed.
#include <gmp.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "memory/heap.h"

namespace {

// Best time of one call over a few runs, with at least `target` seconds in
// all (but at most 3 runs of calls slower than that).
template <typename F>
double bestTime(F&& call, double target) {
  double best = 1e30, spent = 0;
  for (int run = 0; run < 50 && (run < 2 || spent < target); run++) {
    double start = benchNow();
    call();
    double t = benchNow() - start;
    spent += t;
    if (t < best) best = t;
    if (run >= 2 && t > target) break;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t minimum = 16384, maximum = 16777216;
  double target = 0.3;
  bool squareOnly = false;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--min") && i + 1 < argc) {
      minimum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--max") && i + 1 < argc) {
      maximum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--time") && i + 1 < argc) {
      target = std::strtod(argv[++i], nullptr);
    } else if (!std::strcmp(argv[i], "--square-only")) {
      squareOnly = true;
    } else {
      std::fprintf(stderr, "usage: %s [--min N] [--max N] [--time SECONDS] [--square-only]\n",
                   argv[0]);
      return 2;
    }
  }
  buildFftTables(maximum);
  Heap heap;
  heapInit(nullptr, &heap, 64 * maximum + (256ull << 20));
  std::mt19937_64 random(2718);
  mpz_t x, y, z;
  mpz_init(x);
  mpz_init(y);
  mpz_init(z);
  std::printf("%9s %3s %3s | %10s %10s %6s %10s %6s | %10s %10s %6s %10s %6s\n", "words", "k", "m",
              "sqr 1t s", "gmp s", "ratio", "sqr 2t s", "2t/1t", "mul 1t s", "gmp s", "ratio",
              "mul 2t s", "2t/1t");
  int failures = 0;
  for (uint64_t n = minimum; n <= maximum; n *= 2) {
    std::vector<uint32_t> a(n), b(n), out(2 * n);
    for (auto& w : a) w = uint32_t(random());
    for (auto& w : b) w = uint32_t(random());
    a[n - 1] |= 1;
    b[n - 1] |= 1;
    mpz_import(x, n, -1, 4, 0, 0, a.data());
    mpz_import(y, n, -1, 4, 0, 0, b.data());
    uint32_t k = 0, m = 0;
    hybridSquareParams(2 * n, &k, &m);
    std::printf("%9llu %3u %3u |", (unsigned long long)n, k, m);

    auto square = [&](uint32_t t) {
      if (hybridSquare(&heap, a.data(), n, out.data(), 0, fftTables, t) != 0) failures++;
    };
    square(1);
    mpz_mul(z, x, x);
    if (!benchSameAsMpz(out.data(), 2 * n, z)) std::printf(" square WRONG"), failures++;
    const double ours = bestTime([&] { square(0); }, target);
    const double gmp = bestTime([&] { mpz_mul(z, x, x); }, target);
    const double two = bestTime([&] { square(1); }, target);
    std::printf(" %10.4f %10.4f %6.3f %10.4f %6.3f |", ours, gmp, ours / gmp, two, two / ours);
    std::fflush(stdout);
    if (!squareOnly) {
      auto multiply = [&](uint32_t t) {
        if (hybridMultiply(&heap, a.data(), n, b.data(), n, out.data(), 0, fftTables, t) != 0)
          failures++;
      };
      multiply(1);
      mpz_mul(z, x, y);
      if (!benchSameAsMpz(out.data(), 2 * n, z)) std::printf(" product WRONG"), failures++;
      const double oursM = bestTime([&] { multiply(0); }, target);
      const double gmpM = bestTime([&] { mpz_mul(z, x, y); }, target);
      const double twoM = bestTime([&] { multiply(1); }, target);
      std::printf(" %10.4f %10.4f %6.3f %10.4f %6.3f", oursM, gmpM, oursM / gmpM, twoM,
                  twoM / oursM);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  mpz_clear(x);
  mpz_clear(y);
  mpz_clear(z);
  heapDestroy(&heap);
  releaseFftTables();
  return failures == 0 ? 0 : 1;
}
