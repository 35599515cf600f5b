// The one-pass kernels of the Fermat transform: the sum of two elements
// together with their difference multiplied by 2^bits, written straight at
// its shifted position; the bare shift; and the multiplication by
// 2^(n/2) - 1 that turns a shift into one by an odd number of half bits.
// The inverse butterfly is in fermat_kernels_inverse.cpp.
//
// All work on 64-bit limbs through the processor's carry flag, two words
// at a time, with a single-word step where a run has an odd length.
//
// A shift by bits = 32q + r (q < W, r < 32) of the n-bit value d splits it
// into A = (d << bits) mod 2^n, words [q, W), and B = (d << bits) >> n,
// words [0, q] (its top part, the r high bits of d, at word q). The result
// is A - B: d's words from 0 to W - q - 1 give A and are stored as they
// come; the rest give B, whose words [0, q) are stored complemented:
// ~B = 2^(32q) - 1 - B, so 1 at word 0 and -1 at word q make them -B.
// That -1, B's word at q and the overflow word of d are then one small
// signed number added at word q, a carry that stops at the first word
// that absorbs it.
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

enum class Kind { butterfly, shift };

// The difference (or, for Kind::shift, the value itself) word by word:
// kind butterfly with `swap` gives b - a, without a - b; kind shift with
// `swap` gives 0 - a. The sum a + b goes to sum[] for a butterfly.
template <Kind kind, bool swap>
struct Step {
  static inline unsigned long long diff64(unsigned char& borrow, unsigned long long x,
                                          unsigned long long y) {
    unsigned long long d;
    if constexpr (kind == Kind::butterfly) {
      borrow = swap ? _subborrow_u64(borrow, y, x, &d) : _subborrow_u64(borrow, x, y, &d);
    } else if constexpr (swap) {
      borrow = _subborrow_u64(borrow, 0, x, &d);
    } else {
      d = x;
    }
    return d;
  }
  static inline unsigned int diff32(unsigned char& borrow, unsigned int x, unsigned int y) {
    unsigned int d;
    if constexpr (kind == Kind::butterfly) {
      borrow = swap ? _subborrow_u32(borrow, y, x, &d) : _subborrow_u32(borrow, x, y, &d);
    } else if constexpr (swap) {
      borrow = _subborrow_u32(borrow, 0, x, &d);
    } else {
      d = x;
    }
    return d;
  }
};

// The running state of shiftedKernel: the carry of the sum, the borrow of
// the difference, d's last word.
struct Chains {
  unsigned char carry, borrow;
  unsigned long long previous;
};

// L limbs (2L words) of the kernel from word j: the sum to sum + j, the
// shifted difference to out + at, plain (part A) or subtracted from zero
// (`wrapped`, part B, stored complemented). Each chain runs through all L
// limbs in turn, so the carry flag is saved and restored once per chain
// and block.
template <Kind kind, bool swap, bool wrapped, bool whole, int L>
inline void shiftedBlock(Chains& c, uint32_t* sum, uint32_t* out, const uint32_t* a,
                         const uint32_t* b, uint64_t j, uint64_t at, uint32_t r) {
  using S = Step<kind, swap>;
  unsigned long long x[L], y[L], d[L];
#pragma GCC unroll 4
  for (int u = 0; u < L; u++) {
    x[u] = load64(a + j + 2 * u);
    y[u] = kind == Kind::butterfly ? load64(b + j + 2 * u) : 0;
  }
  if constexpr (kind == Kind::butterfly) {
#pragma GCC unroll 4
    for (int u = 0; u < L; u++) {
      unsigned long long t;
      c.carry = _addcarry_u64(c.carry, x[u], y[u], &t);
      store64(sum + j + 2 * u, t);
    }
  }
#pragma GCC unroll 4
  for (int u = 0; u < L; u++) d[u] = S::diff64(c.borrow, x[u], y[u]);
  if constexpr (!whole) {
    const uint32_t down = 32 - r;
#pragma GCC unroll 4
    for (int u = 0; u < L; u++) {
      const unsigned long long shifted = (d[u] << r) | (c.previous >> down);
      c.previous = d[u] >> 32;
      d[u] = shifted;
    }
  }
  if constexpr (wrapped) {
#pragma GCC unroll 4
    for (int u = 0; u < L; u++) d[u] = ~d[u];
  }
#pragma GCC unroll 4
  for (int u = 0; u < L; u++) store64(out + at + 2 * u, d[u]);
}

