// Products of operands of different lengths, L > S: schoolbook rows when the
// shorter is small, otherwise balanced S x S products of blocks of the longer
// operand, added into place.
//
// Scratch never nests: each step that needs a temporary of 2S words (placed at
// the start of the scratch, the balanced product's own scratch behind it)
// runs only when no recursive unbalanced product is pending, so
// 2S + recursionScratchWords(S) covers the whole recursion.
#include <cassert>
#include <cstring>

#include "arith/recursive/recursive_internal.h"
#include "arith/numbers/word_ops.h"

namespace {

void balanced(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out, uint32_t* scratch,
              RecursionCutovers cut, bool toom) {
  if (toom)
    toom3Core<false>(a, b, n, out, scratch, cut);
  else
    karatsubaCore<false>(a, b, n, out, scratch, cut);
}

void unbalancedCore(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                    uint32_t* out, uint32_t* scratch, RecursionCutovers cut, bool toom) {
  if (lengthA == lengthB) {
    balanced(a, b, lengthA, out, scratch, cut, toom);
    return;
  }
  if (lengthA < lengthB) {
    unbalancedCore(b, lengthB, a, lengthA, out, scratch, cut, toom);
    return;
  }
  uint64_t L = lengthA, S = lengthB;
  if (toom && S < cut.toom3) toom = false;
  if (S < cut.karatsuba) {
    basecaseMultiplyRows(a, L, b, S, out);
    return;
  }
  uint32_t* temp = scratch;
  uint32_t* inner = scratch + 2 * S;
  if (L <= 2 * S) {
    // a = lo + hi * 2^(32S), hi of L - S <= S words: hi * b goes straight to
    // the top L words of out, lo * b through the temporary.
    unbalancedCore(a + S, L - S, b, S, out + S, scratch, cut, toom);
    balanced(a, b, S, temp, inner, cut, toom);
    std::memcpy(out, temp, 4 * S);
    uint32_t carry = addWordsInPlace(out + S, temp + S, S);
    rippleCarry(out + 2 * S, L - S, carry);
    return;
  }
  // Blocks of S words: q full ones and a last one of r < S words. The last
  // one's product goes straight to the top of out first; then the full blocks
  // from the bottom, each added over the upper half of the one before.
  uint64_t q = L / S, r = L % S;
  if (r != 0) unbalancedCore(b, S, a + q * S, r, out + q * S, scratch, cut, toom);
  balanced(a, b, S, out, scratch, cut, toom);
  for (uint64_t j = 1; j < q; j++) {
    balanced(a + j * S, b, S, temp, inner, cut, toom);
    uint32_t* at = out + j * S;
    uint32_t carry = addWordsInPlace(at, temp, S);
    if (j + 1 < q || r == 0) {
      // The high half lands on fresh words.
      std::memcpy(at + S, temp + S, 4 * S);
      rippleCarry(at + S, S, carry);
    } else {
      // The high half lands on the last block's product: the low half's
      // carry enters at word S, and both carries out leave at word 2S.
      uint32_t high = addWordsInPlace(at + S, temp + S, S);
      high += rippleCarry(at + S, S, carry);
      rippleCarry(at + 2 * S, r, high);
    }
  }
}

}  // namespace

void unbalancedKaratsubaWith(const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                             uint64_t lengthB, uint32_t* out, uint32_t* scratch,
                             RecursionCutovers cut) {
  assert(cut.karatsuba >= 2 && lengthA >= 1 && lengthB >= 1);
  unbalancedCore(a, lengthA, b, lengthB, out, scratch, cut, false);
}

void unbalancedToom3With(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                         uint32_t* out, uint32_t* scratch, RecursionCutovers cut) {
  assert(cut.karatsuba >= 2 && cut.toom3 >= 7 && lengthA >= 1 && lengthB >= 1);
  unbalancedCore(a, lengthA, b, lengthB, out, scratch, cut, true);
}

void unbalancedKaratsuba(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                         uint32_t* out, uint32_t* scratch) {
  unbalancedCore(a, lengthA, b, lengthB, out, scratch, multiplyCutovers, false);
}

void unbalancedToom3(const uint32_t* a, uint64_t lengthA, const uint32_t* b, uint64_t lengthB,
                     uint32_t* out, uint32_t* scratch) {
  unbalancedCore(a, lengthA, b, lengthB, out, scratch, multiplyCutovers, true);
}
