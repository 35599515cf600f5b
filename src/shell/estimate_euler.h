// The series peak of Euler's constant.
#pragma once

#include <cstdint>

// mem(series) in bytes of Euler's constant by `algorithm` (0 refined, 1
// alone, 2 compute and verify) for wordCount words on 2^threadPower threads,
// k being the size power of the settings: the truncated summation of series
// A and B, the value A / B, series C, Log(2) and, for compute and verify, the
// conversion of the first value with Log(2) kept.
uint64_t eulerSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower,
                         uint32_t k);
// disk(series) in bytes of Euler's constant in Basic Swap, with k as above:
// the waiting halves and the merge of series A and B (and for compute and
// verify the first value and Log(2) kept).
uint64_t eulerSeriesDisk(uint32_t algorithm, uint64_t wordCount, uint32_t k);
