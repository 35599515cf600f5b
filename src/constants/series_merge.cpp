// The merge of two adjacent ranges, (a, m] and (m, b], in integer form
// (exact, low zero words carried as counts) and in float form (signed,
// truncated at a precision):
//   Q = Q1 * Q2,  R = R1 * Q2 +/- P1 * R2,  P = P1 * P2
// Operands are released as soon as they are consumed and the results are
// compacted down, since the arena recovers memory only from its top.
#include <algorithm>
#include <cstring>

#include "arith/numbers/linear_words.h"
#include "arith/multiply.h"
#include "arith/numbers/word_ops.h"
#include "constants/series.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// out[0 .. la + lb) = a * b for plain numbers (their stripped counts are the
// caller's). One-word operands take the linear kernel; zero gives zeros.
void productWords(Heap* heap, const SplitNumber& a, const SplitNumber& b, uint32_t* out,
                  uint32_t threadPower) {
  const uint64_t la = a.length, lb = b.length;
  if (la == 0 || lb == 0) {
    memset(out, 0, (la + lb) * sizeof(uint32_t));
  } else if (lb == 1) {
    out[la] = linearMultiplyWord(out, a.words, la, b.words[0]);
  } else if (la == 1) {
    out[lb] = linearMultiplyWord(out, b.words, lb, a.words[0]);
  } else {
    const uint64_t length = multiplyWordArrays(heap, a.words, la, b.words, lb, out, threadPower);
    memset(out + length, 0, (la + lb - length) * sizeof(uint32_t));
  }
}

// A fresh number = a * b, stripped.
void productNumber(Heap* heap, const SplitNumber& a, const SplitNumber& b, SplitNumber* out,
                   uint32_t threadPower) {
  if (a.length == 0 || b.length == 0) {
    splitNumberSetZero(out);
    return;
  }
  const uint64_t length = a.length + b.length;
  uint32_t* words = splitNumberAllocate(heap, out, length);
  productWords(heap, a, b, words, threadPower);
  out->stripped = a.stripped + b.stripped;
  splitNumberFinish(out, length);
}

// target[0 .. n) +/- source[0 .. length), the carry or borrow rippled to the
// top. A borrow out of the top means a negative result: never in a series
// whose first term dominates.
void addAligned(uint32_t* target, uint64_t n, const uint32_t* source, uint64_t length,
                bool subtract) {
  if (subtract) {
    const uint32_t borrow = subtractWordsInPlace(target, source, length);
    if (borrow != 0) {
      uint64_t i = length;
      while (i < n && target[i] == 0) target[i++] = 0xffffffffu;
      if (i == n) algorithmicFailure("Binary splitting merge", "Negative partial sum");
      target[i]--;
    }
  } else {
    const uint32_t carry = addWordsInPlace(target, source, length);
    if (rippleCarry(target + length, n - length, carry) != 0) {
      algorithmicFailure("Binary splitting merge", "Carry out of the sum");
    }
  }
}

// out = left.r * right.q +/- u, where u = left.p * right.r (or right.r
// alone for a series without P). Aligned on the stripped counts.
void numeratorMerge(Heap* heap, const SeriesKind* kind, const SplitNumber& r1,
                    const SplitNumber& q2, const SplitNumber* p1, const SplitNumber& r2,
                    SplitNumber* out, bool subtract, uint32_t threadPower) {
  const bool withP = p1 != nullptr;
  const uint64_t lengthT = (r1.length == 0 || q2.length == 0) ? 0 : r1.length + q2.length;
  const uint64_t strippedT = r1.stripped + q2.stripped;
  uint64_t lengthU = r2.length;
  uint64_t strippedU = r2.stripped;
  if (withP) {
    lengthU = (p1->length == 0 || r2.length == 0) ? 0 : p1->length + r2.length;
    strippedU = p1->stripped + r2.stripped;
  }
  if (lengthT == 0 && lengthU == 0) {
    splitNumberSetZero(out);
    return;
  }
  // The window from the lower of the two low ends to one word above the
  // higher top, for the carry.
  uint64_t low = std::min(lengthT ? strippedT : strippedU, lengthU ? strippedU : strippedT);
  uint64_t top = std::max(strippedT + lengthT, strippedU + lengthU) + 1;
  const uint64_t window = top - low;
  uint32_t* words = splitNumberAllocate(heap, out, window + 1);
  memset(words, 0, (window + 1) * sizeof(uint32_t));
  if (lengthT != 0) productWords(heap, r1, q2, words + (strippedT - low), threadPower);
  if (lengthU != 0) {
    const uint64_t offset = strippedU - low;
    if (withP) {
      SplitNumber u;
      uint32_t* temp = splitNumberAllocate(heap, &u, lengthU);
      productWords(heap, *p1, r2, temp, threadPower);
      addAligned(words + offset, window - offset, temp, lengthU, subtract);
      splitNumberRelease(&u);
    } else {
      addAligned(words + offset, window - offset, r2.words, lengthU, subtract);
    }
  }
  out->stripped = low;
  splitNumberFinish(out, window);
}

