// Pi's series in the shape of a series peak: terms per word, the words of Q
// over the first n terms and the size of P relative to Q.
#include "shell/estimate_pi.h"

#include "constants/pi.h"
#include "shell/estimate.h"
#include "shell/estimate_internal.h"

namespace {

long double chudnovskyRatio(long double n) {
  return chudnovskySizePWords(n) / chudnovskySizeWords(n);
}

long double ramanujanRatio(long double n) {
  return ramanujanSizePWords(n) / ramanujanSizeWords(n);
}

}  // namespace

const SeriesShape chudnovskySeries = {0.6792553465009138L, chudnovskySizeWords, chudnovskyRatio};
const SeriesShape ramanujanSeries = {1.206753604983153L, ramanujanSizeWords, ramanujanRatio};

uint64_t piSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower) {
  const SeriesShape& shape = algorithm == piChudnovsky ? chudnovskySeries : ramanujanSeries;
  return seriesPeak(shape, wordCount, threadPower);
}

uint64_t piSeriesDisk(uint32_t algorithm, uint64_t wordCount) {
  const SeriesShape& shape = algorithm == piChudnovsky ? chudnovskySeries : ramanujanSeries;
  uint64_t terms = uint64_t(shape.termsPerWord * (long double)wordCount) + 1;
  uint64_t p = seriesTopPrecision(shape, wordCount);
  uint64_t numbers = uint64_t((long double)p * (2.0L + shape.ratioPQ((long double)terms)));
  return 8 * wordCount + 8 * p + 4 * numbers;
}
