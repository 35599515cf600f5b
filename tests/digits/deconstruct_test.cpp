// The layers of the deconstruction on their own: the leaf against GMP and
// within its window, windows that must be cleared (a zero remainder, a
// number shorter than its window) under poisoned output, the thread layer on
// split heaps, and the number of levels kept on all threads.
#include <gmp.h>
#include <gtest/gtest.h>

#include <vector>

#include "arith/tuning.h"
#include "conversion_support.h"
#include "digits/base_conversion.h"
#include "support/gmp_bridge.h"

using namespace testbridge;
using namespace conversion_test;

namespace {

void buildTable(Heap* heap, uint64_t length, BaseConversionTable* table) {
  std::vector<uint32_t> words(length, 0x7f4a7c15u);
  BigFloat x;
  makeNumber(heap, &x, words.data(), length, 0);
  Capture capture;
  buildBaseConversionTable(heap, &x, table, 0);
  bigFloatDestroy(&x);
}

void makeInteger(Heap* heap, const mpz_t value, BigInt* x) {
  bigIntSetZero(x);
  if (mpz_sgn(value) == 0) return;
  uint64_t n = (mpz_sizeinbase(value, 2) + 31) / 32;
  std::vector<uint32_t> words = fromMpz(value, n);
  x->words = heapAllocateWords(heap, n + 2);
  std::copy(words.begin(), words.end(), x->words);
  x->length = n;
  x->capacity = n + 2;
}

// The radix-10^9 words of `value`, zero-padded to `window`.
std::vector<uint32_t> expectedWords(const mpz_t value, uint64_t window) {
  Number rest, digit, radix;
  mpz_set(rest.z, value);
  mpz_set_ui(radix.z, billion);
  std::vector<uint32_t> words(window, 0);
  for (uint64_t i = 0; i < window && mpz_sgn(rest.z) != 0; ++i) {
    mpz_tdiv_qr(rest.z, digit.z, rest.z, radix.z);
    words[i] = uint32_t(mpz_get_ui(digit.z));
  }
  return words;
}

enum class Layer { Serial, Threads, Top };

// Runs one layer on `value` into a poisoned window of `window` words.
::testing::AssertionResult layerConverts(Heap* heap, BaseConversionTable* table, Layer layer,
                                         const mpz_t value, uint64_t window) {
  GuardedWords out(window);
  std::fill(out.data(), out.data() + window, 0xffffffffu);
  BigInt y;
  makeInteger(heap, value, &y);
  int32_t top = int32_t(table->levels) - 1;
  Capture capture;
  if (layer == Layer::Serial) deconstructSerial(heap, &y, out.data(), window, top, table);
  if (layer == Layer::Threads) deconstructThreads(heap, &y, out.data(), window, top, 2, table);
  if (layer == Layer::Top) deconstructTop(heap, &y, out.data(), window, top, 2, 1, 2, table);
  if (!bigIntIsZero(y)) return ::testing::AssertionFailure() << "y not consumed";
  if (!out.intact()) return out.intact();
  std::vector<uint32_t> expected = expectedWords(value, window);
  for (uint64_t i = 0; i < window; ++i) {
    if (out.data()[i] != expected[i]) {
      return ::testing::AssertionFailure()
             << "word " << i << " of " << window << ": " << out.data()[i] << " vs " << expected[i];
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace

TEST(ConversionLeaf, SmallNumbersAgreeWithGmpAndStayInTheirWindow) {
  Random random = testRandom();
  for (int round = 0; round < 300; ++round) {
    uint64_t n = random.between(0, 20);
    std::vector<uint32_t> words = operand(random, randomKind(random), n == 0 ? 1 : n);
    if (n == 0) words.clear();
    Number value;
    toMpz(value.z, words.data(), words.size());
    uint64_t needed = (mpz_sizeinbase(value.z, 10) + 8) / 9;
    uint64_t window = needed + random.below(4);
    GuardedWords out(window);
    conversionLeaf(words.data(), words.size(), out.data(), window);
    ASSERT_TRUE(out.intact());
    std::vector<uint32_t> expected = expectedWords(value.z, window);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), out.data())) << n << " words";
  }
  // A window too short keeps the low digits and writes nothing beyond it.
  uint32_t big[4] = {0xffffffffu, 0xffffffffu, 0xffffffffu, 0xffffffffu};
  Number value;
  toMpz(value.z, big, 4);
  GuardedWords out(2);
  conversionLeaf(big, 4, out.data(), 2);
  ASSERT_TRUE(out.intact());
  std::vector<uint32_t> expected = expectedWords(value.z, 2);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), out.data()));
}

