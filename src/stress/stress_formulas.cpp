// The two formulas of each constant as the stress test runs them: the
// compute steps of the constants with printing off, in Ram Only, and the
// sizing of a test by the memory estimators.
#include "arith/numbers/bigfloat.h"
#include "constants/compute_settings.h"
#include "constants/e.h"
#include "constants/euler.h"
#include "constants/log.h"
#include "constants/pi.h"
#include "constants/zeta_catalan.h"
#include "platform/threads.h"
#include "shell/estimate.h"
#include "stress/stress.h"

namespace {

constexpr uint64_t stressReserveBytes = 0x200000;
constexpr uint64_t stressFirstDigits = 0x100000;

// hexDigits = floor(digits log16(10)) + 1 and words = hexDigits / 8 + 2.
ComputeSettings sizesOf(uint64_t digits) {
  ComputeSettings sizes{};
  setDecimalDigits(&sizes, digits);
  return sizes;
}

uint64_t wordsForDigits(uint64_t digits) { return sizesOf(digits).wordCount; }

bool fits(uint32_t constantId, uint32_t algorithm, uint64_t digits, uint32_t threadPower,
          uint64_t bytes) {
  uint64_t memory = 0, disk = 0;
  estimateConstant(constantId, algorithm, wordsForDigits(digits), threadPower, computeModeRamOnly,
                   &memory, &disk);
  return memory <= bytes;
}

// Largest digit count within `bytes`: doubling from stressFirstDigits while
// it fits, then bisection between the last count that fits and the first
// that does not.
uint64_t largestFitting(uint32_t constantId, uint32_t algorithm, uint32_t threadPower,
                        uint64_t bytes) {
  uint64_t low = 0, high = stressFirstDigits;
  while (fits(constantId, algorithm, high, threadPower, bytes)) {
    low = high;
    high *= 2;
  }
  while (high - low > 1) {
    uint64_t middle = low + (high - low) / 2;
    (fits(constantId, algorithm, middle, threadPower, bytes) ? low : high) = middle;
  }
  return low;
}

void computeFormula(Heap* heap, BigFloat* out, uint32_t constantId, uint32_t algorithm,
                    uint64_t digits, uint64_t words, uint32_t threadPower) {
  const uint32_t mode = computeModeRamOnly;
  switch (constantId) {
    case constantPi:
      piComputeNumber(heap, out, words, threadPower, algorithm, 0);
      return;
    case constantE:
      if (algorithm == eExpOne) {
        computeEExpOne(heap, out, words, threadPower, mode, 0);
      } else {
        computeEExpMinusOne(heap, out, words, threadPower, mode, 0);
      }
      return;
    case constantLog2:
    case constantLog10:
      logComputeFormula(heap, out, logFormula(constantId, algorithm, 0), words, threadPower, mode,
                        0);
      return;
    case constantZeta3:
      zeta3Compute(heap, out, words, threadPower, algorithm, mode, 0);
      return;
    case constantCatalan:
      catalanCompute(heap, out, words, threadPower, algorithm, mode, 0);
      return;
    case constantEuler: {
      // The refined series at n = 2^k; the plain one needs n = 2^(k+1).
      uint32_t k = eulerSizePower(sizesOf(digits).hexDigits);
      bool refined = algorithm == eulerRefined;
      eulerCompute(heap, out, words, threadPower, refined ? k : k + 1, refined, nullptr, nullptr,
                   mode, 0, "");
      return;
    }
  }
}

}  // namespace

uint64_t stressDigitsFor(Heap* heap, uint32_t constantId, uint64_t workingBytes) {
  uint64_t bytes = workingBytes - stressReserveBytes;
  uint64_t first = largestFitting(constantId, 0, globalThreadPower, bytes);
  uint64_t second = largestFitting(constantId, 1, globalThreadPower, bytes);
  return first < second ? first : second;
}

uint32_t stressFormulaWord(Heap* heap, uint32_t constantId, uint32_t algorithm, uint64_t digits,
                           uint32_t threadPower) {
  const uint64_t words = wordsForDigits(digits);
  BigFloat value;
  bigFloatSetZero(&value);
  computeFormula(heap, &value, constantId, algorithm, digits, words, threadPower);
  uint32_t word = value.mantissa.words[value.mantissa.length - words];
  bigFloatDestroy(&value);
  return word;
}
