// The digit tools through the real program: e written compressed (a series
// and one file, both radixes) decompresses through option 5 to the text the
// text writer gives, compressing that text gives the same files byte for
// byte, and option 6 counts matching digits across every kind of file.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/run_program.h"

namespace {

const char* const decStem = "e - Dec - exp(1)";
const char* const hexStem = "e - Hex - exp(1)";

// Runs the program and expects a normal end.
std::string run(const ScopedFolder& folder, const std::string& input) {
  ProgramResult result = runNumbrella(folder.path, input, 60.0);
  EXPECT_FALSE(result.timedOut);
  EXPECT_EQ(result.exitStatus, 0) << result.out.substr(result.out.size() > 2000 ? result.out.size() - 2000 : 0);
  return result.out;
}

std::string block(const std::string& stem, const char* kind, int id) {
  return stem + "/e - " + kind + " - " + std::to_string(id) + ".zdg";
}

}  // namespace

TEST(DigitToolsProgram, CompressedRunsDecompressCompressAndCompare) {
  ScopedFolder folder;
  // 2,000,000 decimal digits in blocks of 1,000,000 (ending exactly on a
  // block, inside a word); 1,660,965 hexadecimal digits (inside a block and
  // a word); then the same run as text, and 1,300,000 digits in one file.
  run(folder, "4\n1\n2\n3\n2000000\n7\n2\n1000000\n0\n");
  run(folder, "4\n1\n2\n3\n2000000\n0\n");
  const std::string decText = readWholeFile(folder / (std::string(decStem) + ".txt"));
  const std::string hexText = readWholeFile(folder / (std::string(hexStem) + ".txt"));
  ASSERT_EQ(decText.size(), 2000002u);
  ASSERT_EQ(hexText.size(), 1660967u);
  ASSERT_EQ(listFolder(folder / decStem).size(), 2u);
  mkdir((folder / "one").c_str(), 0755);
  run(folder, "4\n1\n2\n3\n1300000\n6\none\n7\n1\n0\n");

  // Option 5, decompress all of each.
  run(folder, "5\n" + block(decStem, "Dec", 0) + "\n1\n1\n99999999\ndec\n");
  run(folder, "5\n" + block(hexStem, "Hex", 1) + "\n1\n1\n99999999\nhex\n");
  std::string out = run(folder, "5\none/" + std::string(decStem) + ".zdg\n1\n1\n1300000\nsingle\n");
  EXPECT_NE(out.find("Total Digits after decimal place: 1,300,000"), std::string::npos);
  EXPECT_TRUE(readWholeFile(folder / "dec.txt") == decText);
  EXPECT_TRUE(readWholeFile(folder / "hex.txt") == hexText);
  EXPECT_TRUE(readWholeFile(folder / "single.txt") == decText.substr(0, 1300002));

  // Option 5, compress the texts again: the same files, byte for byte.
  mkdir((folder / "again").c_str(), 0755);
  run(folder, "5\n" + std::string(decStem) + ".txt\n1\n2000000\n1000000\ne\ne\nagain\n" +
                  decStem + "\n0\n");
  run(folder, "5\n" + std::string(hexStem) + ".txt\n1\n1660965\n1000000\ne\ne\nagain\n" +
                  hexStem + "\n1\n");
  for (int id = 0; id < 2; id++) {
    EXPECT_TRUE(readWholeFile(folder / ("again/" + block(decStem, "Dec", id))) ==
                readWholeFile(folder / block(decStem, "Dec", id)));
    EXPECT_TRUE(readWholeFile(folder / ("again/" + block(hexStem, "Hex", id))) ==
                readWholeFile(folder / block(hexStem, "Hex", id)));
  }

  // Option 6 on each mix.
  struct Pair {
    std::string a, b, expected;
  };
  const Pair pairs[] = {
      {std::string(decStem) + ".txt", block(decStem, "Dec", 1), "2,000,000  digits matched"},
      {block(hexStem, "Hex", 0), "hex.txt", "1,660,965  digits matched"},
      {"one/" + std::string(decStem) + ".zdg", block(decStem, "Dec", 0), "1,300,000  digits matched"},
      {"single.txt", "dec.txt", "1,300,000  digits matched"},
      {std::string(decStem) + ".txt", std::string(hexStem) + ".txt", "Comparing:  0  digits matched"},
      {block(decStem, "Dec", 0), block(hexStem, "Hex", 0), "Mismatching Base"},
  };
  for (const Pair& p : pairs) {
    out = run(folder, "6\n" + p.a + "\n" + p.b + "\n");
    EXPECT_NE(out.find(p.expected), std::string::npos) << p.a << " / " << p.b;
  }
}

TEST(DigitToolsProgram, DamagedInputEndsWithStatusOne) {
  ScopedFolder folder;
  FILE* f = fopen((folder / "cut.zdg").c_str(), "wb");
  fputs("#Compressed Digit File\r\n\r\nFileVersion:\t1.0.0\r\n", f);
  fclose(f);
  struct Case {
    std::string input, message;
  };
  const Case cases[] = {
      {"5\ncut.zdg\n", "Invalid File"},
      {"5\ndigits.TXT\n", "Unrecognized file extension."},
      {"6\ncut.zdg\n", "Unexpected end of input."},
  };
  for (const Case& c : cases) {
    ProgramResult result = runNumbrella(folder.path, c.input, 30.0);
    EXPECT_EQ(result.exitStatus, 1) << c.input;
    EXPECT_NE(result.out.find(c.message), std::string::npos) << result.out;
  }
}
