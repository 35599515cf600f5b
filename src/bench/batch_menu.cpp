// The batch's settings screen, its sub-menus and the three ladders of sizes.
#include <cstdint>

#include "bench/batch.h"
#include "bench/benchmark.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "shell/custom_menu.h"

namespace {

struct BatchType {
  const char* settingName;  // on the settings screen
  const char* menuText;     // in the type question
  uint64_t defaultStart;
  uint64_t defaultEnd;
};

const BatchType batchTypes[] = {
    {"Standard Sizes (25m, 50m, 100m, etc...)",
     "   Standard Sizes: 25m, 50m, 100m, etc...\n\n"
     "       Standard benchmark sizes\n"
     "       Computed digits are verified against a known checksum.\n",
     25000000, 50000000},
    {"SuperPi Sizes (1M, 2M, 4M, etc...)",
     "   SuperPi Sizes: 1M, 2M, 4M, etc...\n\n"
     "       SuperPi-sized benchmarks\n"
     "       Computed digits are verified against a known checksum.\n",
     1048576, 33554432},
    {"Dense (1m, 1.2m, 1.5m, 2m, 2.5m, etc...)",
     "   Dense: 1m, 1.2m, 1.5m, 2m, 2.5m, etc...\n\n"
     "       Dense benchmarks\n"
     "       No checksums are available to verify computations.\n"
     "       This option is mainly for obtaining performance graphs.\n",
     10000, 50000000},
};

// The Dense ladder's steps within a decade, and its range.
const uint64_t denseSteps[] = {10, 12, 15, 20, 25, 40, 50, 75};
constexpr uint64_t denseFirst = 10000;
constexpr uint64_t denseLast = 100000000000ull;

uint32_t powerOfTwoLast() {
  uint32_t i = powerOfTwoFirst;
  while (powerOfTwoLastDigits[i + 1] != -1) ++i;
  return i;
}

void printSettingLine(uint32_t option, const char* key) {
  printNarrow("  %u     ", option);
  printWide(key);
}

void printSizeValue(uint64_t digits) {
  colorGreen(true);
  printGrouped(digits, 0);
  printWide("  decimal digits");
  colorDefault();
  printWide("\n");
}

}  // namespace

uint64_t batchFirstSize(int32_t type) {
  if (type == batchStandard) return benchmarkSizes[0].digits;
  if (type == batchSuperPi) return uint64_t(1) << powerOfTwoFirst;
  return denseFirst;
}

uint64_t batchLastSize(int32_t type) {
  if (type == batchStandard) return benchmarkSizes[benchmarkSizeCount - 1].digits;
  if (type == batchSuperPi) return uint64_t(1) << powerOfTwoLast();
  return denseLast;
}

uint64_t batchNextSize(int32_t type, uint64_t size) {
  if (size < batchFirstSize(type)) return batchFirstSize(type);
  if (size >= batchLastSize(type)) return 0;
  if (type == batchStandard) {
    uint32_t i = 0;
    while (benchmarkSizes[i].digits <= size) ++i;
    return benchmarkSizes[i].digits;
  }
  if (type == batchSuperPi) {
    uint64_t next = uint64_t(1) << powerOfTwoFirst;
    while (next <= size) next <<= 1;
    return next;
  }
  for (uint64_t decade = denseFirst / 10;; decade *= 10) {
    for (uint64_t step : denseSteps) {
      if (step * decade > size) return step * decade;
    }
  }
}

int64_t batchExpectedDigits(int32_t type, uint64_t size) {
  if (type == batchStandard) {
    for (uint32_t i = 0; i < benchmarkSizeCount; ++i) {
      if (benchmarkSizes[i].digits == size) return benchmarkSizes[i].lastDigits;
    }
  } else if (type == batchSuperPi) {
    for (uint32_t i = powerOfTwoFirst; powerOfTwoLastDigits[i] != -1; ++i) {
      if ((uint64_t(1) << i) == size) return powerOfTwoLastDigits[i];
    }
  }
  return -1;
}

