// The stress test: two threads, each with half of a memory limit, compute
// the constants for ever in two different orders, each constant by two
// formulas that share no intermediate value, and compare one word of the
// two results. The retries of the product front ends are off, so the first
// failed product self-check ends the run with the hardware-error report, and
// the first mismatch with " ERROR IN COMPUTATION!!!".
#pragma once

#include <cstdint>

struct Heap;

// Smallest limit the menu takes: 64 MiB.
constexpr uint64_t stressSmallestLimit = 0x4000000;
// A thread's working size must exceed this (4 MiB).
constexpr uint64_t stressSmallestWorkingBytes = 0x400000;

// The menu, then stressTestStart with the limit chosen. Never returns in
// normal running.
void stressTestMenu();

// The limit typed after "Custom": decimal digits (no overflow check), any
// blanks, then a letter K, M, G, T, P or E in either case multiplying by
// 2^10 .. 2^60; anything else means bytes and the rest of the line is passed
// over. A line that does not begin with a digit gives 0.
uint64_t stressParseLimit(const char* text);

// Two root heaps of limit / 2 bytes (all touched), the transform tables for
// every size, ECC off, and the two loops: the second thread as "Thread 1",
// the caller as "Thread 0". Returns only when the loops were told to stop
// (a test), after both have ended.
void stressTestStart(uint64_t limit);

// The loop of one thread over its table of tests (isMain 1: "Thread 0" and
// its order; 0: "Thread 1"). Endless, unless stressStopAfterForTesting set a
// count. Fatal "Insufficient Working Size" at 4 MiB or less.
void stressTestLoop(Heap* heap, uint64_t workingBytes, uint32_t isMain);

// Decimal digits of a test of `constantId` in `workingBytes`: for each of
// the constant's two formulas the largest count whose memory estimate stays
// within workingBytes - 2 MiB, and the smaller of the two.
uint64_t stressDigitsFor(Heap* heap, uint32_t constantId, uint64_t workingBytes);

// The word of a result that a test compares: `words` below the top of the
// constant computed by `algorithm` to `words` words (words = hexDigits / 8
// + 2). Runs with no output; the heap is left as it was.
uint32_t stressFormulaWord(Heap* heap, uint32_t constantId, uint32_t algorithm, uint64_t digits,
                           uint32_t threadPower);

// Reports test `testNumber` of a thread: " passed." with the elapsed time,
// or " ERROR IN COMPUTATION!!!" and the end of the program (status 1).
void stressCheck(uint32_t threadNumber, uint32_t firstWord, uint32_t secondWord,
                 uint64_t testNumber, uint64_t startTime);

// Seconds since `startCounter` (a timerStart value).
double secondsSince(uint64_t startCounter);

// ---- Test hooks (no menu reaches them) -------------------------------------------

// Each loop returns after `tests` tests (0, the default: never).
void stressStopAfterForTesting(uint64_t tests);
// The second word of test `testNumber` (in every thread) is changed before
// the comparison, as a fault of the machine would change it. 0 turns it off.
void stressCorruptTestForTesting(uint64_t testNumber);
