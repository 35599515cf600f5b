// Zeta(3) and Catalan's constant in the shared series shape, with the extra
// numbers of Ramanujan's Catalan formula: the second factor of Q in its
// merges, and after the series Pi and the AGM with the series' result
// waiting.
#include "shell/estimate_zeta_catalan.h"

#include <algorithm>

#include "constants/series.h"
#include "constants/zeta_catalan.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"
#include "shell/estimate_pi.h"

namespace {

template <int Algorithm>
long double sizeOf(long double n) {
  const SeriesKind* kind = Algorithm == 0   ? zeta3SeriesKind(zeta3Formula2)
                           : Algorithm == 1 ? zeta3SeriesKind(zeta3Formula1)
                                            : catalanRamanujanSeriesKind();
  return kind->sizeWords(n);
}

template <int Algorithm>
long double ratioOf(long double n) {
  const SeriesKind* kind = Algorithm == 0   ? zeta3SeriesKind(zeta3Formula2)
                           : Algorithm == 1 ? zeta3SeriesKind(zeta3Formula1)
                                            : catalanRamanujanSeriesKind();
  // Ramanujan's Catalan series carries Qb beside P: counted with P.
  const long double extra = Algorithm == 2 ? 1.0L : 0.0L;
  return kind->sizePWords(n) / kind->sizeWords(n) + extra;
}

const SeriesShape formula2Shape = {1.909890472011108L, sizeOf<0>, ratioOf<0>};
const SeriesShape formula1Shape = {3.2L, sizeOf<1>, ratioOf<1>};
const SeriesShape ramanujanShape = {8.0L, sizeOf<2>, ratioOf<2>};

}  // namespace

uint64_t zeta3SeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower) {
  const SeriesShape& shape = algorithm == 1 ? formula1Shape : formula2Shape;
  return seriesPeak(shape, wordCount, threadPower) + 4096;
}

uint64_t catalanSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower) {
  const uint64_t words = wordCount + 2;
  if (algorithm == 0) return seriesPeak(lupasSeries, wordCount, threadPower);
  const uint64_t series = seriesPeak(ramanujanShape, wordCount, threadPower);
  const uint64_t number = 4 * (words + 16);
  // Pi with S waiting; the AGM holds y, Pi^2 y, a, b, s, t and the inverse
  // root's working numbers.
  const uint64_t pi = piSeriesPeak(0, wordCount, threadPower) + number;
  const uint64_t agm = 9 * number + productScratch(wordCount, threadPower);
  return std::max({series, pi, agm}) + 4096;
}

uint64_t zetaCatalanSeriesDisk(uint32_t constantId, uint32_t algorithm, uint64_t wordCount) {
  // Ramanujan's Catalan series merges two four-number records paged, with
  // a product beside them; the AGM holds as many numbers on disk.
  const uint64_t numbers = constantId == constantCatalan && algorithm == catalanRamanujan ? 10 : 8;
  return 4 * numbers * (wordCount + 2 + 16);
}
