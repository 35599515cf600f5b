// Number formats, readers, progress lines and fatal layouts of the console
// layer.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/console.h"
#include "support/death_console.h"
#include "support/console_capture.h"

namespace {

TEST(ConsoleFormat, BytesGroupsAndTimes) {
  // Truncated, never rounded; between 1000 and 1023 of a unit the next unit
  // up shows as "0.xx"; a fraction below ten hundredths keeps its zero.
  const std::pair<uint64_t, const char*> bytes[] = {
      {0, "0 bytes"},          {999, "999 bytes"},         {1000, "0.97 KB"},      {1023, "0.99 KB"},
      {1024, "1.00 KB"},       {1024 + 10, "1.00 KB"},     {1024 + 60, "1.05 KB"}, {1024 + 100, "1.09 KB"},
      {10239, "9.99 KB"},      {10240, "10.0 KB"},         {1u << 20, "1.00 MB"},  {100u << 20, " 100 MB"},
      {999ull << 20, " 999 MB"}, {1000ull << 20, "0.97 GB"}, {3ull << 40, "3.00 TB"}, {UINT64_MAX, "15.9 EB"}};
  for (auto [value, text] : bytes) EXPECT_EQ(formatBytes(value), text) << value;
  const std::tuple<uint64_t, uint32_t, const char*> grouped[] = {
      {0, 0, "0"},       {999, 0, "999"},        {1000, 0, "1,000"},
      {50000000, 0, "50,000,000"}, {UINT64_MAX, 0, "18,446,744,073,709,551,615"},
      {1234, 8, "   1,234"}, {1234, 3, "1,234"}, {7, 55, "                                                      7"}};
  for (auto [value, width, text] : grouped) EXPECT_EQ(formatGrouped(value, width), text) << value;
  EXPECT_EQ(formatTime(3600), "3600.000 seconds  ( 1.000 hours )\n");
  EXPECT_EQ(formatTime(1.23456), "1.235 seconds  ( 0.000 hours )\n");
  const uint64_t start = timerStart();
  EXPECT_GE(timerSeconds(start), 0.0);
  EXPECT_LT(timerSeconds(start), 1.0);
}

TEST(ConsoleOutput, CapturedTextHasNoEscapesAndStatusLineIs63Blanks) {
  Capture capture;
  setColor(14);
  printWide("a");
  colorDefault();
  printNarrow("%d-%s", 42, "x");
  clearStatusLine();
  EXPECT_EQ(capture.text, "a42-x\r" + std::string(63, ' ') + "\r");
}

TEST(ConsoleInput, MenusNumbersPathsAndTheirRefusals) {
  Capture capture;
  consoleInputFrom("9\n12\nabc 5\n8\n");
  EXPECT_EQ(readMenuOption("option: ", 0, 8), 8u);
  // One prompt per attempt: 9, 12, the line of letters, then 8.
  EXPECT_EQ(capture.text, "option: option: option: option: \n");
  uint32_t value = 77;
  // Too large, a sign, digits run into letters: refused, the line discarded.
  consoleInputFrom("  +15 4294967295 4294967296\n-3\n12x 7\n");
  for (bool accepted : {true, true, false, false, false}) EXPECT_EQ(readUnsigned(&value), accepted);
  EXPECT_EQ(value, 4294967295u);
  uint64_t wide = 0;
  consoleInputFrom("18446744073709551615 18446744073709551616\n");
  EXPECT_TRUE(readUnsigned64(&wide));
  EXPECT_EQ(wide, UINT64_MAX);
  EXPECT_FALSE(readUnsigned64(&wide));
  // A path line skips the line end a number left; the last line may end
  // without one, and is cut to the buffer.
  char buffer[1024];
  consoleInputFrom("3\n/tmp/my dir \nsecond\n");
  ASSERT_TRUE(readUnsigned(&value));
  EXPECT_EQ(readPathLine(buffer, sizeof buffer), 12u);
  EXPECT_STREQ(buffer, "/tmp/my dir ");
  EXPECT_EQ(readPathLine(buffer, sizeof buffer), 6u);
  EXPECT_STREQ(buffer, "second");
  consoleInputFrom("last");
  EXPECT_EQ(readPathLine(buffer, 3), 2u);
  EXPECT_STREQ(buffer, "la");
}

TEST(ConsoleDeathTest, EndOfInputAndFatalLayouts) {
  const char* end = "\n\nUnexpected end of input\\.\n\n";
  uint32_t value;
  char buffer[8];
  EXPECT_EXIT({ consoleToStandardError(); consoleInputFrom("  \n"); readUnsigned(&value); },
              ::testing::ExitedWithCode(1), end);
  EXPECT_EXIT({ consoleToStandardError(); consoleInputFrom("\n"); readPathLine(buffer, sizeof buffer); },
              ::testing::ExitedWithCode(1), end);
  EXPECT_EXIT({ consoleToStandardError(); fatalMemory(); }, ::testing::ExitedWithCode(1),
              "^\n\nMemory Allocation Failure\\.\n\n");
  // Assertions end by a fault, after the layout and the closing text.
  EXPECT_DEATH({ consoleToStandardError();
                 assertionFailure("Impossible Functional Result: ", "Toom-3 Multiplication",
                                  "Division by 6 produced a non-zero remainder."); },
               "\n\nFATAL ERROR: Assertion Failure\n\nImpossible Functional Result: Toom-3 "
               "Multiplication\n\nDivision by 6 produced a non-zero remainder\\.\n\n\nIf this error");
  EXPECT_DEATH({ consoleToStandardError(); limitExceeded("Radix Conversion", "Too many digits."); },
               "FATAL ERROR: Limit Exceeded\n\nArchitectural Limit Exceeded: Radix Conversion\n\n"
               "Too many digits\\.\n\n\n.*Are you overclocking\\?\n\nTerminating Program");
}

TEST(ConsoleFatal, SystemErrorTexts) {
  EXPECT_EQ(systemErrorText(EACCES, SystemErrorOther), "Access Denied");
  EXPECT_EQ(systemErrorText(EPERM, SystemErrorWrite), "Access Denied");
  EXPECT_EQ(systemErrorText(EIO, SystemErrorWrite), "Write Fault");
  EXPECT_EQ(systemErrorText(EIO, SystemErrorRead), "Read Fault");
  EXPECT_EQ(systemErrorText(EIO, SystemErrorOther).rfind("Unknown Error, See:\n", 0), 0u);
  EXPECT_EQ(systemErrorText(ENOSPC, SystemErrorWrite).rfind("Unknown Error, See:\n", 0), 0u);
  Capture capture;
  reportSystemError(ENOMEM, SystemErrorOther);
  EXPECT_EQ(capture.text, "\n\nError Code: 12\n    Not Enough Memory\n");
}

TEST(ConsoleProgress, PathIsThrottledAndBounded) {
  Capture capture;
  progressReset();
  progressPush('0');
  progressPush('1');
  progressReplace('-');
  EXPECT_STREQ(progressPath().text, "0-");
  EXPECT_TRUE(progressPrint("Summing: ", " 10%"));
  // The line is padded to 63 columns after the carriage return.
  EXPECT_EQ(capture.text, "\rSumming: 0- 10%" + std::string(63 - 15, ' '));
  EXPECT_FALSE(progressPrint("Summing: ", "")) << "a second print within a second";
  // The path keeps counting beyond its buffer and shows 62 characters at most.
  for (int i = 0; i < 100; ++i) progressPush(':');
  EXPECT_EQ(progressPath().depth, 102u);
  EXPECT_EQ(std::string(progressPath().text).size(), 62u);
  progressPopCount(100);
  EXPECT_STREQ(progressPath().text, "0-");
  for (int i = 0; i < 3; ++i) progressPop();  // popping an empty path is harmless
  EXPECT_EQ(progressPath().depth, 0u);
  progressReset();
  EXPECT_TRUE(progressPrint("x", "")) << "after a reset the first print goes out";
}

}  // namespace
