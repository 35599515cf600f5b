// RaidFile swap files: naming, striping over several paths, ranges inside
// and across stripes, transfers cut into pieces, the retry loops of
// creation and deletion, and the fatal transfer errors.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/swap_io.h"
#include "platform/threads.h"
#include "support/run_program.h"

namespace {

std::vector<uint32_t> randomWords(uint64_t count, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint32_t> words(count);
  for (uint32_t& w : words) w = random();
  return words;
}

bool fileExists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

uint64_t sizeOnDisk(const std::string& path) {
  struct stat info;
  if (stat(path.c_str(), &info) != 0) return ~uint64_t(0);
  return static_cast<uint64_t>(info.st_size);
}

// A temporary folder with a PathList over `names` (sub-folders created,
// each given exactly as `names` spells it after the folder).
struct SwapFolders {
  std::string root;
  std::vector<std::string> texts;
  std::vector<char*> pointers;
  PathList list;

  explicit SwapFolders(const std::vector<std::string>& names) {
    root = makeTempFolder();
    for (const std::string& name : names) {
      std::string folder = root + "/" + name;
      while (!folder.empty() && (folder.back() == '/')) folder.pop_back();
      mkdir(folder.c_str(), 0755);
      texts.push_back(root + "/" + name);
    }
    for (std::string& text : texts) pointers.push_back(text.data());
    list = {texts.size(), pointers.data()};
  }
  ~SwapFolders() { removeTree(root); }
};

struct Capture {
  std::string text;
  Capture() { consoleCaptureTo(&text); }
  ~Capture() { consoleCaptureTo(nullptr); }
};

TEST(RaidFile, OnePathRoundTripAndNaming) {
  SwapFolders folders({"disk"});
  std::vector<uint32_t> words = randomWords(777, 1);
  RaidFile file;
  uint64_t writesBefore = raidFileWriteCount();
  uint64_t wordsBefore = raidFileWriteWords();
  raidFileCreateAndWrite(nullptr, &file, &folders.list, 0, words.data(), words.size());
  EXPECT_EQ(raidFileWriteCount(), writesBefore + 1);
  EXPECT_EQ(raidFileWriteWords(), wordsBefore + 777);

  char expectedName[24];
  snprintf(expectedName, sizeof expectedName, "nmb_%016llx.sf",
           static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(file.name)));
  EXPECT_STREQ(file.name, expectedName);
  EXPECT_EQ(file.stripeWords, 777u);
  std::string path = folders.texts[0] + "/" + file.name;
  EXPECT_STREQ(file.files[0].path, path.c_str());
  EXPECT_EQ(readWholeFile(path), std::string(reinterpret_cast<char*>(words.data()), 777 * 4));

  std::vector<uint32_t> back(777);
  raidFileRead(&file, back.data(), 777);
  EXPECT_EQ(back, words);
  raidFileDelete(&file);
  EXPECT_FALSE(fileExists(path));
}

TEST(RaidFile, NoPathListMeansTheCurrentDirectory) {
  SwapFolders folders({});
  char previous[4096];
  ASSERT_NE(getcwd(previous, sizeof previous), nullptr);
  ASSERT_EQ(chdir(folders.root.c_str()), 0);
  PathList empty = {0, nullptr};
  const PathList* lists[] = {nullptr, &empty};
  for (const PathList* paths : lists) {
    RaidFile file;
    raidFileCreate(nullptr, &file, paths, 0, 10);
    EXPECT_EQ(file.fileCount, 1u);
    EXPECT_STREQ(file.files[0].path, file.name);  // no separator in front
    EXPECT_EQ(sizeOnDisk(folders.root + "/" + file.name), 40u);
    raidFileDelete(&file);
  }
  EXPECT_TRUE(listFolder(folders.root).empty());
  ASSERT_EQ(chdir(previous), 0);
}

