// Exact products and aligned sums of summation numbers.
#include "constants/split_ops.h"

#include <algorithm>
#include <cstring>

#include "arith/multiply.h"
#include "arith/numbers/linear_words.h"
#include "arith/numbers/word_ops.h"
#include "memory/heap.h"
#include "platform/console.h"

void splitNumberMultiply(Heap* heap, const SplitNumber& a, const SplitNumber& b, SplitNumber* out,
                         uint32_t threadPower) {
  if (a.length == 0 || b.length == 0) {
    splitNumberSetZero(out);
    return;
  }
  const uint64_t length = a.length + b.length;
  uint32_t* words = splitNumberAllocate(heap, out, length);
  if (b.length == 1) {
    words[a.length] = linearMultiplyWord(words, a.words, a.length, b.words[0]);
  } else if (a.length == 1) {
    words[b.length] = linearMultiplyWord(words, b.words, b.length, a.words[0]);
  } else {
    const uint64_t got =
        multiplyWordArrays(heap, a.words, a.length, b.words, b.length, words, threadPower);
    memset(words + got, 0, (length - got) * sizeof(uint32_t));
  }
  out->stripped = a.stripped + b.stripped;
  splitNumberFinish(out, length);
}

void splitNumberMultiplyShared(Heap* heap, const SplitNumber& a, const SplitNumber& b,
                               SplitNumber* outB, const SplitNumber& c, SplitNumber* outC,
                               uint32_t threadPower) {
  if (a.length < 2 || b.length < 2 || c.length < 2 ||
      !multiplySharedTaken(a.length, b.length, c.length)) {
    splitNumberMultiply(heap, a, b, outB, threadPower);
    splitNumberMultiply(heap, a, c, outC, threadPower);
    return;
  }
  const uint64_t lengthB = a.length + b.length, lengthC = a.length + c.length;
  uint32_t* wordsB = splitNumberAllocate(heap, outB, lengthB);
  uint32_t* wordsC = splitNumberAllocate(heap, outC, lengthC);
  if (!multiplyWordArraysShared(heap, a.words, a.length, b.words, b.length, wordsB, c.words,
                                c.length, wordsC)) {
    uint64_t got = multiplyWordArrays(heap, a.words, a.length, b.words, b.length, wordsB,
                                      threadPower);
    memset(wordsB + got, 0, (lengthB - got) * sizeof(uint32_t));
    got = multiplyWordArrays(heap, a.words, a.length, c.words, c.length, wordsC, threadPower);
    memset(wordsC + got, 0, (lengthC - got) * sizeof(uint32_t));
  }
  outB->stripped = a.stripped + b.stripped;
  splitNumberFinish(outB, lengthB);
  outC->stripped = a.stripped + c.stripped;
  splitNumberFinish(outC, lengthC);
}

void splitNumberAdd(Heap* heap, const SplitNumber& a, const SplitNumber& b, SplitNumber* out) {
  if (a.length == 0 || b.length == 0) {
    const SplitNumber& only = a.length == 0 ? b : a;
    if (only.length == 0) {
      splitNumberSetZero(out);
      return;
    }
    uint32_t* words = splitNumberAllocate(heap, out, only.length);
    memcpy(words, only.words, only.length * sizeof(uint32_t));
    out->stripped = only.stripped;
    splitNumberFinish(out, only.length);
    return;
  }
  const uint64_t low = std::min(a.stripped, b.stripped);
  const uint64_t top = std::max(a.stripped + a.length, b.stripped + b.length) + 1;
  const uint64_t window = top - low;
  uint32_t* words = splitNumberAllocate(heap, out, window);
  memset(words, 0, window * sizeof(uint32_t));
  memcpy(words + (a.stripped - low), a.words, a.length * sizeof(uint32_t));
  const uint64_t offset = b.stripped - low;
  const uint32_t carry = addWordsInPlace(words + offset, b.words, b.length);
  if (rippleCarry(words + offset + b.length, window - offset - b.length, carry) != 0) {
    algorithmicFailure("splitNumberAdd", "Carry out of the sum");
  }
  out->stripped = low;
  splitNumberFinish(out, window);
}

void splitNumberMultiplyInPlace(Heap* heap, SplitNumber* x, const SplitNumber& y,
                                uint32_t threadPower) {
  SplitNumber product;
  splitNumberMultiply(heap, *x, y, &product, threadPower);
  splitNumberRelease(x);
  *x = product;
}

void splitNumbersCompact(SplitNumber* numbers[], uint32_t count) {
  void** pointers[8];
  uint64_t offsets[8];
  SplitNumber* used[8];
  uint32_t n = 0;
  for (uint32_t i = 0; i < count && n < 8; i++) {
    if (numbers[i] == nullptr || numbers[i]->base == nullptr) continue;
    offsets[n] = uint64_t(numbers[i]->words - numbers[i]->base);
    pointers[n] = reinterpret_cast<void**>(&numbers[i]->base);
    used[n] = numbers[i];
    n++;
  }
  if (n == 0) return;
  heapCompactBlocks(pointers, n);
  for (uint32_t i = 0; i < n; i++) used[i]->words = used[i]->base + offsets[i];
}
