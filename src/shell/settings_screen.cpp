// The settings screen of the custom computation menu: one numbered line per
// setting, then the memory (and in a swap mode the disk) that the run needs.
#include <cstdint>

#include "constants/compute_settings.h"
#include "platform/console.h"
#include "shell/custom_menu.h"
#include "shell/driver.h"

namespace {

void printAlgorithmLine(const ComputeSettings* settings) {
  printWide("  2     Algorithm:   ");
  printAlgorithmName(settings);
  printWide("\n\n");
}

void printDigitLines(const ComputeSettings* settings) {
  printWide("  3     Decimal Digits:        ");
  colorGreen(true);
  printGrouped(settings->decimalDigits, 0);
  colorDefault();
  printWide("\n  4     Hexadecimal Digits:    ");
  colorGreen(true);
  printGrouped(settings->hexDigits, 0);
  colorDefault();
  printWide("\n\n");
}

void printOutputLines(const ComputeSettings* settings) {
  printWide("  5     Threading Mode:    ");
  colorCyan(true);
  if (settings->threadPower == 0) {
    printWide("Multi-Threading Disabled");
  } else {
    printNarrow("%llu threads", 1ull << settings->threadPower);
  }
  colorDefault();
  printWide("\n  6     Write Digits To:   ");
  colorCyan(true);
  printWide(settings->outputPath != nullptr ? settings->outputPath : "Default Path");
  colorDefault();
  printWide("\n  7     Compress Output:   ");
  colorCyan(true);
  if (settings->digitsPerFile == 0) {
    printWide("No - Write digits to a text file.");
  } else if (settings->digitsPerFile == -1) {
    printWide("Yes - Compress digits into one .zdg file.");
  } else {
    printWide("Yes - Compress digits and split them into multiple\n");
    printWide("                           files with  ");
    printGrouped(uint64_t(settings->digitsPerFile), 0);
    printWide("  digits per file.");
  }
  colorDefault();
  printWide("\n\n");
}

void printModeLines(const ComputeSettings* settings) {
  bool swapping = settings->computeMode >= computeModeBasicSwap;
  printWide("  8     Computation Mode:    ");
  colorCyan(true);
  printWide(computeModeName(settings->computeMode));
  colorDefault();
  printWide("\n");
  if (swapping) {
    printWide("  9     Swap Disks:          ");
    colorCyan(true);
    if (settings->swapDiskCount == 0) {
      printWide("None Selected - Use Default Path");
    } else {
      printNarrow("%llu", (unsigned long long)settings->swapDiskCount);
    }
    colorDefault();
    printWide("\n");
  }
}

void printNeeds(const ComputeSettings* settings) {
  printWide("\n        Memory Needed:       ");
  colorYellow(true);
  printBytes(settings->memoryNeeded + arenaMargin);
  colorDefault();
  printWide("\n");
  if (settings->computeMode >= computeModeBasicSwap) {
    printWide("        Disk Needed:         ");
    colorYellow(true);
    printBytes(settings->diskNeeded);
    if (settings->swapDiskCount > 1) {
      printWide("  ( ");
      printBytes(settings->diskNeeded / settings->swapDiskCount);
      printWide(" per disk )");
    }
    colorDefault();
    printWide("\n");
  }
}

}  // namespace

void printSettingsScreen(const ComputeSettings* settings) {
  printWide("Custom Compute a Constant\n\n\n");
  printWide("Current Settings: (select option # to change setting)\n\n");
  printWide("  1     Constant:    ");
  setColor(constantColor(settings->constantId));
  printWide(settings->displayName != nullptr ? settings->displayName : "");
  colorDefault();
  printWide("\n");
  printAlgorithmLine(settings);
  printDigitLines(settings);
  printOutputLines(settings);
  printModeLines(settings);
  printNeeds(settings);
  printWide("\n  0     Start Computation!");
}
