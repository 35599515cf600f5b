// Hexadecimal digits of Pi at any position without the digits before it,
// by digit extraction (Bellard's form of the BBP series):
//
//   Pi = 2^-6 sum_n (-1)^n 2^(-10n) ( -2^5/(4n+1) - 1/(4n+3) + 2^8/(10n+1)
//        - 2^6/(10n+3) - 2^2/(10n+5) - 2^2/(10n+7) + 1/(10n+9) )
//
// The fraction of 2^b Pi is the sum of the fractions of its terms: those
// with a non-negative power of two are 2^e mod D / D (Montgomery powers in
// 64-bit words), the rest are small. Every term is kept to 128 bits of
// fraction, so the sum is exact to well under 2^-80.
//
// A run's hexadecimal file is checked with it after the run: the last eight
// digits of the file against the eight the extraction gives.
#pragma once

#include <cstdint>

struct ComputeSettings;

// The fraction of 2^bit * Pi times 2^128 (to within 2^-88), summed on
// 2^threadPower threads.
unsigned __int128 piFractionAtBit(uint64_t bit, uint32_t threadPower);

// Hexadecimal digits `position` to position + 7 after the point (the first
// digit after the point is position 1) as one 32-bit number, most
// significant digit first. Sets *exact false when the fraction lies so
// close to a boundary of the eight digits that the last one could be either.
uint32_t piHexDigitsAt(uint64_t position, uint32_t threadPower, bool* exact);

// True when `digits` may be the eight hexadecimal digits at `position`.
bool piHexDigitsAgree(uint64_t position, uint32_t digits, uint32_t threadPower);

// The check after a Pi run: reads the last eight digits of the run's
// hexadecimal text file, compares them with the extraction, and prints one
// line with the time (after a blank line, with no line end); disagreement
// is fatal. A run without that file (not Pi, compressed output, fewer than
// eight digits) is skipped.
void checkPiHexFile(ComputeSettings* settings);

// Test hook: false forces the scalar kernel, true uses the AVX-512 one where
// the processor has it. Returns the previous choice.
bool bbpUseWideKernelForTesting(bool use);

// Test hook: the next check first changes the hexadecimal digit this many
// places before the file's end (0 is the last digit); -1 turns it off.
void bbpCorruptHexDigitForTesting(int64_t placesFromEnd);
