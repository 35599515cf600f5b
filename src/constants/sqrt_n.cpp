// Sqrt(n) for a 32-bit n: V = 1 / sqrt(n) by Newton's iteration, then
// V = V * n by the one-word product, which is n / sqrt(n).
#include "arith/newton/newton.h"
#include "constants/compute_settings.h"
#include "constants/roots.h"
#include "platform/console.h"

void rootTimeLines(uint64_t start, const char* name) {
  double seconds = timerSeconds(start);
  clearStatusLine();
  printWide("Time: ");
  colorCyan(true);
  printTime(seconds);
  colorDefault();
  printWide("\n");
  colorGreen(true);
  printWide(name);
  colorDefault();
  printWide(":  ");
  colorYellow(true);
  printTime(seconds);
  colorDefault();
}

void sqrtNCompute(Heap* heap, BigFloat* out, uint64_t words, uint32_t threadPower, uint32_t n,
                  uint32_t swapped, const char* name) {
  const uint64_t w = words + 2;
  uint64_t start = 0;
  if (name != nullptr) {
    start = timerStart();
    printWide("InvSqrt...\n");
  }
  progressReset();
  if (swapped) {
    invSqrtWordSwapped(heap, n, out, w, threadPower);
  } else {
    invSqrtWord(heap, n, out, w, threadPower, name != nullptr ? 1 : 0);
  }
  bigFloatMultiplyWord(heap, out, n, w);
  if (name != nullptr) rootTimeLines(start, name);
}

uint32_t rootIntegerWord(const BigFloat* value) {
  if (value->mantissa.length == 0 || bigFloatPosition(*value) < 1) return 0;
  return value->mantissa.words[value->mantissa.length - 1];
}

double computeSqrtN(ComputeSettings* settings) {
  return rootEntry(settings, 0);
}
double computeSqrtNSwapped(ComputeSettings* settings) {
  return rootEntry(settings, 1);
}
