// The validation dialogue as typed, and the report's texts and files.
#include "bench/validate.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "bench/checksum.h"
#include "bench/clock.h"
#include "bench/report.h"
#include "digits/digit_writer.h"
#include "platform/version.h"
#include "support/death_console.h"
#include "support/run_program.h"

namespace {

ClockInfo sampleClock() {
  ClockInfo info;
  memset(&info, 0, sizeof(info));
  strcpy(info.processorName, "Sample CPU @ 3.00GHz");
  info.measuredHz = 3000123456ull;
  info.counterHz = 1000000000;
  return info;
}

// The typed answers of the dialogue for a record.
std::string typedRecord(const char* version, const ClockInfo& info, const char* threads,
                        const char* digits) {
  return std::string(version) + "\n" + info.processorName + "\n" +
         std::to_string(info.measuredHz) + "\n" + threads + "\n" + digits + "\n" +
         info.checksumText + "\n";
}

std::string runDialogue(const std::string& input) {
  std::string out;
  consoleCaptureTo(&out);
  consoleInputFrom(input.c_str());
  validateBenchmark();
  consoleInputFrom(nullptr);
  consoleCaptureTo(nullptr);
  return out;
}

TEST(ValidateDialogue, PrintsTheTimeOfAGenuineRecord) {
  ClockInfo info = sampleClock();
  makeChecksum(&info, 50000000, 3, 123.456);
  EXPECT_EQ(strlen(info.checksumText), 32u);
  EXPECT_EQ(checksumNewSalt() >> 60, 0u);
  std::string out = runDialogue(typedRecord(versionLine, info, "3", "50000000"));
  EXPECT_NE(out.find("Enter validation data:\n\n"), std::string::npos);
  EXPECT_NE(out.find("Processor (exactly as written): "), std::string::npos);
  EXPECT_NE(out.find("Validated Time: 123.456"), std::string::npos) << out;
  // A thread power of 9 or more is asked again without a message.
  out = runDialogue(typedRecord(versionLine, info, "9\n12\n3", "50000000"));
  EXPECT_EQ(countOccurrences(out, "Threads:    "), 3u);
  EXPECT_NE(out.find("Validated Time: 123.456"), std::string::npos) << out;
}

TEST(ValidateDialogue, OldRecordsStartWithABlank) {
  ClockInfo info = sampleClock();
  uint64_t salt = 0x123456789abcdefull;
  uint64_t a, b;
  checksumCompose(salt, checksumFieldMix(nullptr, info.processorName, info.measuredHz, 0, 1000000,
                                         salt),
                  7.5f, &a, &b);
  checksumEncode(a, b, info.checksumText);
  std::string out = runDialogue(typedRecord(" ", info, "0", "1000000"));
  EXPECT_NE(out.find("Validated Time: 7.5"), std::string::npos) << out;
}

TEST(ValidateDialogueDeathTest, AChangedFieldIsAnInvalidChecksum) {
  ClockInfo info = sampleClock();
  makeChecksum(&info, 50000000, 3, 123.456);
  std::string typed = typedRecord(versionLine, info, "3", "50000001");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        consoleInputFrom(typed.c_str());
        validateBenchmark();
      },
      ::testing::ExitedWithCode(1), "Invalid Checksum");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        const std::string unfinished = typedRecord(versionLine, info, "3", "");
        consoleInputFrom(unfinished.c_str());
        validateBenchmark();
      },
      ::testing::ExitedWithCode(1), "Unexpected end of input.");
}

TEST(Report, RecordTimes) {
  EXPECT_EQ(formatRecordTime(61.005), "61.005");
  EXPECT_EQ(formatRecordTime(61.05), "61.050");
  EXPECT_EQ(formatRecordTime(0.0004), "0.000");
  EXPECT_EQ(formatRecordTime(1234.9999), "1234.999");
}

