// Basic Swap through the real program: the digit files equal Ram Only's, on
// one and on three swap folders, and no swap file is left behind.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <map>
#include <string>

#include "support/run_program.h"

namespace {

struct RunOutcome {
  ProgramResult result;
  std::map<std::string, std::string> files;
};

// Custom menu: the constant's keys, the digit count, `modeKeys`, start.
RunOutcome runConstant(const std::string& constantKeys, uint64_t digits, const std::string& modeKeys) {
  ScopedFolder folder;
  RunOutcome run{runNumbrella(folder.path,
                       "4\n" + constantKeys + "3\n" + std::to_string(digits) + "\n" + modeKeys +
                           "0\n\n",
                       900),
          {}};
  for (const std::string& name : listFolder(folder.path)) {
    if (name.find(".txt") != std::string::npos) run.files[name] = readWholeFile(folder / name);
  }
  return run;
}

// Basic Swap on `count` fresh folders; they must be empty afterwards.
RunOutcome runSwapped(const std::string& constantKeys, uint64_t digits, uint32_t count) {
  ScopedFolder swap;
  std::string keys = "8\n2\n9\n" + std::to_string(count) + "\n";
  for (uint32_t i = 0; i < count; i++) {
    const std::string path = swap / ("d" + std::to_string(i));
    mkdir(path.c_str(), 0755);
    keys += path + "\n";
  }
  RunOutcome run = runConstant(constantKeys, digits, keys);
  for (uint32_t i = 0; i < count; i++) {
    EXPECT_TRUE(listFolder(swap / ("d" + std::to_string(i))).empty()) << "swap files left";
  }
  return run;
}

// Basic Swap is offered from 5,000,000 words (about 48 million digits) on.
// Pi at 50,000,000 digits: its closing products and the base conversion
// run on paged numbers in an arena of about three quarters of Ram Only's.
// Three folders: the swap files are striped (one folder is what the disk
// products' own tests and the smaller swapped runs of the constants use).
TEST(BasicSwapProgram, PiAtFiftyMillionDigitsGivesTheFilesOfRamOnly) {
  const std::string pi = "";
  const uint64_t digits = 50000000;
  const RunOutcome ram = runConstant(pi, digits, "");
  ASSERT_EQ(ram.result.exitStatus, 0) << ram.result.out.substr(0, 4000);
  ASSERT_EQ(ram.files.size(), 2u);
  const RunOutcome swapped = runSwapped(pi, digits, 3);
  EXPECT_EQ(swapped.result.exitStatus, 0) << swapped.result.out.substr(0, 4000);
  EXPECT_NE(swapped.result.out.find("Basic Swap"), std::string::npos);
  EXPECT_EQ(swapped.result.out.find("Memory Allocation Failure."), std::string::npos);
  EXPECT_TRUE(swapped.files == ram.files) << "digit files differ from Ram Only";
}

}  // namespace
