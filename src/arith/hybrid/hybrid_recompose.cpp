// The output stage of the hybrid transform: the inverse's elements become
// the words of the product. Element i holds 2^k times the coefficient of
// 2^(32 c i); coefficients overlap their neighbours by W - c words, so each
// finished element passes its upper words (its tail) on to the next.
#include <cstdint>
#include <cstring>

#include <immintrin.h>

#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"

HybridFault hybridFaultForTesting = {0, 0, 0};

static void hybridFaultFire(uint32_t stage, uint32_t* transform, uint64_t stride, uint32_t k) {
  if (hybridFaultForTesting.stage != stage) return;
  const uint64_t element = hybridFaultForTesting.element & ((uint64_t(1) << k) - 1);
  const uint64_t word = hybridFaultForTesting.word % (stride - 1);
  transform[element * stride + word] ^= 1;
  hybridFaultForTesting.stage = 0;
}

void hybridFaultAfterForward(uint32_t* transform, uint64_t stride, uint32_t k) {
  hybridFaultFire(1, transform, stride, k);
}

static void hybridFaultBeforeOutput(uint32_t* element, uint64_t index, uint64_t stride,
                                    uint32_t k) {
  if (hybridFaultForTesting.stage != 2) return;
  if ((hybridFaultForTesting.element & ((uint64_t(1) << k) - 1)) != index) return;
  element[hybridFaultForTesting.word % (stride - 1)] ^= 1;
  hybridFaultForTesting.stage = 0;
}

// Writes words[0 .. count) of the product, placed at product word `at`, as
// far as they fall in [start, end).
static void writeWanted(const OutputRange& range, const uint32_t* words, uint64_t count,
                        uint64_t at) {
  uint64_t from = range.start > at ? range.start - at : 0;
  uint64_t to = range.end > at ? range.end - at : 0;
  if (to > count) to = count;
  if (from >= to) return;
  memcpy(range.destination + (at + from - range.start), words + from, 4 * (to - from));
}

// Adds words[0 .. count) at product word `at` (>= start) into the
// destination, the carry running up to the end.
static void addWanted(const OutputRange& range, const uint32_t* words, uint64_t count,
                      uint64_t at) {
  uint32_t* out = range.destination - range.start;
  uint64_t carry = 0, p = at;
  for (uint64_t j = 0; j < count && p < range.end; j++, p++) {
    carry += uint64_t(out[p]) + words[j];
    out[p] = uint32_t(carry);
    carry >>= 32;
  }
  for (; carry != 0 && p < range.end; p++) {
    carry += out[p];
    out[p] = uint32_t(carry);
    carry >>= 32;
  }
}

namespace {

// Elements below this many words (of the range) are not split over threads.
constexpr uint64_t forkOutputWords = 50000;

struct OutputJob {
  const OutputRange* range;
  uint32_t* transform;
  uint64_t stride;
  uint64_t seams[512];  // seam element of tree node i (0: none)
};

// Words [from, to) of y = x >> k (x with W + 1 words, top word 0), plus
// tail[from, to) when `withTail`, to out[from - shift, to - shift); the
// carry runs through `carry`, two words at a time in 128-bit sums.
template <bool withTail>
inline void shiftedOut(const uint32_t* x, const uint32_t* tail, uint32_t* out, uint64_t from,
                       uint64_t to, uint32_t k, uint64_t& carry) {
  uint64_t j = from;
  for (; j + 2 <= to; j += 2) {
    unsigned long long pair, below = 0;
    memcpy(&pair, x + j, 8);
    if constexpr (withTail) memcpy(&below, tail + j, 8);
    const unsigned __int128 sum = (unsigned __int128)((pair >> k) | (uint64_t(x[j + 2]) << (64 - k))) +
                                  below + carry;
    const unsigned long long low = uint64_t(sum);
    memcpy(out + j, &low, 8);
    carry = uint64_t(sum >> 64);
  }
  if (j < to) {
    unsigned long long pair;
    memcpy(&pair, x + j, 8);
    const uint64_t sum = uint64_t(uint32_t(pair >> k)) + (withTail ? tail[j] : 0) + carry;
    out[j] = uint32_t(sum);
    carry = sum >> 32;
  }
}

// The usual element in one pass: divisible by 2^k (so the division is the
// shift right by k), no overflow word, its c words all wanted. The words
// below c go to the destination, the rest down into the element's slot
// (each written after it is read). Returns the check.
uint32_t outputWhole(const OutputRange& range, uint32_t* element, const uint32_t* tail,
                     uint64_t base) {
  const uint64_t W = range.words, c = range.chunk, tailWords = W - c;
  const uint32_t k = range.levels;
  const uint32_t failed = (element[W - 1] >> k) != 0 ? 1 : 0;
  uint32_t* destination = range.destination + (base - range.start);
  uint64_t carry = 0;
  if (tail != nullptr) {
    shiftedOut<true>(element, tail, destination, 0, c, k, carry);
    shiftedOut<true>(element, tail, element - c, c, tailWords, k, carry);
  } else {
    shiftedOut<false>(element, tail, destination, 0, c, k, carry);
    shiftedOut<false>(element, tail, element - c, c, tailWords, k, carry);
  }
  // Above the tail: y alone, its last word from x's last word only.
  shiftedOut<false>(element, nullptr, element - c, tailWords, W - 1, k, carry);
  element[W - 1 - c] = uint32_t(uint64_t(element[W - 1] >> k) + carry);
  return failed;
}

}  // namespace

