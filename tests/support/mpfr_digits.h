// Reference digit texts from MPFR, in the layout of the program's digit
// files: the integer part in the chosen radix, ".", then exactly the
// requested count of digits after the point, truncated (never rounded), in
// lower case for hexadecimal, with no line end.
//
// Each value is evaluated at the largest precision asked for so far and
// kept, and so is every text: asking twice costs nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace mpfrdigits {

// The text of sqrt(n) with `fractionDigits` digits after the point in
// `radix` (10 or 16).
const std::string& sqrtText(uint32_t n, int radix, size_t fractionDigits);
// (1 + sqrt(5)) / 2.
const std::string& goldenRatioText(int radix, size_t fractionDigits);
// exp(1).
const std::string& eText(int radix, size_t fractionDigits);
// pi.
const std::string& piText(int radix, size_t fractionDigits);

}  // namespace mpfrdigits
