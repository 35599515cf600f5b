// The benchmark menus and the run with its checks.
#include "bench/benchmark.h"

#include <cstdlib>
#include <cstring>

#include "arith/multiply.h"
#include "bench/checksum.h"
#include "bench/clock.h"
#include "bench/report.h"
#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/threads.h"
#include "shell/custom_menu.h"
#include "shell/driver.h"
#include "shell/estimate.h"
#include "shell/settings_init.h"

namespace {

bool corruptLastDigit = false;

constexpr uint32_t largestBenchmarkThreadPower = 8;

void printSizeHeader() {
  printWide("Option      Decimal Digits          Approx. Memory Needed\n\n");
}

void listStandardSizes(uint32_t threadPower) {
  for (uint32_t i = 0; benchmarkSizes[i].digits != 0; ++i) {
    printNarrow("%3u", i + 1);
    colorGreen(true);
    printGrouped(benchmarkSizes[i].digits, 23);
    printWide("                ");
    colorYellow(true);
    printBytes(benchmarkMemory(benchmarkSizes[i].digits, threadPower));
    colorDefault();
    printWide("\n");
  }
}

// Returns the largest exponent listed.
uint32_t listPowerOfTwoSizes(uint32_t threadPower) {
  static const char* const units[] = {" ", "K", "M", "G", "T"};
  static const char* const multiples[] = {"  1", "  2", "  4", "  8", " 16",
                                          " 32", " 64", "128", "256", "512"};
  uint32_t last = powerOfTwoFirst;
  for (uint32_t i = powerOfTwoFirst; powerOfTwoLastDigits[i] != -1; ++i) {
    uint64_t digits = uint64_t(1) << i;
    printNarrow("%3u", i);
    colorGreen(true);
    printWide("    ");
    printWide(multiples[i % 10]);
    printWide(units[i / 10]);
    printWide("   - ");
    printGrouped(digits, 17);
    printWide("            ");
    colorYellow(true);
    printBytes(benchmarkMemory(digits, threadPower));
    colorDefault();
    printWide("\n");
    last = i;
  }
  return last;
}

void corruptFileLastDigit(const char* path) {
  uint64_t size = fileSize(path);
  if (size == 0) return;
  int fd = fileOpenWrite(path);
  char digit;
  fileReadAt(fd, size - 1, &digit, 1);
  digit = digit == '9' ? '0' : char(digit + 1);
  fileWriteAt(fd, size - 1, &digit, 1);
  fileClose(fd);
}

}  // namespace

uint64_t benchmarkMemory(uint64_t digits, uint32_t threadPower) {
  ComputeSettings sizes;
  memset(&sizes, 0, sizeof(sizes));
  setDecimalDigits(&sizes, digits);
  uint64_t memory = 0, disk = 0;
  estimatePi(sizes.wordCount, threadPower, 0, computeModeRamOnly, &memory, &disk);
  return memory;
}

void benchmarkCorruptLastDigitForTesting(bool corrupt) { corruptLastDigit = corrupt; }

const char* setupBenchmarkSettings(Heap* heap, ComputeSettings* settings, uint32_t constantId,
                                   uint32_t hexFlag, uint32_t algorithm, uint64_t digits,
                                   uint32_t threadPower, char* outputPath, PathList* swapPaths,
                                   uint32_t mode) {
  initComputeSettings(heap, settings);
  selectConstant(heap, settings, constantId);
  buildFileStems(heap, settings);
  estimateResources(settings);
  settings->algorithm = algorithm;
  buildFileStems(heap, settings);
  estimateResources(settings);
  if (hexFlag) {
    setHexDigits(settings, digits);
  } else {
    setDecimalDigits(settings, digits);
  }
  if (settings->wordCount < smallestMenuWords || settings->decimalDigits > settings->digitLimit) {
    return "# of digits is out of range";
  }
  estimateResources(settings);
  setThreadPower(settings, threadPower);
  settings->digitsPerFile = 0;
  free(settings->outputPath);
  settings->outputPath = outputPath;
  settings->swapPaths = swapPaths;
  setComputeMode(settings, mode);
  return nullptr;
}