void initBatchSettings(BatchSettings* batch) {
  batch->batchType = batchStandard;
  batch->startSize = 25000000;
  batch->endSize = 50000000;
  batch->threadPower = defaultThreadPower();
  batch->maxIterations = 3;
  batch->stopAfterSeconds = 10;
  clockStart(&batch->clock);
}

void menuBatchType(BatchSettings* batch) {
  printWide("What sizes would you like to benchmark?\n\n");
  for (uint32_t i = 0; i < 3; ++i) {
    printNarrow("  %u", i);
    printWide(batchTypes[i].menuText);
    printWide("\n");
  }
  int32_t type = int32_t(readMenuOption("option: ", 0, 2));
  batch->batchType = type;
  batch->startSize = batchTypes[type].defaultStart;
  batch->endSize = batchTypes[type].defaultEnd;
}

void menuBatchSize(BatchSettings* batch, bool end) {
  printWide(end ? "Select the ending size:\n\n" : "Select the starting size:\n\n");
  printWide("Option      Decimal Digits          Approx. Memory Needed\n\n");
  const int32_t type = batch->batchType;
  uint32_t option = 0;
  for (uint64_t size = batchFirstSize(type); size != 0; size = batchNextSize(type, size)) {
    printNarrow("%3u", ++option);
    colorGreen(true);
    printGrouped(size, 23);
    printWide("                ");
    colorYellow(true);
    printBytes(benchmarkMemory(size, batch->threadPower));
    colorDefault();
    printWide("\n");
  }
  printWide("\n");
  uint32_t choice = readMenuOption("option: ", 1, option);
  uint64_t size = batchFirstSize(type);
  while (--choice > 0) size = batchNextSize(type, size);
  (end ? batch->endSize : batch->startSize) = size;
}

void batchMenu(BatchSettings* batch) {
  for (;;) {
    printWide("Batch Benchmark Pi\n\n\n");
    printWide("Current Settings: (select option # to change setting)\n\n");
    printSettingLine(1, "Batch Type:       ");
    colorCyan(true);
    printWide(batchTypes[batch->batchType].settingName);
    colorDefault();
    printWide("\n");
    printSettingLine(2, "Starting Size:    ");
    printSizeValue(batch->startSize);
    printSettingLine(3, "Ending Size:      ");
    printSizeValue(batch->endSize);
    printSettingLine(4, "Threading Mode:    ");
    colorCyan(true);
    if (batch->threadPower == 0) {
      printWide("Multi-Threading Disabled");
    } else {
      printNarrow("%llu threads", 1ull << batch->threadPower);
    }
    colorDefault();
    printWide("\n");
    printSettingLine(5, "Stop looping each size after:   ");
    printNarrow("%llu seconds\n", (unsigned long long)batch->stopAfterSeconds);
    printSettingLine(6, "Max Iterations per size:        ");
    printNarrow("%u\n\n", batch->maxIterations);
    printWide("Memory Needed:      ");
    colorYellow(true);
    printBytes(benchmarkMemory(batch->endSize, batch->threadPower));
    colorDefault();
    printWide("\n\n  0     Start Benchmarks!\n\n");

    switch (readMenuOption("option: ", 0, 6)) {
      case 0:
        return;
      case 1:
        menuBatchType(batch);
        break;
      case 2:
        menuBatchSize(batch, false);
        break;
      case 3:
        menuBatchSize(batch, true);
        break;
      case 4:
        batch->threadPower = readThreadPower();
        break;
      case 5:
        batch->stopAfterSeconds = readMenuCount("Seconds = ", 0, UINT64_MAX);
        break;
      case 6:
        batch->maxIterations = uint32_t(readMenuCount("Iterations = ", 0, UINT32_MAX));
        break;
    }
  }
}