TEST(Report, ValidationFileAndConsole) {
  std::string folder = makeTempFolder();
  std::string path = folder + "/Validation.txt";
  ClockInfo info = sampleClock();
  strcpy(info.checksumText, "0123456789abcdef0123456789abcdef");
  writeValidationFile(path.c_str(), &info, 2, 25000000, 61.005);
  EXPECT_EQ(readWholeFile(path),
            "Program Version:    0.4.3 Build 7681 (x64 SSE3)\r\n"
            "Processor(s):       Sample CPU @ 3.00GHz\r\n"
            "CPU Frequency:      3000123456\r\n"
            "Thread(s):          2^2\r\n"
            "Digits:             25000000\r\n"
            "Total Time:         61.005\r\n"
            "Checksum:           0123456789abcdef0123456789abcdef\r\n");

  std::string out;
  consoleCaptureTo(&out);
  info.frequencyInaccurate = 1;
  printValidation(&info, 2, 25000000, 61.005);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out,
            "Version:        0.4.3 Build 7681 (x64 SSE3)\n"
            "Processor(s):   Sample CPU @ 3.00GHz\n"
            "CPU Frequency:  3,000,123,456 Hz  (frequency may be inaccurate)\n"
            "Thread(s):      4\n"
            "Digits:         25,000,000\n"
            "Total Time:     61.005 seconds\n"
            "Checksum:       0123456789abcdef0123456789abcdef\n");

  std::string table = folder + "/Benchmarks.txt";
  DigitStream stream;
  digitStreamOpen(nullptr, &stream, table.c_str(), 4096);
  info.measuredHz = 0;
  writeBenchmarkHeader(&stream, &info, 1);
  writeBenchmarkRow(&stream, 25000000, 12.3456, "abc");
  // Each row is on disk before the file is closed.
  EXPECT_NE(readWholeFile(table).find("   25000000\t12.345\tabc\r\n"), std::string::npos);
  writeBenchmarkRow(&stream, 50000000, 30.0, nullptr);
  digitStreamClose(&stream);
  EXPECT_EQ(readWholeFile(table),
            "Program Version:\t0.4.3 Build 7681 (x64 SSE3)\r\n"
            "Processor(s):   \tSample CPU @ 3.00GHz\r\n"
            "CPU Frequency:  \tUnable to Detect\r\n"
            "Thread(s):      \t2^1\r\n\r\n"
            "Digits\tBest Time\tChecksum\r\n\r\n"
            "   25000000\t12.345\tabc\r\n"
            "   50000000\t30.000\tN/A\r\n");
  removeTree(folder);
}

TEST(Report, BatchResultWithAndWithoutChecksum) {
  ClockInfo info = sampleClock();
  strcpy(info.checksumText, "0123456789abcdef0123456789abcdef");
  std::string out;
  consoleCaptureTo(&out);
  printBatchResult(25000000, 3, 40.5, 13.25, &info, 1);
  printBatchResult(50000000, 2, 61.0, 30.0, nullptr, 1);
  consoleCaptureTo(nullptr);
  const std::string rule = "================================================================\n\n";
  EXPECT_EQ(out, rule +
                     "Benchmark Size: 25,000,000\nTotal Trials:   3\nTotal Time:     40.5 seconds\n"
                     "Best Time:      13.25 seconds\n\n"
                     "Version:        0.4.3 Build 7681 (x64 SSE3)\n"
                     "Processor(s):   Sample CPU @ 3.00GHz\n"
                     "CPU Frequency:  3,000,123,456 Hz\n"
                     "Thread(s):      2\n"
                     "Digits:         25,000,000\n"
                     "Total Time:     13.25 seconds\n"
                     "Checksum:       0123456789abcdef0123456789abcdef\n\n" +
                     rule + rule +
                     "Benchmark Size: 50,000,000\nTotal Trials:   2\nTotal Time:     61 seconds\n"
                     "Best Time:      30 seconds\n\n" +
                     rule);
}

}  // namespace
