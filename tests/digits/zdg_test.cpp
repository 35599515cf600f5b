// Compressed digit files: the exact header and word layout, round trips of
// single files and series through the reader (in order, by seeking, in
// bulk), the head that the digit writers give, and the
// fatal endings on damaged files.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <random>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "digits/zdg.h"
#include "support/death_console.h"
#include "support/digit_files.h"
#include "support/run_program.h"

using namespace digit_files;

namespace {

const char* const exactHeader =
    "#Compressed Digit File\r\n\r\n"
    "FileVersion:\t1.0.0\r\n\r\n"
    "NameLong:\tTest Constant\r\n"
    "NameShort:\tx\r\n"
    "Base:\t10\r\n"
    "FirstDigits:\t3.12345678901234567890000000000000000000000000000000\r\n"
    "TotalDigits:\t20\r\n\r\n"
    "Program:\tnumbrella\r\n"
    "Version:\t0.4.3 Build 7681 (x64 SSE3)\r\n\r\n"
    "Blocksize:\t20\r\n"
    "TotalBlocks:\t1\r\n\r\n"
    "BlockID:\t0\r\n\r\n"
    "EndHeader\r\n\r\n";

uint64_t wordAt(const std::string& file, size_t offset) {
  uint64_t word;
  memcpy(&word, file.data() + offset, 8);
  return word;
}

// Reads every digit of an open reader in order.
std::string readAll(DigitReader* reader) {
  std::string values;
  for (uint64_t i = 0; i < reader->totalDigits; i++) values += char(zdgNextDigit(reader));
  return values;
}

}  // namespace

TEST(ZdgFormat, HeaderAndWordsAreExact) {
  TempFolder folder;
  // 20 decimal digits: one full word, then one digit at the top of the next.
  std::string values;
  for (char c : std::string("12345678901234567890")) values += char(c - '0');
  std::string first = "3." + digitText(values) + std::string(30, '0');
  ZdgWriter writer;
  zdgCreate(nullptr, &writer, "Test Constant", "x", 10, first.c_str(), 20, -1, folder.path.c_str(),
            "one");
  for (char v : values) zdgPutDigit(&writer, uint8_t(v));
  zdgClose(&writer);
  std::string file = readFile(folder / "one.zdg");
  const size_t header = strlen(exactHeader);
  ASSERT_EQ(file.size(), header + 1 + 16);
  EXPECT_EQ(file.substr(0, header), exactHeader);
  EXPECT_EQ(file[header], '\0');
  EXPECT_EQ(wordAt(file, header + 1), 1234567890123456789ull);
  EXPECT_EQ(wordAt(file, header + 9), 0ull);  // the digit 0 at the top, zeros below

  // Hexadecimal: the word reads as the text of its digits; nineteen nines fit.
  std::string hex = "0123456789abcdef" "f";
  std::string hexValues;
  for (char c : hex) hexValues += char(c <= '9' ? c - '0' : c - 'a' + 10);
  writeCompressed(folder.path, "hex", hexValues, 16, 0);
  file = readFile(folder / "hex.zdg");
  EXPECT_EQ(wordAt(file, file.size() - 16), 0x0123456789abcdefull);
  EXPECT_EQ(wordAt(file, file.size() - 8), 0xf000000000000000ull);
  writeCompressed(folder.path, "nines", std::string(19, 9), 10, 0);
  file = readFile(folder / "nines.zdg");
  EXPECT_EQ(wordAt(file, file.size() - 8), zdgDecimalWordMax);
}

