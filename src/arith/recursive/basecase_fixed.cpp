// Schoolbook kernels of fixed length, 1 to 16 words, fully unrolled: the
// leaves of every Karatsuba and Toom-3 recursion are of these lengths. They
// work column by column over 64-bit limbs (product scanning): each column's
// 128-bit products are summed into a three-limb accumulator that lives in
// registers, and each output limb is stored once. An odd word count makes the
// top limb a single word (read as 32 bits, so nothing past the array is
// touched), and the output then ends one word short of a whole limb, which is
// the unstored zero top limb.
#include "arith/recursive/basecase_fixed.h"

#include <cstdint>
#include <cstring>

namespace {

typedef unsigned long long ull;

// Three-limb column accumulator. The multiply-accumulate step is written in
// assembly (mulx or mul, then add, adc, adc) since compilers route the 128-bit
// carry chain through memory; everything else is left to the compiler.
struct Column {
  ull lo = 0, hi = 0, top = 0;
  inline void add(ull x, ull y) {
    ull pl, ph;
#if defined(__BMI2__)
    __asm__(
        "mulx %[y], %[pl], %[ph]\n\t"
        "add %[pl], %[lo]\n\t"
        "adc %[ph], %[hi]\n\t"
        "adc $0, %[top]"
        : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top), [pl] "=&r"(pl), [ph] "=&r"(ph)
        : "d"(x), [y] "r"(y)
        : "cc");
#else
    __asm__(
        "mulq %[y]\n\t"
        "add %%rax, %[lo]\n\t"
        "adc %%rdx, %[hi]\n\t"
        "adc $0, %[top]"
        : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top), "=a"(pl), "=d"(ph)
        : "a"(x), [y] "r"(y)
        : "cc");
#endif
  }
  inline void addLimb(ull v) {
    __asm__(
        "add %[v], %[lo]\n\t"
        "adc $0, %[hi]\n\t"
        "adc $0, %[top]"
        : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top)
        : [v] "r"(v)
        : "cc");
  }
  // Adds twice the accumulator `c` (which is below 2^191).
  inline void addTwice(const Column& c) {
    __asm__(
        "add %[l], %[lo]\n\t"
        "adc %[h], %[hi]\n\t"
        "adc %[t], %[top]\n\t"
        "add %[l], %[lo]\n\t"
        "adc %[h], %[hi]\n\t"
        "adc %[t], %[top]"
        : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top)
        : [l] "r"(c.lo), [h] "r"(c.hi), [t] "r"(c.top)
        : "cc");
  }
  inline void subtractLimb(ull v) {
    __asm__(
        "sub %[v], %[lo]\n\t"
        "sbb $0, %[hi]\n\t"
        "sbb $0, %[top]"
        : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top)
        : [v] "r"(v)
        : "cc");
  }
  // The finished limb; the accumulator moves down by one limb.
  inline ull shift() {
    ull limb = lo;
    lo = hi;
    hi = top;
    top = 0;
    return limb;
  }
};

template <int N, bool OddTop>
inline void loadLimbs(const uint32_t* a, ull (&x)[N]) {
#pragma GCC unroll 16
  for (int i = 0; i < N; i++) {
    if (OddTop && i == N - 1)
      x[i] = a[2 * i];
    else
      std::memcpy(&x[i], a + 2 * i, 8);
  }
}

template <int N, bool OddTop>
inline void storeLimbs(uint32_t* out, int k, ull limb) {
  // With an odd top, limb 2N - 1 lies beyond the 4N - 2 words of out; it is
  // zero and is not stored.
  if (OddTop && k == 2 * N - 1) return;
  std::memcpy(out + 2 * k, &limb, 8);
}

template <int N, bool OddTop>
void fixedMultiply(const uint32_t* a, const uint32_t* b, uint32_t* out) {
  ull x[N], y[N];
  loadLimbs<N, OddTop>(a, x);
  loadLimbs<N, OddTop>(b, y);
  Column acc;
#pragma GCC unroll 32
  for (int k = 0; k < 2 * N - 1; k++) {
#pragma GCC unroll 16
    for (int i = (k < N ? 0 : k - N + 1); i <= (k < N ? k : N - 1); i++) acc.add(x[i], y[k - i]);
    storeLimbs<N, OddTop>(out, k, acc.shift());
  }
  storeLimbs<N, OddTop>(out, 2 * N - 1, acc.lo);
}

