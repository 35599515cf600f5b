// The multiplication front ends. Every big product goes through one of them:
// they choose the method by size (recursive, FFT, hybrid transform, or the
// disk path for paged-out operands) and survive a failure that a worker
// detects in its own result: the product is run again on the same numbers,
// then on doubled numbers, and only the third failure ends the program.
//
// Worker return code: 0 done; all ones, a detected error (retry); anything
// else, bytes the worker could not get (fatal "Memory Allocation Failure.").
#pragma once

#include <cstdint>

#include "memory/bigint.h"

struct Heap;
struct RaidFile;

// A worker's "detected error" return code.
constexpr uint64_t multiplyDetectedError = ~uint64_t(0);

// Failed product attempts since the start of the program. Never reset; all
// ones disables the retries (ECC off): the first failure is then fatal.
// Plain variable, unsynchronised on purpose: only zero or non-zero matters.
extern uint64_t errorCount;
constexpr uint64_t errorCountEccDisabled = ~uint64_t(0);

// out = a * a without its lowest `chop` words. `out` is cleared first (its
// old contents are not freed). out.length is the window length 2n - chop, or
// one less when the top word of the window is zero. A paged-out operand is
// loaded (keeping its disk copy). `attempt` is 0 for a first call; 1 and 2
// are the re-runs of the retry protocol.
void bigIntSquare(Heap* heap, BigInt* a, BigInt* out, uint64_t chop, uint32_t attempt,
                  uint32_t threadPower);

// out = a * b without its lowest `chop` words; a and b may be the same
// record. A zero operand, or chop >= la + lb, gives an empty `out` with no
// worker called.
void bigIntMultiply(Heap* heap, BigInt* a, BigInt* b, BigInt* out, uint64_t chop,
                    uint32_t attempt, uint32_t threadPower);

// Whether a * b and a * c are both direct FFT products of one transform
// length (each on one thread, neither cut into pieces), so that the
// transform of a can serve both.
bool multiplySharedTaken(uint64_t na, uint64_t nb, uint64_t nc);
// outB[0 .. na + nb) = a * b and outC[0 .. na + nc) = a * c with one
// transform of a, when multiplySharedTaken holds and the heap has the room;
// returns false (nothing written) otherwise, and the caller forms the two
// products itself. No operand is zero; outputs overlap no operand.
bool multiplyWordArraysShared(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                              uint64_t nb, uint32_t* outB, const uint32_t* c, uint64_t nc,
                              uint32_t* outC);

// out[0 .. la + lb) = a * b for plain word arrays (out sized by the caller,
// not overlapping a or b). Returns the product's length with zero words
// stripped from the top. A failure is re-run once; a second outcome of any
// kind ends the program.
uint64_t multiplyWordArrays(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                            uint64_t lengthB, uint32_t* out, uint32_t threadPower);

// ---- Retry protocol messages -----------------------------------------------

// Success line of a re-run: nothing for attempt 0, the hardware verdict for
// 1, the software verdict for 2.
void reportRetryResult(uint32_t attempt);
// What the failure of attempt next - 1 means; next 3 ends the program.
void reportFailedAttempt(uint32_t next);
// "HARDWARE ERROR DETECTED:" report of a failure with ECC disabled; ends
// the program.
[[noreturn]] void reportHardwareError();

// ---- Method choice -----------------------------------------------------------

enum MultiplyMethod { MultiplyRecursive, MultiplyFft, MultiplyHybrid };

// The method a square of n words (or a product whose shorter operand has
// `shorter` words) is meant to use in memory.
MultiplyMethod chooseSquareMethod(uint64_t n, uint32_t threadPower);
MultiplyMethod chooseMultiplyMethod(uint64_t shorter, uint32_t threadPower);
// Whether the operands call for the disk path: paged out and large.
bool squareWantsDiskPath(const BigInt& a);
bool multiplyWantsDiskPath(const BigInt& a, const BigInt& b);

// Runs the in-memory worker for the chosen method: product[0 .. 2n - chop)
// (la + lb - chop for a product). `attempt` is the front end's attempt, seen
// only by the test hook below. Returns the worker's code.
uint64_t runSquareWorker(Heap* heap, const uint32_t* a, uint64_t n, uint32_t* product,
                         uint64_t chop, uint32_t threadPower, uint32_t attempt);
uint64_t runMultiplyWorker(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                           uint64_t lengthB, uint32_t* product, uint64_t chop,
                           uint32_t threadPower, uint32_t attempt);

// The disk path's workers: the square of the paged-out `a` (n words) or the
// product of the paged-out `a` and `b` into `result`, a RaidFile of the
// window's words. The compact form runs when the heap's free space is at
// most the normal form's figure. *resultLength: the window's length
// without zero top words. Returns the worker's code.
uint64_t runDiskSquareWorker(Heap* heap, RaidFile* a, uint64_t n, RaidFile* result,
                             uint64_t* resultLength, uint64_t chop, uint32_t threadPower,
                             uint32_t attempt);
uint64_t runDiskMultiplyWorker(Heap* heap, RaidFile* a, uint64_t lengthA, RaidFile* b,
                               uint64_t lengthB, RaidFile* result, uint64_t* resultLength,
                               uint64_t chop, uint32_t threadPower, uint32_t attempt);
// Which form the last disk worker took: 1 compact, 0 normal.
uint32_t diskLastFormCompact();

// ---- Test hooks (no menu reaches them) ---------------------------------------

// Attempts whose bit is set in `attemptMask` (bit 0: first call, bit 1: the
// re-run, bit 2: the third attempt; for multiplyWordArrays its first and
// second run) return `code` instead of running the worker. 0 turns it off.
// With `squaresOnly` only squares fail: those come from the record front end
// alone, never from multiplyWordArrays.
void multiplyInjectFaults(uint32_t attemptMask, uint64_t code = multiplyDetectedError,
                          bool squaresOnly = false);
// Worker runs since the start of the program (injected failures included).
uint64_t multiplyWorkerCalls();
