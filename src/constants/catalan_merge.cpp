// The merge of Ramanujan's Catalan series, whose Q is held in two factors:
//   P = P1 P2, Qa = Qa1 Qa2, Qb = Qb1 Qb2, R = R1 Qa2 Qb2 + R2 P1 Qb1,
// in the order that frees each operand at its last use. Records hold
// p = P, q = Qa, r[0] = R, r[1] = Qb. The float merge has a paged form for
// Basic Swap, which keeps every number on disk between its uses.
#include <initializer_list>

#include "constants/series.h"
#include "constants/split_ops.h"
#include "constants/zeta_catalan.h"
#include "memory/heap.h"

void catalanMergeIntegers(Heap* heap, const SeriesKind*, SplitRecord* left, SplitRecord* right,
                          SplitRecord* out, uint64_t, uint64_t, uint32_t wantP,
                          uint32_t threadPower) {
  splitRecordSetZero(out);
  if (wantP) splitNumberMultiply(heap, left->p, right->p, &out->p, threadPower);
  splitNumberRelease(&right->p);
  splitNumberMultiply(heap, left->q, right->q, &out->q, threadPower);
  splitNumberRelease(&left->q);
  splitNumberMultiplyInPlace(heap, &right->q, right->r[1], threadPower);  // Qa2 Qb2
  splitNumberMultiplyInPlace(heap, &left->p, left->r[1], threadPower);    // P1 Qb1
  splitNumberMultiply(heap, left->r[1], right->r[1], &out->r[1], threadPower);
  splitNumberRelease(&left->r[1]);
  splitNumberRelease(&right->r[1]);
  splitNumberMultiplyInPlace(heap, &right->r[0], left->p, threadPower);  // R2 P1 Qb1
  splitNumberRelease(&left->p);
  SplitNumber t;
  splitNumberMultiply(heap, left->r[0], right->q, &t, threadPower);  // R1 Qa2 Qb2
  splitNumberRelease(&left->r[0]);
  splitNumberRelease(&right->q);
  splitNumberAdd(heap, t, right->r[0], &out->r[0]);
  splitNumberRelease(&t);
  splitNumberRelease(&right->r[0]);
  SplitNumber* numbers[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  splitNumbersCompact(numbers, 4);
}

namespace {

void destroy(BigFloat* x) {
  bigFloatDestroy(x);
  bigFloatSetZero(x);
}

void load(Heap* heap, BigFloat* x) {
  if (bigIntIsPagedOut(x->mantissa)) bigIntLoad(heap, &x->mantissa, 0);
}

// x = x * y at p words, through a fresh record.
void multiplyInPlace(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p, uint32_t threadPower) {
  BigFloat product;
  bigFloatMultiplyInto(heap, x, y, &product, p, threadPower);
  destroy(x);
  bigFloatMove(x, &product);
}

// The float merge; `paged` pushes both records to disk first and every
// operand that is used again and every result after each step, so that
// only one step's numbers are in memory (large products of two paged
// operands take the disk path and leave their result on disk).
void mergeFloats(Heap* heap, SplitFloats* left, SplitFloats* right, SplitFloats* out,
                 uint64_t leftPrecision, uint64_t rightPrecision, uint32_t wantP,
                 uint32_t threadPower, bool paged) {
  BigFloat* p1 = &left->p;
  BigFloat* qa1 = &left->q;
  BigFloat* r1 = &left->r[0];
  BigFloat* qb1 = &left->r[1];
  BigFloat* p2 = &right->p;
  BigFloat* qa2 = &right->q;
  BigFloat* r2 = &right->r[0];
  BigFloat* qb2 = &right->r[1];
  if (paged) {
    splitFloatsPushToDisk(left);
    splitFloatsPushToDisk(right);
  } else {
    for (BigFloat* x : {p1, qa1, r1, qb1, p2, qa2, r2, qb2}) load(heap, x);
  }
  // Pushes the numbers to disk in the paged form.
  auto park = [paged](std::initializer_list<BigFloat*> numbers) {
    if (!paged) return;
    for (BigFloat* x : numbers) bigFloatPushToDisk(x);
  };
  splitFloatsSetZero(out);
  if (wantP) bigFloatMultiplyInto(heap, p1, p2, &out->p, leftPrecision, threadPower);
  destroy(p2);
  park({p1, &out->p});
  bigFloatMultiplyInto(heap, qa1, qa2, &out->q, leftPrecision, threadPower);
  destroy(qa1);
  park({qa2, &out->q});
  multiplyInPlace(heap, qa2, qb2, leftPrecision, threadPower);  // Qa2 Qb2
  park({qa2, qb2});
  multiplyInPlace(heap, p1, qb1, rightPrecision, threadPower);  // P1 Qb1
  park({p1, qb1});
  bigFloatMultiplyInto(heap, qb1, qb2, &out->r[1], leftPrecision, threadPower);
  destroy(qb1);
  destroy(qb2);
  park({&out->r[1]});
  multiplyInPlace(heap, r2, p1, rightPrecision, threadPower);  // R2 P1 Qb1
  destroy(p1);
  park({r2});
  BigFloat t;
  bigFloatMultiplyInto(heap, r1, qa2, &t, leftPrecision, threadPower);  // R1 Qa2 Qb2
  destroy(r1);
  destroy(qa2);
  bigFloatAdd(heap, &t, r2, &out->r[0], leftPrecision);
  destroy(&t);
  destroy(r2);
  park({&out->r[0]});
  if (paged) return;
  BigFloat* results[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  void** pointers[4];
  for (uint32_t i = 0; i < 4; i++) pointers[i] = reinterpret_cast<void**>(&results[i]->mantissa.words);
  heapCompactBlocks(pointers, 4);
}

}  // namespace

void catalanMergeFloats(Heap* heap, const SeriesKind*, SplitFloats* left, SplitFloats* right,
                        SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                        uint32_t wantP, uint32_t threadPower) {
  mergeFloats(heap, left, right, out, leftPrecision, rightPrecision, wantP, threadPower, false);
}

void catalanMergeFloatsPaged(Heap* heap, const SeriesKind*, SplitFloats* left, SplitFloats* right,
                             SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                             uint32_t wantP, uint32_t threadPower) {
  mergeFloats(heap, left, right, out, leftPrecision, rightPrecision, wantP, threadPower, true);
}
