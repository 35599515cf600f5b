// The leaves of e: short ranges (a, b] built word by word in 32- and 64-bit
// arithmetic, with no product of big numbers:
//   Q = (a+1)(a+2), P = a+3 (exp(1)) or a+1 (exp(-1)); then for k = a+3 .. b
//   P = P k + 1 (exp(1)), P = P k -/+ 1 alternately from "+" (exp(-1)),
//   Q = Q k, in one shared pass over the words.
// The arrays hold b - a words each: Q(a,b) < 2^(32 (b-a)) and P < Q.
#include "constants/e.h"
#include "constants/series.h"

namespace {

// Largest range end of the iterative leaf: every factor k fits a word.
constexpr uint64_t eLeafEndLimit = 0xfffffffeull;

// The one-term range (a, a+1]: P = 1, Q = a + 1.
void singleTerm(Heap* heap, uint64_t first, SplitRecord* out, uint32_t numerators) {
  splitRecordSetZero(out);
  for (uint32_t i = 0; i < numerators; i++) splitNumberFromU64(heap, &out->r[i], 1);
  splitNumberFromU64(heap, &out->q, first + 1);
}

// p = p * k + carry over `length` words, carry in [0, 2^32); returns the
// carry out of the top.
inline uint32_t multiplyAddStep(uint32_t* p, uint64_t length, uint32_t k, uint64_t carry) {
  for (uint64_t i = 0; i < length; i++) {
    const uint64_t t = uint64_t(p[i]) * k + carry;
    p[i] = uint32_t(t);
    carry = t >> 32;
  }
  return uint32_t(carry);
}

// p = p * k - 1 over `length` words (p * k >= 1). The borrow of the first
// word is taken as a carry of all ones.
inline uint32_t multiplySubtractOneStep(uint32_t* p, uint64_t length, uint32_t k) {
  uint64_t carry = 0;
  bool borrow = true;
  for (uint64_t i = 0; i < length; i++) {
    uint64_t t = uint64_t(p[i]) * k + carry;
    if (borrow) {
      borrow = t == 0;
      t -= 1;
      if (borrow) t = 0xffffffffull;  // the word is all ones and the borrow moves up
    }
    p[i] = uint32_t(t);
    carry = t >> 32;
  }
  return uint32_t(carry);
}

// The shared iterative leaf. `plus` and `minus` point at the numerators of
// exp(1) and exp(-1) (either may be null).
void iterativeLeaf(Heap* heap, uint64_t first, uint64_t last, SplitNumber* plus, SplitNumber* minus,
                   SplitNumber* q) {
  const uint64_t words = last - first;
  uint32_t* pp = plus ? splitNumberAllocate(heap, plus, words) : nullptr;
  uint32_t* pm = minus ? splitNumberAllocate(heap, minus, words) : nullptr;
  uint32_t* qq = splitNumberAllocate(heap, q, words);
  // Two terms at least, so two words at least.
  const uint64_t q0 = (first + 1) * (first + 2);
  qq[0] = uint32_t(q0);
  qq[1] = uint32_t(q0 >> 32);
  uint64_t length = qq[1] != 0 ? 2 : 1;
  if (pp) {
    pp[0] = uint32_t(first + 3);
    pp[1] = 0;
  }
  if (pm) {
    pm[0] = uint32_t(first + 1);
    pm[1] = 0;
  }
  bool add = true;  // the sign of exp(-1)'s next correction
  for (uint64_t k = first + 3; k <= last; k++) {
    const uint32_t factor = uint32_t(k);
    const uint32_t topQ = multiplyAddStep(qq, length, factor, 0);
    uint32_t topPlus = 0, topMinus = 0;
    if (pp) topPlus = multiplyAddStep(pp, length, factor, 1);
    if (pm) {
      topMinus = add ? multiplyAddStep(pm, length, factor, 1)
                     : multiplySubtractOneStep(pm, length, factor);
    }
    add = !add;
    // P < Q: when Q does not grow, neither does P.
    if (topQ != 0) {
      qq[length] = topQ;
      if (pp) pp[length] = topPlus;
      if (pm) pm[length] = topMinus;
      length++;
    }
  }
  splitNumberFinish(q, length);
  if (pp) splitNumberFinish(plus, length);
  if (pm) splitNumberFinish(minus, length);
}

bool leafFor(Heap* heap, uint64_t first, uint64_t last, SplitRecord* out, bool withPlus,
             bool withMinus) {
  const uint32_t numerators = withPlus && withMinus ? 2 : 1;
  if (last - first == 1) {
    singleTerm(heap, first, out, numerators);
    return true;
  }
  if (last - first > eLeafTerms || last > eLeafEndLimit) return false;
  splitRecordSetZero(out);
  SplitNumber* plus = withPlus ? &out->r[0] : nullptr;
  SplitNumber* minus = withMinus ? &out->r[withPlus ? 1 : 0] : nullptr;
  iterativeLeaf(heap, first, last, plus, minus, &out->q);
  return true;
}

}  // namespace

bool eLeafPlus(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
               uint32_t wantP) {
  return leafFor(heap, first, last, out, true, false);
}

bool eLeafMinus(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
                uint32_t wantP) {
  return leafFor(heap, first, last, out, false, true);
}

bool eLeafBoth(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
               uint32_t wantP) {
  return leafFor(heap, first, last, out, true, true);
}
