// Products of numbers in swap files, compact form. With a = a1 B + a0 and
// b = b1 B + b0 (B = 2^(32h), h = ceil(na / 2)):
//   a b = z2 B^2 + (z1 - z0 - z2) B + z0,
// z0 = a0 b0, z2 = a1 b1, z1 = (a0 + a1)(b0 + b1), each one hybrid product
// on transforms sized for z1 (about half the whole product), recomposed
// inside its first transform. The operands' halves lie in one block of
// na + nb words, [a0 | b0 | a1 | b1], which z0 and z2 overwrite as their
// operands are used up; the sums and then z1 share a second block.
#include <cstring>
#include <utility>

#include "arith/disk/disk.h"
#include "arith/disk/disk_internal.h"

namespace {

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

// out[0 .. lx + ly) = x[0 .. lx) * y[0 .. ly); out may overlap x and y.
// Returns 0 or 1 (failed check).
uint32_t halfProduct(const CompactWork& w, const uint32_t* x, uint64_t lx, const uint32_t* y,
                     uint64_t ly, uint32_t* out) {
  diskTransform(*w.shape, x, lx, y, ly, w.first, w.second, w.butterflies, w.elementScratch);
  if (diskInverseInPlace(*w.shape, w.first, lx + ly, w.butterflies) != 0) return 1;
  memcpy(out, w.first, 4 * (lx + ly));
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
  // Halves: a0 of h words, a1 of la1; b0 of lb0 = min(nb, h), b1 of lb1
  // (none when b is not longer than h). The sums have h + 1 and lb0 + 1.
  const uint64_t P = na + nb, h = (na + 1) / 2, la1 = na - h;
  const uint64_t lb0 = nb < h ? nb : h, lb1 = nb - lb0, middle = h + lb0 + 2;
  DiskShape s;
  diskShapeForProduct(&s, middle, tables, threadPower);
  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  auto* transforms = static_cast<uint32_t*>(
      fftTake(heap, &blocks, 4 * (2 * s.transformWords + s.butterflyWords), &missing));
  if (transforms == nullptr) return missing;
  auto* halves = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * P, &missing));
  if (halves == nullptr) return missing;
  auto* sums = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * middle, &missing));
  if (sums == nullptr) return missing;
  auto* elementScratch =
      static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * (s.elementWords << s.t), &missing));
  if (elementScratch == nullptr) return missing;
  const CompactWork w = {&s, transforms, transforms + s.transformWords,
                         transforms + 2 * s.transformWords, elementScratch};

  // [a0 | b0 | a1 | b1]: z0 = a0 b0 takes the place of its operands, and so
  // does z2 = a1 b1, which lands at word h + lb0 = 2h when b1 exists.
  uint32_t* a0 = halves;
  uint32_t* b0 = halves + h;
  uint32_t* a1 = b0 + lb0;
  uint32_t* b1 = a1 + la1;
  readOperand(a, offsetA, a0, h);
  readOperand(b, offsetB, b0, lb0);
  readOperand(a, offsetA + h, a1, la1);
  readOperand(b, offsetB + lb0, b1, lb1);
  uint32_t* sa = sums;
  uint32_t* sb = sums + h + 1;
  memcpy(sa, a0, 4 * h);
  sa[h] = addInto(sa, h, a1, la1);
  memcpy(sb, b0, 4 * lb0);
  sb[lb0] = addInto(sb, lb0, b1, lb1);

  uint32_t failed = halfProduct(w, sa, h + 1, sb, lb0 + 1, sums);  // z1
  if (failed == 0) failed = halfProduct(w, a0, h, b0, lb0, halves);   // z0
  if (failed == 0 && lb1 > 0) failed = halfProduct(w, a1, la1, b1, lb1, a1);  // z2
  if (failed == 0) {
    // z1 - z0 - z2 = a0 b1 + a1 b0 is not negative, and the whole product
    // fits in P words: a borrow, a carry or a word past the end is an error.
    failed |= subtractFrom(sums, middle, halves, h + lb0);
    if (lb1 > 0) failed |= subtractFrom(sums, middle, a1, la1 + lb1);
    else memset(a1, 0, 4 * (la1 + lb1));
    const uint64_t room = P - h, used = middle < room ? middle : room;
    failed |= addInto(halves + h, room, sums, used);
    for (uint64_t j = used; j < middle; j++) failed |= sums[j] != 0 ? 1 : 0;
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
