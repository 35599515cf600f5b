// Toom-3 squares and products: split into thirds of k = (n + 2) / 3 words,
// evaluate at 1, 2 and 1/2 (scaled by 4), five products of k + 1 words or
// less, one interpolation pass, one exact division by 6, one addition.
//
// Layout, with r = n - 2k words in the top third (r >= 1 since n >= 7):
//   out[0 .. k+1)        s2 = a0 + 2 a1 + 4 a2     (then z0 = a0 b0)
//   out[k+1 .. 2k+2)     s3 of b (products only)
//   out[2k+2 .. 3k+3)    s3 = 4 a0 + 2 a1 + a2     (then z4 at out[4k ..))
//   scratch[2k+2 ..)     s1 = a0 + a1 + a2; for products s1 of b at 3k+3 and
//                        s2 of b at 4k+4
//   scratch[0 ..), [2k ..), [4k ..)   p1, p2, p3, each 2k + 2 words, the top
//                        word zero and the word at 2k saved before the next
//                        product overwrites it
//   scratch + 6k + 2     scratch of the five recursive products
#include <cassert>

#include <x86intrin.h>

#include "arith/basecase_limbs.h"
#include "arith/recursive_internal.h"
#include "arith/word_ops.h"
#include "platform/console.h"

bool toom3CorruptForTesting = false;

