// The end-to-end runner itself, on ordinary system programs.
#include "support/run_program.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(RunProgram, StatusStreamsAndFolder) {
  ScopedFolder folder;
  ProgramResult r = runProgram("/bin/sh", folder.path, "", 30,
                               {"-c", "pwd; echo oops >&2; echo made > out.txt; exit 3"});
  EXPECT_EQ(r.exitStatus, 3);
  EXPECT_FALSE(r.timedOut);
  EXPECT_EQ(r.err, "oops\n");
  // The working directory is the folder (resolved, /tmp may be a link).
  ProgramResult real = runProgram("/bin/sh", folder.path, "", 30, {"-c", "pwd -P"});
  EXPECT_TRUE(r.out == folder.path + "\n" || r.out == real.out) << r.out;
  EXPECT_EQ(listFolder(folder.path), std::vector<std::string>{"out.txt"});
  EXPECT_EQ(readWholeFile(folder.path + "/out.txt"), "made\n");
  // Input is a pipe, no terminal on either side.
  r = runProgram("/bin/sh", folder.path, "line one\nline two\n", 30,
                               {"-c",
                                "test -t 0 || echo in-not-tty; test -t 1 || echo out-not-tty; "
                                "test -p /dev/stdin && echo in-pipe; cat"});
  EXPECT_EQ(r.exitStatus, 0);
  EXPECT_EQ(r.out, "in-not-tty\nout-not-tty\nin-pipe\nline one\nline two\n");
}

TEST(RunProgram, LargeInputTimeoutMissingProgramAndSignals) {
  ScopedFolder folder;
  std::string input;
  for (int i = 0; i < 200000; ++i) input += "0123456789\n";
  ProgramResult r = runProgram("/bin/cat", folder.path, input, 60);
  EXPECT_TRUE(r.exitStatus == 0 && r.out == input);
  // A program that reads nothing does not block the feeder.
  EXPECT_EQ(runProgram("/bin/true", folder.path, input, 30).exitStatus, 0);
  r = runProgram("/bin/sh", folder.path, "", 0.5, {"-c", "sleep 30 & sleep 30"});
  EXPECT_TRUE(r.timedOut);
  EXPECT_EQ(r.signal, 9);
  ProgramResult missing = runProgram(folder.path + "/nothing", folder.path, "", 30);
  EXPECT_EQ(missing.exitStatus, 127);
  ProgramResult killed = runProgram("/bin/sh", folder.path, "", 30, {"-c", "kill -SEGV $$"});
  EXPECT_EQ(killed.signal, 11);
  EXPECT_EQ(countOccurrences("aaaa", "aa"), 2u);
  EXPECT_EQ(countOccurrences("text", ""), 0u);
}

}  // namespace
