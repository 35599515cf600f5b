// Resource estimation: before a run starts, the bytes of arena and of swap
// that it will need, from wordCount, threadPower, algorithm and computeMode.
// The arena is reserved whole from these figures, so they must cover the true
// peak of the run; they follow each computation step by step, in the same
// units as the code that allocates. Sizes are bytes unless a name says words.
//
// All figures are closed formulas and short loops (they run at every menu
// change). A size that no multiplication supports ends the program with
// "Maximum supported multiplication size has been exceeded.".
#pragma once

#include <cstdint>

#include "constants/compute_settings.h"

// Named constants of the estimates.
constexpr uint64_t basecaseLimit = 15;            // below: no recursion in a product
constexpr uint64_t transformStart = 58;           // from here the FFT row gives the scratch
constexpr uint64_t karatsubaLimit = 501;          // two-way below, three-way from here
constexpr uint64_t hybridStart = 573441;          // from here the hybrid transform's scratch
constexpr uint64_t swapFloorWords = 5000000;      // below this only Ram Only is estimated
constexpr double radixWords = 1.070328873471933;  // base-10^9 words per word
constexpr double radixWordsInverse = 0.9342922766870708;  // words per base-10^9 word
constexpr double splitFactor = 1.7;                       // growth of the conversion's table
constexpr double bigProductShare = 0.85;                  // part of a huge product done at once

// The main entry: clamps decimalDigits to digitLimit, sets the Euler size
// (constant 10), picks the mode, corrects digitsPerFile, and sets
// memoryNeeded and diskNeeded from the constant's estimator.
void estimateResources(ComputeSettings* settings);

// The mode pick of estimateResources: below swapFloorWords the mode is Ram
// Only; otherwise it stays, a mode of 0 becoming Ram Only.
void estimateModes(ComputeSettings* settings);

// Memory and disk of one constant, algorithm and mode (1 Ram Only, 2 and up
// swap), without touching a record: the dispatch of estimateResources, also
// used by the mode menu, the benchmarks and the stress test's sizing.
void estimateConstant(uint32_t constantId, uint32_t algorithm, uint64_t wordCount,
                      uint32_t threadPower, uint32_t mode, uint64_t* memory, uint64_t* disk);

// Scratch bytes of a multiplication of `size`-word operands on 2^threadPower
// threads: the product's own scratch (steps by size class) plus, for
// threadPower > 0, one more scratch per level of the thread recursion, the
// size halving at each level. The recursion has threadPower + levelsAdded -
// levelsRemoved levels (never fewer than 0).
uint64_t estimateProduct(uint64_t size, uint32_t threadPower, uint32_t levelsAdded,
                         uint32_t levelsRemoved);
// The product's own scratch for `size`-word operands, without the thread
// recursion's levels (steps 1 to 3 of estimateProduct).
uint64_t productScratch(uint64_t size, uint32_t threadPower);

// Memory of the base conversion of a wordCount-word result, and its disk in
// Basic Swap.
uint64_t estimateConversion(uint64_t wordCount, uint32_t threadPower);
uint64_t estimateConversionDisk(uint64_t wordCount);

// Sqrt(n) and the Golden Ratio: memory in Ram Only, conversion included, and
// the memory of a Basic Swap run (which every constant's swap mode uses).
uint64_t estimateRoot(uint64_t wordCount, uint32_t threadPower);
uint64_t estimateRootSwap(uint64_t wordCount, uint32_t threadPower);

// One estimator per series constant: memory and disk for the algorithm and
// mode.
void estimatePi(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                uint64_t* memory, uint64_t* disk);
void estimateE(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
               uint64_t* memory, uint64_t* disk);
void estimateLog2(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                  uint64_t* memory, uint64_t* disk);
void estimateLog10(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk);
void estimateZeta3(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk);
void estimateCatalan(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                     uint64_t* memory, uint64_t* disk);
void estimateEuler(uint64_t wordCount, uint32_t threadPower, uint32_t algorithm, uint32_t mode,
                   uint64_t* memory, uint64_t* disk);

