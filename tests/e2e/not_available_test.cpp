// A run whose digit file cannot be created once input has ended.
#include <gtest/gtest.h>

#include <string>

#include "support/run_program.h"

TEST(NotAvailableProgram, ADigitFileThatCannotBeCreatedEndsTheRunWhenInputHasEnded) {
  // The first pause takes the line end left after the last answer; the one
  // after it meets the end of input and the run ends.
  ScopedFolder folder;
  ProgramResult r = runNumbrella(folder.path, "4\n3\n1000\n6\n/proc/none\n0\n", 30);
  EXPECT_FALSE(r.timedOut);
  EXPECT_EQ(r.exitStatus, 1);
  EXPECT_EQ(countOccurrences(r.out, "Unable to open or create file."), 2u) << r.out;
  EXPECT_EQ(countOccurrences(r.out, "Error Code: 2\n"), 1u) << r.out;
  EXPECT_EQ(countOccurrences(r.out, "Unexpected end of input."), 1u) << r.out;
}
