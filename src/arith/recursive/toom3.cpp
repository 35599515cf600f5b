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

#include "arith/recursive/recursive_internal.h"
#include "arith/recursive/toom3_passes.h"

bool toom3CorruptForTesting = false;

template <bool Square>
void toom3Core(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out, uint32_t* scratch,
               RecursionCutovers cut) {
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
  toom3Evaluate(a, k, r, s1a, s2a, s3a);
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
    toom3Evaluate(b, k, r, s1b, s2b, s3b);
    toom3Core<false>(s1a, s1b, w, scratch, inner, cut);
    saved[0] = scratch[2 * k];
    toom3Core<false>(s2a, s2b, w, scratch + 2 * k, inner, cut);
    saved[1] = scratch[4 * k];
    toom3Core<false>(s3a, s3b, w, scratch + 4 * k, inner, cut);
    saved[2] = scratch[6 * k];
    toom3Core<false>(a, b, k, out, inner, cut);
    toom3Core<false>(a + 2 * k, b + 2 * k, r, out + 4 * k, inner, cut);
  }
  toom3Interpolate(out, scratch, n, k, r, saved);
  // z1 at word k and z3 at word 3k, together. Words of the quotient that
  // would fall beyond 2n are zero (the product fits), so they are not added.
  uint64_t span = 2 * n - k < 4 * k + 1 ? 2 * n - k : 4 * k + 1;
  toom3DivideBySixAndAdd(scratch, k, out + k, span, 2 * n - k - span);
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
