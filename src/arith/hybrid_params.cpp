// Parameters of the hybrid transform: the tuned tables and the search that
// serves every size past their ends.
#include "arith/hybrid_params.h"

#include "arith/element_sizes.h"
#include "arith/fft_sizes.h"

// Tuned rows are filled in by timing the hybrid transform; until then the
// tables are empty and hybridSearch serves every size.
const HybridParamTable SquareParamTable = {nullptr, 0};
const HybridParamTable MultiplyParamTable = {nullptr, 0};

// Capacity of the pair in product words: ((m * 2^k) / 256 - 1) * 2^k, with
// the division in integers; 0 where the chunk is empty.
uint64_t hybridCapacity(uint32_t k, uint32_t m) {
  uint64_t h = uint64_t(m) << k;
  if (h < 512) return 0;
  return (h / 256 - 1) << k;
}

uint32_t hybridSearch(uint64_t productWords, uint32_t* k, uint32_t* m) {
  uint32_t e = 9;
  while (e <= 31 && productWords > hybridCapacity(e, 1)) e++;
  if (e > 31) return 1;
  bool found = false;
  unsigned __int128 bestCost = 0;  // m * 4^k reaches 31 * 2^62
  for (uint32_t kk = e; kk + 3 >= e; kk--) {
    for (uint32_t mm = 1; mm <= 31; mm++) {
      if (productWords > hybridCapacity(kk, mm)) continue;
      uint64_t elementBits = ((uint64_t(mm) << kk) / 128) * 32;
      if (elementSizeRowExact(elementBits) >= elementSizeRowCount) continue;
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

uint32_t hybridSquareParamsWith(const HybridParamTable& squares, uint64_t productWords,
                                uint32_t* k, uint32_t* m) {
  if (productWords > hybridProductWordsLimit) return 1;
  if (tableLookup(squares, productWords, k, m) == 0) return 0;
  return hybridSearch(productWords, k, m);
}

uint32_t hybridMultiplyParamsWith(const HybridParamTable& products,
                                  const HybridParamTable& squares, uint64_t productWords,
                                  uint32_t* k, uint32_t* m) {
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
