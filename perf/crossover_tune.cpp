// Where the direct FFT hands products over to the hybrid transform: both
// methods timed on the same operands in one process, alternately, so that a
// load from other programs touches both alike; the best time of each over
// the rounds counts.
//
//   crossover_tune [--min N] [--max N] [--rounds R] [--threads T] [--products]
//
// Sizes are the edges of the FFT's rows (the first length a row takes and
// its last) between --min and --max words (default 8192 to 4194304).
// --threads 1 times the hybrid transform on two threads against the direct
// FFT on one (the direct FFT has no threads). --products times products of
// two different operands instead of squares. Columns: words, the FFT's
// length and bits, direct and hybrid seconds, hybrid / direct. Every result
// is checked once against GMP before it is timed.
#include <gmp.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_sizes.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "memory/heap.h"

namespace {

// Seconds of one call: a batch of `reps` calls, divided.
template <typename F>
double batchTime(F&& call, uint64_t reps) {
  const double start = benchNow();
  for (uint64_t i = 0; i < reps; i++) call();
  return (benchNow() - start) / double(reps);
}

}  // namespace

int main(int argc, char** argv) {
  uint64_t minimum = 8192, maximum = 4194304;
  int rounds = 5;
  uint32_t threads = 0;
  bool products = false;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--min") && i + 1 < argc) {
      minimum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--max") && i + 1 < argc) {
      maximum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--rounds") && i + 1 < argc) {
      rounds = std::atoi(argv[++i]);
    } else if (!std::strcmp(argv[i], "--threads") && i + 1 < argc) {
      threads = uint32_t(std::atoi(argv[++i]));
    } else if (!std::strcmp(argv[i], "--products")) {
      products = true;
    } else {
      std::fprintf(stderr, "usage: %s [--min N] [--max N] [--rounds R] [--threads T] [--products]\n",
                   argv[0]);
      return 2;
    }
  }
  // Both edges of every row in range.
  std::vector<uint64_t> sizes;
  for (uint32_t r = 1; r < fftSizeRowCount; r++) {
    const uint64_t first = FftSizeTable[r - 1].capacity / 64 + 1, last = FftSizeTable[r].capacity / 64;
    for (uint64_t n : {first, last})
      if (n >= minimum && n <= maximum) sizes.push_back(n);
  }
  // The direct FFT's tables for the largest size (a run caps them lower).
  buildFftTables(maximum);
  if (growFftTables(fftTables, FftSizeTable[fftSizeRowFor(64 * maximum)].code) != 0) return 1;
  Heap heap;
  heapInit(nullptr, &heap, 96 * maximum + (256ull << 20));
  std::mt19937_64 random(4711);
  mpz_t x, y, z;
  mpz_inits(x, y, z, nullptr);
  std::printf("%s, hybrid on %u thread(s), best of %d alternating rounds\n",
              products ? "products" : "squares", 1u << threads, rounds);
  std::printf("%8s %9s %2s | %11s %11s %7s\n", "words", "L", "b", "direct s", "hybrid s",
              "hyb/dir");
  int failures = 0;
  for (uint64_t n : sizes) {
    std::vector<uint32_t> a(n), b(n), out(2 * n + 2);
    for (auto& w : a) w = uint32_t(random());
    for (auto& w : b) w = uint32_t(random());
    a[n - 1] |= 1;
    b[n - 1] |= 1;
    mpz_import(x, n, -1, 4, 0, 0, a.data());
    mpz_import(y, n, -1, 4, 0, 0, b.data());
    if (products) {
      mpz_mul(z, x, y);
    } else {
      mpz_mul(z, x, x);
    }
    auto direct = [&] {
      if (products) {
        if (fftMultiplyEqual(&heap, a.data(), b.data(), n, out.data(), 0, fftTables) != 0) failures++;
      } else if (fftSquare(&heap, a.data(), n, out.data(), 0, fftTables) != 0) {
        failures++;
      }
    };
    auto hybrid = [&] {
      const uint64_t code =
          products ? hybridMultiply(&heap, a.data(), n, b.data(), n, out.data(), 0, fftTables, threads)
                   : hybridSquare(&heap, a.data(), n, out.data(), 0, fftTables, threads);
      if (code != 0) failures++;
    };
    direct();
    if (!benchSameAsMpz(out.data(), 2 * n, z)) std::printf("direct WRONG at %llu\n", (unsigned long long)n), failures++;
    std::fill(out.begin(), out.end(), 0);
    hybrid();
    if (!benchSameAsMpz(out.data(), 2 * n, z)) std::printf("hybrid WRONG at %llu\n", (unsigned long long)n), failures++;
    // Calls per batch so that a batch lasts about 30 ms.
    const double once = batchTime(direct, 1);
    const uint64_t reps = std::max<uint64_t>(1, uint64_t(0.03 / std::max(once, 1e-7)));
    double bestDirect = 1e30, bestHybrid = 1e30;
    for (int round = 0; round < rounds; round++) {
      bestDirect = std::min(bestDirect, batchTime(direct, reps));
      bestHybrid = std::min(bestHybrid, batchTime(hybrid, reps));
    }
    SizeCode code = 0;
    uint32_t bits = 0;
    fftParamsFor(32 * n, &code, &bits);
    std::printf("%8llu %9llu %2u | %11.6f %11.6f %7.3f\n", (unsigned long long)n,
                (unsigned long long)sizeCodeLength(code), bits, bestDirect, bestHybrid,
                bestHybrid / bestDirect);
    std::fflush(stdout);
  }
  mpz_clears(x, y, z, nullptr);
  heapDestroy(&heap);
  releaseFftTables();
  return failures == 0 ? 0 : 1;
}
