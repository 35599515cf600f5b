// The "Iterating: " progress line of the Newton iterations and the rule for
// the precision of the step below.
#include <cmath>
#include <cstring>
#include <string>

#include "arith/newton/newton.h"
#include "platform/console.h"

namespace {

constexpr const char* iteratingLabel = "Iterating: ";
constexpr size_t progressColumns = 63;  // a progress line never goes past this

}  // namespace

uint64_t newtonHalfPrecision(uint64_t p) {
  if (p == 2) return 1;
  return p / 2 + 1;
}

bool newtonPrintProgress(uint64_t words) {
  ProgressPath& path = progressPath();
  const uint64_t now = wallClockMilliseconds();
  if (path.printedSinceReset && now - path.lastPrintMs < 1000) return false;
  path.lastPrintMs = now;
  path.printedSinceReset = true;

  printWide("\r");
  printWide(iteratingLabel);
  setColor(10);
  printWide(path.text);
  colorDefault();
  size_t used = strlen(iteratingLabel) + strlen(path.text);

  const uint64_t digits =
      uint64_t(std::floor(double(words) * decimalDigitsPerWord)) + 1;
  if (digits != 0) {
    std::string count = "    ( " + formatGrouped(digits, 0) + " )";
    setColor(14);
    printWide(count);
    colorDefault();
    used += count.size();
  }
  if (used < progressColumns) printWide(std::string(progressColumns - used, ' '));
  return true;
}
