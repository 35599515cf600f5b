// Dispatch of a run to the entry of its constant. Each entry takes the
// record, picks its variant by algorithm and computeMode, writes the digit
// files and returns its computation time; it is one call here.
#include "shell/dispatch.h"

#include "constants/compute_settings.h"
#include "constants/e.h"
#include "constants/euler.h"
#include "constants/log.h"
#include "constants/pi.h"
#include "constants/roots.h"
#include "constants/zeta_catalan.h"

double computeConstant(ComputeSettings* settings) {
  switch (settings->constantId) {
    case constantSqrtN:
    case constantGoldenRatio:
      // The two roots have one algorithm and an entry per mode: Ram Only and
      // Basic Swap. Any other combination computes nothing.
      if (settings->algorithm != 0) return 0.0;
      if (settings->computeMode == computeModeRamOnly) {
        return settings->constantId == constantSqrtN ? computeSqrtN(settings)
                                                     : computeGoldenRatio(settings);
      }
      if (settings->computeMode == computeModeBasicSwap) {
        return settings->constantId == constantSqrtN ? computeSqrtNSwapped(settings)
                                                     : computeGoldenRatioSwapped(settings);
      }
      return 0.0;
    case constantE:
      return computeE(settings);
    case constantPi:
      return computePi(settings);
    case constantLog2:
    case constantLog10:
      return computeLog(settings);
    case constantZeta3:
      return computeZeta3(settings);
    case constantCatalan:
      return computeCatalan(settings);
    case constantEuler:
      return computeEuler(settings);
    default:
      return 0.0;  // 6, 7 and unknown ids: no constant, nothing computed
  }
}

bool constantHasComputation(const ComputeSettings& settings) {
  const bool modeBuilt = settings.computeMode == computeModeRamOnly ||
                         settings.computeMode == computeModeBasicSwap;
  switch (settings.constantId) {
    case constantSqrtN:
    case constantGoldenRatio:
      return settings.algorithm == 0 && modeBuilt;
    case constantE:
    case constantPi:
    case constantLog2:
    case constantLog10:
    case constantZeta3:
    case constantCatalan:
    case constantEuler:
      return modeBuilt;
    default:  // the empty slots 6 and 7
      return false;
  }
}
