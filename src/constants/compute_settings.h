// ComputeSettings: the one record that says what a computation is (constant,
// algorithm, digit counts, threads, output form, mode, swap paths) and the
// memory it needs. Menus, benchmarks and the stress test fill it; the driver,
// the constants and the digit writers read it. No menu code lives here.
//
// Texts are UTF-8. Owned texts are malloc'ed and freed by the helpers below;
// the three algorithm tables are static data and never freed.
#pragma once

#include <cstdint>

struct Heap;
struct PathList;  // count and owned paths of the swap disks (memory/raidfile.h)

// Computation modes. Advanced Swap has a name only: nothing selects it.
constexpr uint32_t computeModeRamOnly = 1;
constexpr uint32_t computeModeBasicSwap = 2;
constexpr uint32_t computeModeAdvancedSwap = 3;

// Constant identifiers. 6 and 7 are empty slots: they compute nothing.
constexpr uint32_t constantSqrtN = 0;
constexpr uint32_t constantGoldenRatio = 1;
constexpr uint32_t constantE = 2;
constexpr uint32_t constantPi = 3;
constexpr uint32_t constantLog2 = 4;
constexpr uint32_t constantLog10 = 5;
constexpr uint32_t constantZeta3 = 8;
constexpr uint32_t constantCatalan = 9;
constexpr uint32_t constantEuler = 10;
constexpr uint32_t constantIdCount = 11;

// log16(10) and its inverse: the digit relations between the two radixes.
constexpr double hexDigitsPerDecimal = 0.8304820237218407;
constexpr double decimalDigitsPerHex = 1.2041199826559246;

struct ComputeSettings {
  uint64_t decimalDigits;                  // default 50000000
  uint64_t hexDigits;                      // default 41524102
  uint32_t threadPower;                    // 2^threadPower threads, 0..8
  char* outputPath;                        // owned or null (current directory)
  int64_t digitsPerFile;                   // 0 text, -1 one .zdg file, > 0 digits per .zdg file
  uint32_t computeMode;                    // computeModeRamOnly, ...
  uint64_t swapDiskCount;                  // paths in swapPaths (may exceed them, see the menu)
  PathList* swapPaths;                     // owned or null (one disk at the default path)
  uint64_t wordCount;                      // (hexDigits >> 3) + 2, default 5190514
  uint64_t memoryNeeded;                   // arena bytes, from the estimator
  uint64_t diskNeeded;                     // swap bytes in all, from the estimator
  uint32_t constantId;                     // constantPi, ...
  uint32_t algorithm;                      // index into the algorithm tables
  char* nameLong;                          // owned; "Zeta(3) - Apery's Constant"
  char* nameShort;                         // owned; "Zeta(3)", used in file names
  char* displayName;                       // owned; name printed on screens
  const char* const* algorithmShortNames;  // file words; null for compute-and-verify
  const char* const* algorithmNames;       // header and settings screen; null-terminated
  const char* const* algorithmMenuLines;   // lines of the algorithm sub-menu
  char* decimalFileStem;                   // owned; nameShort " - Dec - " file word
  char* hexFileStem;                       // owned; nameShort " - Hex - " file word
  uint64_t digitLimit;                     // largest decimalDigits for this constant
  uint64_t wordLimit;                      // largest wordCount for this constant
  uint32_t constantParameter;              // Sqrt(n): n; Euler: k of the series size 2^k
  Heap* heap;                              // the run's arena; null outside runComputation
  uint32_t benchmarkFlag;                  // set by benchmark runs
};

// The process-wide values that the driver sets from a record live with their
// readers: globalThreadPower in platform/threads.h, globalSwapPaths in
// memory/raidfile.h.

// Defaults: Pi by Chudnovsky, 50,000,000 digits, Ram Only, text output,
// threadPower the smallest k with 2^k >= processors (at most 8, from
// defaultThreadPower), names and stems built. memoryNeeded and diskNeeded
// are left 0: initComputeSettings (shell/settings_init.h) calls this and then
// the resource estimator. `heap` is unused.
void fillDefaultComputeSettings(Heap* heap, ComputeSettings* settings);

// Frees the old names, stores `constantId`, sets algorithm 0, the names, the
// three algorithm tables and the limits. For Sqrt(n), n is read from
// constantParameter, which the caller sets first.
void selectConstant(Heap* heap, ComputeSettings* settings, uint32_t constantId);

// Rebuilds decimalFileStem and hexFileStem from nameShort and the current
// algorithm's file word ("Pi - Dec - Chudnovsky"). A compute-and-verify
// algorithm has no file word and the stems end in " - Dec - ".
void buildFileStems(Heap* heap, ComputeSettings* settings);

// Frees what the record owns (heap, outputPath, swap paths, names, stems) and
// nulls the pointers. Safe to call twice.
void releaseComputeSettings(ComputeSettings* settings);

// Number of algorithms of the selected constant (0 for the empty ids).
uint32_t algorithmCount(const ComputeSettings* settings);

// Name of a computation mode: "Ram Only", "Basic Swap", "Advanced Swap";
// "" for any other value.
const char* computeModeName(uint32_t mode);

// Console colour of a constant: 13 for ids below 2, 10 up to 8, 9 above.
int constantColor(uint32_t constantId);

// Digit relations. Decimal d: hexDigits = floor(d * log16(10)) + 1.
// Hexadecimal h: decimalDigits = floor(h / log16(10)), h kept. Both set
// wordCount = (hexDigits >> 3) + 2. Neither checks limits.
void setDecimalDigits(ComputeSettings* settings, uint64_t decimalDigits);
void setHexDigits(ComputeSettings* settings, uint64_t hexDigits);

// Euler series size: the least k >= 5 with
// hexDigits <= trunc((8 * 2^k - 20) / (4 ln 2)). k = 5 serves 85 digits.
uint32_t eulerSizePower(uint64_t hexDigits);
