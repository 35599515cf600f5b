// The real program with scripted input: one option per run, the pause and
// the exit status, and a run of option 4 through the custom menu.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "constants/compute_settings.h"
#include "platform/console.h"
#include "shell/estimate.h"
#include "shell/settings_init.h"
#include "support/run_program.h"

namespace {

const std::string pauseEnd = "\n\n\nPress any key to continue . . . \n";

// Checks the parts every run shares: banner once, menu once, no escapes.
void expectOneMenu(const ProgramResult& r) {
  EXPECT_FALSE(r.timedOut);
  EXPECT_EQ(r.out.rfind("numbrella v0.4.3 Build 7681", 0), 0u);
  EXPECT_EQ(countOccurrences(r.out, "Enter your choice:\n"), 1u);
  EXPECT_EQ(r.out.find('\x1b'), std::string::npos) << "escape codes on a pipe";
  EXPECT_EQ(r.err, "");
}

TEST(Program, AboutThenPauseAndStatusZero) {
  ScopedFolder folder;
  ProgramResult r = runNumbrella(folder.path, "7\n");
  EXPECT_EQ(r.exitStatus, 0);
  expectOneMenu(r);
  expectInOrder(r.out, {"Version:  0.4.3 Build 7681 (x64 SSE3)\n",
                        "It has since gained the ability to compute other constants.\n\n"
                        "For all overclockers:\n"});
  EXPECT_TRUE(
      endsWith(r.out, "damage that may unintentionally be caused through its use.\n" + pauseEnd))
      << r.out;
  EXPECT_TRUE(listFolder(folder.path).empty());  // writes no file
}

const std::string menuText =
    "  0         Benchmark Pi\n"
    "  1         Validate a Pi Benchmark\n"
    "  2         Batch Benchmark Pi  (run multiple benchmarks)\n"
    "  3         Stress Test (beta)\n"
    "\n"
    "  4         Custom Compute a Constant\n"
    "                -   Compute other constants (e, Golden Ratio, etc...)\n"
    "                -   Choose your own settings\n"
    "\n"
    "  5         Digit Viewer        (view digits from .txt and .zdg files)\n"
    "  6         Compare Digits      (compare digits from different runs)\n"
    "\n"
    "  7         About\n"
    "  8         A Word of Warning...\n"
    "\n"
    "Enter your choice:\n";


// The menu, exactly; wrong choices only repeat the prompt; then the warning
// screen, exactly.
TEST(Program, WrongChoicesThenTheWarningScreen) {
  ScopedFolder folder;
  ProgramResult r = runNumbrella(folder.path, "9\n12\nletters\n8\n");
  EXPECT_EQ(r.exitStatus, 0);
  expectOneMenu(r);
  const std::string screen =
      menuText + "option: option: option: option: \n\n\nA Word of Warning...\n\n"
      "Performing large multi-threaded computations using this program may\n"
      "subject your computer to extremely high levels of stress for extended\n"
      "periods of time. To protect your computer, MAKE SURE that your hardware\n"
      "is stable and fit before performing large computations. I will take\n"
      "absolutely no responsibility for any damage that may be caused by this\n"
      "program.\n\n"
      "Disclaimer:\n"
      "This software is provided \"as is\", without any guarantee made to its\n"
      "suitability or fitness for any particular use. It may contain bugs so use\n"
      "of this program is at your own risk. I take no responsibility for any\n"
      "damage that may unintentionally be caused through its use.\n";
  EXPECT_TRUE(endsWith(r.out, screen + pauseEnd)) << r.out;
}

TEST(Program, EndOfInputIsFatalAtOnce) {
  ScopedFolder folder;
  for (const char* input : {"", "abc\n"}) {
    SCOPED_TRACE(input);
    ProgramResult r = runNumbrella(folder.path, input, 30);
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_FALSE(r.timedOut);
    EXPECT_TRUE(endsWith(r.out,
                         "option: \n\nUnexpected end of input.\n\n"
                         "Press any key to continue . . . \n"))
        << r.out;
    EXPECT_EQ(r.out.find("\n\n\n\nPress"), std::string::npos);  // no screen, no pause
  }
}

TEST(Program, CustomComputeRunsTheRecordOfTheMenu) {
  ScopedFolder folder;
  ProgramResult r = runNumbrella(folder.path, "4\n3\n1000\n0\n", 120);
  EXPECT_EQ(r.exitStatus, 0);
  expectOneMenu(r);
  expectInOrder(r.out, {
      "Custom Compute a Constant\n",
      "Select the # of decimal digits to compute:\n",
      "  3     Decimal Digits:        1,000\n",
      "  0     Start Computation!\n\n\noption: \n",
      "\n\nConstant :  Pi\n",
      "Algorithm:  Chudnovsky Formula\n\n",
      "Decimal Digits    :   1,000\nHexadecimal Digits:   831\n\n",
      "Mode   :  Ram Only\n\n\n",
      "Constructing FFT lookup tables...       ",
      "Begin Computation:\n\n",
      "\n\nTotal Computation Time:                 ",
      " seconds  ( ",
      "Total Time (including writing digits):  ",
      " seconds  ( ",
  });
  EXPECT_TRUE(endsWith(r.out, " hours )\n\n\n" + pauseEnd)) << r.out;
  // The arena is the estimate of the edited record plus its margin of 1 MiB.
  ComputeSettings settings;
  initComputeSettings(nullptr, &settings);
  setDecimalDigits(&settings, 1000);
  estimateResources(&settings);
  EXPECT_NE(r.out.find("Threads:  " + std::to_string(1u << settings.threadPower) + "\n"),
            std::string::npos);
  EXPECT_NE(r.out.find("Allocating and Reserving Memory...      " +
                       formatBytes(settings.memoryNeeded + 1048576) + "\n"),
            std::string::npos);
  releaseComputeSettings(&settings);
}

}  // namespace
