// Toom-3 linear passes: evaluation, interpolation, exact division by 6.
#include "arith/recursive/toom3_passes.h"

#include <x86intrin.h>

#include "arith/recursive/basecase_limbs.h"
#include "arith/recursive/recursive.h"
#include "arith/numbers/word_ops.h"
#include "platform/console.h"

namespace {

// The evaluations word by word: digits w0 + w1 + w2, w0 + 2 w1 + 4 w2 and
// 4 w0 + 2 w1 + w2 (below 2^35), then three carry chains.
struct EvaluationCarries {
  uint64_t at1 = 0, at2 = 0, atHalf = 0;
  inline void word(uint64_t d1, uint64_t d2, uint64_t d3, uint64_t m, uint32_t* out1,
                   uint32_t* out2, uint32_t* out3) {
    at1 += d1;
    at2 += d2;
    atHalf += d3;
    out1[m] = (uint32_t)at1;
    out2[m] = (uint32_t)at2;
    out3[m] = (uint32_t)atHalf;
    at1 >>= 32;
    at2 >>= 32;
    atHalf >>= 32;
  }
};

// Words [from, to) of the evaluations, with or without the top third.
template <bool WithX2>
void evaluateWords(EvaluationCarries& carries, uint64_t from, uint64_t to, const uint32_t* x0,
                   const uint32_t* x1, const uint32_t* x2, uint32_t* at1, uint32_t* at2,
                   uint32_t* atHalf) {
  uint64_t m = from;
#if defined(__AVX2__)
  constexpr uint64_t block = 64;
  alignas(32) uint64_t d1[block], d2[block], d3[block];
  auto load = [](const uint32_t* p) {
    return _mm256_cvtepu32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
  };
  while (m + 4 <= to) {
    uint64_t words = (to - m) / 4 * 4;
    if (words > block) words = block;
    for (uint64_t j = 0; j < words; j += 4) {
      uint64_t at = m + j;
      __m256i w0 = load(x0 + at), w1 = load(x1 + at);
      __m256i w2 = WithX2 ? load(x2 + at) : _mm256_setzero_si256();
      __m256i twoW1 = _mm256_slli_epi64(w1, 1);
      __m256i v1 = _mm256_add_epi64(_mm256_add_epi64(w0, w1), w2);
      __m256i v2 = _mm256_add_epi64(_mm256_add_epi64(w0, twoW1), _mm256_slli_epi64(w2, 2));
      __m256i v3 = _mm256_add_epi64(_mm256_add_epi64(_mm256_slli_epi64(w0, 2), twoW1), w2);
      _mm256_store_si256(reinterpret_cast<__m256i*>(d1 + j), v1);
      _mm256_store_si256(reinterpret_cast<__m256i*>(d2 + j), v2);
      _mm256_store_si256(reinterpret_cast<__m256i*>(d3 + j), v3);
    }
    for (uint64_t j = 0; j < words; j++) carries.word(d1[j], d2[j], d3[j], m + j, at1, at2, atHalf);
    m += words;
  }
#endif
  for (; m < to; m++) {
    uint64_t w0 = x0[m], w1 = x1[m], w2 = WithX2 ? x2[m] : 0;
    carries.word(w0 + w1 + w2, w0 + 2 * w1 + 4 * w2, 4 * w0 + 2 * w1 + w2, m, at1, at2, atHalf);
  }
}

// The three evaluations of x (thirds of k, k and r words) into k + 1 words
// each, in one pass.
void evaluateThirds(const uint32_t* x, uint64_t k, uint64_t r, uint32_t* at1, uint32_t* at2,
                    uint32_t* atHalf) {
  EvaluationCarries carries;
  evaluateWords<true>(carries, 0, r, x, x + k, x + 2 * k, at1, at2, atHalf);
  evaluateWords<false>(carries, r, k, x, x + k, x + 2 * k, at1, at2, atHalf);
  at1[k] = (uint32_t)carries.at1;
  at2[k] = (uint32_t)carries.at2;
  atHalf[k] = (uint32_t)carries.atHalf;
}

// One word of each interpolated value before carries: the digits of
// 6 z1 = 2 p3 + p2 - 12 p1 - 21 z0 - 6 z4, 2 z2 = 10 p1 + 7 (z0 + z4) - p2 - p3
// and 6 z3 = p3 + 2 p2 - 12 p1 - 6 z0 - 21 z4. Each is below 2^38 in size.
struct Digits {
  int64_t z1, z2, z3;
};

inline Digits digitsAt(int64_t p1, int64_t p2, int64_t p3, int64_t z0, int64_t z4) {
  int64_t twelveP1 = 12 * p1;
  return {2 * p3 + p2 - twelveP1 - 21 * z0 - 6 * z4, 10 * p1 + 7 * (z0 + z4) - p2 - p3,
          p3 + 2 * p2 - twelveP1 - 6 * z0 - 21 * z4};
}

// The carry pass over the digits: three signed accumulators, shifted
// arithmetically by 32 bits between words. 2 z2 is halved on the way: each
// word's low bit goes to the top of the word below, which is therefore
// stored one step late (word 0 goes through `first`, which has no word below).
struct Carries {
  int64_t z1 = 0, z2 = 0, z3 = 0;
  uint32_t pendingHalf = 0;  // z2 word m - 1 without its top bit
  inline uint32_t add(Digits d, uint64_t m, uint32_t* sixZ1, uint32_t* sixZ3) {
    z1 += d.z1;
    this->z2 += d.z2;
    z3 += d.z3;
    sixZ1[m] = (uint32_t)z1;
    sixZ3[m] = (uint32_t)z3;
    uint32_t twice = (uint32_t)this->z2;
    z1 >>= 32;
    this->z2 >>= 32;
    z3 >>= 32;
    return twice;
  }
  inline void first(Digits d, uint32_t* sixZ1, uint32_t* sixZ3) {
    pendingHalf = add(d, 0, sixZ1, sixZ3) >> 1;
  }
  inline void word(Digits d, uint64_t m, uint32_t* sixZ1, uint32_t* sixZ3, uint32_t* z2) {
    uint32_t twice = add(d, m, sixZ1, sixZ3);
    z2[m - 1] = pendingHalf | (twice << 31);
    pendingHalf = twice >> 1;
  }
};

// Words [from, to) of the interpolation; z4 present or not. Four words at a
// time the digits come from vector arithmetic, the carries stay scalar.
template <bool WithZ4>
uint64_t interpolateWords(Carries& carries, uint64_t from, uint64_t to, const uint32_t* p1,
                          const uint32_t* p2, const uint32_t* p3, const uint32_t* z0,
                          const uint32_t* z4, uint32_t* sixZ1, uint32_t* sixZ3, uint32_t* z2) {
  uint64_t m = from;
#if defined(__AVX2__)
  // Blocks of 64 words: the digits of a whole block go to a small buffer
  // first, so the scalar pass reads them back from cache rather than
  // straight out of the vector stores.
  constexpr uint64_t block = 64;
  alignas(32) int64_t d1[block], d2[block], d3[block];
  auto load = [](const uint32_t* p) {
    return _mm256_cvtepu32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)));
  };
  auto times = [](__m256i x, int a, int b) {  // x * (2^a + 2^b)
    return _mm256_add_epi64(_mm256_slli_epi64(x, a), _mm256_slli_epi64(x, b));
  };
  while (m + 4 <= to) {
    uint64_t words = (to - m) / 4 * 4;
    if (words > block) words = block;
    for (uint64_t j = 0; j < words; j += 4) {
      uint64_t at = m + j;
      __m256i vp1 = load(p1 + at), vp2 = load(p2 + at), vp3 = load(p3 + at);
      __m256i vz0 = load(z0 + at);
      __m256i vz4 = WithZ4 ? load(z4 + at) : _mm256_setzero_si256();
      __m256i twelveP1 = times(vp1, 3, 2);
      __m256i sum04 = _mm256_add_epi64(vz0, vz4);
      __m256i sevenSum = _mm256_sub_epi64(_mm256_slli_epi64(sum04, 3), sum04);
      __m256i p23 = _mm256_add_epi64(vp2, vp3);
      __m256i v2 = _mm256_sub_epi64(_mm256_add_epi64(times(vp1, 3, 1), sevenSum), p23);
      __m256i z0x21 = _mm256_add_epi64(times(vz0, 4, 2), vz0);
      __m256i z4x21 = _mm256_add_epi64(times(vz4, 4, 2), vz4);
      __m256i z0x6 = times(vz0, 2, 1), z4x6 = times(vz4, 2, 1);
      __m256i v1 = _mm256_sub_epi64(_mm256_add_epi64(p23, vp3),
                                    _mm256_add_epi64(twelveP1, _mm256_add_epi64(z0x21, z4x6)));
      __m256i v3 = _mm256_sub_epi64(_mm256_add_epi64(p23, vp2),
                                    _mm256_add_epi64(twelveP1, _mm256_add_epi64(z0x6, z4x21)));
      _mm256_store_si256(reinterpret_cast<__m256i*>(d1 + j), v1);
      _mm256_store_si256(reinterpret_cast<__m256i*>(d2 + j), v2);
      _mm256_store_si256(reinterpret_cast<__m256i*>(d3 + j), v3);
    }
    for (uint64_t j = 0; j < words; j++)
      carries.word({d1[j], d2[j], d3[j]}, m + j, sixZ1, sixZ3, z2);
    m += words;
  }
