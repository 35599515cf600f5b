// The custom computation menu: edits a ComputeSettings record until the user
// picks "Start Computation!". Every change re-estimates the memory and disk
// the run needs, so the settings screen always tells what the run would
// reserve. The menu starts nothing itself; option 4 of the main menu calls
// runComputation after it returns.
#pragma once

#include <cstdint>

#include "constants/compute_settings.h"

// Word count from which a run would need Advanced Swap, which nothing
// implements: the digit menus refuse such sizes and undo the change.
constexpr uint64_t advancedSwapWords = 10000000000000ull;

// Smallest word count the decimal digits menu accepts.
constexpr uint64_t smallestMenuWords = 5;

// Below this many hexadecimal digits the output is never compressed.
constexpr uint64_t compressionFloorHexDigits = 1048576;

// Smallest block size of split compressed output.
constexpr int64_t smallestDigitsPerFile = 1000000;

// The loop: re-estimate, settings screen, one option (0 to 8, or to 9 in a
// swap mode), the sub-menu. Returns on option 0.
void customComputeMenu(ComputeSettings* settings);

// The settings screen with options 0 to 8 (9 in a swap mode), the memory the
// driver will reserve (estimate plus its 1 MiB margin) and, in a swap mode,
// the disk.
void printSettingsScreen(const ComputeSettings* settings);

// The sub-menus. Each leaves the record valid and estimated.
void menuConstant(ComputeSettings* settings);
void menuAlgorithm(ComputeSettings* settings);
void menuDecimalDigits(ComputeSettings* settings);
void menuHexDigits(ComputeSettings* settings);
void menuThreads(ComputeSettings* settings);
void menuOutputPath(ComputeSettings* settings);
void menuOutputFormat(ComputeSettings* settings);
void menuComputationMode(ComputeSettings* settings);
void menuSwapDisks(ComputeSettings* settings);

// Non-zero when a path may take digit or swap files. The check builds the
// name of a probe file ("pathcheck.zsw" in the path) but touches no file, so
// it always passes: an unusable path shows when a writer or swap file fails.
int probeWritablePath(const char* path);

// readMenuOption for 64-bit counts: prints `prompt`, reads in colour 11
// until a number in [low, high] is typed (text that is not a number asks
// again), then prints "\n".
uint64_t readMenuCount(const char* prompt, uint64_t low, uint64_t high);

// The threading text in colour 11 and "k = ", read up to 8.
uint32_t readThreadPower();

// Sets threadPower (a value above 8 is ignored) and re-estimates.
void setThreadPower(ComputeSettings* settings, uint32_t threadPower);
// Sets computeMode and re-estimates when the size allows swapping or the
// mode is Ram Only.
void setComputeMode(ComputeSettings* settings, uint32_t mode);

// The Advanced Swap refusal of the digit menus, run after a new digit count
// was stored and estimated. When wordCount exceeds advancedSwapWords it says
// so, pauses, restores `oldDecimalDigits` with its derived counts and
// `oldMode`, re-estimates and returns true; otherwise it returns false and
// changes nothing.
bool refuseAdvancedSwap(ComputeSettings* settings, uint64_t oldDecimalDigits, uint32_t oldMode);
