// Karatsuba squares and products, subtractive form: three half-size products
// lo*lo, hi*hi and |lo - hi|^2 (or |a_lo - a_hi| * |b_lo - b_hi|), combined in
// one pass over the words.
#include <cassert>

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
    int64_t acc = 0;
    for (uint64_t i = 0; i < l; i++) {
      acc += (int64_t)lo[i] - (int64_t)hi[i];
      out[i] = (uint32_t)acc;
      acc >>= 32;
    }
    if (h > l) out[h - 1] = (uint32_t)(lo[h - 1] + acc);
  } else {
    subtractWords(hi, lo, l, out);
    if (h > l) out[h - 1] = 0;
  }
  return hiLarger;
}

// The combination: with L = lo*lo in out[0 .. 2h), H = hi*hi in out[2h .. 2n)
// and D in scratch[0 .. 2h), adds the middle term L + H - D (L + H + D when
// `addD`) at word h. The sum of the two overlapping quarters out[h + i] and
// out[2h + i] is formed once and feeds both output streams.
template <bool AddD>
void combine(uint32_t* out, const uint32_t* d, uint64_t n, uint64_t h) {
  uint64_t full = (n & 1) ? h - 2 : h;  // words i where H[h + i] exists
  uint32_t* low = out;
  uint32_t* mid = out + h;
  uint32_t* high = out + 2 * h;
  const uint32_t* top = out + 3 * h;
  int64_t carry1 = 0, carry2 = 0;
  uint64_t i = 0;
  auto step = [&](uint64_t j, int64_t topWord) {
    int64_t shared = (int64_t)mid[j] + (int64_t)high[j];
    int64_t s1, s2;
    if constexpr (AddD) {
      s1 = shared + low[j] + d[j] + carry1;
      s2 = shared + topWord + d[h + j] + carry2;
    } else {
      s1 = shared + low[j] - d[j] + carry1;
      s2 = shared + topWord - d[h + j] + carry2;
    }
    mid[j] = (uint32_t)s1;
    high[j] = (uint32_t)s2;
    carry1 = s1 >> 32;
    carry2 = s2 >> 32;
  };
  for (; i + 2 <= full; i += 2) {
    step(i, top[i]);
    step(i + 1, top[i + 1]);
  }
  for (; i < full; i++) step(i, top[i]);
  for (; i < h; i++) step(i, 0);  // odd n: the top quarter is two words short
  rippleSignedCarry(out + 2 * h, 2 * n - 2 * h, carry1);
  rippleSignedCarry(out + 3 * h, 2 * n - 3 * h, carry2);
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
