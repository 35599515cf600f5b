// Digit texts of constants from MPFR; see mpfr_digits.h.
#include "support/mpfr_digits.h"

#include <mpfr.h>

#include <cmath>
#include <map>
#include <mutex>
#include <tuple>

#include "constants/compute_settings.h"

namespace mpfrdigits {
namespace {

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
std::map<std::tuple<uint32_t, uint32_t>, Evaluated> values;
std::map<std::tuple<uint32_t, uint32_t, int, size_t>, std::string> texts;

// The value with at least `bits` of precision, evaluated again only when an
// earlier evaluation was shorter.
mpfr_ptr valueWithBits(uint32_t id, uint32_t n, mpfr_prec_t bits) {
  Evaluated& held = values[{id, n}];
  if (held.bits >= bits) return held.x;
  if (held.bits == 0) mpfr_init2(held.x, bits);
  else mpfr_set_prec(held.x, bits);
  held.bits = bits;
  mpfr_ptr x = held.x;
  switch (id) {
    case constantSqrtN: mpfr_sqrt_ui(x, n, MPFR_RNDN); break;
    case constantGoldenRatio:
      mpfr_sqrt_ui(x, 5, MPFR_RNDN);
      mpfr_add_ui(x, x, 1, MPFR_RNDN);
      mpfr_div_2ui(x, x, 1, MPFR_RNDN);
      break;
    case constantE:
      mpfr_set_ui(x, 1, MPFR_RNDN);
      mpfr_exp(x, x, MPFR_RNDN);
      break;
    case constantPi: mpfr_const_pi(x, MPFR_RNDN); break;
    case constantLog2: mpfr_const_log2(x, MPFR_RNDN); break;
    case constantLog10:
      mpfr_set_ui(x, 10, MPFR_RNDN);
      mpfr_log(x, x, MPFR_RNDN);
      break;
    case constantZeta3: mpfr_zeta_ui(x, 3, MPFR_RNDN); break;
    case constantCatalan: mpfr_const_catalan(x, MPFR_RNDN); break;
    default: mpfr_const_euler(x, MPFR_RNDN); break;
  }
  return x;
}

// Integer part, ".", then `fractionDigits` truncated digits. Every value is
// above 1/16, so the integer part has `exponent` digits in the radix, or is
// "0" when `exponent` is 0.
// MPFR rounds each value correctly at 96 bits beyond the last digit asked
// for, and the truncation of that approximation is the truncation of the
// true value unless the true digits after the last one start with a run of
// about 28 decimal (24 hexadecimal) zeros or nines (f's).
const std::string& textOf(uint32_t id, uint32_t n, int radix, size_t fractionDigits) {
  std::lock_guard<std::mutex> lock(guard);
  std::string& text = texts[{id, n, radix, fractionDigits}];
  if (!text.empty()) return text;
  const size_t total = (radix == 10 ? 10 : 8) + fractionDigits;  // integer part below 2^32
  const double bitsPerDigit = radix == 10 ? std::log2(10.0) : 4.0;
  mpfr_ptr x = valueWithBits(id, n, static_cast<mpfr_prec_t>(total * bitsPerDigit) + 96);
  mpfr_exp_t exponent = 0;
  mpfr_free_str(mpfr_get_str(nullptr, &exponent, radix, 2, x, MPFR_RNDZ));
  char* digits = mpfr_get_str(nullptr, &exponent, radix, size_t(exponent) + fractionDigits, x, MPFR_RNDZ);
  std::string all(digits);
  mpfr_free_str(digits);
  text = (exponent == 0 ? "0" : all.substr(0, exponent)) + "." + all.substr(exponent);
  return text;
}

}  // namespace

const std::string& constantText(uint32_t constantId, uint32_t n, int radix, size_t fractionDigits) {
  return textOf(constantId, n, radix, fractionDigits);
}
const std::string& piText(int radix, size_t fractionDigits) {
  return textOf(constantPi, 0, radix, fractionDigits);
}

}  // namespace mpfrdigits
