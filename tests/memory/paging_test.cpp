// Paging of whole numbers: push to disk, load back, the write-back rule (a
// number with a disk copy is not written again), dropping and deleting the
// files, and numbers pushed from a child heap. (Operations on paged-out
// operands are run by the Basic Swap tests of the constants.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "arith/number_oracle.h"
#include "arith/numbers/bigfloat.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "support/run_program.h"
#include "support/test_arena.h"

namespace {

// Two temporary swap folders, path lists over the first and over both, and
// an arena that must be empty at the end.
class Paging : public ::testing::Test {
 protected:
  std::string folders[2] = {makeTempFolder(), makeTempFolder()};
  char* pathTexts[2] = {folders[0].data(), folders[1].data()};
  PathList onePath{1, pathTexts};
  PathList twoPaths{2, pathTexts};
  PathList* savedGlobal = globalSwapPaths;
  TestArena arena{4 << 20};
  Heap& heap = arena.heap;

  void TearDown() override {
    globalSwapPaths = savedGlobal;
    for (const std::string& folder : folders) {
      EXPECT_TRUE(listFolder(folder).empty()) << "swap files left behind";
      removeTree(folder);
    }
  }
  size_t files(int i) { return listFolder(folders[i]).size(); }
};

// Disk keeps the length and drops the array; loading for reading puts the
// number in both places, and pushing it again writes nothing; loading for
// changing (also from both places) deletes the files; releasing the words
// keeps them; destroy deletes them on every path, and twice is harmless.
TEST_F(Paging, PushLoadDropAndDestroy) {
  OperandSource source = testOperands(31);
  const std::vector<uint32_t> words = source.anyWords(1000);
  BigInt x;
  makeBigInt(&heap, &x, words, 0);
  const uint64_t writes = raidFileWriteCount();
  bigIntPushToDisk(&heap, &x, &onePath);
  EXPECT_EQ(x.length, 1000u);
  EXPECT_TRUE(x.words == nullptr && x.capacity == 0 && x.swap != nullptr);
  ASSERT_EQ(files(0), 1u);
  EXPECT_EQ(listFolder(folders[0])[0].substr(0, 4), "nmb_");
  const uint32_t blocksOnDisk = heap.activeBlocks;
  for (int again = 0; again < 2; again++) {
    bigIntLoad(&heap, &x, 1);
    EXPECT_EQ(bigIntWords(x), words);
    EXPECT_EQ(x.capacity, 1002u);
    EXPECT_NE(x.swap, nullptr);
    bigIntPushToDisk(&heap, &x, &onePath);
    EXPECT_EQ(x.words, nullptr);
    EXPECT_EQ(heap.activeBlocks, blocksOnDisk) << "the array went back";
  }
  EXPECT_EQ(raidFileWriteCount(), writes + 1) << "a number in both places is not written";
  for (bool viaBoth : {false, true}) {
    if (viaBoth) {
      bigIntPushToDisk(&heap, &x, &onePath);
      bigIntLoad(&heap, &x, 1);
    }
    bigIntLoad(&heap, &x, 0);
    EXPECT_EQ(x.swap, nullptr);
    EXPECT_EQ(files(0), 0u);
    EXPECT_EQ(bigIntWords(x), words);
    bigIntPushToDisk(&heap, &x, &onePath);
  }
  bigIntLoad(&heap, &x, 1);
  bigIntDropSwap(&x);
  bigIntDropSwap(&x);
  EXPECT_EQ(files(0), 0u);
  bigIntPushToDisk(&heap, &x, &twoPaths);
  bigIntLoad(&heap, &x, 1);
  bigIntReleaseWords(&x);
  EXPECT_TRUE(x.words == nullptr && x.swap != nullptr);
  EXPECT_EQ(files(0) + files(1), 2u);
  bigIntDestroy(&x);
  EXPECT_EQ(x.length, bigIntDestroyedLength);
  EXPECT_EQ(x.swap, nullptr);
  EXPECT_EQ(files(0) + files(1), 0u);
  bigIntDestroy(&x);
  // Zero numbers (and null) never touch the disk or the heap.
  BigFloat floatZero;
  bigIntSetZero(&x);
  bigFloatSetZero(&floatZero);
  bigIntLoad(&heap, &x, 0);
  bigIntLoad(&heap, &x, 1);
  bigIntPushToDisk(&heap, &x, &onePath);
  globalSwapPaths = &onePath;
  bigFloatPushToDisk(nullptr);
  bigFloatPushToDisk(&floatZero);
  EXPECT_TRUE(x.words == nullptr && x.swap == nullptr);
  EXPECT_EQ(heap.activeBlocks, 0u);
  EXPECT_EQ(raidFileWriteCount(), writes + 4);
}

// The array goes back with the push, but the RaidFile record and what the
// swap files allocate outlive the children and are adopted by the parent.
TEST_F(Paging, NumberPushedFromAChildHeapSurvivesTheMerge) {
  const std::vector<uint32_t> words = testOperands(34).anyWords(400);
  heapSplit(&heap, 8);
  BigInt x;
  makeBigInt(&heap.children[0], &x, words);
  bigIntPushToDisk(&heap.children[0], &x, &onePath);
  heapMerge(&heap);
  EXPECT_EQ(*reinterpret_cast<Heap**>(reinterpret_cast<uint64_t*>(x.swap)[-3]), &heap)
      << "the parent owns the record's block";
  bigIntLoad(&heap, &x, 1);
  EXPECT_EQ(bigIntWords(x), words);
  bigIntDestroy(&x);
}

// A pair goes out together to the run's swap paths and comes back intact.
TEST_F(Paging, APairIsPushedToTheRunsPaths) {
  const std::vector<uint32_t> words = {5, 6, 7};
  BigFloat x, y;
  makeBigFloat(&heap, &x, words, -1, true);
  makeBigFloat(&heap, &y, {9}, 3, false);
  globalSwapPaths = &onePath;
  bigFloatPushPairToDisk(&x, &y);
  EXPECT_TRUE(x.mantissa.words == nullptr && y.mantissa.words == nullptr);
  EXPECT_EQ(files(0), 2u);
  bigIntLoad(&heap, &x.mantissa, 0);
  EXPECT_EQ(bigIntWords(x.mantissa), words);
  bigFloatDestroy(&x);
  bigFloatDestroy(&y);
}

}  // namespace
