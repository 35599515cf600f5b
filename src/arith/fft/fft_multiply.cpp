// The FFT product workers: fftSquare, fftMultiply and fftMultiplyEqual, with
// their chop rules, the fall to the recursive methods below the thresholds,
// and the choice between one transform and the cut into pieces.
#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "arith/recursive/recursive.h"
#include "arith/tuning.h"

#include <utility>

namespace {

// The square of words[0 .. n) by one transform, words chop .. 2n of it into
// destination.
uint64_t squareOnce(Heap* heap, const uint32_t* words, uint64_t n, uint32_t* destination,
                    uint64_t chop, const FftLookupTables* tables) {
  const FftShape s = fftShapeFor(32 * n, tables);
  FftBlocks blocks = {};
  uint64_t missing = 0;
  double* buffer = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  if (buffer == nullptr) return missing;
  uint32_t* points = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * s.length, &missing));
  if (points == nullptr) return missing;
  splitWordsToBalancedPoints(points, s.length / 2, words, n, s.bits);
  forwardFft(buffer, points, s.code, s.tables);
  fftPointwiseSquare(buffer, s.code);
  inverseFftSigned(buffer, points, s.code, s.bits, s.tables);
  packPointsToWordsFrom(points, s.length, chop, destination, 2 * n - chop, s.bits);
  fftReleaseAll(&blocks);
  return 0;
}

// Splits and loads one operand: all L points when it has more than L/2 of
// them (the product then wraps nega-cyclically, which only a chopped product
// can reach, into the words the chop throws away), else the lower half.
void loadOperand(double* buffer, uint32_t* points, const uint32_t* words, uint64_t n,
                 const FftShape& s) {
  if (uint64_t(s.bits) * (s.length / 2) < 32 * n) {
    splitWordsToBalancedPoints(points, s.length, words, n, s.bits);
    forwardFftFull(buffer, points, s.code, s.tables);
  } else {
    splitWordsToBalancedPoints(points, s.length / 2, words, n, s.bits);
    forwardFft(buffer, points, s.code, s.tables);
  }
}

// a * b by one transform sized for the na + nb words of the product.
uint64_t multiplyOnce(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                      uint32_t* destination, uint64_t chop, const FftLookupTables* tables) {
  const FftShape s = fftShapeFor(16 * (na + nb), tables);
  FftBlocks blocks = {};
  uint64_t missing = 0;
  double* first = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  if (first == nullptr) return missing;
  double* second = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  if (second == nullptr) return missing;
  uint32_t* points = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * s.length, &missing));
  if (points == nullptr) return missing;
  loadOperand(first, points, a, na, s);
  loadOperand(second, points, b, nb, s);
  fftPointwiseMultiply(first, second, s.code);
  inverseFftSigned(first, points, s.code, s.bits, s.tables);
  packPointsToWordsFrom(points, s.length, chop, destination, na + nb - chop, s.bits);
  fftReleaseAll(&blocks);
  return 0;
}

}  // namespace

uint64_t fftSquare(Heap* heap, const uint32_t* words, uint64_t n, uint32_t* destination,
                   uint64_t chop, const FftLookupTables* tables) {
  // A chop past the operand's length: its lowest chop - n words cannot reach
  // the kept words but through carries, and are left out.
  if (chop > n) {
    uint64_t cut = chop - n;
    words += cut;
    n -= cut;
    chop = n;
  }
  if (n < fftSquareThreshold) return smallSquare(heap, words, n, destination, chop);
  return squareOnce(heap, words, n, destination, chop, tables);
}

