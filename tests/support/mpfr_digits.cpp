// Digit texts of constants from MPFR; see mpfr_digits.h.
#include "support/mpfr_digits.h"

#include <mpfr.h>

#include <cmath>
#include <map>
#include <mutex>
#include <tuple>

namespace mpfrdigits {
namespace {

enum class Value { sqrtOfN, goldenRatio, e, pi };

// One evaluated value at `bits` of precision (0 when none yet); held in the
// map below and never copied.
struct Evaluated {
  mpfr_t x;
  mpfr_prec_t bits = 0;
  ~Evaluated() {
    if (bits != 0) mpfr_clear(x);
  }
};

// MPFR's constant caches go after the values (statics end in reverse order),
// so that a leak check at exit sees nothing of ours.
struct CacheRelease {
  ~CacheRelease() { mpfr_free_cache(); }
} cacheRelease;

std::mutex guard;
std::map<std::tuple<Value, uint32_t>, Evaluated> values;
std::map<std::tuple<Value, uint32_t, int, size_t>, std::string> texts;

// The value with at least `bits` of precision, evaluated again only when an
// earlier evaluation was shorter.
mpfr_ptr valueWithBits(Value v, uint32_t n, mpfr_prec_t bits) {
  Evaluated& held = values[{v, n}];
  if (held.bits >= bits) return held.x;
  if (held.bits == 0) mpfr_init2(held.x, bits);
  else mpfr_set_prec(held.x, bits);
  held.bits = bits;
  mpfr_ptr x = held.x;
  if (v == Value::pi) mpfr_const_pi(x, MPFR_RNDN);
  if (v == Value::e) {
    mpfr_set_ui(x, 1, MPFR_RNDN);
    mpfr_exp(x, x, MPFR_RNDN);
  }
  if (v == Value::sqrtOfN || v == Value::goldenRatio) mpfr_sqrt_ui(x, v == Value::sqrtOfN ? n : 5, MPFR_RNDN);
  if (v == Value::goldenRatio) {
    mpfr_add_ui(x, x, 1, MPFR_RNDN);
    mpfr_div_2ui(x, x, 1, MPFR_RNDN);
  }
  return x;
}

// Integer part, ".", then `fractionDigits` truncated digits. All four values
// are at least 1, so the integer part has `exponent` digits in the radix.
// MPFR rounds each value correctly at 96 bits beyond the last digit asked
// for, and the truncation of that approximation is the truncation of the
// true value unless the true digits after the last one start with a run of
// about 28 decimal (24 hexadecimal) zeros or nines (f's).
const std::string& textOf(Value v, uint32_t n, int radix, size_t fractionDigits) {
  std::lock_guard<std::mutex> lock(guard);
  std::string& text = texts[{v, n, radix, fractionDigits}];
  if (!text.empty()) return text;
  const size_t total = (radix == 10 ? 10 : 8) + fractionDigits;  // integer part below 2^32
  const double bitsPerDigit = radix == 10 ? std::log2(10.0) : 4.0;
  mpfr_ptr x = valueWithBits(v, n, static_cast<mpfr_prec_t>(total * bitsPerDigit) + 96);
  mpfr_exp_t exponent = 0;
  mpfr_free_str(mpfr_get_str(nullptr, &exponent, radix, 2, x, MPFR_RNDZ));
  char* digits = mpfr_get_str(nullptr, &exponent, radix, size_t(exponent) + fractionDigits, x, MPFR_RNDZ);
  std::string all(digits);
  mpfr_free_str(digits);
  text = all.substr(0, exponent) + "." + all.substr(exponent);
  return text;
}

}  // namespace

const std::string& sqrtText(uint32_t n, int radix, size_t fractionDigits) {
  return textOf(Value::sqrtOfN, n, radix, fractionDigits);
}
const std::string& goldenRatioText(int radix, size_t fractionDigits) {
  return textOf(Value::goldenRatio, 0, radix, fractionDigits);
}
const std::string& eText(int radix, size_t fractionDigits) { return textOf(Value::e, 0, radix, fractionDigits); }
const std::string& piText(int radix, size_t fractionDigits) { return textOf(Value::pi, 0, radix, fractionDigits); }

}  // namespace mpfrdigits
