// Log(2) and Log(10): each ArcCoth is a series of the shared shape with its
// own rate; its peak is the shape's, with the results of the earlier terms
// and the copy of T that is multiplied by its factor waiting beside it.
#include "shell/estimate_logs.h"

#include <algorithm>
#include <cmath>

#include "constants/compute_settings.h"
#include "constants/log.h"
#include "constants/series.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"

namespace {

template <uint32_t X>
long double sizeWords(long double n) {
  return arcCothSizeWords(X, n);
}

// P = (2n + 1)!! against Q = s^n (2n + 1)!!.
template <uint32_t X>
long double ratio(long double n) {
  const long double p = lnFactorial(2.0L * n) * 0.022542110013890053L;
  return p / sizeWords<X>(n);
}

template <uint32_t X>
SeriesShape shapeOf() {
  return {1.0L / (logl((long double)X) * 0.09016844005556021L), sizeWords<X>, ratio<X>};
}

const SeriesShape* shapeFor(uint32_t x) {
  static const SeriesShape s26 = shapeOf<26>(), s99 = shapeOf<99>(), s251 = shapeOf<251>(),
                           s449 = shapeOf<449>(), s4801 = shapeOf<4801>(),
                           s8749 = shapeOf<8749>();
  switch (x) {
    case 26:
      return &s26;
    case 99:
      return &s99;
    case 251:
      return &s251;
    case 449:
      return &s449;
    case 4801:
      return &s4801;
    default:
      return &s8749;
  }
}

}  // namespace

uint64_t logSeriesPeak(uint32_t constantId, uint32_t algorithm, uint64_t wordCount,
                       uint32_t threadPower) {
  const uint64_t words = wordCount + 2;
  const MachinFormula* formula = logFormula(constantId, algorithm, 0);
  // Results waiting during a summation: one (two for compute and verify),
  // and the shared T while the second factor is applied.
  const uint64_t waiting = algorithm == 2 ? 3 : 2;
  uint64_t peak = 0;
  for (uint32_t i = 0; i < formula->count; i++) {
    const uint64_t series = seriesPeak(*shapeFor(formula->terms[i].x), wordCount, threadPower);
    peak = std::max(peak, series + waiting * 4 * (words + 8));
  }
  if (algorithm == 2) {
    const MachinFormula* second = logFormula(constantId, algorithm, 1);
    const uint64_t series = seriesPeak(*shapeFor(second->terms[0].x), wordCount, threadPower);
    peak = std::max(peak, series + waiting * 4 * (words + 8));
    // The second value waits while the first is converted.
    peak = std::max(peak, estimateConversion(wordCount, threadPower) + 4 * (words + 8));
  }
  return peak + 4096;
}

uint64_t logSeriesDisk(uint32_t algorithm, uint64_t wordCount) {
  const uint64_t numbers = algorithm == 2 ? 8 : 7;
  return 4 * numbers * (wordCount + 2 + 8);
}
