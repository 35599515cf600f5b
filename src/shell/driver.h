// The computation driver: turns a ComputeSettings record into a run.
#pragma once

struct ComputeSettings;

// Prints the run's header, reserves the arena (memoryNeeded + 1 MiB, kept in
// settings->heap), builds the transform tables, runs the constant, prints the
// computation time and the total time, and releases the arena and tables.
// Returns the computation time in seconds. `context` is not used.
// memoryNeeded grows by 1 MiB on every call: estimate again before reuse.
double runComputation(void* context, ComputeSettings* settings);
