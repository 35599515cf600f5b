// The hybrid transform's products: parameters, memory, the forward
// transforms, the element products and the inverse with its output stage;
// and the unbalanced product by pieces of the short operand's length.
#include <cstdint>
#include <cstring>

#include "arith/hybrid/fermat.h"
#include "arith/fft/fft_blocks.h"
#include "arith/hybrid/hybrid.h"
#include "arith/hybrid/hybrid_params.h"
#include "platform/console.h"

namespace {

constexpr uint64_t detectedError = ~uint64_t(0);

[[noreturn]] void sizeExceeded() {
  fatalMessage("Maximum supported multiplication size has been exceeded.");
}

// One transform product: destination = (a * b)[chop, end), or a^2 with b
// null. The parameters k, m must hold the product (c * 2^k >= na + nb).
uint64_t hybridRun(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                   uint32_t* destination, uint64_t end, uint64_t chop, uint32_t k, uint32_t m,
                   const FftLookupTables* tables, uint32_t threadPower) {
  const uint64_t H = uint64_t(m) << k;
  const uint64_t W = H / 128, c = H / 256 - 1, stride = W + 1;
  hybridCheckStride(stride, k);
  const uint64_t count = uint64_t(1) << k;
  // Every thread gets at least eight elements.
  const uint32_t t = k <= 3 ? 0 : (threadPower < k - 3 ? threadPower : k - 3);
  const bool square = b == nullptr;

  ElementPlan plan;
  elementPlanFor(&plan, tables, W);
  if (plan.method == 1) plan.tables = fftTablesServing(tables, plan.code);
  const uint64_t transformWords = stride * count;
  const uint64_t butterflyWords = fermatButterflyScratchWords(W);
  const uint64_t elementWords = hybridElementScratchWords(plan, square);

  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  const uint64_t mainWords = transformWords * (square ? 1 : 2) + (butterflyWords << t);
  auto* main = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * mainWords, &missing));
  if (main == nullptr) return missing;
  auto* elementScratch =
      static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * (elementWords << t), &missing));
  if (elementScratch == nullptr) return missing;
  uint32_t* first = main;
  uint32_t* second = square ? nullptr : main + transformWords;
  uint32_t* butterflies = main + transformWords * (square ? 1 : 2);

  if (square) {
    hybridForward(a, na, c, first, W, stride, k, butterflies, t);
  } else if (t > 0) {
    uint32_t* upperScratch = butterflies + (butterflyWords << (t - 1));
    auto upper = [&] { hybridForward(b, nb, c, second, W, stride, k, upperScratch, t - 1); };
    fermatFork(upper, [&] { hybridForward(a, na, c, first, W, stride, k, butterflies, t - 1); });
  } else {
    hybridForward(a, na, c, first, W, stride, k, butterflies, 0);
    hybridForward(b, nb, c, second, W, stride, k, butterflies, 0);
  }
  hybridFaultAfterForward(first, stride, k);

  if (square) {
    hybridElementSquares(first, W, stride, k, elementScratch, elementWords, plan, t);
  } else {
    hybridElementProducts(first, second, W, stride, k, elementScratch, elementWords, plan, t);
  }

  uint32_t failed = hybridInverse(destination, end, chop, c, first, W, stride, k, butterflies, t);
  fftReleaseAll(&blocks);
  return failed != 0 ? detectedError : 0;
}

}  // namespace

uint64_t hybridProductWith(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* destination, uint64_t chop, uint32_t k,
                           uint32_t m, const FftLookupTables* tables, uint32_t threadPower) {
  if (hybridCapacity(k, m) < na + (b == nullptr ? na : nb)) sizeExceeded();
  const uint64_t end = na + (b == nullptr ? na : nb);
  return hybridRun(heap, a, na, b, nb, destination, end, chop, k, m, tables, threadPower);
}