// Y = k * D with D the power at the top level: the remainder's window must
// come out zero, not left as it was.
TEST(Deconstruct, ExactMultiplesOfAPowerClearTheRemainderWindow) {
  TestHeap arena(32 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 800, &table);
  int32_t top = int32_t(table.levels) - 1;
  uint64_t low = conversionLowWindow(&table, top);
  Number d, value;
  mpz_ui_pow_ui(d.z, billion, low);
  for (Layer layer : {Layer::Serial, Layer::Threads, Layer::Top}) {
    for (unsigned long k : {1ul, 7ul, 999999999ul}) {
      mpz_mul_ui(value.z, d.z, k);
      ASSERT_TRUE(layerConverts(&arena.heap, &table, layer, value.z, 2 * low))
          << "layer " << int(layer) << ", k = " << k;
    }
    // Zero clears the whole window.
    mpz_set_ui(value.z, 0);
    ASSERT_TRUE(layerConverts(&arena.heap, &table, layer, value.z, 2 * low));
  }
  releaseBaseConversionTable(&table);
}

// Numbers much shorter than the table and their windows: the high words
// are cleared, with and without divisions on the way down.
TEST(Deconstruct, ShortNumbersInLongWindows) {
  TestHeap arena(32 << 20);
  BaseConversionTable table;
  buildTable(&arena.heap, 800, &table);
  uint64_t window = conversionLowWindow(&table, int32_t(table.levels) - 1) * 2;
  Random random = testRandom();
  for (Layer layer : {Layer::Serial, Layer::Threads, Layer::Top}) {
    for (uint64_t n : {1, 5, 17, 60, 300, 700}) {
      std::vector<uint32_t> words = operand(random, randomKind(random), n);
      Number value;
      toMpz(value.z, words.data(), n);
      ASSERT_TRUE(layerConverts(&arena.heap, &table, layer, value.z, window))
          << "layer " << int(layer) << ", " << n << " words";
    }
  }
  releaseBaseConversionTable(&table);
}

TEST(Deconstruct, TopLevelsAndTheThreadExponentHandedDown) {
  uint32_t down = 99;
  // Small numbers: two levels on all threads.
  EXPECT_EQ(conversionTopLevels(8, 3, 0, &down), 2u);
  EXPECT_EQ(down, 0u);
  EXPECT_EQ(conversionTopLevels(8, 0, 3, &down), 0u);
  EXPECT_EQ(down, 5u);
  // c << 19 = 4194304: x = 3918805, then 1959412 and 979716 (above the
  // limit of 26114); two halvings more give 244944 (2 levels), six more
  // 15327 (3 levels).
  EXPECT_EQ(2 * std::max(hybridSquareThreshold, hybridMultiplyThreshold), 26114u);
  EXPECT_EQ(conversionTopLevels(8, 20, 0, &down), 2u);
  EXPECT_EQ(conversionTopLevels(8, 20, 1, &down), 2u);
  EXPECT_EQ(down, 2u);
  EXPECT_EQ(conversionTopLevels(8, 20, 4, &down), 3u);
  EXPECT_EQ(down, 6u);
  EXPECT_EQ(conversionTopLevels(8, 20, 2, &down), 2u);
  EXPECT_EQ(down, 4u);
}
