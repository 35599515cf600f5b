// Products of numbers that live in swap files. The operands are read from
// their RaidFiles straight into the heap, the hybrid transform runs wholly in
// memory, and the product is written into the result's RaidFile, which the
// caller has created with the window's words. Each operation has a normal
// form and a compact one that needs less of the heap; the front end picks
// by the heap's free space against diskSquareBytes / diskMultiplyBytes.
//
// Return codes are the workers' ones: 0 done; all ones when the transform's
// check failed (the operands are untouched, the result file holds garbage);
// otherwise the bytes the heap could not give. *resultLength gets the
// window's length without its zero top words.
#pragma once

#include <cstdint>

#include "arith/fft/fft_tables.h"

struct Heap;
struct RaidFile;

// Heap bytes (blocks and their table entries) that diskSquare and
// diskMultiply take for a square of n words / a product of na by nb words
// without the lowest `chop` words, on 2^threadPower threads.
uint64_t diskSquareBytes(uint64_t n, uint64_t chop, uint32_t threadPower);
uint64_t diskMultiplyBytes(uint64_t na, uint64_t nb, uint64_t chop, uint32_t threadPower);

// result[resultOffset ..] = (source[sourceOffset .. + n))^2 without its
// lowest `chop` words: 2n - chop words, chop < 2n. The compact form keeps
// only n words of operand buffer beside the transform and, when the window
// is longer than n + 16 words, recomposes the product inside the transform.
uint64_t diskSquare(Heap* heap, RaidFile* source, uint64_t sourceOffset, uint64_t n,
                    RaidFile* result, uint64_t resultOffset, uint64_t* resultLength, uint64_t chop,
                    const FftLookupTables* tables, uint32_t threadPower);
uint64_t diskSquareCompact(Heap* heap, RaidFile* source, uint64_t sourceOffset, uint64_t n,
                           RaidFile* result, uint64_t resultOffset, uint64_t* resultLength,
                           uint64_t chop, const FftLookupTables* tables, uint32_t threadPower);

// result[resultOffset ..] = a * b without its lowest `chop` words:
// na + nb - chop words. Either operand may be the longer; the same file may
// be given twice. The compact form runs three products of half the size
// (the halves' products and the product of their sums) on transforms of
// half the length, so its transforms take about half the memory.
uint64_t diskMultiply(Heap* heap, RaidFile* a, uint64_t offsetA, uint64_t na, RaidFile* b,
                      uint64_t offsetB, uint64_t nb, RaidFile* result, uint64_t resultOffset,
                      uint64_t* resultLength, uint64_t chop, const FftLookupTables* tables,
                      uint32_t threadPower);
uint64_t diskMultiplyCompact(Heap* heap, RaidFile* a, uint64_t offsetA, uint64_t na, RaidFile* b,
                             uint64_t offsetB, uint64_t nb, RaidFile* result,
                             uint64_t resultOffset, uint64_t* resultLength, uint64_t chop,
                             const FftLookupTables* tables, uint32_t threadPower);

// A stretch of words of a number's swap file, in or out.
void readOperand(RaidFile* swap, uint64_t offset, uint32_t* buffer, uint64_t words);
void writeResult(RaidFile* swap, uint64_t offset, const uint32_t* buffer, uint64_t words);
