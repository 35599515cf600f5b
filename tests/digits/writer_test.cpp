// The two top writers on BigFloats, as the constants call them: the files of
// both radixes against MPFR's digits of the exact value (integer parts of
// one to ten digits, below one, far below one), the modes that write
// nothing and the refusals of the compressed output. (The constants' tests
// run them in every mode on real constants.)
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "digits_support.h"

using namespace digits_test;

namespace {

// A run writing into a temporary folder, with a heap of its own.
struct WriterRun {
  TempFolder folder;
  ComputeSettings settings;
  TestHeap arena{64 << 20};
  Heap& heap = arena.heap;
  std::string console;

  WriterRun(uint64_t decimalDigits, uint32_t mode) {
    fillDefaultComputeSettings(nullptr, &settings);
    settings.threadPower = 1;
    settings.computeMode = mode;
    setDecimalDigits(&settings, decimalDigits);
    settings.outputPath = strdup(folder.path.c_str());
    settings.heap = &heap;
  }
  ~WriterRun() {
    settings.heap = nullptr;
    releaseComputeSettings(&settings);
  }
  std::string file(const char* radixWord) {
    return readWholeFile(folder.path + "/Pi - " + radixWord + " - Chudnovsky.txt");
  }
  double hex(BigFloat* x, uint64_t integerDigits, uint32_t label = 0) {
    consoleCaptureTo(&console);
    double seconds = writeHexDigits(&settings, x, integerDigits, label);
    consoleCaptureTo(nullptr);
    return seconds;
  }
  // Builds the table, converts and writes.
  double decimal(BigFloat* x, uint64_t integerDigits, uint32_t label = 0) {
    consoleCaptureTo(&console);
    BaseConversionTable table;
    buildBaseConversionTable(&heap, x, &table, settings.threadPower);
    double seconds = writeDecimalDigits(&settings, x, integerDigits, &table, label);
    releaseBaseConversionTable(&table);
    consoleCaptureTo(nullptr);
    return seconds;
  }
};

// Random words for a value of `n` words whose top word has `topDigits`
// hexadecimal digits (1 .. 8).
std::vector<uint32_t> randomWords(testbridge::Random& random, uint64_t n, uint32_t topDigits) {
  std::vector<uint32_t> words(n);
  for (auto& w : words) w = random.word();
  words[n - 1] = (words[n - 1] >> (32 - 4 * topDigits)) | (1u << (4 * topDigits - 4));
  return words;
}

}  // namespace

TEST(DigitWriters, BothRadixesAgainstMpfr) {
  testbridge::Random random = testbridge::testRandom();
  // {word position, hexadecimal digits of the top word}: one integer word
  // with 1 to 8 digits (up to ten decimal ones, two words of 10^9), and
  // values below one.
  const std::pair<int64_t, uint32_t> shapes[] = {{1, 1}, {1, 5}, {1, 8}, {0, 3}, {-2, 6}};
  for (auto [position, topDigits] : shapes) {
    for (uint64_t digits : {12345}) {
      WriterRun run(digits, computeModeRamOnly);
      const uint64_t n = run.settings.wordCount + 2;
      std::vector<uint32_t> words = randomWords(random, n, topDigits);
      const int64_t exponent = position - int64_t(n);
      BigFloat x;
      makeNumber(&run.heap, &x, words.data(), n, exponent);
      // The integer digits as a caller counts them from the top word.
      const uint64_t hexInteger = hexIntegerDigits(position == 1 ? words[n - 1] : 0);
      ValueDigits decimalValue = valueDigits(words.data(), n, exponent, 10, digits + 40);
      const uint64_t decimalInteger = decimalValue.point > 0 ? uint64_t(decimalValue.point) : 0;
      if (position == 1) EXPECT_EQ(decimalIntegerDigits(words[n - 1]), decimalInteger);
      EXPECT_GE(run.hex(&x, hexInteger), 0.0);
      EXPECT_EQ(x.mantissa.length, n) << "the hexadecimal writer only reads";
      EXPECT_GE(run.decimal(&x, decimalInteger), 0.0);
      EXPECT_TRUE(bigFloatIsZero(x)) << "the decimal writer consumes the number";
      const uint64_t hexDigits = run.settings.hexDigits;
      ValueDigits hexValue = valueDigits(words.data(), n, exponent, 16, hexDigits + 40);
      EXPECT_EQ(run.file("Hex"), expectedLayout(hexValue, hexDigits + hexInteger, 16)) << position;
      EXPECT_EQ(run.file("Dec"), expectedLayout(decimalValue, digits + decimalInteger, 10)) << position;
    }
  }
}

TEST(DigitWriters, OtherModesWriteNothing) {
  WriterRun run(1000, computeModeAdvancedSwap);
  std::vector<uint32_t> words(120, 0x9e3779b9u);
  BigFloat x;
  makeNumber(&run.heap, &x, words.data(), 120, -119);
  EXPECT_EQ(run.hex(&x, 1), 0.0);
  EXPECT_EQ(x.mantissa.length, 120u);
  BaseConversionTable* noTable = nullptr;
  EXPECT_EQ(writeDecimalDigits(&run.settings, &x, 1, noTable, 0), 0.0);
  EXPECT_TRUE(run.folder.empty());
}

TEST(DigitWritersDeathTest, CompressedOutputIsRefusedBeforeAnyFile) {
  TempFolder folder;
  for (uint64_t hexDigits : {uint64_t(99), uint64_t(100)}) {
    EXPECT_EXIT(
        {
          consoleToStandardError();
          ComputeSettings settings;
          fillDefaultComputeSettings(nullptr, &settings);
          setHexDigits(&settings, hexDigits);
          settings.digitsPerFile = -1;
          settings.outputPath = strdup(folder.path.c_str());
          std::vector<uint32_t> words(20, 0x55555555u);
          BigFloat x;
          makeNumber(nullptr, &x, words.data(), 20, -19);
          writeHexDigits(&settings, &x, 1, 0);
        },
        ::testing::ExitedWithCode(1),
        hexDigits < 100 ? "Too few digits to compress\\." : "Compressed digit files are not");
  }
  EXPECT_TRUE(folder.empty());
}
