// Building, growing and releasing the twiddle pyramids.
#include "arith/fft/fft_tables.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "arith/fft/twiddles.h"
#include "arith/hybrid/hybrid_params.h"
#include "platform/console.h"

FftLookupTables* fftTables = nullptr;

uint64_t pyramidLevelCount(const double* pyramid) {
  if (pyramid == nullptr) return 0;
  uint64_t count;
  memcpy(&count, pyramid, sizeof count);
  return count;
}

// A pyramid's block: `bytes` of doubles at a 16-byte boundary, with the
// allocator's pointer stored just below them (24 bytes cover both).
static double* pyramidAllocate(uint64_t bytes) {
  uint8_t* raw = static_cast<uint8_t*>(malloc(bytes + 24));
  if (raw == nullptr) return nullptr;
  uintptr_t aligned = (reinterpret_cast<uintptr_t>(raw) + 8 + 15) & ~uintptr_t(15);
  reinterpret_cast<uint8_t**>(aligned)[-1] = raw;
  return reinterpret_cast<double*>(aligned);
}

static void pyramidFree(double* pyramid) {
  if (pyramid != nullptr) free(reinterpret_cast<uint8_t**>(pyramid)[-1]);
}

// Fills a pyramid of the family K with its top level `top`: the top level
// from the twiddles themselves, each lower level as every second pair of the
// one above, starting from its second pair, down to level 2.
static void pyramidFill(double* pyramid, uint32_t family, uint32_t top, uint32_t threadPower) {
  uint64_t levelCount = top + 1;
  memcpy(pyramid, &levelCount, sizeof levelCount);
  uint64_t pairs = uint64_t(family) << (top - 2);
  twiddleFill(pyramid + (uint64_t(family) << (top - 1)), pairs, uint64_t(family) << (top + 1),
              threadPower);
  for (uint32_t j = top; j > 2; j--) {
    const double* upper = pyramid + (uint64_t(family) << (j - 1));
    double* lower = pyramid + (uint64_t(family) << (j - 2));
    uint64_t lowerPairs = uint64_t(family) << (j - 3);
    for (uint64_t i = 0; i < lowerPairs; i++) {
      lower[2 * i] = upper[4 * i + 2];
      lower[2 * i + 1] = upper[4 * i + 3];
    }
  }
  pyramid[1] = 0.0;
}

// Radix-3 constants below level 2: cos and sin of 2 pi / 3 at 4 and 5.
static void pyramid3Heads(double* p) {
  p[1] = p[2] = p[3] = 0.0;
  p[4] = -p[9];
  p[5] = p[8];
}

// Radix-5 constants below level 2: cos and sin of 2 pi k / 5 for k = 1 .. 4
// at 2 .. 9, from cos and sin of 18 and 36 degrees.
static void pyramid5Heads(double* p) {
  p[1] = 0.0;
  p[2] = p[8] = p[13];
  p[3] = p[12];
  p[9] = -p[12];
  p[4] = p[6] = -p[16];
  p[5] = p[17];
  p[7] = -p[17];
}

// Rebuilds one pyramid if it has fewer than `levels` levels; returns the bytes
// that could not be had, or 0. The old pyramid goes only once the new one
// exists: a failed growth leaves the tables as they were.
static uint64_t pyramidEnsure(double** slot, uint32_t family, uint32_t levels,
                              uint32_t threadPower) {
  if (pyramidLevelCount(*slot) >= levels) return 0;
  uint32_t top = levels - 1;
  uint64_t bytes = 8 * (uint64_t(family) << top);
  double* pyramid = pyramidAllocate(bytes);
  if (pyramid == nullptr) return bytes + 24;
  pyramidFill(pyramid, family, top, threadPower);
  if (family == 3) pyramid3Heads(pyramid);
  if (family == 5) pyramid5Heads(pyramid);
  pyramidFree(*slot);
  *slot = pyramid;
  return 0;
}

uint64_t growFftTables(FftLookupTables* tables, SizeCode code, uint32_t threadPower) {
  if (code <= tables->builtCode) return 0;
  if (code < smallestSizeCode) invalidParameters("growFftTables", "Size code below 64 points.");
  uint32_t e2 = code / 4;
  uint32_t e3 = (code - 2) / 4;
  uint32_t e5 = (code - 1) / 4;
  uint64_t missing = pyramidEnsure(&tables->pyramid2, 1, e2 + 1, threadPower);
  if (missing == 0) missing = pyramidEnsure(&tables->pyramid3, 3, e3, threadPower);
  if (missing == 0) missing = pyramidEnsure(&tables->pyramid5, 5, e5 - 1, threadPower);
  // Raised only when every pyramid serves the code.
  if (missing == 0) tables->builtCode = code;
  return missing;
}

SizeCode fftTablesCodeFor(uint64_t words) {
  uint64_t capped = std::min(words, fftTablesWordCap);
  SizeCode code = FftSizeTable[fftSizeRowFor(64 * capped)].code;
  return std::max<SizeCode>(code, hybridElementCodeBound(2 * words));
}

void buildFftTables(uint64_t words, uint32_t threadPower) {
  if (fftTables == nullptr) {
    fftTables = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
    if (fftTables == nullptr) fatalMemory();
  }
  if (growFftTables(fftTables, fftTablesCodeFor(words), threadPower) != 0) fatalMemory();
}

void releaseFftTablesRecord(FftLookupTables* tables) {
  if (tables == nullptr) return;
  pyramidFree(tables->pyramid2);
  pyramidFree(tables->pyramid3);
  pyramidFree(tables->pyramid5);
  pyramidFree(tables->pyramid7);
  free(tables);
}

void releaseFftTables() {
  releaseFftTablesRecord(fftTables);
  fftTables = nullptr;
}
