// "Batch Benchmark Pi": a ladder of Pi benchmarks run without the user. Each
// size is repeated (up to a trial count, while the total time stays under a
// limit), the best time is kept, and Benchmarks.txt gets one row per size,
// flushed at once. Benchmarks.svg beside it draws the curve so far and is
// rewritten after every size.
#pragma once

#include <cstdint>

#include "bench/clock.h"

constexpr int32_t batchStandard = 0;  // the sizes of Benchmark Pi: 25m, 50m, 100m, ...
constexpr int32_t batchSuperPi = 1;   // powers of two from 2^20
constexpr int32_t batchDense = 2;     // 10, 12, 15, 20, 25, 40, 50, 75 times a power of ten

struct BatchSettings {
  int32_t batchType;          // batchStandard, batchSuperPi or batchDense
  uint64_t startSize;         // first size in decimal digits
  uint64_t endSize;           // last size in decimal digits
  uint32_t threadPower;       // 2^threadPower threads
  uint32_t maxIterations;     // most trials for each size
  uint64_t stopAfterSeconds;  // no further trial once a size's total time passes this
  ClockInfo clock;            // started when the record is initialised
};

// Standard type from 25,000,000 to 50,000,000 digits, the default thread
// power, 3 trials, 10 seconds; starts the clocks (clockStart).
void initBatchSettings(BatchSettings* batch);

// The settings screen and its sub-menus, until "Start Benchmarks!" (0).
void batchMenu(BatchSettings* batch);
// The batch type question; sets the type with its default start and end.
void menuBatchType(BatchSettings* batch);
// The size picker of the batch's type: lists its ladder with the memory of
// each size and stores the choice as the start (`end` false) or end size.
void menuBatchSize(BatchSettings* batch, bool end);

// ---- Ladders ---------------------------------------------------------------------------

// Smallest and largest size the ladder of `type` offers.
uint64_t batchFirstSize(int32_t type);
uint64_t batchLastSize(int32_t type);
// The ladder's next size above `size` (which need not be on it), or 0 past
// its top.
uint64_t batchNextSize(int32_t type, uint64_t size);
// Last ten digits of Pi at `size` for the ladder's own sizes; -1 where the
// ladder has none (Dense, or a size not on the ladder).
int64_t batchExpectedDigits(int32_t type, uint64_t size);

// ---- Runs ------------------------------------------------------------------------------

// One trial: the benchmark run with its frequency checks and, unless
// expectedLastDigits is -1, the digit check (a wrong digit is fatal), then
// the clocks' end check. Returns the computation's seconds.
double batchTrial(ClockInfo* clock, uint64_t digits, uint32_t threadPower,
                  int64_t expectedLastDigits);

// The whole batch over the ladder of the record's type, from startSize up
// to endSize: Benchmarks.txt and Benchmarks.svg in the current directory,
// replaced. Sizes with known digits get a checksum in their row, the others
// "N/A".
void batchRun(BatchSettings* batch);

// Option 2 of the main menu: a record, the menu, the run.
void batchBenchmarkMenu();
