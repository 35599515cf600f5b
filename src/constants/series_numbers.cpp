// The records of a range: integer numbers with their stripped low zero
// words, the float form that block tops and finishes use, and the moves
// between the two.
#include <cstring>

#include "constants/series.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "platform/console.h"

void splitNumberSetZero(SplitNumber* number) {
  number->stripped = 0;
  number->length = 0;
  number->words = nullptr;
  number->base = nullptr;
  number->capacity = 0;
}

uint32_t* splitNumberAllocate(Heap* heap, SplitNumber* number, uint64_t capacity) {
  number->base = heapAllocateWords(heap, capacity);
  number->words = number->base;
  number->capacity = capacity;
  number->length = 0;
  number->stripped = 0;
  return number->base;
}

void splitNumberFinish(SplitNumber* number, uint64_t length) {
  const uint32_t* top = number->words;
  while (length > 0 && top[length - 1] == 0) length--;
  uint64_t low = 0;
  while (low < length && number->words[low] == 0) low++;
  number->words += low;
  number->stripped += low;
  number->length = length - low;
}

void splitNumberFromU64(Heap* heap, SplitNumber* number, uint64_t value) {
  uint32_t* words = splitNumberAllocate(heap, number, 3);
  words[0] = uint32_t(value);
  words[1] = uint32_t(value >> 32);
  words[2] = 0;
  splitNumberFinish(number, 2);
}

void splitNumberRelease(SplitNumber* number) {
  if (number->base != nullptr) heapRelease(number->base);
  splitNumberSetZero(number);
}

void splitNumberToFloat(SplitNumber* number, BigFloat* out, uint32_t positive) {
  if (number->length == 0) {
    splitNumberRelease(number);
    bigFloatSetZero(out);
    return;
  }
  // The words below the first non-zero one are zero: the mantissa starts at
  // the allocation and the exponent accounts for them.
  const uint64_t offset = uint64_t(number->words - number->base);
  out->positive = positive;
  out->exponent = int64_t(number->stripped) - int64_t(offset);
  out->mantissa.length = offset + number->length;
  out->mantissa.words = number->base;
  out->mantissa.capacity = number->capacity;
  out->mantissa.swap = nullptr;
  splitNumberSetZero(number);
}

void seriesTruncateFloat(BigFloat* x, uint64_t p) {
  if (p >= seriesWhole - 3) return;
  const uint64_t keep = p + 3;
  const uint64_t length = x->mantissa.length;
  if (length <= keep || length == bigIntDestroyedLength || x->mantissa.words == nullptr) return;
  bigIntDropSwap(&x->mantissa);
  const uint64_t drop = length - keep;
  memmove(x->mantissa.words, x->mantissa.words + drop, keep * sizeof(uint32_t));
  x->mantissa.length = keep;
  x->exponent += int64_t(drop);
}

void splitRecordSetZero(SplitRecord* record) {
  splitNumberSetZero(&record->p);
  splitNumberSetZero(&record->q);
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) splitNumberSetZero(&record->r[i]);
}

void splitRecordRelease(SplitRecord* record) {
  // Highest allocation first keeps the arena's top coming down.
  SplitNumber* numbers[2 + seriesMaxNumerators] = {&record->p, &record->q, &record->r[0],
                                                   &record->r[1]};
  const uint32_t count = 2 + seriesMaxNumerators;
  for (uint32_t done = 0; done < count; done++) {
    SplitNumber* highest = nullptr;
    for (uint32_t i = 0; i < count; i++) {
      if (numbers[i]->base == nullptr) continue;
      if (highest == nullptr || numbers[i]->base > highest->base) highest = numbers[i];
    }
    if (highest == nullptr) break;
    splitNumberRelease(highest);
  }
  splitRecordSetZero(record);
}

void splitFloatsSetZero(SplitFloats* record) {
  bigFloatSetZero(&record->p);
  bigFloatSetZero(&record->q);
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) bigFloatSetZero(&record->r[i]);
}

static void releaseFloat(BigFloat* x) {
  if (!bigIntIsDestroyed(x->mantissa)) bigFloatDestroy(x);
  bigFloatSetZero(x);
}

void splitFloatsRelease(SplitFloats* record) {
  for (uint32_t i = seriesMaxNumerators; i-- > 0;) releaseFloat(&record->r[i]);
  releaseFloat(&record->q);
  releaseFloat(&record->p);
}

void splitRecordToFloats(const SeriesKind* kind, SplitRecord* record, SplitFloats* out,
                         uint64_t first, uint64_t precision) {
  splitFloatsSetZero(out);
  splitNumberToFloat(&record->p, &out->p, 1);
  splitNumberToFloat(&record->q, &out->q, 1);
  // An alternating numerator carries the sign of its range's first term,
  // negative when that term's index first + 1 is odd.
  const uint32_t negative = (first + 1) & 1;
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) {
    const uint32_t alternating = (kind->alternatingMask >> i) & 1;
    splitNumberToFloat(&record->r[i], &out->r[i], alternating && negative ? 0 : 1);
  }
  seriesTruncateFloat(&out->p, precision);
  seriesTruncateFloat(&out->q, precision);
  for (uint32_t i = 0; i < seriesMaxNumerators; i++) seriesTruncateFloat(&out->r[i], precision);
  splitRecordSetZero(record);
}
