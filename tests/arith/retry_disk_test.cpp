// The third attempt on the disk path doubles a paged-out operand in place and
// halves it again: the disk copy must follow each change, or the product is
// taken of the unchanged number and divided by 4.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "arith/number_oracle.h"
#include "arith/multiply.h"
#include "arith/retry.h"
#include "arith/tuning.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "support/swap_folders.h"
#include "support/test_arena.h"

TEST(RetryDiskPath, DoublingAndHalvingReachTheDiskCopy) {
  SwapFolders folders(1);
  TestArena arena(1 << 20);
  Heap& heap = arena.heap;
  OperandSource source = testOperands(7);
  std::vector<uint32_t> words = source.anyWords(300);
  words.back() |= 0x80000000u;  // doubling lengthens the number
  BigInt x;
  makeBigInt(&heap, &x, words, 0);
  bigIntPushToDisk(&heap, &x, &folders.list);

  retryDoubleOperand(&heap, &x, true);
  EXPECT_EQ(x.words, nullptr) << "pushed out again";
  bigIntLoad(&heap, &x, 1);
  std::vector<uint32_t> doubled(words.size() + 1, 0);
  for (size_t i = 0; i < words.size(); i++) {
    doubled[i] |= words[i] << 1;
    doubled[i + 1] = words[i] >> 31;
  }
  EXPECT_EQ(bigIntWords(x), doubled);
  bigIntPushToDisk(&heap, &x, &folders.list);

  retryHalveOperand(&heap, &x, true);
  bigIntLoad(&heap, &x, 1);
  EXPECT_EQ(bigIntWords(x), words);
  bigIntDestroy(&x);
  EXPECT_TRUE(folders.empty()) << "swap files left behind";
}

// Paged operands take the disk path; two injected failures send the square
// and the product to the third attempt, which must still give a*a and a*b
// and leave the operands as they were.
TEST(RetryDiskPath, ThirdAttemptOfPagedOperands) {
  SwapFolders folders(1);
  const uint64_t savedErrors = errorCount;
  std::string output;
  consoleCaptureTo(&output);
  TestArena arena(64 << 20);
  Heap& heap = arena.heap;
  OperandSource source = testOperands(11);
  const std::vector<uint32_t> aWords = source.anyWords(diskProductThreshold + 5);
  const std::vector<uint32_t> bWords = source.anyWords(diskProductThreshold + 9);
  BigInt a, b;
  makeBigInt(&heap, &a, aWords, 0);
  makeBigInt(&heap, &b, bWords, 0);
  for (bool square : {true, false}) {
    SCOPED_TRACE(square ? "square" : "product");
    bigIntPushToDisk(&heap, &a, &folders.list);
    bigIntPushToDisk(&heap, &b, &folders.list);
    errorCount = 0;
    multiplyInjectFaults(3);
    BigInt out;
    if (square) bigIntSquare(&heap, &a, &out, 0, 0, 0);
    else bigIntMultiply(&heap, &a, &b, &out, 0, 0, 0);
    multiplyInjectFaults(0);
    EXPECT_EQ(errorCount, 2u);
    EXPECT_NE(output.find("Third Attempt Succeeded"), std::string::npos);
    bigIntLoad(&heap, &out, 0);
    bigIntLoad(&heap, &a, 1);
    bigIntLoad(&heap, &b, 1);
    EXPECT_EQ(bigIntWords(a), aWords);
    EXPECT_EQ(bigIntWords(b), bWords);
    mpz_t x, y, want, got;
    mpz_inits(x, y, want, got, nullptr);
    mpzFromBigInt(x, a);
    mpzFromBigInt(y, square ? a : b);
    mpz_mul(want, x, y);
    mpzFromBigInt(got, out);
    EXPECT_EQ(mpz_cmp(want, got), 0);
    mpz_clears(x, y, want, got, nullptr);
    bigIntDestroy(&out);
    output.clear();
  }
  bigIntDestroy(&b);
  bigIntDestroy(&a);
  consoleCaptureTo(nullptr);
  errorCount = savedErrors;
  EXPECT_TRUE(folders.empty()) << "swap files left behind";
}
