// The Digit Viewer below its menu: rows of digits, decompression and
// compression round trips, the compress dialogue, and the missing-block
// check. (The comparers run through the program on every mix of files.)
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/console.h"
#include "support/death_console.h"
#include "support/digit_files.h"
#include "support/run_program.h"
#include "tools/compare_digits.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"
#include "tools/viewer_internal.h"
#include "support/console_capture.h"

using namespace digit_files;

namespace {

// Text of "3." and the digits 1, 2, ... (the digit at position p is p % 10).
std::string countingText(uint64_t digits) {
  std::string text = "3.";
  for (uint64_t p = 1; p <= digits; p++) text += char('0' + p % 10);
  return text;
}

}  // namespace

TEST(DigitViewer, RowsAreAlignedOnAbsolutePositions) {
  TempFolder folder;
  writeFile(folder / "c.txt", countingText(1234));
  DigitReader reader;
  openTextDigits(&reader, (folder / "c.txt").c_str());
  // Digits 46 .. 55: five places blank-filled at the end of row 0, five at the start of row 1.
  std::string out = captured("", [&] { printDigitRows(&reader, 45, 10); });
  EXPECT_EQ(out,
            std::string(44, ' ') + "     67890  :  50\n"
            "12345" + std::string(6 + 44, ' ') + " :  55\n");
  // Through the prompts: 0 and letters ask again, a count past the end is cut.
  out = captured("0\nx\n1201\n500\n", [&] { viewRange(&reader); });
  EXPECT_EQ(countOccurrences(out, "Starting Digit: "), 3u);
  EXPECT_NE(out.find("1234567890 1234567890 1234567890 1234 "), std::string::npos);
  EXPECT_NE(out.find(" :  1,234\n"), std::string::npos);
  EXPECT_EQ(out.find(" :  1,250"), std::string::npos);
  closeDigits(&reader);

  EXPECT_EQ(clampCount(100, 99, 5), 1u);
  EXPECT_EQ(clampCount(100, 100, 5), 0u);
  EXPECT_EQ(clampCount(100, 0, 100), 100u);
}

TEST(DigitViewer, DecompressAndCompressRoundTrips) {
  TempFolder folder;
  for (uint32_t radix : {10u, 16u}) {
    SCOPED_TRACE(radix);
    std::string values = randomDigits(2100000, radix, radix);
    std::string text = "3." + digitText(values);
    writeFile(folder / "source.txt", text);

    // The dialogue: too few digits and a block below a million ask again.
    DigitReader source;
    openTextDigits(&source, (folder / "source.txt").c_str());
    std::string input = "999999\n2100000\n5\n1000000\nA Long Name\nS\n" + folder.path +
                        "\nout" + std::to_string(radix) + "\n" + (radix == 10 ? "0" : "1") + "\n";
    std::string out = captured(input.c_str(), [&] { compressDigits(nullptr, &source); });
    EXPECT_EQ(countOccurrences(out, "You need at least 1,000,000 digits to compress."), 2u);
    EXPECT_NE(out.find("Compressing:  2,100,000  digits written"), std::string::npos);
    closeDigits(&source);

    // Three blocks; the whole series decompresses to the text.
    std::string stem = folder / ("out" + std::to_string(radix));
    std::string block0 = stem + "/S - " + (radix == 10 ? "Dec" : "Hex") + " - 0.zdg";
    DigitReader compressed;
    openCompressedDigits(nullptr, &compressed, block0.c_str());
    EXPECT_EQ(compressed.blockCount, 3u);
    EXPECT_STREQ(compressed.nameLong, "A Long Name");
    EXPECT_EQ(std::string(compressed.firstDigits), text.substr(0, 52));
    std::string back = folder / "back.txt";
    captured("", [&] { decompressToFile(&compressed, 0, values.size(), back.c_str()); });
    EXPECT_TRUE(readFile(back) == text);
    // A range inside has no head; asked through the prompts.
    std::string request = "0\n1999990\n99\n" + folder.path + "/part\n";
    captured(request.c_str(), [&] { decompressRange(&compressed); });
    EXPECT_EQ(readFile(folder / "part.txt"), digitText(values.substr(1999989, 99)));
    closeDigits(&compressed);

    // One file holding all the digits, by the request record.
    DigitReader again;
    openTextDigits(&again, (folder / "source.txt").c_str());
    CompressRequest single = {values.size(), 0, "L", "S", folder.path.c_str(), "single", radix};
    captured("", [&] { compressTextDigits(nullptr, &again, &single); });
    closeDigits(&again);
    EXPECT_EQ(compareMixed((folder / "single.zdg").c_str(), (folder / "source.txt").c_str()),
              values.size());
  }
  // Fewer than a million digits are not compressed.
  writeFile(folder / "small.txt", countingText(999999));
  DigitReader small;
  openTextDigits(&small, (folder / "small.txt").c_str());
  EXPECT_NE(captured("", [&] { compressDigits(nullptr, &small); }).find("Too few digits to compress."),
            std::string::npos);
  closeDigits(&small);
}

TEST(DigitViewer, MissingBlocksAreListedBeforeAnyOutput) {
  TempFolder folder;
  writeCompressed(folder.path, "s", randomDigits(1000, 10, 1), 10, 100);
  std::filesystem::remove(folder / "s/x - Dec - 3.zdg");
  std::filesystem::remove(folder / "s/x - Dec - 5.zdg");
  std::string block0 = folder / "s/x - Dec - 0.zdg";
  DigitReader reader;
  openCompressedDigits(nullptr, &reader, block0.c_str());
  // Blocks 0 .. 2 are there: nothing to say.
  EXPECT_EQ(captured("", [&] { checkBlocksAvailable(&reader, 0, 300); }), "");
  closeDigits(&reader);
  // Without block 0, a range in blocks 6 and 7 is still at hand from block 7's file.
  std::filesystem::rename(folder / "s/x - Dec - 0.zdg", folder / "block0");
  openCompressedDigits(nullptr, &reader, (folder / "s/x - Dec - 7.zdg").c_str());
  std::string rows = captured("651\n100\n", [&] { viewRange(&reader); });
  EXPECT_NE(rows.find(" :  750\n"), std::string::npos);
  closeDigits(&reader);
  std::filesystem::rename(folder / "block0", folder / "s/x - Dec - 0.zdg");
  EXPECT_EXIT(
      {
        consoleToStandardError();
        DigitReader r;
        openCompressedDigits(nullptr, &r, block0.c_str());
        consoleInputFrom("250\n400\n");
        viewRange(&r);
      },
      testing::ExitedWithCode(0),
      "The following missing file\\(s\\) are needed to access this range:\n.*x - Dec - 3.zdg\n"
      ".*x - Dec - 5.zdg\n");
}

