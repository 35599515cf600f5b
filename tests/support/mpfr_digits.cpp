// Digit texts of constants from MPFR; see mpfr_digits.h.
#include "support/mpfr_digits.h"

#include <mpfr.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <mutex>
#include <tuple>

namespace mpfrdigits {
namespace {

enum class Value { sqrtOfN, goldenRatio, e, pi };

// One evaluated value at `bits` of precision (0 when none yet).
struct Evaluated {
  mpfr_t x;
  mpfr_prec_t bits = 0;
};

using ValueKey = std::tuple<Value, uint32_t>;
using TextKey = std::tuple<Value, uint32_t, int, size_t>;

std::mutex guard;
std::map<ValueKey, Evaluated>& values() {
  static std::map<ValueKey, Evaluated> kept;
  return kept;
}
std::map<TextKey, std::string>& texts() {
  static std::map<TextKey, std::string> kept;
  return kept;
}

void evaluate(Value v, uint32_t n, mpfr_t x) {
  switch (v) {
    case Value::sqrtOfN:
      mpfr_sqrt_ui(x, n, MPFR_RNDN);
      break;
    case Value::goldenRatio:
      mpfr_sqrt_ui(x, 5, MPFR_RNDN);
      mpfr_add_ui(x, x, 1, MPFR_RNDN);
      mpfr_div_2ui(x, x, 1, MPFR_RNDN);
      break;
    case Value::e:
      mpfr_set_ui(x, 1, MPFR_RNDN);
      mpfr_exp(x, x, MPFR_RNDN);
      break;
    case Value::pi:
      mpfr_const_pi(x, MPFR_RNDN);
      break;
  }
}

// The value with at least `bits` of precision, evaluated again only when an
// earlier evaluation was shorter.
mpfr_ptr valueWithBits(Value v, uint32_t n, mpfr_prec_t bits) {
  Evaluated& held = values()[ValueKey(v, n)];
  if (held.bits < bits) {
    if (held.bits == 0) {
      mpfr_init2(held.x, bits);
    } else {
      mpfr_set_prec(held.x, bits);
    }
    evaluate(v, n, held.x);
    held.bits = bits;
  }
  return held.x;
}

// Integer part, ".", then `fractionDigits` truncated digits. All four values
// are at least 1, so the integer part has `exponent` digits in the radix.
// MPFR rounds each value correctly at 96 bits beyond the last digit asked
// for, and the truncation of that approximation is the truncation of the
// true value unless the true digits after the last one start with a run of
// about 28 decimal (24 hexadecimal) zeros or nines (f's).
const std::string& textOf(Value v, uint32_t n, int radix, size_t fractionDigits) {
  std::lock_guard<std::mutex> lock(guard);
  std::string& text = texts()[TextKey(v, n, radix, fractionDigits)];
  if (!text.empty()) return text;
  const size_t integerDigits = radix == 10 ? 10 : 8;  // bound for values below 2^32
  const size_t total = integerDigits + fractionDigits;
  const double bitsPerDigit = radix == 10 ? std::log2(10.0) : 4.0;
  mpfr_ptr x = valueWithBits(v, n, static_cast<mpfr_prec_t>(total * bitsPerDigit) + 96);
  mpfr_exp_t exponent = 0;
  char* head = mpfr_get_str(nullptr, &exponent, radix, 2, x, MPFR_RNDZ);
  mpfr_free_str(head);
  const size_t significant = static_cast<size_t>(exponent) + fractionDigits;
  char* digits = mpfr_get_str(nullptr, &exponent, radix, significant, x, MPFR_RNDZ);
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
const std::string& eText(int radix, size_t fractionDigits) {
  return textOf(Value::e, 0, radix, fractionDigits);
}
const std::string& piText(int radix, size_t fractionDigits) {
  return textOf(Value::pi, 0, radix, fractionDigits);
}

}  // namespace mpfrdigits
