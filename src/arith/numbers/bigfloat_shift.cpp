// BigFloat operations that scale one number: multiplication by a word, by a
// power of two, and truncation to an integer.
#include "arith/numbers/bigfloat.h"
#include "arith/numbers/linear_words.h"
#include "memory/heap.h"

void bigFloatMultiplyWord(Heap* heap, BigFloat* x, uint32_t word, uint64_t p) {
  if (bigFloatIsZero(*x) || word == 1) return;
  if (word == 0) {
    bigFloatDestroy(x);
    bigFloatSetZero(x);
    return;
  }
  BigInt& m = x->mantissa;
  bigIntLoad(heap, &m, 1);
  // Keep at most p + 3 words of the input, so that with the carry word the
  // result has at most p + 4.
  const uint64_t drop = m.length + 1 > p + 4 ? m.length + 1 - (p + 4) : 0;
  x->exponent += int64_t(drop);
  const uint64_t n = m.length - drop;
  if (drop == 0 && n < m.capacity) {
    const uint32_t carry = linearMultiplyWord(m.words, m.words, n, word);
    if (carry != 0) {
      m.words[n] = carry;
      m.length = n + 1;
    }
    bigIntDropSwap(&m);  // the disk copy is stale now
    return;
  }
  uint32_t* words = heapAllocateWords(heap, n + 3);
  const uint32_t carry = linearMultiplyWord(words, m.words + drop, n, word);
  words[n] = carry;
  bigIntDestroy(&m);
  m.length = carry != 0 ? n + 1 : n;
  m.words = words;
  m.capacity = n + 3;
  m.swap = nullptr;
}

void bigFloatShiftBits(Heap* heap, BigFloat* x, int64_t bits) {
  if (bigFloatIsZero(*x)) return;
  x->exponent += bits >> 5;  // arithmetic: rounds toward minus infinity
  const uint32_t k = uint32_t(bits & 31);
  if (k == 0) return;
  BigInt& m = x->mantissa;
  bigIntLoad(heap, &m, 0);
  // x * 2^k = x * 2^32 / 2^(32 - k): when the low 32 - k bits are clear that
  // right shift loses nothing and never needs a new array.
  const uint32_t lowMask = uint32_t((uint64_t(1) << (32 - k)) - 1);
  if ((m.words[0] & lowMask) == 0) {
    bigIntShiftRightBits(heap, &m, 32 - k);
    x->exponent += 1;
  } else {
    bigIntShiftLeftBits(heap, &m, k);
  }
}

void bigFloatTruncateToInteger(Heap* heap, BigFloat* x) {
  if (bigFloatIsZero(*x) || x->exponent >= 0) return;
  const uint64_t fraction = uint64_t(-x->exponent);
  const uint64_t length = x->mantissa.length;
  if (fraction == length) {
    bigFloatDestroy(x);
    bigFloatSetZero(x);
  } else if (fraction > length) {
    // The sign is kept on purpose: a negative number below one in magnitude
    // leaves a negative-flagged zero here, unlike the case above.
    bigIntDestroy(&x->mantissa);
    bigIntSetZero(&x->mantissa);
    x->exponent = 0;
  } else {
    bigIntDropLowWords(heap, &x->mantissa, fraction);
    x->exponent = 0;
  }
}
