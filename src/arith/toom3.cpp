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

#include "arith/recursive_internal.h"
#include "arith/word_ops.h"
#include "platform/console.h"

bool toom3CorruptForTesting = false;

namespace {

// The three evaluations of x (k words, then its top third of r words) into
// k + 1 words each, in one pass.
void evaluate(const uint32_t* x, uint64_t k, uint64_t r, uint32_t* at1, uint32_t* at2,
              uint32_t* atHalf) {
  const uint32_t* x0 = x;
  const uint32_t* x1 = x + k;
  const uint32_t* x2 = x + 2 * k;
  uint64_t c1 = 0, c2 = 0, c3 = 0;
  uint64_t i = 0;
  for (; i < r; i++) {
    uint64_t w0 = x0[i], w1 = x1[i], w2 = x2[i];
    c1 += w0 + w1 + w2;
    c2 += w0 + 2 * w1 + 4 * w2;
    c3 += 4 * w0 + 2 * w1 + w2;
    at1[i] = (uint32_t)c1;
    at2[i] = (uint32_t)c2;
    atHalf[i] = (uint32_t)c3;
    c1 >>= 32;
    c2 >>= 32;
    c3 >>= 32;
  }
  for (; i < k; i++) {
    uint64_t w0 = x0[i], w1 = x1[i];
    c1 += w0 + w1;
    c2 += w0 + 2 * w1;
    c3 += 4 * w0 + 2 * w1;
    at1[i] = (uint32_t)c1;
    at2[i] = (uint32_t)c2;
    atHalf[i] = (uint32_t)c3;
    c1 >>= 32;
    c2 >>= 32;
    c3 >>= 32;
  }
  at1[k] = (uint32_t)c1;
  at2[k] = (uint32_t)c2;
  atHalf[k] = (uint32_t)c3;
}

// One word of the interpolation: the three accumulators take word i of the
// five products and give word i of 6 z1, 6 z3 and 2 z2.
struct Interpolation {
  int64_t z1 = 0, z2 = 0, z3 = 0;
  inline void step(int64_t p1, int64_t p2, int64_t p3, int64_t z0, int64_t z4) {
    z2 += 10 * p1 + 7 * (z0 + z4) - p2 - p3;
    z1 += 2 * p3 + p2 - 12 * p1 - 21 * z0 - 6 * z4;
    z3 += p3 + 2 * p2 - 12 * p1 - 6 * z0 - 21 * z4;
  }
  inline void shift() {
    z1 >>= 32;
    z2 >>= 32;
    z3 >>= 32;
  }
};

// Interpolation pass over the 2k words of the products, then their top words.
// On return scratch[0 .. 4k] holds 6 z1 + 6 z3 * 2^(64k) and out[2k ..) holds
// z0, z2 and z4 in place (z2 halved as it goes and its top word added to z4).
void interpolate(uint32_t* out, uint32_t* scratch, uint64_t n, uint64_t k, uint64_t r,
                 const uint32_t saved[3]) {
  uint32_t* p1 = scratch;           // becomes 6 z1
  uint32_t* p2 = scratch + 2 * k;   // becomes 6 z3
  const uint32_t* p3 = scratch + 4 * k;
  const uint32_t* z0 = out;
  const uint32_t* z4 = out + 4 * k;
  uint32_t* z2 = out + 2 * k;
  Interpolation acc;
  auto emit = [&](uint64_t i) {
    uint32_t twice = (uint32_t)acc.z2;
    p1[i] = (uint32_t)acc.z1;
    p2[i] = (uint32_t)acc.z3;
    z2[i] = twice >> 1;
    if (i > 0) z2[i - 1] |= twice << 31;
    acc.shift();
  };
  uint64_t i = 0;
  for (; i < 2 * r; i++) {
    acc.step(p1[i], p2[i], p3[i], z0[i], z4[i]);
    emit(i);
  }
  for (; i < 2 * k; i++) {
    acc.step(p1[i], p2[i], p3[i], z0[i], 0);
    emit(i);
  }
  // Word 2k: the saved top words of p1, p2, p3; z0 and z4 end below it.
  acc.step(saved[0], saved[1], saved[2], 0, 0);
  uint32_t twice = (uint32_t)acc.z2;
  z2[2 * k - 1] |= twice << 31;
  uint32_t z1Top = (uint32_t)acc.z1;
  p2[2 * k] = (uint32_t)acc.z3;
  rippleCarry(p2, 2 * k + 1, z1Top);  // 6 z1 and 6 z3 overlap in word 2k
  rippleCarry(out + 4 * k, 2 * n - 4 * k, twice >> 1);
  if (toom3CorruptForTesting) {
    toom3CorruptForTesting = false;
    scratch[0] ^= 1;
  }
}

// x[0 .. len) /= 6 in place, top word first; the fatal check if it was not a
// multiple of 6.
void divideBySix(uint32_t* x, uint64_t len) {
  uint64_t remainder = 0;
  for (uint64_t i = len; i-- > 0;) {
    uint64_t current = (remainder << 32) | x[i];
    x[i] = (uint32_t)(current / 6);
    remainder = current % 6;
  }
  if (remainder != 0)
    assertionFailure("Impossible Functional Result: ", "Toom-3 Multiplication",
                     "Division by 6 produced a non-zero remainder.");
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
  divideBySix(scratch, 4 * k + 1);
  // z1 at word k and z3 at word 3k, together. Words of the quotient that
  // would fall beyond 2n are zero (the product fits), so they are not added.
  uint64_t span = 2 * n - k < 4 * k + 1 ? 2 * n - k : 4 * k + 1;
  uint32_t carry = addWordsInPlace(out + k, scratch, span);
  rippleCarry(out + k + span, 2 * n - k - span, carry);
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
