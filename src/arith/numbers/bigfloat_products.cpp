// The four BigFloat product wrappers: precision chop, sign and exponent
// around bigIntSquare and bigIntMultiply. Their treatment of zero operands
// differs on purpose (see bigfloat.h); bigFloatAdd treats every empty
// mantissa alike.
#include "arith/numbers/bigfloat.h"
#include "arith/multiply.h"

namespace {

// Low product words that precision p does not keep.
uint64_t productChop(uint64_t lengthX, uint64_t lengthY, uint64_t p) {
  const uint64_t total = lengthX + lengthY;
  return total > p + 3 ? total - (p + 3) : 0;
}

}  // namespace

void bigFloatSquareInPlace(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower) {
  if (bigFloatIsZero(*x)) return;
  const uint64_t chop = productChop(x->mantissa.length, x->mantissa.length, p);
  BigInt square;
  bigIntSquare(heap, &x->mantissa, &square, chop, 0, threadPower);
  x->positive = 1;
  x->exponent = 2 * x->exponent + int64_t(chop);
  bigIntDestroy(&x->mantissa);
  bigIntMove(&x->mantissa, &square);
}

void bigFloatSquareInto(Heap* heap, BigFloat* x, BigFloat* out, uint64_t p,
                        uint32_t threadPower) {
  if (bigFloatIsZero(*x)) {
    bigFloatSetZero(out);
    return;
  }
  const uint64_t chop = productChop(x->mantissa.length, x->mantissa.length, p);
  out->positive = 1;
  out->exponent = 2 * x->exponent + int64_t(chop);
  bigIntSquare(heap, &x->mantissa, &out->mantissa, chop, 0, threadPower);
}

void bigFloatMultiplyInPlace(Heap* heap, BigFloat* x, BigFloat* y, uint64_t p,
                             uint32_t threadPower) {
  if (bigFloatIsZero(*x)) return;
  // y is not tested: a zero y leaves an empty mantissa under the computed
  // sign and exponent.
  const uint64_t chop = productChop(x->mantissa.length, y->mantissa.length, p);
  BigInt product;
  bigIntMultiply(heap, &x->mantissa, &y->mantissa, &product, chop, 0, threadPower);
  x->positive = x->positive == y->positive ? 1 : 0;
  x->exponent = x->exponent + y->exponent + int64_t(chop);
  bigIntDestroy(&x->mantissa);
  bigIntMove(&x->mantissa, &product);
}

void bigFloatMultiplyInto(Heap* heap, BigFloat* x, BigFloat* y, BigFloat* out, uint64_t p,
                          uint32_t threadPower) {
  if (bigFloatIsZero(*x) || bigFloatIsZero(*y)) {
    bigFloatSetZero(out);
    return;
  }
  const uint64_t chop = productChop(x->mantissa.length, y->mantissa.length, p);
  out->positive = x->positive == y->positive ? 1 : 0;
  out->exponent = x->exponent + y->exponent + int64_t(chop);
  bigIntMultiply(heap, &x->mantissa, &y->mantissa, &out->mantissa, chop, 0, threadPower);
}
