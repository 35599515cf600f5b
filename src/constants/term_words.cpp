// Word passes over the leaves' small numbers.
#include "constants/term_words.h"

#include "constants/series.h"
#include "platform/console.h"

namespace {

void trim(TermWords* x) {
  while (x->length != 0 && x->words[x->length - 1] == 0) x->length--;
}

void checkRoom(uint32_t length) {
  if (length > termWordsCapacity) {
    assertionFailure("TermWords", "A leaf number outgrew its array", "");
  }
}

}  // namespace

void termWordsSet(TermWords* x, unsigned __int128 value) {
  for (uint32_t i = 0; i < 4; i++) x->words[i] = uint32_t(value >> (32 * i));
  x->length = 4;
  trim(x);
}

void termWordsMultiply(TermWords* x, uint64_t factor) {
  unsigned __int128 carry = 0;
  for (uint32_t i = 0; i < x->length; i++) {
    const unsigned __int128 t = (unsigned __int128)x->words[i] * factor + carry;
    x->words[i] = uint32_t(t);
    carry = t >> 32;
  }
  uint32_t n = x->length;
  while (carry != 0) {
    checkRoom(n + 1);
    x->words[n++] = uint32_t(carry);
    carry >>= 32;
  }
  x->length = n;
  trim(x);
}

void termWordsAdd(TermWords* x, const TermWords* y) {
  const uint32_t n = x->length > y->length ? x->length : y->length;
  uint64_t carry = 0;
  for (uint32_t i = 0; i < n; i++) {
    const uint64_t t = uint64_t(i < x->length ? x->words[i] : 0) +
                       (i < y->length ? y->words[i] : 0) + carry;
    x->words[i] = uint32_t(t);
    carry = t >> 32;
  }
  x->length = n;
  if (carry != 0) {
    checkRoom(n + 1);
    x->words[x->length++] = uint32_t(carry);
  }
}

void termWordsSubtract(TermWords* x, const TermWords* y) {
  int64_t borrow = 0;
  for (uint32_t i = 0; i < x->length; i++) {
    const int64_t t = int64_t(x->words[i]) - (i < y->length ? y->words[i] : 0) - borrow;
    x->words[i] = uint32_t(t);
    borrow = t < 0 ? 1 : 0;
  }
  while (x->length > 0 && x->words[x->length - 1] == 0) x->length--;
}

void termWordsAddSmall(TermWords* x, uint64_t value) {
  TermWords y;
  termWordsSet(&y, value);
  termWordsAdd(x, &y);
}

void termWordsMultiplyBy(TermWords* x, const TermWords* y) {
  TermWords out;
  out.length = x->length + y->length;
  checkRoom(out.length);
  for (uint32_t i = 0; i < out.length; i++) out.words[i] = 0;
  for (uint32_t i = 0; i < x->length; i++) {
    uint64_t carry = 0;
    for (uint32_t j = 0; j < y->length; j++) {
      const uint64_t t = uint64_t(x->words[i]) * y->words[j] + out.words[i + j] + carry;
      out.words[i + j] = uint32_t(t);
      carry = t >> 32;
    }
    out.words[i + y->length] = uint32_t(carry);
  }
  trim(&out);
  *x = out;
}

void termWordsToSplit(Heap* heap, const TermWords* x, SplitNumber* out) {
  uint32_t* words = splitNumberAllocate(heap, out, x->length + 2);
  for (uint32_t i = 0; i < x->length; i++) words[i] = x->words[i];
  splitNumberFinish(out, x->length);
}
