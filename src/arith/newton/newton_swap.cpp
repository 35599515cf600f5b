// The swap-mode forms of the Newton iterations. Between the big products of
// the top levels every number that is not an operand of the product at hand
// is pushed out to disk; the products take both operands paged out, so the
// front end can run them on the disk path. A push writes only a number that
// has no disk copy yet; otherwise it just drops the array.
#include "arith/multiply.h"
#include "arith/newton/newton.h"
#include "platform/console.h"

namespace {

// out = x * y without loading the operands: the front end reads them from
// disk itself (disk path) or loads them (in memory), keeping their disk
// copies. chop = max(0, lengthX + lengthY - (p + 3)); a zero operand gives
// the canonical zero. out is a fresh record and may be left paged out.
void multiplyPaged(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p,
                   uint32_t threadPower) {
  if (bigFloatIsZero(*x) || bigFloatIsZero(*y)) {
    bigFloatSetZero(out);
    return;
  }
  const uint64_t total = x->mantissa.length + y->mantissa.length;
  const uint64_t chop = total > p + 3 ? total - (p + 3) : 0;
  out->positive = x->positive == y->positive ? 1 : 0;
  out->exponent = x->exponent + y->exponent + int64_t(chop);
  bigIntMultiply(heap, &x->mantissa, &y->mantissa, &out->mantissa, chop, 0, threadPower);
}

// out = x * x in the manner of multiplyPaged.
void squarePaged(Heap* heap, BigFloat* x, BigFloat* out, uint64_t p, uint32_t threadPower) {
  if (bigFloatIsZero(*x)) {
    bigFloatSetZero(out);
    return;
  }
  const uint64_t total = 2 * x->mantissa.length;
  const uint64_t chop = total > p + 3 ? total - (p + 3) : 0;
  out->positive = 1;
  out->exponent = 2 * x->exponent + int64_t(chop);
  bigIntSquare(heap, &x->mantissa, &out->mantissa, chop, 0, threadPower);
}

// e = 1 - t to precision p, a fresh record in memory; t is destroyed.
void oneMinusConsuming(Heap* heap, BigFloat* t, BigFloat* e, uint64_t p) {
  BigFloat one;
  bigFloatFromU32(heap, &one, 1);
  t->positive ^= 1;
  bigFloatAdd(heap, &one, t, e, p);
  bigFloatDestroy(t);
  bigFloatDestroy(&one);
}

// r = 1 / sqrt(x) to p words; `depth` counts the swap levels above this
// one. Each paged step is the RAM one's r <- r + r (1 - x r^2) / 2: s = r^2
// and s = s x at p + 3 words, e = (1 - s) / 2, e = e r at h, r = r + e.
void invSqrtSwapped(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t depth,
                    uint32_t threadPower) {
  if (p < newtonSwapThreshold || depth >= 2) {
    bigFloatInvSqrt(heap, x, r, p, threadPower, 0);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  invSqrtSwapped(heap, x, r, h, depth + 1, threadPower);
  bigFloatPushToDisk(x);
  bigFloatPushToDisk(r);

  BigFloat s, sx;
  squarePaged(heap, r, &s, p + 3, threadPower);
  bigFloatPushToDisk(r);
  bigFloatPushToDisk(&s);
  multiplyPaged(heap, &s, x, &sx, p + 3, threadPower);
  bigFloatDestroy(&s);
  bigFloatPushToDisk(x);
  BigFloat e;
  oneMinusConsuming(heap, &sx, &e, p + 3);
  bigFloatShiftBits(heap, &e, -1);

  bigFloatPushToDisk(&e);
  BigFloat er;
  multiplyPaged(heap, &e, r, &er, h, threadPower);
  bigFloatDestroy(&e);
  bigFloatAddTo(heap, r, &er, p + 3);
  bigFloatDestroy(&er);
}

}  // namespace

void bigFloatInvSqrtSwapped(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p,
                            uint32_t threadPower) {
  invSqrtSwapped(heap, x, r, p, 0, threadPower);
}

void bigFloatReciprocalSwapped(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t depth,
                               uint32_t threadPower, uint32_t show) {
  if (p < newtonSwapThreshold || depth >= 2) {
    if (show) progressPush(':');
    bigFloatReciprocal(heap, x, r, p, threadPower, show);
    if (show) progressPop();
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  if (show) progressPush('0');
  bigFloatReciprocalSwapped(heap, x, r, h, depth + 1, threadPower, show);
  if (show) progressPop();
  bigFloatPushToDisk(x);
  bigFloatPushToDisk(r);
  if (show) newtonPrintProgress(h);

  BigFloat t;
  multiplyPaged(heap, x, r, &t, p + 3, threadPower);
  bigFloatPushToDisk(x);
  bigFloatPushToDisk(r);
  bigFloatPushToDisk(&t);

  BigFloat e;
  oneMinusConsuming(heap, &t, &e, p + 3);
  bigFloatPushToDisk(&e);

  BigFloat u;
  multiplyPaged(heap, &e, r, &u, h, threadPower);
  bigFloatDestroy(&e);
  BigFloat next;
  bigFloatAdd(heap, r, &u, &next, p + 3);
  bigFloatDestroy(&u);
  bigFloatDestroy(r);
  bigFloatMove(r, &next);
  bigFloatPushToDisk(r);
}

void bigFloatInvertSwapped(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower,
                           uint32_t show) {
  if (p < newtonSwapThreshold) {
    BigFloat t;
    bigFloatReciprocal(heap, x, &t, p, 0, 0);
    bigFloatDestroy(x);
    bigFloatMove(x, &t);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  BigFloat r;
  if (show) progressPush('0');
  bigFloatReciprocalSwapped(heap, x, &r, h, 1, threadPower, show);
  if (show) progressPop();
  bigFloatPushToDisk(x);
  bigFloatPushToDisk(&r);
  if (show) newtonPrintProgress(h);

  // x = x r: the old x is not needed again.
  BigFloat t;
  multiplyPaged(heap, x, &r, &t, p + 3, threadPower);
  bigFloatDestroy(x);
  bigFloatPushToDisk(&r);

  BigFloat e;
  oneMinusConsuming(heap, &t, &e, p + 3);
  bigFloatPushToDisk(&e);
  BigFloat u;
  multiplyPaged(heap, &e, &r, &u, h, threadPower);
  bigFloatDestroy(&e);

  bigFloatAdd(heap, &r, &u, x, p + 3);
  bigFloatDestroy(&r);
  bigFloatDestroy(&u);
  BigFloat none;
  bigFloatSetZero(&none);
  bigFloatCompact2(x, &none);
}

void invSqrtWordSwapped(Heap* heap, uint32_t n, BigFloat* x, uint64_t p, uint32_t threadPower) {
  if (p < newtonSwapThreshold) {
    progressPush(':');
    invSqrtWord(heap, n, x, p, threadPower, 1);
    progressPop();
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  progressPush('0');
  progressPush(':');
  invSqrtWord(heap, n, x, h, threadPower, 1);
  progressPopCount(2);
  newtonPrintProgress(h);
  bigFloatPushToDisk(x);

  // s = n x^2, e = (1 - s) / 2.
  BigFloat s;
  squarePaged(heap, x, &s, p + 3, threadPower);
  BigFloat word;
  bigFloatFromU32(heap, &word, n);
  bigFloatMultiplyInPlace(heap, &s, &word, p + 3, threadPower);
  bigFloatDestroy(&word);
  BigFloat e;
  oneMinusConsuming(heap, &s, &e, p + 3);
  bigFloatShiftBits(heap, &e, -1);

  // x = x + e x, with e x at h words.
  bigFloatPushToDisk(&e);
  BigFloat ex;
  multiplyPaged(heap, &e, x, &ex, h, threadPower);
  bigFloatDestroy(&e);
  bigFloatAddTo(heap, x, &ex, p + 3);
  bigFloatDestroy(&ex);
}