#endif
  for (; m < to; m++)
    carries.word(digitsAt(p1[m], p2[m], p3[m], z0[m], WithZ4 ? z4[m] : 0), m, sixZ1, sixZ3, z2);
  return m;
}

// Exact division by 6, in place, of x[0 .. 4k] (4k + 1 words: 6 z1 +
// 6 z3 * 2^(64k)), from the bottom up: y = x / 2 limb by limb, then
// q = y / 3 = y m / (2^64 - 1) with m = (2^64 - 1) / 3. z = y m is one
// multiplication chain, and the division by 2^64 - 1 is the chain
// q[i] = q[i - 1] - z[i] - borrow, run as q[i - 1] + ~z[i] + carry. x is a
// multiple of 6 exactly when it is even and the chain closes (q's top limb
// equals z's top limb plus the last borrow); the result says whether it did.
// The quotient's top limb is at most one word, and only that word is stored.
struct DivisionState {
  uint64_t q = 0;                   // the last quotient limb
  uint64_t zHigh = 0;               // high limb of the last y * m
  unsigned char zCarry = 0;         // carry of the z chain
  unsigned char quotientCarry = 1;  // 1 - borrow of the q chain
};

constexpr uint64_t thirdOfMaximum = 0x5555555555555555ull;  // (2^64 - 1) / 3

