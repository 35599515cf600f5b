// ComputeSettings helpers: defaults, constant selection with its fixed
// texts and limits, file stems, release, and the digit relations.
#include "constants/compute_settings.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "arith/size_limits.h"

namespace {

// ---- Algorithm tables, one per constant, in the order of `algorithm` ------
// algorithmNames ends in a null entry and gives the count. A compute-and-
// verify algorithm has no file word (null short name).

const char* const newtonShort[] = {"Newton", nullptr};
const char* const newtonNames[] = {"Newton's Method", nullptr};
const char* const newtonMenu[] = {"1st order Newton's Method", nullptr};

const char* const eShort[] = {"exp(1)", "exp(-1)", nullptr, nullptr};
const char* const eNames[] = {"Taylor Series of exp(1)", "Taylor Series of exp(-1)",
                              "Compute and Verify", nullptr};
const char* const eMenu[] = {"Taylor Series of exp(1)", "Taylor Series of exp(-1)   (same speed)",
                             "Compute and Verify using both formulas", nullptr};

const char* const piShort[] = {"Chudnovsky", "Ramanujan", nullptr};
const char* const piNames[] = {"Chudnovsky Formula", "Ramanujan's Formula", nullptr};
const char* const piMenu[] = {"Chudnovsky Formula      (fastest)",
                              "Ramanujan's Formula     (~40% slower)", nullptr};

const char* const log2Short[] = {"Machin 1", "Machin 2", nullptr, nullptr};
const char* const log2Names[] = {"Machin 1", "Machin 2", "Compute and Verify", nullptr};
const char* const log2Menu[] = {
    "Log(2) =\n\n      18*ArcCoth(26) - 2*ArcCoth(4801) + 8*ArcCoth(8749)\n\n",
    "Log(2) =\n\n      144*ArcCoth(251) + 54*ArcCoth(449) - 38*ArcCoth(4801) + "
    "62*ArcCoth(8749)\n\n",
    "Compute and Verify using: Log(2) =\n\n"
    "       72*ArcCoth( 99) - 18*ArcCoth(449) + 34*ArcCoth(4801) - 10*ArcCoth(8749)\n"
    "      144*ArcCoth(251) + 54*ArcCoth(449) - 38*ArcCoth(4801) + 62*ArcCoth(8749)\n",
    nullptr};

const char* const log10Short[] = {"Machin 1", "Machin 2", nullptr, nullptr};
const char* const log10Names[] = {"Machin 1", "Machin 2", "Compute and Verify", nullptr};
const char* const log10Menu[] = {
    "Log(10) =\n\n    478*ArcCoth(251) + 180*ArcCoth(449) - 126*ArcCoth(4801) + "
    "206*ArcCoth(8749)\n\n",
    "Log(10) =\n\n    239*ArcCoth( 99) -  59*ArcCoth(449) + 113*ArcCoth(4801) -  "
    "33*ArcCoth(8749)\n\n",
    "Compute and Verify using both formulas", nullptr};

const char* const zeta3Short[] = {"Amdeberhan-Zeiberger 2", "Amdeberhan-Zeiberger 1", nullptr};
const char* const zeta3Names[] = {"Amdeberhan-Zeiberger Formula 2",
                                  "Amdeberhan-Zeiberger Formula 1", nullptr};
const char* const zeta3Menu[] = {"Amdeberhan-Zeiberger Formula 2      (fastest)",
                                 "Amdeberhan-Zeiberger Formula 1      (slighly slower)", nullptr};

const char* const catalanShort[] = {"Lupas", "Ramanujan", nullptr};
const char* const catalanNames[] = {"Lupas Formula", "Ramanujan's Formula", nullptr};
const char* const catalanMenu[] = {"Lupas Formula           (fastest)",
                                   "Ramanujan's Formula     (~30% slower)", nullptr};

const char* const eulerShort[] = {"Brent-McMillan (Refined)", "Brent-McMillan", nullptr, nullptr};
const char* const eulerNames[] = {"Brent-McMillan with Refinement", "Brent-McMillan",
                                  "Compute and Verify", nullptr};
const char* const eulerMenu[] = {"Brent-McMillan with Refinement      (fastest)",
                                 "Brent-McMillan (alone)              (~30% slower)",
                                 "Compute and Verify using both formulas", nullptr};

// The empty slots 6 and 7: no algorithm, no name.
const char* const emptyTable[] = {nullptr};

struct ConstantEntry {
  const char* nameLong;  // null for Sqrt(n), which is built with n
  const char* nameShort;
  const char* displayName;
  const char* const* shortNames;
  const char* const* names;
  const char* const* menuLines;
  uint64_t digitLimit;
};

// Digit limits: the largest run whose top square (wordCount + 100 words on
// each side) the largest hybrid transform still holds. Every constant's
// largest product is that square, so they share one limit.
const ConstantEntry constantTable[constantIdCount] = {
    {nullptr, nullptr, nullptr, newtonShort, newtonNames, newtonMenu, largestRunDecimalDigits},
    {"Golden Ratio", "Golden Ratio", "Golden Ratio", newtonShort, newtonNames, newtonMenu,
     largestRunDecimalDigits},
    {"e", "e", "e", eShort, eNames, eMenu, largestRunDecimalDigits},
    {"Pi", "Pi", "Pi", piShort, piNames, piMenu, largestRunDecimalDigits},
    {"Log(2)", "Log(2)", "Log(2)", log2Short, log2Names, log2Menu, largestRunDecimalDigits},
    {"Log(10)", "Log(10)", "Log(10)", log10Short, log10Names, log10Menu, largestRunDecimalDigits},
    {"", "", "", emptyTable, emptyTable, emptyTable, largestRunDecimalDigits},
    {"", "", "", emptyTable, emptyTable, emptyTable, largestRunDecimalDigits},
    {"Zeta(3) - Apery's Constant", "Zeta(3)", "Zeta(3) - Apery's Constant", zeta3Short, zeta3Names,
     zeta3Menu, largestRunDecimalDigits},
    {"Catalan's Constant", "Catalan", "Catalan's Constant", catalanShort, catalanNames, catalanMenu,
     largestRunDecimalDigits},
    {"Euler-Mascheroni Constant", "Euler's Constant", "Euler-Mascheroni Constant", eulerShort,
     eulerNames, eulerMenu, largestRunDecimalDigits},
};

char* copyText(const char* text) {
  size_t length = strlen(text);
  char* copy = static_cast<char*>(malloc(length + 1));
  if (copy == nullptr) fatalMemory();
  memcpy(copy, text, length + 1);
  return copy;
}

// Concatenation of three texts into a new owned text.
char* joinText(const char* a, const char* b, const char* c) {
  size_t la = strlen(a), lb = strlen(b), lc = strlen(c);
  char* out = static_cast<char*>(malloc(la + lb + lc + 1));
  if (out == nullptr) fatalMemory();
  memcpy(out, a, la);
  memcpy(out + la, b, lb);
  memcpy(out + la + lb, c, lc + 1);
  return out;
}

void freeText(char** text) {
  free(*text);
  *text = nullptr;
}

}  // namespace

