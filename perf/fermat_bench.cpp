// The Fermat transform alone: forward and inverse blocked transforms of
// 2^k elements of W words on one thread, in nanoseconds per element word
// and level, for a few element sizes.
//
//   fermat_bench [--time SECONDS] [--odd]
//
// --odd takes W = 17 * 2^j words instead of the default sizes: at k = j + 7
// the root's exponent is odd, and half the first level's twiddles go
// through sqrt(2).
// k runs from 5 to 12; transforms above 2^24 words are skipped. Each round
// trip is checked once: forward then inverse must give the input times 2^k.
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <vector>

#include "bench_support.h"
#include "arith/hybrid/fermat.h"

namespace {

// Best time of one call, repeated for at least `target` seconds (3 runs
// at least, 50 at most).
template <typename F>
double bestTime(F&& call, double target) {
  double best = 1e30, spent = 0;
  for (int run = 0; run < 50 && (run < 3 || spent < target); run++) {
    const double start = benchNow();
    call();
    const double t = benchNow() - start;
    spent += t;
    if (t < best) best = t;
  }
  return best;
}

}  // namespace

int main(int argc, char** argv) {
  double target = 0.2;
  bool odd = false;
  for (int i = 1; i < argc; i++) {
    if (!std::strcmp(argv[i], "--time") && i + 1 < argc) {
      target = std::strtod(argv[++i], nullptr);
    } else if (!std::strcmp(argv[i], "--odd")) {
      odd = true;
    } else {
      std::fprintf(stderr, "usage: %s [--time SECONDS] [--odd]\n", argv[0]);
      return 2;
    }
  }
  const uint64_t sizes[] = {544, 1088, 4352, 17408, 69632};
  const uint64_t oddSizes[] = {272, 544, 2176, 8704, 34816};
  std::mt19937_64 random(1729);
  std::printf("%7s %3s | %10s %10s | %8s %8s  (ns per element word and level)\n", "W", "k",
              "forward s", "inverse s", "forward", "inverse");
  int failures = 0;
  for (int s = 0; s < 5; s++) {
    const uint64_t W = odd ? oddSizes[s] : sizes[s], stride = W + 1;
    for (uint32_t k = 5; k <= 12; k++) {
      const uint64_t count = uint64_t(1) << k;
      if (stride * count > (uint64_t(1) << 24)) continue;
      std::vector<uint32_t> data(stride * count, 0), original;
      for (uint64_t i = 0; i < count; i++) {
        for (uint64_t j = 0; j < W / 2; j++) data[i * stride + j] = uint32_t(random());
      }
      original = data;
      std::vector<uint32_t> scratch(fermatButterflyScratchWords(W));
      blockedForward(data.data(), W, stride, k, 0, scratch.data(), 0);
      blockedInverse(data.data(), W, stride, k, 0, scratch.data(), 0);
      // Input times 2^k, that is the input shifted by k bits: exact here
      // since the top half of each element is zero.
      bool right = true;
      for (uint64_t i = 0; i < count && right; i++) {
        uint64_t carry = 0;
        for (uint64_t j = 0; j <= W; j++) {
          const uint64_t word = (uint64_t(original[i * stride + j]) << k) | carry;
          carry = word >> 32;
          if (data[i * stride + j] != uint32_t(word)) right = false;
        }
      }
      if (!right) failures++;
      const double forward = bestTime(
          [&] { blockedForward(data.data(), W, stride, k, 0, scratch.data(), 0); }, target);
      const double inverse = bestTime(
          [&] { blockedInverse(data.data(), W, stride, k, 0, scratch.data(), 0); }, target);
      const double units = double(W) * double(count) * k;
      std::printf("%7llu %3u | %10.5f %10.5f | %8.3f %8.3f%s\n", (unsigned long long)W, k, forward,
                  inverse, 1e9 * forward / units, 1e9 * inverse / units, right ? "" : "  WRONG");
      std::fflush(stdout);
    }
  }
  return failures == 0 ? 0 : 1;
}