int64_t lastTenDigitsOfFile(const char* path) {
  uint64_t size = fileSize(path);
  if (size < 10) fatalMessage("Error Reading File.");
  int fd = fileOpenRead(path);
  char text[10];
  fileReadAt(fd, size - 10, text, 10);
  fileClose(fd);
  int64_t value = 0;
  for (char c : text) value = value * 10 + (c - '0');
  return value;
}

double benchmarkPiRun(ClockInfo* info, uint64_t decimalDigits, uint32_t threadPower,
                      int64_t expectedLastDigits) {
  ComputeSettings settings;
  const char* refused = setupBenchmarkSettings(nullptr, &settings, constantPi, 0, 0, decimalDigits,
                                               threadPower, nullptr, nullptr, computeModeRamOnly);
  if (refused != nullptr) fatalMessage(refused);
  settings.benchmarkFlag = 1;
  globalThreadPower = threadPower;
  compareFrequency(info, measureFrequency());

  double seconds = runComputation(nullptr, &settings);

  compareFrequency(info, measureFrequency());
  char* decimalPath = digitFileName(&settings, 10, 0);
  releaseComputeSettings(&settings);

  printWide("\n");
  if (corruptLastDigit) corruptFileLastDigit(decimalPath);
  int64_t lastDigits = lastTenDigitsOfFile(decimalPath);
  free(decimalPath);
  if (expectedLastDigits != -1 && lastDigits != expectedLastDigits) {
    fatalMessage("Benchmark Failed. The digits are not correct. Please check your hardware.");
  }
  return seconds;
}

void printBenchmarkSuccess() {
  colorGreen(true);
  printWide("Benchmark Successful. The digits appear to be OK.");
  colorDefault();
  printWide("\n\n");
}

void runPiBenchmark(uint64_t decimalDigits, uint32_t threadPower, int64_t expectedLastDigits) {
  ClockInfo info;
  clockStart(&info);
  double seconds = benchmarkPiRun(&info, decimalDigits, threadPower, expectedLastDigits);
  if (errorCount != 0) {
    fatalMessage(
        "The digits are correct, but errors were detected and fixed via ECC.\n"
        "As a computation, it is sucessful. But as a benchmark, it fails.");
  }
  printBenchmarkSuccess();

  clockFinish(&info);
  makeChecksum(&info, decimalDigits, threadPower, seconds);
  writeValidationFile("Validation.txt", &info, threadPower, decimalDigits, seconds);
  printValidation(&info, threadPower, decimalDigits, seconds);
}

void benchmarkPiMenu() {
  printWide("Benchmark Pi:\n\n");
  uint32_t threadPower = 0;
  while (threadPower < largestBenchmarkThreadPower &&
         (uint64_t(1) << threadPower) < processorCount()) {
    ++threadPower;
  }
  if (threadPower != 0) {
    printWide("Select a Benchmark Type:\n\n");
    printWide("  0     ");
    colorGreen(true);
    printWide("Single-Threaded");
    colorDefault();
    printWide("\n  1     ");
    colorGreen(true);
    printWide("Multi-Threaded");
    colorDefault();
    printWide("\n\n");
    if (readMenuOption("option: ", 0, 1) == 0) threadPower = 0;
  }

  printWide("Select a Benchmark Size:\n\n");
  ComputeSettings settings;
  initComputeSettings(nullptr, &settings);
  settings.threadPower = threadPower;
  printSizeHeader();
  listStandardSizes(threadPower);
  colorCyan(true);
  printWide("  0     I prefer SuperPi sizes... (1M, 2M, 4M...)");
  colorDefault();
  printWide("\n\n");
  uint32_t row = readMenuOption("option: ", 0, benchmarkSizeCount);

  uint64_t digits;
  int64_t expected;
  if (row != 0) {
    digits = benchmarkSizes[row - 1].digits;
    expected = benchmarkSizes[row - 1].lastDigits;
  } else {
    printSizeHeader();
    uint32_t last = listPowerOfTwoSizes(threadPower);
    printWide("\n");
    uint32_t exponent = readMenuOption("option: ", powerOfTwoFirst, last);
    digits = uint64_t(1) << exponent;
    expected = powerOfTwoLastDigits[exponent];
  }
  releaseComputeSettings(&settings);
  runPiBenchmark(digits, threadPower, expected);
}
