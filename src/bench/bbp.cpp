// Digit extraction of Pi: Montgomery powers of two, 128-bit fractions, and
// the fork-join split of the terms over threads.
#include "bench/bbp.h"

#include "bench/bbp_internal.h"

#include <cstdlib>

#include "platform/console.h"
#include "platform/threads.h"

namespace {

using bbp::TermKind;
using bbp::termKinds;
using bbp::u128;

bool wideKernel = bbp::wideKernelAvailable();

// floor(high:low / d) with high < d, and the remainder.
inline uint64_t divideWide(uint64_t high, uint64_t low, uint64_t d, uint64_t* remainder) {
  uint64_t quotient, rest;
  __asm__("divq %4" : "=a"(quotient), "=d"(rest) : "a"(low), "d"(high), "rm"(d) : "cc");
  *remainder = rest;
  return quotient;
}

// r / d to 128 bits, r < d.
inline u128 fraction128(uint64_t r, uint64_t d) {
  uint64_t rest;
  uint64_t high = divideWide(r, 0, d, &rest);
  uint64_t low = divideWide(rest, 0, d, &rest);
  return u128(high) << 64 | low;
}

// -d^-1 mod 2^64 for odd d, by Newton's iteration (3, 6, 12, 24, 48, 96 bits).
inline uint64_t negativeInverse(uint64_t d) {
  uint64_t inverse = d;
  for (int i = 0; i < 5; ++i) inverse *= 2 - d * inverse;
  return 0 - inverse;
}

// 2^e mod d for a batch of `lanes` odd moduli below 2^63, Montgomery form
// with R = 2^64, the lanes interleaved so that their products overlap.
template <int lanes>
void powersOfTwo(const uint64_t* d, const uint64_t* e, uint64_t* out) {
  uint64_t x[lanes], inverse[lanes];
  uint64_t longest = 0;
  for (int i = 0; i < lanes; ++i) {
    inverse[i] = negativeInverse(d[i]);
    x[i] = (0 - d[i]) % d[i];  // R mod d: one in Montgomery form
    longest |= e[i];
  }
  int top = longest == 0 ? -1 : 63 - __builtin_clzll(longest);
  for (int bit = top; bit >= 0; --bit) {
    for (int i = 0; i < lanes; ++i) {
      u128 t = u128(x[i]) * x[i];
      uint64_t q = uint64_t(t) * inverse[i];
      // t + q d is a multiple of 2^64 below 2^128 (d < 2^63); its top
      // half is below 2 d.
      uint64_t v = uint64_t((t + u128(q) * d[i]) >> 64);
      v = v >= d[i] ? v - d[i] : v;
      v <<= (e[i] >> bit) & 1;
      x[i] = v >= d[i] ? v - d[i] : v;
    }
  }
  for (int i = 0; i < lanes; ++i) {
    // Out of Montgomery form: x R^-1.
    uint64_t q = x[i] * inverse[i];
    u128 s = u128(x[i]) + u128(q) * d[i];
    uint64_t v = uint64_t(s >> 64);
    out[i] = v >= d[i] ? v - d[i] : v;
  }
}

// The fraction of one term's 2^exponent / d, exponent of either sign.
u128 termFraction(int64_t exponent, uint64_t d) {
  if (exponent >= 0) {
    uint64_t e = uint64_t(exponent), r;
    powersOfTwo<1>(&d, &e, &r);
    return fraction128(r, d);
  }
  if (exponent <= -128) return 0;
  return (u128(1) << (128 + exponent)) / d;
}

// The terms n in [first, last) with non-negative exponents (bit - 6 - 10 n
// >= 0), in batches of eight n per kind.
u128 sumRange(uint64_t bit, uint64_t first, uint64_t last) {
  constexpr int lanes = 8;
  u128 sum = 0;
  uint64_t n = first;
  if (wideKernel) {
    uint64_t batches = (last - first) / lanes;
    sum = bbp::wideKernelSum(bit, first, batches);
    n += batches * lanes;
  }
  for (; n + lanes <= last; n += lanes) {
    for (const TermKind& kind : termKinds) {
      uint64_t d[lanes], e[lanes], r[lanes];
      for (int i = 0; i < lanes; ++i) {
        d[i] = kind.slope * (n + i) + kind.offset;
        e[i] = bit - 6 + kind.shift - 10 * (n + i);
      }
      powersOfTwo<lanes>(d, e, r);
      for (int i = 0; i < lanes; ++i) {
        u128 f = fraction128(r[i], d[i]);
        bool subtract = (kind.negative ^ ((n + i) & 1)) != 0;
        sum = subtract ? sum - f : sum + f;
      }
    }
  }
  for (; n < last; ++n) {
    for (const TermKind& kind : termKinds) {
      u128 f = termFraction(int64_t(bit - 6 + kind.shift - 10 * n), kind.slope * n + kind.offset);
      sum = (kind.negative ^ (n & 1)) ? sum - f : sum + f;
    }
  }
  return sum;
}

struct RangeJob {
  uint64_t bit;
  uint64_t first;
  uint64_t last;
  uint32_t depth;
  u128 sum;
};

uint64_t rangeJob(void* context) {
  RangeJob* job = static_cast<RangeJob*>(context);
  if (job->depth == 0 || job->last - job->first < 64) {
    job->sum = sumRange(job->bit, job->first, job->last);
    return 0;
  }
  uint64_t middle = job->first + (job->last - job->first) / 2;
  RangeJob upper = {job->bit, middle, job->last, job->depth - 1, 0};
  RangeJob lower = {job->bit, job->first, middle, job->depth - 1, 0};
  ThreadHandle handle;
  threadSpawn(&handle, rangeJob, &upper);
  rangeJob(&lower);
  threadJoin(&handle);
  job->sum = lower.sum + upper.sum;
  return 0;
}

// Bound of the error of the sum, in units of 2^-128: at most 2^24 per term
// (fractions of 104 bits in the wide kernel) and the dropped tail, for up
// to 2^42 terms: any position a run can reach.
constexpr u128 errorBound = u128(1) << 66;

}  // namespace

