// BigFloat construction from machine numbers, conversion of the top words to
// a double, and destruction.
#include <bit>

#include "arith/numbers/bigfloat.h"

void bigFloatDestroy(BigFloat* x) { bigIntDestroy(&x->mantissa); }

void bigFloatFromU32(Heap* heap, BigFloat* x, uint32_t value) {
  bigFloatFromU64(heap, x, value);
}

void bigFloatFromU64(Heap* heap, BigFloat* x, uint64_t value) {
  x->positive = 1;
  x->exponent = 0;
  bigIntFromU64(heap, &x->mantissa, value);
}

void bigFloatFromDouble(Heap* heap, BigFloat* x, double value) {
  const uint64_t bits = std::bit_cast<uint64_t>(value);
  const int64_t exponentField = int64_t((bits >> 52) & 0x7ff);
  uint64_t mantissa = bits & ((uint64_t(1) << 52) - 1);
  if (exponentField != 0) mantissa += uint64_t(1) << 52;
  x->positive = (bits >> 63) == 0 ? 1 : 0;
  x->exponent = 0;
  bigIntFromU64(heap, &x->mantissa, mantissa);
  bigFloatShiftBits(heap, x, exponentField - 1075);
  uint64_t zeros = 0;
  while (zeros < x->mantissa.length && x->mantissa.words[zeros] == 0) zeros++;
  if (zeros != 0) {
    bigIntDropLowWords(heap, &x->mantissa, zeros);
    x->exponent += int64_t(zeros);
  }
}

double bigFloatTopAsDouble(Heap* heap, BigFloat* x, int64_t* position) {
  const uint64_t length = x->mantissa.length;
  if (length == 0) {
    *position = 0;
    return 0.0;
  }
  bigIntLoad(heap, &x->mantissa, 1);
  const uint32_t* words = x->mantissa.words;
  double value = 0.0;
  if (length == 1) {
    value = double(words[0]);
    *position = x->exponent;
  } else {
    // One correctly rounded conversion of the 64-bit pair, as the extended
    // format gives it after the 2^64 correction of a set top bit.
    const uint64_t top = (uint64_t(words[length - 1]) << 32) | words[length - 2];
    value = double(top);
    *position = x->exponent + int64_t(length) - 2;
  }
  return x->positive ? value : -value;
}
