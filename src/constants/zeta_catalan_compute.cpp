// The compute steps of Zeta(3) and Catalan's constant and their entries:
// the summation, the ratio finish, and for Ramanujan's Catalan formula the
// logarithmic term (Pi, 2 + sqrt(3), repeated squaring, the AGM).
#include <string>

#include "arith/newton/newton.h"
#include "constants/compute_settings.h"
#include "constants/constant_steps.h"
#include "constants/pi.h"
#include "constants/series.h"
#include "constants/zeta_catalan.h"
#include "platform/console.h"

namespace {

struct RatioConstants {
  uint32_t a;  // a Q + b R over d Q
  uint32_t b;
  uint32_t d;
};

void printFinalizing() {
  clearStatusLine();
  printWide("Finalizing...");
}

// The sum of a three-record series and its finish (a Q + R) / (d Q).
void ratioConstant(Heap* heap, BigFloat* out, const SeriesKind* kind, RatioConstants c,
                   uint64_t wordCount, uint32_t threadPower, uint32_t mode, uint32_t show,
                   const char* name) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumSeries(heap, kind, &sum, words, threadPower, mode, show);
  const uint64_t phase = show ? timerStart() : 0;
  if (show) printFinalizing();
  constantRatioFinish(heap, &sum.q, &sum.r[0], c.a, c.b, c.d, out, words, threadPower, mode,
                      show);
  if (show) {
    constantPrintPhaseTime(phase);
    constantPrintTotal(name, start);
  }
}

// Ramanujan's formula: S = (9 R + 19 Q) / (48 Q) with Q = Qa Qb, then the
// logarithmic term, G = S + (Pi / 8) log(2 + sqrt(3)).
void catalanByRamanujan(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                        uint32_t mode, uint32_t show) {
  const uint64_t start = show ? timerStart() : 0;
  const uint64_t words = wordCount + 2;
  SplitFloats sum;
  sumSeries(heap, catalanRamanujanSeriesKind(), &sum, words, threadPower, mode, show);
  uint64_t phase = show ? timerStart() : 0;
  if (show) printFinalizing();
  // In Basic Swap Qa and Qb wait on disk: their product takes the disk path
  // when both are large, and R stays out while it runs.
  constantPushIfSwap(&sum.r[0], mode);
  constantPushIfSwap(&sum.q, mode);
  constantPushIfSwap(&sum.r[1], mode);
  BigFloat q;
  bigFloatMultiplyInto(heap, &sum.q, &sum.r[1], &q, words, threadPower);
  constantDestroy(&sum.q);
  constantDestroy(&sum.r[1]);
  if (constantSwapMode(mode)) {
    constantPushIfSwap(&q, mode);
  } else {
    constantTrim(&q, &sum.r[0]);
  }
  BigFloat s;
  constantRatioFinish(heap, &q, &sum.r[0], 19, 9, 48, &s, words, threadPower, mode, show);
  if (show) {
    constantPrintPhaseTime(phase);
    printWide("\n");
  }
  constantPushIfSwap(&s, mode);

  if (show) printWide("Computing: Pi\n");
  BigFloat pi;
  if (constantSwapMode(mode)) {
    piComputeNumberSwapped(heap, &pi, wordCount, threadPower, piChudnovsky, show);
  } else {
    piComputeNumber(heap, &pi, wordCount, threadPower, piChudnovsky, show);
  }
  if (show) printWide("\n\n");
  constantLoad(heap, &pi);
  BigFloat m;
  catalanLogTerm(heap, &pi, &m, words, threadPower, mode, show, nullptr);

  if (show) {
    clearStatusLine();
    printWide("Pi & Log-Term");
  }
  constantLoad(heap, &s);
  constantLoad(heap, &m);
  BigFloat g;
  bigFloatAdd(heap, &s, &m, &g, words);
  constantDestroy(&m);
  constantDestroy(&s);
  constantTrim(&g, nullptr);
  bigFloatMove(out, &g);
  if (show) constantPrintTotal("Catalan", start);
}

double entry(ComputeSettings* settings, uint64_t integerDigits,
             void (*compute)(Heap*, BigFloat*, uint64_t, uint32_t, uint32_t, uint32_t,
                             uint32_t)) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;
  const uint64_t start = timerStart();
  BigFloat value;
  compute(settings->heap, &value, settings->wordCount, settings->threadPower,
          settings->algorithm, mode, 1);
  printWide("\n");
  const double writing = constantWriteOne(settings, &value, 0, integerDigits);
  return timerSeconds(start) - writing;
}

}  // namespace

void zeta3Compute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                  uint32_t algorithm, uint32_t mode, uint32_t show) {
  const RatioConstants c = algorithm == zeta3Formula1 ? RatioConstants{77, 1, 64}
                                                      : RatioConstants{12463, 1, 10368};
  ratioConstant(heap, out, zeta3SeriesKind(algorithm), c, wordCount, threadPower, mode, show,
                "Zeta(3)");
}

void catalanCompute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                    uint32_t algorithm, uint32_t mode, uint32_t show) {
  if (algorithm == catalanRamanujan) {
    catalanByRamanujan(heap, out, wordCount, threadPower, mode, show);
    return;
  }
  ratioConstant(heap, out, lupasSeriesKind(), RatioConstants{19, 1, 18}, wordCount, threadPower,
                mode, show, "Catalan");
}

double computeZeta3(ComputeSettings* settings) {
  // Zeta(3) = 1.20... has one digit before the point.
  return entry(settings, 1, zeta3Compute);
}

double computeCatalan(ComputeSettings* settings) {
  return entry(settings, 0, catalanCompute);
}
