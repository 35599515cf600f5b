// The two top writers on BigFloats, as the constants call them: the files of
// both radixes against MPFR's digits of the exact value (one integer word,
// several integer digits, below one, far below one), the conversion's
// cutting parameters by label, the Basic Swap forms with real swap files,
// the modes that write nothing and the refusals of the compressed output.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "constants/compute_settings.h"
#include "digits/base_conversion.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "writer_support.h"

using namespace writer_test;

namespace {

// A record for writing into a temporary folder, with a heap of its own.
struct WriterRun {
  TempFolder folder;
  ComputeSettings settings;
  Heap heap;
  std::string console;

  WriterRun(uint64_t decimalDigits, uint32_t mode, uint64_t heapBytes = 64 << 20) {
    fillDefaultComputeSettings(nullptr, &settings);
    settings.threadPower = 1;
    settings.computeMode = mode;
    setDecimalDigits(&settings, decimalDigits);
    settings.outputPath = strdup(folder.path.c_str());
    heapInit(nullptr, &heap, heapBytes);
    settings.heap = &heap;
  }
  ~WriterRun() {
    settings.heap = nullptr;
    EXPECT_EQ(heap.activeBlocks, 0u) << "blocks left in the heap";
    heapDestroy(&heap);
    releaseComputeSettings(&settings);
  }

  std::string file(const char* radixWord, const char* algorithmWord = "Chudnovsky") {
    return readFile(folder.path + "/Pi - " + radixWord + " - " + algorithmWord + ".txt");
  }

  double hex(BigFloat* x, uint64_t integerDigits, uint32_t label = 0) {
    consoleCaptureTo(&console);
    double seconds = writeHexDigits(&settings, x, integerDigits, label);
    consoleCaptureTo(nullptr);
    return seconds;
  }
  // Builds the table in the form of the mode, converts and writes.
  double decimal(BigFloat* x, uint64_t integerDigits, uint32_t label = 0) {
    consoleCaptureTo(&console);
    BaseConversionTable table;
    if (settings.computeMode == computeModeBasicSwap) {
      buildBaseConversionTableSwapped(&heap, x, &table, settings.threadPower);
    } else {
      buildBaseConversionTable(&heap, x, &table, settings.threadPower);
    }
    double seconds = writeDecimalDigits(&settings, x, integerDigits, &table, label);
    releaseBaseConversionTable(&table);
    consoleCaptureTo(nullptr);
    return seconds;
  }
};

// A positive BigFloat in `heap` of the given words and exponent.
void makeValue(Heap* heap, BigFloat* x, const std::vector<uint32_t>& words, int64_t exponent) {
  bigFloatSetZero(x);
  x->exponent = exponent;
  x->mantissa.words = heapAllocateWords(heap, words.size() + 2);
  memcpy(x->mantissa.words, words.data(), 4 * words.size());
  x->mantissa.length = words.size();
  x->mantissa.capacity = words.size() + 2;
}

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
  struct Shape {
    int64_t position;    // word position of the value
    uint32_t topDigits;  // hexadecimal digits of its top word
  };
  // One integer word with 1 to 8 hexadecimal digits (up to ten decimal
  // ones, which take two words of 10^9), and values below one.
  const Shape shapes[] = {{1, 1}, {1, 4}, {1, 5}, {1, 8}, {0, 8}, {0, 3}, {-2, 6}};
  for (const Shape& shape : shapes) {
    for (uint64_t digits : {1000, 12345}) {
      WriterRun run(digits, computeModeRamOnly);
      const uint64_t n = run.settings.wordCount + 2;
      std::vector<uint32_t> words = randomWords(random, n, shape.topDigits);
      const int64_t exponent = shape.position - int64_t(n);
      BigFloat x;
      makeValue(&run.heap, &x, words, exponent);

      // The integer digits as a caller counts them from the top word.
      const uint32_t top = shape.position == 1 ? words[n - 1] : 0;
      const uint64_t hexInteger = hexIntegerDigits(top);
      ValueDigits decimalValue = binaryValueDigits(words.data(), n, exponent, 10, digits + 40);
      const uint64_t decimalInteger = decimalValue.point > 0 ? uint64_t(decimalValue.point) : 0;

      EXPECT_GE(run.hex(&x, hexInteger), 0.0);
      EXPECT_EQ(x.mantissa.length, n) << "the hexadecimal writer only reads";
      EXPECT_GE(run.decimal(&x, decimalInteger), 0.0);
      EXPECT_TRUE(bigFloatIsZero(x)) << "the decimal writer consumes the number";

      const uint64_t hexDigits = run.settings.hexDigits;
      ValueDigits hexValue = binaryValueDigits(words.data(), n, exponent, 16, hexDigits + 40);
      const std::string where = "position " + std::to_string(shape.position) + ", top digits " +
                                std::to_string(shape.topDigits) + ", " + std::to_string(digits) +
                                " digits";
      EXPECT_EQ(run.file("Hex"), expectedLayout(hexValue, hexDigits + hexInteger, 16)) << where;
      EXPECT_EQ(run.file("Dec"), expectedLayout(decimalValue, digits + decimalInteger, 10))
          << where;
    }
  }
}

