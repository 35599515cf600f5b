// File helpers: round trips, positional transfers, sizes, directories, and
// the fatal texts of each failure.
#include "platform/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/console.h"
#include "support/death_console.h"
#include "support/run_program.h"

namespace {

TEST(Files, WriteThenReadBack) {
  ScopedFolder folder;
  std::string name = (folder / "data.bin");
  std::vector<uint8_t> bytes(300000);
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<uint8_t>(i * 7 + (i >> 9));

  int fd = fileCreate(name.c_str());
  fileWrite(fd, bytes.data(), bytes.size());
  fileClose(fd);
  EXPECT_EQ(fileSize(name.c_str()), bytes.size());
  EXPECT_FALSE(directoryExists(name.c_str()));

  fd = fileOpenRead(name.c_str());
  EXPECT_EQ(fileSizeOfOpen(fd), bytes.size());
  std::vector<uint8_t> back(bytes.size());
  fileRead(fd, back.data(), 1000);
  fileRead(fd, back.data() + 1000, back.size() - 1000);
  EXPECT_EQ(back, bytes);
  // At the end of the file a partial read returns what is there.
  uint8_t spare[16];
  EXPECT_EQ(fileReadSome(fd, spare, sizeof spare), 0u);
  fileSeek(fd, bytes.size() - 5);
  EXPECT_EQ(fileReadSome(fd, spare, sizeof spare), 5u);
  EXPECT_EQ(spare[4], bytes.back());
  fileClose(fd);

  // fileCreate empties an existing file; fileOpenWrite keeps it.
  fd = fileOpenWrite(name.c_str());
  fileClose(fd);
  EXPECT_EQ(fileSize(name.c_str()), bytes.size());
  fd = fileCreate(name.c_str());
  fileClose(fd);
  EXPECT_EQ(fileSize(name.c_str()), 0u);
  EXPECT_TRUE(fileDelete(name.c_str()));
  EXPECT_FALSE(pathExists(name.c_str()));
  EXPECT_FALSE(fileDelete(name.c_str()));
}

TEST(Files, PositionalTransfersAndLength) {
  ScopedFolder folder;
  std::string name = (folder / "swap.sf");
  int fd = fileOpenWrite(name.c_str());
  fileSetLength(fd, 1 << 16);
  EXPECT_EQ(fileSizeOfOpen(fd), 1u << 16);
  uint32_t words[4] = {1, 2, 0xffffffffu, 4};
  fileWriteAt(fd, 40000, words, sizeof words);
  EXPECT_TRUE(fileWriteAtTry(fd, 8, words, 4));
  fileFlush(fd);
  uint32_t back[4] = {};
  fileReadAt(fd, 40000, back, sizeof back);
  EXPECT_EQ(back[2], 0xffffffffu);
  EXPECT_TRUE(fileReadAtTry(fd, 8, back, 4));
  EXPECT_EQ(back[0], 1u);
  // Reading past the end is refused by the Try form.
  EXPECT_FALSE(fileReadAtTry(fd, (1 << 16) - 2, back, 4));
  // The file position did not move: a plain read starts at 0.
  uint8_t first[12];
  fileRead(fd, first, sizeof first);
  EXPECT_EQ(first[8], 1);
  fileClose(fd);
  fileClose(-1);  // ignored
}

TEST(Files, DirectoriesAndTryForms) {
  ScopedFolder folder;
  std::string dir = (folder / "blocks");
  EXPECT_TRUE(directoryCreate(dir.c_str()));
  EXPECT_TRUE(directoryCreate(dir.c_str()));  // existing is accepted
  EXPECT_TRUE(directoryExists(dir.c_str()));
  std::string file = (folder / "plain");
  fileClose(fileCreate(file.c_str()));
  EXPECT_FALSE(directoryCreate(file.c_str()));  // a file is in the way
  EXPECT_EQ(fileOpenReadTry((folder / "missing").c_str()), -1);
  EXPECT_EQ(fileCreateTry((folder / "no/such/dir").c_str()), -1);
  int readOnly = fileOpenRead(file.c_str());
  EXPECT_FALSE(fileWriteTry(readOnly, "x", 1));
  fileClose(readOnly);
}

TEST(FilesDeathTest, EachFailureHasItsText) {
  ScopedFolder folder;
  const std::string missing = (folder / "missing"), file = (folder / "short");  // empty
  fileClose(fileCreate(file.c_str()));
  char byte;
  EXPECT_EXIT({ consoleToStandardError(); fileOpenRead(missing.c_str()); },
              ::testing::ExitedWithCode(1), "Unable to open or create file\\.");
  EXPECT_EXIT({ consoleToStandardError(); fileCreate((folder / "a/b").c_str()); },
              ::testing::ExitedWithCode(1), "Unable to open or create file\\.");
  EXPECT_EXIT({ consoleToStandardError(); fileSize(missing.c_str()); },
              ::testing::ExitedWithCode(1), "Path does not exist\\.");
  EXPECT_EXIT({ consoleToStandardError(); fileClose(1000000); },
              ::testing::ExitedWithCode(1), "Unable to close file\\.");
  EXPECT_EXIT({ consoleToStandardError(); fileRead(fileOpenRead(file.c_str()), &byte, 1); },
              ::testing::ExitedWithCode(1), "Error Reading File\\.");
  EXPECT_EXIT({ consoleToStandardError(); fileWrite(fileOpenRead(file.c_str()), "x", 1); },
              ::testing::ExitedWithCode(1), "Error Writing File\\.");
}

}  // namespace
