// The hybrid transform's outer passes: the input load and the blocked
// forward transform, and the blocked inverse that hands every element to
// the output stage.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"
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

namespace {

// The inverse's final stage: columns of f levels at a time, each handing
// its elements to the output stage as soon as it is done. Column j holds
// the elements j + i S (S = 2^(k - f) columns); the element before
// j + i S is in column j - 1, finished before it on the same thread unless
// j starts the thread's range: such elements go without their
// predecessor's tail, which a sweep adds in at the end (a seam). Elements
// below `first` (those with words below the chop) are left to a sequential
// run after the columns, as their carries must be followed word for word.
struct FinalStage {
  const OutputRange* range;
  uint32_t* transform;
  uint64_t W, stride, columns, elements, first;
  uint32_t levels;
  uint64_t starts[512];  // the first column of each thread's range, by tree node
};

uint32_t finalColumns(FinalStage* stage, uint64_t begin, uint64_t end, uint32_t* scratch,
                      uint32_t threadPower, uint32_t node) {
  const uint64_t W = stage->W, period = 128 * W;
  const uint64_t count = uint64_t(1) << stage->levels;
  if (threadPower > 0 && end - begin >= 2 &&
      (end - begin) * (W << stage->levels) >= fermatForkColumnWords) {
    const uint64_t middle = begin + (end - begin) / 2;
    uint32_t* upperScratch = scratch + (fermatButterflyScratchWords(W) << (threadPower - 1));
    uint32_t upperFailed = 0, lowerFailed = 0;
    auto upper = [&] {
      upperFailed = finalColumns(stage, middle, end, upperScratch, threadPower - 1, 2 * node + 1);
    };
    fermatFork(upper, [&] {
      lowerFailed = finalColumns(stage, begin, middle, scratch, threadPower - 1, 2 * node);
    });
    return upperFailed | lowerFailed;
  }
  stage->starts[node] = begin;
  const uint64_t S = stage->columns, root = period / (S * count);
  uint32_t failed = 0;
  for (uint64_t j = begin; j < end; j++) {
    uint32_t* column = stage->transform + j * stage->stride;
    blockedInverse(column, W, stage->stride * S, stage->levels, ((j % period) * root) % period,
                   scratch, threadPower);
    for (uint64_t i = 0; i < count; i++) {
      const uint64_t g = j + i * S;
      if (g < stage->first || g >= stage->elements) continue;
      const bool withTail = j > begin && g - 1 >= stage->first;
      failed |= hybridOutputElement(*stage->range, stage->transform, stage->stride, g, withTail,
                                    scratch);
    }
  }
  return failed;
}

// Levels of the final stage: 2 if h < t + 2, else the larger of 2 and the
// smaller of h - t and p - 1 (h = k / 2, p of the blocked cut over k).
uint32_t finalLevels(uint64_t W, uint32_t k, uint32_t threadPower) {
  const uint32_t h = k / 2, p = fermatColumnLevels(W, k) + 1;
  if (h < threadPower + 2) return 2;
  uint32_t f = h - threadPower < p - 1 ? h - threadPower : p - 1;
  return f < 2 ? 2 : f;
}

}  // namespace

uint32_t hybridInverse(uint32_t* destination, uint64_t end, uint64_t start, uint64_t c,
                       uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                       uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  const OutputRange range = {destination, end, start, c, k, W};
  if (k < 5) {
    blockedInverse(transform, W, stride, k, 0, scratch, threadPower);
    return hybridOutputStage(range, transform, stride, scratch, threadPower);
  }
  const uint32_t t = threadPower > 8 ? 8 : threadPower;
  const uint32_t f = finalLevels(W, k, t);
  const uint64_t columns = uint64_t(1) << (k - f), rows = uint64_t(1) << f;
  // First stage: the rows, 2^f contiguous inverses of k - f levels.
  auto row = [&](uint64_t r, uint32_t* s, uint32_t tr) {
    blockedInverse(transform + r * columns * stride, W, stride, k - f, 0, s, tr);
  };
  fermatRowRange(0, rows, W << (k - f), W, scratch, t, row);

  const uint64_t count = uint64_t(1) << k;
  uint64_t elements = (end + c - 1) / c;  // those with a word below the end
  if (elements > count) elements = count;
  FinalStage stage;
  stage.range = &range;
  stage.transform = transform;
  stage.W = W;
  stage.stride = stride;
  stage.columns = columns;
  stage.elements = elements;
  stage.first = (start + c - 1) / c;  // the first element with no word below the chop
  stage.levels = f;
  for (uint64_t& s : stage.starts) s = ~uint64_t(0);
  uint32_t failed = finalColumns(&stage, 0, columns, scratch, t, 1);
  if (elements == 0) return failed;
  const uint64_t first = stage.first < elements ? stage.first : elements;
  failed |= hybridOutputRun(range, transform, stride, 0, first, scratch);

  // The seams, from low to high, after every element's words are written.
  hybridOutputLastTail(range, transform, stride, elements);
  if (first > 0 && first < elements && start <= (first - 1) * c + W)
    hybridOutputSeam(range, transform, stride, first);
  uint64_t starts[512];
  uint32_t leaves = 0;
  for (uint64_t s : stage.starts) {
    if (s != ~uint64_t(0)) starts[leaves++] = s;
  }
  std::sort(starts, starts + leaves);
  for (uint64_t i = 0; i < rows; i++) {
    for (uint32_t leaf = 0; leaf < leaves; leaf++) {
      const uint64_t g = starts[leaf] + i * columns;
      if (g > first && g < elements) hybridOutputSeam(range, transform, stride, g);
    }
  }
  return failed;
}
