// Karatsuba squares and products, subtractive form: three half-size products
// lo*lo, hi*hi and |lo - hi|^2 (or |a_lo - a_hi| * |b_lo - b_hi|), and the
// middle term added back at word h by a few carry passes.
#include <cassert>

#include "arith/recursive/karatsuba_fixed.h"
#include "arith/recursive/recursive_internal.h"
#include "arith/numbers/word_ops.h"

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
// at word h. The sum t = L[h ..) + H[.. h) of the two overlapping quarters is
// formed once and serves both places it is needed: word h gets t + L[.. h),
// word 2h gets t + H[h ..), where H[h ..) is two words short when n is odd.
// Then D goes off (or on) at word h, and the carries of the four passes are
// rippled in at 2h and 3h. Each pass is a plain carry loop over 64-bit limbs,
// which runs faster than one fused loop with two signed carries.
template <bool AddD>
void combine(uint32_t* out, const uint32_t* d, uint64_t n, uint64_t h) {
  uint32_t* lowQuarter = out;
  uint32_t* second = out + h;
  uint32_t* third = out + 2 * h;
  const uint32_t* top = out + 3 * h;
  uint64_t topLength = 2 * n - 3 * h;  // h, or h - 2 when n is odd
  uint32_t carryT = addWords(second, third, h, third);
  uint32_t carryAtH = addWords(third, lowQuarter, h, second);
  uint32_t carryAt2h = addWords(third, top, topLength, third);
  carryAt2h = rippleCarry(third + topLength, h - topLength, carryAt2h);
  int64_t carryD = AddD ? (int64_t)addWords(second, d, 2 * h, second)
                        : -(int64_t)subtractWords(second, d, 2 * h, second);
  rippleCarry(out + 2 * h, 2 * n - 2 * h, carryT + carryAtH);
  rippleSignedCarry(out + 3 * h, 2 * n - 3 * h, (int64_t)carryT + carryAt2h + carryD);
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
  if constexpr (Square) {
    if (cut.karatsuba == sqrK && n <= karatsubaFixedSquareMaximum) {
      karatsubaFixedSquare(n)(a, out, scratch);
      return;
    }
  } else {
    if (cut.karatsuba == elmK && n <= karatsubaFixedMultiplyMaximum) {
      karatsubaFixedMultiply(n)(a, b, out, scratch);
      return;
    }
  }
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

template void karatsubaCore<true>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*,
                                  RecursionCutovers);
template void karatsubaCore<false>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*,
                                   RecursionCutovers);

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
