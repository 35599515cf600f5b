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
