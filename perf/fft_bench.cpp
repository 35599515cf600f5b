// FFT squares and products against GMP's mpz_mul, side by side in one
// process, single-threaded, for operands of 64 to 13056 words or the sizes
// given (the front ends use the direct FFT to hybridSquareThreshold - 1).
//
// Usage: fft_bench [scalar|avx2|avx512] [words ...]
// Each figure is the best of several timed batches (microseconds per call).
#include <gmp.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "arith/fft/fft_tables.h"
#include "memory/heap.h"

namespace {

// Best time per call of `run` over batches of about 20 ms each.
template <typename Run>
double bestMicroseconds(Run run) {
  uint64_t calls = 1;
  for (;;) {
    double start = benchNow();
    for (uint64_t i = 0; i < calls; i++) run();
    if (benchNow() - start > 0.02) break;
    calls *= 2;
  }
  double best = 1e30;
  for (int batch = 0; batch < 5; batch++) {
    double start = benchNow();
    for (uint64_t i = 0; i < calls; i++) run();
    double each = (benchNow() - start) / double(calls);
    if (each < best) best = each;
  }
  return best * 1e6;
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<uint64_t> sizes;
  for (int i = 1; i < argc; i++) {
    if (strcmp(argv[i], "scalar") == 0) {
      fftUseKernels(fftKernelsScalar());
    } else if (strcmp(argv[i], "avx2") == 0) {
      fftUseKernels(fftKernelsAvx2());
    } else if (strcmp(argv[i], "avx512") == 0) {
      fftUseKernels(fftKernelsAvx512());
    } else {
      sizes.push_back(strtoull(argv[i], nullptr, 10));
    }
  }
  if (sizes.empty()) {
    sizes = {64, 128, 256, 512, 768, 1024, 1536, 2048, 3072, 4096, 6144, 8192, 10240, 12288, 13056};
  }
  // Tables for the largest size asked, past the cap of a run's tables too.
  uint64_t largest = 0;
  for (uint64_t n : sizes) largest = n > largest ? n : largest;
  buildFftTables(largest + 100);
  if (growFftTables(fftTables, FftSizeTable[fftSizeRowFor(64 * largest)].code) != 0) return 1;
  // The buffers come from an arena, as in a computation (the standard
  // allocator would map and unmap fresh pages for every product).
  Heap heap;
  heapInit(nullptr, &heap, (uint64_t(64) << 20) + 64 * largest);
  std::printf("kernel set: %s\n", fftKernels()->name);
  std::printf("%7s | %10s %10s %6s | %10s %10s %6s\n", "words", "fft sqr", "gmp sqr", "ratio",
              "fft mul", "gmp mul", "ratio");
  std::mt19937_64 engine(12345);
  for (uint64_t n : sizes) {
    std::vector<uint32_t> a(n), b(n), out(2 * n);
    for (auto& w : a) w = uint32_t(engine());
    for (auto& w : b) w = uint32_t(engine());
    mpz_t x, y, z;
    mpz_inits(x, y, z, nullptr);
    mpz_import(x, n, -1, 4, 0, 0, a.data());
    mpz_import(y, n, -1, 4, 0, 0, b.data());
    double fftSqr =
        bestMicroseconds([&] { fftSquare(&heap, a.data(), n, out.data(), 0, fftTables); });
    double gmpSqr = bestMicroseconds([&] { mpz_mul(z, x, x); });
    double fftMul = bestMicroseconds(
        [&] { fftMultiply(&heap, a.data(), n, b.data(), n, out.data(), 0, fftTables); });
    double gmpMul = bestMicroseconds([&] { mpz_mul(z, x, y); });
    std::printf("%7llu | %10.2f %10.2f %6.3f | %10.2f %10.2f %6.3f\n", (unsigned long long)n,
                fftSqr, gmpSqr, fftSqr / gmpSqr, fftMul, gmpMul, fftMul / gmpMul);
    mpz_clears(x, y, z, nullptr);
  }
  heapDestroy(&heap);
  releaseFftTables();
  return 0;
}