namespace {

// Running sums of the three evaluations; `bits` is the width of the step
// (64 for a limb, 32 for a lone word).
struct Evaluation {
  typedef unsigned __int128 u128;
  u128 at1 = 0, at2 = 0, atHalf = 0;
  inline void step(uint64_t w0, uint64_t w1, uint64_t w2) {
    at1 += (u128)w0 + w1 + w2;
    at2 += (u128)w0 + ((u128)w1 << 1) + ((u128)w2 << 2);
    atHalf += ((u128)w0 << 2) + ((u128)w1 << 1) + w2;
  }
  inline void shift(int bits) {
    at1 >>= bits;
    at2 >>= bits;
    atHalf >>= bits;
  }
};

// The three evaluations of x (thirds of k, k and r words) into k + 1 words
// each, in one pass: two words at a time, a lone word where a length is odd.
void evaluate(const uint32_t* x, uint64_t k, uint64_t r, uint32_t* at1, uint32_t* at2,
              uint32_t* atHalf) {
  const uint32_t* x0 = x;
  const uint32_t* x1 = x + k;
  const uint32_t* x2 = x + 2 * k;
  Evaluation acc;
  auto storeLimb = [&](uint64_t i) {
    asLimbs(at1 + i)[0] = (uint64_t)acc.at1;
    asLimbs(at2 + i)[0] = (uint64_t)acc.at2;
    asLimbs(atHalf + i)[0] = (uint64_t)acc.atHalf;
    acc.shift(64);
  };
  auto storeWord = [&](uint64_t i) {
    at1[i] = (uint32_t)acc.at1;
    at2[i] = (uint32_t)acc.at2;
    atHalf[i] = (uint32_t)acc.atHalf;
    acc.shift(32);
  };
  uint64_t i = 0;
  for (; i + 2 <= r; i += 2) {
    acc.step(asLimbs(x0 + i)[0], asLimbs(x1 + i)[0], asLimbs(x2 + i)[0]);
    storeLimb(i);
  }
  if (i < r) {
    acc.step(x0[i], x1[i], x2[i]);
    storeWord(i);
    i++;
  }
  for (; i + 2 <= k; i += 2) {
    acc.step(asLimbs(x0 + i)[0], asLimbs(x1 + i)[0], 0);
    storeLimb(i);
  }
  if (i < k) {
    acc.step(x0[i], x1[i], 0);
    storeWord(i);
  }
  at1[k] = (uint32_t)acc.at1;
  at2[k] = (uint32_t)acc.at2;
  atHalf[k] = (uint32_t)acc.atHalf;
}

// The interpolation, two words at a time: three signed 128-bit accumulators
// take limb i of the five products and give limb i of 6 z1, 6 z3 and 2 z2.
struct Interpolation {
  typedef __int128 i128;
  i128 z1 = 0, z2 = 0, z3 = 0;
  inline void step(uint64_t p1, uint64_t p2, uint64_t p3, uint64_t z0, uint64_t z4) {
    i128 twelveP1 = (i128)p1 * 12;
    z2 += (i128)p1 * 10 + (i128)((unsigned __int128)z0 + z4) * 7 - p2 - p3;
    z1 += (i128)p3 * 2 + p2 - twelveP1 - (i128)z0 * 21 - (i128)z4 * 6;
    z3 += (i128)p2 * 2 + p3 - twelveP1 - (i128)z0 * 6 - (i128)z4 * 21;
  }
  inline void shift(int bits) {
    z1 >>= bits;
    z2 >>= bits;
    z3 >>= bits;
  }
};

// Interpolation pass over the 2k words of the products (k limbs, since all
// five arrays start at even word offsets), then their top words. On return
// scratch[0 .. 4k] holds 6 z1 + 6 z3 * 2^(64k) and out holds z0, z2 and z4
// in place (z2 halved as it goes and its top word added to z4).
void interpolate(uint32_t* out, uint32_t* scratch, uint64_t n, uint64_t k, uint64_t r,
                 const uint32_t saved[3]) {
  Limb* p1 = asLimbs(scratch);           // becomes 6 z1
  Limb* p2 = asLimbs(scratch + 2 * k);   // becomes 6 z3
  const Limb* p3 = asLimbs(scratch + 4 * k);
  const Limb* z0 = asLimbs(out);
  const Limb* z4 = asLimbs(out + 4 * k);
  uint32_t* z2Words = out + 2 * k;
  Limb* z2 = asLimbs(z2Words);
  Interpolation acc;
  auto emit = [&](uint64_t i) {
    uint64_t twice = (uint64_t)acc.z2;
    p1[i] = (uint64_t)acc.z1;
    p2[i] = (uint64_t)acc.z3;
    z2[i] = twice >> 1;
    if (i > 0) z2Words[2 * i - 1] |= (uint32_t)(twice << 31);
    acc.shift(64);
  };
  uint64_t i = 0;
  for (; i < r; i++) {
    acc.step(p1[i], p2[i], p3[i], z0[i], z4[i]);
    emit(i);
  }
  for (; i < k; i++) {
    acc.step(p1[i], p2[i], p3[i], z0[i], 0);
    emit(i);
  }
  // Word 2k: the saved top words of p1, p2, p3; z0 and z4 end below it.
  acc.step(saved[0], saved[1], saved[2], 0, 0);
  uint32_t twice = (uint32_t)acc.z2;
  z2Words[2 * k - 1] |= twice << 31;
  uint32_t z1Top = (uint32_t)acc.z1;
  scratch[4 * k] = (uint32_t)acc.z3;
  rippleCarry(scratch + 2 * k, 2 * k + 1, z1Top);  // 6 z1 and 6 z3 overlap in word 2k
  rippleCarry(out + 4 * k, 2 * n - 4 * k, twice >> 1);
  if (toom3CorruptForTesting) {
    toom3CorruptForTesting = false;
    scratch[0] ^= 1;
  }
}

// Divides x[0 .. 4k] (4k + 1 words: 6 z1 + 6 z3 * 2^(64k)) by 6 and adds the
// quotient to out at word k, over `span` words, rippling the carry through
// the `rest` words above. The quotient goes straight into the sum: it is
// formed from the bottom up as an exact division (halve, then multiply by the
// inverse of 3 modulo 2^64 with a borrow of 0, 1 or 2 carried upward), which
// leaves a non-zero final borrow or an odd x exactly when x is not a multiple
// of 6: then the fatal check ends the run. Quotient words beyond `span` are
// formed for the check only (they are zero when the product is right).
void divideBySixAndAdd(const uint32_t* x, uint64_t k, uint32_t* at, uint64_t span,
                       uint64_t rest) {
  const uint64_t inverse3 = 0xAAAAAAAAAAAAAAABull;  // 3 * inverse3 = 1 modulo 2^64
  const Limb* xl = asLimbs(x);
  Limb* target = asLimbs(at);
  uint64_t limbs = 2 * k + 1;                        // the top limb is x[4k] alone
  uint64_t addLimbs = span / 2;                      // whole limbs inside span
  uint64_t borrow = 0;
  unsigned char carry = 0;
  uint64_t next = xl[0];
  uint32_t lastHalf = 0;                             // quotient word at span - 1, odd span
  bool odd = (next & 1) != 0;
  for (uint64_t i = 0; i < limbs; i++) {
    uint64_t current = next;
    next = i + 2 < limbs ? (uint64_t)xl[i + 1] : (i + 1 < limbs ? x[4 * k] : 0);
    uint64_t y = (current >> 1) | (next << 63);
    uint64_t t = y - borrow;
    uint64_t q = t * inverse3;
    borrow = (y < borrow) + (q > 0x5555555555555555ull) + (q > 0xAAAAAAAAAAAAAAAAull);
    if (i < addLimbs) {
      unsigned long long sum;
      carry = _addcarry_u64(carry, target[i], q, &sum);
      target[i] = sum;
    } else if (i == addLimbs && (span & 1)) {
      lastHalf = (uint32_t)q;
    }
  }
  if (odd || borrow != 0)
    assertionFailure("Impossible Functional Result: ", "Toom-3 Multiplication",
                     "Division by 6 produced a non-zero remainder.");
  uint64_t total = carry;
  if (span & 1) {
    total += (uint64_t)at[span - 1] + lastHalf;
    at[span - 1] = (uint32_t)total;
    total >>= 32;
  }
  rippleCarry(at + span, rest, (uint32_t)total);
}

}  // namespace

