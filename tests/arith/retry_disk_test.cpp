// The third attempt on the disk path doubles a paged-out operand in place and
// halves it again: the disk copy must follow each change, or the product is
// taken of the unchanged number and divided by 4.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "arith/number_oracle.h"
#include "arith/retry.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "support/run_program.h"

TEST(RetryDiskPath, DoublingAndHalvingReachTheDiskCopy) {
  std::string folder = makeTempFolder();
  char* pathText = folder.data();
  PathList paths{1, &pathText};
  PathList* savedGlobal = globalSwapPaths;
  globalSwapPaths = &paths;
  Heap heap;
  heapInit(nullptr, &heap, 1 << 20);
  OperandSource source = testOperands(7);
  std::vector<uint32_t> words = source.anyWords(300);
  words.back() |= 0x80000000u;  // doubling lengthens the number
  BigInt x;
  makeBigInt(&heap, &x, words, 0);
  bigIntPushToDisk(&heap, &x, &paths);

  retryDoubleOperand(&heap, &x, true);
  EXPECT_EQ(x.words, nullptr) << "pushed out again";
  bigIntLoad(&heap, &x, 1);
  std::vector<uint32_t> doubled(words.size() + 1, 0);
  for (size_t i = 0; i < words.size(); i++) {
    doubled[i] |= words[i] << 1;
    doubled[i + 1] = words[i] >> 31;
  }
  EXPECT_EQ(bigIntWords(x), doubled);
  bigIntPushToDisk(&heap, &x, &paths);

  retryHalveOperand(&heap, &x, true);
  bigIntLoad(&heap, &x, 1);
  EXPECT_EQ(bigIntWords(x), words);
  bigIntDestroy(&x);
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
  globalSwapPaths = savedGlobal;
  EXPECT_TRUE(listFolder(folder).empty()) << "swap files left behind";
  removeTree(folder);
}
