// Reciprocal of a BigFloat by Newton iteration, r <- r + r (1 - x r), in the
// two RAM forms: into a fresh record, and in place.
#include "arith/newton/newton.h"
#include "platform/console.h"

namespace {

// e = 1 - t to precision p, through a one-word constant and a sign flip of t
// (flipped back after). t stays; e is a fresh record.
void oneMinus(Heap* heap, BigFloat* t, BigFloat* e, uint64_t p) {
  BigFloat one;
  bigFloatFromU32(heap, &one, 1);
  t->positive ^= 1;
  bigFloatAdd(heap, &one, t, e, p);
  t->positive ^= 1;
  bigFloatDestroy(&one);
}

// One Newton step for r ~ 1 / x: t = x r and e = 1 - t at precision `full`,
// u = e r at precision `half` (e's first words are zero, so only that many
// words of u can matter), then r = r + u at `full`. x is read only; r is
// replaced by a new record.
void reciprocalStep(Heap* heap, BigFloat* x, BigFloat* r, uint64_t full, uint64_t half,
                    uint32_t threadPower) {
  BigFloat t;
  bigFloatMultiplyInto(heap, x, r, &t, full, threadPower);
  BigFloat e;
  oneMinus(heap, &t, &e, full);
  bigFloatDestroy(&t);
  bigFloatCompact2(&e, r);

  BigFloat u;
  bigFloatMultiplyInto(heap, &e, r, &u, half, threadPower);
  bigFloatDestroy(&e);

  BigFloat next;
  bigFloatAdd(heap, r, &u, &next, full);
  bigFloatDestroy(&u);
  bigFloatDestroy(r);
  bigFloatMove(r, &next);
}

// r = 1 / x to about three words: 53 bits from the double of x's top two
// words, then one step at 4 words (products single-threaded). The sign
// comes with the double.
void reciprocalStart(Heap* heap, BigFloat* x, BigFloat* r) {
  int64_t position = 0;
  const double top = bigFloatTopAsDouble(heap, x, &position);
  bigFloatFromDouble(heap, r, 1.0 / top);
  r->exponent -= position;
  reciprocalStep(heap, x, r, 4, 4, 0);
}

}  // namespace

void bigFloatReciprocal(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t threadPower,
                        uint32_t show) {
  if (p <= 1) {
    reciprocalStart(heap, x, r);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  if (show) progressPush('0');
  bigFloatReciprocal(heap, x, r, h, threadPower, show);
  if (show) progressPop();
  if (show) newtonPrintProgress(h);
  reciprocalStep(heap, x, r, p + 3, h, threadPower);
}

void bigFloatInvert(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower, uint32_t show) {
  if (p < 3) {
    BigFloat t;
    bigFloatReciprocal(heap, x, &t, p, 0, 0);
    bigFloatDestroy(x);
    bigFloatMove(x, &t);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  BigFloat r;
  if (show) progressPush('0');
  bigFloatReciprocal(heap, x, &r, h, threadPower, show);
  if (show) progressPop();
  if (show) newtonPrintProgress(h);

  // The last step: x is not needed again, so x r overwrites it.
  bigFloatMultiplyInPlace(heap, x, &r, p + 3, threadPower);
  BigFloat e;
  oneMinus(heap, x, &e, p + 3);
  bigFloatDestroy(x);
  bigFloatMultiplyInPlace(heap, &e, &r, h, threadPower);
  bigFloatAdd(heap, &r, &e, x, p + 3);
  bigFloatDestroy(&r);
  bigFloatDestroy(&e);

  BigFloat none;
  bigFloatSetZero(&none);
  bigFloatCompact2(x, &none);
}
