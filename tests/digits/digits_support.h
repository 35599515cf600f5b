// Helpers of the digits tests: a heap, a console capture and a temporary
// folder for one test; numbers from word arrays; the decimal text of a
// conversion; and the expected text of a digit file from GMP and MPFR.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>

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
#include "support/run_program.h"
#include "support/console_capture.h"
#include "support/test_arena.h"

namespace digits_test {

using TestHeap = TestArena;

using TempFolder = ScopedFolder;

// x = words[0 .. n) * 2^(32 exponent), positive; top zero words trimmed.
inline void makeNumber(Heap* heap, BigFloat* x, const uint32_t* words, uint64_t n, int64_t exponent) {
  while (n > 0 && words[n - 1] == 0) --n;
  bigFloatSetZero(x);
  if (n == 0) return;
  x->exponent = exponent;
  x->mantissa.words = heapAllocateWords(heap, n + 2);
  std::memcpy(x->mantissa.words, words, n * 4);
  x->mantissa.length = n;
  x->mantissa.capacity = n + 2;
}

// x = value, a BigInt in `heap`.
inline void makeInteger(Heap* heap, const mpz_t value, BigInt* x) {
  std::vector<uint32_t> words = testbridge::fromMpz(value, (mpz_sizeinbase(value, 2) + 31) / 32);
  BigFloat f;
  makeNumber(heap, &f, words.data(), mpz_sgn(value) == 0 ? 0 : words.size(), 0);
  *x = f.mantissa;
}

// The decimal text of a conversion's radix-10^9 words ("0" for none),
// failing on a word that is not a radix-10^9 digit or a zero top word.
inline std::string decimalText(const ConversionOutput& out) {
  const uint32_t* words = out.digits.words;
  const uint64_t n = out.digits.length;
  if (n == 0) return "0";
  EXPECT_NE(words[n - 1], 0u) << "zero top word";
  std::string text = std::to_string(words[n - 1]);
  char group[16];
  for (uint64_t i = n - 1; i-- > 0;) {
    EXPECT_LT(words[i], billion) << "word " << i;
    std::snprintf(group, sizeof group, "%09u", words[i]);
    text += group;
  }
  return text;
}

inline std::string gmpDecimal(const mpz_t z) {
  char* text = mpz_get_str(nullptr, 10, z);
  std::string copy = text;
  free(text);
  return copy;
}

// Decimal digits that cover an n-word integer, as a caller would ask.
inline uint64_t digitsForWords(uint64_t n) { return uint64_t(double(n) * 9.632959861247397) + 1; }

// Builds the table for x and converts it, with the console captured.
inline void convertNumber(Heap* heap, BigFloat* x, uint64_t digits, uint32_t secondary,
                          uint32_t threads, ConversionOutput* out, std::string* console = nullptr) {
  Capture capture;
  BaseConversionTable table;
  buildBaseConversionTable(heap, x, &table, threads);
  convertToDecimal(heap, out, x, digits, &table, secondary, threads);
  releaseBaseConversionTable(&table);
  if (console != nullptr) *console = capture.text;
}

// A value's digits without leading zeros and the place of the point in
// them: digits before the point (zero or negative for a value below 1).
struct ValueDigits {
  std::string digits;
  long point;
};

// The first `digits` digits, truncated, in radix 10 or 16 of
// words[0 .. n) * 2^(32 exponent) (by MPFR, exact), or with `billions` set
// of the radix-10^9 words[0 .. n) / 10^(9 exponent) (all their digits).
inline ValueDigits valueDigits(const uint32_t* words, uint64_t n, int64_t exponent, int radix,
                               uint64_t digits, bool billions = false) {
  testbridge::Number z;
  if (billions) {
    for (uint64_t i = n; i-- > 0;) {
      mpz_mul_ui(z.z, z.z, billion);
      mpz_add_ui(z.z, z.z, words[i]);
    }
    std::string text = gmpDecimal(z.z);
    return {text, long(text.size()) - 9 * long(exponent)};
  }
  testbridge::toMpz(z.z, words, n);
  mpfr_t x;
  mpfr_init2(x, mpfr_prec_t(32 * n + 64));
  mpfr_set_z(x, z.z, MPFR_RNDN);
  mpfr_mul_2si(x, x, 32 * long(exponent), MPFR_RNDN);
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, radix, size_t(digits), x, MPFR_RNDZ);
  ValueDigits out{text, long(point)};
  mpfr_free_str(text);
  mpfr_clear(x);
  return out;
}

// The file the writers make for a value with these digits: `count` digits
// counted from the first non-zero one, past the known digits zeros.
inline std::string expectedLayout(const ValueDigits& value, uint64_t count, int radix) {
  const long perWord = radix == 16 ? 8 : 9, point = value.point;
  auto fitted = [](std::string text, uint64_t count) {
    text.resize(count, '0');
    return text;
  };
  if (value.digits.empty() || value.digits == "0") return "0";
  if (point >= 1 && point <= perWord)  // one integer word
    return value.digits.substr(0, point) + "." + fitted(value.digits.substr(point), count - point);
  if (point <= 0)  // the zeros after the point are not counted
    return "0." + std::string(-point, '0') + fitted(value.digits, count);
  // Several integer words: R^k * 0. and the top word with its zeros, but
  // for a nine-digit group's top zero.
  const long k = (point + perWord - 1) / perWord;
  long pad = k * perWord - point;
  if (radix == 10 && pad > 0) pad -= 1;
  return std::string(radix == 16 ? "4294967296^" : "1000000000^") + std::to_string(k) + " * 0." +
         std::string(pad, '0') + fitted(value.digits, count);
}

}  // namespace digits_test
