// The resource estimator's entry: the corrections of the record, the mode
// pick, and the dispatch to the estimator of each constant.
#include "shell/estimate.h"

#include "arith/size_limits.h"

void estimateModes(ComputeSettings* settings) {
  if (settings->wordCount < swapFloorWords || settings->computeMode == 0) {
    settings->computeMode = computeModeRamOnly;
  }
}

void estimateConstant(uint32_t constantId, uint32_t algorithm, uint64_t wordCount,
                      uint32_t threadPower, uint32_t mode, uint64_t* memory, uint64_t* disk) {
  *memory = 0;
  *disk = 0;
  switch (constantId) {
    case constantSqrtN:
    case constantGoldenRatio:
      if (mode <= computeModeRamOnly) {
        *memory = estimateRoot(wordCount, threadPower);
      } else {
        *memory = estimateRootSwap(wordCount, threadPower);
        *disk = estimateConversionDisk(wordCount);
      }
      return;
    case constantE:
      estimateE(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantPi:
      estimatePi(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantLog2:
      estimateLog2(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantLog10:
      estimateLog10(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantZeta3:
      estimateZeta3(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantCatalan:
      estimateCatalan(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    case constantEuler:
      estimateEuler(wordCount, threadPower, algorithm, mode, memory, disk);
      return;
    default:
      return;  // 6, 7 and unknown ids compute nothing
  }
}

void estimateResources(ComputeSettings* settings) {
  if (settings->digitLimit < settings->decimalDigits) {
    settings->decimalDigits = settings->digitLimit;
  }
  if (settings->constantId == constantEuler) {
    settings->constantParameter = eulerSizePower(settings->hexDigits);
  }
  estimateModes(settings);
  if (settings->hexDigits < 1048576) {
    settings->digitsPerFile = 0;
  } else if (settings->digitsPerFile > 0 &&
             uint64_t(settings->digitsPerFile) >= settings->hexDigits) {
    settings->digitsPerFile = -1;  // one block holds it all
  }
  settings->memoryNeeded = 0;
  settings->diskNeeded = 0;
  estimateConstant(settings->constantId, settings->algorithm, settings->wordCount,
                   settings->threadPower, settings->computeMode, &settings->memoryNeeded,
                   &settings->diskNeeded);
}

