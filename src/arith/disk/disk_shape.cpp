// Shapes, blocks and the shared transform run of the disk products.
#include <cstring>

#include "arith/disk/disk.h"
#include "arith/disk/disk_internal.h"
#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"

namespace {

void shapeFor(DiskShape* shape, uint32_t k, uint32_t m, bool square,
              const FftLookupTables* tables, uint32_t threadPower) {
  shape->k = k;
  shape->m = m;
  const uint64_t H = uint64_t(m) << k;
  shape->W = H / 128;
  shape->c = H / 256 - 1;
  shape->stride = shape->W + 1;
  hybridCheckStride(shape->stride, k);
  shape->count = uint64_t(1) << k;
  // Every thread gets at least eight elements.
  shape->t = k <= 3 ? 0 : (threadPower < k - 3 ? threadPower : k - 3);
  elementPlanFor(&shape->plan, tables, shape->W);
  if (shape->plan.method == 1) shape->plan.tables = fftTablesServing(tables, shape->plan.code);
  shape->transformWords = shape->stride * shape->count;
  shape->butterflyWords = fermatButterflyScratchWords(shape->W) << shape->t;
  shape->elementWords = hybridElementScratchWords(shape->plan, square);
}

[[noreturn]] void sizeExceeded() {
  fatalMessage("Maximum supported multiplication size has been exceeded.");
}

}  // namespace

void diskShapeForSquare(DiskShape* shape, uint64_t productWords, const FftLookupTables* tables,
                        uint32_t threadPower) {
  uint32_t k, m;
  if (hybridSquareParams(productWords, &k, &m) != 0) sizeExceeded();
  shapeFor(shape, k, m, true, tables, threadPower);
}

void diskShapeForProduct(DiskShape* shape, uint64_t productWords, const FftLookupTables* tables,
                         uint32_t threadPower) {
  uint32_t k, m;
  if (hybridMultiplyParams(productWords, &k, &m) != 0) sizeExceeded();
  shapeFor(shape, k, m, false, tables, threadPower);
}

uint64_t diskBlockBytes(uint64_t words) { return heapBlockBytes(4 * words, 64) + 16; }

void diskAdjustSquare(uint64_t* n, uint64_t* chop, uint64_t* skip) {
  *skip = 0;
  if (*chop <= *n) return;
  *skip = *chop - *n;
  *n -= *skip;
  *chop = *n;
}

void diskAdjustProduct(uint64_t* na, uint64_t* nb, uint64_t* chop, uint64_t* skipA,
                       uint64_t* skipB) {
  *skipA = *chop > *nb ? *chop - *nb : 0;
  *skipB = *chop > *na ? *chop - *na : 0;
  *na -= *skipA;
  *nb -= *skipB;
  *chop -= *skipA + *skipB;
}

void diskTransform(const DiskShape& s, const uint32_t* a, uint64_t na, const uint32_t* b,
                   uint64_t nb, uint32_t* first, uint32_t* second, uint32_t* butterflies,
                   uint32_t* elementScratch) {
  if (b == nullptr) {
    hybridForward(a, na, s.c, first, s.W, s.stride, s.k, butterflies, s.t);
  } else if (s.t > 0) {
    // The two forward transforms at once, each on half the threads.
    uint32_t* upperScratch = butterflies + (fermatButterflyScratchWords(s.W) << (s.t - 1));
    auto upper = [&] {
      hybridForward(b, nb, s.c, second, s.W, s.stride, s.k, upperScratch, s.t - 1);
    };
    fermatFork(upper,
               [&] { hybridForward(a, na, s.c, first, s.W, s.stride, s.k, butterflies, s.t - 1); });
  } else {
    hybridForward(a, na, s.c, first, s.W, s.stride, s.k, butterflies, 0);
    hybridForward(b, nb, s.c, second, s.W, s.stride, s.k, butterflies, 0);
  }
  hybridFaultAfterForward(first, s.stride, s.k);
  if (b == nullptr) {
    hybridElementSquares(first, s.W, s.stride, s.k, elementScratch, s.elementWords, s.plan, s.t);
  } else {
    hybridElementProducts(first, second, s.W, s.stride, s.k, elementScratch, s.elementWords,
                          s.plan, s.t);
  }
}

uint32_t diskInverseInPlace(const DiskShape& s, uint32_t* transform, uint64_t end,
                            uint32_t* butterflies) {
  blockedInverse(transform, s.W, s.stride, s.k, 0, butterflies, s.t);
  const uint64_t W = s.W, c = s.c;
  uint64_t elements = (end + c - 1) / c;
  if (elements > s.count) elements = s.count;
  // Element i, divided by 2^k, goes to scratch first; that frees its slot,
  // and its W - 1 words then land at i * c, below (i + 1) * stride.
  uint32_t* scratch = butterflies;
  uint32_t failed = 0;
  uint64_t filled = 0;  // words of the product written so far
  for (uint64_t i = 0; i < elements; i++) {
    fermatShift(scratch, transform + i * s.stride, W, 64 * W - s.k);
    if ((scratch[W - 1] | scratch[W]) != 0) failed = 1;
    const uint64_t base = i * c, top = base + W - 1;
    if (top > filled) {
      memset(transform + filled, 0, 4 * (top - filled));
      filled = top;
    }
    uint32_t* out = transform + base;
    uint64_t carry = 0;
    for (uint64_t j = 0; j < W - 1; j++) {
      carry += uint64_t(out[j]) + scratch[j];
      out[j] = uint32_t(carry);
      carry >>= 32;
    }
    if (carry != 0) failed = 1;
  }
  // What lies between the product's end and the last element's top must be
  // zero for a right product.
  for (uint64_t j = end; j < filled; j++) {
    if (transform[j] != 0) failed = 1;
  }
  if (filled < end) memset(transform + filled, 0, 4 * (end - filled));
  return failed;
}

uint64_t diskTrimmedLength(const uint32_t* buffer, uint64_t words) {
  while (words > 0 && buffer[words - 1] == 0) words--;
  return words;
}

void readOperand(RaidFile* swap, uint64_t offset, uint32_t* buffer, uint64_t words) {
  raidFileReadAt(swap, offset, buffer, words);
}

void writeResult(RaidFile* swap, uint64_t offset, const uint32_t* buffer, uint64_t words) {
  raidFileWriteAt(swap, offset, buffer, words);
}
