// The Fermat number transform: a length-2^k transform over the ring of
// integers modulo 2^n + 1, n = 32W, whose roots of unity are powers of two,
// so that it multiplies nothing: it adds, subtracts and shifts elements.
//
// An element is W + 1 words, little-endian; the top word is an overflow word.
// Every routine here leaves its results reduced: the overflow word is 0,
// except for the single value 2^n (that is -1), which has the overflow word 1
// and all other words 0. Inputs must be reduced the same way.
//
// Twiddles travel as exponents e in half bits: the factor is 2^(e/2), and e
// lives modulo 4n = 128W. An odd e needs sqrt(2) = 2^(3n/4) - 2^(n/4).
#pragma once

#include <cstdint>

#include "platform/threads.h"

// ---- Element arithmetic (fermat_element.cpp) --------------------------------
// x[0 .. W) holds a value v below 2^n and `top` a small signed count of
// 2^n: x = reduce(v + top * 2^n) = reduce(v - top), x[W] set. |top| <= 3.
void fermatFold(uint32_t* x, uint64_t W, int64_t top);
// out = a + b and out = a - b modulo 2^n + 1. out may alias a or b.
void fermatAdd(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t W);
void fermatSub(uint32_t* out, const uint32_t* a, const uint32_t* b, uint64_t W);
// x = -x in place.
void fermatNegate(uint32_t* x, uint64_t W);
// out = x * 2^bits, bits < 2n (a shift past n turns the sign). out must not
// overlap x.
void fermatShift(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits);
// out = x * 2^(e/2), e taken modulo 128W: even e is a shift, odd e goes
// through sqrt(2) as the difference of two shifts. out must not overlap x;
// scratch: W + 1 words (odd e only), overlapping neither.
void fermatShiftHalf(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t e, uint32_t* scratch);

// ---- One-pass kernels (fermat_kernels.cpp) -----------------------------------
// sum = a + b and out = (a - b) * 2^bits, bits < 2n, the difference written
// straight at its shifted place. sum may alias a or b; out must not overlap
// a or b unless bits mod n < 32 (then it may be either, word for word).
void fermatSumShifted(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                      uint64_t W, uint64_t bits);
// out = x * 2^bits, bits < 2n. out must not overlap x unless bits mod n < 32.
void fermatShiftWords(uint32_t* out, const uint32_t* x, uint64_t W, uint64_t bits);
// y = y * (2^(n/2) - 1) in place, which with a shift by n/4 more makes
// sqrt(2) = 2^(3n/4) - 2^(n/4). Needs W even (false, y untouched, if odd).
bool fermatTimesRootTwoFactor(uint32_t* y, uint64_t W);
// The inverse butterfly in one pass: t = b * 2^bits (bits < 2n), sum =
// a + t, out = a - t. sum may alias a; out must not overlap b unless
// bits mod n < 32; neither output may overlap the other input.
void fermatShiftedSum(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                      uint64_t W, uint64_t bits);
// Whether the kernels above take their ADX/BMI2 loops (x86-64 processors
// that have both, decided on first use).
bool fermatAdxUsable();
// The same two without the processor-specific loops (for tests: both
// forms give the same words).
void fermatSumShiftedPortable(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                              uint64_t W, uint64_t bits);
void fermatShiftedSumPortable(uint32_t* sum, uint32_t* out, const uint32_t* a, const uint32_t* b,
                              uint64_t W, uint64_t bits);

// ---- Butterflies (fermat_butterfly.cpp) --------------------------------------
// Words of butterfly scratch per thread.
inline uint64_t fermatButterflyScratchWords(uint64_t W) { return 2 * (W + 1); }
// Decimation in frequency: a = a + b, b = (a - b) * 2^(e/2).
void butterflyForward(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch);
// Its inverse up to a factor 2: t = b * 2^(-e/2), a = a + t, b = a - t.
void butterflyInverse(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch);
// a = a + b, b = a - b.
void butterflyPlain(uint32_t* a, uint32_t* b, uint64_t W);
// Two levels on a0 .. a3 (the elements j, j + M, j + 2M, j + 3M of a
// transform whose first-level butterfly j has the exponent e): the same
// ring values as the four radix-2 butterflies. W must be even.
void radix4Forward(uint32_t* a0, uint32_t* a1, uint32_t* a2, uint32_t* a3, uint64_t W, uint64_t e,
                   uint32_t* scratch);
// Its inverse (the inputs back, times 4), from the same e.
void radix4Inverse(uint32_t* a0, uint32_t* a1, uint32_t* a2, uint32_t* a3, uint64_t W, uint64_t e,
                   uint32_t* scratch);

// ---- Transforms (fermat_radix.cpp, fermat_transform.cpp) ---------------------
// Forward transform of 2^levels elements at `stride` words apart, decimation
// in frequency: natural order in, bit-reversed order out. Its root of order
// 2^levels has the exponent 128W >> levels; `e` is the twist (0 for a whole
// transform; the column j of a larger transform has twist + j * its root).
// radixPass works by straight passes of 4 levels (3 when W is not a
// multiple of 8), each made of radix-4 steps (radix-2 when W is odd), and
// recursion; blockedForward first cuts the transform in column and row
// stages of about 1.5 MiB. Butterfly scratch:
// fermatButterflyScratchWords(W) words for each of the 2^threadPower threads.
void radixPass(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
               uint32_t* scratch, uint32_t threadPower);