TEST(RaidFile, UnevenStripesOverThreePaths) {
  // Trailing '/' and '\\' get no second separator; the plain one gets '/'.
  SwapFolders folders({"a", "b/", "c\\"});
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  const uint64_t total = 1000;  // stripes of 334, 334 and 332 words
  std::vector<uint32_t> words = randomWords(total, 2);
  RaidFile file;
  raidFileCreateAndWrite(&heap, &file, &folders.list, 0, words.data(), total);
  EXPECT_GT(heap.activeBlocks, 0u);
  EXPECT_EQ(file.stripeWords, 334u);
  EXPECT_EQ(file.fileCount, 3u);
  EXPECT_EQ(std::string(file.files[0].path), folders.root + "/a/" + file.name);
  EXPECT_EQ(std::string(file.files[1].path), folders.root + "/b/" + file.name);
  EXPECT_EQ(std::string(file.files[2].path), folders.root + "/c\\" + file.name);
  // One block per file, all files the same size.
  for (uint64_t i = 0; i < 3; i++) {
    EXPECT_EQ(sizeOnDisk(file.files[i].path), 334u * 4) << i;
    uint64_t used = std::min<uint64_t>(334, total - i * 334);
    EXPECT_EQ(readWholeFile(file.files[i].path).substr(0, used * 4),
              std::string(reinterpret_cast<char*>(words.data() + i * 334), used * 4));
  }
  // Reads of ranges inside one stripe, across two and across all three.
  struct Range { uint64_t offset, count; };
  for (Range r : std::vector<Range>{{10, 100}, {334, 1}, {333, 2}, {5, 990}, {999, 1}}) {
    std::vector<uint32_t> part(r.count + 1, 0xDEADBEEF);
    raidFileReadAt(&file, r.offset, part.data(), r.count);
    EXPECT_TRUE(std::equal(part.begin(), part.end() - 1, words.begin() + r.offset))
        << r.offset << "+" << r.count;
    EXPECT_EQ(part.back(), 0xDEADBEEFu) << "read past the range";
  }
  // Random range writes, then the whole array read back.
  std::mt19937 random(3);
  for (int round = 0; round < 8; round++) {
    uint64_t offset = random() % total;
    uint64_t count = 1 + random() % (total - offset);
    std::vector<uint32_t> fresh = randomWords(count, 100 + round);
    raidFileWriteAt(&file, offset, fresh.data(), count);
    std::copy(fresh.begin(), fresh.end(), words.begin() + offset);
  }
  std::vector<uint32_t> back(total);
  raidFileRead(&file, back.data(), total);
  EXPECT_EQ(back, words);
  std::vector<std::string> paths;
  for (uint64_t i = 0; i < 3; i++) paths.push_back(file.files[i].path);
  raidFileDelete(&file);
  for (const std::string& path : paths) EXPECT_FALSE(fileExists(path)) << path;
  // Everything raidFileCreate took from the heap went back.
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
}

TEST(RaidFile, TransfersAreCutIntoPieces) {
  SwapFolders folders({"x", "y"});
  raidFileSetPieceBytesForTesting(64);
  std::vector<uint32_t> words = randomWords(1000, 4);
  RaidFile file;
  uint64_t before = raidFilePieceCount();
  raidFileCreateAndWrite(nullptr, &file, &folders.list, 0, words.data(), 1000);
  // 500 words = 2000 bytes per file: 31 full pieces and one of 16 bytes.
  EXPECT_EQ(raidFilePieceCount() - before, 2u * 32);
  before = raidFilePieceCount();
  std::vector<uint32_t> back(1000);
  raidFileRead(&file, back.data(), 1000);
  EXPECT_EQ(raidFilePieceCount() - before, 2u * 32);
  EXPECT_EQ(back, words);
  // An exact multiple of the piece makes no empty last piece.
  before = raidFilePieceCount();
  raidFileReadAt(&file, 500, back.data(), 64);
  EXPECT_EQ(raidFilePieceCount() - before, 4u);
  EXPECT_TRUE(std::equal(back.begin(), back.begin() + 64, words.begin() + 500));
  raidFileSetPieceBytesForTesting(0);
  raidFileDelete(&file);
}

