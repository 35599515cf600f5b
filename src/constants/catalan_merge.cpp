// The merge of Ramanujan's Catalan series, whose Q is held in two factors:
//   P = P1 P2, Qa = Qa1 Qa2, Qb = Qb1 Qb2, R = R1 Qa2 Qb2 + R2 P1 Qb1,
// in the order that frees each operand at its last use. Records hold
// p = P, q = Qa, r[0] = R, r[1] = Qb.
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

}  // namespace

void catalanMergeFloats(Heap* heap, const SeriesKind*, SplitFloats* left, SplitFloats* right,
                        SplitFloats* out, uint64_t leftPrecision, uint64_t rightPrecision,
                        uint32_t wantP, uint32_t threadPower) {
  BigFloat* all[8] = {&left->p,    &left->q,    &left->r[0],  &left->r[1],
                      &right->p,   &right->q,   &right->r[0], &right->r[1]};
  for (BigFloat* x : all) load(heap, x);
  splitFloatsSetZero(out);
  if (wantP) bigFloatMultiplyInto(heap, &left->p, &right->p, &out->p, leftPrecision, threadPower);
  destroy(&right->p);
  bigFloatMultiplyInto(heap, &left->q, &right->q, &out->q, leftPrecision, threadPower);
  destroy(&left->q);
  multiplyInPlace(heap, &right->q, &right->r[1], leftPrecision, threadPower);
  multiplyInPlace(heap, &left->p, &left->r[1], rightPrecision, threadPower);
  bigFloatMultiplyInto(heap, &left->r[1], &right->r[1], &out->r[1], leftPrecision, threadPower);
  destroy(&left->r[1]);
  destroy(&right->r[1]);
  multiplyInPlace(heap, &right->r[0], &left->p, rightPrecision, threadPower);
  destroy(&left->p);
  BigFloat t;
  bigFloatMultiplyInto(heap, &left->r[0], &right->q, &t, leftPrecision, threadPower);
  destroy(&left->r[0]);
  destroy(&right->q);
  bigFloatAdd(heap, &t, &right->r[0], &out->r[0], leftPrecision);
  destroy(&t);
  destroy(&right->r[0]);
  BigFloat* results[4] = {&out->p, &out->q, &out->r[0], &out->r[1]};
  void** pointers[4];
  for (uint32_t i = 0; i < 4; i++) pointers[i] = reinterpret_cast<void**>(&results[i]->mantissa.words);
  heapCompactBlocks(pointers, 4);
}
