// Banner and the start-up checks.
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