inline void divisionStep(DivisionState& state, uint64_t y) {
  unsigned __int128 product = (unsigned __int128)y * thirdOfMaximum;
  unsigned long long z, q;
  state.zCarry = _addcarry_u64(state.zCarry, (uint64_t)product, state.zHigh, &z);
  state.zHigh = (uint64_t)(product >> 64);
  state.quotientCarry = _addcarry_u64(state.quotientCarry, state.q, ~z, &q);
  state.q = q;
}

// From the fresh state, limbs 0 .. count - 1, where limb i + 1 is whole. With
// BMI2 and ADX the two chains live in the two carry flags (adox for z, adcx
// for q) and nothing else in the loop touches flags: shifts by shrx/shlx,
// the or of disjoint bits by lea, the count by lea and jrcxz.
void divisionLoop(DivisionState& state, Limb* x, uint64_t count) {
#if defined(__BMI2__) && defined(__ADX__)
  if (count == 0) return;
  uint64_t q = 0, zHigh = 0;
  uint64_t current = x[0];
  uint64_t next, y, lo, hi;
  uint64_t one = 1, sixtyThree = 63;
  unsigned char zCarry, quotientCarry;
  __asm__ volatile(
      "xor %k[lo], %k[lo]\n\t"  // OF = 0 (no z carry), CF = 0
      "stc\n"                   // CF = 1 (no borrow)
      "1:\n\t"
      "mov 8(%[x]), %[next]\n\t"
      "shrx %[one], %[current], %[y]\n\t"
      "shlx %[sixtyThree], %[next], %[lo]\n\t"
      "lea (%[y], %[lo]), %[y]\n\t"
      "mulx %[y], %[lo], %[hi]\n\t"
      "adox %[zHigh], %[lo]\n\t"
      "mov %[hi], %[zHigh]\n\t"
      "not %[lo]\n\t"
      "adcx %[lo], %[q]\n\t"
      "mov %[q], (%[x])\n\t"
      "mov %[next], %[current]\n\t"
      "lea 8(%[x]), %[x]\n\t"
      "lea -1(%[count]), %[count]\n\t"
      "jrcxz 2f\n\t"
      "jmp 1b\n"
      "2:\n\t"
      "setc %[quotientCarry]\n\t"
      "seto %[zCarry]"
      : [x] "+r"(x), [count] "+c"(count), [q] "+r"(q), [zHigh] "+r"(zHigh), [current] "+r"(current),
        [next] "=&r"(next), [y] "=&r"(y), [lo] "=&r"(lo), [hi] "=&r"(hi),
        [quotientCarry] "=r"(quotientCarry), [zCarry] "=r"(zCarry)
      : "d"(thirdOfMaximum), [one] "r"(one), [sixtyThree] "r"(sixtyThree)
      : "cc", "memory");
  state.q = q;
  state.zHigh = zHigh;
  state.zCarry = zCarry;
  state.quotientCarry = quotientCarry;
#else
  for (uint64_t i = 0; i < count; i++) {
    uint64_t y = ((uint64_t)x[i] >> 1) | ((uint64_t)x[i + 1] << 63);
    divisionStep(state, y);
    x[i] = state.q;
  }
#endif
}

