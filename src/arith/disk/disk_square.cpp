// Squares of numbers in swap files: the normal form (operand and result
// share one buffer beside the transform) and the compact form (a buffer of
// the operand's size only, the result recomposed inside the transform).
#include "arith/disk/disk.h"
#include "arith/disk/disk_internal.h"
#include "arith/hybrid/fermat.h"
#include "arith/hybrid/hybrid.h"

namespace {

// The blocks of a square: the transform with the butterfly scratch behind
// it, the element scratch, and a buffer of `bufferWords` words.
struct SquareBlocks {
  FftBlocks blocks;
  uint32_t* transform;
  uint32_t* butterflies;
  uint32_t* elementScratch;
  uint32_t* buffer;
};

// Takes the blocks; 0, or the bytes missing (all taken blocks released).
uint64_t takeSquareBlocks(Heap* heap, const DiskShape& s, uint64_t bufferWords, SquareBlocks* b) {
  b->blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  b->transform = static_cast<uint32_t*>(
      fftTake(heap, &b->blocks, 4 * (s.transformWords + s.butterflyWords), &missing));
  if (b->transform == nullptr) return missing;
  b->butterflies = b->transform + s.transformWords;
  b->buffer = static_cast<uint32_t*>(fftTake(heap, &b->blocks, 4 * bufferWords, &missing));
  if (b->buffer == nullptr) return missing;
  b->elementScratch =
      static_cast<uint32_t*>(fftTake(heap, &b->blocks, 4 * (s.elementWords << s.t), &missing));
  if (b->elementScratch == nullptr) return missing;
  return 0;
}

// The square of the operand in b->buffer[0 .. n) with the inverse into the
// buffer, and the window written out.
uint64_t squareThroughBuffer(const DiskShape& s, SquareBlocks* b, uint64_t n, uint64_t chop,
                             RaidFile* result, uint64_t resultOffset, uint64_t* resultLength) {
  diskTransform(s, b->buffer, n, nullptr, 0, b->transform, nullptr, b->butterflies,
                b->elementScratch);
  const uint64_t window = 2 * n - chop;
  const uint32_t failed = hybridInverse(b->buffer, 2 * n, chop, s.c, b->transform, s.W, s.stride,
                                        s.k, b->butterflies, s.t);
  if (failed != 0) return diskDetectedError;
  writeResult(result, resultOffset, b->buffer, window);
  *resultLength = diskTrimmedLength(b->buffer, window);
  return 0;
}

}  // namespace

uint64_t diskSquareBytes(uint64_t n, uint64_t chop, uint32_t threadPower) {
  uint64_t skip;
  diskAdjustSquare(&n, &chop, &skip);
  DiskShape s;
  diskShapeForSquare(&s, 2 * n, fftTables, threadPower);
  return diskBlockBytes(s.transformWords + s.butterflyWords) + diskBlockBytes(2 * n - chop) +
         diskBlockBytes(s.elementWords << s.t);
}

uint64_t diskSquare(Heap* heap, RaidFile* source, uint64_t sourceOffset, uint64_t n,
                    RaidFile* result, uint64_t resultOffset, uint64_t* resultLength, uint64_t chop,
                    const FftLookupTables* tables, uint32_t threadPower) {
  uint64_t skip;
  diskAdjustSquare(&n, &chop, &skip);
  DiskShape s;
  diskShapeForSquare(&s, 2 * n, tables, threadPower);
  SquareBlocks b;
  const uint64_t missing = takeSquareBlocks(heap, s, 2 * n - chop, &b);
  if (missing != 0) return missing;
  readOperand(source, sourceOffset + skip, b.buffer, n);
  const uint64_t code = squareThroughBuffer(s, &b, n, chop, result, resultOffset, resultLength);
  fftReleaseAll(&b.blocks);
  return code;
}

uint64_t diskSquareCompact(Heap* heap, RaidFile* source, uint64_t sourceOffset, uint64_t n,
                           RaidFile* result, uint64_t resultOffset, uint64_t* resultLength,
                           uint64_t chop, const FftLookupTables* tables, uint32_t threadPower) {
  uint64_t skip;
  diskAdjustSquare(&n, &chop, &skip);
  DiskShape s;
  diskShapeForSquare(&s, 2 * n, tables, threadPower);
  const uint64_t window = 2 * n - chop;
  const bool inPlace = window > n + 16;
  SquareBlocks b;
  const uint64_t missing = takeSquareBlocks(heap, s, inPlace ? n : window, &b);
  if (missing != 0) return missing;
  readOperand(source, sourceOffset + skip, b.buffer, n);
  uint64_t code = 0;
  if (!inPlace) {
    code = squareThroughBuffer(s, &b, n, chop, result, resultOffset, resultLength);
  } else {
    diskTransform(s, b.buffer, n, nullptr, 0, b.transform, nullptr, b.butterflies,
                  b.elementScratch);
    if (diskInverseInPlace(s, b.transform, 2 * n, b.butterflies) != 0) {
      code = diskDetectedError;
    } else {
      writeResult(result, resultOffset, b.transform + chop, window);
      *resultLength = diskTrimmedLength(b.transform + chop, window);
    }
  }
  fftReleaseAll(&b.blocks);
  return code;
}
