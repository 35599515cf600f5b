// Parameters of the hybrid transform: the tuned tables and the search that
// serves every size past their ends.
#include "arith/hybrid/hybrid_params.h"

#include <algorithm>

#include "arith/hybrid/element_sizes.h"
#include "arith/fft/fft_sizes.h"
#include "arith/tuning.h"

// Rows found by timing the hybrid transform with `perf/hybrid_tune --max
// 40000000` (squares) and the same with --multiply (products of two
// numbers), one thread, on a 2-core AVX-512 machine: for sizes on a grid of
// half octaves from 26114 words, the fastest pair among k from 7 up to
// hybridSearch's range, each k with its least m. The element FFT is so much
// cheaper per bit than a level of the Fermat transform that few, large
// elements win; k = 5 or 6 would be up to 10% faster on one thread below
// 600000 words, but k >= 7 leaves eight elements to each of 16 threads and
// was as fast or faster on two. Near the optimum the times are flat within a
// few percent, so neighbouring rows may jump between quite different pairs.
// Row 0 serves only its exact capacity: smaller products take row 1. Past
// the last row hybridSearch serves.
static const HybridParamRow squareRows[] = {
    {26496, 7, 416},
    {38400, 9, 38},
    {52992, 8, 208},
    {76544, 8, 300},
    {106368, 7, 1664},
    {153472, 7, 2400},
    {212736, 8, 832},
    {306944, 8, 1200},
    {425856, 7, 6656},
    {620544, 11, 38},
    {851712, 8, 3328},
    {1241088, 12, 19},
    {1703808, 7, 26624},
    {2457472, 7, 38400},
    {3407616, 8, 13312},
    {4914944, 8, 19200},
    {6815616, 7, 106496},
    {10223360, 8, 39936},
    {13631232, 8, 53248},
    {19659776, 10, 4800},
    {27262464, 9, 26624},
    {40893440, 10, 9984},
};

static const HybridParamRow multiplyRows[] = {
    {26496, 7, 416},
    {38400, 9, 38},
    {52992, 8, 208},
    {76544, 8, 300},
    {106368, 7, 1664},
    {153472, 7, 2400},
    {212736, 8, 832},
    {306944, 8, 1200},
    {425856, 7, 6656},
    {620544, 11, 38},
    {851712, 8, 3328},
    {1228544, 8, 4800},
    {1703808, 7, 26624},
    {2457472, 7, 38400},
    {3407616, 8, 13312},
    {5111680, 7, 79872},
    {6815616, 7, 106496},
    {10223360, 8, 39936},
    {13631232, 8, 53248},
    {19659776, 10, 4800},
    {27262464, 9, 26624},
    {39319552, 11, 2400},
};

const HybridParamTable SquareParamTable = {squareRows, sizeof squareRows / sizeof squareRows[0]};
const HybridParamTable MultiplyParamTable = {multiplyRows,
                                             sizeof multiplyRows / sizeof multiplyRows[0]};

// Capacity of the pair in product words: ((m * 2^k) / 256 - 1) * 2^k, with
// the division in integers; 0 where the chunk is empty.
uint64_t hybridCapacity(uint32_t k, uint32_t m) {
  uint64_t h = uint64_t(m) << k;
  if (h < 512) return 0;
  return (h / 256 - 1) << k;
}

// The pair's element size, ((m * 2^k) / 128) * 32 bits, is a row of
// ElementSizeTable.
static bool elementSizeValid(uint32_t k, uint32_t m) {
  uint64_t elementBits = ((uint64_t(m) << k) / 128) * 32;
  return elementSizeRowExact(elementBits) < elementSizeRowCount;
}

uint32_t hybridSearch(uint64_t productWords, uint32_t* k, uint32_t* m) {
  uint32_t e = 9;
  while (e <= 31 && productWords > hybridCapacity(e, 1)) e++;
  if (e > 31) return 1;
  bool found = false;
  unsigned __int128 bestCost = 0;  // m * 4^k reaches 31 * 2^62
  for (uint32_t kk = e; kk + 3 >= e; kk--) {
    for (uint32_t mm = 1; mm <= 31; mm++) {
      if (productWords > hybridCapacity(kk, mm) || !elementSizeValid(kk, mm)) continue;
      unsigned __int128 cost = ((unsigned __int128)mm << (2 * kk)) - kk;
      if (!found || cost < bestCost) {
        found = true;
        bestCost = cost;
        *k = kk;
        *m = mm;
      }
      break;
    }
  }
  return found ? 0 : 1;
}

