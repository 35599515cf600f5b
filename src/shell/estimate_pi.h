// Pi's series peak for the estimators: the shape shared by the series
// constants, with the rates and sizes of Chudnovsky's and Ramanujan's
// series.
#pragma once

#include <cstdint>

struct SeriesShape;

extern const SeriesShape chudnovskySeries;
extern const SeriesShape ramanujanSeries;

// mem(series) in bytes of Pi by `algorithm` (0 Chudnovsky, 1 Ramanujan) for
// wordCount words on 2^threadPower threads: the top merges of the summation
// or the finish, whichever is larger.
uint64_t piSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower);

// disk(series) in bytes, Basic Swap: the numbers of the top merge (two at
// wordCount words, two at the first block's precision p and the block's own
// three in proportion), all of which may stand on disk at once; the finish
// pages out fewer.
uint64_t piSeriesDisk(uint32_t algorithm, uint64_t wordCount);
