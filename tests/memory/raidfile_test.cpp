// RaidFile swap files: naming, striping over several paths, ranges inside
// and across stripes, transfers cut into pieces, the retry loops of
// creation and deletion, and the fatal transfer errors.
#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/swap_io.h"
#include "platform/threads.h"
#include "support/death_console.h"
#include "support/run_program.h"
#include "support/swap_folders.h"
#include "support/console_capture.h"

namespace {

std::vector<uint32_t> randomWords(uint64_t count, uint32_t seed) {
  std::mt19937 random(seed);
  std::vector<uint32_t> words(count);
  for (uint32_t& w : words) w = random();
  return words;
}

uint64_t sizeOnDisk(const std::string& path) {
  struct stat info;
  return stat(path.c_str(), &info) == 0 ? uint64_t(info.st_size) : ~uint64_t(0);
}

// Names are "nmb_" + 16 hexadecimal digits + ".sf", distinct for files alive
// at once; trailing '/' and '\\' get no second separator; a long path has
// room; stripes are ceil(total / paths) words, each file that size.
TEST(RaidFile, NamesAndUnevenStripesOverFourPaths) {
  const std::string longName(200, 'n');
  SwapFolders folders({"a", "b/", "c\\", longName});
  Heap heap;
  heapInit(nullptr, &heap, 1 << 16);
  const uint64_t total = 1001;  // stripes of 251 words, the last holds 248
  std::vector<uint32_t> words = randomWords(total, 2);
  RaidFile file, other;
  const uint64_t writes = raidFileWriteCount(), written = raidFileWriteWords();
  raidFileCreateAndWrite(&heap, &file, &folders.list, 0, words.data(), total);
  raidFileCreate(&heap, &other, &folders.list, 0, 1);
  EXPECT_EQ(raidFileWriteCount(), writes + 1);
  EXPECT_EQ(raidFileWriteWords(), written + total);
  EXPECT_TRUE(std::regex_match(file.name, std::regex("nmb_[0-9a-f]{16}\\.sf"))) << file.name;
  EXPECT_STRNE(file.name, other.name);
  EXPECT_EQ(listFolder(folders.root + "/a"), (std::vector<std::string>{
                                                  std::min<std::string>(file.name, other.name),
                                                  std::max<std::string>(file.name, other.name)}));
  EXPECT_EQ(file.stripeWords, 251u);
  const std::string expected[] = {"/a/", "/b/", "/c\\", "/" + longName + "/"};
  for (uint64_t i = 0; i < 4; i++) {
    EXPECT_EQ(std::string(file.files[i].path), folders.root + expected[i] + file.name);
    EXPECT_EQ(sizeOnDisk(file.files[i].path), 251u * 4) << i;
    uint64_t used = std::min<uint64_t>(251, total - i * 251);
    EXPECT_EQ(readWholeFile(file.files[i].path).substr(0, used * 4),
              std::string(reinterpret_cast<char*>(words.data() + i * 251), used * 4));
  }
  // Reads of ranges inside one stripe, across two and across all.
  struct Range { uint64_t offset, count; };
  for (Range r : {Range{10, 100}, Range{251, 1}, Range{250, 2}, Range{5, 990}, Range{1000, 1}}) {
    std::vector<uint32_t> part(r.count + 1, 0xDEADBEEF);
    raidFileReadAt(&file, r.offset, part.data(), r.count);
    EXPECT_TRUE(std::equal(part.begin(), part.end() - 1, words.begin() + r.offset)) << r.offset;
    EXPECT_EQ(part.back(), 0xDEADBEEFu) << "read past the range";
  }
  std::mt19937 random(3);
  for (int round = 0; round < 8; round++) {
    uint64_t offset = random() % total, count = 1 + random() % (total - offset);
    std::vector<uint32_t> fresh = randomWords(count, 100 + round);
    raidFileWriteAt(&file, offset, fresh.data(), count);
    std::copy(fresh.begin(), fresh.end(), words.begin() + offset);
  }
  std::vector<uint32_t> back(total);
  raidFileRead(&file, back.data(), total);
  EXPECT_EQ(back, words);
  raidFileDelete(&file);
  raidFileDelete(&other);
  for (const std::string& text : folders.texts) EXPECT_TRUE(listFolder(text).empty()) << text;
  EXPECT_EQ(heap.activeBlocks, 0u) << "everything raidFileCreate took went back";
  heapDestroy(&heap);
}

// Transfers are cut into pieces (no empty last piece for an exact multiple);
// a thread that cannot be created runs its part inline.
TEST(RaidFile, TransfersAreCutIntoPiecesAndRunWithoutThreads) {
  SwapFolders folders({"x", "y"});
  raidFileSetPieceBytesForTesting(64);
  std::vector<uint32_t> words = randomWords(1000, 4);
  Capture capture;
  threadFailNextSpawnsForTesting(1);
  RaidFile file;
  uint64_t before = raidFilePieceCount();
  raidFileCreateAndWrite(nullptr, &file, &folders.list, 0, words.data(), 1000);
  threadFailNextSpawnsForTesting(0);
  EXPECT_EQ(countOccurrences(capture.text, "Warning: Unable to create thread."), 1u);
  // 500 words = 2000 bytes per file: 31 full pieces and one of 16 bytes.
  EXPECT_EQ(raidFilePieceCount() - before, 2u * 32);
  std::vector<uint32_t> back(1000);
  raidFileRead(&file, back.data(), 1000);
  EXPECT_EQ(back, words);
  before = raidFilePieceCount();
  raidFileReadAt(&file, 500, back.data(), 64);
  EXPECT_EQ(raidFilePieceCount() - before, 4u);
  EXPECT_TRUE(std::equal(back.begin(), back.begin() + 64, words.begin() + 500));
  raidFileSetPieceBytesForTesting(0);
  raidFileDelete(&file);
}

// Pages of `path` that the page cache holds.
static uint64_t cachedPages(const std::string& path, uint64_t bytes) {
  int fd = open(path.c_str(), O_RDONLY);
  void* map = mmap(nullptr, bytes, PROT_READ, MAP_SHARED, fd, 0);
  const uint64_t page = uint64_t(sysconf(_SC_PAGESIZE));
  std::vector<unsigned char> resident((bytes + page - 1) / page);
  mincore(map, bytes, resident.data());
  munmap(map, bytes);
  close(fd);
  uint64_t count = 0;
  for (unsigned char r : resident) count += r & 1;
  return count;
}

// One piece larger than the window goes in windows, each flushed and
// dropped: nothing of the file stays in the page cache after a write or a
// read, and the words come back intact.
TEST(RaidFile, TransfersFlushAndDropTheCacheWindowByWindow) {
  SwapFolders folders({"w"});
  swapIoSetWindowBytesForTesting(16384);
  const uint64_t count = 25000;  // 100000 bytes: 6 full windows and a short one
  std::vector<uint32_t> words = randomWords(count, 9);
  RaidFile file;
  uint64_t before = swapIoWindowCount();
  raidFileCreateAndWrite(nullptr, &file, &folders.list, 0, words.data(), count);
  EXPECT_EQ(swapIoWindowCount() - before, 7u);
  const std::string path = file.files[0].path;
  EXPECT_EQ(cachedPages(path, 4 * count), 0u) << "written pages left in the cache";
  std::vector<uint32_t> back(count);
  raidFileRead(&file, back.data(), count);
  EXPECT_EQ(back, words);
  EXPECT_EQ(cachedPages(path, 4 * count), 0u) << "read pages left in the cache";
  swapIoSetWindowBytesForTesting(0);
  raidFileDelete(&file);
}

TEST(RaidFile, CreationAndDeletionRetryAndFailedTransfersAreFatal) {
  SwapFolders folders({"d"});
  raidFileSetRetryDelayForTesting(0);
  Capture capture("\n");  // someone is there to clear the cause
  swapIoFailNextForTesting(SwapIoOpen, 2, EACCES);
  swapIoFailNextForTesting(SwapIoReserve, 2, ENOSPC);
  RaidFile file;
  raidFileCreate(nullptr, &file, &folders.list, 0, 100);
  const std::pair<const char*, size_t> creation[] = {
      {"Unable to create file.", 2}, {"Access Denied", 2}, {"Unable to allocate swap file.", 2},
      {"Re-attempting...", 4},       {"Error Code: ", 4}};
  for (auto [text, count] : creation) EXPECT_EQ(countOccurrences(capture.text, text), count) << text;
  // 400 bytes refused, 1600 refused, 6400 granted.
  EXPECT_EQ(sizeOnDisk(file.files[0].path), 6400u);
  std::vector<uint32_t> words = randomWords(50, 7);
  EXPECT_EXIT({ consoleToStandardError(); swapIoFailNextForTesting(SwapIoWrite, 1, EIO);
                raidFileWriteAt(&file, 0, words.data(), 50); },
              ::testing::ExitedWithCode(1), "Write Fault\n\n\n\nError Code: 5\n    Write Fault");
  EXPECT_EXIT({ consoleToStandardError(); swapIoFailNextForTesting(SwapIoRead, 1, ENOSPC);
                raidFileRead(&file, words.data(), 50); },
              ::testing::ExitedWithCode(1), "Read Fault\n\n\n\nError Code: 28\n    Unknown Error");
  // Deletion retries without a system code; a failed close is told once.
  capture.text.clear();
  swapIoFailNextForTesting(SwapIoClose, 1, EIO);
  swapIoFailNextForTesting(SwapIoDelete, 3, EBUSY);
  raidFileDelete(&file);
  const std::pair<const char*, size_t> deletion[] = {
      {"Unable to close file.", 1}, {"Unable to delete file.", 3}, {"Re-attempting...", 3},
      {"Error Code: ", 1}};
  for (auto [text, count] : deletion) EXPECT_EQ(countOccurrences(capture.text, text), count) << text;
  EXPECT_TRUE(listFolder(folders.texts[0]).empty());
  // With input at its end a refused size ends the run after its message.
  consoleInputFrom("");
  EXPECT_EXIT({ consoleToStandardError(); swapIoFailNextForTesting(SwapIoReserve, 1, ENOSPC);
                RaidFile lost; raidFileCreate(nullptr, &lost, &folders.list, 0, 100); },
              ::testing::ExitedWithCode(1),
              "Unable to allocate swap file.\n\n\n\nError Code: 28(.|\n)*Re-attempting...(.|\n)*"
              "Unexpected end of input.");
  consoleInputFrom(nullptr);
  raidFileSetRetryDelayForTesting(1000);
}

// A swap folder on a real file system that is nearly full: the reservation
// is refused by the system (ENOSPC) until the person frees space, then the
// file is made and carries data. Needs the right to mount a tmpfs.
std::string fillerPath;
void freeTheSpace() { unlink(fillerPath.c_str()); }

TEST(RaidFile, AFullFileSystemIsRetriedUntilSpaceIsFreed) {
  SwapFolders folders({"d"});
  const std::string mountPoint = folders.texts[0];
  if (geteuid() != 0 || mount("numbrella", mountPoint.c_str(), "tmpfs", 0, "size=8m") != 0) {
    GTEST_SKIP() << "cannot mount a tmpfs here; the reservation switch test covers ENOSPC";
  }
  struct Unmount {
    std::string path;
    ~Unmount() { umount2(path.c_str(), MNT_DETACH); }
  } unmount{mountPoint};
  // 7.5 MiB of the 8 are taken: a 1 MiB file is refused.
  fillerPath = mountPoint + "/filler";
  const std::vector<char> block(1 << 20, 'x');
  const int fd = open(fillerPath.c_str(), O_WRONLY | O_CREAT, 0644);
  ASSERT_GE(fd, 0);
  for (int half = 0; half < 15; half++) {
    ASSERT_EQ(write(fd, block.data(), block.size() / 2), ssize_t(block.size() / 2));
  }
  close(fd);
  raidFileSetRetryDelayForTesting(0);
  raidFileSetRetryHookForTesting(freeTheSpace);
  Capture capture("\n");
  RaidFile file;
  raidFileCreate(nullptr, &file, &folders.list, 0, (1 << 20) / 4);
  raidFileSetRetryHookForTesting(nullptr);
  raidFileSetRetryDelayForTesting(1000);
  EXPECT_EQ(countOccurrences(capture.text, "Unable to allocate swap file."), 1u) << capture.text;
  const std::string told = "Error Code: 28\n    Unknown Error, See:\n" + std::string(strerror(ENOSPC));
  EXPECT_NE(capture.text.find(told), std::string::npos) << capture.text;
  // The refused 1 MiB is followed by 4 MiB, granted once the filler is gone.
  EXPECT_EQ(sizeOnDisk(file.files[0].path), 4u << 20);
  std::vector<uint32_t> words = randomWords(1 << 18, 3), back(words.size());
  raidFileWriteAt(&file, 0, words.data(), words.size());
  raidFileRead(&file, back.data(), back.size());
  EXPECT_EQ(back, words);
  raidFileDelete(&file);
  EXPECT_TRUE(listFolder(mountPoint).empty());
}

}  // namespace

TEST(RaidFileGrowth, RefusedSizesGrowFourfoldAndStopAtTheLargest) {
  // 400 bytes refused 40 times: the size never falls (never to an empty
  // file) and ends at the largest size there is.
  uint64_t bytes = 400;
  for (int refusal = 0; refusal < 40; refusal++) {
    const uint64_t next = raidFileSizeAfterRefusal(bytes);
    ASSERT_GE(next, bytes) << "refusal " << refusal;
    if (bytes <= ~uint64_t(0) / 4) {
      EXPECT_EQ(next, 4 * bytes);
    }
    bytes = next;
  }
  EXPECT_EQ(bytes, ~uint64_t(0));
}