namespace {

// destination[0 .. na + s) = a * b for na >= s, cut into pieces of s words
// of a, each a balanced product of 2s words (the last, shorter piece with
// the operands swapped), added in at their offsets.
uint64_t hybridPieces(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t s,
                      uint32_t* destination, const FftLookupTables* tables, uint32_t threadPower) {
  uint32_t k, m;
  if (hybridMultiplyParams(2 * s, &k, &m) != 0) sizeExceeded();
  uint64_t code = hybridRun(heap, a, s, b, s, destination, 2 * s, 0, k, m, tables, threadPower);
  if (code != 0 || na == s) return code;
  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  auto* piece = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * 2 * s, &missing));
  if (piece == nullptr) return missing;
  for (uint64_t offset = s; offset < na; offset += s) {
    const uint64_t length = na - offset < s ? na - offset : s;
    if (length == s) {
      code = hybridRun(heap, a + offset, s, b, s, piece, 2 * s, 0, k, m, tables, threadPower);
    } else {
      code = hybridMultiply(heap, b, s, a + offset, length, piece, 0, tables, threadPower);
    }
    if (code != 0) break;
    // Words from offset + s on are new; below them lies the top of the sum.
    memset(destination + offset + s, 0, 4 * length);
    uint64_t carry = 0;
    for (uint64_t j = 0; j < length + s; j++) {
      carry += uint64_t(destination[offset + j]) + piece[j];
      destination[offset + j] = uint32_t(carry);
      carry >>= 32;
    }
  }
  fftReleaseAll(&blocks);
  return code;
}

}  // namespace

uint64_t hybridSquare(Heap* heap, const uint32_t* words, uint64_t n, uint32_t* destination,
                      uint64_t chop, const FftLookupTables* tables, uint32_t threadPower) {
  if (chop > n) {
    const uint64_t drop = chop - n;
    words += drop;
    n -= drop;
    chop = n;
  }
  uint32_t k, m;
  if (hybridSquareParams(2 * n, &k, &m) != 0) sizeExceeded();
  return hybridRun(heap, words, n, nullptr, 0, destination, 2 * n, chop, k, m, tables,
                   threadPower);
}

uint64_t hybridMultiply(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                        uint32_t* destination, uint64_t chop, const FftLookupTables* tables,
                        uint32_t threadPower) {
  const uint64_t dropA = chop > nb ? chop - nb : 0;
  const uint64_t dropB = chop > na ? chop - na : 0;
  a += dropA;
  na -= dropA;
  b += dropB;
  nb -= dropB;
  chop -= dropA + dropB;
  if (na < nb) {
    const uint32_t* swap = a;
    a = b;
    b = swap;
    const uint64_t length = na;
    na = nb;
    nb = length;
  }
  const uint64_t product = na + nb, s = nb;
  uint32_t k, m, kBalanced, mBalanced;
  const bool oneTransform = hybridMultiplyParams(product, &k, &m) == 0;
  if (oneTransform && (na < 4 * s || (hybridMultiplyParams(2 * s, &kBalanced, &mBalanced) == 0 &&
                               kBalanced == k && mBalanced == m))) {
    // The same array twice is a square: one forward transform.
    const uint32_t* second = a == b && na == nb ? nullptr : b;
    return hybridRun(heap, a, na, second, nb, destination, product, chop, k, m, tables,
                     threadPower);
  }
  if (chop == 0) return hybridPieces(heap, a, na, b, s, destination, tables, threadPower);
  // With a chop the pieces go to a block of the whole product first.
  FftBlocks blocks = {{nullptr, nullptr, nullptr, nullptr}, 0};
  uint64_t missing = 0;
  auto* full = static_cast<uint32_t*>(fftTake(heap, &blocks, 4 * product, &missing));
  if (full == nullptr) return missing;
  const uint64_t code = hybridPieces(heap, a, na, b, s, full, tables, threadPower);
  if (code == 0) memcpy(destination, full + chop, 4 * (product - chop));
  fftReleaseAll(&blocks);
  return code;
}
