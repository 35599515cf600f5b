// Schoolbook kernels of fixed length, 1 to 16 words, fully unrolled: the
// leaves of every Karatsuba and Toom-3 recursion are of these lengths. They
// work column by column over 64-bit limbs (product scanning): each column's
// 128-bit products are summed into a three-limb accumulator that lives in
// registers, and each output limb is stored once. An odd word count makes the
// top limb a single word (read as 32 bits, so nothing past the array is
// touched), and the output then ends one word short of a whole limb, which is
// the unstored zero top limb.
#include <cstdint>
#include <cstring>

#include "arith/basecase_fixed.h"

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
    __asm__("mulx %[y], %[pl], %[ph]\n\t"
            "add %[pl], %[lo]\n\t"
            "adc %[ph], %[hi]\n\t"
            "adc $0, %[top]"
            : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top), [pl] "=&r"(pl), [ph] "=&r"(ph)
            : "d"(x), [y] "r"(y)
            : "cc");
#else
    __asm__("mulq %[y]\n\t"
            "add %%rax, %[lo]\n\t"
            "adc %%rdx, %[hi]\n\t"
            "adc $0, %[top]"
            : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top), "=a"(pl), "=d"(ph)
            : "a"(x), [y] "r"(y)
            : "cc");
#endif
  }
  // Adds twice the accumulator `c` (which is below 2^191).
  inline void addTwice(const Column& c) {
    __asm__("add %[l], %[lo]\n\t"
            "adc %[h], %[hi]\n\t"
            "adc %[t], %[top]\n\t"
            "add %[l], %[lo]\n\t"
            "adc %[h], %[hi]\n\t"
            "adc %[t], %[top]"
            : [lo] "+r"(lo), [hi] "+r"(hi), [top] "+r"(top)
            : [l] "r"(c.lo), [h] "r"(c.hi), [t] "r"(c.top)
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
    for (int i = (k < N ? 0 : k - N + 1); i <= (k < N ? k : N - 1); i++)
      acc.add(x[i], y[k - i]);
    storeLimbs<N, OddTop>(out, k, acc.shift());
  }
  storeLimbs<N, OddTop>(out, 2 * N - 1, acc.lo);
}

template <int N, bool OddTop>
void fixedSquare(const uint32_t* a, uint32_t* out) {
  ull x[N];
  loadLimbs<N, OddTop>(a, x);
  Column acc;
#pragma GCC unroll 32
  for (int k = 0; k < 2 * N - 1; k++) {
    // Products x[i] x[k - i] with i < k - i, summed once and doubled.
    Column cross;
#pragma GCC unroll 16
    for (int i = (k < N ? 0 : k - N + 1); 2 * i < k; i++) cross.add(x[i], x[k - i]);
    acc.addTwice(cross);
    if (k % 2 == 0) acc.add(x[k / 2], x[k / 2]);
    storeLimbs<N, OddTop>(out, k, acc.shift());
  }
  storeLimbs<N, OddTop>(out, 2 * N - 1, acc.lo);
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
    nullptr,           multiplyWords<1>,  multiplyWords<2>,  multiplyWords<3>,
    multiplyWords<4>,  multiplyWords<5>,  multiplyWords<6>,  multiplyWords<7>,
    multiplyWords<8>,  multiplyWords<9>,  multiplyWords<10>, multiplyWords<11>,
    multiplyWords<12>, multiplyWords<13>, multiplyWords<14>, multiplyWords<15>,
    multiplyWords<16>};

const FixedSquareKernel fixedSquareKernels[basecaseFixedMaximum + 1] = {
    nullptr,         squareWords<1>,  squareWords<2>,  squareWords<3>,  squareWords<4>,
    squareWords<5>,  squareWords<6>,  squareWords<7>,  squareWords<8>,  squareWords<9>,
    squareWords<10>, squareWords<11>, squareWords<12>, squareWords<13>, squareWords<14>,
    squareWords<15>, squareWords<16>};