void fillDefaultComputeSettings(Heap* heap, ComputeSettings* settings) {
  memset(settings, 0, sizeof *settings);
  settings->decimalDigits = 50000000;
  settings->hexDigits = 41524102;
  settings->wordCount = 5190514;
  settings->computeMode = computeModeRamOnly;
  settings->threadPower = defaultThreadPower();
  selectConstant(heap, settings, constantPi);
  buildFileStems(heap, settings);
  settings->benchmarkFlag = 0;
}

void selectConstant(Heap* heap, ComputeSettings* settings, uint32_t constantId) {
  freeText(&settings->nameLong);
  freeText(&settings->nameShort);
  freeText(&settings->displayName);
  settings->algorithm = 0;
  settings->constantId = constantId;
  // Ids past the table behave as the empty slots.
  const ConstantEntry& entry = constantTable[constantId < constantIdCount ? constantId : 6];
  if (constantId == constantSqrtN) {
    char n[16];
    snprintf(n, sizeof n, "%u", settings->constantParameter);
    settings->nameLong = joinText("Square Root of ", n, "");
    settings->nameShort = joinText("Sqrt(", n, ")");
    settings->displayName = joinText("Sqrt(", n, ")");
  } else {
    settings->nameLong = copyText(entry.nameLong);
    settings->nameShort = copyText(entry.nameShort);
    settings->displayName = copyText(entry.displayName);
  }
  settings->algorithmShortNames = entry.shortNames;
  settings->algorithmNames = entry.names;
  settings->algorithmMenuLines = entry.menuLines;
  settings->digitLimit = entry.digitLimit;
  settings->wordLimit = largestRunWords;
}

