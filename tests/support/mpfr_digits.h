// Reference digit texts of every constant from MPFR, in the layout of the program's digit
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

// The text of a constant by its id (constantPi, ...; n is the radicand of
// constantSqrtN) with `fractionDigits` digits after the point in `radix`
// (10 or 16); a value below one has the integer part "0".
const std::string& constantText(uint32_t constantId, uint32_t n, int radix, size_t fractionDigits);
// pi.
const std::string& piText(int radix, size_t fractionDigits);

}  // namespace mpfrdigits
