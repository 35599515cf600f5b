// Finds the rows of SquareParamTable and MultiplyParamTable by timing the
// hybrid transform over candidate parameter pairs (k, m) on this machine.
//
//   hybrid_tune [--multiply] [--min P] [--max P] [--steps S] [--spread D] [--kmin K]
//               [--time SECONDS]
//
// For product sizes P (words) on a geometric grid of S steps per octave from
// --min (default 26114, twice the hybrid threshold) to --max (default
// 33554432), it times one product of P words (two P/2-word operands; a
// square, or with --multiply a product of two different numbers) for every
// k from e - D (default 12) to e + 1, e the exponent where hybridSearch
// starts, but not below K (default 7: eight elements for each of 16
// threads), each with the least m whose transform holds P, whose element
// size exists and whose capacity is at most 2P. The fastest pair becomes a
// row (capacity, k, m) with capacity = c * 2^k; rows that a smaller size's
// row already covers with the same pair are merged. One thread: the
// elements are the unit of threading either way.
//
// Output: a line per size with every candidate's time, and at the end the
// rows as C++ initialisers.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/hybrid/element_sizes.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "memory/heap.h"

namespace {

struct Candidate {
  uint32_t k;
  uint32_t m;
  double seconds;
};

// The least m >= 1 whose pair holds P words with an element size of the
// table; 0 when none below 2^24.
uint32_t leastMultiplier(uint32_t k, uint64_t productWords) {
  uint32_t m = 1;
  while (m < (1u << 24) && hybridCapacity(k, m) < productWords) m = m < 16 ? m + 1 : m + m / 16;
  // Back down to the least that holds, then up to a valid element size.
  while (m > 1 && hybridCapacity(k, m - 1) >= productWords) m--;
  for (; m < (1u << 24); m++) {
    const uint64_t bits = ((uint64_t(m) << k) / 128) * 32;
    if (hybridCapacity(k, m) >= productWords && elementSizeRowExact(bits) < elementSizeRowCount)
      return m;
  }
  return 0;
}

// Makes the process's tables serve the element FFT of the pair.
void serveElements(uint32_t k, uint32_t m) {
  const uint64_t words = (uint64_t(m) << k) / 128;
  if (words < elementFftWords) return;
  const uint32_t row = elementSizeRowExact(32 * words);
  if (row < elementSizeRowCount && ElementSizeTable[row].code > fftTables->builtCode) {
    if (growFftTables(fftTables, ElementSizeTable[row].code) != 0) {
      std::fprintf(stderr, "no memory for the tables\n");
      std::exit(1);
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  bool multiply = false;
  uint64_t minimum = 26114, maximum = 33554432;
  uint32_t steps = 2, spread = 12, kMin = 7;
  double target = 0.5;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--multiply")) {
      multiply = true;
    } else if (!std::strcmp(argv[i], "--min") && i + 1 < argc) {
      minimum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--max") && i + 1 < argc) {
      maximum = std::strtoull(argv[++i], nullptr, 10);
    } else if (!std::strcmp(argv[i], "--steps") && i + 1 < argc) {
      steps = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--spread") && i + 1 < argc) {
      spread = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--kmin") && i + 1 < argc) {
      kMin = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--time") && i + 1 < argc) {
      target = std::strtod(argv[++i], nullptr);
    } else {
      std::fprintf(stderr,
                   "usage: %s [--multiply] [--min P] [--max P] [--steps S] [--spread D] "
                   "[--kmin K] [--time SECONDS]\n",
                   argv[0]);
      return 2;
    }
  }
  buildFftTables(500000);
  Heap heap;
  heapInit(nullptr, &heap, 48 * maximum + (512ull << 20));
  std::mt19937_64 random(31415);
  std::vector<uint32_t> a(maximum / 2 + 1), b(maximum / 2 + 1), out(maximum + 2);
  for (auto& w : a) w = uint32_t(random());
  for (auto& w : b) w = uint32_t(random());

  std::vector<HybridParamRow> rows;
  const double factor = std::pow(2.0, 1.0 / steps);
  for (double size = double(minimum); size <= double(maximum) * 1.0001; size *= factor) {
    const uint64_t P = uint64_t(size) & ~uint64_t(1);
    const uint64_t half = P / 2;
    uint32_t e = 9;
    while (e <= 31 && P > hybridCapacity(e, 1)) e++;
    uint32_t searchK = 0, searchM = 0;
    hybridSearch(P, &searchK, &searchM);
    std::vector<Candidate> candidates;
    for (uint32_t k = e + 1; k + spread >= e && k >= kMin; k--) {
      const uint32_t m = leastMultiplier(k, P);
      // A pair that holds more than twice the product only wastes memory.
      if (m == 0 || hybridCapacity(k, m) > 2 * P) continue;
      serveElements(k, m);
      double best = 1e30, spent = 0;
      for (int run = 0; run < 20 && (run < 2 || spent < target); run++) {
        const double start = benchNow();
        const uint64_t code = hybridProductWith(&heap, a.data(), half,
                                                multiply ? b.data() : nullptr, half, out.data(), 0,
                                                k, m, fftTables, 0);
        const double t = benchNow() - start;
        if (code != 0) {
          std::fprintf(stderr, "product failed with code %llu\n", (unsigned long long)code);
          return 1;
        }
        spent += t;
        best = std::min(best, t);
      }
      candidates.push_back({k, m, best});
    }
    const Candidate* fastest = &candidates[0];
    for (const Candidate& c : candidates)
      if (c.seconds < fastest->seconds) fastest = &c;
    double searchTime = 0;
    for (const Candidate& c : candidates)
      if (c.k == searchK && c.m == searchM) searchTime = c.seconds;
    std::printf("P %9llu  best k %2u m %5u %9.5f s (search k %u m %u: %.5f s) |",
                (unsigned long long)P, fastest->k, fastest->m, fastest->seconds, searchK, searchM,
                searchTime);
    for (const Candidate& c : candidates) std::printf(" %u/%u:%.5f", c.k, c.m, c.seconds);
    std::printf("\n");
    std::fflush(stdout);
    const uint64_t capacity = hybridCapacity(fastest->k, fastest->m);
    if (!rows.empty() && rows.back().capacity >= P) {
      // The previous row already serves this size: keep it when it is the
      // same pair, else this size starts a new row past its capacity.
      if (rows.back().k == fastest->k && rows.back().m == fastest->m) continue;
    }
    if (!rows.empty() && capacity <= rows.back().capacity) continue;
    rows.push_back({capacity, fastest->k, fastest->m});
  }
  std::printf("\n// %s rows, timed by perf/hybrid_tune%s\n", multiply ? "Multiply" : "Square",
              multiply ? " --multiply" : "");
  for (const HybridParamRow& r : rows)
    std::printf("    {%llu, %u, %u},\n", (unsigned long long)r.capacity, r.k, r.m);
  heapDestroy(&heap);
  releaseFftTables();
  return 0;
}
