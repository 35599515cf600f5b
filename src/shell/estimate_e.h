// e's series peak for the estimators: the top merge of its one block and
// the finish by one reciprocal and one full product, for each of the three
// algorithms.
#pragma once

#include <cstdint>

// mem(series) in bytes of e by `algorithm` (0 exp(1), 1 exp(-1), 2 compute
// and verify) for wordCount words on 2^threadPower threads. For compute and
// verify it also covers the base conversion of the first value while the
// second one waits in memory.
uint64_t eSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower);

// disk(series) in bytes for Basic Swap: the top merge's halves and results
// on disk at once (two numbers of W words for each of Q and the numerators),
// and two numbers more for the finish's reciprocal.
uint64_t eSeriesDisk(uint32_t algorithm, uint64_t wordCount);
