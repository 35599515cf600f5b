// The logarithmic term of Ramanujan's Catalan formula:
//   (Pi / 8) log(2 + sqrt(3)) = Pi^2 y / (16 * 2^j * AGM(y, 4)),
// y = (2 + sqrt(3))^(2^j) squared until its integer part has W/2 words,
// since log(y) = Pi y / (2 AGM(y, 4)) to W words for so large a y.
#include <algorithm>
#include <string>

#include "arith/newton/newton.h"
#include "constants/constant_steps.h"
#include "constants/zeta_catalan.h"
#include "memory/heap.h"
#include "platform/console.h"

namespace {

// "AGM Iteration:  " round "    ( " digits " )", at most once a second.
void printAgmProgress(uint32_t round, uint64_t agreeWords) {
  clearStatusLine();
  printWide("AGM Iteration:  ");
  setColor(10);
  printWide(std::to_string(round));
  setColor(14);
  printWide("    ( " + formatGrouped(uint64_t(double(agreeWords) * decimalDigitsPerWord) + 1, 0) +
            " )");
  colorDefault();
}

// a = AGM(a, b) at P words; b is consumed. Returns the rounds. a and b go
// as soon as their sum and product are made. In Basic Swap every number
// waits on disk outside its own steps: the products take their operands
// paged out (the disk path for large ones) and the inverse root pages its
// top steps.
uint32_t agm(Heap* heap, BigFloat* a, BigFloat* b, uint64_t words, uint32_t threadPower,
             uint32_t mode, uint32_t show) {
  const uint64_t precision = words + 8;
  uint64_t lastPrint = 0;
  uint32_t round = 0;
  for (;; round++) {
    const int64_t top = std::max(bigFloatPosition(*a), bigFloatPosition(*b));
    BigFloat s, t, r;
    const int64_t differ = bigFloatAddAgreeing(heap, a, b, &s, precision);
    bigFloatShiftBits(heap, &s, -1);
    constantPushIfSwap(&s, mode);
    constantPushIfSwap(a, mode);
    constantPushIfSwap(b, mode);
    bigFloatMultiplyInto(heap, a, b, &t, words + 8, threadPower);
    constantDestroy(a);
    constantDestroy(b);
    if (constantSwapMode(mode)) {
      constantPushIfSwap(&t, mode);
      bigFloatInvSqrtSwapped(heap, &t, &r, precision, threadPower);
      constantPushIfSwap(&r, mode);
      constantPushIfSwap(&t, mode);
    } else {
      bigFloatInvSqrt(heap, &t, &r, precision, threadPower, 0);
    }
    bigFloatMultiplyInto(heap, &r, &t, b, words + 8, threadPower);
    constantDestroy(&r);
    constantDestroy(&t);
    constantLoad(heap, &s);
    constantLoad(heap, b);
    bigFloatMove(a, &s);
    bigFloatCompact2(a, b);
    const int64_t agree = top - differ;
    if (show && (round == 0 || wallClockMilliseconds() - lastPrint >= 1000)) {
      lastPrint = wallClockMilliseconds();
      printAgmProgress(round, agree > 0 ? uint64_t(agree) : 0);
    }
    if (agree >= int64_t((precision >> 1) + 5)) break;
  }
  constantDestroy(b);
  return round + 1;
}

}  // namespace

void catalanLogTerm(Heap* heap, BigFloat* pi, BigFloat* out, uint64_t words, uint32_t threadPower,
                    uint32_t mode, uint32_t show, uint32_t* rounds) {
  // 2 + sqrt(3) = 2 + 3 / sqrt(3).
  uint64_t phase = show ? timerStart() : 0;
  if (show) printWide("Computing: 2 + sqrt(3)\n");
  constantPushIfSwap(pi, mode);
  BigFloat v, y;
  invSqrtWord(heap, 3, &v, words, threadPower, 0);
  bigFloatMultiplyWord(heap, &v, 3, words);
  BigFloat two;
  bigFloatFromU32(heap, &two, 2);
  bigFloatAdd(heap, &two, &v, &y, words);
  constantDestroy(&two);
  constantDestroy(&v);
  constantTrim(&y, nullptr);
  if (show) {
    constantPrintPhaseTime(phase);
    printWide("\n\nComputing: Log-Term\n");
    phase = timerStart();
  }

  // y^(2^j) until W - 2 * position(y) is no longer above 0.
  uint32_t j = 0;
  while (int64_t(words) - 2 * bigFloatPosition(y) > 0) {
    if (show) {
      clearStatusLine();
      printWide("Scaling...    ( " +
                formatGrouped(uint64_t(double(bigFloatPosition(y)) * decimalDigitsPerWord) + 1, 0) +
                " )");
    }
    bigFloatSquareInPlace(heap, &y, words, threadPower);
    j++;
  }
  if (show) {
    clearStatusLine();
    printWide("Finish Scaling...");
  }
  // Pi^2 y. In Basic Swap Pi and y wait on disk, so that large products
  // take the disk path; y comes back for the AGM.
  constantPushIfSwap(&y, mode);
  bigFloatSquareInPlace(heap, pi, words, threadPower);
  constantPushIfSwap(pi, mode);
  bigFloatMultiplyInPlace(heap, pi, &y, words, threadPower);
  constantPushIfSwap(pi, mode);
  constantLoad(heap, &y);

  if (show) {
    clearStatusLine();
    printWide("Starting AGM...");
  }
  BigFloat f;
  bigFloatFromU32(heap, &f, 4);
  const uint32_t count = agm(heap, &y, &f, words, threadPower, mode, show);
  if (rounds != nullptr) *rounds = count;

  constantInvert(heap, &y, words, threadPower, mode, show);
  if (show) constantPrintMultiplying(words);
  constantPushIfSwap(&y, mode);
  bigFloatMultiplyInPlace(heap, &y, pi, words, threadPower);
  constantDestroy(pi);
  constantLoad(heap, &y);
  bigFloatShiftBits(heap, &y, -int64_t(j) - 4);
  constantTrim(&y, nullptr);
  if (show) constantPrintPhaseTime(phase);
  bigFloatMove(out, &y);
}
