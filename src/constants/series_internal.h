// Pieces shared by the files of the binary splitting machinery.
#pragma once

#include <cstdint>

#include "constants/series.h"

// Precision that keeps every word: products chop nothing and sums keep
// their whole window (p + 3 cannot overflow).
constexpr uint64_t seriesExactPrecision = uint64_t(1) << 62;

// Numbers that each half of a split leaves behind, for heapSplit.
uint32_t seriesReservedBlocks(const SeriesKind* kind);
// Thread exponent of a top-level product: the recursion's, capped by the
// run's.
uint32_t seriesMergeThreads(uint32_t threads);
// The "Summing...  " line with the progress path, when the flags ask for it.
void seriesPrintProgress(uint32_t flags);
