// Options 0 and 1 of the real program: the smallest power-of-two benchmark,
// its Validation.txt, and the validator typed with the record's fields.
#include <gtest/gtest.h>

#include <string>

#include "platform/threads.h"
#include "support/run_program.h"

namespace {

std::string field(const std::string& text, const std::string& key) {
  size_t at = text.find(key);
  if (at == std::string::npos) return "";
  at += key.size();
  return text.substr(at, text.find("\r\n", at) - at);
}

std::string validatorInput(const std::string& name, const std::string& hz,
                           const std::string& threads, const std::string& digits,
                           const std::string& checksum) {
  return "1\n0.4.3 Build 7681 (x64 SSE3)\n" + name + "\n" + hz + "\n" + threads + "\n" + digits +
         "\n" + checksum + "\n";
}

TEST(ProgramBenchmark, SmallestSizeThenValidationOfItsRecord) {
  ScopedFolder scoped;
  const std::string& folder = scoped.path;
  // With several processors the type question comes first: multi-threaded.
  std::string input = processorCount() > 1 ? "0\n1\n0\n20\n" : "0\n0\n20\n";
  ProgramResult run = runNumbrella(folder, input, 300);
  EXPECT_EQ(run.exitStatus, 0) << run.out;
  EXPECT_EQ(run.out.find('\x1b'), std::string::npos);
  EXPECT_NE(run.out.find("Select a Benchmark Size:"), std::string::npos);
  EXPECT_NE(run.out.find(" 20      1M   -         1,048,576"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("checked by BBP digit extraction: OK"), std::string::npos);
  EXPECT_NE(run.out.find("Benchmark Successful. The digits appear to be OK.\n\n"),
            std::string::npos);

  std::string record = readWholeFile(folder + "/Validation.txt");
  std::string name = field(record, "Processor(s):       ");
  std::string hz = field(record, "CPU Frequency:      ");
  std::string threads = field(record, "Thread(s):          2^");
  std::string time = field(record, "Total Time:         ");
  std::string checksum = field(record, "Checksum:           ");
  EXPECT_EQ(field(record, "Digits:             "), "1048576");
  EXPECT_EQ(threads, processorCount() > 1 ? std::to_string(defaultThreadPower()) : "0");
  EXPECT_NE(run.out.find("Checksum:       " + checksum + "\n"), std::string::npos);

  ProgramResult good = runNumbrella(folder, validatorInput(name, hz, threads, "1048576", checksum));
  EXPECT_EQ(good.exitStatus, 0) << good.out;
  size_t at = good.out.find("Validated Time: ");
  ASSERT_NE(at, std::string::npos) << good.out;
  EXPECT_NEAR(std::stod(good.out.substr(at + 16)), std::stod(time), 0.0011);

  // A changed field (every one of them is covered by the checksum's unit tests).
  ProgramResult bad = runNumbrella(folder, validatorInput(name, hz, threads, "1048577", checksum));
  EXPECT_EQ(bad.exitStatus, 1);
  EXPECT_NE(bad.out.find("Invalid Checksum"), std::string::npos) << bad.out;
  EXPECT_EQ(bad.out.find("Validated Time"), std::string::npos);
}

// On one processor the type question is skipped; the size menu then ends
// with the input.
TEST(ProgramBenchmark, OneProcessorSkipsTheTypeQuestion) {
  ScopedFolder folder;
  ProgramResult r = runProgram("/usr/bin/taskset", folder.path, "0\n", 60,
                               {"-c", "0", NUMBRELLA_BINARY});
  EXPECT_EQ(r.exitStatus, 1);
  EXPECT_EQ(r.out.find("Select a Benchmark Type:"), std::string::npos);
  EXPECT_NE(r.out.find("Select a Benchmark Size:\n\n"
                       "Option      Decimal Digits          Approx. Memory Needed\n\n"
                       "  1             25,000,000"),
            std::string::npos)
      << r.out;
  EXPECT_NE(r.out.find("  0     I prefer SuperPi sizes... (1M, 2M, 4M...)\n\noption: "),
            std::string::npos);
  EXPECT_NE(r.out.find("Unexpected end of input."), std::string::npos);
}

}  // namespace
