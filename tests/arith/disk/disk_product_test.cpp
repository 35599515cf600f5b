// Products of numbers in swap files against GMP: both forms of the square
// and the product, called directly and through the front ends (which pick
// the form by the heap's free space), chopped and not, on one and on three
// swap paths; and failed checks that go through the disk path's retry.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "arith/disk/disk.h"
#include "arith/hybrid/hybrid.h"
#include "arith/multiply.h"
#include "arith/number_oracle.h"
#include "arith/product_check.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "support/swap_folders.h"

namespace {

enum Form { Normal, Compact, FrontEndNormal, FrontEndCompact };

struct DiskCase {
  uint64_t la, lb;  // lb 0: a square
  uint64_t chop;
  uint32_t paths;
  Form form;
  uint32_t threadPower;
  uint32_t fault;  // 1: a bit of the transform flipped, so the first attempt's check fails
};

std::vector<uint32_t> readWindow(RaidFile* file, uint64_t words) {
  std::vector<uint32_t> out(words);
  raidFileRead(file, out.data(), words);
  return out;
}

// The worker called directly on RaidFiles written from the operands.
void runDirect(const DiskCase& c, Heap* heap, const std::vector<uint32_t>& a,
               const std::vector<uint32_t>& b, SwapFolders& paths) {
  const bool square = c.lb == 0;
  const uint64_t window = c.la + (square ? c.la : c.lb) - c.chop;
  RaidFile fa, fb, result;
  raidFileCreateAndWrite(heap, &fa, &paths.list, 0, a.data(), a.size());
  if (!square) raidFileCreateAndWrite(heap, &fb, &paths.list, 0, b.data(), b.size());
  raidFileCreate(heap, &result, &paths.list, 0, window);
  uint64_t length = ~uint64_t(0), code;
  if (square) {
    code = (c.form == Normal ? diskSquare : diskSquareCompact)(heap, &fa, 0, c.la, &result, 0,
                                                               &length, c.chop, fftTables,
                                                               c.threadPower);
  } else {
    code = (c.form == Normal ? diskMultiply : diskMultiplyCompact)(
        heap, &fa, 0, c.la, &fb, 0, c.lb, &result, 0, &length, c.chop, fftTables, c.threadPower);
  }
  if (c.fault != 0) {
    EXPECT_EQ(code, multiplyDetectedError) << "the flipped bit must fail the check";
  } else {
    ASSERT_EQ(code, 0u);
    const std::vector<uint32_t> got = readWindow(&result, window);
    EXPECT_TRUE(productcheck::windowMatches(a, square ? a : b, c.chop, got.data(), 1));
    uint64_t trimmed = window;
    while (trimmed > 0 && got[trimmed - 1] == 0) trimmed--;
    EXPECT_EQ(length, trimmed);
  }
  raidFileDelete(&result);
  if (!square) raidFileDelete(&fb);
  raidFileDelete(&fa);
}

// Through the front end on paged-out records; the heap's size decides the
// form. A fault goes through the retry and the product still comes out.
void runFrontEnd(const DiskCase& c, Heap* heap, const std::vector<uint32_t>& a,
                 const std::vector<uint32_t>& b, SwapFolders& paths) {
  const bool square = c.lb == 0;
  BigInt x, y, out;
  makeBigInt(heap, &x, a, 0);
  makeBigInt(heap, &y, square ? a : b, 0);
  bigIntPushToDisk(heap, &x, &paths.list);
  bigIntPushToDisk(heap, &y, &paths.list);
  const uint64_t savedErrors = errorCount;
  errorCount = 0;
  std::string console;
  consoleCaptureTo(&console);
  if (square) bigIntSquare(heap, &x, &out, c.chop, 0, c.threadPower);
  else bigIntMultiply(heap, &x, &y, &out, c.chop, 0, c.threadPower);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(diskLastFormCompact(), c.form == FrontEndCompact ? 1u : 0u);
  EXPECT_EQ(errorCount, c.fault != 0 ? 1u : 0u);
  if (c.fault != 0) {
    EXPECT_NE(console.find("Second Attempt Succeeded with same parameters."), std::string::npos);
  }
  errorCount = savedErrors;
  EXPECT_EQ(out.words, nullptr) << "the product stays on disk";
  EXPECT_NE(out.swap, nullptr);
  EXPECT_TRUE(bigIntIsPagedOut(x) && bigIntIsPagedOut(y)) << "operands stay on disk";
  std::vector<uint32_t> got = readWindow(out.swap, out.length);
  got.resize(c.la + (square ? c.la : c.lb) - c.chop, 0);
  EXPECT_TRUE(productcheck::windowMatches(a, square ? a : b, c.chop, got.data(), 1));
  bigIntDestroy(&out);
  bigIntDestroy(&y);
  bigIntDestroy(&x);
}

// The heap a case runs in: room for the normal form, or just below its
// figure so that the compact form is taken (and must fit).
uint64_t heapBytesFor(const DiskCase& c) {
  const uint64_t figure = c.lb == 0 ? diskSquareBytes(c.la, c.chop, c.threadPower)
                                    : diskMultiplyBytes(c.la, c.lb, c.chop, c.threadPower);
  const uint64_t operands = 8 * (c.la + c.lb + 64) + (1 << 16);
  return c.form == FrontEndCompact ? figure : figure + operands + (1 << 20);
}

void runCase(const DiskCase& c, uint64_t seed) {
  SCOPED_TRACE(::testing::Message() << (c.lb == 0 ? "square " : "product ") << c.la << " x "
                                    << c.lb << " chop " << c.chop << " paths " << c.paths
                                    << " form " << c.form << " threads " << c.threadPower
                                    << " fault " << c.fault);
  SwapFolders paths(c.paths);
  OperandSource source = testOperands(seed);
  // A flipped bit is only sure to show in the check when the other
  // factor's transform is not sparse: faults run on uniform words.
  auto operand = [&](uint64_t n) {
    return c.fault != 0 ? source.words(n, testbridge::Kind::Uniform) : source.anyWords(n);
  };
  const std::vector<uint32_t> a = operand(c.la);
  const std::vector<uint32_t> b = c.lb == 0 ? std::vector<uint32_t>() : operand(c.lb);
  Heap heap;
  heapInit(nullptr, &heap, heapBytesFor(c));
  if (c.fault != 0) hybridFaultForTesting = {1, 5 + source.below(1000), source.below(1 << 20)};
  if (c.form == Normal || c.form == Compact) runDirect(c, &heap, a, b, paths);
  else runFrontEnd(c, &heap, a, b, paths);
  hybridFaultForTesting.stage = 0;
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
  EXPECT_TRUE(paths.empty()) << "swap files left behind";
}

const uint64_t T = 13057;  // the shortest operand the disk path takes

const DiskCase cases[] = {
    // Squares, both forms; the compact form's buffer path (window n + 16) and
    // in-place path (n + 17); a chop above n reads from an offset.
    {T, 0, 0, 1, Normal, 0, 0},
    {T, 0, 0, 3, Compact, 0, 0},
    {T + 1, 0, T + 1 - 16, 1, Compact, 0, 0},
    {T + 1, 0, T + 1 - 17, 3, Compact, 0, 0},
    {40000, 0, 45000, 3, Normal, 1, 0},
    {40000, 0, 45000, 1, Compact, 1, 0},
    {250007, 0, 1000, 3, Compact, 1, 0},
    // Products, both forms, balanced and up to four to one, chopped.
    {T, T, 0, 1, Normal, 0, 0},
    {T + 3, T, 0, 3, Compact, 0, 0},
    {4 * T, T, 7, 3, Compact, 1, 0},
    {4 * T + 1, T + 1, 5 * T, 1, Normal, 0, 0},
    {60001, 52000, 60000, 3, Compact, 1, 0},
    {300000, 290001, 11, 1, Normal, 1, 0},
    // Through the front ends: the heap's size picks the form.
    {30000, 0, 0, 3, FrontEndNormal, 1, 0},
    {30000, 0, 100, 3, FrontEndCompact, 1, 0},
    {30000, 25000, 0, 1, FrontEndNormal, 0, 0},
    {30000, 25000, 9, 3, FrontEndCompact, 1, 0},
    {4 * T, T + 5, 0, 1, FrontEndCompact, 0, 0},
    // A failed check: returned by each form, and retried by the front end.
    {20000, 0, 0, 1, Normal, 0, 1},
    {20000, 0, 0, 1, Compact, 0, 1},
    {20000, 20000, 0, 3, Normal, 0, 1},
    {20000, 20000, 0, 3, Compact, 0, 1},
    {20000, 0, 3, 3, FrontEndCompact, 0, 1},
    {20000, 17000, 0, 1, FrontEndNormal, 0, 1},
};

TEST(DiskProducts, MatchGmpInBothFormsOnOneAndThreePaths) {
  uint64_t seed = 1;
  for (const DiskCase& c : cases) runCase(c, seed++);
}

// Large sizes, one of each kind up to four million words.
TEST(DiskProducts, LargeOperandsMatchGmp) {
  const DiskCase large[] = {
      {1000003, 0, 0, 3, Compact, 1, 0},
      {1 << 20, 900000, 17, 3, Normal, 1, 0},
      {4000000, 0, 0, 3, Normal, 1, 0},
      {4000000, 3999999, 0, 3, Compact, 1, 0},
  };
  uint64_t seed = 100;
  for (const DiskCase& c : large) runCase(c, seed++);
}

}  // namespace
