// The inner loops of fermat_kernels.cpp for processors with ADX and BMI2:
// the sum's carry runs in CF (adcx) and the difference's in OF (adox, as
// the sum with the complement: x - y = x + ~y + 1, so OF holds "no
// borrow"), so the two chains never save and restore the flags. Shifts
// are shlx/shrx and the halves meet by lea, none of which touch the flags.
// Four limbs (eight words) a round, blocks >= 1; the callers do the rest.
// Built on every x86-64 target (the assembler knows the instructions) and
// taken only where fermatAdxUsable() says the processor has them; the
// portable loops give the same words.
#pragma once

#include <cstdint>

#define NUMBRELLA_FERMAT_ADX 1

namespace fermat_adx {

// sum = u + v, d = u - v over 4 * blocks limbs; out = d shifted left by r
// bits (0 < r < 32) with `previous` (the limb before, in its top bits)
// supplying the low bits; stored complemented when `inverted`. carry is
// the sum's carry, noBorrow 1 - the difference's borrow; both in and out.
template <bool inverted>
inline void forwardBits(const uint32_t* u, const uint32_t* v, uint32_t* sum, uint32_t* out,
                        uint64_t blocks, uint64_t r, uint64_t& carry, uint64_t& noBorrow,
                        uint64_t& previous) {
  const uint64_t rr = 64 - r;
  uint64_t x, y;
#define FERMAT_LIMB(off)                 \
  "movq " off "(%[u]), %[x]\n\t"         \
  "movq " off "(%[v]), %[y]\n\t"         \
  "movq %[x], %[t0]\n\t"                 \
  "adcx %[y], %[t0]\n\t"                 \
  "movq %[t0], " off "(%[s])\n\t"        \
  "notq %[y]\n\t"                        \
  "adox %[y], %[x]\n\t"                  \
  "shlx %[r], %[x], %[t0]\n\t"           \
  "shrx %[rr], %[p], %[t1]\n\t"          \
  "leaq (%[t0],%[t1]), %[t0]\n\t"        \
  "movq %[x], %[p]\n\t"
  if constexpr (inverted) {
    asm volatile(
        "addb $0x7f, %b[t1]\n\t"
        "movq $-1, %[t1]\n\t"
        "adcx %[t1], %[t0]\n\t"
        "1:\n\t"
        FERMAT_LIMB("0") "notq %[t0]\n\tmovq %[t0], 0(%[o])\n\t"
        FERMAT_LIMB("8") "notq %[t0]\n\tmovq %[t0], 8(%[o])\n\t"
        FERMAT_LIMB("16") "notq %[t0]\n\tmovq %[t0], 16(%[o])\n\t"
        FERMAT_LIMB("24") "notq %[t0]\n\tmovq %[t0], 24(%[o])\n\t"
        "leaq 32(%[u]), %[u]\n\t"
        "leaq 32(%[v]), %[v]\n\t"
        "leaq 32(%[s]), %[s]\n\t"
        "leaq 32(%[o]), %[o]\n\t"
        "leaq -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp 1b\n\t"
        "2:\n\t"
        "movl $0, %k[t0]\n\t"
        "setc %b[t0]\n\t"
        "movl $0, %k[t1]\n\t"
        "seto %b[t1]\n\t"
        : [u] "+r"(u), [v] "+r"(v), [s] "+r"(sum), [o] "+r"(out), "+c"(blocks),
          [p] "+r"(previous), [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [y] "=&r"(y)
        : [r] "r"(r), [rr] "r"(rr)
        : "cc", "memory");
  } else {
    asm volatile(
        "addb $0x7f, %b[t1]\n\t"
        "movq $-1, %[t1]\n\t"
        "adcx %[t1], %[t0]\n\t"
        "1:\n\t"
        FERMAT_LIMB("0") "movq %[t0], 0(%[o])\n\t"
        FERMAT_LIMB("8") "movq %[t0], 8(%[o])\n\t"
        FERMAT_LIMB("16") "movq %[t0], 16(%[o])\n\t"
        FERMAT_LIMB("24") "movq %[t0], 24(%[o])\n\t"
        "leaq 32(%[u]), %[u]\n\t"
        "leaq 32(%[v]), %[v]\n\t"
        "leaq 32(%[s]), %[s]\n\t"
        "leaq 32(%[o]), %[o]\n\t"
        "leaq -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp 1b\n\t"
        "2:\n\t"
        "movl $0, %k[t0]\n\t"
        "setc %b[t0]\n\t"
        "movl $0, %k[t1]\n\t"
        "seto %b[t1]\n\t"
        : [u] "+r"(u), [v] "+r"(v), [s] "+r"(sum), [o] "+r"(out), "+c"(blocks),
          [p] "+r"(previous), [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [y] "=&r"(y)
        : [r] "r"(r), [rr] "r"(rr)
        : "cc", "memory");
  }
#undef FERMAT_LIMB
}

// The same for a whole-word shift (r = 0): out = d, or ~d when inverted.
template <bool inverted>
inline void forwardWords(const uint32_t* u, const uint32_t* v, uint32_t* sum, uint32_t* out,
                         uint64_t blocks, uint64_t& carry, uint64_t& noBorrow) {
  uint64_t x, y;
#define FERMAT_LIMB(off)                 \
  "movq " off "(%[u]), %[x]\n\t"         \
  "movq " off "(%[v]), %[y]\n\t"         \
  "movq %[x], %[t0]\n\t"                 \
  "adcx %[y], %[t0]\n\t"                 \
  "movq %[t0], " off "(%[s])\n\t"        \
  "notq %[y]\n\t"                        \
  "adox %[y], %[x]\n\t"
  if constexpr (inverted) {
    asm volatile(
        "addb $0x7f, %b[t1]\n\t"
        "movq $-1, %[t1]\n\t"
        "adcx %[t1], %[t0]\n\t"
        "1:\n\t"
        FERMAT_LIMB("0") "notq %[x]\n\tmovq %[x], 0(%[o])\n\t"
        FERMAT_LIMB("8") "notq %[x]\n\tmovq %[x], 8(%[o])\n\t"
        FERMAT_LIMB("16") "notq %[x]\n\tmovq %[x], 16(%[o])\n\t"
        FERMAT_LIMB("24") "notq %[x]\n\tmovq %[x], 24(%[o])\n\t"
        "leaq 32(%[u]), %[u]\n\t"
        "leaq 32(%[v]), %[v]\n\t"
        "leaq 32(%[s]), %[s]\n\t"
        "leaq 32(%[o]), %[o]\n\t"
        "leaq -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp 1b\n\t"
        "2:\n\t"
        "movl $0, %k[t0]\n\t"
        "setc %b[t0]\n\t"
        "movl $0, %k[t1]\n\t"
        "seto %b[t1]\n\t"
        : [u] "+r"(u), [v] "+r"(v), [s] "+r"(sum), [o] "+r"(out), "+c"(blocks),
          [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [y] "=&r"(y)
        :
        : "cc", "memory");
  } else {
    asm volatile(
        "addb $0x7f, %b[t1]\n\t"
        "movq $-1, %[t1]\n\t"
        "adcx %[t1], %[t0]\n\t"
        "1:\n\t"
        FERMAT_LIMB("0") "movq %[x], 0(%[o])\n\t"
        FERMAT_LIMB("8") "movq %[x], 8(%[o])\n\t"
        FERMAT_LIMB("16") "movq %[x], 16(%[o])\n\t"
        FERMAT_LIMB("24") "movq %[x], 24(%[o])\n\t"
        "leaq 32(%[u]), %[u]\n\t"
        "leaq 32(%[v]), %[v]\n\t"
        "leaq 32(%[s]), %[s]\n\t"
        "leaq 32(%[o]), %[o]\n\t"
        "leaq -1(%%rcx), %%rcx\n\t"
        "jrcxz 2f\n\t"
        "jmp 1b\n\t"
        "2:\n\t"
        "movl $0, %k[t0]\n\t"
        "setc %b[t0]\n\t"
        "movl $0, %k[t1]\n\t"
        "seto %b[t1]\n\t"
        : [u] "+r"(u), [v] "+r"(v), [s] "+r"(sum), [o] "+r"(out), "+c"(blocks),
          [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [y] "=&r"(y)
        :
        : "cc", "memory");
  }
#undef FERMAT_LIMB
}

// added = a + X, subtracted = a - X over 4 * blocks limbs, X the words of
// b shifted left by r bits (0 <= r < 32): limb i of X is b's limb at
// b + 2i shifted, with the high bits of the word b[2i - 1] below it.
// carry and noBorrow as above. added and subtracted may be a, not b.
inline void inverseBlocks(const uint32_t* a, const uint32_t* b, uint32_t* added,
                          uint32_t* subtracted, uint64_t blocks, uint64_t r, uint64_t& carry,
                          uint64_t& noBorrow) {
  const uint64_t rr = 32 - r;
  uint64_t x, X;
#define FERMAT_LIMB(off, below)          \
  "movq " off "(%[b]), %[X]\n\t"         \
  "shlx %[r], %[X], %[X]\n\t"            \
  "movl " below "(%[b]), %k[t1]\n\t"     \
  "shrx %[rr], %[t1], %[t1]\n\t"         \
  "leaq (%[X],%[t1]), %[X]\n\t"          \
  "movq " off "(%[a]), %[x]\n\t"         \
  "movq %[x], %[t0]\n\t"                 \
  "adcx %[X], %[t0]\n\t"                 \
  "movq %[t0], " off "(%[ad])\n\t"       \
  "notq %[X]\n\t"                        \
  "adox %[X], %[x]\n\t"                  \
  "movq %[x], " off "(%[sb])\n\t"
  asm volatile(
      "addb $0x7f, %b[t1]\n\t"
      "movq $-1, %[t1]\n\t"
      "adcx %[t1], %[t0]\n\t"
      "1:\n\t"
      FERMAT_LIMB("0", "-4")
      FERMAT_LIMB("8", "4")
      FERMAT_LIMB("16", "12")
      FERMAT_LIMB("24", "20")
      "leaq 32(%[a]), %[a]\n\t"
      "leaq 32(%[b]), %[b]\n\t"
      "leaq 32(%[ad]), %[ad]\n\t"
      "leaq 32(%[sb]), %[sb]\n\t"
      "leaq -1(%%rcx), %%rcx\n\t"
      "jrcxz 2f\n\t"
      "jmp 1b\n\t"
      "2:\n\t"
      "movl $0, %k[t0]\n\t"
      "setc %b[t0]\n\t"
      "movl $0, %k[t1]\n\t"
      "seto %b[t1]\n\t"
      : [a] "+r"(a), [b] "+r"(b), [ad] "+r"(added), [sb] "+r"(subtracted), "+c"(blocks),
        [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [X] "=&r"(X)
      : [r] "r"(r), [rr] "r"(rr)
      : "cc", "memory");
#undef FERMAT_LIMB
}

// The same for r = 0: X is b's words as they are.
inline void inverseWords(const uint32_t* a, const uint32_t* b, uint32_t* added,
                         uint32_t* subtracted, uint64_t blocks, uint64_t& carry,
                         uint64_t& noBorrow) {
  uint64_t x, X;
#define FERMAT_LIMB(off)                 \
  "movq " off "(%[b]), %[X]\n\t"         \
  "movq " off "(%[a]), %[x]\n\t"         \
  "movq %[x], %[t0]\n\t"                 \
  "adcx %[X], %[t0]\n\t"                 \
  "movq %[t0], " off "(%[ad])\n\t"       \
  "notq %[X]\n\t"                        \
  "adox %[X], %[x]\n\t"                  \
  "movq %[x], " off "(%[sb])\n\t"
  asm volatile(
      "addb $0x7f, %b[t1]\n\t"
      "movq $-1, %[t1]\n\t"
      "adcx %[t1], %[t0]\n\t"
      "1:\n\t"
      FERMAT_LIMB("0")
      FERMAT_LIMB("8")
      FERMAT_LIMB("16")
      FERMAT_LIMB("24")
      "leaq 32(%[a]), %[a]\n\t"
      "leaq 32(%[b]), %[b]\n\t"
      "leaq 32(%[ad]), %[ad]\n\t"
      "leaq 32(%[sb]), %[sb]\n\t"
      "leaq -1(%%rcx), %%rcx\n\t"
      "jrcxz 2f\n\t"
      "jmp 1b\n\t"
      "2:\n\t"
      "movl $0, %k[t0]\n\t"
      "setc %b[t0]\n\t"
      "movl $0, %k[t1]\n\t"
      "seto %b[t1]\n\t"
      : [a] "+r"(a), [b] "+r"(b), [ad] "+r"(added), [sb] "+r"(subtracted), "+c"(blocks),
        [t0] "+r"(carry), [t1] "+r"(noBorrow), [x] "=&r"(x), [X] "=&r"(X)
      :
      : "cc", "memory");
#undef FERMAT_LIMB
}

}  // namespace fermat_adx
