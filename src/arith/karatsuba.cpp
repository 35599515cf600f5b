// Karatsuba squares and products, subtractive form: three half-size products
// lo*lo, hi*hi and |lo - hi|^2 (or |a_lo - a_hi| * |b_lo - b_hi|), combined in
// one pass over the words.
#include <cassert>

#include "arith/basecase_limbs.h"
#include "arith/recursive_internal.h"
#include "arith/word_ops.h"

namespace {

// out[0 .. h) = |lo - hi| with lo of h words and hi of l = h or h - 1 words.
// Returns true when hi was the larger.
bool absoluteDifference(const uint32_t* lo, const uint32_t* hi, uint64_t h, uint64_t l,
                        uint32_t* out) {
  bool hiLarger;
  if (h > l && lo[h - 1] != 0)
    hiLarger = false;
  else
    hiLarger = compareWords(lo, hi, l) < 0;
  if (!hiLarger) {
    uint32_t borrow = subtractWords(lo, hi, l, out);
    if (h > l) out[h - 1] = lo[h - 1] - borrow;
  } else {
    subtractWords(hi, lo, l, out);
    if (h > l) out[h - 1] = 0;
  }
  return hiLarger;
}

// The combination: with L = lo*lo in out[0 .. 2h), H = hi*hi in out[2h .. 2n)
// and D in d[0 .. 2h), adds the middle term L + H - D (L + H + D when AddD)
// at word h. The sum of the two overlapping quarters out[h + i] and
// out[2h + i] is formed once and feeds both output streams, each with its own
// signed carry: the stream at h takes L[i] - D[i], the stream at 2h takes
// H[h + i] - D[h + i]. Two words at a time with 128-bit accumulators; when n
// is odd H[h + i] ends two words early and the last pair (and any odd word)
// runs after the main loop.
template <bool AddD>
void combine(uint32_t* out, const uint32_t* d, uint64_t n, uint64_t h) {
  typedef __int128 i128;
  uint64_t full = (n & 1) ? h - 2 : h;  // words i where H[h + i] exists
  uint32_t* low = out;
  uint32_t* mid = out + h;
  uint32_t* high = out + 2 * h;
  const uint32_t* top = out + 3 * h;
  const uint32_t* d2 = d + h;
  i128 carry1 = 0, carry2 = 0;
  uint64_t i = 0;
  for (; i + 2 <= full; i += 2) {
    i128 shared = (i128)(uint64_t)asLimbs(mid + i)[0] + (uint64_t)asLimbs(high + i)[0];
    i128 s1 = shared + (uint64_t)asLimbs(low + i)[0] + carry1;
    i128 s2 = shared + (uint64_t)asLimbs(top + i)[0] + carry2;
    if constexpr (AddD) {
      s1 += (uint64_t)asLimbs(d + i)[0];
      s2 += (uint64_t)asLimbs(d2 + i)[0];
    } else {
      s1 -= (uint64_t)asLimbs(d + i)[0];
      s2 -= (uint64_t)asLimbs(d2 + i)[0];
    }
    asLimbs(mid + i)[0] = (uint64_t)s1;
    asLimbs(high + i)[0] = (uint64_t)s2;
    carry1 = s1 >> 64;
    carry2 = s2 >> 64;
  }
  // Carries are small signed values now; the remaining words go one by one.
  int64_t c1 = (int64_t)carry1, c2 = (int64_t)carry2;
  for (; i < h; i++) {
    int64_t shared = (int64_t)mid[i] + (int64_t)high[i];
    int64_t topWord = i < full ? top[i] : 0;
    int64_t s1 = shared + low[i] + c1;
    int64_t s2 = shared + topWord + c2;
    if constexpr (AddD) {
      s1 += d[i];
      s2 += d2[i];
    } else {
      s1 -= d[i];
      s2 -= d2[i];
    }
    mid[i] = (uint32_t)s1;
    high[i] = (uint32_t)s2;
    c1 = s1 >> 32;
    c2 = s2 >> 32;
  }
  rippleSignedCarry(out + 2 * h, 2 * n - 2 * h, c1);
  rippleSignedCarry(out + 3 * h, 2 * n - 3 * h, c2);
}

}  // namespace

template <bool Square>
void karatsubaCore(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                   uint32_t* scratch, RecursionCutovers cut) {
  if (n < cut.karatsuba) {
    basecaseCore<Square>(a, b, n, out);
    return;
  }
  uint64_t h = (n + 1) / 2, l = n - h;
  uint32_t* inner = scratch + 2 * h;
  bool signsDiffer = false;
  if constexpr (Square) {
    absoluteDifference(a, a + h, h, l, out);
    karatsubaCore<true>(out, out, h, scratch, inner, cut);
    karatsubaCore<true>(a, a, h, out, inner, cut);
    karatsubaCore<true>(a + h, a + h, l, out + 2 * h, inner, cut);
  } else {
    bool negA = absoluteDifference(a, a + h, h, l, out);
    bool negB = absoluteDifference(b, b + h, h, l, out + h);
    signsDiffer = negA != negB;
    karatsubaCore<false>(out, out + h, h, scratch, inner, cut);
    karatsubaCore<false>(a, b, h, out, inner, cut);
    karatsubaCore<false>(a + h, b + h, l, out + 2 * h, inner, cut);
  }
  if (signsDiffer)
    combine<true>(out, scratch, n, h);
  else
    combine<false>(out, scratch, n, h);
}

template void karatsubaCore<true>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*,
                                  uint32_t*, RecursionCutovers);
template void karatsubaCore<false>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*,
                                   uint32_t*, RecursionCutovers);

void karatsubaSquareWith(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch,
                         RecursionCutovers cut) {
  assert(cut.karatsuba >= 2);
  karatsubaCore<true>(a, a, n, out, scratch, cut);
}

void karatsubaMultiplyWith(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                           uint32_t* scratch, RecursionCutovers cut) {
  assert(cut.karatsuba >= 2);
  karatsubaCore<false>(a, b, n, out, scratch, cut);
}

void karatsubaSquare(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch) {
  karatsubaCore<true>(a, a, n, out, scratch, squareCutovers);
}

void karatsubaMultiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                       uint32_t* scratch) {
  karatsubaCore<false>(a, b, n, out, scratch, multiplyCutovers);
}
