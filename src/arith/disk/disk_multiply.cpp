// Products of numbers in swap files, normal form: both operands read into
// one buffer of na + nb words that then takes the result, two transforms.
#include "arith/disk/disk.h"
#include "arith/disk/disk_internal.h"
#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"

namespace {

// The longer operand first, the chop's whole words dropped.
struct ProductOperands {
  RaidFile* a;
  RaidFile* b;
  uint64_t offsetA, offsetB, na, nb, chop;
};

ProductOperands productOperands(RaidFile* a, uint64_t offsetA, uint64_t na, RaidFile* b,
                                uint64_t offsetB, uint64_t nb, uint64_t chop) {
  uint64_t skipA, skipB;
  diskAdjustProduct(&na, &nb, &chop, &skipA, &skipB);
  ProductOperands p = {a, b, offsetA + skipA, offsetB + skipB, na, nb, chop};
  if (p.na < p.nb) {
    p = {b, a, offsetB + skipB, offsetA + skipA, nb, na, chop};
  }
  return p;
}

}  // namespace

uint64_t diskMultiplyBytes(uint64_t na, uint64_t nb, uint64_t chop, uint32_t threadPower) {
  uint64_t skipA, skipB;
  diskAdjustProduct(&na, &nb, &chop, &skipA, &skipB);
  DiskShape s;
  diskShapeForProduct(&s, na + nb, fftTables, threadPower);
  return diskBlockBytes(2 * s.transformWords + s.butterflyWords) + diskBlockBytes(na + nb) +
         diskBlockBytes(s.elementWords << s.t);
}

uint64_t diskMultiply(Heap* heap, RaidFile* a, uint64_t offsetA, uint64_t na, RaidFile* b,
                      uint64_t offsetB, uint64_t nb, RaidFile* result, uint64_t resultOffset,
                      uint64_t* resultLength, uint64_t chop, const FftLookupTables* tables,
                      uint32_t threadPower) {
  const ProductOperands p = productOperands(a, offsetA, na, b, offsetB, nb, chop);
  const uint64_t P = p.na + p.nb, window = P - p.chop;
  DiskShape s;
  diskShapeForProduct(&s, P, tables, threadPower);
  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  auto* transforms = static_cast<uint32_t*>(
      fftTake(heap, &blocks, 4 * (2 * s.transformWords + s.butterflyWords), &missing));
  if (transforms == nullptr) return missing;
  auto* buffer = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * P, &missing));
  if (buffer == nullptr) return missing;
  auto* elementScratch =
      static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * (s.elementWords << s.t), &missing));
  if (elementScratch == nullptr) return missing;
  uint32_t* second = transforms + s.transformWords;
  uint32_t* butterflies = second + s.transformWords;

  readOperand(p.a, p.offsetA, buffer, p.na);
  readOperand(p.b, p.offsetB, buffer + p.na, p.nb);
  diskTransform(s, buffer, p.na, buffer + p.na, p.nb, transforms, second, butterflies,
                elementScratch);
  uint64_t code = 0;
  if (hybridInverse(buffer, P, p.chop, s.c, transforms, s.W, s.stride, s.k, butterflies, s.t) !=
      0) {
    code = diskDetectedError;
  } else {
    writeResult(result, resultOffset, buffer, window);
    *resultLength = diskTrimmedLength(buffer, window);
  }
  fftReleaseAll(&blocks);
  return code;
}