uint64_t fftMultiply(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                     uint32_t* destination, uint64_t chop, const FftLookupTables* tables) {
  if (a == b && na == nb) return fftSquare(heap, a, na, destination, chop, tables);
  if (na < nb) {
    const uint32_t* t = a;
    a = b;
    b = t;
    uint64_t tn = na;
    na = nb;
    nb = tn;
  }
  // The chop: b loses what lies below chop - na, a what lies below chop - nb.
  const uint64_t cutB = chop > na ? chop - na : 0;
  const uint64_t cutA = chop > nb ? chop - nb : 0;
  b += cutB;
  nb -= cutB;
  a += cutA;
  na -= cutA;
  chop -= cutA + cutB;
  if (na < nb) return fftMultiply(heap, b, nb, a, na, destination, chop, tables);
  if (nb < fftMultiplyThreshold) {
    if (na == nb) return smallMultiplyEqual(heap, a, b, na, destination, chop);
    return smallMultiply(heap, a, na, b, nb, destination, chop);
  }
  // Unbalanced without a chop: one transform when the whole product takes
  // the row of the balanced one, or when a is at most twice as long as b;
  // otherwise a is cut into pieces of b's length.
  if (chop == 0 && na > 2 * nb && fftSizeRowFor(64 * nb) != fftSizeRowFor(32 * (na + nb))) {
    return fftMultiplyPieces(heap, a, na, b, nb, destination, tables);
  }
  return multiplyOnce(heap, a, na, b, nb, destination, chop, tables);
}

// The transforms the workers above would take, by the same rules.
static SizeCode codeOfOperandBits(uint64_t operandBits) {
  SizeCode code;
  uint32_t bits;
  return fftParamsFor(operandBits, &code, &bits) == 0 ? code : ~SizeCode(0);
}

SizeCode fftSquareCode(uint64_t n, uint64_t chop) {
  if (chop > n) n -= chop - n;
  return n < fftSquareThreshold ? 0 : codeOfOperandBits(32 * n);
}

SizeCode fftMultiplyCode(uint64_t na, uint64_t nb, uint64_t chop) {
  if (na < nb) std::swap(na, nb);
  const uint64_t cutB = chop > na ? chop - na : 0, cutA = chop > nb ? chop - nb : 0;
  na -= cutA;
  nb -= cutB;
  if (na < nb) std::swap(na, nb);
  if (nb < fftMultiplyThreshold) return 0;
  // Pieces: the balanced products of nb words (the last part is shorter).
  if (chop == cutA + cutB && na > 2 * nb &&
      fftSizeRowFor(64 * nb) != fftSizeRowFor(32 * (na + nb))) {
    return codeOfOperandBits(32 * nb);
  }
  return codeOfOperandBits(16 * (na + nb));
}

uint64_t fftMultiplyShared(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* outB, uint64_t chopB, const uint32_t* c,
                           uint64_t nc, uint32_t* outC, uint64_t chopC,
                           const FftLookupTables* tables) {
  const FftShape s = fftShapeFor(16 * (na + (nb > nc ? nb : nc)), tables);
  FftBlocks blocks = {};
  uint64_t missing = 0;
  double* shared = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  if (shared == nullptr) return missing;
  double* work = static_cast<double*>(fftTake(heap, &blocks, 8 * s.length, &missing));
  if (work == nullptr) return missing;
  uint32_t* points = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * s.length, &missing));
  if (points == nullptr) return missing;
  loadOperand(shared, points, a, na, s);
  const uint32_t* others[2] = {b, c};
  const uint64_t lengths[2] = {nb, nc};
  uint32_t* outs[2] = {outB, outC};
  const uint64_t chops[2] = {chopB, chopC};
  for (int i = 0; i < 2; i++) {
    loadOperand(work, points, others[i], lengths[i], s);
    fftPointwiseMultiply(work, shared, s.code);
    inverseFftSigned(work, points, s.code, s.bits, s.tables);
    packPointsToWordsFrom(points, s.length, chops[i], outs[i], na + lengths[i] - chops[i],
                          s.bits);
  }
  fftReleaseAll(&blocks);
  return 0;
}

uint64_t fftMultiplyEqual(Heap* heap, const uint32_t* a, const uint32_t* b, uint64_t n,
                          uint32_t* destination, uint64_t chop, const FftLookupTables* tables) {
  return fftMultiply(heap, a, n, b, n, destination, chop, tables);
}