void blockedForward(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                    uint32_t* scratch, uint32_t threadPower);
// The inverses, with the same root and twist: bit-reversed order in,
// natural order out, the input times 2^levels.
void radixPassInverse(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                      uint32_t* scratch, uint32_t threadPower);
void blockedInverse(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                    uint32_t* scratch, uint32_t threadPower);

// Element i of the transform (2^k elements, `stride` words apart) takes the
// words [i * c, i * c + c) of source[0 .. n), zero-filled to W + 1 words;
// then the blocked forward transform of root exponent 128W >> k. The load
// is part of the first level of the column stage.
// Fatal "Architectural Limit Exceeded" when stride << k overflows.
void hybridForward(const uint32_t* source, uint64_t n, uint64_t c, uint32_t* transform, uint64_t W,
                   uint64_t stride, uint32_t k, uint32_t* scratch, uint32_t threadPower);

// The inverse transform with the output stage: each element is divided by
// 2^k, checked (its two top words must be 0), joined with the tail of the
// element before, and its words in [start, end) of the product are written
// to destination[0 .. end - start). Elements wholly below `start` are
// neither divided nor checked. Rows first; then the final stage's columns
// hand their elements to the output stage as each column is done (seams
// closed at the end). Returns 0, or non-zero on a failed check.
uint32_t hybridInverse(uint32_t* destination, uint64_t end, uint64_t start, uint64_t c,
                       uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                       uint32_t* scratch, uint32_t threadPower);

// The address-space check of a transform: fatal unless stride << k is exact.
void hybridCheckStride(uint64_t stride, uint32_t k);

// ---- Cuts and threads (fermat_radix.cpp) ------------------------------------
// The one cache constant: a stage's working set is about 1.5 MiB.
constexpr uint64_t fermatStageBytes = 0x180000;
// Work below which a range of columns or rows is not split over threads
// (words of elements).
constexpr uint64_t fermatForkColumnWords = 50000;
constexpr uint64_t fermatForkRowWords = 250000;
// Levels of the column stage of a blocked cut of `levels` levels: p - 1
// for the least p in 3 .. levels / 2 whose 2^p elements (with the
// butterfly scratch) reach fermatStageBytes, else levels / 2.
uint32_t fermatColumnLevels(uint64_t W, uint32_t levels);

// ---- Fork and join -----------------------------------------------------------
// Runs `upper` on a new thread and `lower` on this one, then joins. When no
// thread can be had, threadSpawn has already run `upper` on this thread.
template <typename Upper>
uint64_t fermatForkTrampoline(void* context) {
  (*static_cast<Upper*>(context))();
  return 0;
}
template <typename Upper, typename Lower>
void fermatFork(Upper& upper, Lower&& lower) {
  ThreadHandle handle;
  threadSpawn(&handle, fermatForkTrampoline<Upper>, &upper);
  lower();
  threadJoin(&handle);
}

// Runs column(j, scratch, threadPower) for j in [begin, end), halving the
// range over threads while it holds fermatForkColumnWords words or more;
// each thread's scratch lies fermatButterflyScratchWords(W) << (t - 1)
// words above its sibling's.
template <typename Column>
void fermatColumnRange(uint64_t begin, uint64_t end, uint64_t columnWords, uint64_t W,
                       uint32_t* scratch, uint32_t threadPower, Column column) {
  if (threadPower > 0 && end - begin >= 2 && (end - begin) * columnWords >= fermatForkColumnWords) {
    const uint64_t middle = begin + (end - begin) / 2;
    uint32_t* upperScratch = scratch + (fermatButterflyScratchWords(W) << (threadPower - 1));
    auto upper = [&] {
      fermatColumnRange(middle, end, columnWords, W, upperScratch, threadPower - 1, column);
    };
    fermatFork(upper, [&] {
      fermatColumnRange(begin, middle, columnWords, W, scratch, threadPower - 1, column);
    });
    return;
  }
  for (uint64_t j = begin; j < end; j++) column(j, scratch, threadPower);
}

// The same for rows, with the limit fermatForkRowWords.
template <typename Row>
void fermatRowRange(uint64_t begin, uint64_t end, uint64_t rowWords, uint64_t W, uint32_t* scratch,
                    uint32_t threadPower, Row row) {
  if (threadPower > 0 && end - begin >= 2 && (end - begin) * rowWords >= fermatForkRowWords) {
    const uint64_t middle = begin + (end - begin) / 2;
    uint32_t* upperScratch = scratch + (fermatButterflyScratchWords(W) << (threadPower - 1));
    auto upper = [&] {
      fermatRowRange(middle, end, rowWords, W, upperScratch, threadPower - 1, row);
    };
    fermatFork(upper,
               [&] { fermatRowRange(begin, middle, rowWords, W, scratch, threadPower - 1, row); });
    return;
  }
  for (uint64_t j = begin; j < end; j++) row(j, scratch, threadPower);
}
