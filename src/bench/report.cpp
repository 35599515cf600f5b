// Validation.txt, its console form, and the rows of Benchmarks.txt.
#include "bench/report.h"

#include <cmath>
#include <cstdio>

#include "bench/clock.h"
#include "digits/digit_writer.h"
#include "platform/console.h"
#include "platform/version.h"

namespace {

constexpr uint64_t recordBytes = 1024;

void putNumber(DigitStream* stream, uint64_t value) {
  char text[24];
  snprintf(text, sizeof(text), "%llu", (unsigned long long)value);
  digitStreamPutText(stream, text);
}

void putName(DigitStream* stream, const char name[48]) {
  for (int i = 0; i < 48 && name[i] != '\0'; ++i) digitStreamPut(stream, name[i]);
}

std::string nameText(const char name[48]) {
  std::string text;
  for (int i = 0; i < 48 && name[i] != '\0'; ++i) text += name[i];
  return text;
}

}  // namespace

std::string formatRecordTime(double seconds) {
  // A micro-millisecond up keeps 61.005 (stored as 61.00499999...) at 61.005.
  uint64_t milliseconds = uint64_t(std::floor(seconds * 1000.0 + 1e-6));
  char text[32];
  snprintf(text, sizeof(text), "%llu.%03llu", (unsigned long long)(milliseconds / 1000),
           (unsigned long long)(milliseconds % 1000));
  return text;
}

void writeValidationFile(const char* path, const ClockInfo* info, uint32_t threadPower,
                         uint64_t digits, double seconds) {
  DigitStream stream;
  digitStreamOpen(nullptr, &stream, path, recordBytes);
  digitStreamPutText(&stream, "Program Version:    ");
  digitStreamPutText(&stream, versionLine);
  digitStreamPutText(&stream, "\r\nProcessor(s):       ");
  putName(&stream, info->processorName);
  digitStreamPutText(&stream, "\r\nCPU Frequency:      ");
  putNumber(&stream, info->measuredHz);
  digitStreamPutText(&stream, "\r\nThread(s):          2^");
  putNumber(&stream, threadPower);
  digitStreamPutText(&stream, "\r\nDigits:             ");
  putNumber(&stream, digits);
  digitStreamPutText(&stream, "\r\nTotal Time:         ");
  digitStreamPutText(&stream, formatRecordTime(seconds).c_str());
  digitStreamPutText(&stream, "\r\nChecksum:           ");
  digitStreamPutText(&stream, info->checksumText);
  digitStreamPutText(&stream, "\r\n");
  digitStreamClose(&stream);
}

void printValidation(const ClockInfo* info, uint32_t threadPower, uint64_t digits,
                     double seconds) {
  colorCyan(false);
  printWide("Version:        ");
  printWide(versionLine);
  printWide("\nProcessor(s):   ");
  printWide(nameText(info->processorName));
  printWide("\nCPU Frequency:  ");
  printGrouped(info->measuredHz, 0);
  printWide(" Hz");
  if (info->frequencyInaccurate == 1) printWide("  (frequency may be inaccurate)");
  printWide("\nThread(s):      ");
  printGrouped(uint64_t(1) << threadPower, 0);
  printWide("\nDigits:         ");
  printGrouped(digits, 0);
  printNarrow("\nTotal Time:     %g seconds", seconds);
  printWide("\nChecksum:       ");
  printWide(info->checksumText);
  printWide("\n");
  colorDefault();
}

void printBatchResult(uint64_t digits, uint32_t trials, double totalSeconds, double bestSeconds,
                      const ClockInfo* info, uint32_t threadPower) {
  static const char* const rule =
      "================================================================\n\n";
  printWide(rule);
  printWide("Benchmark Size: ");
  printGrouped(digits, 0);
  printNarrow("\nTotal Trials:   %u\n", trials);
  printNarrow("Total Time:     %g seconds\n", totalSeconds);
  printNarrow("Best Time:      %g seconds\n\n", bestSeconds);
  if (info != nullptr) {
    printValidation(info, threadPower, digits, bestSeconds);
    printWide("\n");
  }
  printWide(rule);
}

void writeBenchmarkHeader(DigitStream* stream, const ClockInfo* info, uint32_t threadPower) {
  digitStreamPutText(stream, "Program Version:\t");
  digitStreamPutText(stream, versionLine);
  digitStreamPutText(stream, "\r\nProcessor(s):   \t");
  putName(stream, info->processorName);
  digitStreamPutText(stream, "\r\nCPU Frequency:  \t");
  if (info->measuredHz == 0) {
    digitStreamPutText(stream, "Unable to Detect");
  } else {
    putNumber(stream, info->measuredHz);
  }
  digitStreamPutText(stream, "\r\nThread(s):      \t2^");
  putNumber(stream, threadPower);
  digitStreamPutText(stream, "\r\n\r\nDigits\tBest Time\tChecksum\r\n\r\n");
  digitStreamFlush(stream);
}

void writeBenchmarkRow(DigitStream* stream, uint64_t digits, double bestSeconds,
                       const char* checksum) {
  digitStreamPutText(stream, "   ");
  putNumber(stream, digits);
  digitStreamPutText(stream, "\t");
  digitStreamPutText(stream, formatRecordTime(bestSeconds).c_str());
  digitStreamPutText(stream, "\t");
  digitStreamPutText(stream, checksum != nullptr ? checksum : "N/A");
  digitStreamPutText(stream, "\r\n");
  digitStreamFlush(stream);
}
