// The lowest Karatsuba level, where both halves go to the schoolbook kernels,
// compiled once per length: the same steps as karatsubaCore, with every
// difference, sum and carry over a length known at compile time, so that
// they unroll into straight carry chains. Most Karatsuba calls of a large
// product are of this kind.
#include "arith/karatsuba_leaf.h"

#include <x86intrin.h>

#include "arith/basecase_fixed.h"
#include "arith/basecase_limbs.h"

namespace {

typedef unsigned long long ull;

// out[0 .. W) = x + y (Subtract: x - y); returns the carry (borrow). out may
// equal x or y.
template <int W, bool Subtract>
inline unsigned char addFixed(const uint32_t* x, const uint32_t* y, uint32_t* out,
                              unsigned char carry = 0) {
#pragma GCC unroll 16
  for (int i = 0; i < W / 2; i++) {
    ull r;
    if constexpr (Subtract)
      carry = _subborrow_u64(carry, asLimbs(x)[i], asLimbs(y)[i], &r);
    else
      carry = _addcarry_u64(carry, asLimbs(x)[i], asLimbs(y)[i], &r);
    asLimbs(out)[i] = r;
  }
  if constexpr (W % 2 == 1) {
    unsigned int r;
    if constexpr (Subtract)
      carry = _subborrow_u32(carry, x[W - 1], y[W - 1], &r);
    else
      carry = _addcarry_u32(carry, x[W - 1], y[W - 1], &r);
    out[W - 1] = r;
  }
  return carry;
}

// Adds a carry (0 .. 3) at x[0], rippling through at most W words.
template <int W>
inline void rippleFixed(uint32_t* x, uint32_t carry) {
  for (int i = 0; i < W && carry != 0; i++) {
    uint32_t t = x[i] + carry;
    carry = t < carry;
    x[i] = t;
  }
}

// Subtracts a borrow (0 .. 1) at x[0], rippling through at most W words.
template <int W>
inline void rippleBorrowFixed(uint32_t* x, uint32_t borrow) {
  for (int i = 0; i < W && borrow != 0; i++) {
    uint32_t t = x[i];
    x[i] = t - borrow;
    borrow = t < borrow;
  }
}

// out[0 .. H) = |lo - hi|, lo of H words, hi of L = H or H - 1 words; true
// when hi is the larger.
template <int H, int L>
inline bool absoluteDifferenceFixed(const uint32_t* lo, const uint32_t* hi, uint32_t* out) {
  bool hiLarger = false;
  if (!(H > L && lo[H - 1] != 0)) {
    for (int i = L - 1; i >= 0; i--) {
      if (lo[i] != hi[i]) {
        hiLarger = lo[i] < hi[i];
        break;
      }
    }
  }
  if (!hiLarger) {
    unsigned char borrow = addFixed<L, true>(lo, hi, out);
    if constexpr (H > L) out[H - 1] = lo[H - 1] - borrow;
  } else {
    addFixed<L, true>(hi, lo, out);
    if constexpr (H > L) out[H - 1] = 0;
  }
  return hiLarger;
}

template <int N, bool Square>
void karatsubaLeaf(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t* scratch) {
  constexpr int H = (N + 1) / 2, L = N - H;
  constexpr int Top = 2 * N - 3 * H;  // words of hi*hi above 3H: H, or H - 2
  bool addD = false;
  if constexpr (Square) {
    absoluteDifferenceFixed<H, L>(a, a + H, out);
    fixedSquareKernels[H](out, scratch);
    fixedSquareKernels[H](a, out);
    fixedSquareKernels[L](a + H, out + 2 * H);
  } else {
    bool negA = absoluteDifferenceFixed<H, L>(a, a + H, out);
    bool negB = absoluteDifferenceFixed<H, L>(b, b + H, out + H);
    addD = negA != negB;
    fixedMultiplyKernels[H](out, out + H, scratch);
    fixedMultiplyKernels[H](a, b, out);
    fixedMultiplyKernels[L](a + H, b + H, out + 2 * H);
  }
  // Middle term at word H, as in karatsubaCore: t = L[H ..) + H[.. H) serves
  // word H (t + L[.. H)) and word 2H (t + H[H ..)); then D off or on.
  uint32_t* second = out + H;
  uint32_t* third = out + 2 * H;
  uint32_t carryT = addFixed<H, false>(second, third, third);
  uint32_t carryAtH = addFixed<H, false>(third, out, second);
  uint32_t carryAt2h = addFixed<Top, false>(third, out + 3 * H, third);
  if constexpr (Top < H) {
    // The two words of t above hi*hi's top take only the carry.
    unsigned int r;
    unsigned char c = _addcarry_u32(carryAt2h, third[Top], 0, &r);
    third[Top] = r;
    c = _addcarry_u32(c, third[Top + 1], 0, &r);
    third[Top + 1] = r;
    carryAt2h = c;
  }
  rippleFixed<2 * N - 2 * H>(out + 2 * H, carryT + carryAtH);
  if (addD) {
    uint32_t carryD = addFixed<2 * H, false>(second, scratch, second);
    rippleFixed<2 * N - 3 * H>(out + 3 * H, carryT + carryAt2h + carryD);
  } else {
    uint32_t borrowD = addFixed<2 * H, true>(second, scratch, second);
    uint32_t up = carryT + carryAt2h;
    if (up >= borrowD)
      rippleFixed<2 * N - 3 * H>(out + 3 * H, up - borrowD);
    else
      rippleBorrowFixed<2 * N - 3 * H>(out + 3 * H, borrowD - up);
  }
}

template <int N>
void squareLeaf(const uint32_t* a, uint32_t* out, uint32_t* scratch) {
  karatsubaLeaf<N, true>(a, a, out, scratch);
}

template <int N>
void multiplyLeaf(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t* scratch) {
  karatsubaLeaf<N, false>(a, b, out, scratch);
}

template <int... Lengths>
struct LeafTables {
  static constexpr KaratsubaSquareLeaf squares[] = {squareLeaf<Lengths>...};
  static constexpr KaratsubaMultiplyLeaf products[] = {multiplyLeaf<Lengths>...};
};

// Lengths karatsubaLeafMinimum .. karatsubaLeafMaximum.
using Tables = LeafTables<12, 13, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28,
                          29, 30, 31, 32>;
static_assert(sizeof(Tables::squares) / sizeof(Tables::squares[0]) ==
                  karatsubaLeafMaximum - karatsubaLeafMinimum + 1,
              "one leaf per length of the range");

}  // namespace

KaratsubaSquareLeaf karatsubaSquareLeaf(uint64_t n) {
  return Tables::squares[n - karatsubaLeafMinimum];
}

KaratsubaMultiplyLeaf karatsubaMultiplyLeaf(uint64_t n) {
  return Tables::products[n - karatsubaLeafMinimum];
}
