// The Golden Ratio: V = 1 / sqrt(20) by Newton's iteration, V = V * 5, which
// is sqrt(5) / 2 = 1.118..., then one half added to the word below the point.
#include "arith/newton/newton.h"
#include "constants/compute_settings.h"
#include "constants/roots.h"
#include "memory/paging.h"
#include "platform/console.h"

void goldenRatioCompute(Heap* heap, BigFloat* out, uint64_t words, uint32_t threadPower,
                        uint32_t swapped, const char* name) {
  const uint64_t w = words + 2;
  uint64_t start = 0;
  if (name != nullptr) {
    start = timerStart();
    printWide("InvSqrt...\n");
  }
  progressReset();
  if (swapped) {
    invSqrtWordSwapped(heap, 20, out, w, threadPower);
  } else {
    invSqrtWord(heap, 20, out, w, threadPower, name != nullptr ? 1 : 0);
  }
  bigFloatMultiplyWord(heap, out, 5, w);

  // + 1/2: 0x80000000 in the word just below the point, a plain addition.
  // The top fraction word of 1.118... is below one half, so nothing carries.
  bigIntLoad(heap, &out->mantissa, 0);
  const int64_t below = -1 - out->exponent;
  if (bigFloatPosition(*out) != 1 || below < 0 || below >= int64_t(out->mantissa.length)) {
    assertionFailure("Golden Ratio", "The word below the point is not stored.", "");
  }
  out->mantissa.words[below] += 0x80000000u;
  if (name != nullptr) rootTimeLines(start, name);
}

double computeGoldenRatio(ComputeSettings* settings) {
  return rootEntry(settings, 0);
}
double computeGoldenRatioSwapped(ComputeSettings* settings) {
  return rootEntry(settings, 1);
}
