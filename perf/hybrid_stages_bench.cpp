// Where a hybrid product's time goes: each stage of one square (or product)
// of the tuned parameters timed by itself, on one thread.
//
//   hybrid_stages_bench [--words N ...] [--params K M] [--runs R]
//
// For each operand length (default 1048576 and 4194304 words): the forward
// transform (load and Fermat levels) of one operand, the element squares and
// the element products (all 2^k elements), the inverse with its output stage,
// and, for one element, its split into points, the forward FFT, the
// pointwise step, the inverse FFT (passes and last stage) and the packing,
// each repeated on the same buffers; and all element squares done on the
// words of one element, to tell the cost of walking the transform's memory.
// Times are the best of R runs (default 5); the element parts are scaled to
// all 2^k elements.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_blocks.h"
#include "arith/fft/fft_tables.h"
#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"

namespace {

template <typename F>
double best(int runs, F&& call) {
  double t = 1e30;
  for (int r = 0; r < runs; r++) {
    const double start = benchNow();
    call();
    t = std::min(t, benchNow() - start);
  }
  return t;
}

void stages(uint64_t n, uint32_t k, uint32_t m, int runs) {
  const uint64_t H = uint64_t(m) << k, W = H / 128, c = H / 256 - 1, stride = W + 1;
  const uint64_t count = uint64_t(1) << k;
  std::mt19937_64 random(n);
  std::vector<uint32_t> a(n), b(n), out(2 * n);
  for (auto& w : a) w = uint32_t(random());
  for (auto& w : b) w = uint32_t(random());
  ElementPlan plan;
  elementPlanFor(&plan, fftTables, W);
  if (plan.method == 1) plan.tables = fftTablesServing(fftTables, plan.code);
  const uint64_t sq = hybridElementScratchWords(plan, true), mul = hybridElementScratchWords(plan, false);
  std::vector<uint32_t> first(stride * count + 16), second(stride * count + 16), saved;
  std::vector<uint32_t> butterflies(fermatButterflyScratchWords(W) + 16);
  std::vector<double> scratchStore((mul + 16) / 2 + 8);
  auto* scratch = reinterpret_cast<uint32_t*>(scratchStore.data());

  const double forward =
      best(runs, [&] { hybridForward(a.data(), n, c, first.data(), W, stride, k, butterflies.data(), 0); });
  hybridForward(b.data(), n, c, second.data(), W, stride, k, butterflies.data(), 0);
  saved = first;
  const double squares = best(runs, [&] {
    first = saved;
    hybridElementSquares(first.data(), W, stride, k, scratch, sq, plan, 0);
  });
  const double copyTime = best(runs, [&] { first = saved; });
  const double products = best(runs, [&] {
    first = saved;
    hybridElementProducts(first.data(), second.data(), W, stride, k, scratch, mul, plan, 0);
  });
  std::vector<uint32_t> squared = first;
  const double inverse = best(runs, [&] {
    first = squared;
    hybridInverse(out.data(), 2 * n, 0, c, first.data(), W, stride, k, butterflies.data(), 0);
  });
  std::printf("%9llu k %u m %u W %llu L %llu b %u\n", (unsigned long long)n, k, m,
              (unsigned long long)W, (unsigned long long)plan.length, plan.bitsPerPoint);
  std::printf("  forward (one operand)   %8.4f\n", forward);
  std::printf("  element squares         %8.4f\n", squares - copyTime);
  std::printf("  element products        %8.4f\n", products - copyTime);
  std::printf("  inverse + output        %8.4f\n", inverse - copyTime);
  std::printf("  (copy of a transform    %8.4f)\n", copyTime);
  if (plan.method != 1) return;
  // One element's parts, scaled to all elements.
  const uint64_t L = plan.length;
  auto* buffer = reinterpret_cast<double*>(scratch);
  auto* points = scratch + 2 * L;
  uint32_t* element = saved.data() + (count / 3) * stride;
  std::vector<uint32_t> work(element, element + stride);
  const int reps = 20;
  auto scaled = [&](auto&& call) { return best(reps, call) * double(count); };
  const double split = scaled([&] { hybridElementSplit(points, work.data(), plan); });
  const double fwd = scaled([&] { forwardFftFull(buffer, points, plan.code, plan.tables); });
  const double point = scaled([&] { fftPointwiseSquare(buffer, plan.code); });
  std::vector<double> keep(buffer, buffer + L);
  const double inv = scaled([&] {
    std::memcpy(buffer, keep.data(), 8 * L);
    inverseFftWrapped(buffer, points, plan.code, plan.bitsPerPoint, plan.tables);
  });
  const double keepCopy = scaled([&] { std::memcpy(buffer, keep.data(), 8 * L); });
  const double pack = scaled([&] { packPointsToWords(points, L, work.data(), W, plan.bitsPerPoint); });
  const double loopHot = best(runs, [&] {
    for (uint64_t i = 0; i < count; i++) {
      uint32_t* e = work.data();
      hybridElementSplit(points, e, plan);
      forwardFftFull(buffer, points, plan.code, plan.tables);
      fftPointwiseSquare(buffer, plan.code);
      inverseFftWrapped(buffer, points, plan.code, plan.bitsPerPoint, plan.tables);
      packPointsToWords(points, L, e, W, plan.bitsPerPoint);
    }
  });
  std::printf("  all element squares on one element's words (cache-warm) %.4f\n", loopHot);
  std::printf("  per element x 2^k: split %.4f  forward fft %.4f  pointwise %.4f  inverse fft %.4f"
              "  pack %.4f\n",
              split, fwd, point, inv - keepCopy, pack);
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<uint64_t> sizes;
  uint32_t k = 0, m = 0;
  int runs = 5;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--words") && i + 1 < argc) {
      sizes.push_back(std::strtoull(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--params") && i + 2 < argc) {
      k = uint32_t(std::strtoul(argv[++i], nullptr, 10));
      m = uint32_t(std::strtoul(argv[++i], nullptr, 10));
    } else if (!std::strcmp(argv[i], "--runs") && i + 1 < argc) {
      runs = std::atoi(argv[++i]);
    } else {
      std::fprintf(stderr, "usage: %s [--words N ...] [--params K M] [--runs R]\n", argv[0]);
      return 2;
    }
  }
  if (sizes.empty()) sizes = {1048576, 4194304};
  uint64_t largest = 0;
  for (uint64_t n : sizes) largest = std::max(largest, n);
  buildFftTables(largest);
  for (uint64_t n : sizes) {
    uint32_t kk = k, mm = m;
    if (m == 0) hybridSquareParams(2 * n, &kk, &mm);
    stages(n, kk, mm, runs);
  }
  releaseFftTables();
  return 0;
}
