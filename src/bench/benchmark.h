// "Benchmark Pi": Pi by Chudnovsky in Ram Only at one of a fixed list of
// sizes, checked against the known last ten digits at that size, then the
// clocks, the checksum and Validation.txt.
#pragma once

#include <cstdint>

struct ClockInfo;
struct ComputeSettings;
struct Heap;
struct PathList;

// One standard size: decimal digits and the last ten of them as a number.
struct BenchmarkSize {
  uint64_t digits;
  int64_t lastDigits;
};
// The menu's sizes, ended by a row of zeros; three larger rows follow the end.
extern const BenchmarkSize benchmarkSizes[];
constexpr uint32_t benchmarkSizeCount = 12;
// Last ten digits at 2^i digits, indexed by i, ended by -1. Sizes from 2^20.
extern const int64_t powerOfTwoLastDigits[];
constexpr uint32_t powerOfTwoFirst = 20;

// The menus and one benchmark.
void benchmarkPiMenu();
// Runs Pi at `decimalDigits` on 2^threadPower threads, checks the last ten
// digits of the decimal file and the error counter, checks the clocks, and
// writes Validation.txt. Every failed check is fatal.
void runPiBenchmark(uint64_t decimalDigits, uint32_t threadPower, int64_t expectedLastDigits);

// Memory of a Pi run at `digits` in Ram Only, derived as the custom menu does.
uint64_t benchmarkMemory(uint64_t digits, uint32_t threadPower);

// The run shared by a benchmark and each trial of a batch: frequency checks
// against info->measuredHz before and after, Pi by Chudnovsky in Ram Only
// through runComputation, and the last ten digits of the decimal file
// against `expectedLastDigits` (fatal when they differ; -1 skips the check).
// Returns the computation's seconds, digit writing left out.
double benchmarkPiRun(ClockInfo* info, uint64_t decimalDigits, uint32_t threadPower,
                      int64_t expectedLastDigits);
// "Benchmark Successful. The digits appear to be OK." in green, "\n\n".
void printBenchmarkSuccess();

// Fills `settings` as the custom menu would: constant, stems and estimate;
// algorithm, stems and estimate; the digits (decimal, or hexadecimal when
// hexFlag) with their derived counts; threads; text output; path, swap
// paths and mode. Returns null, or the message of the step that refused
// ("# of digits is out of range"). The record owns outputPath and
// swapPaths from here on.
const char* setupBenchmarkSettings(Heap* heap, ComputeSettings* settings, uint32_t constantId,
                                   uint32_t hexFlag, uint32_t algorithm, uint64_t digits,
                                   uint32_t threadPower, char* outputPath, PathList* swapPaths,
                                   uint32_t mode);

// The last ten characters of a file as a number, each taken as an ASCII
// digit. "Error Reading File." when the file has fewer than ten bytes.
int64_t lastTenDigitsOfFile(const char* path);

// Test hook: the next benchmark changes the last digit of its decimal file
// before it reads it back, as a fault of the machine would.
void benchmarkCorruptLastDigitForTesting(bool corrupt);