// One word of the kernel, for runs of odd length.
template <Kind kind, bool swap, bool wrapped>
inline void shiftedWord(Chains& c, uint32_t* sum, uint32_t* out, const uint32_t* a,
                        const uint32_t* b, uint64_t j, uint64_t at, uint32_t r) {
  const unsigned int x = a[j], y = kind == Kind::butterfly ? b[j] : 0;
  if constexpr (kind == Kind::butterfly) {
    unsigned int t;
    c.carry = _addcarry_u32(c.carry, x, y, &t);
    sum[j] = t;
  }
  const unsigned int d = Step<kind, swap>::diff32(c.borrow, x, y);
  const uint32_t shifted = uint32_t((uint64_t(d) << r) | (c.previous >> (32 - r)));
  c.previous = d;
  out[at] = wrapped ? ~shifted : shifted;
}

// Words [from, to) of d to out + (j + offset); `fast` takes the ADX loops
// (only when fermatAdxUsable()).
template <Kind kind, bool swap, bool wrapped, bool fast>
inline void shiftedRun(Chains& c, uint32_t* sum, uint32_t* out, const uint32_t* a,
                       const uint32_t* b, uint64_t from, uint64_t to, uint64_t offset,
                       uint32_t r) {
  uint64_t j = from;
#ifdef NUMBRELLA_FERMAT_ADX
  if constexpr (fast && kind == Kind::butterfly) {
    const uint64_t blocks = (to - from) / 8;
    if (blocks > 0) {
      uint64_t carry = c.carry, noBorrow = 1 - c.borrow;
      const uint32_t* u = swap ? b : a;
      const uint32_t* v = swap ? a : b;
      if (r == 0) {
        fermat_adx::forwardWords<wrapped>(u + j, v + j, sum + j, out + j + offset, blocks, carry,
                                          noBorrow);
        c.previous = 0;
      } else {
        uint64_t previous = c.previous << 32;
        fermat_adx::forwardBits<wrapped>(u + j, v + j, sum + j, out + j + offset, blocks, r, carry,
                                         noBorrow, previous);
        c.previous = previous >> 32;
      }
      c.carry = uint8_t(carry);
      c.borrow = uint8_t(1 - noBorrow);
      j += 8 * blocks;
    }
  }
#endif
  // A whole-word shift needs no bit shifting: d's last word is then only
  // wanted at the end, for part B's high word at q, which is 0.
  if (r == 0) {
    for (; j + 8 <= to; j += 8)
      shiftedBlock<kind, swap, wrapped, true, 4>(c, sum, out, a, b, j, j + offset, 0);
    c.previous = 0;
  } else {
    for (; j + 8 <= to; j += 8)
      shiftedBlock<kind, swap, wrapped, false, 4>(c, sum, out, a, b, j, j + offset, r);
  }
  for (; j + 2 <= to; j += 2)
    shiftedBlock<kind, swap, wrapped, false, 1>(c, sum, out, a, b, j, j + offset, r);
  if (j < to) shiftedWord<kind, swap, wrapped>(c, sum, out, a, b, j, j + offset, r);
}

