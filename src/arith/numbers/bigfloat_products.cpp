// The four BigFloat product wrappers: precision chop, sign and exponent
// around bigIntSquare and bigIntMultiply. Their treatment of zero operands
// differs on purpose (see bigfloat.h); bigFloatAdd treats every empty
// mantissa alike.
#include "arith/numbers/bigfloat.h"
#include "arith/multiply.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_tables.h"
#include "memory/heap.h"

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

bool bigFloatMultiplyShared(Heap* heap, BigFloat* a, BigFloat* b, BigFloat* outB, uint64_t pB,
                            BigFloat* c, BigFloat* outC, uint64_t pC) {
  const BigInt &x = a->mantissa, &y = b->mantissa, &z = c->mantissa;
  if (x.length == 0 || y.length == 0 || z.length == 0 || x.words == nullptr ||
      y.words == nullptr || z.words == nullptr) {
    return false;
  }
  const uint64_t na = x.length, nb = y.length, nc = z.length;
  const uint64_t chopB = productChop(na, nb, pB), chopC = productChop(na, nc, pC);
  // A chop past an operand's length cuts that operand: not this path.
  if (chopB > (na < nb ? na : nb) || chopC > (na < nc ? na : nc)) return false;
  if (!multiplySharedTaken(na, nb, nc)) return false;
  const uint64_t windowB = na + nb - chopB, windowC = na + nc - chopC;
  // Room for both products and the transforms on top of the arena: the
  // single products stay the fallback, so never fail here.
  const uint64_t points = sizeCodeLength(fftMultiplyCode(na, nb > nc ? nb : nc, 0));
  const uint64_t need = 4 * (windowB + windowC + 4) + 20 * points + 1024;
  if (heap != nullptr && heapFreeSpace(heap) < need) return false;
  uint32_t* productB = heapAllocateWords(heap, windowB + 2);
  uint32_t* productC = heapAllocateWords(heap, windowC + 2);
  if (fftMultiplyShared(heap, x.words, na, y.words, nb, productB, chopB, z.words, nc, productC,
                        chopC, fftTables) != 0) {
    heapRelease(productC);
    heapRelease(productB);
    return false;
  }
  BigFloat* outs[2] = {outB, outC};
  const BigFloat* others[2] = {b, c};
  uint32_t* products[2] = {productB, productC};
  const uint64_t windows[2] = {windowB, windowC}, chops[2] = {chopB, chopC};
  for (int i = 0; i < 2; i++) {
    BigFloat* out = outs[i];
    out->positive = a->positive == others[i]->positive ? 1 : 0;
    out->exponent = a->exponent + others[i]->exponent + int64_t(chops[i]);
    bigIntSetZero(&out->mantissa);
    out->mantissa.words = products[i];
    out->mantissa.capacity = windows[i] + 2;
    out->mantissa.length = products[i][windows[i] - 1] == 0 ? windows[i] - 1 : windows[i];
  }
  return true;
}