template <bool Square>
void toom3Core(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
               uint32_t* scratch, RecursionCutovers cut) {
  if (n < cut.toom3) {
    karatsubaCore<Square>(a, b, n, out, scratch, cut);
    return;
  }
  uint64_t k = (n + 2) / 3;
  uint64_t r = n - 2 * k;
  uint64_t w = k + 1;
  uint32_t* inner = scratch + 6 * k + 2;
  uint32_t saved[3];

  uint32_t* s1a = scratch + 2 * k + 2;
  uint32_t* s2a = out;
  uint32_t* s3a = out + 2 * k + 2;
  evaluate(a, k, r, s1a, s2a, s3a);
  if constexpr (Square) {
    toom3Core<true>(s1a, s1a, w, scratch, inner, cut);
    saved[0] = scratch[2 * k];
    toom3Core<true>(s2a, s2a, w, scratch + 2 * k, inner, cut);
    saved[1] = scratch[4 * k];
    toom3Core<true>(s3a, s3a, w, scratch + 4 * k, inner, cut);
    saved[2] = scratch[6 * k];
    toom3Core<true>(a, a, k, out, inner, cut);
    toom3Core<true>(a + 2 * k, a + 2 * k, r, out + 4 * k, inner, cut);
  } else {
    uint32_t* s1b = scratch + 3 * k + 3;
    uint32_t* s2b = scratch + 4 * k + 4;
    uint32_t* s3b = out + k + 1;
    evaluate(b, k, r, s1b, s2b, s3b);
    toom3Core<false>(s1a, s1b, w, scratch, inner, cut);
    saved[0] = scratch[2 * k];
    toom3Core<false>(s2a, s2b, w, scratch + 2 * k, inner, cut);
    saved[1] = scratch[4 * k];
    toom3Core<false>(s3a, s3b, w, scratch + 4 * k, inner, cut);
    saved[2] = scratch[6 * k];
    toom3Core<false>(a, b, k, out, inner, cut);
    toom3Core<false>(a + 2 * k, b + 2 * k, r, out + 4 * k, inner, cut);
  }
  interpolate(out, scratch, n, k, r, saved);
  // z1 at word k and z3 at word 3k, together. Words of the quotient that
  // would fall beyond 2n are zero (the product fits), so they are not added.
  uint64_t span = 2 * n - k < 4 * k + 1 ? 2 * n - k : 4 * k + 1;
  divideBySixAndAdd(scratch, k, out + k, span, 2 * n - k - span);
}

template void toom3Core<true>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*,
                              RecursionCutovers);
template void toom3Core<false>(const uint32_t*, const uint32_t*, uint64_t, uint32_t*, uint32_t*,
                               RecursionCutovers);

void toom3SquareWith(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch,
                     RecursionCutovers cut) {
  assert(cut.karatsuba >= 2 && cut.toom3 >= 7);
  toom3Core<true>(a, a, n, out, scratch, cut);
}

void toom3MultiplyWith(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                       uint32_t* scratch, RecursionCutovers cut) {
  assert(cut.karatsuba >= 2 && cut.toom3 >= 7);
  toom3Core<false>(a, b, n, out, scratch, cut);
}

void toom3Square(const uint32_t* a, uint64_t n, uint32_t* out, uint32_t* scratch) {
  toom3Core<true>(a, a, n, out, scratch, squareCutovers);
}

void toom3Multiply(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out,
                   uint32_t* scratch) {
  toom3Core<false>(a, b, n, out, scratch, multiplyCutovers);
}