bool bbpUseWideKernelForTesting(bool use) {
  bool before = wideKernel;
  wideKernel = use && bbp::wideKernelAvailable();
  return before;
}

u128 piFractionAtBit(uint64_t bit, uint32_t threadPower) {
  // Terms with bit - 6 - 10 n >= 0 have non-negative exponents for every kind.
  uint64_t main = bit >= 6 ? (bit - 6) / 10 + 1 : 0;
  RangeJob job = {bit, 0, main, threadPower, 0};
  rangeJob(&job);
  u128 sum = job.sum;
  // The rest: exponents fall by 10 per n; past -128 nothing is left.
  for (uint64_t n = main; n < main + 16; ++n) {
    for (const TermKind& kind : termKinds) {
      int64_t exponent = int64_t(bit) - 6 + int64_t(kind.shift) - 10 * int64_t(n);
      u128 f = termFraction(exponent, kind.slope * n + kind.offset);
      sum = (kind.negative ^ (n & 1)) ? sum - f : sum + f;
    }
  }
  return sum;
}

uint32_t piHexDigitsAt(uint64_t position, uint32_t threadPower, bool* exact) {
  u128 fraction = piFractionAtBit(4 * (position - 1), threadPower);
  u128 below = fraction & ((u128(1) << 96) - 1);
  *exact = below >= errorBound && below <= (u128(1) << 96) - errorBound;
  return uint32_t(fraction >> 96);
}

bool piHexDigitsAgree(uint64_t position, uint32_t digits, uint32_t threadPower) {
  u128 fraction = piFractionAtBit(4 * (position - 1), threadPower);
  // The file's digits D are right when the fraction lies in
  // [D 2^96, (D + 1) 2^96), widened by the error bound (modulo 1).
  u128 offset = fraction - (u128(digits) << 96) + errorBound;
  return offset < (u128(1) << 96) + 2 * errorBound;
}
