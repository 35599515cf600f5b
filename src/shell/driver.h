// The computation driver: turns a ComputeSettings record into a run.
#pragma once

#include <cstdint>

struct ComputeSettings;

// Margin the driver adds to the estimate when it reserves the arena, for the
// small blocks of a run; the settings screen shows the same sum.
constexpr uint64_t arenaMargin = 1048576;

// The algorithm's name in colour 14, with the size of the Euler series for
// constant 10, then colour 7. Shared by the run header and the settings screen.
void printAlgorithmName(const ComputeSettings* settings);

// Prints the run's header, reserves the arena (memoryNeeded + 1 MiB, kept in
// settings->heap), builds the transform tables, runs the constant, prints the
// computation time and the total time, and releases the arena and tables.
// A Pi run's hexadecimal file is checked by digit extraction between the
// end of the run and the times, which do not include the check.
// Returns the computation time in seconds. `context` is not used.
// memoryNeeded grows by 1 MiB on every call: estimate again before reuse.
double runComputation(void* context, ComputeSettings* settings);
