// The two digit-count menus of the custom computation menu, and the undo of
// a size that would need Advanced Swap.
#include "platform/console.h"
#include "shell/custom_menu.h"
#include "shell/estimate.h"

namespace {

// Prints `prompt` and reads a 64-bit count in colour 11. Text that is not a
// number asks again without a message.
uint64_t readDigitCount(const char* prompt) {
  for (;;) {
    printWide(prompt);
    colorCyan(true);
    uint64_t value = 0;
    bool ok = readUnsigned64(&value);
    colorDefault();
    if (ok) return value;
  }
}

// The rule of the decimal menu: at least smallestMenuWords words, at most the
// constant's digit limit.
bool decimalCountValid(const ComputeSettings* settings) {
  return settings->wordCount >= smallestMenuWords &&
         settings->decimalDigits <= settings->digitLimit;
}

void printInputError(int color, const char* detail) {
  setColor(color);
  printWide("Error: ");
  printWide(detail);
  colorDefault();
  printWide("\n");
}

}  // namespace

bool refuseAdvancedSwap(ComputeSettings* settings, uint64_t oldDecimalDigits, uint32_t oldMode) {
  if (settings->wordCount <= advancedSwapWords) return false;
  colorYellow(true);
  printWide(
      "Computing this many digits will require Advanced Swap Mode.\n"
      "This feature has not been implemented yet.");
  colorDefault();
  printWide("\n\n");
  runPause();
  setDecimalDigits(settings, oldDecimalDigits);
  if (decimalCountValid(settings)) estimateResources(settings);
  settings->computeMode = oldMode;
  printWide("\n");
  estimateResources(settings);
  return true;
}

void menuDecimalDigits(ComputeSettings* settings) {
  uint64_t oldDecimalDigits = settings->decimalDigits;
  uint32_t oldMode = settings->computeMode;
  printWide("Select the # of decimal digits to compute:\n\n");
  for (;;) {
    setDecimalDigits(settings, readDigitCount("Digits: "));
    if (decimalCountValid(settings)) break;
    printInputError(14, "# of digits is out of range");
  }
  printWide("\n");
  estimateResources(settings);
  refuseAdvancedSwap(settings, oldDecimalDigits, oldMode);
}

void menuHexDigits(ComputeSettings* settings) {
  uint64_t oldDecimalDigits = settings->decimalDigits;
  uint32_t oldMode = settings->computeMode;
  printWide("Select the # of hexadecimal digits to compute:\n\n");
  for (;;) {
    uint64_t hexDigits = readDigitCount("Digits: ");
    // A count above the limit is over it in decimal too (a hexadecimal digit
    // is worth more than one decimal digit); refusing it first keeps the
    // decimal product within 64 bits.
    if (hexDigits <= settings->digitLimit) {
      setHexDigits(settings, hexDigits);
      if (settings->decimalDigits <= settings->digitLimit) break;
    }
    printInputError(12, "Digit Limit Exceeded");
  }
  printWide("\n");
  estimateResources(settings);
  refuseAdvancedSwap(settings, oldDecimalDigits, oldMode);
}