// sum = a + b (butterfly only) and out = d * 2^(32q + r) with d as above.
// sum may alias a or b; out must not overlap a or b unless q = 0.
template <Kind kind, bool swap, bool fast>
void shiftedKernel(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t W,
                   uint64_t q, uint32_t r) {
  const int64_t topA = int32_t(a[W]);
  const int64_t topB = kind == Kind::butterfly ? int64_t(int32_t(b[W])) : 0;
  Chains c = {0, 0, 0};
  const uint64_t split = W - q;
  // Words [0, W - q) of d: the part A, stored at q upward; the rest, the
  // part B, subtracted from zero at word 0 upward.
  shiftedRun<kind, swap, false, fast>(c, sum, out, a, b, 0, split, q, r);
  shiftedRun<kind, swap, true, fast>(c, sum, out, a, b, split, W, uint64_t(0) - split, r);
  // d = words + topD * 2^n, and 2^n * 2^bits = -2^bits.
  int64_t topD;
  if constexpr (kind == Kind::butterfly) {
    topD = swap ? topB - topA - c.borrow : topA - topB - c.borrow;
    fermatFold(sum, W, topA + topB + c.carry);
  } else {
    topD = swap ? -topA - c.borrow : topA;
  }
  const int64_t highAtQ = int64_t(c.previous >> (32 - r));
  const int64_t complemented = q > 0 ? 1 : 0;
  const int64_t delta = -(complemented + highAtQ) - topD * (int64_t(1) << r);
  const int64_t top = rippleAt(out, W, q, delta, 0);
  fermatFold(out, W, rippleAt(out, W, 0, complemented, top));
}

template <Kind kind, bool fast>
void shiftedDispatch(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                     uint64_t W, uint64_t bits) {
  const uint64_t n = 32 * W;
  if (bits >= n) {
    bits -= n;
    shiftedKernel<kind, true, fast>(sum, out, a, b, W, bits >> 5, uint32_t(bits & 31));
  } else {
    shiftedKernel<kind, false, fast>(sum, out, a, b, W, bits >> 5, uint32_t(bits & 31));
  }
}

}  // namespace

bool fermatAdxUsable() {
#ifdef NUMBRELLA_FERMAT_ADX
  static const bool usable = __builtin_cpu_supports("adx") && __builtin_cpu_supports("bmi2");
  return usable;
#else
  return false;
#endif
}

void fermatSumShifted(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                      uint64_t W, uint64_t bits) {
  if (fermatAdxUsable()) {
    shiftedDispatch<Kind::butterfly, true>(sum, out, a, b, W, bits);
  } else {
    shiftedDispatch<Kind::butterfly, false>(sum, out, a, b, W, bits);
  }
}

void fermatShiftWords(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits) {
  shiftedDispatch<Kind::shift, false>(nullptr, out, x, nullptr, W, bits);
}

void fermatSumShiftedPortable(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                              uint64_t W, uint64_t bits) {
  shiftedDispatch<Kind::butterfly, false>(sum, out, a, b, W, bits);
}

bool fermatTimesRootTwoFactor(uint32_t* y, uint64_t W) {
  if (W % 2 != 0) return false;
  if (y[W] != 0) {
    // -1 times the factor is 1 - 2^(n/2), that is 2^n - 2^(n/2) + 2.
    memset(y, 0, 4 * (W + 1));
    memset(y + W / 2, 0xff, 4 * (W / 2));
    y[0] = 2;
    return true;
  }
  // y = L + H 2^(n/2): y (2^(n/2) - 1) = -(L + H) + (L - H) 2^(n/2). Word i
  // of the low half and word i of the high half depend on L_i and H_i only,
  // so the pass runs in place.
  const uint64_t h = W / 2;
  uint32_t* low = y;
  uint32_t* high = y + h;
  unsigned char b1 = 0, b2 = 0, b3 = 0;
  uint64_t i = 0;
  for (; i + 2 <= h; i += 2) {
    const unsigned long long l = load64(low + i), u = load64(high + i);
    unsigned long long t, s, d;
    b1 = _subborrow_u64(b1, 0, l, &t);
    b2 = _subborrow_u64(b2, t, u, &s);
    b3 = _subborrow_u64(b3, l, u, &d);
    store64(low + i, s);
    store64(high + i, d);
  }
  if (i < h) {
    const unsigned int l = low[i], u = high[i];
    unsigned int t, s, d;
    b1 = _subborrow_u32(b1, 0, l, &t);
    b2 = _subborrow_u32(b2, t, u, &s);
    b3 = _subborrow_u32(b3, l, u, &d);
    low[i] = s;
    high[i] = d;
  }
  // The low chain left (b1 + b2) 2^(n/2) too much, the high chain b3 2^n.
  fermatFold(y, W, rippleAt(y, W, h, -int64_t(b1) - int64_t(b2), -int64_t(b3)));
  return true;
}
