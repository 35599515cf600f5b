// Sub-menus of the custom computation menu that choose what is computed and
// how: the constant (with n for Sqrt(n)), its algorithm, and the mode.
#include <cmath>

#include "platform/console.h"
#include "shell/custom_menu.h"
#include "shell/estimate.h"

namespace {

// One line of the constant menu. The option number is the constantId.
struct ConstantLine {
  int color;
  const char* text;
  bool groupEnd;  // a blank line follows
};

const ConstantLine constantLines[] = {
    {13, "  0         Sqrt(n)\n", false},
    {13, "  1         Golden Ratio                = 1.618034...\n", true},
    {10, "  2         e                           = 2.718281...\n", false},
    {10, "  3         Pi                          = 3.141592...\n", false},
    {10, "  4         Log(2)                      = 0.693147...\n", false},
    {10, "  5         Log(10)                     = 2.302585...\n", false},
    {10, "  8         Zeta(3) (Apery's Constant)  = 1.202056...\n", true},
    {9, "  9         Catalan's Constant          = 0.915965...\n", false},
    {9, " 10         Euler-Mascheroni Constant   = 0.577215...\n", true},
};

// Largest option of the constant menu. 6 and 7 are not listed but pass: they
// select an empty constant that computes nothing.
constexpr uint32_t largestConstantOption = 10;

// Reads n for Sqrt(n): 2 to 2^32 - 1, asking again for a perfect square.
uint32_t readSquareRootArgument() {
  printWide("Square Root of n\n\n");
  for (;;) {
    uint32_t n = readMenuOption("n = ", 2, 4294967295u);
    // The root is rounded up from just below an integer; the square wraps in
    // 32 bits as the comparison intends.
    uint32_t r = uint32_t(std::sqrt(double(n)) + 0.01);
    if (r * r != n) return n;
    printWide("This number is a perfect square.\n");
    printWide("Please choose something more interesting :)\n\n");
  }
}

}  // namespace

void menuConstant(ComputeSettings* settings) {
  printWide("Compute a Constant: (in ascending order of difficulty to compute)\n\n");
  for (const ConstantLine& line : constantLines) {
    setColor(line.color);
    printWide(line.text);
    if (line.groupEnd) printWide("\n");
  }
  colorDefault();
  printWide("Enter your choice:\n");
  uint32_t id = readMenuOption("option: ", 0, largestConstantOption);
  if (id == constantSqrtN) settings->constantParameter = readSquareRootArgument();
  selectConstant(nullptr, settings, id);
  buildFileStems(nullptr, settings);
  estimateResources(settings);
}

void menuAlgorithm(ComputeSettings* settings) {
  printWide("Select an Algorithm:\n\n");
  uint32_t count = algorithmCount(settings);
  // The empty constants have nothing to choose from.
  if (count == 0) return;
  colorCyan(true);
  for (uint32_t i = 0; i < count; ++i) {
    printNarrow("%u", i + 1);
    printWide("     ");
    printWide(settings->algorithmMenuLines[i]);
    printWide("\n");
  }
  colorDefault();
  printWide("\nEnter your choice:\n");
  settings->algorithm = readMenuOption("option: ", 1, count) - 1;
  buildFileStems(nullptr, settings);
  estimateResources(settings);
}

void menuComputationMode(ComputeSettings* settings) {
  uint64_t ramMemory = 0, swapMemory = 0, disk = 0;
  estimateConstant(settings->constantId, settings->algorithm, settings->wordCount,
                   settings->threadPower, computeModeRamOnly, &ramMemory, &disk);
  bool swapOffered = settings->wordCount >= swapFloorWords;
  if (swapOffered) {
    estimateConstant(settings->constantId, settings->algorithm, settings->wordCount,
                     settings->threadPower, computeModeBasicSwap, &swapMemory, &disk);
  }
  printWide("Select a Mode:\n\n");
  printWide("Option      Mode                Approx. Memory Needed\n\n");
  colorGreen(true);
  printWide(" 1      Ram Only                    ");
  printBytes(ramMemory);
  printWide("\n");
  if (swapOffered) {
    printWide(" 2      Basic Disk Swapping         ");
    printBytes(swapMemory);
    printWide("\n");
  }
  colorDefault();
  printWide("\n");
  uint32_t mode = readMenuOption("option: ", 1, swapOffered ? 2 : 1);
  setComputeMode(settings, mode);
}
