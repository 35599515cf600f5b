// Schoolbook kernels over 64-bit limbs. A word array read two words at a time
// is an array of 64-bit limbs (little-endian), so the word-level schoolbook
// entries hand their even-length parts to these loops, which do a quarter of
// the multiplications of a 32-bit loop. Pointers may be only 4-byte aligned
// and alias uint32_t data: they are of the type Limb below.
#pragma once

#include <cstdint>

typedef uint64_t __attribute__((may_alias, aligned(4))) Limb;

inline Limb* asLimbs(uint32_t* words) {
  return reinterpret_cast<Limb*>(words);
}
inline const Limb* asLimbs(const uint32_t* words) {
  return reinterpret_cast<const Limb*>(words);
}

// r[0 .. n) = a[0 .. n) * m; returns the carry limb. n >= 1; r may equal a.
uint64_t limbsMultiply1(Limb* r, const Limb* a, uint64_t n, uint64_t m);
// r[0 .. n) += a[0 .. n) * m; returns the carry limb. n >= 1; no overlap.
uint64_t limbsAddMultiply1(Limb* r, const Limb* a, uint64_t n, uint64_t m);
// r[0 .. an + bn) = a * b, an >= bn >= 1: bn rows of an limbs. r must not
// overlap a or b.
void limbsMultiplyBasecase(Limb* r, const Limb* a, uint64_t an, const Limb* b, uint64_t bn);
// r[0 .. 2n) = a^2, n >= 1: cross products once, then one pass that doubles
// them and adds the squares. r must not overlap a.
void limbsSquareBasecase(Limb* r, const Limb* a, uint64_t n);
