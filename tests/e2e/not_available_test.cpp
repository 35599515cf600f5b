// What the program says for what this version does not have yet, and a run
// whose digit file cannot be created once input has ended.
#include <gtest/gtest.h>

#include <string>

#include "support/run_program.h"

namespace {

const char* const notAvailable = " is not available in this version.\n";

}  // namespace

TEST(NotAvailableProgram, MenuOptionsAndConstantsNotBuiltSaySoInOneLine) {
  // Main-menu options not built yet: one line each, no memory reserved, no
  // time reported, status 0.
  const std::string scripts[] = {"2\n", "3\n"};
  ScopedFolder folder;
  for (const std::string& script : scripts) {
    SCOPED_TRACE(script);
    ProgramResult r = runNumbrella(folder.path, script, 30);
    EXPECT_EQ(r.exitStatus, 0) << r.out;
    EXPECT_EQ(countOccurrences(r.out, notAvailable), 1u) << r.out;
    EXPECT_EQ(countOccurrences(r.out, "Allocating and Reserving Memory"), 0u);
    EXPECT_EQ(countOccurrences(r.out, "seconds"), 0u);
  }
  EXPECT_TRUE(listFolder(folder.path).empty());
}

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