uint32_t hybridOutputElement(const OutputRange& range, uint32_t* transform, uint64_t stride,
                             uint64_t i, bool withTail, uint32_t* scratch) {
  const uint64_t W = range.words, c = range.chunk, tailWords = W - c, base = i * c;
  uint32_t* element = transform + i * stride;
  hybridFaultBeforeOutput(element, i, stride, range.levels);
  // Wholly below the wanted words: neither divided nor checked; its carry
  // into the wanted part is dropped.
  if (range.start > base + W) return 0;
  const uint32_t k = range.levels;
  if (k >= 1 && k < 32 && element[W] == 0 && (element[0] & ((uint32_t(1) << k) - 1)) == 0 &&
      range.start <= base && base + c <= range.end && tailWords + 1 < W)
    return outputWhole(range, element, withTail ? element - stride : nullptr, base);
  // Divide by 2^k: multiply by 2^(2n - k).
  fermatShift(scratch, element, W, 64 * W - range.levels);
  const uint32_t failed = (scratch[W - 1] | scratch[W]) != 0 ? 1 : 0;
  if (withTail) {
    const uint32_t* tail = element - stride;
    uint64_t carry = 0;
    for (uint64_t j = 0; j < tailWords; j++) {
      carry += uint64_t(scratch[j]) + tail[j];
      scratch[j] = uint32_t(carry);
      carry >>= 32;
    }
    for (uint64_t j = tailWords; j < W && carry != 0; j++) {
      carry += scratch[j];
      scratch[j] = uint32_t(carry);
      carry >>= 32;
    }
  }
  writeWanted(range, scratch, c, base);
  memcpy(element, scratch + c, 4 * tailWords);
  return failed;
}

uint32_t hybridOutputRun(const OutputRange& range, uint32_t* transform, uint64_t stride,
                         uint64_t begin, uint64_t end, uint32_t* scratch) {
  const uint64_t W = range.words, c = range.chunk;
  uint32_t failed = 0;
  for (uint64_t i = begin; i < end; i++) {
    // The element before left its tail in its slot unless it was skipped.
    const bool withTail = i > begin && range.start <= (i - 1) * c + W;
    failed |= hybridOutputElement(range, transform, stride, i, withTail, scratch);
  }
  return failed;
}

void hybridOutputSeam(const OutputRange& range, const uint32_t* transform, uint64_t stride,
                      uint64_t i) {
  addWanted(range, transform + (i - 1) * stride, range.words - range.chunk, i * range.chunk);
}

void hybridOutputLastTail(const OutputRange& range, const uint32_t* transform, uint64_t stride,
                          uint64_t elements) {
  const uint64_t last = elements - 1, W = range.words, c = range.chunk;
  if (range.start <= last * c + W)
    writeWanted(range, transform + last * stride, W - c, elements * c);
}

namespace {

// The range split over threads: a split point is only taken where all the
// words of its seam are wanted (at or above `start`), and it is recorded
// for the sweep in node `node` of the split tree.
uint32_t outputSplit(OutputJob* job, uint64_t begin, uint64_t end, uint32_t* scratch,
                     uint32_t threadPower, uint32_t node) {
  const OutputRange& range = *job->range;
  const uint64_t W = range.words, c = range.chunk;
  uint64_t middle = begin + (end - begin) / 2;
  const uint64_t lowest = (range.start + c - 1) / c;
  if (middle < lowest) middle = lowest;
  if (threadPower == 0 || middle <= begin || middle >= end || (end - begin) * W < forkOutputWords)
    return hybridOutputRun(range, job->transform, job->stride, begin, end, scratch);
  job->seams[node] = middle;
  uint32_t* upperScratch = scratch + (fermatButterflyScratchWords(W) << (threadPower - 1));
  uint32_t upperFailed = 0, lowerFailed = 0;
  auto upper = [&] {
    upperFailed = outputSplit(job, middle, end, upperScratch, threadPower - 1, 2 * node + 1);
  };
  fermatFork(upper, [&] {
    lowerFailed = outputSplit(job, begin, middle, scratch, threadPower - 1, 2 * node);
  });
  return upperFailed | lowerFailed;
}

}  // namespace

uint32_t hybridOutputStage(const OutputRange& range, uint32_t* transform, uint64_t stride,
                           uint32_t* scratch, uint32_t threadPower) {
  const uint64_t c = range.chunk, count = uint64_t(1) << range.levels;
  uint64_t elements = (range.end + c - 1) / c;  // those with a word below the end
  if (elements > count) elements = count;
  if (elements == 0) return 0;
  OutputJob job;
  job.range = &range;
  job.transform = transform;
  job.stride = stride;
  for (uint64_t& seam : job.seams) seam = 0;
  const uint32_t t = threadPower > 8 ? 8 : threadPower;
  const uint32_t failed = outputSplit(&job, 0, elements, scratch, t, 1);
  // The last element's tail lies above every chunk; then the seams: each
  // range's first element was finished without its predecessor's tail.
  hybridOutputLastTail(range, transform, stride, elements);
  for (uint64_t seam : job.seams) {
    if (seam != 0) hybridOutputSeam(range, transform, stride, seam);
  }
  return failed;
}