// The row of a table for n words: 0 with k and m, 1 past the end.
static uint32_t tableLookup(const HybridParamTable& table, uint64_t n, uint32_t* k, uint32_t* m) {
  uint32_t row = sizeTableSearch(table.rows, table.count, n);
  if (row >= table.count) return 1;
  *k = table.rows[row].k;
  *m = table.rows[row].m;
  return 0;
}

uint32_t hybridSquareParamsWith(const HybridParamTable& squares, uint64_t productWords, uint32_t* k,
                                uint32_t* m) {
  if (productWords > hybridProductWordsLimit) return 1;
  if (tableLookup(squares, productWords, k, m) == 0) return 0;
  return hybridSearch(productWords, k, m);
}

uint32_t hybridMultiplyParamsWith(const HybridParamTable& products, const HybridParamTable& squares,
                                  uint64_t productWords, uint32_t* k, uint32_t* m) {
  if (productWords > hybridProductWordsLimit) return 1;
  if (tableLookup(products, productWords, k, m) == 0) return 0;
  if (tableLookup(squares, productWords, k, m) == 0) return 0;
  return hybridSearch(productWords, k, m);
}

uint32_t hybridSquareParams(uint64_t productWords, uint32_t* k, uint32_t* m) {
  return hybridSquareParamsWith(SquareParamTable, productWords, k, m);
}

uint32_t hybridMultiplyParams(uint64_t productWords, uint32_t* k, uint32_t* m) {
  return hybridMultiplyParamsWith(MultiplyParamTable, SquareParamTable, productWords, k, m);
}

// The element FFT's code of a pair, 0 for elements done by the recursive
// methods or sizes the element table doesn't hold.
static uint32_t elementCodeOf(uint32_t k, uint32_t m) {
  uint64_t words = (uint64_t(m) << k) / 128;
  if (words < elementFftWords) return 0;
  uint32_t row = elementSizeRowExact(32 * words);
  return row < elementSizeRowCount ? ElementSizeTable[row].code : 0;
}

// Rows of a table up to the one that serves n.
static uint32_t tableCodeBound(const HybridParamTable& table, uint64_t n) {
  uint32_t last = sizeTableSearch(table.rows, table.count, n);
  if (last >= table.count) last = table.count == 0 ? 0 : table.count - 1;
  uint32_t bound = 0;
  for (uint32_t i = 0; i < table.count && i <= last; i++) {
    bound = std::max(bound, elementCodeOf(table.rows[i].k, table.rows[i].m));
  }
  return bound;
}

// For a size n in the bucket of e, hybridSearch takes k in e - 3 .. e and, for
// each k, an m no larger than the first that holds the top of the bucket (or
// n itself in the last bucket): every pair below that is counted.
uint32_t hybridElementCodeBound(uint64_t productWords) {
  // The front ends send no product below twice the threaded start here.
  if (productWords < 2 * threadedHybridThreshold) return 0;
  uint64_t n = std::min(productWords, hybridProductWordsLimit);
  uint32_t bound =
      std::max(tableCodeBound(SquareParamTable, n), tableCodeBound(MultiplyParamTable, n));
  for (uint32_t e = 9; e <= 31; e++) {
    uint64_t bucketTop = std::min(n, hybridCapacity(e, 1));
    for (uint32_t k = e; k + 3 >= e; k--) {
      for (uint32_t m = 1; m <= 31; m++) {
        bound = std::max(bound, elementCodeOf(k, m));
        if (bucketTop <= hybridCapacity(k, m) && elementSizeValid(k, m)) break;
      }
    }
    if (n <= hybridCapacity(e, 1)) break;
  }
  return bound;
}
