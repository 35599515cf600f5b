// Inverse square roots by Newton iteration, r <- r + r (1 - x r^2) / 2: of a
// 32-bit integer (Sqrt(n), the Golden Ratio) and of a BigFloat (the AGM).
#include <cmath>

#include "arith/newton/newton.h"
#include "platform/console.h"

namespace {

// e = (1 - s) / 2 to precision p, as a fresh record; s is destroyed. The
// halving is bigFloatShiftBits by -1: a right shift when word 0 is even,
// otherwise a left shift by 31 with the exponent one lower.
void halfOfOneMinus(Heap* heap, BigFloat* s, BigFloat* e, uint64_t p) {
  BigFloat one;
  bigFloatFromU32(heap, &one, 1);
  s->positive ^= 1;
  bigFloatAdd(heap, &one, s, e, p);
  bigFloatDestroy(s);
  bigFloatDestroy(&one);
  bigFloatShiftBits(heap, e, -1);
}

// One step for r ~ 1 / sqrt(n) with a one-word n: s = r^2 and s = s n at
// precision `full`, e = (1 - s) / 2, e = e r at `half`, r = r + e at `full`.
void invSqrtWordStep(Heap* heap, uint32_t n, BigFloat* r, uint64_t full, uint64_t half,
                     uint32_t threadPower) {
  BigFloat s;
  bigFloatSquareInto(heap, r, &s, full, threadPower);
  BigFloat word;
  bigFloatFromU32(heap, &word, n);
  bigFloatMultiplyInPlace(heap, &s, &word, full, threadPower);
  bigFloatDestroy(&word);
  BigFloat e;
  halfOfOneMinus(heap, &s, &e, full);
  bigFloatMultiplyInPlace(heap, &e, r, half, threadPower);
  bigFloatAddTo(heap, r, &e, full);
  bigFloatDestroy(&e);
}

// The same step with a multi-word x, which is read only.
void invSqrtStep(Heap* heap, BigFloat* x, BigFloat* r, uint64_t full, uint64_t half,
                 uint32_t threadPower) {
  BigFloat s;
  bigFloatSquareInto(heap, r, &s, full, threadPower);
  bigFloatMultiplyInPlace(heap, &s, x, full, threadPower);
  BigFloat e;
  halfOfOneMinus(heap, &s, &e, full);
  bigFloatMultiplyInPlace(heap, &e, r, half, threadPower);
  bigFloatAddTo(heap, r, &e, full);
  bigFloatDestroy(&e);
}

}  // namespace

void invSqrtWord(Heap* heap, uint32_t n, BigFloat* x, uint64_t p, uint32_t threadPower,
                 uint32_t show) {
  if (p <= 1) {
    bigFloatFromDouble(heap, x, 1.0 / std::sqrt(double(n)));
    invSqrtWordStep(heap, n, x, 4, 4, 0);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  if (show) progressPush('0');
  invSqrtWord(heap, n, x, h, threadPower, show);
  if (show) progressPop();
  if (show) newtonPrintProgress(h);
  invSqrtWordStep(heap, n, x, p + 3, h, threadPower);
}

void bigFloatInvSqrt(Heap* heap, BigFloat* x, BigFloat* r, uint64_t p, uint32_t threadPower,
                     uint32_t show) {
  if (p <= 1) {
    // x = top * 2^(32 position), so 1 / sqrt(x) = 2^(-16 position) / sqrt(top).
    // An odd position leaves a factor 2^-16 for bigFloatShiftBits.
    int64_t position = 0;
    const double top = bigFloatTopAsDouble(heap, x, &position);
    bigFloatFromDouble(heap, r, 1.0 / std::sqrt(top));
    r->exponent -= position >> 1;
    if (position & 1) bigFloatShiftBits(heap, r, -16);
    invSqrtStep(heap, x, r, 4, 4, 0);
    return;
  }
  const uint64_t h = newtonHalfPrecision(p);
  if (show) progressPush('0');
  bigFloatInvSqrt(heap, x, r, h, threadPower, show);
  if (show) progressPop();
  if (show) newtonPrintProgress(h);
  invSqrtStep(heap, x, r, p + 3, h, threadPower);
}
