// The peak of a series constant: the shape shared by all binary-splitting
// series, its instance for Catalan by Lupas, and the estimators of the series
// constants built on it.
#include <algorithm>
#include <cmath>

#include "constants/compute_settings.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"
#include "shell/estimate_e.h"
#include "shell/estimate_euler.h"
#include "shell/estimate_logs.h"
#include "shell/estimate_zeta_catalan.h"
#include "shell/estimate_pi.h"

// 4 ln(n!) by Stirling: 4 * ((n + 1.5)(ln(n + 1) - 1) + 0.5 ln(2 pi) + 0.5).
static long double lupasF(long double n) {
  return 4.0L * ((n + 1.5L) * (logl(n + 1.0L) - 1.0L) + 1.4189385332046727L);
}

// Words of Q(0, n) for Lupas: (F(n) + 8 ln 2 * n) / (32 ln 2).
static long double lupasSizeWords(long double n) {
  return (lupasF(n) + 5.545177444479562L * n) * 0.045084220027780106L;
}

// Size of P relative to Q at n terms.
static long double lupasRatio(long double n) {
  long double f = lupasF(n);
  return (0.6931471805599453L * n + f) / (f + 5.545177444479562L * n);
}

const SeriesShape lupasSeries = {16.0L, lupasSizeWords, lupasRatio};

// Precision left after the first block: trunc(max(L - m / rate, 0)).
static long double precisionAfter(const SeriesShape& shape, uint64_t wordCount, uint64_t m) {
  long double left = (long double)wordCount - (long double)m / shape.termsPerWord;
  return truncl(std::max(left, 0.0L));
}

uint64_t seriesTopPrecision(const SeriesShape& shape, uint64_t wordCount) {
  uint64_t terms = uint64_t(shape.termsPerWord * (long double)wordCount) + 1;
  long double first = shape.sizeWords(0.0L);
  // The end of the first block: where the words of Q reach the precision
  // still wanted. Adjacent bounds end the search at the upper one.
  uint64_t lo = 0;
  uint64_t hi = terms;
  while (hi - lo > 1) {
    uint64_t mid = lo + (hi - lo) / 2;
    if (precisionAfter(shape, wordCount, mid) + first <= shape.sizeWords((long double)mid)) {
      hi = mid;
    } else {
      lo = mid;
    }
  }
  return uint64_t(precisionAfter(shape, wordCount, hi));
}

uint64_t seriesPeak(const SeriesShape& shape, uint64_t wordCount, uint32_t threadPower) {
  uint64_t terms = uint64_t(shape.termsPerWord * (long double)wordCount) + 1;
  uint64_t p = seriesTopPrecision(shape, wordCount);
  long double ratio = shape.ratioPQ((long double)terms);
  // Q and R at p words and P in proportion.
  uint64_t numbers = uint64_t((long double)p * (2.0L + ratio));
  uint64_t scratch =
      std::max(productScratch(p, threadPower), estimateProduct(p, threadPower, 1, 1));
  uint64_t merges = 8 * wordCount + 8 * p + 4 * numbers + scratch;
  uint64_t finish = 12 * wordCount + productScratch(wordCount, threadPower);
  return std::max(merges, finish);
}

