// Products of numbers in swap files, compact form. With a = a1 B + a0 and
// b = b1 B + b0 (B = 2^(32h), h = ceil(na / 2)):
//   a b = z2 B^2 + (z1 - z0 - z2) B + z0,
// z0 = a0 b0, z2 = a1 b1, z1 = (a0 + a1)(b0 + b1). Each of the three is one
// hybrid product of at most 2h + 2 words on transforms of half the length
// of the whole product's, recomposed inside its first transform. The halves
// lie in one block [a0 | b0 | a1 | b1] of h words each, which z0 and z2
// overwrite as their operands are used up; the sums and then z1 share a
// block of 2h + 2 words.
#include <cstring>
#include <utility>

#include "arith/disk/disk.h"
#include "arith/disk/disk_internal.h"

namespace {

// out[0 .. words) = x[0 .. words) + y[0 .. words), the carry into out[words].
void addHalves(uint32_t* out, const uint32_t* x, const uint32_t* y, uint64_t words) {
  uint64_t carry = 0;
  for (uint64_t j = 0; j < words; j++) {
    carry += uint64_t(x[j]) + y[j];
    out[j] = uint32_t(carry);
    carry >>= 32;
  }
  out[words] = uint32_t(carry);
}

// x[0 .. n) -= y[0 .. m), m <= n. Returns the final borrow.
uint32_t subtractFrom(uint32_t* x, uint64_t n, const uint32_t* y, uint64_t m) {
  uint64_t borrow = 0;
  for (uint64_t j = 0; j < n; j++) {
    const uint64_t d = uint64_t(x[j]) - (j < m ? y[j] : 0) - borrow;
    x[j] = uint32_t(d);
    borrow = (d >> 32) & 1;
  }
  return uint32_t(borrow);
}

// x[0 .. n) += y[0 .. m), m <= n. Returns the final carry.
uint32_t addInto(uint32_t* x, uint64_t n, const uint32_t* y, uint64_t m) {
  uint64_t carry = 0;
  for (uint64_t j = 0; j < n; j++) {
    carry += uint64_t(x[j]) + (j < m ? y[j] : 0);
    x[j] = uint32_t(carry);
    carry >>= 32;
  }
  return uint32_t(carry);
}

struct CompactWork {
  const DiskShape* shape;
  uint32_t* first;
  uint32_t* second;
  uint32_t* butterflies;
  uint32_t* elementScratch;
};

// out[0 .. 2 len) = x[0 .. len) * y[0 .. len); out may overlap x and y.
// Returns 0 or 1 (failed check).
uint32_t halfProduct(const CompactWork& w, const uint32_t* x, const uint32_t* y, uint64_t len,
                     uint32_t* out) {
  diskTransform(*w.shape, x, len, y, len, w.first, w.second, w.butterflies, w.elementScratch);
  if (diskInverseInPlace(*w.shape, w.first, 2 * len, w.butterflies) != 0) return 1;
  memcpy(out, w.first, 8 * len);
  return 0;
}

}  // namespace

uint64_t diskMultiplyCompact(Heap* heap, RaidFile* a, uint64_t offsetA, uint64_t na, RaidFile* b,
                             uint64_t offsetB, uint64_t nb, RaidFile* result,
                             uint64_t resultOffset, uint64_t* resultLength, uint64_t chop,
                             const FftLookupTables* tables, uint32_t threadPower) {
  uint64_t skipA, skipB;
  diskAdjustProduct(&na, &nb, &chop, &skipA, &skipB);
  offsetA += skipA;
  offsetB += skipB;
  if (na < nb) {
    std::swap(a, b);
    std::swap(offsetA, offsetB);
    std::swap(na, nb);
  }
  const uint64_t P = na + nb, h = (na + 1) / 2;
  DiskShape s;
  diskShapeForProduct(&s, 2 * h + 2, tables, threadPower);
  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  auto* transforms = static_cast<uint32_t*>(
      fftTake(heap, &blocks, 4 * (2 * s.transformWords + s.butterflyWords), &missing));
  if (transforms == nullptr) return missing;
  auto* halves = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * 4 * h, &missing));
  if (halves == nullptr) return missing;
  auto* sums = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * (2 * h + 2), &missing));
  if (sums == nullptr) return missing;
  auto* elementScratch =
      static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * (s.elementWords << s.t), &missing));
  if (elementScratch == nullptr) return missing;
  const CompactWork w = {&s, transforms, transforms + s.transformWords,
                         transforms + 2 * s.transformWords, elementScratch};

  uint32_t* a0 = halves;
  uint32_t* b0 = halves + h;
  uint32_t* a1 = halves + 2 * h;
  uint32_t* b1 = halves + 3 * h;
  memset(halves, 0, 16 * h);
  readOperand(a, offsetA, a0, h);
  readOperand(a, offsetA + h, a1, na - h);
  readOperand(b, offsetB, b0, nb < h ? nb : h);
  if (nb > h) readOperand(b, offsetB + h, b1, nb - h);
  addHalves(sums, a0, a1, h);
  addHalves(sums + h + 1, b0, b1, h);

  uint32_t failed = halfProduct(w, sums, sums + h + 1, h + 1, sums);  // z1
  if (failed == 0) failed = halfProduct(w, a0, b0, h, halves);      // z0
  if (failed == 0) {
    if (nb > h) failed = halfProduct(w, a1, b1, h, halves + 2 * h);  // z2
    else memset(halves + 2 * h, 0, 8 * h);
  }
  if (failed == 0) {
    // z1 - z0 - z2 = a0 b1 + a1 b0 is not negative, and the whole product
    // fits in P words: a borrow, a carry or a word above P is an error.
    failed |= subtractFrom(sums, 2 * h + 2, halves, 2 * h);
    failed |= subtractFrom(sums, 2 * h + 2, halves + 2 * h, 2 * h);
    failed |= addInto(halves + h, 3 * h, sums, 2 * h + 2);
    for (uint64_t j = P; j < 4 * h; j++) failed |= halves[j] != 0 ? 1 : 0;
  }
  uint64_t code = diskDetectedError;
  if (failed == 0) {
    writeResult(result, resultOffset, halves + chop, P - chop);
    *resultLength = diskTrimmedLength(halves + chop, P - chop);
    code = 0;
  }
  fftReleaseAll(&blocks);
  return code;
}
