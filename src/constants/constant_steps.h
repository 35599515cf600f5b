// Steps shared by the series constants (the logarithms, Zeta(3), Catalan's
// constant and Euler's constant): the mode-aware handling of a number that
// may wait on disk, the finish of a summed series as a small rational
// combination of its Q and R, the console lines of a finish, and the writing
// of the results for the driver.
#pragma once

#include <cstdint>

#include "arith/numbers/bigfloat.h"

struct ComputeSettings;
struct Heap;
struct SeriesKind;
struct SplitFloats;

// ---- Numbers in either mode --------------------------------------------------

// Ram Only (1) or Basic Swap (2): swap pushes waiting numbers to disk.
bool constantSwapMode(uint32_t mode);
// Pushes x to disk in Basic Swap; nothing in Ram Only.
void constantPushIfSwap(BigFloat* x, uint32_t mode);
// Brings a paged-out x back into memory (its disk copy dropped).
void constantLoad(Heap* heap, BigFloat* x);
// Destroys x and leaves the canonical zero.
void constantDestroy(BigFloat* x);
// Closes the gaps below the arrays of the numbers, highest first (a null
// second number is allowed).
void constantTrim(BigFloat* x, BigFloat* y);
// x = 1 / x to p words by the reciprocal of the mode; with `show`, the
// "Iterating:" line on a fresh progress path.
void constantInvert(Heap* heap, BigFloat* x, uint64_t p, uint32_t threadPower, uint32_t mode,
                    uint32_t show);

// ---- Summation and finish ---------------------------------------------------------

// The summation of a series at `words` words (guard words included) with its
// plan, without the "Summing Series" line: `show` prints only the progress
// path. Returns N. Results as sumSeries.
uint64_t constantSumQuietly(Heap* heap, const SeriesKind* kind, SplitFloats* out, uint64_t words,
                            uint32_t threads, uint32_t mode, uint32_t show);

// out = (a Q + b R) / (d Q) at `words` words, a, b and d small integers; Q
// and R are consumed (either may be paged out). "Multiplying..." is shown
// with the digit count when `show`.
void constantRatioFinish(Heap* heap, BigFloat* q, BigFloat* r, uint32_t a, uint32_t b, uint32_t d,
                         BigFloat* out, uint64_t words, uint32_t threadPower, uint32_t mode,
                         uint32_t show);

// ---- Console lines -----------------------------------------------------------------

// "Multiplying...    ( digits )" on a cleared line, digits from `words`.
void constantPrintMultiplying(uint64_t words);
// "Time: " and the seconds since `start` in light cyan on a cleared line.
void constantPrintPhaseTime(uint64_t start);
// A line end, `name` in green, ":  " and the seconds since `start` in yellow.
void constantPrintTotal(const char* name, uint64_t start);
// The seconds since `start` in colour `color`, then the print colour.
void constantPrintColoredTime(int color, uint64_t start);

// ---- Writing ------------------------------------------------------------------------

// Writes one value (hexadecimal, then the table and the decimal digits) and
// destroys it; `integerDigits` before the point in both radixes. Returns the
// seconds spent writing.
double constantWriteOne(ComputeSettings* settings, BigFloat* value, uint32_t labelFlag,
                        uint64_t integerDigits);
// Both values of a compute-and-verify run: both hexadecimal files, one
// table, both decimal files (the second with the secondary cuts). Both are
// destroyed.
double constantWriteBoth(ComputeSettings* settings, BigFloat* first, BigFloat* second,
                         uint64_t integerDigits);
// "Compute + Verify:  " and the seconds since `start` in yellow, a line end.
void constantPrintComputeVerify(uint64_t start);
