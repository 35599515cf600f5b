// The Fermat transform over a whole array of elements: radix-2 passes by
// recursive halving (decimation in frequency forward, in time backward),
// the input load of the forward transform and the inverse that hands every
// element to the output stage.
#include <cstdint>
#include <cstring>

#include "arith/fermat.h"
#include "arith/hybrid.h"
#include "platform/console.h"

namespace {

// Work below which a pass is not split over threads: 50000 words of
// elements in a range of butterflies, 250000 in a pair of sub-transforms.
constexpr uint64_t forkButterflyWords = 50000;
constexpr uint64_t forkTransformWords = 250000;

struct PassShape {
  uint64_t W;
  uint64_t stride;
};

// Butterflies j in [begin, end) between element j and j + half, twiddle
// exponent j * e. Threads take halves of the range, each with its scratch.
void butterflyRange(uint32_t* elements, PassShape shape, uint64_t half, uint64_t begin,
                    uint64_t end, uint64_t e, bool inverse, uint32_t* scratch,
                    uint32_t threadPower) {
  const uint64_t W = shape.W, period = 128 * W;
  if (threadPower > 0 && end - begin >= 2 && (end - begin) * W >= forkButterflyWords) {
    const uint64_t middle = begin + (end - begin) / 2;
    uint32_t* upperScratch = scratch + (fermatButterflyScratchWords(W) << (threadPower - 1));
    auto upper = [&] {
      butterflyRange(elements, shape, half, middle, end, e, inverse, upperScratch,
                     threadPower - 1);
    };
    fermatFork(upper, [&] {
      butterflyRange(elements, shape, half, begin, middle, e, inverse, scratch, threadPower - 1);
    });
    return;
  }
  uint64_t twiddle = (begin % period) * (e % period) % period;
  for (uint64_t j = begin; j < end; j++) {
    uint32_t* a = elements + j * shape.stride;
    uint32_t* b = elements + (j + half) * shape.stride;
    if (inverse) {
      butterflyInverse(a, b, W, twiddle, scratch);
    } else {
      butterflyForward(a, b, W, twiddle, scratch);
    }
    twiddle = (twiddle + e) % period;
  }
}

// The two half-size transforms of a level, on two threads when large.
template <typename Half>
void bothHalves(uint64_t count, PassShape shape, uint32_t* scratch, uint32_t threadPower,
                Half half) {
  const uint64_t halfCount = count / 2;
  if (threadPower > 0 && halfCount * shape.W >= forkTransformWords) {
    uint32_t* upperScratch =
        scratch + (fermatButterflyScratchWords(shape.W) << (threadPower - 1));
    auto upper = [&] { half(halfCount, upperScratch, threadPower - 1); };
    fermatFork(upper, [&] { half(0, scratch, threadPower - 1); });
    return;
  }
  half(0, scratch, threadPower);
  half(halfCount, scratch, threadPower);
}

}  // namespace

void radixPass(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
               uint32_t* scratch, uint32_t threadPower) {
  if (levels == 0) return;
  const PassShape shape = {W, stride};
  const uint64_t count = uint64_t(1) << levels, half = count / 2;
  butterflyRange(elements, shape, half, 0, half, e, false, scratch, threadPower);
  const uint64_t next = (2 * e) % (128 * W);
  bothHalves(count, shape, scratch, threadPower, [&](uint64_t first, uint32_t* s, uint32_t t) {
    radixPass(elements + first * stride, W, stride, levels - 1, next, s, t);
  });
}

void radixPassInverse(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                      uint32_t* scratch, uint32_t threadPower) {
  if (levels == 0) return;
  const PassShape shape = {W, stride};
  const uint64_t count = uint64_t(1) << levels, half = count / 2;
  const uint64_t next = (2 * e) % (128 * W);
  bothHalves(count, shape, scratch, threadPower, [&](uint64_t first, uint32_t* s, uint32_t t) {
    radixPassInverse(elements + first * stride, W, stride, levels - 1, next, s, t);
  });
  butterflyRange(elements, shape, half, 0, half, e, true, scratch, threadPower);
}

void hybridCheckStride(uint64_t stride, uint32_t k) {
  if (k >= 64 || stride != ((stride << k) >> k)) {
    limitExceeded("Hybrid Number-Theoretic Transform",
                  "The transform parameters is over the limit that can be represented\n"
                  "under the current address space.");
  }
}

// The root of order 2^k: 2^(n/2^(k-1)) = 2^(e/2) with e = 128W / 2^k.
static uint64_t rootExponent(uint64_t W, uint32_t k) { return (128 * W) >> k; }

void hybridForward(const uint32_t* source, uint64_t n, uint64_t c, uint32_t* transform, uint64_t W,
                   uint64_t stride, uint32_t k, uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  const uint64_t count = uint64_t(1) << k;
  for (uint64_t i = 0; i < count; i++) {
    uint32_t* element = transform + i * stride;
    const uint64_t from = i * c;
    const uint64_t take = from >= n ? 0 : (n - from < c ? n - from : c);
    if (take > 0) memcpy(element, source + from, 4 * take);
    memset(element + take, 0, 4 * (W + 1 - take));
  }
  radixPass(transform, W, stride, k, rootExponent(W, k), scratch, threadPower);
}

uint32_t hybridInverse(uint32_t* destination, uint64_t end, uint64_t start, uint64_t c,
                       uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                       uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  radixPassInverse(transform, W, stride, k, rootExponent(W, k), scratch, threadPower);
  hybridFaultAfterInverse(transform, stride, k);
  const OutputRange range = {destination, end, start, c, k, W};
  return hybridOutputStage(range, transform, stride, scratch);
}
