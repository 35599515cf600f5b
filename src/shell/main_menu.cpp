// Banner and main menu. One choice is read and run once; the caller (main)
// then ends the program.
#include "shell/main_menu.h"

#include "constants/compute_settings.h"
#include "platform/console.h"
#include "platform/version.h"
#include "shell/driver.h"
#include "shell/estimate.h"
#include "shell/info_screens.h"

namespace {

// Console width that the banner's title and rule fill.
constexpr int bannerWidth = 80;

void printBlanks(int count) {
  for (int i = 0; i < count; ++i) printWide(" ");
}

void printMenuOptions() {
  colorCyan(true);
  printWide("  0     " "    Benchmark Pi\n");
  printWide("  1     " "    Validate a Pi Benchmark\n");
  printWide("  2     " "    Batch Benchmark Pi  (run multiple benchmarks)\n");
  printWide("  3     " "    Stress Test (beta)\n");
  printWide("\n");
  colorYellow(true);
  printWide("  4     " "    Custom Compute a Constant\n"
            "                -   Compute other constants (e, Golden Ratio, etc...)\n"
            "                -   Choose your own settings\n");
  printWide("\n");
  colorGreen(true);
  printWide("  5     " "    Digit Viewer        (view digits from .txt and .zdg files)\n");
  printWide("  6     " "    Compare Digits      (compare digits from different runs)\n");
  printWide("\n");
  colorCyan(false);
  printWide("  7     " "    About\n");
  printWide("  8     " "    A Word of Warning...\n");
  colorDefault();
  printWide("\n");
}

// Option 4: a custom computation with the default record.
void customCompute() {
  ComputeSettings settings;
  initComputeSettings(nullptr, &settings);
  estimateResources(&settings);
  // CUSTOM MENU: customComputeMenu(&settings) goes here; it edits the record
  // and returns on "Start Computation!".
  runComputation(nullptr, &settings);
  releaseComputeSettings(&settings);
}

}  // namespace

void printBanner() {
  colorGreen(false);
  printWide(programName);
  printWide(" v");
  printWide(versionBuild);
  int used = 0;
  for (const char* p = programName; *p != '\0'; ++p) ++used;
  for (const char* p = versionBuild; *p != '\0'; ++p) ++used;
  printBlanks(bannerWidth - 1 - (used + 2));
  printWide("\n");
  colorDefault();
  printWide("Distribute Freely - Please Report any Bugs\n\n");
  printWide("Version: ");
  colorGreen(true);
  printWide(versionTarget);
  printWide("\n");
  colorMagenta(false);
  printBlanks(bannerWidth);
  colorDefault();
  printWide("\n\n");
}

void mainMenu() {
  printBanner();
  printMenuOptions();
  printWide("Enter your choice:\n");
  uint32_t choice = readMenuOption("option: ", 0, 8);
  switch (choice) {
    case 0:  // Benchmark Pi: not built yet
      break;
    case 1:  // Validate a Pi Benchmark: not built yet
      break;
    case 2:  // Batch benchmarks: not built yet
      break;
    case 3:  // Stress test: not built yet
      break;
    case 4:
      customCompute();
      break;
    case 5:  // Digit Viewer: not built yet
      break;
    case 6:  // Compare Digits: not built yet
      break;
    case 7:
      showAbout();
      break;
    case 8:
      showWarning();
      break;
  }
}
