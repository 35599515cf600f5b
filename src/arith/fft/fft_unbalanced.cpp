// The unbalanced FFT product: a long operand cut into pieces of the short
// operand's length, each piece a balanced product with the short one. The
// short operand is transformed once and kept for all pieces. Pieces 0, 2,
// 4, ... land side by side in the destination; pieces 1, 3, ... go through a
// temporary block and are added at their offset with carry; a last part
// shorter than the short operand is a product of its own with the roles
// swapped.
#include <cstring>

#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "arith/numbers/word_ops.h"

namespace {

// One piece: destination[0 .. 2 nb) = piece * b, with b's transform given.
void pieceProduct(double* buffer, uint32_t* points, const double* bTransform, const uint32_t* piece,
                  uint64_t nb, uint32_t* destination, const FftShape& s) {
  splitWordsToBalancedPoints(points, s.length / 2, piece, nb, s.bits);
  forwardFft(buffer, points, s.code, s.tables);
  fftPointwiseMultiply(buffer, bTransform, s.code);
  inverseFftSigned(buffer, points, s.code, s.bits, s.tables);
  packPointsToWords(points, s.length, destination, 2 * nb, s.bits);
}

// destination[0 .. length) += addend[0 .. count), carry rippling to the end.
void addAt(uint32_t* destination, uint64_t length, const uint32_t* addend, uint64_t count) {
  uint32_t carry = addWordsInPlace(destination, addend, count);
  rippleCarry(destination + count, length - count, carry);
}

}  // namespace

uint64_t fftMultiplyPieces(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* destination, const FftLookupTables* tables) {
  const uint64_t pieces = na / nb, rest = na % nb, total = na + nb;
  const FftShape s = fftShapeFor(32 * nb, tables);
  FftBlocks kept = {}, blocks = {};
  uint64_t missing = 0;
  uint32_t* temporary = static_cast<uint32_t*>(fftTake(heap, &kept, 8 * nb, &missing));
  if (temporary == nullptr) return missing;
  double* bTransform = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  double* buffer = bTransform == nullptr
                       ? nullptr
                       : static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  uint32_t* points = buffer == nullptr
                         ? nullptr
                         : static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * s.length, &missing));
  if (points == nullptr) {
    fftReleaseAll(&kept);
    return missing;
  }
  splitWordsToBalancedPoints(points, s.length / 2, b, nb, s.bits);
  forwardFft(bTransform, points, s.code, s.tables);
  for (uint64_t i = 0; i < pieces; i += 2) {
    pieceProduct(buffer, points, bTransform, a + i * nb, nb, destination + i * nb, s);
  }
  // Words above the last even piece; the odd pieces and the rest add into them.
  uint64_t written = (pieces % 2 == 0 ? pieces : pieces + 1) * nb;
  memset(destination + written, 0, 4 * (total - written));
  for (uint64_t i = 1; i < pieces; i += 2) {
    pieceProduct(buffer, points, bTransform, a + i * nb, nb, temporary, s);
    addAt(destination + i * nb, total - i * nb, temporary, 2 * nb);
  }
  fftReleaseAll(&blocks);
  if (rest > 0) {
    uint64_t code = fftMultiply(heap, b, nb, a + pieces * nb, rest, temporary, 0, tables);
    if (code != 0) {
      fftReleaseAll(&kept);
      return code;
    }
    addAt(destination + pieces * nb, total - pieces * nb, temporary, nb + rest);
  }
  fftReleaseAll(&kept);
  return 0;
}
