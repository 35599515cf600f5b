// Helpers of the digit writer tests: a temporary folder, file reading, and
// the expected text of a value from MPFR (exact from its words, truncated).
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>
#include <mpfr.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/death_console.h"
#include "support/gmp_bridge.h"

namespace writer_test {

// A folder from mkdtemp, removed with everything in it.
struct TempFolder {
  std::string path;
  TempFolder() {
    char pattern[] = "/tmp/digit_writer_XXXXXX";
    if (mkdtemp(pattern) != nullptr) path = pattern;
  }
  ~TempFolder() {
    if (!path.empty()) std::filesystem::remove_all(path);
  }
  bool empty() const { return std::filesystem::is_empty(path); }
};

inline std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A value's digits without leading zeros and the place of the point in
// them: digits before the point (zero or negative for a value below 1).
struct ValueDigits {
  std::string digits;
  long point;
};

// The exact digits of words[0 .. n) / R^scale in its own radix: R = 2^32
// with hexadecimal digits (radix 16) or R = 10^9 with decimal digits (10).
inline ValueDigits wordDigits(const uint32_t* words, uint64_t n, int64_t scale, int radix) {
  mpz_t z;
  mpz_init(z);
  if (radix == 16) {
    testbridge::toMpz(z, words, n);
  } else {
    for (uint64_t i = n; i-- > 0;) {
      mpz_mul_ui(z, z, 1000000000u);
      mpz_add_ui(z, z, words[i]);
    }
  }
  char* text = mpz_get_str(nullptr, radix, z);
  ValueDigits out{text, 0};
  out.point = long(out.digits.size()) - (radix == 16 ? 8 : 9) * long(scale);
  free(text);
  mpz_clear(z);
  return out;
}

// The first `digits` digits, truncated, in radix 10 or 16 of the binary
// value words[0 .. n) * 2^(32 exponent), by MPFR from the exact value.
inline ValueDigits binaryValueDigits(const uint32_t* words, uint64_t n, int64_t exponent, int radix,
                                     uint64_t digits) {
  mpz_t z;
  mpz_init(z);
  testbridge::toMpz(z, words, n);
  mpfr_t x;
  mpfr_init2(x, mpfr_prec_t(32 * n + 64));
  mpfr_set_z(x, z, MPFR_RNDN);  // exact at this precision
  mpfr_mul_2si(x, x, 32 * long(exponent), MPFR_RNDN);
  mpfr_exp_t point = 0;
  char* text = mpfr_get_str(nullptr, &point, radix, size_t(digits), x, MPFR_RNDZ);
  ValueDigits out{text, long(point)};
  mpfr_free_str(text);
  mpfr_clear(x);
  mpz_clear(z);
  return out;
}

// `text` cut or filled with zeros to `count` characters.
inline std::string fitted(const std::string& text, uint64_t count) {
  if (text.size() >= count) return text.substr(0, count);
  return text + std::string(count - text.size(), '0');
}

// The file the writers make for a value with these digits: `count` digits
// counted from the first non-zero one (so, for one integer word, the
// integer digits and the requested ones). `perWord` is 8 or 9: the forms
// with zeros before the first digit depend on the word size.
inline std::string expectedLayout(const ValueDigits& value, uint64_t count, int radix) {
  const long perWord = radix == 16 ? 8 : 9;
  if (value.digits.empty() || value.digits == "0") return "0";
  const long point = value.point;
  if (point >= 1 && point <= perWord) {
    // One integer word: its digits, the point, then count - point more.
    return value.digits.substr(0, size_t(point)) + "." +
           fitted(value.digits.substr(size_t(point)), count - uint64_t(point));
  }
  if (point <= 0) {
    // Zeros after the point up to the first digit, which are not counted.
    return "0." + std::string(size_t(-point), '0') + fitted(value.digits, count);
  }
  // Several integer words: R^k * 0. and the top word with its zeros.
  const long k = (point + perWord - 1) / perWord;
  long pad = k * perWord - point;
  if (radix == 10 && pad > 0) pad -= 1;  // the top digit's zero goes
  return std::string(radix == 16 ? "4294967296^" : "1000000000^") + std::to_string(k) + " * 0." +
         std::string(size_t(pad), '0') + fitted(value.digits, count);
}

}  // namespace writer_test