// The merge of a one-numerator series with P when the products are direct
// FFT products: R1 * Q2 and Q1 * Q2 share the transform of Q2, P1 * R2 and
// P1 * P2 (when P is wanted) that of P1. False, with nothing done, when the
// sizes don't allow it; the results are those of the plain merge. The
// inputs are left to the caller.
bool sharedMerge(Heap* heap, SplitRecord* left, SplitRecord* right, SplitRecord* out,
                 bool subtract, uint32_t wantP, uint32_t threadPower) {
  const SplitNumber &r1 = left->r[0], &q1 = left->q, &p1 = left->p;
  const SplitNumber &r2 = right->r[0], &q2 = right->q, &p2 = right->p;
  if (r1.length == 0 || q1.length == 0 || p1.length == 0 || r2.length == 0 ||
      q2.length == 0 || (wantP && p2.length == 0)) {
    return false;
  }
  if (!multiplySharedTaken(q2.length, r1.length, q1.length)) return false;
  const bool sharedP = wantP && multiplySharedTaken(p1.length, r2.length, p2.length);
  const uint64_t lengthT = r1.length + q2.length, strippedT = r1.stripped + q2.stripped;
  const uint64_t lengthU = p1.length + r2.length, strippedU = p1.stripped + r2.stripped;
  const uint64_t low = std::min(strippedT, strippedU);
  const uint64_t window = std::max(strippedT + lengthT, strippedU + lengthU) + 1 - low;
  uint32_t* words = splitNumberAllocate(heap, &out->r[0], window + 1);
  memset(words, 0, (window + 1) * sizeof(uint32_t));
  const uint64_t lengthQ = q1.length + q2.length;
  uint32_t* wordsQ = splitNumberAllocate(heap, &out->q, lengthQ);
  if (!multiplyWordArraysShared(heap, q2.words, q2.length, r1.words, r1.length,
                                words + (strippedT - low), q1.words, q1.length, wordsQ)) {
    productWords(heap, r1, q2, words + (strippedT - low), threadPower);
    productWords(heap, q1, q2, wordsQ, threadPower);
  }
  out->q.stripped = q1.stripped + q2.stripped;
  splitNumberFinish(&out->q, lengthQ);
  SplitNumber u;
  uint32_t* temp = splitNumberAllocate(heap, &u, lengthU);
  if (wantP) {
    const uint64_t lengthP = p1.length + p2.length;
    uint32_t* wordsP = splitNumberAllocate(heap, &out->p, lengthP);
    if (!sharedP || !multiplyWordArraysShared(heap, p1.words, p1.length, r2.words, r2.length,
                                              temp, p2.words, p2.length, wordsP)) {
      productWords(heap, p1, r2, temp, threadPower);
      productWords(heap, p1, p2, wordsP, threadPower);
    }
    out->p.stripped = p1.stripped + p2.stripped;
    splitNumberFinish(&out->p, lengthP);
  } else {
    productWords(heap, p1, r2, temp, threadPower);
  }
  const uint64_t offset = strippedU - low;
  addAligned(words + offset, window - offset, temp, lengthU, subtract);
  splitNumberRelease(&u);
  out->r[0].stripped = low;
  splitNumberFinish(&out->r[0], window);
  return true;
}

// Moves the results down into the space of the consumed operands; `words`
// follows its block.
void compactNumbers(SplitNumber* numbers[], uint32_t count) {
  void** pointers[2 + seriesMaxNumerators];
  uint64_t offsets[2 + seriesMaxNumerators];
  uint32_t used = 0;
  for (uint32_t i = 0; i < count; i++) {
    if (numbers[i]->base == nullptr) continue;
    offsets[used] = uint64_t(numbers[i]->words - numbers[i]->base);
    pointers[used] = reinterpret_cast<void**>(&numbers[i]->base);
    numbers[used] = numbers[i];
    used++;
  }
  if (used == 0) return;
  heapCompactBlocks(pointers, used);
  for (uint32_t i = 0; i < used; i++) numbers[i]->words = numbers[i]->base + offsets[i];
}

}  // namespace

