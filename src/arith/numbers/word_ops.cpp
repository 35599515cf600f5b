// Shared loops over word arrays. The bulk runs over 64-bit limbs (pairs of
// words) with the processor's carry flag; an odd last word is done alone.
#include "arith/numbers/word_ops.h"

#include "arith/recursive/basecase_limbs.h"

namespace {

// r[0 .. n) = a + b (Subtract: a - b) over 64-bit limbs, n >= 1; returns the
// carry (borrow). The carry stays in the flag across the loop: lea and dec
// leave it alone. r may equal a or b.
template <bool Subtract>
uint64_t limbsAddOrSubtract(Limb* r, const Limb* a, const Limb* b, uint64_t n) {
  uint64_t count = n / 2;
  uint64_t t0, t1;
  uint64_t carry = 0;
  if constexpr (Subtract) {
    __asm__ volatile(
        "shr $1, %[n]\n\t"  // CF = n & 1 (count already holds n / 2)
        "jnc 1f\n\t"
        "mov (%[a]), %[t0]\n\t"
        "sub (%[b]), %[t0]\n\t"
        "mov %[t0], (%[r])\n\t"
        "lea 8(%[a]), %[a]\n\t"
        "lea 8(%[b]), %[b]\n\t"
        "lea 8(%[r]), %[r]\n\t"
        "jmp 2f\n"
        "1:\n\t"
        "clc\n"
        "2:\n\t"
        "jrcxz 3f\n"
        "4:\n\t"
        "mov (%[a]), %[t0]\n\t"
        "mov 8(%[a]), %[t1]\n\t"
        "sbb (%[b]), %[t0]\n\t"
        "sbb 8(%[b]), %[t1]\n\t"
        "mov %[t0], (%[r])\n\t"
        "mov %[t1], 8(%[r])\n\t"
        "lea 16(%[a]), %[a]\n\t"
        "lea 16(%[b]), %[b]\n\t"
        "lea 16(%[r]), %[r]\n\t"
        "dec %[count]\n\t"
        "jnz 4b\n"
        "3:\n\t"
        "adc $0, %[carry]"
        : [a] "+r"(a), [b] "+r"(b), [r] "+r"(r), [count] "+c"(count), [n] "+r"(n), [t0] "=&r"(t0),
          [t1] "=&r"(t1), [carry] "+r"(carry)
        :
        : "cc", "memory");
  } else {
    __asm__ volatile(
        "shr $1, %[n]\n\t"
        "jnc 1f\n\t"
        "mov (%[a]), %[t0]\n\t"
        "add (%[b]), %[t0]\n\t"
        "mov %[t0], (%[r])\n\t"
        "lea 8(%[a]), %[a]\n\t"
        "lea 8(%[b]), %[b]\n\t"
        "lea 8(%[r]), %[r]\n\t"
        "jmp 2f\n"
        "1:\n\t"
        "clc\n"
        "2:\n\t"
        "jrcxz 3f\n"
        "4:\n\t"
        "mov (%[a]), %[t0]\n\t"
        "mov 8(%[a]), %[t1]\n\t"
        "adc (%[b]), %[t0]\n\t"
        "adc 8(%[b]), %[t1]\n\t"
        "mov %[t0], (%[r])\n\t"
        "mov %[t1], 8(%[r])\n\t"
        "lea 16(%[a]), %[a]\n\t"
        "lea 16(%[b]), %[b]\n\t"
        "lea 16(%[r]), %[r]\n\t"
        "dec %[count]\n\t"
        "jnz 4b\n"
        "3:\n\t"
        "adc $0, %[carry]"
        : [a] "+r"(a), [b] "+r"(b), [r] "+r"(r), [count] "+c"(count), [n] "+r"(n), [t0] "=&r"(t0),
          [t1] "=&r"(t1), [carry] "+r"(carry)
        :
        : "cc", "memory");
  }
  return carry;
}

// Word arrays: the limbs first, then an odd last word.
template <bool Subtract>
uint32_t wordsAddOrSubtract(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  uint64_t limbs = n / 2;
  uint64_t carry = 0;
  if (limbs != 0) carry = limbsAddOrSubtract<Subtract>(asLimbs(out), asLimbs(a), asLimbs(b), limbs);
  if (n & 1) {
    uint64_t last =
        Subtract ? (uint64_t)a[n - 1] - b[n - 1] - carry : (uint64_t)a[n - 1] + b[n - 1] + carry;
    out[n - 1] = (uint32_t)last;
    carry = (last >> 32) & 1;
  }
  return (uint32_t)carry;
}

}  // namespace

uint32_t addWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  return wordsAddOrSubtract<false>(a, b, n, out);
}

uint32_t addWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  return wordsAddOrSubtract<false>(target, source, n, target);
}

uint32_t subtractWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n) {
  return wordsAddOrSubtract<true>(target, source, n, target);
}

uint32_t subtractWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out) {
  return wordsAddOrSubtract<true>(a, b, n, out);
}

uint32_t rippleCarry(uint32_t* target, uint64_t n, uint32_t carry) {
  for (uint64_t i = 0; carry != 0 && i < n; i++) {
    uint32_t t = target[i] + carry;
    carry = t < carry;
    target[i] = t;
  }
  return carry;
}

void rippleSignedCarry(uint32_t* target, uint64_t n, int64_t carry) {
  for (uint64_t i = 0; carry != 0 && i < n; i++) {
    carry += target[i];
    target[i] = (uint32_t)carry;
    carry >>= 32;
  }
}

int compareWords(const uint32_t* a, const uint32_t* b, uint64_t n) {
  for (uint64_t i = n; i-- > 0;) {
    if (a[i] != b[i]) return a[i] > b[i] ? 1 : -1;
  }
  return 0;
}
