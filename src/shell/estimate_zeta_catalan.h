// The series peaks of Zeta(3) and Catalan's constant.
#pragma once

#include <cstdint>

// mem(series) in bytes of Zeta(3) by `algorithm` (0 formula 2, 1 formula 1).
uint64_t zeta3SeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower);
// mem(series) of Catalan's constant (0 Lupas, 1 Ramanujan: the series, Pi
// with the series' result waiting, and the AGM).
uint64_t catalanSeriesPeak(uint32_t algorithm, uint64_t wordCount, uint32_t threadPower);
// disk(series) in bytes, Basic Swap, of either constant (its id and algorithm).
uint64_t zetaCatalanSeriesDisk(uint32_t constantId, uint32_t algorithm, uint64_t wordCount);
