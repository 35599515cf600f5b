// The series peaks of Log(2) and Log(10): the largest of their ArcCoth
// summations and finishes, with the results that wait beside them.
#pragma once

#include <cstdint>

// mem(series) in bytes of Log(2) or Log(10) (constantId) by `algorithm` for
// wordCount words on 2^threadPower threads.
uint64_t logSeriesPeak(uint32_t constantId, uint32_t algorithm, uint64_t wordCount,
                       uint32_t threadPower);
// disk(series) in bytes, Basic Swap: the summation's top numbers and the
// results, all of which may stand on disk at once.
uint64_t logSeriesDisk(uint32_t algorithm, uint64_t wordCount);