TEST(RaidFile, ThreadCreationFailureRunsTheTransferInline) {
  SwapFolders folders({"p", "q", "r"});
  std::vector<uint32_t> words = randomWords(3001, 5);
  Capture capture;
  threadFailNextSpawnsForTesting(1);
  RaidFile file;
  raidFileCreateAndWrite(nullptr, &file, &folders.list, 0, words.data(), words.size());
  threadFailNextSpawnsForTesting(0);
  EXPECT_EQ(countOccurrences(capture.text, "Warning: Unable to create thread."), 1u);
  std::vector<uint32_t> back(words.size());
  raidFileRead(&file, back.data(), back.size());
  EXPECT_EQ(back, words);
  raidFileDelete(&file);
}

TEST(RaidFile, CreationRetriesAndAsksFourTimesMoreEachRound) {
  SwapFolders folders({"d"});
  raidFileSetRetryDelayForTesting(0);
  Capture capture;
  swapIoFailNextForTesting(SwapIoOpen, 2, EACCES);
  swapIoFailNextForTesting(SwapIoReserve, 2, ENOSPC);
  RaidFile file;
  raidFileCreate(nullptr, &file, &folders.list, 0, 100);
  EXPECT_EQ(countOccurrences(capture.text, "Unable to create file."), 2u);
  EXPECT_EQ(countOccurrences(capture.text, "Access Denied"), 2u);
  EXPECT_EQ(countOccurrences(capture.text, "Unable to allocate swap file."), 2u);
  EXPECT_EQ(countOccurrences(capture.text, "Re-attempting..."), 4u);
  EXPECT_EQ(countOccurrences(capture.text, "Error Code: "), 4u);
  // 400 bytes refused, 1600 refused, 6400 granted.
  EXPECT_EQ(sizeOnDisk(file.files[0].path), 6400u);
  std::string path = file.files[0].path;
  // Deletion retries without a system code; a failed close is told once.
  capture.text.clear();
  swapIoFailNextForTesting(SwapIoClose, 1, EIO);
  swapIoFailNextForTesting(SwapIoDelete, 3, EBUSY);
  raidFileDelete(&file);
  EXPECT_EQ(countOccurrences(capture.text, "Unable to close file."), 1u);
  EXPECT_EQ(countOccurrences(capture.text, "Unable to delete file."), 3u);
  EXPECT_EQ(countOccurrences(capture.text, "Re-attempting..."), 3u);
  EXPECT_EQ(countOccurrences(capture.text, "Error Code: "), 1u);
  EXPECT_FALSE(fileExists(path));
  raidFileSetRetryDelayForTesting(1000);
}

TEST(RaidFile, FailedTransfersAreFatal) {
  SwapFolders folders({"f"});
  std::vector<uint32_t> words = randomWords(50, 7);
  RaidFile file;
  raidFileCreate(nullptr, &file, &folders.list, 0, 50);
  auto failing = [](SwapIoStep operation, int code) {
    consoleInputFrom("");
    dup2(STDERR_FILENO, STDOUT_FILENO);
    swapIoFailNextForTesting(operation, 1, code);
  };
  EXPECT_EXIT({ failing(SwapIoWrite, EIO); raidFileWriteAt(&file, 0, words.data(), 50); },
              ::testing::ExitedWithCode(1), "Write Fault\n\n\n\nError Code: 5\n    Write Fault");
  EXPECT_EXIT({ failing(SwapIoRead, ENOSPC); raidFileRead(&file, words.data(), 50); },
              ::testing::ExitedWithCode(1), "Read Fault\n\n\n\nError Code: 28\n    Unknown Error");
  raidFileDelete(&file);
}

TEST(RaidFile, EmptyArrays) {
  SwapFolders folders({"e"});
  RaidFile file;
  raidFileCreate(nullptr, &file, &folders.list, 0, 0);
  EXPECT_EQ(sizeOnDisk(file.files[0].path), 0u);
  uint64_t before = raidFilePieceCount();
  raidFileRead(&file, nullptr, 0);
  EXPECT_EQ(raidFilePieceCount(), before);
  raidFileDelete(&file);
}

}  // namespace
