// Parameters of the hybrid transform: for a product of P words, the exponent
// k (2^k elements) and the multiplier m. With H = m * 2^k the elements have
// W = H / 128 words, each takes a chunk of c = H / 256 - 1 operand words, and
// the transform holds a product of c * 2^k words (the capacity).
#pragma once

#include <cstdint>

// The largest product, in words, of the hybrid transform.
constexpr uint64_t hybridProductWordsLimit = 20000000000000ull;

// A tuned row: the parameters found fastest for products up to `capacity`
// words (capacity = c * 2^k exactly).
struct HybridParamRow {
  uint64_t capacity;  // product words
  uint32_t k;
  uint32_t m;
};

struct HybridParamTable {
  const HybridParamRow* rows;
  uint32_t count;
};

// The tuned tables of the build (rows found by timing, hybrid_params.cpp);
// hybridSearch serves every size past their last rows.
extern const HybridParamTable SquareParamTable;
extern const HybridParamTable MultiplyParamTable;

// Capacity of a parameter pair, in product words (0 when the chunk is empty).
uint64_t hybridCapacity(uint32_t k, uint32_t m);

// Parameters for a product of `productWords` words: 0 with k and m, or 1 when
// none exist (more than hybridProductWordsLimit words, or no pair found).
uint32_t hybridSquareParams(uint64_t productWords, uint32_t* k, uint32_t* m);
uint32_t hybridMultiplyParams(uint64_t productWords, uint32_t* k, uint32_t* m);

// The same against given tables (tests pass their own rows).
uint32_t hybridSquareParamsWith(const HybridParamTable& squares, uint64_t productWords, uint32_t* k,
                                uint32_t* m);
uint32_t hybridMultiplyParamsWith(const HybridParamTable& products, const HybridParamTable& squares,
                                  uint64_t productWords, uint32_t* k, uint32_t* m);

// The search past the tables' ends: the smallest e in 9..31 whose square
// transform holds n words, then for k = e .. e - 3 the first m in 1..31 whose
// transform holds n with an element size of ElementSizeTable; the pair of
// least cost m * 4^k - k wins, the larger k on a tie. Returns 1 if none.
uint32_t hybridSearch(uint64_t productWords, uint32_t* k, uint32_t* m);

// An upper bound of the element FFT's SizeCode over the parameters of every
// product of at most `productWords` words (0 when all elements are small
// enough for the recursive methods, or the size is below the smallest
// product the front ends send to the hybrid transform, 24000 words): what
// the twiddle tables must serve.
uint32_t hybridElementCodeBound(uint64_t productWords);