// ---- Series peaks by constant ----------------------------------------------
// The series peak (memory) and swap need (disk) of each series constant;
// 0 for the roots, whose estimators do not come here.
static void seriesNeeds(uint32_t constantId, uint32_t algorithm, uint64_t wordCount,
                        uint32_t threadPower, uint64_t* memory, uint64_t* disk) {
  *memory = 0;
  *disk = 0;
  if (constantId == constantCatalan) {
    *memory = catalanSeriesPeak(algorithm, wordCount, threadPower);
    *disk = zetaCatalanSeriesDisk(constantId, algorithm, wordCount);
  }
  if (constantId == constantZeta3) {
    *memory = zeta3SeriesPeak(algorithm, wordCount, threadPower);
    *disk = zetaCatalanSeriesDisk(constantId, algorithm, wordCount);
  }
  if (constantId == constantE) {
    *memory = eSeriesPeak(algorithm, wordCount, threadPower);
    *disk = eSeriesDisk(algorithm, wordCount);
  }
  if (constantId == constantLog2 || constantId == constantLog10) {
    *memory = logSeriesPeak(constantId, algorithm, wordCount, threadPower);
    *disk = logSeriesDisk(algorithm, wordCount);
  }
  if (constantId == constantEuler) {
    // The size power follows the hexadecimal digits, of which the word
    // count keeps all but the low three bits: both ends of that range.
    const uint64_t hex = (wordCount < 2 ? 0 : wordCount - 2) << 3;
    for (uint64_t h : {hex, hex + 7}) {
      *memory = std::max(*memory, eulerSeriesPeak(algorithm, wordCount, threadPower,
                                                  eulerSizePower(h)));
    }
  }
  if (constantId == constantPi) {
    *memory = piSeriesPeak(algorithm, wordCount, threadPower);
    *disk = piSeriesDisk(algorithm, wordCount);
  }
}

// The rule shared by the series constants: in Ram Only the larger of the
// series peak and the conversion, in swap the memory of a swap run with the
// larger of the two disks. `alone` drops the conversion (Catalan by
// Ramanujan) once the series has its estimator.
static void seriesConstant(uint32_t constantId, uint64_t wordCount, uint32_t threadPower,
                           uint32_t algorithm, uint32_t mode, bool alone, uint64_t* memory,
                           uint64_t* disk) {
  uint64_t seriesMemory, seriesDisk;
  seriesNeeds(constantId, algorithm, wordCount, threadPower, &seriesMemory, &seriesDisk);
  if (mode <= computeModeRamOnly) {
    uint64_t conversion = estimateConversion(wordCount, threadPower);
    *memory = alone && seriesMemory != 0 ? seriesMemory : std::max(seriesMemory, conversion);
    *disk = 0;
    return;
  }
  *memory = estimateRootSwap(wordCount, threadPower);
  uint64_t conversionDisk = estimateConversionDisk(wordCount);
  *disk = alone && seriesDisk != 0 ? seriesDisk : std::max(seriesDisk, conversionDisk);
}

void estimatePi(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantPi, wordCount, threadPower, algorithm, mode, false, memory, disk);
}

void estimateE(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
               uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantE, wordCount, threadPower, algorithm, mode, false, memory, disk);
}

void estimateLog2(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                  uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantLog2, wordCount, threadPower, algorithm, mode, false, memory, disk);
}

void estimateLog10(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantLog10, wordCount, threadPower, algorithm, mode, false, memory, disk);
}

void estimateZeta3(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantZeta3, wordCount, threadPower, algorithm, mode, false, memory, disk);
}

void estimateCatalan(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                     uint64_t* memory, uint64_t* disk) {
  bool alone = algorithm == 1;
  seriesConstant(constantCatalan, wordCount, threadPower, algorithm, mode, alone, memory, disk);
}

// Euler: in swap the disk is at least 48 L bytes (60 L for compute and
// verify, which holds both results) and covers the halves of series A and
// B waiting on disk at both ends of the size power's range; the memory
// follows the other constants.
void estimateEuler(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk) {
  seriesConstant(constantEuler, wordCount, threadPower, algorithm, mode, false, memory, disk);
  if (mode < computeModeBasicSwap) return;
  *disk = (algorithm == 2 ? 60 : 48) * wordCount;
  const uint64_t hex = (wordCount < 2 ? 0 : wordCount - 2) << 3;
  for (uint64_t h : {hex, hex + 7}) {
    *disk = std::max(*disk, eulerSeriesDisk(algorithm, wordCount, eulerSizePower(h)));
  }
}
