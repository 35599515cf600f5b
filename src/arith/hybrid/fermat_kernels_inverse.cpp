// The inverse butterfly of the Fermat transform in one pass: t = b * 2^bits
// read straight from its shifted place, then a + t and a - t.
#include <cstdint>
#include <cstring>

#include <immintrin.h>

#include "arith/hybrid/fermat.h"
#include "arith/hybrid/fermat_words.h"
#if defined(__x86_64__)
#include "arith/hybrid/fermat_kernels_adx.h"
#endif

using fermat_words::load64;
using fermat_words::rippleAt;
using fermat_words::store64;

namespace {

// Word pair p, p + 1 of b << r for 1 <= p, p + 1 < W: b's words p + 1, p
// and the high bits of p - 1.
inline unsigned long long shiftedPairAt(const uint32_t* b, uint64_t p, uint32_t r) {
  return (load64(b + p) << r) | (uint64_t(b[p - 1]) >> (32 - r));
}

// The inverse butterfly: with t = b * 2^(32q + r) = A - B (the parts of
// fermat_kernels.cpp), plus = a + t and minus = a - t, in one pass in the
// order of the output words: below q, plus subtracts B and minus adds it;
// above q, plus adds A and minus subtracts it; word q has both, in signed
// arithmetic, and what its carry can't hand on as a carry flag is rippled
// in after.
// With `swap` t is negated (the shift passed n): sum gets minus, out plus.
template <bool swap, bool fast>
void shiftedSumKernel(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                      uint64_t W, uint64_t q, uint32_t r) {
  uint32_t* plus = swap ? out : sum;
  uint32_t* minus = swap ? sum : out;
  const int64_t topA = int32_t(a[W]), topB = int32_t(b[W]);
  const uint32_t down = 32 - r;
  unsigned char borrowPlus = 0, carryMinus = 0;
  uint64_t p = 0;
#ifdef NUMBRELLA_FERMAT_ADX
  if (fast && q >= 8) {
    uint64_t carry = 0, noBorrow = 1;
    if (r == 0) {
      fermat_adx::inverseWords(a, b + W - q, minus, plus, q / 8, carry, noBorrow);
    } else {
      fermat_adx::inverseBlocks(a, b + W - q, minus, plus, q / 8, r, carry, noBorrow);
    }
    carryMinus = uint8_t(carry);
    borrowPlus = uint8_t(1 - noBorrow);
    p = q / 8 * 8;
  }
#endif
  for (; p + 2 <= q; p += 2) {
    const unsigned long long x = load64(a + p), y = shiftedPairAt(b, p + W - q, r);
    unsigned long long u, v;
    borrowPlus = _subborrow_u64(borrowPlus, x, y, &u);
    carryMinus = _addcarry_u64(carryMinus, x, y, &v);
    store64(plus + p, u);
    store64(minus + p, v);
  }
  if (p < q) {
    const unsigned int x = a[p];
    const unsigned int y = uint32_t((uint64_t(b[W - 1]) << r) | (uint64_t(b[W - 2]) >> down));
    unsigned int u, v;
    borrowPlus = _subborrow_u32(borrowPlus, x, y, &u);
    carryMinus = _addcarry_u32(carryMinus, x, y, &v);
    plus[p] = u;
    minus[p] = v;
  }
  // Word q: A's lowest word and B's highest.
  const int64_t lowA = uint32_t(b[0] << r), highB = int64_t(uint64_t(b[W - 1]) >> down);
  const int64_t aq = a[q];
  const int64_t atPlus = aq + lowA - highB - borrowPlus;
  const int64_t atMinus = aq - lowA + highB + carryMinus;
  plus[q] = uint32_t(atPlus);
  minus[q] = uint32_t(atMinus);
  // Carries of -1 (plus) or +1 (minus) don't fit the flags: kept for later.
  unsigned char carryPlus = (atPlus >> 32) > 0 ? 1 : 0;
  unsigned char borrowMinus = (atMinus >> 32) < 0 ? 1 : 0;
  const int64_t laterPlus = (atPlus >> 32) < 0 ? -1 : 0;
  const int64_t laterMinus = (atMinus >> 32) > 0 ? 1 : 0;
  p = q + 1;
#ifdef NUMBRELLA_FERMAT_ADX
  if (fast && W - p >= 8) {
    const uint64_t blocks = (W - p) / 8;
    uint64_t carry = carryPlus, noBorrow = 1 - borrowMinus;
    if (r == 0) {
      fermat_adx::inverseWords(a + p, b + 1, plus + p, minus + p, blocks, carry, noBorrow);
    } else {
      fermat_adx::inverseBlocks(a + p, b + 1, plus + p, minus + p, blocks, r, carry, noBorrow);
    }
    carryPlus = uint8_t(carry);
    borrowMinus = uint8_t(1 - noBorrow);
    p += 8 * blocks;
  }
#endif
  for (; p + 2 <= W; p += 2) {
    const unsigned long long x = load64(a + p), y = shiftedPairAt(b, p - q, r);
    unsigned long long u, v;
    carryPlus = _addcarry_u64(carryPlus, x, y, &u);
    borrowMinus = _subborrow_u64(borrowMinus, x, y, &v);
    store64(plus + p, u);
    store64(minus + p, v);
  }
  if (p < W) {
    const unsigned int x = a[p];
    const unsigned int y = uint32_t((uint64_t(b[p - q]) << r) | (uint64_t(b[p - q - 1]) >> down));
    unsigned int u, v;
    carryPlus = _addcarry_u32(carryPlus, x, y, &u);
    borrowMinus = _subborrow_u32(borrowMinus, x, y, &v);
    plus[p] = u;
    minus[p] = v;
  }
  // b's overflow word: t has -topB 2^(32q + r) besides A - B.
  const int64_t topTerm = topB * (int64_t(1) << r);
  int64_t top = rippleAt(plus, W, q, -topTerm, topA + carryPlus);
  fermatFold(plus, W, rippleAt(plus, W, q + 1, laterPlus, top));
  top = rippleAt(minus, W, q, topTerm, topA - borrowMinus);
  fermatFold(minus, W, rippleAt(minus, W, q + 1, laterMinus, top));
}

template <bool fast>
void shiftedSumDispatch(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                        uint64_t W, uint64_t bits) {
  const uint64_t n = 32 * W;
  if (bits >= n) {
    bits -= n;
    shiftedSumKernel<true, fast>(sum, out, a, b, W, bits >> 5, uint32_t(bits & 31));
  } else {
    shiftedSumKernel<false, fast>(sum, out, a, b, W, bits >> 5, uint32_t(bits & 31));
  }
}

}  // namespace

void fermatShiftedSum(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                      uint64_t W, uint64_t bits) {
  if (fermatAdxUsable()) {
    shiftedSumDispatch<true>(sum, out, a, b, W, bits);
  } else {
    shiftedSumDispatch<false>(sum, out, a, b, W, bits);
  }
}

void fermatShiftedSumPortable(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                              uint64_t W, uint64_t bits) {
  shiftedSumDispatch<false>(sum, out, a, b, W, bits);
}
