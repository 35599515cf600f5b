// The leaf of Euler's series A and B: the four numbers x, q, y, z of a short
// range built term by term in a word buffer, with no big-number products and
// no allocation but the results.
#include <cstring>

#include "constants/euler.h"
#include "constants/series.h"
#include "memory/heap.h"

namespace {

// Room for the numbers of eulerLeafTerms terms: z gains 3 log2(j) bits and
// the powers of two 2k bits a term (k <= 63, j < 2^40: 4000 bits at most).
// A range that would not fit is refused (the serial layer then splits it).
constexpr uint32_t leafWordsCapacity = 160;

// An unsigned number, little-endian words; `length` may count zero top words.
struct LeafWords {
  uint32_t words[leafWordsCapacity];
  uint32_t length;
};

void setSmall(LeafWords* x, uint64_t value) {
  x->words[0] = uint32_t(value);
  x->words[1] = uint32_t(value >> 32);
  x->length = 2;
}

// Drops zero top words.
void trim(LeafWords* x) {
  while (x->length > 1 && x->words[x->length - 1] == 0) x->length--;
}

// x = x * factor; false when the product would not fit.
bool multiplySmall(LeafWords* x, uint64_t factor) {
  unsigned __int128 carry = 0;
  uint32_t n = x->length;
  for (uint32_t i = 0; i < n; i++) {
    carry += (unsigned __int128)x->words[i] * factor;
    x->words[i] = uint32_t(carry);
    carry >>= 32;
  }
  while (carry != 0) {
    if (n == leafWordsCapacity) return false;
    x->words[n++] = uint32_t(carry);
    carry >>= 32;
  }
  x->length = n;
  return true;
}

// x = x + (y << bits); false when the sum would not fit. y is not x.
bool addShifted(LeafWords* x, const LeafWords& y, uint64_t bits) {
  const uint64_t offset = bits >> 5;
  const uint32_t shift = uint32_t(bits & 31);
  const uint64_t top = offset + y.length + 1;
  if (top + 1 > leafWordsCapacity) return false;
  while (x->length < top + 1) x->words[x->length++] = 0;
  uint64_t carry = 0;
  uint32_t previous = 0;
  for (uint64_t i = 0; i <= y.length; i++) {
    const uint32_t current = i < y.length ? y.words[i] : 0;
    const uint32_t part = shift == 0 ? current : (current << shift) | (previous >> (32 - shift));
    previous = current;
    carry += uint64_t(x->words[offset + i]) + part;
    x->words[offset + i] = uint32_t(carry);
    carry >>= 32;
  }
  for (uint64_t i = top; carry != 0; i++) {
    if (i == x->length) {
      if (i == leafWordsCapacity) return false;
      x->words[x->length++] = 0;
    }
    carry += x->words[i];
    x->words[i] = uint32_t(carry);
    carry >>= 32;
  }
  return true;
}

// A fresh number = x * 2^bits: the whole words of the power go to the
// stripped count, the rest shifts the words.
void toSplit(Heap* heap, const LeafWords& x, uint64_t bits, SplitNumber* out) {
  const uint32_t shift = uint32_t(bits & 31);
  uint32_t* words = splitNumberAllocate(heap, out, x.length + 2);
  uint32_t previous = 0;
  for (uint32_t i = 0; i <= x.length; i++) {
    const uint32_t current = i < x.length ? x.words[i] : 0;
    words[i] = shift == 0 ? current : (current << shift) | (previous >> (32 - shift));
    previous = current;
  }
  words[x.length + 1] = 0;
  splitNumberFinish(out, x.length + 1);
  if (out->length != 0) out->stripped += bits >> 5;
}

}  // namespace

// Terms first + 1 .. last, each step adding term j as a right range of one
// term (q2 = j, x2 = 1, y2 = z2 = 2^(2jk)) to the range so far:
//   x = x j + q,  q = q j,  y = y j^2 + 2^(2jk),  z = z j^3 + 2^(2jk) x_new.
// y and z are held over 2^(2(first + 1)k), which goes to the stripped count
// at the end. The numbers are those the merges of the one-term leaves give.
bool eulerLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last,
               SplitRecord* out, uint32_t wantP) {
  const uint64_t terms = last - first;
  if (terms == 0 || terms > eulerLeafTerms) return false;
  const uint64_t k = *static_cast<const uint32_t*>(kind->context);
  LeafWords x, q, y, z, one;
  setSmall(&one, 1);
  setSmall(&x, 1);
  setSmall(&q, first + 1);
  setSmall(&y, 1);
  setSmall(&z, 1);
  for (uint64_t j = first + 2; j <= last; j++) {
    const uint64_t power = 2 * k * (j - first - 1);
    bool fits = multiplySmall(&x, j) && addShifted(&x, q, 0) && multiplySmall(&q, j);
    for (int i = 0; i < 3 && fits; i++) {
      fits = (i == 2 || multiplySmall(&y, j)) && multiplySmall(&z, j);
    }
    fits = fits && addShifted(&y, one, power) && addShifted(&z, x, power);
    if (!fits) return false;
    trim(&x);
    trim(&y);
    trim(&z);
  }
  const uint64_t base = 2 * k * (first + 1);
  splitRecordSetZero(out);
  toSplit(heap, x, 0, &out->p);
  toSplit(heap, q, 0, &out->q);
  toSplit(heap, y, base, &out->r[0]);
  toSplit(heap, z, base, &out->r[1]);
  (void)wantP;  // x is built whatever the caller needs: cheaper than to skip
  return true;
}