TEST(ZdgFormat, RoundTripsSingleFilesAndSeries) {
  TempFolder folder;
  struct Case {
    uint32_t radix;
    uint64_t digits;
    int64_t perFile;
  };
  // Ends inside a word, on a word, exactly on a block, one past a block,
  // blocks that are not whole words, blocks of one digit.
  const Case cases[] = {
      {10, 1, -1},   {10, 19, -1},  {10, 20, 0},  {10, 57, 19}, {10, 58, 19}, {10, 100, 7},
      {10, 40, 20},  {16, 16, -1},  {16, 17, 0},  {16, 64, 16}, {16, 65, 16}, {16, 99, 10},
      {16, 11, 1},   {10, 1000, 333}, {16, 1000, 1000}, {10, 45, 44},
  };
  std::mt19937_64 random(7);
  int index = 0;
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "radix " << c.radix << " digits " << c.digits
                                    << " per file " << c.perFile);
    std::string stem = "case" + std::to_string(index++);
    std::string values = randomDigits(c.digits, c.radix, uint32_t(index));
    writeCompressed(folder.path, stem, values, c.radix, c.perFile);
    bool series = c.perFile > 0 && uint64_t(c.perFile) < c.digits;
    uint64_t blocks = series ? (c.digits - 1) / c.perFile + 1 : 1;
    std::string path = series ? folder / (stem + "/x - " + (c.radix == 16 ? "Hex" : "Dec") +
                                          " - " + std::string(zdgIdWidth(blocks), '0') + ".zdg")
                              : folder / (stem + ".zdg");
    DigitReader reader;
    zdgOpen(nullptr, &reader, path.c_str());
    EXPECT_EQ(reader.radix, c.radix);
    EXPECT_EQ(reader.totalDigits, c.digits);
    EXPECT_EQ(reader.blockCount, blocks);
    EXPECT_STREQ(reader.nameShort, "x");
    EXPECT_EQ(readAll(&reader), values);
    // Seeks anywhere, then a stretch in bulk and one by one.
    for (int k = 0; k < 20; k++) {
      uint64_t at = random() % c.digits;
      uint64_t count = random() % (c.digits - at + 1);
      zdgSeek(&reader, at);
      std::string bulk(count, 0);
      zdgReadDigits(&reader, reinterpret_cast<uint8_t*>(bulk.data()), count);
      ASSERT_EQ(bulk, values.substr(at, count)) << "at " << at;
      if (at + count < c.digits) {
        EXPECT_EQ(zdgNextDigit(&reader), uint32_t(values[at + count]));
      }
    }
    zdgClose(&reader);
  }
}

TEST(ZdgFormat, HeadOfTheWritersNumbers) {
  char first[64];
  int64_t index;
  // Position 1, decimal: integer word 3, then the words after it.
  const uint32_t pi[] = {0, 0, 0, 0, 0, 589793238, 141592653, 3};
  DigitSource source = {pi, 8, 7, 10};
  EXPECT_EQ(compressedLayout(&source, 101, first, &index), 100u);
  EXPECT_STREQ(first, "3.14159265358979323800000000000000000000000000000000");
  EXPECT_EQ(index, 6);
  // Position 0 with zeros at the top of the word: they are written and counted apart.
  const uint32_t small[] = {123456789, 693};
  source = {small, 2, 2, 10};
  EXPECT_EQ(compressedLayout(&source, 100, first, &index), 106u);
  EXPECT_STREQ(first, "0.00000069312345678900000000000000000000000000000000");
  // Hexadecimal integer word of several digits.
  const uint32_t root[] = {0x6a09e667, 0x1f};
  source = {root, 2, 1, 16};
  EXPECT_EQ(compressedLayout(&source, 102, first, &index), 100u);
  EXPECT_STREQ(first, "1f.6a09e66700000000000000000000000000000000000000000");
  EXPECT_EQ(strlen(first), size_t(zdgFirstDigitsLength));

  EXPECT_EXIT(
      {
        consoleToStandardError();
        source.scale = 0;  // two integer words
        compressedLayout(&source, 100, first, &index);
      },
      testing::ExitedWithCode(1), "Number is out of range.");
}

// Opens `path`, goes to digit `at` and reads `reads` digits; the run must
// end there with `message` and status 1.
void expectReadFails(const std::string& path, uint64_t at, int reads, const char* message) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        DigitReader reader;
        zdgOpen(nullptr, &reader, path.c_str());
        zdgSeek(&reader, at);
        for (int i = 0; i < reads; i++) zdgNextDigit(&reader);
      },
      testing::ExitedWithCode(1), message);
}

