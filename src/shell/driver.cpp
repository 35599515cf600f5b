// runComputation: header, arena, transform tables, dispatch, times, release.
#include "shell/driver.h"

#include <cstdlib>

#include "arith/fft/fft_tables.h"
#include "bench/bbp.h"
#include "constants/compute_settings.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/dispatch.h"

void printAlgorithmName(const ComputeSettings* settings) {
  colorYellow(true);
  if (settings->algorithm < algorithmCount(settings)) {
    printWide(settings->algorithmNames[settings->algorithm]);
  }
  if (settings->constantId == constantEuler) {
    uint32_t k = settings->constantParameter;
    if (settings->algorithm == 2) {
      printNarrow("  ( n = 2^%u , 2^%u )", k, k + 1);
    } else {
      printNarrow("  ( n = 2^%u )", settings->algorithm == 1 ? k + 1 : k);
    }
  }
  colorDefault();
}

namespace {

// "Constant :", "Algorithm:" (with the Euler series size), digit counts,
// threads and mode. Sets the process-wide thread power and swap paths.
void printRunHeader(const ComputeSettings* settings) {
  printWide("\n\nConstant :  ");
  setColor(constantColor(settings->constantId));
  printWide(settings->displayName != nullptr ? settings->displayName : "");
  colorDefault();
  printWide("\n");

  printWide("Algorithm:  ");
  printAlgorithmName(settings);
  printWide("\n\n");

  printWide("Decimal Digits    :   ");
  colorGreen(true);
  printGrouped(settings->decimalDigits, 0);
  colorDefault();
  printWide("\nHexadecimal Digits:   ");
  colorGreen(true);
  printGrouped(settings->hexDigits, 0);
  colorDefault();
  printWide("\n\n");

  printWide("Threads:  ");
  colorCyan(true);
  printNarrow("%llu", 1ull << settings->threadPower);
  colorDefault();
  globalThreadPower = settings->threadPower;
  printWide("\n");

  printWide("Mode   :  ");
  colorCyan(true);
  printWide(computeModeName(settings->computeMode));
  colorDefault();
  printWide("\n\n\n");
  globalSwapPaths = settings->swapPaths;
}

}  // namespace

double runComputation(void* context, ComputeSettings* settings) {
  // Before anything is reserved: a constant without a computation says so.
  if (!constantHasComputation(*settings)) {
    printWide("\n");
    printWide(settings->displayName != nullptr && settings->displayName[0] != '\0'
                  ? settings->displayName
                  : "This constant");
    printWide(" is not available in this version.\n");
    return 0.0;
  }
  uint64_t start = timerStart();
  printRunHeader(settings);

  printWide("Allocating and Reserving Memory...      ");
  settings->memoryNeeded += arenaMargin;
  settings->heap = static_cast<Heap*>(malloc(sizeof(Heap)));
  if (settings->heap == nullptr) fatalMemory();
  heapInit(nullptr, settings->heap, settings->memoryNeeded);
  colorYellow(true);
  printBytes(settings->memoryNeeded);
  colorDefault();
  printWide("\n");

  printWide("Constructing FFT lookup tables...       ");
  buildFftTables(settings->wordCount + 100, settings->threadPower);
  printWide("\n\n\n");

  printWide("Begin Computation:\n\n");
  double computeSeconds = computeConstant(settings);
  // The run's times end here; the end check of Pi's digits comes after.
  double totalSeconds = timerSeconds(start);
  checkPiHexFile(settings);

  printWide("\n\n");
  colorGreen(true);
  printWide("Total Computation Time:                 ");
  colorYellow(true);
  printTime(computeSeconds);
  colorDefault();
  printWide("\n");
  colorGreen(true);
  printWide("Total Time (including writing digits):  ");
  colorYellow(true);
  printTime(totalSeconds);
  colorDefault();
  printWide("\n\n");

  releaseFftTables();
  if (settings->heap != nullptr) {
    heapDestroy(settings->heap);
    free(settings->heap);
    settings->heap = nullptr;
  }
  return computeSeconds;
}
