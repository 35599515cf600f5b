// A digit file that cannot be created when no one is left to answer.
#include <gtest/gtest.h>

#include <string>

#include "digits/digit_writer.h"
#include "support/death_console.h"
#include "support/run_program.h"

TEST(DigitStreamDeathTest, AtTheEndOfInputTheFirstFailureEndsTheRun) {
  const std::string folder = makeTempFolder();
  const std::string path = folder + "/missing/digits.txt";
  EXPECT_EXIT(
      {
        consoleToStandardError();  // input has ended
        digitStreamOpenAttempts(3);
        DigitStream stream;
        digitStreamOpen(nullptr, &stream, path.c_str(), 100);
      },
      ::testing::ExitedWithCode(1),
      "^\nUnable to open or create file\\.\nRe-attempting\\.\\.\\.\n"
      "Press any key to continue \\. \\. \\. \n\n\nError Code: 2\n.*\n\n\n"
      "Unexpected end of input\\.\n");
  removeTree(folder);
}