void seriesMergeIntegers(Heap* heap, const SeriesKind* kind, SplitRecord* left, SplitRecord* right,
                         SplitRecord* out, uint64_t first, uint64_t middle, uint32_t wantP,
                         uint32_t threadPower) {
  if (kind->mergeIntegers != nullptr) {
    kind->mergeIntegers(heap, kind, left, right, out, first, middle, wantP, threadPower);
    return;
  }
  splitRecordSetZero(out);
  const bool withP = kind->hasP != 0;
  const bool oddDistance = ((middle - first) & 1) != 0;
  if (withP && kind->numerators == 1 &&
      sharedMerge(heap, left, right, out, oddDistance && (kind->alternatingMask & 1) != 0,
                  wantP, threadPower)) {
    splitRecordRelease(right);
    splitRecordRelease(left);
    SplitNumber* numbers[2 + seriesMaxNumerators] = {&out->p, &out->q, &out->r[0], &out->r[1]};
    compactNumbers(numbers, 2 + seriesMaxNumerators);
    return;
  }
  for (uint32_t i = 0; i < kind->numerators; i++) {
    const bool subtract = oddDistance && ((kind->alternatingMask >> i) & 1) != 0;
    numeratorMerge(heap, kind, left->r[i], right->q, withP ? &left->p : nullptr, right->r[i],
                   &out->r[i], subtract, threadPower);
    splitNumberRelease(&right->r[i]);
    splitNumberRelease(&left->r[i]);
  }
  productNumber(heap, left->q, right->q, &out->q, threadPower);
  splitNumberRelease(&right->q);
  splitNumberRelease(&left->q);
  if (withP && wantP) productNumber(heap, left->p, right->p, &out->p, threadPower);
  splitNumberRelease(&right->p);
  splitNumberRelease(&left->p);
  SplitNumber* numbers[2 + seriesMaxNumerators] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  compactNumbers(numbers, 2 + seriesMaxNumerators);
}

// ---- Float form ------------------------------------------------------------------

