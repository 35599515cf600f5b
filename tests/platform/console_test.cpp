// Number formats, readers and fatal layouts of the console layer.
#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/console.h"

namespace {

// Captures console output for the duration of a test.
struct Capture {
  std::string text;
  Capture() { consoleCaptureTo(&text); }
  ~Capture() {
    consoleCaptureTo(nullptr);
    consoleInputFrom(nullptr);
  }
};

TEST(ConsoleFormat, BytesAtEveryUnitEdge) {
  EXPECT_EQ(formatBytes(0), "0 bytes");
  EXPECT_EQ(formatBytes(999), "999 bytes");
  EXPECT_EQ(formatBytes(1000), "0.97 KB");
  EXPECT_EQ(formatBytes(1023), "0.99 KB");
  EXPECT_EQ(formatBytes(1024), "1.00 KB");
  EXPECT_EQ(formatBytes(1024 + 10), "1.00 KB");  // truncation, not rounding
  EXPECT_EQ(formatBytes(10239), "9.99 KB");
  EXPECT_EQ(formatBytes(10240), "10.0 KB");
  EXPECT_EQ(formatBytes(1u << 20), "1.00 MB");
  EXPECT_EQ(formatBytes(10u << 20), "10.0 MB");
  EXPECT_EQ(formatBytes(100u << 20), " 100 MB");
  EXPECT_EQ(formatBytes(999ull << 20), " 999 MB");
  // Between 1000 and 1023 of a unit the next unit up shows as "0.xx".
  EXPECT_EQ(formatBytes(1000ull << 20), "0.97 GB");
  EXPECT_EQ(formatBytes(1ull << 30), "1.00 GB");
  EXPECT_EQ(formatBytes(3ull << 40), "3.00 TB");
  EXPECT_EQ(formatBytes(UINT64_MAX), "15.9 EB");  // truncated, never rounded up
  // A value with a fraction below ten hundredths keeps its leading zero.
  EXPECT_EQ(formatBytes(1024 + 60), "1.05 KB");
  EXPECT_EQ(formatBytes(1024 + 100), "1.09 KB");
}

TEST(ConsoleFormat, GroupedWithSeparatorsAndPadding) {
  EXPECT_EQ(formatGrouped(0, 0), "0");
  EXPECT_EQ(formatGrouped(999, 0), "999");
  EXPECT_EQ(formatGrouped(1000, 0), "1,000");
  EXPECT_EQ(formatGrouped(1000000, 0), "1,000,000");
  EXPECT_EQ(formatGrouped(50000000, 0), "50,000,000");
  EXPECT_EQ(formatGrouped(UINT64_MAX, 0), "18,446,744,073,709,551,615");
  EXPECT_EQ(formatGrouped(1234, 8), "   1,234");
  EXPECT_EQ(formatGrouped(1234, 3), "1,234");
  std::string wide = formatGrouped(7, 55);
  EXPECT_EQ(wide.size(), 55u);
  EXPECT_EQ(wide.back(), '7');
  EXPECT_EQ(wide.find_first_not_of(' '), 54u);
}

TEST(ConsoleFormat, TimeInSecondsAndHours) {
  EXPECT_EQ(formatTime(3600), "3600.000 seconds  ( 1.000 hours )\n");
  EXPECT_EQ(formatTime(0), "0.000 seconds  ( 0.000 hours )\n");
  EXPECT_EQ(formatTime(1.23456), "1.235 seconds  ( 0.000 hours )\n");
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

TEST(ConsoleInput, MenuOptionSkipsOutOfRangeAndLetters) {
  Capture capture;
  consoleInputFrom("9\n12\nabc 5\n8\n");
  EXPECT_EQ(readMenuOption("option: ", 0, 8), 8u);
  // One prompt per attempt: 9, 12, the line of letters, then 8.
  EXPECT_EQ(capture.text, "option: option: option: option: \n");
}

TEST(ConsoleInput, NumbersAndTheirRefusals) {
  Capture capture;
  uint32_t value = 77;
  consoleInputFrom("  +15 4294967295 4294967296\n-3\n12x 7\n");
  EXPECT_TRUE(readUnsigned(&value));
  EXPECT_EQ(value, 15u);
  EXPECT_TRUE(readUnsigned(&value));
  EXPECT_EQ(value, 4294967295u);
  EXPECT_FALSE(readUnsigned(&value));  // too large: refused, the line discarded
  EXPECT_EQ(value, 4294967295u);
  EXPECT_FALSE(readUnsigned(&value));  // a sign is not a number here
  EXPECT_FALSE(readUnsigned(&value));  // digits run into letters
  uint64_t wide = 0;
  consoleInputFrom("18446744073709551615 18446744073709551616\n");
  EXPECT_TRUE(readUnsigned64(&wide));
  EXPECT_EQ(wide, UINT64_MAX);
  EXPECT_FALSE(readUnsigned64(&wide));
}

TEST(ConsoleInput, PathLineSkipsTheLeftOverLineEnd) {
  Capture capture;
  char buffer[1024];
  uint32_t value = 0;
  consoleInputFrom("3\n/tmp/my dir \nsecond\n");
  ASSERT_TRUE(readUnsigned(&value));
  EXPECT_EQ(readPathLine(buffer, sizeof buffer), 12u);
  EXPECT_STREQ(buffer, "/tmp/my dir ");
  EXPECT_EQ(readPathLine(buffer, sizeof buffer), 6u);
  EXPECT_STREQ(buffer, "second");
  // The last line may end without a line end.
  consoleInputFrom("last");
  EXPECT_EQ(readPathLine(buffer, 3), 2u);
  EXPECT_STREQ(buffer, "la");
}

TEST(ConsoleInputDeath, EndOfInputIsFatal) {
  EXPECT_EXIT(
      {
        consoleInputFrom("  \n");
        uint32_t value;
        readUnsigned(&value);
      },
      ::testing::ExitedWithCode(1), "");
  EXPECT_EXIT(
      {
        consoleInputFrom("\n");
        char buffer[8];
        readPathLine(buffer, sizeof buffer);
      },
      ::testing::ExitedWithCode(1), "");
}

TEST(ConsoleFatal, MessageLayoutAndStatus) {
  // Death tests see the status only; the printed layout is checked end to end.
  EXPECT_EXIT(
      {
        consoleInputFrom("");
        fatalMessage("Memory Allocation Failure.");
      },
      ::testing::ExitedWithCode(1), "");
  EXPECT_EXIT(
      {
        consoleInputFrom("");
        fatalMemory();
      },
      ::testing::ExitedWithCode(1), "");
}

TEST(ConsoleFatal, AssertionEndsByAFault) {
  EXPECT_DEATH(
      {
        consoleInputFrom("");
        assertionFailure("Impossible Functional Result: ", "Toom-3 Multiplication",
                         "Division by 6 produced a non-zero remainder.");
      },
      "");
}

TEST(ConsoleFatal, SystemErrorTexts) {
  EXPECT_EQ(systemErrorText(EACCES, SystemErrorOther), "Access Denied");
  EXPECT_EQ(systemErrorText(EPERM, SystemErrorWrite), "Access Denied");
  EXPECT_EQ(systemErrorText(ENOMEM, SystemErrorOther), "Not Enough Memory");
  EXPECT_EQ(systemErrorText(EIO, SystemErrorWrite), "Write Fault");
  EXPECT_EQ(systemErrorText(EIO, SystemErrorRead), "Read Fault");
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
  // A second print within a second is suppressed.
  EXPECT_FALSE(progressPrint("Summing: ", ""));
  // The path keeps counting beyond its buffer and shows 62 characters at most.
  for (int i = 0; i < 100; ++i) progressPush(':');
  EXPECT_EQ(progressPath().depth, 102u);
  EXPECT_EQ(std::string(progressPath().text).size(), 62u);
  progressPopCount(100);
  EXPECT_STREQ(progressPath().text, "0-");
  progressPop();
  progressPop();
  progressPop();  // popping an empty path is harmless
  EXPECT_EQ(progressPath().depth, 0u);
  progressReset();
  EXPECT_TRUE(progressPrint("x", ""));  // after a reset the first print goes out
}

TEST(ConsoleTimer, MeasuresElapsedTime) {
  uint64_t start = timerStart();
  double elapsed = timerSeconds(start);
  EXPECT_GE(elapsed, 0.0);
  EXPECT_LT(elapsed, 1.0);
}

}  // namespace
