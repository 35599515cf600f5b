// Times the recursive product entries (smallSquare, smallMultiplyEqual) and,
// with --front, the front ends bigIntSquare / bigIntMultiply, against GMP's
// mpz_mul on the same operands in the same process, single-threaded.
//
//   products_bench [--front] [--quick] [--min N] [--max N] [--time SECONDS]
//
// Prints per size in words: numbrella time, GMP time, and their ratio, for
// squares and for equal-length products. Each time is the best of several
// batches, each batch repeated until it lasts long enough to measure. Every
// result is checked once against GMP before it is timed.
#include <gmp.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "arith/recursive/recursive.h"
#include "memory/bigint.h"
#include "memory/heap.h"

namespace {

// Best time of one call, in seconds, over `batches` batches of `reps` calls,
// with `reps` grown until a batch lasts `target` seconds.
template <typename F>
double bestTime(F&& call, double target) {
  uint64_t reps = 1;
  for (;;) {
    double start = benchNow();
    for (uint64_t i = 0; i < reps; i++) call();
    double spent = benchNow() - start;
    if (spent >= target / 5 || reps >= (1ull << 30)) break;
    reps *= 2;
  }
  double best = 1e30;
  for (int batch = 0; batch < 5; batch++) {
    double start = benchNow();
    for (uint64_t i = 0; i < reps; i++) call();
    double perCall = (benchNow() - start) / reps;
    if (perCall < best) best = perCall;
  }
  return best;
}

void toMpz(mpz_t z, const uint32_t* words, uint64_t n) {
  mpz_import(z, n, -1, 4, 0, 0, words);
}

bool sameAsMpz(const uint32_t* words, uint64_t n, const mpz_t z) {
  std::vector<uint32_t> expected(n + 2, 0);
  size_t count = 0;
  mpz_export(expected.data(), &count, -1, 4, 0, 0, z);
  return count <= n && std::memcmp(words, expected.data(), 4 * n) == 0;
}

struct Options {
  bool front = false;
  uint64_t minimum = 8;
  uint64_t maximum = 16384;
  double target = 0.05;
  bool quick = false;
};

Options parse(int argc, char** argv) {
  Options options;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--front"))
      options.front = true;
    else if (!std::strcmp(argv[i], "--quick"))
      options.quick = true;
    else if (!std::strcmp(argv[i], "--min") && i + 1 < argc)
      options.minimum = std::strtoull(argv[++i], nullptr, 10);
    else if (!std::strcmp(argv[i], "--max") && i + 1 < argc)
      options.maximum = std::strtoull(argv[++i], nullptr, 10);
    else if (!std::strcmp(argv[i], "--time") && i + 1 < argc)
      options.target = std::strtod(argv[++i], nullptr);
    else {
      std::fprintf(stderr, "usage: %s [--front] [--quick] [--min N] [--max N] [--time SECONDS]\n",
                   argv[0]);
      std::exit(2);
    }
  }
  return options;
}

}  // namespace

int main(int argc, char** argv) {
  Options options = parse(argc, argv);
  std::vector<uint64_t> sizes;
  for (uint64_t n = 8; n <= options.maximum; n *= 2) {
    if (n >= options.minimum) sizes.push_back(n);
    if (!options.quick && n + n / 2 <= options.maximum && n + n / 2 >= options.minimum)
      sizes.push_back(n + n / 2);
  }
  // The edges of the methods as well, since the cut-overs are fixed.
  if (!options.quick)
    for (uint64_t edge : {sqrK, sqrT, elmK, elmT})
      if (edge >= options.minimum && edge <= options.maximum) sizes.push_back(edge);
  std::sort(sizes.begin(), sizes.end());
  sizes.erase(std::unique(sizes.begin(), sizes.end()), sizes.end());

  // The tables a run builds before it computes: the front ends' FFT and
  // hybrid products need them.
  buildFftTables(options.maximum + 100);
  Heap heap;
  heapInit(nullptr, &heap, (64ull << 20) + 64 * options.maximum);
  std::mt19937_64 random(12345);
  mpz_t x, y, z;
  mpz_init(x);
  mpz_init(y);
  mpz_init(z);

  std::printf("%8s  %12s %12s %7s  %12s %12s %7s%s\n", "words", "sqr us", "gmp us", "ratio",
              "mul us", "gmp us", "ratio", options.front ? "   front sqr us  front mul us" : "");
  int failures = 0;
  for (uint64_t n : sizes) {
    std::vector<uint32_t> a(n), b(n), out(2 * n + 2);
    for (auto& w : a) w = (uint32_t)random();
    for (auto& w : b) w = (uint32_t)random();
    a[n - 1] |= 1;
    b[n - 1] |= 1;
    toMpz(x, a.data(), n);
    toMpz(y, b.data(), n);

    smallSquare(&heap, a.data(), n, out.data(), 0);
    mpz_mul(z, x, x);
    if (!sameAsMpz(out.data(), 2 * n, z))
      std::printf("square of %llu words WRONG\n", (unsigned long long)n), failures++;
    smallMultiplyEqual(&heap, a.data(), b.data(), n, out.data(), 0);
    mpz_mul(z, x, y);
    if (!sameAsMpz(out.data(), 2 * n, z))
      std::printf("product of %llu words WRONG\n", (unsigned long long)n), failures++;

    double ourSquare =
        bestTime([&] { smallSquare(&heap, a.data(), n, out.data(), 0); }, options.target);
    double gmpSquare = bestTime([&] { mpz_mul(z, x, x); }, options.target);
    double ourProduct = bestTime(
        [&] { smallMultiplyEqual(&heap, a.data(), b.data(), n, out.data(), 0); }, options.target);
    double gmpProduct = bestTime([&] { mpz_mul(z, x, y); }, options.target);
    std::printf("%8llu  %12.3f %12.3f %7.2f  %12.3f %12.3f %7.2f", (unsigned long long)n,
                ourSquare * 1e6, gmpSquare * 1e6, ourSquare / gmpSquare, ourProduct * 1e6,
                gmpProduct * 1e6, ourProduct / gmpProduct);
    if (options.front) {
      BigInt first{n, a.data(), n, nullptr}, second{n, b.data(), n, nullptr}, result;
      double frontSquare = bestTime(
          [&] {
            bigIntSquare(&heap, &first, &result, 0, 0, 0);
            heapRelease(result.words);
          },
          options.target);
      double frontProduct = bestTime(
          [&] {
            bigIntMultiply(&heap, &first, &second, &result, 0, 0, 0);
            heapRelease(result.words);
          },
          options.target);
      std::printf("  %13.3f %13.3f", frontSquare * 1e6, frontProduct * 1e6);
    }
    std::printf("\n");
    std::fflush(stdout);
  }
  mpz_clear(x);
  mpz_clear(y);
  mpz_clear(z);
  heapDestroy(&heap);
  return failures == 0 ? 0 : 1;
}
