// Paging of BigFloats on the swap paths of the running computation.
#include "arith/numbers/bigfloat.h"
#include "memory/raidfile.h"

void bigFloatPushToDisk(BigFloat* x) {
  if (x == nullptr || bigFloatIsZero(*x)) return;
  bigIntPushToDisk(nullptr, &x->mantissa, globalSwapPaths);
}

void bigFloatPushPairToDisk(BigFloat* first, BigFloat* second) {
  bigFloatPushToDisk(first);
  bigFloatPushToDisk(second);
}