void buildFileStems(Heap* heap, ComputeSettings* settings) {
  freeText(&settings->decimalFileStem);
  freeText(&settings->hexFileStem);
  const char* word = "";
  if (settings->algorithm < algorithmCount(settings) &&
      settings->algorithmShortNames[settings->algorithm] != nullptr) {
    word = settings->algorithmShortNames[settings->algorithm];
  }
  const char* name = settings->nameShort != nullptr ? settings->nameShort : "";
  settings->decimalFileStem = joinText(name, " - Dec - ", word);
  settings->hexFileStem = joinText(name, " - Hex - ", word);
}

void releaseComputeSettings(ComputeSettings* settings) {
  if (settings->heap != nullptr) {
    heapDestroy(settings->heap);
    free(settings->heap);
    settings->heap = nullptr;
  }
  freeText(&settings->outputPath);
  if (settings->swapPaths != nullptr) {
    for (uint64_t i = 0; i < settings->swapPaths->count; ++i) free(settings->swapPaths->paths[i]);
    free(settings->swapPaths->paths);
    free(settings->swapPaths);
    settings->swapPaths = nullptr;
  }
  freeText(&settings->nameLong);
  freeText(&settings->nameShort);
  freeText(&settings->displayName);
  freeText(&settings->decimalFileStem);
  freeText(&settings->hexFileStem);
}

uint32_t algorithmCount(const ComputeSettings* settings) {
  uint32_t count = 0;
  if (settings->algorithmNames == nullptr) return 0;
  while (settings->algorithmNames[count] != nullptr) ++count;
  return count;
}

const char* computeModeName(uint32_t mode) {
  switch (mode) {
    case computeModeRamOnly:
      return "Ram Only";
    case computeModeBasicSwap:
      return "Basic Swap";
    case computeModeAdvancedSwap:
      return "Advanced Swap";
    default:
      return "";
  }
}

int constantColor(uint32_t constantId) {
  if (constantId < 2) return 13;
  if (constantId <= 8) return 10;
  return 9;
}

void setDecimalDigits(ComputeSettings* settings, uint64_t decimalDigits) {
  settings->decimalDigits = decimalDigits;
  settings->hexDigits = (uint64_t)(double(decimalDigits) * hexDigitsPerDecimal) + 1;
  settings->wordCount = (settings->hexDigits >> 3) + 2;
}

void setHexDigits(ComputeSettings* settings, uint64_t hexDigits) {
  settings->hexDigits = hexDigits;
  settings->decimalDigits = (uint64_t)(double(hexDigits) * decimalDigitsPerHex);
  settings->wordCount = (hexDigits >> 3) + 2;
}

uint32_t eulerSizePower(uint64_t hexDigits) {
  // 1 / (4 ln 2); the bound grows past any 64-bit count long before k = 62.
  constexpr double factor = 0.36067376022224085;
  uint32_t k = 5;
  while (k < 62 && hexDigits > (uint64_t)((8.0 * double(uint64_t(1) << k) - 20.0) * factor)) ++k;
  return k;
}