// x[0 .. 4k] /= 6 in place; false when x was not a multiple of 6.
bool divideBySix(uint32_t* x, uint64_t k) {
  Limb* limbs = asLimbs(x);
  bool odd = (x[0] & 1) != 0;
  DivisionState state;
  // Limbs 0 .. 2k - 2 have a whole limb above them; limb 2k - 1 has the
  // lone word x[4k], and limb 2k (that word) has nothing.
  divisionLoop(state, limbs, 2 * k - 1);
  uint64_t top = x[4 * k];
  divisionStep(state, ((uint64_t)limbs[2 * k - 1] >> 1) | (top << 63));
  limbs[2 * k - 1] = state.q;
  divisionStep(state, top >> 1);
  x[4 * k] = (uint32_t)state.q;
  bool closes =
      state.q >> 32 == 0 && state.q == state.zHigh + state.zCarry + (1 - state.quotientCarry);
  return !odd && closes;
}

}  // namespace

void toom3Evaluate(const uint32_t* x, uint64_t k, uint64_t r, uint32_t* at1, uint32_t* at2,
                   uint32_t* atHalf) {
  evaluateThirds(x, k, r, at1, at2, atHalf);
}

// One pass over the 2k words of the products, then their top words (word 2k:
// the saved words of p1, p2, p3, where z0 and z4 have ended). 6 z1 and 6 z3
// overwrite p1 and p2 and meet in word 2k; 2 z2 is halved into out[2k ..),
// between z0 and z4, and its top word is added to z4.
void toom3Interpolate(uint32_t* out, uint32_t* scratch, uint64_t n, uint64_t k, uint64_t r,
                      const uint32_t saved[3]) {
  uint32_t* p1 = scratch;
  uint32_t* p2 = scratch + 2 * k;
  const uint32_t* p3 = scratch + 4 * k;
  const uint32_t* z0 = out;
  const uint32_t* z4 = out + 4 * k;
  uint32_t* z2 = out + 2 * k;
  Carries carries;
  carries.first(digitsAt(p1[0], p2[0], p3[0], z0[0], z4[0]), p1, p2);
  interpolateWords<true>(carries, 1, 2 * r, p1, p2, p3, z0, z4, p1, p2, z2);
  interpolateWords<false>(carries, 2 * r, 2 * k, p1, p2, p3, z0, z4, p1, p2, z2);
  Digits top = digitsAt(saved[0], saved[1], saved[2], 0, 0);
  carries.z1 += top.z1;
  carries.z2 += top.z2;
  carries.z3 += top.z3;
  uint32_t twice = (uint32_t)carries.z2;
  z2[2 * k - 1] = carries.pendingHalf | (twice << 31);
  scratch[4 * k] = (uint32_t)carries.z3;
  rippleCarry(p2, 2 * k + 1, (uint32_t)carries.z1);  // 6 z1 and 6 z3 meet in word 2k
  rippleCarry(out + 4 * k, 2 * n - 4 * k, twice >> 1);
  if (toom3CorruptForTesting) {
    toom3CorruptForTesting = false;
    scratch[0] ^= 1;
  }
}

void toom3DivideBySixAndAdd(uint32_t* x, uint64_t k, uint32_t* at, uint64_t span, uint64_t rest) {
  if (!divideBySix(x, k))
    assertionFailure("Impossible Functional Result: ", "Toom-3 Multiplication",
                     "Division by 6 produced a non-zero remainder.");
  uint32_t carry = addWordsInPlace(at, x, span);
  rippleCarry(at + span, rest, carry);
}