TEST(ZdgFormat, DamagedFilesEndWithTheirMessage) {
  TempFolder folder;
  writeCompressed(folder.path, "good", randomDigits(1000, 10, 3), 10, 0);
  writeCompressed(folder.path, "series", randomDigits(1000, 10, 4), 10, 300);
  const std::string good = readFile(folder / "good.zdg");
  const size_t zero = good.find('\0');
  auto replaced = [&](const std::string& from, const std::string& to) {
    std::string text = good;
    text.replace(text.find(from), from.size(), to);
    return text;
  };
  // A word above nineteen nines is no decimal word.
  std::string overflowing = good;
  memset(overflowing.data() + zero + 1, 0xff, 8);
  struct Case {
    std::string contents;
    uint64_t at;
    int reads;
    const char* message;
  };
  const Case cases[] = {
      {good.substr(0, zero / 2), 0, 0, "Invalid File"},
      {"", 0, 0, "Invalid File"},
      {replaced("TotalDigits:", "TotalDigitz:"), 0, 0, "Invalid File"},
      {replaced("TotalDigits:\t1000", "TotalDigits:\t1x00"), 0, 0, "Invalid File"},
      {replaced("Blocksize:\t1000", "Blocksize:\t0"), 0, 0, "Invalid File"},
      {replaced("TotalBlocks:\t1", "TotalBlocks:\t2"), 0, 0, "Invalid File"},
      {replaced("Base:\t10", "Base:\t12"), 0, 0, "Unrecognized Radix"},
      // A data part cut short is found when the read reaches the cut.
      {good.substr(0, zero + 1 + 8 * 10 + 3), 190, 1, "Read Fault"},
      {overflowing, 0, 1, "Invalid File"},
      {good, 1000, 1, "No more digits left."},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.contents.substr(0, zero + 1));
    writeFile(folder / "bad.zdg", c.contents);
    expectReadFails(folder / "bad.zdg", c.at, c.reads, c.message);
  }
  // A block of the series that is gone; a block of another series is
  // refused, not misread.
  std::filesystem::remove(folder / "series/x - Dec - 2.zdg");
  expectReadFails(folder / "series/x - Dec - 0.zdg", 599, 2, "Unable to open or create file.");
  writeCompressed(folder.path, "other", randomDigits(900, 10, 5), 10, 300);
  std::filesystem::copy_file(folder / "other/x - Dec - 1.zdg", folder / "series/x - Dec - 1.zdg",
                             std::filesystem::copy_options::overwrite_existing);
  expectReadFails(folder / "series/x - Dec - 0.zdg", 299, 2, "Invalid File");
}

TEST(ZdgFormat, DigitWritersHandOverToTheCompressedFormat) {
  TempFolder folder;
  ComputeSettings settings;
  fillDefaultComputeSettings(nullptr, &settings);
  free(settings.outputPath);
  settings.outputPath = strdup(folder.path.c_str());
  // Decimal pi-like words: 3 . 141592653 589793238 ... and 300 digits in
  // blocks of 100 (exactly on a block; 300 = 15 words and 15 digits).
  std::vector<uint32_t> words(40);
  std::mt19937 random(5);
  for (auto& w : words) w = random() % 1000000000u;
  words.back() = 3;
  DigitSource source = {words.data(), words.size(), int64_t(words.size()) - 1, 10};
  settings.decimalDigits = 300;
  settings.digitsPerFile = 100;
  writeDigitCompressed(&settings, &source, 1, 0);
  settings.digitsPerFile = 0;
  writeDigitText(&settings, &source, 1, 0);
  std::string text = readFile(folder / "Pi - Dec - Chudnovsky.txt");
  ASSERT_EQ(text.size(), 302u);

  DigitReader reader;
  zdgOpen(nullptr, &reader, (folder / "Pi - Dec - Chudnovsky/Pi - Dec - 0.zdg").c_str());
  EXPECT_EQ(reader.totalDigits, 300u);
  EXPECT_EQ(reader.blockCount, 3u);
  EXPECT_EQ(std::string(reader.firstDigits), text.substr(0, 52));
  EXPECT_EQ("3." + digitText(readAll(&reader)), text);
  zdgClose(&reader);

  // Hexadecimal, 100 digits in one file: the least that is accepted.
  const uint32_t hexWords[] = {0x85a308d3, 0x243f6a88, 3};
  DigitSource hexSource = {hexWords, 3, 2, 16};
  settings.hexDigits = 100;
  settings.digitsPerFile = -1;
  writeDigitCompressed(&settings, &hexSource, 1, 0);
  zdgOpen(nullptr, &reader, (folder / "Pi - Hex - Chudnovsky.zdg").c_str());
  EXPECT_EQ(reader.totalDigits, 100u);
  EXPECT_EQ(digitText(readAll(&reader)), "243f6a8885a308d3" + std::string(84, '0'));
  zdgClose(&reader);

  settings.decimalDigits = 99;
  EXPECT_EXIT(
      {
        consoleToStandardError();
        writeDigitCompressed(&settings, &source, 1, 0);
      },
      testing::ExitedWithCode(1), "Too few digits to compress.");
  releaseComputeSettings(&settings);
}
