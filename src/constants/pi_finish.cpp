// The finish of both Pi series: from the sum's Q and R to
//   Pi = A Q / (B Q + R) * (1 / sqrt(n))
// with two products by Q, one reciprocal, one inverse square root of a small
// integer and two full products, in an order that keeps at most three
// full-size numbers live. Its console lines and times are printed when
// `show` is set.
#include <string>

#include "arith/newton/newton.h"
#include "constants/pi.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "platform/console.h"

namespace {

struct PiFinishConstants {
  uint32_t numerator;  // A
  uint32_t firstTerm;  // B
  uint32_t rootOf;     // n of 1 / sqrt(n)
};

PiFinishConstants finishConstants(uint32_t algorithm) {
  if (algorithm == piChudnovsky) return {4270934400u, 13591409u, 10005u};
  return {9801u, 1103u, 8u};
}

// A time in the form "%0.3f seconds  ( %0.3f hours )" in colour `color`,
// the print colour restored after it.
void printColoredTime(int color, double seconds) {
  setColor(color);
  printTime(seconds);
  colorDefault();
}

// Closes the gap below a number's array, so that its heap stays in one piece.
void trimNumber(BigFloat* x) {
  void* array = x->mantissa.words;
  void** pointers[1] = {&array};
  heapCompactBlocks(pointers, 1);
  x->mantissa.words = static_cast<uint32_t*>(array);
}

// out = value * x at `words` words; x is read.
void multiplyBySmall(Heap* heap, uint32_t value, BigFloat* x, BigFloat* out, uint64_t words,
                     uint32_t threadPower) {
  bigFloatFromU32(heap, out, value);
  bigFloatMultiplyInPlace(heap, out, x, words, threadPower);
}

// "Multiplying..." with the digit count of `words` words.
void printMultiplying(uint64_t words) {
  uint64_t digits = uint64_t(double(words) * decimalDigitsPerWord) + 1;
  clearStatusLine();
  printWide("Multiplying...    ( " + formatGrouped(digits, 0) + " )");
}

void printPhaseTime(uint64_t phaseStart) {
  clearStatusLine();
  printWide("Time: ");
  printColoredTime(11, timerSeconds(phaseStart));
}

void printTotal(uint64_t start) {
  printWide("\n");
  setColor(10);
  printWide("Pi");
  colorDefault();
  printWide(":  ");
  printColoredTime(14, timerSeconds(start));
}

}  // namespace

void piFinish(Heap* heap, BigFloat* q, BigFloat* r, BigFloat* out, uint64_t words,
              uint32_t threadPower, uint32_t algorithm, uint32_t show, uint64_t start) {
  PiFinishConstants c = finishConstants(algorithm);
  uint64_t phase = show ? timerStart() : 0;
  if (show) {
    clearStatusLine();
    printWide("Finalizing...");
  }
  BigFloat t, u;
  multiplyBySmall(heap, c.numerator, q, &t, words, threadPower);
  multiplyBySmall(heap, c.firstTerm, q, &u, words, threadPower);
  bigFloatDestroy(q);
  bigFloatAddTo(heap, &u, r, words);
  bigFloatDestroy(r);
  if (show) progressReset();
  bigFloatInvert(heap, &u, words, threadPower, show);
  bigFloatCompact2(&t, &u);

  if (show) printMultiplying(words);
  bigFloatMultiplyInPlace(heap, &u, &t, words, threadPower);
  bigFloatDestroy(&t);
  trimNumber(&u);
  if (show) {
    printPhaseTime(phase);
    printWide("InvSqrt...\n");
    phase = timerStart();
  }

  BigFloat v;
  if (show) progressReset();
  invSqrtWord(heap, c.rootOf, &v, words, threadPower, show);
  if (show) {
    printPhaseTime(phase);
    printWide("Final Multiply...\n");
    phase = timerStart();
  }
  bigFloatMultiplyInPlace(heap, &u, &v, words, threadPower);
  bigFloatDestroy(&v);
  trimNumber(&u);
  if (show) {
    printPhaseTime(phase);
    printTotal(start);
  }
  bigFloatMove(out, &u);
}

// The same steps with each number brought in just before its use, the
// reciprocal and the root by their swap forms, and T and U paged out while
// the reciprocal runs.
void piFinishSwapped(Heap* heap, BigFloat* q, BigFloat* r, BigFloat* out, uint64_t words,
                     uint32_t threadPower, uint32_t algorithm, uint32_t show, uint64_t start) {
  PiFinishConstants c = finishConstants(algorithm);
  uint64_t phase = show ? timerStart() : 0;
  if (show) {
    clearStatusLine();
    printWide("Finalizing...");
  }
  BigFloat t, u;
  bigIntLoad(heap, &q->mantissa, 0);
  multiplyBySmall(heap, c.numerator, q, &t, words, threadPower);
  bigFloatPushToDisk(&t);
  multiplyBySmall(heap, c.firstTerm, q, &u, words, threadPower);
  bigFloatDestroy(q);
  bigIntLoad(heap, &r->mantissa, 0);
  bigFloatAddTo(heap, &u, r, words);
  bigFloatDestroy(r);
  bigFloatPushToDisk(&u);
  if (show) progressReset();
  bigFloatInvertSwapped(heap, &u, words, threadPower, show);

  if (show) printMultiplying(words);
  // Both operands paged out: a large product runs on the disk path and
  // leaves its result on disk; a small one loads them.
  bigFloatPushToDisk(&u);
  bigFloatMultiplyInPlace(heap, &u, &t, words, threadPower);
  bigFloatDestroy(&t);
  trimNumber(&u);
  bigFloatPushToDisk(&u);
  if (show) {
    printPhaseTime(phase);
    printWide("InvSqrt...\n");
    phase = timerStart();
  }

  BigFloat v;
  if (show) progressReset();
  if (show) {
    invSqrtWordSwapped(heap, c.rootOf, &v, words, threadPower);
  } else {
    invSqrtWord(heap, c.rootOf, &v, words, threadPower, 0);
  }
  if (show) {
    printPhaseTime(phase);
    printWide("Final Multiply...\n");
    phase = timerStart();
  }
  bigFloatPushToDisk(&v);
  bigFloatMultiplyInPlace(heap, &u, &v, words, threadPower);
  bigFloatDestroy(&v);
  trimNumber(&u);
  if (show) {
    printPhaseTime(phase);
    printTotal(start);
  }
  bigFloatMove(out, &u);
}
