// Log(2) and Log(10): the formula table, the sum of the ArcCoth values with
// their factors, compute and verify with each ArcCoth shared between the two
// results, and the entry of the driver.
#include "constants/log.h"

#include <cstdlib>

#include "constants/compute_settings.h"
#include "constants/constant_steps.h"
#include "platform/console.h"

namespace {

const MachinFormula log2Machin1 = {3, {{18, 26}, {-2, 4801}, {8, 8749}}};
const MachinFormula log2Machin2 = {4, {{144, 251}, {54, 449}, {-38, 4801}, {62, 8749}}};
const MachinFormula log2Verify = {4, {{72, 99}, {-18, 449}, {34, 4801}, {-10, 8749}}};
const MachinFormula log10Machin1 = {4, {{478, 251}, {180, 449}, {-126, 4801}, {206, 8749}}};
const MachinFormula log10Machin2 = {4, {{239, 99}, {-59, 449}, {113, 4801}, {-33, 8749}}};

// target = target +/- |factor| T (T kept), or target = factor T when the
// target is still empty.
void accumulate(Heap* heap, BigFloat* target, bool empty, int32_t factor, BigFloat* t,
                uint64_t words, uint32_t mode) {
  BigFloat term;
  bigIntCopy(heap, &t->mantissa, &term.mantissa);
  term.exponent = t->exponent;
  term.positive = t->positive;
  bigFloatMultiplyWord(heap, &term, uint32_t(std::abs(factor)), words);
  if (empty) {
    if (factor < 0) term.positive = 0;
    bigFloatMove(target, &term);
    return;
  }
  constantLoad(heap, target);
  if (factor < 0) {
    bigFloatSubtractFrom(heap, target, &term, words);
  } else {
    bigFloatAddTo(heap, target, &term, words);
  }
  constantDestroy(&term);
  constantTrim(target, t);
  (void)mode;
}

}  // namespace

const MachinFormula* logFormula(uint32_t constantId, uint32_t algorithm, uint32_t value) {
  if (constantId == constantLog10) {
    if (algorithm == 2) return value == 0 ? &log10Machin2 : &log10Machin1;
    return algorithm == 1 ? &log10Machin2 : &log10Machin1;
  }
  if (algorithm == 2) return value == 0 ? &log2Verify : &log2Machin2;
  return algorithm == 1 ? &log2Machin2 : &log2Machin1;
}

void logComputeFormula(Heap* heap, BigFloat* out, const MachinFormula* formula,
                       uint64_t wordCount, uint32_t threadPower, uint32_t mode, uint32_t show) {
  const uint64_t words = wordCount + 2;
  BigFloat result;
  bigFloatSetZero(&result);
  for (uint32_t i = 0; i < formula->count; i++) {
    const MachinTerm& term = formula->terms[i];
    BigFloat t;
    arcCothSum(heap, &t, term.x, words, threadPower, mode, show);
    accumulate(heap, &result, i == 0, term.factor, &t, words, mode);
    constantDestroy(&t);
    constantTrim(&result, nullptr);
    constantPushIfSwap(&result, mode);
  }
  constantLoad(heap, &result);
  bigFloatMove(out, &result);
}

void logComputeBoth(Heap* heap, BigFloat* first, BigFloat* second, const MachinFormula* formulaA,
                    const MachinFormula* formulaB, uint64_t wordCount, uint32_t threadPower,
                    uint32_t mode, uint32_t show) {
  const uint64_t words = wordCount + 2;
  BigFloat a, b;
  bigFloatSetZero(&a);
  bigFloatSetZero(&b);
  for (uint32_t i = 0; i < formulaA->count; i++) {
    const MachinTerm& termA = formulaA->terms[i];
    const MachinTerm& termB = formulaB->terms[i];
    BigFloat t;
    arcCothSum(heap, &t, termA.x, words, threadPower, mode, show);
    accumulate(heap, &a, i == 0, termA.factor, &t, words, mode);
    constantPushIfSwap(&a, mode);
    if (termB.x != termA.x) {
      // The first pair: each result has its own ArcCoth.
      constantDestroy(&t);
      arcCothSum(heap, &t, termB.x, words, threadPower, mode, show);
    }
    accumulate(heap, &b, i == 0, termB.factor, &t, words, mode);
    constantDestroy(&t);
    constantTrim(&b, nullptr);
    constantPushIfSwap(&b, mode);
  }
  constantLoad(heap, &a);
  constantLoad(heap, &b);
  bigFloatMove(first, &a);
  bigFloatMove(second, &b);
}

void log2Compute(Heap* heap, BigFloat* out, uint64_t wordCount, uint32_t threadPower,
                 uint32_t mode, uint32_t show) {
  logComputeFormula(heap, out, &log2Machin1, wordCount, threadPower, mode, show);
}

double computeLog(ComputeSettings* settings) {
  const uint32_t mode = settings->computeMode;
  if (mode != computeModeRamOnly && mode != computeModeBasicSwap) return 0.0;
  const uint64_t start = timerStart();
  const uint32_t id = settings->constantId == constantLog10 ? constantLog10 : constantLog2;
  // Log(2) = 0.69... has no digit before the point, Log(10) = 2.30... one.
  const uint64_t integerDigits = id == constantLog10 ? 1 : 0;
  const char* name = id == constantLog10 ? "Log(10)" : "Log(2)";
  Heap* heap = settings->heap;
  if (settings->algorithm == 2) {
    BigFloat first, second;
    logComputeBoth(heap, &first, &second, logFormula(id, 2, 0), logFormula(id, 2, 1),
                   settings->wordCount, settings->threadPower, mode, 1);
    constantPrintComputeVerify(start);
    const double writing = constantWriteBoth(settings, &first, &second, integerDigits);
    return timerSeconds(start) - writing;
  }
  BigFloat value;
  logComputeFormula(heap, &value, logFormula(id, settings->algorithm, 0), settings->wordCount,
                    settings->threadPower, mode, 1);
  constantPrintTotal(name, start);
  printWide("\n");
  const double writing = constantWriteOne(settings, &value, 0, integerDigits);
  return timerSeconds(start) - writing;
}
