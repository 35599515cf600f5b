// The benchmark run with its checks at a small size, in a temporary folder:
// success with a validation record that validates, and each failure path.
#include "bench/benchmark.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "arith/multiply.h"
#include "bench/bbp.h"
#include "bench/validate.h"
#include "constants/compute_settings.h"
#include "platform/console.h"
#include "platform/files.h"
#include "platform/version.h"
#include "support/death_console.h"
#include "support/mpfr_digits.h"
#include "support/run_program.h"

namespace {

constexpr uint64_t smallDigits = 20000;

int64_t expectedLastDigits(uint64_t digits) {
  const std::string& text = mpfrdigits::piText(10, digits);
  return std::stoll(text.substr(text.size() - 10));
}

// Runs in a fresh folder and goes back (and removes it) afterwards.
struct InTempFolder {
  std::string folder = makeTempFolder();
  char previous[4096];
  InTempFolder() {
    EXPECT_NE(getcwd(previous, sizeof(previous)), nullptr);
    EXPECT_EQ(chdir(folder.c_str()), 0);
  }
  ~InTempFolder() {
    EXPECT_EQ(chdir(previous), 0);
    removeTree(folder);
  }
};

// The value after a key of Validation.txt, up to the CR LF.
std::string field(const std::string& text, const std::string& key) {
  size_t at = text.find(key);
  if (at == std::string::npos) return "";
  at += key.size();
  return text.substr(at, text.find("\r\n", at) - at);
}

TEST(BenchmarkSettings, FillsARecordOrRefusesTheSize) {
  ComputeSettings settings;
  EXPECT_EQ(setupBenchmarkSettings(nullptr, &settings, constantPi, 0, 0, 1048576, 1, nullptr,
                                   nullptr, computeModeRamOnly),
            nullptr);
  EXPECT_EQ(settings.constantId, constantPi);
  EXPECT_EQ(settings.algorithm, 0u);
  EXPECT_EQ(settings.decimalDigits, 1048576u);
  EXPECT_EQ(settings.hexDigits, 870824u);
  EXPECT_EQ(settings.threadPower, 1u);
  EXPECT_EQ(settings.digitsPerFile, 0);
  EXPECT_EQ(settings.computeMode, computeModeRamOnly);
  EXPECT_GT(settings.memoryNeeded, 0u);
  EXPECT_STREQ(settings.decimalFileStem, "Pi - Dec - Chudnovsky");
  releaseComputeSettings(&settings);

  EXPECT_STREQ(setupBenchmarkSettings(nullptr, &settings, constantPi, 0, 0, 10, 0, nullptr, nullptr,
                                      computeModeRamOnly),
               "# of digits is out of range");
  releaseComputeSettings(&settings);
  EXPECT_STREQ(setupBenchmarkSettings(nullptr, &settings, constantPi, 0, 0, 2500000000000000ull, 0,
                                      nullptr, nullptr, computeModeRamOnly),
               "# of digits is out of range");
  releaseComputeSettings(&settings);
  // Hexadecimal digits keep their count.
  EXPECT_EQ(setupBenchmarkSettings(nullptr, &settings, constantE, 1, 0, 1000, 0, nullptr, nullptr,
                                   computeModeRamOnly),
            nullptr);
  EXPECT_EQ(settings.hexDigits, 1000u);
  releaseComputeSettings(&settings);
}

TEST(BenchmarkTables, EndRowsAndTheNineDigitValue) {
  EXPECT_EQ(benchmarkSizes[benchmarkSizeCount].digits, 0u);
  EXPECT_EQ(benchmarkSizes[benchmarkSizeCount + 3].digits, 2500000000000ull);
  EXPECT_EQ(powerOfTwoLastDigits[38], -1);
  EXPECT_EQ(expectedLastDigits(1048576), powerOfTwoLastDigits[20]);
  EXPECT_EQ(expectedLastDigits(2097152), powerOfTwoLastDigits[21]);
}

TEST(BenchmarkFile, LastTenDigitsWithALeadingZero) {
  InTempFolder here;
  FILE* f = fopen("digits.txt", "wb");
  fputs("3.14159265350187751592", f);
  fclose(f);
  EXPECT_EQ(lastTenDigitsOfFile("digits.txt"), 187751592);
}

TEST(Benchmark, SmallRunValidatesAndItsRecordChecksOut) {
  InTempFolder here;
  std::string out;
  consoleCaptureTo(&out);
  runPiBenchmark(smallDigits, 1, expectedLastDigits(smallDigits));
  consoleCaptureTo(nullptr);
  EXPECT_NE(out.find("Benchmark Successful. The digits appear to be OK."), std::string::npos);
  EXPECT_NE(out.find("checked by BBP digit extraction: OK"), std::string::npos);
  EXPECT_NE(out.find("Digits:         20,000\n"), std::string::npos);

  std::string record = readWholeFile("Validation.txt");
  EXPECT_EQ(field(record, "Program Version:    "), versionLine);
  EXPECT_EQ(field(record, "Thread(s):          2^"), "1");
  EXPECT_EQ(field(record, "Digits:             "), "20000");
  std::string name = field(record, "Processor(s):       ");
  std::string hz = field(record, "CPU Frequency:      ");
  std::string checksum = field(record, "Checksum:           ");
  ASSERT_EQ(checksum.size(), 32u);
  double seconds = std::stod(field(record, "Total Time:         "));

  char nameBytes[48] = {};
  memcpy(nameBytes, name.data(), name.size());
  float validated = 0;
  ASSERT_TRUE(validationTime(versionLine, nameBytes, std::stoull(hz), 1, smallDigits,
                             checksum.c_str(), &validated));
  EXPECT_NEAR(validated, seconds, 0.0011);
  EXPECT_FALSE(validationTime(versionLine, nameBytes, std::stoull(hz), 0, smallDigits,
                              checksum.c_str(), &validated));
}

TEST(BenchmarkDeathTest, EachFailedCheckEndsWithItsMessage) {
  InTempFolder here;
  const int64_t expected = expectedLastDigits(smallDigits);
  EXPECT_EXIT(
      {
        consoleToStandardError();
        benchmarkCorruptLastDigitForTesting(true);
        runPiBenchmark(smallDigits, 0, expected);
      },
      ::testing::ExitedWithCode(1),
      "Benchmark Failed. The digits are not correct. Please check your hardware.");
  EXPECT_FALSE(pathExists("Validation.txt"));
  EXPECT_EXIT(
      {
        consoleToStandardError();
        errorCount = 1;
        runPiBenchmark(smallDigits, 0, expected);
      },
      ::testing::ExitedWithCode(1),
      "The digits are correct, but errors were detected and fixed via ECC.\nAs a computation, it "
      "is sucessful. But as a benchmark, it fails.");
  EXPECT_FALSE(pathExists("Validation.txt"));
  for (int place : {0, 7}) {
    EXPECT_EXIT(
        {
          consoleToStandardError();
          bbpCorruptHexDigitForTesting(place);
          runPiBenchmark(smallDigits, 0, expected);
        },
        ::testing::ExitedWithCode(1),
        "The hexadecimal digits disagree with BBP digit extraction. Please check your hardware.");
  }
  EXPECT_FALSE(pathExists("Validation.txt"));
}

}  // namespace
