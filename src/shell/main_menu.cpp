// Banner and main menu. One choice is read and run once; the caller (main)
// then ends the program.
#include "shell/main_menu.h"

#include "bench/batch.h"
#include "bench/benchmark.h"
#include "bench/validate.h"
#include "constants/compute_settings.h"
#include "platform/console.h"
#include "platform/version.h"
#include "shell/custom_menu.h"
#include "shell/driver.h"
#include "shell/settings_init.h"
#include "shell/info_screens.h"
#include "stress/stress.h"
#include "tools/compare_digits.h"
#include "tools/digit_viewer.h"

namespace {

// Console width that the banner's title and rule fill.
constexpr int bannerWidth = 80;

void printBlanks(int count) {
  for (int i = 0; i < count; ++i) printWide(" ");
}

// One line of the main menu: colour, option column, text, and whether a
// blank line closes its colour group.
struct MenuLine {
  int color;
  const char* option;
  const char* text;
  bool groupEnd;
};

const MenuLine menuLines[] = {
    {11, "  0     ", "    Benchmark Pi\n", false},
    {11, "  1     ", "    Validate a Pi Benchmark\n", false},
    {11, "  2     ", "    Batch Benchmark Pi  (run multiple benchmarks)\n", false},
    {11, "  3     ", "    Stress Test (beta)\n", true},
    {14, "  4     ",
     "    Custom Compute a Constant\n"
     "                -   Compute other constants (e, Golden Ratio, etc...)\n"
     "                -   Choose your own settings\n",
     true},
    {10, "  5     ", "    Digit Viewer        (view digits from .txt and .zdg files)\n", false},
    {10, "  6     ", "    Compare Digits      (compare digits from different runs)\n", true},
    {3, "  7     ", "    About\n", false},
    {3, "  8     ", "    A Word of Warning...\n", false},
};

void printMenuOptions() {
  for (const MenuLine& line : menuLines) {
    setColor(line.color);
    printWide(line.option);
    printWide(line.text);
    if (line.groupEnd) printWide("\n");
  }
  colorDefault();
  printWide("\n");
}

// Option 4: a custom computation with the default record.
void customCompute() {
  ComputeSettings settings;
  initComputeSettings(nullptr, &settings);
  customComputeMenu(&settings);  // edits the record; returns on "Start Computation!"
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
    case 0:
      benchmarkPiMenu();
      break;
    case 1:
      validateBenchmark();
      break;
    case 2:
      batchBenchmarkMenu();
      break;
    case 3:
      stressTestMenu();
      break;
    case 4:
      customCompute();
      break;
    case 5:
      digitViewerMenu();
      break;
    case 6:
      compareDigitsMenu();
      break;
    case 7:
      showAbout();
      break;
    case 8:
      showWarning();
      break;
  }
}
