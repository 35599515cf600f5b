// The text digit reader: its head and point search, and its refusals.
#include "tools/digit_reader.h"

#include <gtest/gtest.h>

#include "support/death_console.h"
#include "support/digit_files.h"

using namespace digit_files;

TEST(DigitReader, TextFilesReadFromThePoint) {
  TempFolder folder;
  struct Case {
    std::string contents;
    uint64_t total;
    std::string head;
  };
  const Case cases[] = {
      {"3.14159", 5, "3."},
      {"0.", 0, "0."},
      {"4294967296^2 * 0.0123", 4, "4294967296^2 * 0."},
      {std::string(62, '1') + ".5", 1, std::string(62, '1') + "."},  // point at the 63rd byte
  };
  for (const Case& c : cases) {
    writeFile(folder / "t.txt", c.contents);
    DigitReader reader;
    openTextDigits(&reader, (folder / "t.txt").c_str());
    EXPECT_EQ(reader.totalDigits, c.total) << c.contents;
    char* head = digitHead(&reader);
    if (c.head.size() <= 52) {
      EXPECT_EQ(head, c.head);
    }
    free(head);
    std::string digits;
    for (uint64_t i = 0; i < c.total; i++) digits += "0123456789abcdef"[nextDigit(&reader)];
    EXPECT_EQ(digits, c.contents.substr(c.contents.size() - c.total));
    closeDigits(&reader);
  }

  // Seeking and bulk reads over a text larger than the reader's buffer.
  std::string values = randomDigits(3000000, 16, 9);
  writeFile(folder / "big.txt", "3." + digitText(values));
  DigitReader reader;
  openTextDigits(&reader, (folder / "big.txt").c_str());
  std::string first = reader.firstDigits;
  EXPECT_EQ(first, "3." + digitText(values.substr(0, 50)));
  for (uint64_t at : {uint64_t(0), uint64_t(1048570), uint64_t(2999990)}) {
    seekDigit(&reader, at);
    std::string bulk(10, 0);
    readDigits(&reader, reinterpret_cast<uint8_t*>(bulk.data()), 10);
    EXPECT_EQ(bulk, values.substr(at, 10));
  }
  std::string all(values.size(), 0);
  seekDigit(&reader, 0);
  readDigits(&reader, reinterpret_cast<uint8_t*>(all.data()), all.size());
  EXPECT_TRUE(all == values);
  closeDigits(&reader);
}

TEST(DigitReader, TextRefusals) {
  TempFolder folder;
  struct Case {
    std::string contents;
    uint32_t radix;
    const char* message;
  };
  const Case cases[] = {
      {std::string(63, '1') + ".5", 16, "A decimal place was not found within the first 63 bytes"},
      {"", 16, "A decimal place was not found"},
      {"31415", 16, "A decimal place was not found"},
      {"3.14a59", 10, "Invalid Digit"},
      {"3.14A59", 16, "Invalid Digit"},
      {"3.1", 10, "No more digits left."},
  };
  for (const Case& c : cases) {
    std::string path = folder / "t.txt";
    writeFile(path, c.contents);
    EXPECT_EXIT(
        {
          consoleToStandardError();
          DigitReader reader;
          openTextDigits(&reader, path.c_str());
          reader.radix = c.radix;
          for (int i = 0; i < 6; i++) nextDigit(&reader);
        },
        testing::ExitedWithCode(1), c.message)
        << c.contents;
  }
  EXPECT_EXIT(
      {
        consoleToStandardError();
        DigitReader reader;
        openTextDigits(&reader, (folder / "missing.txt").c_str());
      },
      testing::ExitedWithCode(1), "Unable to open or create file.");
}

