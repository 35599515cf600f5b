// The two top writers on BigFloats, as the constants call them: the files of
// both radixes against MPFR's digits of the exact value for the forms the
// constants do not have (ten integer digits, far below one); the modes that
// write nothing and the refusals of the compressed output. (The constants'
// tests run the writers in every mode on real constants.)
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
  WriterRun(uint64_t decimalDigits, uint32_t mode) {
    fillDefaultComputeSettings(nullptr, &settings);
    settings.threadPower = 1;
    settings.computeMode = mode;
    setDecimalDigits(&settings, decimalDigits);
    settings.outputPath = strdup(folder.path.c_str());
    settings.heap = &arena.heap;
  }
  ~WriterRun() {
    settings.heap = nullptr;  // the heap is the test's
    releaseComputeSettings(&settings);
  }
  std::string file(const char* radix) { return readWholeFile(folder.path + "/Pi - " + radix + " - Chudnovsky.txt"); }
};

}  // namespace

TEST(DigitWriters, BothRadixesAgainstMpfr) {
  testbridge::Random random = testbridge::testRandom();
  // {word position, hexadecimal digits of the top word}.
  for (auto [position, topDigits] : {std::pair<int64_t, uint32_t>{1, 8}, {-2, 6}}) {
    WriterRun run(12345, computeModeRamOnly);
    const uint64_t n = run.settings.wordCount + 2, hexDigits = run.settings.hexDigits;
    std::vector<uint32_t> words = testbridge::operand(random, testbridge::Kind::Uniform, n);
    words[n - 1] = (words[n - 1] >> (32 - 4 * topDigits)) | (1u << (4 * topDigits - 4));
    const int64_t exponent = position - int64_t(n);
    BigFloat x;
    makeNumber(&run.arena.heap, &x, words.data(), n, exponent);
    const uint64_t hexInteger = hexIntegerDigits(position == 1 ? words[n - 1] : 0);
    const uint64_t decimalInteger = decimalIntegerDigits(position == 1 ? words[n - 1] : 0);
    Capture capture;
    EXPECT_GE(writeHexDigits(&run.settings, &x, hexInteger, 0), 0.0);
    EXPECT_EQ(x.mantissa.length, n) << "the hexadecimal writer only reads";
    BaseConversionTable table;
    buildBaseConversionTable(&run.arena.heap, &x, &table, 1);
    EXPECT_GE(writeDecimalDigits(&run.settings, &x, decimalInteger, &table, 0), 0.0);
    releaseBaseConversionTable(&table);
    EXPECT_TRUE(bigFloatIsZero(x)) << "the decimal writer consumes the number";
    ValueDigits hex = valueDigits(words.data(), n, exponent, 16, hexDigits + 40);
    ValueDigits decimal = valueDigits(words.data(), n, exponent, 10, 12345 + 40);
    EXPECT_EQ(run.file("Hex"), expectedLayout(hex, hexDigits + hexInteger, 16)) << position;
    EXPECT_EQ(run.file("Dec"), expectedLayout(decimal, 12345 + decimalInteger, 10)) << position;
  }
}

TEST(DigitWriters, OtherModesWriteNothing) {
  WriterRun run(1000, computeModeAdvancedSwap);
  std::vector<uint32_t> words(120, 0x9e3779b9u);
  BigFloat x;
  makeNumber(&run.arena.heap, &x, words.data(), 120, -119);
  EXPECT_EQ(writeHexDigits(&run.settings, &x, 1, 0), 0.0);
  EXPECT_EQ(x.mantissa.length, 120u);
  BaseConversionTable* noTable = nullptr;
  EXPECT_EQ(writeDecimalDigits(&run.settings, &x, 1, noTable, 0), 0.0);
  EXPECT_TRUE(run.folder.empty());
}

TEST(DigitWritersDeathTest, CompressedOutputIsRefusedBeforeAnyFile) {
  TempFolder folder;
  for (uint64_t hexDigits : {uint64_t(99)}) {
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
