// The loop of the custom computation menu, and the two settings that it edits
// in place: the thread count and the output format.
#include "shell/custom_menu.h"

#include "platform/console.h"
#include "shell/estimate.h"

namespace {

// Largest threadPower: 2^8 threads.
constexpr uint32_t largestThreadPower = 8;

const char* const threadsText =
    "Select a threading mode: \n\n"
    " k      Threads\n\n"
    " 0            1  (no multi-threading)\n"
    " 1            2\n"
    " 2            4\n"
    " 3            8\n"
    " 4           16\n"
    "...         ...\n\n"
    "For maximum efficiency, you should use at least as many threads as\n\n"
    "your system can simultaneously process.\n"
    "Note that if the threading mode is at least k = 1 (2 or more threads),\n"
    "numbrella will create and use MORE threads than what is specified.\n\n"
    "If you wish to obtain benchmarks using fewer threads than your system\n"
    "can support (e.g. 2 threads on a quad-core), you will need to go to\n"
    "Task Manager -> Processor Affinity, and uncheck the cores that you do\n"
    "not want numbrella to use.\n\n"
    "Otherwise, numbrella will end up using more cores than what you specify.\n";

}  // namespace

uint64_t readMenuCount(const char* prompt, uint64_t low, uint64_t high) {
  for (;;) {
    printWide(prompt);
    colorCyan(true);
    uint64_t value = 0;
    bool ok = readUnsigned64(&value);
    colorDefault();
    if (ok && value >= low && value <= high) {
      printWide("\n");
      return value;
    }
  }
}

void setThreadPower(ComputeSettings* settings, uint32_t threadPower) {
  if (threadPower > largestThreadPower) return;
  settings->threadPower = threadPower;
  estimateResources(settings);
}

void setComputeMode(ComputeSettings* settings, uint32_t mode) {
  settings->computeMode = mode;
  if (settings->wordCount >= swapFloorWords || mode < computeModeBasicSwap) {
    estimateResources(settings);
  }
}

uint32_t readThreadPower() {
  colorCyan(true);
  printWide(threadsText);
  colorDefault();
  return readMenuOption("k = ", 0, largestThreadPower);
}

void menuThreads(ComputeSettings* settings) { setThreadPower(settings, readThreadPower()); }

void menuOutputFormat(ComputeSettings* settings) {
  if (settings->hexDigits < compressionFloorHexDigits) {
    settings->digitsPerFile = 0;
    printWide("Computation is too small for compression.\n\n\n");
    return;
  }
  printWide("Select an Output Format:\n\n");
  colorGreen(true);
  printWide("  0     Write to a text file. Do not compress.\n");
  printWide("  1     Compress digits into a single .zdg file.\n");
  printWide("  2     Compress digits into multiple .zdg files with a user-specified\n");
  printWide("        number of digits per file.\n");
  colorDefault();
  printWide("\n");
  switch (readMenuOption("option: ", 0, 2)) {
    case 0:
      settings->digitsPerFile = 0;
      break;
    case 1:
      settings->digitsPerFile = -1;
      break;
    default:
      settings->digitsPerFile = int64_t(
          readMenuCount("Digits per file: ", smallestDigitsPerFile, settings->hexDigits - 1));
      break;
  }
  estimateResources(settings);
}

void customComputeMenu(ComputeSettings* settings) {
  for (;;) {
    estimateResources(settings);
    printSettingsScreen(settings);
    printWide("\n\n\n");
    uint32_t highest = settings->computeMode >= computeModeBasicSwap ? 9 : 8;
    switch (readMenuOption("option: ", 0, highest)) {
      case 0:
        return;
      case 1:
        menuConstant(settings);
        break;
      case 2:
        menuAlgorithm(settings);
        break;
      case 3:
        menuDecimalDigits(settings);
        break;
      case 4:
        menuHexDigits(settings);
        break;
      case 5:
        menuThreads(settings);
        break;
      case 6:
        menuOutputPath(settings);
        break;
      case 7:
        menuOutputFormat(settings);
        break;
      case 8:
        menuComputationMode(settings);
        break;
      case 9:
        menuSwapDisks(settings);
        break;
    }
  }
}