namespace {

void destroyFloat(BigFloat* x) {
  bigFloatDestroy(x);
  bigFloatSetZero(x);
}

// Brings a record's words in when it lives on disk (the copy kept).
void loadFloat(Heap* heap, BigFloat* x) {
  if (bigIntIsPagedOut(x->mantissa)) bigIntLoad(heap, &x->mantissa, 1);
}

// Frees the words of a number that has a disk copy or may take one.
void pageOut(BigFloat* x, bool paged) {
  if (paged) bigFloatPushToDisk(x);
}

// The merge in memory of a one-numerator series with P, when the products
// are direct FFT products: R1 * Q2 and Q1 * Q2 share the transform of Q2,
// P1 * R2 and P1 * P2 that of P1. False, with nothing done, when sizes or
// room don't allow the first pair; the results are those of the plain
// merge, and the inputs are consumed only on success.
bool sharedMergeFloats(Heap* heap, SplitFloats* left, SplitFloats* right, SplitFloats* out,
                       uint64_t leftPrecision, uint64_t rightPrecision, uint32_t wantP,
                       uint32_t threadPower) {
  const BigFloat* all[6] = {&left->p, &left->q, &left->r[0], &right->p, &right->q, &right->r[0]};
  for (const BigFloat* x : all) {
    if (bigIntIsPagedOut(x->mantissa)) return false;
  }
  BigFloat t, u;
  if (!bigFloatMultiplyShared(heap, &right->q, &left->r[0], &t, leftPrecision, &left->q, &out->q,
                              leftPrecision)) {
    return false;
  }
  destroyFloat(&left->r[0]);
  destroyFloat(&right->q);
  destroyFloat(&left->q);
  if (!wantP || !bigFloatMultiplyShared(heap, &left->p, &right->r[0], &u, rightPrecision,
                                        &right->p, &out->p, leftPrecision)) {
    bigFloatMultiplyInto(heap, &left->p, &right->r[0], &u, rightPrecision, threadPower);
    if (wantP) {
      bigFloatMultiplyInto(heap, &left->p, &right->p, &out->p, leftPrecision, threadPower);
    }
  }
  destroyFloat(&right->r[0]);
  destroyFloat(&right->p);
  destroyFloat(&left->p);
  bigFloatAdd(heap, &t, &u, &out->r[0], leftPrecision);
  destroyFloat(&u);
  destroyFloat(&t);
  bigFloatCompact3(&out->p, &out->q, &out->r[0]);
  return true;
}

// The standard float merge; `paged` pushes every operand and result to disk
// between the products, so that only one product's numbers are in memory.
void mergeFloatsWith(Heap* heap, const SeriesKind* kind, SplitFloats* left, SplitFloats* right,
                     SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                     uint32_t wantP, uint32_t threadPower, bool paged) {
  splitFloatsSetZero(out);
  const bool withP = kind->hasP != 0;
  if (!paged && withP && kind->numerators == 1 &&
      sharedMergeFloats(heap, left, right, out, leftPrecision, rightPrecision, wantP,
                        threadPower)) {
    return;
  }
  for (uint32_t i = 0; i < kind->numerators; i++) {
    BigFloat t, u;
    loadFloat(heap, &left->r[i]);
    loadFloat(heap, &right->q);
    bigFloatMultiplyInto(heap, &left->r[i], &right->q, &t, leftPrecision, threadPower);
    destroyFloat(&left->r[i]);
    pageOut(&right->q, paged);
    pageOut(&t, paged);
    if (withP) {
      loadFloat(heap, &left->p);
      loadFloat(heap, &right->r[i]);
      bigFloatMultiplyInto(heap, &left->p, &right->r[i], &u, rightPrecision, threadPower);
      destroyFloat(&right->r[i]);
      pageOut(&left->p, paged);
      pageOut(&u, paged);
    } else {
      bigFloatMove(&u, &right->r[i]);
      bigFloatSetZero(&right->r[i]);
    }
    loadFloat(heap, &t);
    loadFloat(heap, &u);
    bigFloatAdd(heap, &t, &u, &out->r[i], leftPrecision);
    destroyFloat(&u);
    destroyFloat(&t);
    pageOut(&out->r[i], paged);
  }
  loadFloat(heap, &left->q);
  loadFloat(heap, &right->q);
  bigFloatMultiplyInto(heap, &left->q, &right->q, &out->q, leftPrecision, threadPower);
  destroyFloat(&right->q);
  destroyFloat(&left->q);
  pageOut(&out->q, paged);
  if (withP && wantP) {
    loadFloat(heap, &left->p);
    loadFloat(heap, &right->p);
    bigFloatMultiplyInto(heap, &left->p, &right->p, &out->p, leftPrecision, threadPower);
    pageOut(&out->p, paged);
  }
  destroyFloat(&right->p);
  destroyFloat(&left->p);
  if (!paged) {
    if (kind->numerators == 1) {
      bigFloatCompact3(&out->p, &out->q, &out->r[0]);
    } else {
      BigFloat* all[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
      void** pointers[4];
      for (uint32_t i = 0; i < 4; i++) {
        pointers[i] = reinterpret_cast<void**>(&all[i]->mantissa.words);
      }
      heapCompactBlocks(pointers, 4);
    }
  }
}

}  // namespace

void seriesMergeFloats(Heap* heap, const SeriesKind* kind, SplitFloats* left, SplitFloats* right,
                       SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                       uint32_t wantP, uint32_t threadPower) {
  if (kind->mergeFloats != nullptr) {
    kind->mergeFloats(heap, kind, left, right, out, leftPrecision, rightPrecision, wantP,
                      threadPower);
    return;
  }
  mergeFloatsWith(heap, kind, left, right, out, leftPrecision, rightPrecision, wantP, threadPower,
                  false);
}

void seriesMergeFloatsPaged(Heap* heap, const SeriesKind* kind, SplitFloats* left,
                            SplitFloats* right, SplitFloats* out, uint64_t leftPrecision,
                            uint64_t rightPrecision, uint32_t wantP, uint32_t threadPower) {
  if (kind->mergeFloatsPaged != nullptr) {
    kind->mergeFloatsPaged(heap, kind, left, right, out, leftPrecision, rightPrecision, wantP,
                           threadPower);
    return;
  }
  if (kind->mergeFloats != nullptr) {
    splitFloatsLoad(heap, left);
    splitFloatsLoad(heap, right);
    kind->mergeFloats(heap, kind, left, right, out, leftPrecision, rightPrecision, wantP,
                      threadPower);
    return;
  }
  mergeFloatsWith(heap, kind, left, right, out, leftPrecision, rightPrecision, wantP, threadPower,
                  true);
}

void splitFloatsPushToDisk(SplitFloats* record) {
  bigFloatPushToDisk(&record->p);
  bigFloatPushToDisk(&record->q);
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) bigFloatPushToDisk(&record->r[i]);
}

void splitFloatsLoad(Heap* heap, SplitFloats* record) {
  loadFloat(heap, &record->p);
  loadFloat(heap, &record->q);
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) loadFloat(heap, &record->r[i]);
}
