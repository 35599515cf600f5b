// Paging of whole numbers: push to disk, load back, the write-back rule (a
// number with a disk copy is not written again), dropping and deleting the
// files, and numbers pushed from a child heap.
#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "arith/number_oracle.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"

namespace {

std::vector<std::string> filesIn(const std::string& folder) {
  std::vector<std::string> names;
  if (DIR* dir = opendir(folder.c_str())) {
    while (dirent* entry = readdir(dir)) {
      const std::string name = entry->d_name;
      if (name != "." && name != "..") names.push_back(name);
    }
    closedir(dir);
  }
  return names;
}

// Two temporary swap folders, a path list over the first (or both), and an
// arena for the numbers.
class Paging : public ::testing::Test {
 protected:
  std::string folders[2];
  char* pathTexts[2];
  PathList onePath{1, pathTexts};
  PathList twoPaths{2, pathTexts};
  PathList* savedGlobal = nullptr;
  Heap heap;

  void SetUp() override {
    for (int i = 0; i < 2; i++) {
      char pattern[] = "/tmp/numbers_paging_XXXXXX";
      ASSERT_NE(mkdtemp(pattern), nullptr);
      folders[i] = pattern;
      pathTexts[i] = const_cast<char*>(folders[i].c_str());
    }
    savedGlobal = globalSwapPaths;
    heapInit(nullptr, &heap, 4 << 20);
  }
  void TearDown() override {
    globalSwapPaths = savedGlobal;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left alive";
    heapDestroy(&heap);
    for (const std::string& folder : folders) {
      for (const std::string& name : filesIn(folder)) unlink((folder + "/" + name).c_str());
      rmdir(folder.c_str());
    }
  }
};

// Disk only keeps the length and drops the array; loading for reading puts
// the number in both places, and such a number pushed again writes nothing;
// loading for changing (also from both places) deletes the files.
TEST_F(Paging, PushAndLoadRoundTrip) {
  OperandSource source = testOperands(31);
  const std::vector<uint32_t> words = source.anyWords(1000);
  BigInt x;
  makeBigInt(&heap, &x, words, 0);
  const uint64_t writes = raidFileWriteCount();
  bigIntPushToDisk(&heap, &x, &onePath);
  EXPECT_EQ(raidFileWriteCount(), writes + 1);
  EXPECT_EQ(x.length, 1000u);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(x.capacity, 0u);
  ASSERT_NE(x.swap, nullptr);
  ASSERT_EQ(filesIn(folders[0]).size(), 1u);
  EXPECT_EQ(filesIn(folders[0])[0].substr(0, 4), "nmb_");
  const uint32_t blocksOnDisk = heap.activeBlocks;
  for (int again = 0; again < 2; again++) {
    bigIntLoad(&heap, &x, 1);
    EXPECT_EQ(heap.activeBlocks, blocksOnDisk + 1);
    EXPECT_EQ(bigIntWords(x), words);
    EXPECT_EQ(x.capacity, 1002u);
    EXPECT_NE(x.swap, nullptr);
    bigIntPushToDisk(&heap, &x, &onePath);
    EXPECT_EQ(raidFileWriteCount(), writes + 1) << "a number in both places is not written";
    EXPECT_EQ(x.words, nullptr);
    EXPECT_EQ(heap.activeBlocks, blocksOnDisk) << "the array went back";
  }
  bigIntLoad(&heap, &x, 0);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_TRUE(filesIn(folders[0]).empty());
  EXPECT_EQ(bigIntWords(x), words);
  bigIntPushToDisk(&heap, &x, &onePath);
  bigIntLoad(&heap, &x, 1);
  bigIntLoad(&heap, &x, 0);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_TRUE(filesIn(folders[0]).empty());
  EXPECT_EQ(bigIntWords(x), words);
  bigIntDestroy(&x);
}

// Zero numbers (and null) never touch the disk. Destroy deletes the files
// of a disk-only number (on every path, and twice is harmless); dropping the
// swap deletes them; releasing the words keeps them.
TEST_F(Paging, ZeroIsNeverPagedAndDestroyOrDropDeleteTheFiles) {
  BigInt x;
  BigFloat floatZero;
  bigIntSetZero(&x);
  bigFloatSetZero(&floatZero);
  const uint64_t writes = raidFileWriteCount();
  bigIntLoad(&heap, &x, 0);
  bigIntLoad(&heap, &x, 1);
  bigIntPushToDisk(&heap, &x, &onePath);
  globalSwapPaths = &onePath;
  bigFloatPushToDisk(nullptr);
  bigFloatPushToDisk(&floatZero);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_EQ(heap.activeBlocks, 0u) << "nothing allocated";
  EXPECT_EQ(raidFileWriteCount(), writes);
  EXPECT_TRUE(filesIn(folders[0]).empty());

  OperandSource source = testOperands(32);
  makeBigInt(&heap, &x, source.anyWords(77));
  bigIntPushToDisk(&heap, &x, &twoPaths);
  EXPECT_EQ(filesIn(folders[0]).size(), 1u);
  EXPECT_EQ(filesIn(folders[1]).size(), 1u);
  bigIntDestroy(&x);
  EXPECT_EQ(x.length, bigIntDestroyedLength);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_TRUE(filesIn(folders[0]).empty() && filesIn(folders[1]).empty());
  bigIntDestroy(&x);

  makeBigInt(&heap, &x, source.anyWords(5));
  bigIntPushToDisk(&heap, &x, &onePath);
  bigIntLoad(&heap, &x, 1);
  bigIntDropSwap(&x);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_TRUE(filesIn(folders[0]).empty());
  bigIntDropSwap(&x);
  bigIntPushToDisk(&heap, &x, &onePath);
  bigIntLoad(&heap, &x, 1);
  bigIntReleaseWords(&x);
  EXPECT_EQ(x.words, nullptr);
  EXPECT_NE(x.swap, nullptr);
  EXPECT_EQ(filesIn(folders[0]).size(), 1u);
  bigIntDestroy(&x);
}

// The operations load paged-out operands and give the same results; an
// in-place change drops the stale copy, so the next push writes.
TEST_F(Paging, PagedOutNumbersAreReadByTheOperations) {
  OperandSource source = testOperands(33);
  globalSwapPaths = &onePath;
  BigFloat x, y, result, sum, square;
  makeBigFloat(&heap, &x, source.anyWords(300), -10, true);
  makeBigFloat(&heap, &y, source.anyWords(200), -50, false);
  bigFloatAdd(&heap, &x, &y, &sum, 400);
  bigFloatSquareInto(&heap, &x, &square, 1000, 0);
  bigFloatPushPairToDisk(&x, &y);
  EXPECT_EQ(x.mantissa.words, nullptr);
  EXPECT_EQ(y.mantissa.words, nullptr);
  EXPECT_EQ(filesIn(folders[0]).size(), 2u);
  bigFloatAdd(&heap, &x, &y, &result, 400);
  EXPECT_EQ(bigIntWords(result.mantissa), bigIntWords(sum.mantissa));
  EXPECT_EQ(result.exponent, sum.exponent);
  EXPECT_NE(x.mantissa.swap, nullptr);
  bigFloatDestroy(&result);
  bigFloatPushToDisk(&x);  // one record on both sides of a product
  bigFloatMultiplyInto(&heap, &x, &x, &result, 1000, 0);
  EXPECT_EQ(bigIntWords(result.mantissa), bigIntWords(square.mantissa));
  EXPECT_EQ(result.exponent, square.exponent);
  const uint64_t writes = raidFileWriteCount();
  bigFloatPushToDisk(&x);
  EXPECT_EQ(raidFileWriteCount(), writes);
  bigFloatMultiplyWord(&heap, &x, 3, 1000);
  EXPECT_EQ(x.mantissa.swap, nullptr);
  bigFloatPushToDisk(&x);
  EXPECT_EQ(raidFileWriteCount(), writes + 1);
  bigFloatShiftBits(&heap, &x, 5);
  EXPECT_EQ(x.mantissa.swap, nullptr);
  for (BigFloat* f : {&x, &y, &sum, &square, &result}) bigFloatDestroy(f);
  EXPECT_TRUE(filesIn(folders[0]).empty());
}

// Every block that outlives the children needs a reserved table slot: the
// array is released by the push, but the RaidFile record and what the swap
// files allocate stay, and are adopted by the parent.
TEST_F(Paging, NumberPushedFromAChildHeapSurvivesTheMerge) {
  OperandSource source = testOperands(34);
  const std::vector<uint32_t> words = source.anyWords(400);
  heapSplit(&heap, 8);
  BigInt x;
  makeBigInt(&heap.children[0], &x, words);
  bigIntPushToDisk(&heap.children[0], &x, &onePath);
  RaidFile* record = x.swap;
  heapMerge(&heap);
  EXPECT_EQ(x.swap, record);
  EXPECT_EQ(*reinterpret_cast<Heap**>(reinterpret_cast<uint64_t*>(record)[-3]), &heap)
      << "the parent owns the record's block";
  bigIntLoad(&heap, &x, 1);
  EXPECT_EQ(bigIntWords(x), words);
  bigIntDestroy(&x);
  EXPECT_TRUE(filesIn(folders[0]).empty());
}

}  // namespace
