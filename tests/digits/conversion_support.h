// Helpers of the base conversion tests: numbers from word arrays, the
// decimal text of a conversion, and a heap for one test.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

namespace conversion_test {

// A root heap for one test; it must be empty again at the end.
struct TestHeap {
  Heap heap;
  explicit TestHeap(uint64_t bytes) { heapInit(nullptr, &heap, bytes); }
  ~TestHeap() {
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the heap";
    heapDestroy(&heap);
  }
};

// Captures the console for a scope.
struct Capture {
  std::string text;
  Capture() { consoleCaptureTo(&text); }
  ~Capture() { consoleCaptureTo(nullptr); }
};

// x = words[0 .. n) * 2^(32 exponent), positive; top zero words trimmed.
inline void makeNumber(Heap* heap, BigFloat* x, const uint32_t* words, uint64_t n,
                       int64_t exponent) {
  while (n > 0 && words[n - 1] == 0) --n;
  bigFloatSetZero(x);
  if (n == 0) return;
  x->exponent = exponent;
  x->mantissa.words = heapAllocateWords(heap, n + 2);
  std::memcpy(x->mantissa.words, words, n * 4);
  x->mantissa.length = n;
  x->mantissa.capacity = n + 2;
}

// The decimal text of radix-10^9 words (no leading zeros; "0" for none).
inline std::string decimalText(const uint32_t* words, uint64_t n) {
  if (n == 0) return "0";
  std::string text = std::to_string(words[n - 1]);
  char group[16];
  for (uint64_t i = n - 1; i-- > 0;) {
    std::snprintf(group, sizeof group, "%09u", words[i]);
    text += group;
  }
  return text;
}

inline std::string decimalText(const ConversionOutput& out) {
  return decimalText(out.digits.words, out.digits.length);
}

// Every word of a conversion is a radix-10^9 digit and the top one is not 0.
inline ::testing::AssertionResult wellFormed(const ConversionOutput& out) {
  for (uint64_t i = 0; i < out.digits.length; ++i) {
    if (out.digits.words[i] >= billion) {
      return ::testing::AssertionFailure() << "word " << i << " = " << out.digits.words[i];
    }
  }
  if (out.digits.length > 0 && out.digits.words[out.digits.length - 1] == 0) {
    return ::testing::AssertionFailure() << "zero top word";
  }
  return ::testing::AssertionSuccess();
}

// mpz_get_str in base 10.
inline std::string gmpDecimal(const mpz_t z) {
  std::vector<char> buffer(mpz_sizeinbase(z, 10) + 2);
  mpz_get_str(buffer.data(), 10, z);
  return std::string(buffer.data());
}

// Decimal digits that cover an n-word integer, as a caller would ask.
inline uint64_t digitsForWords(uint64_t n) {
  return uint64_t(double(n) * 9.632959861247397) + 1;
}

// x = value, a BigInt in `heap`.
inline void makeInteger(Heap* heap, const mpz_t value, BigInt* x) {
  bigIntSetZero(x);
  if (mpz_sgn(value) == 0) return;
  uint64_t n = (mpz_sizeinbase(value, 2) + 31) / 32;
  std::vector<uint32_t> words = testbridge::fromMpz(value, n);
  x->words = heapAllocateWords(heap, n + 2);
  std::copy(words.begin(), words.end(), x->words);
  x->length = n;
  x->capacity = n + 2;
}

// A table for numbers of `length` words, built with the console captured.
inline void buildTable(Heap* heap, uint64_t length, BaseConversionTable* table) {
  std::vector<uint32_t> words(length, 0x9e3779b9u);
  BigFloat x;
  makeNumber(heap, &x, words.data(), length, 0);
  Capture capture;
  buildBaseConversionTable(heap, &x, table, 0);
  bigFloatDestroy(&x);
}

// Builds the table for x and converts it, with the console captured.
inline void convertNumber(Heap* heap, BigFloat* x, uint64_t digits, uint32_t secondary,
                          uint32_t threads, ConversionOutput* out, std::string* console = nullptr) {
  std::string text;
  consoleCaptureTo(&text);
  BaseConversionTable table;
  buildBaseConversionTable(heap, x, &table, threads);
  convertToDecimal(heap, out, x, digits, &table, secondary, threads);
  releaseBaseConversionTable(&table);
  consoleCaptureTo(nullptr);
  if (console != nullptr) *console = text;
}

}  // namespace conversion_test