// Squares use the doubled operand d = 2a (limbs d[j] = a[j] << 1 | a[j-1] >> 63,
// d[N] = a's top bit), which makes the cross products come out doubled:
// 2 sum_{j>i} a[j] B^j = sum_{j>i} d[j] B^j - t[i] B^(i+1), t[i] the top bit
// of a[i]. So column k sums a[i] d[k-i] over i < k - i, the square a[k/2]^2
// when k is even, and less t[i] a[i] when k = 2i + 1; the column stays
// non-negative, since its product a[i] d[i+1] is at least a[i] when t[i] is 1.
template <int N, bool OddTop>
void fixedSquareDoubled(const uint32_t* a, uint32_t* out) {
  ull x[N], d[N];
  loadLimbs<N, OddTop>(a, x);
#pragma GCC unroll 16
  for (int j = 1; j < N; j++) d[j] = (x[j] << 1) | (x[j - 1] >> 63);
  ull topMask = OddTop ? 0 : 0 - (x[N - 1] >> 63);  // d[N] as a mask
  Column acc;
#pragma GCC unroll 32
  for (int k = 0; k < 2 * N; k++) {
#pragma GCC unroll 16
    for (int i = (k < N ? 0 : k - N); 2 * i < k; i++) {
      if (k - i < N)
        acc.add(x[i], d[k - i]);
      else if (!OddTop)
        acc.addLimb(x[i] & topMask);
    }
    if (k % 2 == 0) acc.add(x[k / 2], x[k / 2]);
    if (k % 2 == 1 && !(OddTop && k / 2 == N - 1))
      acc.subtractLimb(x[k / 2] & (0 - (x[k / 2] >> 63)));
    storeLimbs<N, OddTop>(out, k, acc.shift());
  }
}

// The cross products summed per column, then added twice.
template <int N, bool OddTop>
void fixedSquareColumns(const uint32_t* a, uint32_t* out) {
  ull x[N];
  loadLimbs<N, OddTop>(a, x);
  Column acc;
#pragma GCC unroll 32
  for (int k = 0; k < 2 * N - 1; k++) {
    Column cross;
#pragma GCC unroll 16
    for (int i = (k < N ? 0 : k - N + 1); 2 * i < k; i++) cross.add(x[i], x[k - i]);
    acc.addTwice(cross);
    if (k % 2 == 0) acc.add(x[k / 2], x[k / 2]);
    storeLimbs<N, OddTop>(out, k, acc.shift());
  }
  storeLimbs<N, OddTop>(out, 2 * N - 1, acc.lo);
}

template <int N, bool OddTop>
void fixedSquare(const uint32_t* a, uint32_t* out) {
  // Measured on the build machine: the doubled operand wins except for the
  // shortest even lengths.
  if constexpr (OddTop || N >= 6)
    fixedSquareDoubled<N, OddTop>(a, out);
  else
    fixedSquareColumns<N, OddTop>(a, out);
}

// Kernel for n words: N = (n + 1) / 2 limbs, odd top when n is odd.
template <int Words>
void multiplyWords(const uint32_t* a, const uint32_t* b, uint32_t* out) {
  fixedMultiply<(Words + 1) / 2, (Words & 1) != 0>(a, b, out);
}
template <int Words>
void squareWords(const uint32_t* a, uint32_t* out) {
  fixedSquare<(Words + 1) / 2, (Words & 1) != 0>(a, out);
}

}  // namespace

const FixedMultiplyKernel fixedMultiplyKernels[basecaseFixedMaximum + 1] = {
    nullptr,           multiplyWords<1>,  multiplyWords<2>,  multiplyWords<3>,  multiplyWords<4>,
    multiplyWords<5>,  multiplyWords<6>,  multiplyWords<7>,  multiplyWords<8>,  multiplyWords<9>,
    multiplyWords<10>, multiplyWords<11>, multiplyWords<12>, multiplyWords<13>, multiplyWords<14>,
    multiplyWords<15>, multiplyWords<16>};

const FixedSquareKernel fixedSquareKernels[basecaseFixedMaximum + 1] = {
    nullptr,         squareWords<1>,  squareWords<2>,  squareWords<3>,  squareWords<4>,
    squareWords<5>,  squareWords<6>,  squareWords<7>,  squareWords<8>,  squareWords<9>,
    squareWords<10>, squareWords<11>, squareWords<12>, squareWords<13>, squareWords<14>,
    squareWords<15>, squareWords<16>};
