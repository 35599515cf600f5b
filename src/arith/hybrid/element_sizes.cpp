// ElementSizeTable, built at compile time by its rule, and the plan and
// scratch of element products.
#include "arith/hybrid/element_sizes.h"

#include <algorithm>
#include <array>

#include "arith/recursive/recursive.h"
#include "platform/console.h"

namespace {

// Nega-cyclic FFT lengths with the widest point each can carry exactly:
// every pair keeps 2b + log2(L) <= 49.
struct ElementLength {
  uint32_t multiplier;
  uint32_t exponent;
  uint32_t maxBits;
};

constexpr ElementLength elementLengths[] = {
    {1, 6, 20},  {1, 7, 20},  {3, 6, 19},  {1, 8, 20},  {5, 6, 19},  {3, 7, 19},  {1, 9, 20},
    {5, 7, 19},  {3, 8, 19},  {1, 10, 19}, {5, 8, 18},  {3, 9, 19},  {1, 11, 18}, {5, 9, 17},
    {3, 10, 18}, {1, 12, 18}, {5, 10, 17}, {3, 11, 18}, {1, 13, 17}, {5, 11, 16}, {3, 12, 17},
    {1, 14, 17}, {5, 12, 16}, {3, 13, 17}, {1, 15, 16}, {5, 13, 15}, {3, 14, 16}, {1, 16, 16},
    {5, 14, 15}, {3, 15, 15}, {1, 17, 15}, {5, 15, 14}, {3, 16, 15}, {1, 18, 15}, {5, 16, 14},
    {3, 17, 14}, {1, 19, 14}, {5, 17, 13}, {3, 18, 14}, {1, 20, 13}, {5, 18, 13}, {3, 19, 13},
    {1, 21, 13}, {5, 19, 12}, {3, 20, 13}, {1, 22, 13}, {5, 20, 12}, {3, 21, 12}, {1, 23, 12},
    {5, 21, 11}, {3, 22, 12}, {1, 24, 12}, {5, 22, 11}, {3, 23, 11}, {1, 25, 11}, {5, 23, 10},
    {3, 24, 10}, {1, 26, 10}, {5, 24, 10}, {3, 25, 10}, {1, 27, 10}, {5, 25, 9},  {3, 26, 9},
    {1, 28, 9},  {5, 26, 9},  {3, 27, 9},  {1, 29, 7},
};

constexpr uint32_t narrowestPoint = 7;

constexpr size_t candidateCount() {
  size_t n = 0;
  for (const ElementLength& e : elementLengths) n += e.maxBits - narrowestPoint + 1;
  return n;
}

struct Candidate {
  uint64_t bits;
  uint64_t length;
  uint32_t bitsPerPoint;
  SizeCode code;
};

// All pairs (b, L) with 7 <= b <= the length's maximum, sorted by size and,
// for equal sizes, by length.
constexpr std::array<Candidate, candidateCount()> sortedCandidates() {
  std::array<Candidate, candidateCount()> all{};
  size_t n = 0;
  for (const ElementLength& e : elementLengths) {
    uint64_t length = uint64_t(e.multiplier) << e.exponent;
    for (uint32_t b = narrowestPoint; b <= e.maxBits; b++) {
      all[n++] = Candidate{b * length, length, b, sizeCodeOf(e.multiplier, e.exponent)};
    }
  }
  std::sort(all.begin(), all.end(), [](const Candidate& x, const Candidate& y) {
    return x.bits != y.bits ? x.bits < y.bits : x.length < y.length;
  });
  return all;
}

constexpr size_t distinctSizeCount() {
  std::array<Candidate, candidateCount()> all = sortedCandidates();
  size_t count = 0;
  for (size_t i = 0; i < all.size(); i++) {
    if (i == 0 || all[i].bits != all[i - 1].bits) count++;
  }
  return count;
}

static_assert(distinctSizeCount() == elementSizeRowCount, "the rule gives 384 element sizes");

// One row per distinct size s = b * L; where several pairs give the same s,
// the row takes the smallest L.
constexpr std::array<ElementSizeRow, elementSizeRowCount> buildElementSizeTable() {
  std::array<Candidate, candidateCount()> all = sortedCandidates();
  std::array<ElementSizeRow, elementSizeRowCount> rows{};
  size_t count = 0;
  for (size_t i = 0; i < all.size(); i++) {
    if (i > 0 && all[i].bits == all[i - 1].bits) continue;
    rows[count++] = ElementSizeRow{all[i].bits, all[i].bitsPerPoint, all[i].code};
  }
  return rows;
}

}  // namespace

constexpr std::array<ElementSizeRow, elementSizeRowCount> ElementSizeTable =
    buildElementSizeTable();

static_assert(ElementSizeTable[0].capacity == 448 && ElementSizeTable[1].capacity == 512 &&
                  ElementSizeTable[2].capacity == 576,
              "the first rows are 448, 512, 576 bits");
static_assert(ElementSizeTable[elementSizeRowCount - 1].capacity == 3758096384ull &&
                  ElementSizeTable[elementSizeRowCount - 1].bitsPerPoint == 7,
              "the last row is 3758096384 bits at 7 bits a point");

uint32_t elementSizeRowExact(uint64_t bits) {
  uint32_t row = sizeTableSearch(ElementSizeTable.data(), elementSizeRowCount, bits);
  if (row < elementSizeRowCount && ElementSizeTable[row].capacity == bits) return row;
  return elementSizeRowCount;
}

// Scratch of one element square by the recursive methods: the 2W-word square
// and the recursion's own scratch, walked from W against sqrK and sqrT.
// The element FFT's row of a W-word element. Sizes come from the parameter
// search or tables, which only use rows of the table; anything else is a
// broken caller.
static const ElementSizeRow& elementRowOf(uint64_t words) {
  uint32_t row = elementSizeRowExact(32 * words);
  if (row >= elementSizeRowCount)
    invalidParameters("Element Size Lookup",
                      "The element size is not a row of the element size table.");
  return ElementSizeTable[row];
}

static uint64_t recursiveElementScratch(uint64_t words) {
  return 2 * words + recursionScratchWordsFor(words, sqrK, sqrT);
}

SizeCode elementPlanFor(ElementPlan* plan, const FftLookupTables* tables, uint64_t words) {
  plan->words = words;
  plan->tables = tables;
  if (words < elementFftWords) {
    plan->method = 0;
    plan->scratchWords = recursiveElementScratch(words);
    plan->code = 0;
    plan->length = 0;
    plan->bitsPerPoint = 0;
    return 0;
  }
  const ElementSizeRow& row = elementRowOf(words);
  uint64_t length = sizeCodeLength(row.code);
  plan->method = 1;
  // L doubles and L 32-bit points: 3L words, in these integer steps.
  plan->scratchWords = (length * 3 / 2) * 8 / 4;
  plan->code = row.code;
  plan->length = length;
  plan->bitsPerPoint = row.bitsPerPoint;
  return row.code;
}

uint64_t elementScratchWords(uint64_t words, uint32_t threadPower) {
  if (words >= elementFftWords) {
    const ElementSizeRow& row = elementRowOf(words);
    return 3 * sizeCodeLength(row.code) << threadPower;
  }
  return recursiveElementScratch(words) << threadPower;
}
