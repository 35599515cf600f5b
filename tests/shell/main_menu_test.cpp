// Banner, main menu layout, the two text screens, the start-up checks.
#include "shell/main_menu.h"

#include <gtest/gtest.h>
#include <xmmintrin.h>

#include <cfloat>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/console.h"
#include "shell/startup.h"
#include "support/console_capture.h"

namespace {

const char* const menuText =
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
    "Enter your choice:\n"
    "option: ";

const char* const disclaimer =
    "Disclaimer:\n"
    "This software is provided \"as is\", without any guarantee made to its\n"
    "suitability or fitness for any particular use. It may contain bugs so use\n"
    "of this program is at your own risk. I take no responsibility for any\n"
    "damage that may unintentionally be caused through its use.\n";

TEST(MainMenu, BannerLayout) {
  Capture capture("");
  printBanner();
  std::string title = "numbrella v0.4.3 Build 7681";
  ASSERT_EQ(capture.text.substr(0, title.size()), title);
  size_t end = capture.text.find('\n');
  EXPECT_EQ(capture.text.find_first_not_of(' ', title.size()), end);  // blanks to the line end
  std::string rest = capture.text.substr(end + 1);
  EXPECT_EQ(rest, "Distribute Freely - Please Report any Bugs\n\nVersion: x64 SSE3\n" +
                      std::string(80, ' ') + "\n\n");
}

TEST(MainMenu, AboutAfterTheMenu) {
  Capture capture("7\n");
  mainMenu();
  size_t menu = capture.text.find(menuText);
  ASSERT_NE(menu, std::string::npos) << capture.text;
  std::string after = capture.text.substr(menu + strlen(menuText));
  // Only the line end of the answer stands between the prompt and the screen.
  EXPECT_EQ(after.substr(0, 3), "\n\n\n");
  size_t version = after.find("\nVersion:  0.4.3 Build 7681 (x64 SSE3)\n\n");
  ASSERT_NE(version, std::string::npos);
  EXPECT_NE(after.substr(0, version).find("numbrella"), std::string::npos);
  EXPECT_NE(after.find("It has since gained the ability to compute other constants.\n\n"
                       "For all overclockers:\n"),
            std::string::npos);
  ASSERT_GE(after.size(), strlen(disclaimer));
  EXPECT_EQ(after.substr(after.size() - strlen(disclaimer)), disclaimer);
}

// Console text of a dying child, sent to standard error so that the death
// test can match it.
std::string deathOutput;
void flushDeathOutput() { fputs(deathOutput.c_str(), stderr); }

TEST(StartupDeath, WrongWordWidthEndsBeforeAnyMenu) {
  EXPECT_EQ(wordWidthBits<uint16_t>(), 16u);
  checkWordWidth(32);  // the right width passes silently
  EXPECT_EXIT(
      {
        consoleCaptureTo(&deathOutput);
        consoleInputFrom("");
        atexit(flushDeathOutput);
        checkWordWidth(16);
      },
      ::testing::ExitedWithCode(1),
      "^bits per word != 2\\^ZM_WORD_MAG\n\nThe program has not been compiled correctly.\n"
      "Press any key to continue . . . \n$");
}

TEST(Startup, FloatingPointControlFlushesDenormals) {
  unsigned saved = _mm_getcsr();
  volatile double tiny = DBL_MIN;
  volatile double half = 0.5;
  EXPECT_GT(tiny * half, 0.0);  // a denormal result by default
  setFloatingPointControl();
  EXPECT_EQ(_mm_getcsr() & 0x8040u, 0x8040u);
  EXPECT_EQ(tiny * half, 0.0);  // flushed to zero
  _mm_setcsr(saved);
}

}  // namespace