TEST(DigitWriters, SecondLabelUsesTheSecondaryCuts) {
  WriterRun run(5000, computeModeRamOnly);
  selectConstant(nullptr, &run.settings, constantE);
  run.settings.algorithm = 2;  // compute and verify: no file word
  testbridge::Random random = testbridge::testRandom();
  const uint64_t n = run.settings.wordCount + 2;
  std::vector<uint32_t> words = randomWords(random, n, 1);
  BigFloat first, second;
  makeValue(&run.heap, &first, words, 1 - int64_t(n));
  makeValue(&run.heap, &second, words, 1 - int64_t(n));
  run.hex(&first, 1, 0);
  run.hex(&second, 1, 1);
  run.decimal(&first, 1, 0);
  EXPECT_NE(run.console.find("(Primary Cutting Parameters)"), std::string::npos);
  run.console.clear();
  run.decimal(&second, 1, 1);
  EXPECT_NE(run.console.find("(Secondary Cutting Parameters)"), std::string::npos);
  const std::string base = run.folder.path + "/e - ";
  EXPECT_EQ(readFile(base + "Hex - Computation.txt"), readFile(base + "Hex - Verification.txt"));
  EXPECT_EQ(readFile(base + "Dec - Computation.txt"), readFile(base + "Dec - Verification.txt"));
  EXPECT_EQ(readFile(base + "Dec - Verification.txt").size(), 2u + 5000);
}

TEST(DigitWriters, BasicSwapPagesInAndGivesTheSameFiles) {
  TempFolder swapFolder;
  char* pathTexts[1] = {swapFolder.path.data()};
  PathList paths{1, pathTexts};
  globalSwapPaths = &paths;
  testbridge::Random random = testbridge::testRandom();
  std::string hexRam, decimalRam;
  const uint64_t digits = 20001;
  std::vector<uint32_t> words;
  for (uint32_t mode : {computeModeRamOnly, computeModeBasicSwap}) {
    WriterRun run(digits, mode);
    const uint64_t n = run.settings.wordCount + 2;
    if (words.empty()) words = randomWords(random, n, 2);
    BigFloat x;
    makeValue(&run.heap, &x, words, 1 - int64_t(n));
    // In Basic Swap the number comes in paged out and leaves as it came.
    if (mode == computeModeBasicSwap) bigFloatPushToDisk(&x);
    run.hex(&x, 2);
    EXPECT_EQ(bigIntIsPagedOut(x.mantissa), mode == computeModeBasicSwap);
    run.decimal(&x, 3);
    if (mode == computeModeRamOnly) {
      hexRam = run.file("Hex");
      decimalRam = run.file("Dec");
    }
    EXPECT_EQ(run.file("Hex"), hexRam);
    EXPECT_EQ(run.file("Dec"), decimalRam);
  }
  globalSwapPaths = nullptr;
  EXPECT_TRUE(swapFolder.empty()) << "swap files left behind";
}

TEST(DigitWriters, OtherModesWriteNothing) {
  WriterRun run(1000, computeModeAdvancedSwap);
  std::vector<uint32_t> words(120, 0x9e3779b9u);
  BigFloat x;
  makeValue(&run.heap, &x, words, -119);
  EXPECT_EQ(run.hex(&x, 1), 0.0);
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
          makeValue(nullptr, &x, words, -19);
          writeHexDigits(&settings, &x, 1, 0);
        },
        ::testing::ExitedWithCode(1),
        hexDigits < 100 ? "Too few digits to compress\\." : "Compressed digit files are not");
  }
  EXPECT_TRUE(folder.empty());
}
