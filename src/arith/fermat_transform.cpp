// The hybrid transform's outer passes: the input load and the blocked
// forward transform, and the blocked inverse that hands every element to
// the output stage.
#include <cstdint>
#include <cstring>

#include "arith/fermat.h"
#include "arith/hybrid.h"
#include "platform/console.h"

void hybridCheckStride(uint64_t stride, uint32_t k) {
  if (k >= 64 || stride != ((stride << k) >> k)) {
    limitExceeded("Hybrid Number-Theoretic Transform",
                  "The transform parameters is over the limit that can be represented\n"
                  "under the current address space.");
  }
}

namespace {

// The operand as the elements see it: element i takes words [i c, i c + c)
// of source[0 .. n).
struct Load {
  const uint32_t* source;
  uint64_t n, c;
  uint32_t* transform;
  uint64_t W, stride;
};

// Words of element `index`'s chunk that the source has.
uint64_t chunkWords(const Load& load, uint64_t index) {
  const uint64_t from = index * load.c;
  if (from >= load.n) return 0;
  return load.n - from < load.c ? load.n - from : load.c;
}

// Element `index` loaded into x: its chunk, zero-filled to W + 1 words.
void loadElement(const Load& load, uint64_t index, uint32_t* x) {
  const uint64_t take = chunkWords(load, index);
  if (take > 0) memcpy(x, load.source + index * load.c, 4 * take);
  memset(x + take, 0, 4 * (load.W + 1 - take));
}

// The first level of a transform of `levels` levels on the elements from
// `first` at `step` words apart, fused with their load: butterfly i joins
// i and i + half at exponent i * root + twist. Where the upper chunk is
// empty (all of the upper half for a square) the sum is the lower element
// itself and the difference its shift.
void loadFirstLevel(const Load& load, uint32_t* first, uint64_t step, uint32_t levels,
                    uint64_t twist, uint32_t* scratch) {
  const uint64_t W = load.W, period = 128 * W;
  const uint64_t half = uint64_t(1) << (levels - 1), root = period >> levels;
  const uint64_t base = uint64_t(first - load.transform) / load.stride;
  const uint64_t indexStep = step / load.stride;
  uint64_t e = twist % period;
  for (uint64_t i = 0; i < half; i++, e = (e + root) % period) {
    uint32_t* a = first + i * step;
    uint32_t* b = a + half * step;
    const uint64_t lower = base + i * indexStep, upper = lower + half * indexStep;
    loadElement(load, lower, a);
    if (chunkWords(load, upper) == 0) {
      if (chunkWords(load, lower) == 0) {
        memset(b, 0, 4 * (W + 1));
      } else {
        fermatShiftHalf(b, a, W, e, scratch);
      }
      continue;
    }
    loadElement(load, upper, scratch);
    fermatSumShifted(a, b, a, scratch, W, (e & 1) == 0 ? e >> 1 : ((e >> 1) + 8 * W) % (64 * W));
    if ((e & 1) != 0 && !fermatTimesRootTwoFactor(b, W)) {
      fermatShiftWords(scratch, b, W, 16 * W);
      fermatSub(b, scratch, b, W);
    }
  }
}

}  // namespace

void hybridForward(const uint32_t* source, uint64_t n, uint64_t c, uint32_t* transform, uint64_t W,
                   uint64_t stride, uint32_t k, uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  const Load load = {source, n, c, transform, W, stride};
  const uint64_t period = 128 * W;
  if (k == 0) {
    loadElement(load, 0, transform);
    return;
  }
  if (k < 5) {
    // One stage: the loaded first level, then the two halves.
    loadFirstLevel(load, transform, stride, k, 0, scratch);
    const uint64_t half = uint64_t(1) << (k - 1);
    radixPass(transform, W, stride, k - 1, 0, scratch, 0);
    radixPass(transform + half * stride, W, stride, k - 1, 0, scratch, 0);
    return;
  }
  // Column stage with the load: column j holds the elements j + i 2^(k - q)
  // and is a transform of q levels with the twist j * root.
  const uint32_t q = fermatColumnLevels(W, k);
  const uint64_t columns = uint64_t(1) << (k - q), rows = uint64_t(1) << q;
  const uint64_t root = period >> k, columnStride = stride << (k - q);
  auto column = [&](uint64_t j, uint32_t* s, uint32_t t) {
    uint32_t* first = transform + j * stride;
    const uint64_t twist = ((j % period) * root) % period;
    loadFirstLevel(load, first, columnStride, q, twist, s);
    const uint64_t nextTwist = (2 * twist) % period;
    const uint64_t half = uint64_t(1) << (q - 1);
    blockedForward(first, W, columnStride, q - 1, nextTwist, s, t);
    blockedForward(first + half * columnStride, W, columnStride, q - 1, nextTwist, s, t);
  };
  fermatColumnRange(0, columns, W << q, W, scratch, threadPower, column);
  // Row stage: 2^q contiguous transforms of k - q levels, twist 0.
  auto row = [&](uint64_t j, uint32_t* s, uint32_t t) {
    blockedForward(transform + j * columns * stride, W, stride, k - q, 0, s, t);
  };
  fermatRowRange(0, rows, W << (k - q), W, scratch, threadPower, row);
}

uint32_t hybridInverse(uint32_t* destination, uint64_t end, uint64_t start, uint64_t c,
                       uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                       uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  blockedInverse(transform, W, stride, k, 0, scratch, threadPower);
  hybridFaultAfterInverse(transform, stride, k);
  const OutputRange range = {destination, end, start, c, k, W};
  return hybridOutputStage(range, transform, stride, scratch, threadPower);
}
