// The two lowest Karatsuba levels, compiled once per length for the build's
// cut-overs: the same steps as karatsubaCore, with every difference, sum and
// carry over a length known at compile time, so that they unroll into
// straight carry chains, and the half products called directly (schoolbook
// kernels below the cut-over). Most Karatsuba calls of a large product are
// of this kind.
#include "arith/recursive/karatsuba_fixed.h"

#include <x86intrin.h>

#include <utility>

#include "arith/recursive/basecase_fixed.h"
#include "arith/recursive/basecase_limbs.h"
#include "arith/tuning.h"

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

// Square (a * a) or product of N words with the Karatsuba cut-over K, N >= K.
template <int N, bool Square, int K>
__attribute__((noinline)) void karatsubaFixed(const uint32_t* a, const uint32_t* b, uint32_t* out,
                                              uint32_t* scratch);

// The half product of M words: schoolbook below K, else one more fixed level.
template <int M, bool Square, int K>
inline void halfProduct(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t* scratch) {
  if constexpr (M < K) {
    if constexpr (Square)
      fixedSquareKernels[M](a, out);
    else
      fixedMultiplyKernels[M](a, b, out);
  } else {
    karatsubaFixed<M, Square, K>(a, b, out, scratch);
  }
}

template <int N, bool Square, int K>
void karatsubaFixed(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t* scratch) {
  constexpr int H = (N + 1) / 2, L = N - H;
  constexpr int Top = 2 * N - 3 * H;  // words of hi*hi above 3H: H, or H - 2
  uint32_t* inner = scratch + 2 * H;
  bool addD = false;
  if constexpr (Square) {
    absoluteDifferenceFixed<H, L>(a, a + H, out);
    halfProduct<H, true, K>(out, out, scratch, inner);
    halfProduct<H, true, K>(a, a, out, inner);
    halfProduct<L, true, K>(a + H, a + H, out + 2 * H, inner);
  } else {
    bool negA = absoluteDifferenceFixed<H, L>(a, a + H, out);
    bool negB = absoluteDifferenceFixed<H, L>(b, b + H, out + H);
    addD = negA != negB;
    halfProduct<H, false, K>(out, out + H, scratch, inner);
    halfProduct<H, false, K>(a, b, out, inner);
    halfProduct<L, false, K>(a + H, b + H, out + 2 * H, inner);
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
void squareFixed(const uint32_t* a, uint32_t* out, uint32_t* scratch) {
  karatsubaFixed<N, true, (int)sqrK>(a, a, out, scratch);
}

template <int N>
void multiplyFixed(const uint32_t* a, const uint32_t* b, uint32_t* out, uint32_t* scratch) {
  karatsubaFixed<N, false, (int)elmK>(a, b, out, scratch);
}

template <int First, int... Offsets>
struct SquareTable {
  static constexpr KaratsubaFixedSquare entries[] = {squareFixed<First + Offsets>...};
};
template <int First, int... Offsets>
struct MultiplyTable {
  static constexpr KaratsubaFixedMultiply entries[] = {multiplyFixed<First + Offsets>...};
};

template <int First, int... Offsets>
constexpr auto squareTable(std::integer_sequence<int, Offsets...>) {
  return SquareTable<First, Offsets...>{};
}
template <int First, int... Offsets>
constexpr auto multiplyTable(std::integer_sequence<int, Offsets...>) {
  return MultiplyTable<First, Offsets...>{};
}

using Squares = decltype(squareTable<(int)sqrK>(
    std::make_integer_sequence<int, (int)(karatsubaFixedSquareMaximum - sqrK + 1)>{}));
using Products = decltype(multiplyTable<(int)elmK>(
    std::make_integer_sequence<int, (int)(karatsubaFixedMultiplyMaximum - elmK + 1)>{}));

}  // namespace

KaratsubaFixedSquare karatsubaFixedSquare(uint64_t n) {
  return n >= sqrK && n <= karatsubaFixedSquareMaximum ? Squares::entries[n - sqrK] : nullptr;
}

KaratsubaFixedMultiply karatsubaFixedMultiply(uint64_t n) {
  return n >= elmK && n <= karatsubaFixedMultiplyMaximum ? Products::entries[n - elmK] : nullptr;
}
