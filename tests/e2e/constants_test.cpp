// The constants through the real program: each run types its settings into
// the custom computation menu, in a fresh folder as working directory, and
// every digit file it leaves must equal MPFR's truncated digits in the same
// layout. Also: runs on two threads write the same bytes as on one, and the
// Sqrt(n) question refuses perfect squares.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "support/mpfr_digits.h"
#include "support/run_program.h"

namespace {

using mpfrdigits::eText;
using mpfrdigits::goldenRatioText;
using mpfrdigits::piText;
using mpfrdigits::sqrtText;

// What one run left behind: its result and every file by name.
struct Outcome {
  ProgramResult result;
  std::map<std::string, std::string> files;
};

// Main menu option 4, the given custom menu keys, start, and a key for the
// pause that follows the computation; the input then ends, which ends the
// program. The folder is removed before returning.
Outcome runCustom(const std::string& keys, int timeoutSeconds = 120) {
  std::string folder = makeTempFolder();
  Outcome run{runNumbrella(folder, "4\n" + keys + "0\n\n", timeoutSeconds), {}};
  for (const std::string& name : listFolder(folder)) {
    run.files[name] = readWholeFile(folder + "/" + name);
  }
  removeTree(folder);
  return run;
}

// Settings keys of the custom menu.
std::string constant(int id) {
  return "1\n" + std::to_string(id) + "\n";
}
std::string squareRootOf(uint32_t n) {
  return "1\n0\n" + std::to_string(n) + "\n";
}
std::string algorithm(int number) {
  return "2\n" + std::to_string(number) + "\n";
}
std::string decimalDigits(size_t d) {
  return "3\n" + std::to_string(d) + "\n";
}
std::string hexDigits(size_t h) {
  return "4\n" + std::to_string(h) + "\n";
}
std::string threadPower(int k) {
  return "5\n" + std::to_string(k) + "\n";
}

// The count of the other radix that the menu derives from a typed count.
size_t hexForDecimal(size_t d) {
  return static_cast<size_t>(std::floor(d * 0.8304820237218407)) + 1;
}
size_t decimalForHex(size_t h) {
  return static_cast<size_t>(std::floor(h * 1.2041199826559246));
}

// Compares long digit texts, telling the first difference instead of
// printing megabytes.
::testing::AssertionResult sameText(const std::string& got, const std::string& want) {
  if (got == want) return ::testing::AssertionSuccess();
  size_t at = 0;
  while (at < got.size() && at < want.size() && got[at] == want[at]) ++at;
  size_t from = at < 20 ? 0 : at - 20;
  return ::testing::AssertionFailure()
         << "lengths " << got.size() << " (file) and " << want.size() << " (reference); first"
         << " difference at offset " << at << ": file \"" << got.substr(from, 40)
         << "\" reference \"" << want.substr(from, 40) << "\"";
}

// The run ended well and left exactly the named files with the given texts.
void expectFiles(const Outcome& run, const std::map<std::string, const std::string*>& want) {
  EXPECT_EQ(run.result.exitStatus, 0) << run.result.out;
  EXPECT_FALSE(run.result.timedOut);
  EXPECT_EQ(run.result.err, "");
  std::vector<std::string> gotNames, wantNames;
  for (const auto& [name, text] : run.files) gotNames.push_back(name);
  for (const auto& [name, text] : want) wantNames.push_back(name);
  EXPECT_EQ(gotNames, wantNames);
  for (const auto& [name, text] : want) {
    auto found = run.files.find(name);
    if (found == run.files.end()) continue;
    EXPECT_TRUE(sameText(found->second, *text)) << name;
  }
}

// The two files, decimal and hexadecimal, of a one-value run.
std::map<std::string, const std::string*> pairOfFiles(const std::string& stem,
                                                      const std::string& word,
                                                      const std::string& decimal,
                                                      const std::string& hex) {
  return {{stem + " - Dec - " + word + ".txt", &decimal},
          {stem + " - Hex - " + word + ".txt", &hex}};
}

TEST(ConstantsProgram, SquareRootRefusesPerfectSquaresThenTakesTwo) {
  Outcome run = runCustom("1\n0\n4\n9\n4294836225\n2\n" + decimalDigits(1000) + threadPower(0));
  EXPECT_EQ(countOccurrences(run.result.out, "This number is a perfect square.\n"), 3u);
  EXPECT_EQ(countOccurrences(run.result.out, "Please choose something more interesting :)"), 3u);
  EXPECT_NE(run.result.out.find("Constant :  Sqrt(2)\n"), std::string::npos);
  expectFiles(run, pairOfFiles("Sqrt(2)", "Newton", sqrtText(2, 10, 1000),
                               sqrtText(2, 16, hexForDecimal(1000))));
}

TEST(ConstantsProgram, SquareRootOfTwoAtOddCountsOnOneAndTwoThreads) {
  Outcome typedDecimal = runCustom(squareRootOf(2) + decimalDigits(12345) + threadPower(1));
  expectFiles(typedDecimal, pairOfFiles("Sqrt(2)", "Newton", sqrtText(2, 10, 12345),
                                        sqrtText(2, 16, hexForDecimal(12345))));
  Outcome typedHex = runCustom(squareRootOf(2) + hexDigits(12345) + threadPower(0));
  expectFiles(typedHex, pairOfFiles("Sqrt(2)", "Newton", sqrtText(2, 10, decimalForHex(12345)),
                                    sqrtText(2, 16, 12345)));
}

// Just below 2^32 the root has five decimal and four hexadecimal digits
// before the point, and the writers must be told so.
TEST(ConstantsProgram, SquareRootNearTwoToThe32HasFiveIntegerDigits) {
  const uint32_t n = 4294967291u;
  const std::string stem = "Sqrt(4294967291)";
  Outcome decimal = runCustom(squareRootOf(n) + decimalDigits(12345) + threadPower(1));
  const std::string& dec = sqrtText(n, 10, 12345);
  ASSERT_EQ(dec.substr(0, 6), "65535.");
  expectFiles(decimal, pairOfFiles(stem, "Newton", dec, sqrtText(n, 16, hexForDecimal(12345))));
  Outcome hex = runCustom(squareRootOf(n) + hexDigits(1000) + threadPower(0));
  const std::string& hexText = sqrtText(n, 16, 1000);
  ASSERT_EQ(hexText.substr(0, 5), "ffff.");
  expectFiles(hex, pairOfFiles(stem, "Newton", sqrtText(n, 10, decimalForHex(1000)), hexText));
}

TEST(ConstantsProgram, GoldenRatioAtSeveralCountsAndSameBytesOnTwoThreads) {
  Outcome small = runCustom(constant(1) + hexDigits(1000) + threadPower(1));
  expectFiles(small, pairOfFiles("Golden Ratio", "Newton", goldenRatioText(10, decimalForHex(1000)),
                                 goldenRatioText(16, 1000)));
  const size_t d = 1000003;
  Outcome one = runCustom(constant(1) + decimalDigits(d) + threadPower(0));
  Outcome two = runCustom(constant(1) + decimalDigits(d) + threadPower(1));
  auto want = pairOfFiles("Golden Ratio", "Newton", goldenRatioText(10, d),
                          goldenRatioText(16, hexForDecimal(d)));
  expectFiles(one, want);
  expectFiles(two, want);
  EXPECT_TRUE(one.files == two.files);
}

// e by exp(1) and by exp(-1), each in both radixes at odd counts.
TEST(ConstantsProgram, EBySeriesOfExpOneAndExpMinusOne) {
  const char* words[] = {"exp(1)", "exp(-1)"};
  for (int a = 0; a < 2; ++a) {
    SCOPED_TRACE(words[a]);
    Outcome decimal =
        runCustom(constant(2) + algorithm(a + 1) + decimalDigits(12345) + threadPower(a));
    expectFiles(decimal,
                pairOfFiles("e", words[a], eText(10, 12345), eText(16, hexForDecimal(12345))));
    Outcome hex = runCustom(constant(2) + algorithm(a + 1) + hexDigits(1000) + threadPower(1 - a));
    expectFiles(hex, pairOfFiles("e", words[a], eText(10, decimalForHex(1000)), eText(16, 1000)));
  }
}

// Compute and verify writes the value twice under two labels; both pairs
// equal the reference and so each other.
TEST(ConstantsProgram, EComputeAndVerifyWritesTwoAgreeingPairs) {
  const size_t d = 1000003;
  Outcome run = runCustom(constant(2) + algorithm(3) + decimalDigits(d) + threadPower(1));
  const std::string& dec = eText(10, d);
  const std::string& hex = eText(16, hexForDecimal(d));
  auto want = pairOfFiles("e", "Computation", dec, hex);
  want.merge(pairOfFiles("e", "Verification", dec, hex));
  expectFiles(run, want);
  EXPECT_TRUE(run.files["e - Dec - Computation.txt"] == run.files["e - Dec - Verification.txt"]);
  EXPECT_TRUE(run.files["e - Hex - Computation.txt"] == run.files["e - Hex - Verification.txt"]);

  Outcome small = runCustom(constant(2) + algorithm(3) + hexDigits(12345) + threadPower(0));
  const std::string& smallDec = eText(10, decimalForHex(12345));
  auto wantSmall = pairOfFiles("e", "Computation", smallDec, eText(16, 12345));
  wantSmall.merge(pairOfFiles("e", "Verification", smallDec, eText(16, 12345)));
  expectFiles(small, wantSmall);
}

struct PiAlgorithm {
  int number;
  const char* word;
};
const PiAlgorithm piAlgorithms[] = {{1, "Chudnovsky"}, {2, "Ramanujan"}};

// Pi by both formulas at four decimal counts, alternating the threads.
TEST(ConstantsProgram, PiByBothFormulasAtFourSizes) {
  const size_t sizes[] = {1000, 100000, 1048576, 1000003};
  for (const PiAlgorithm& a : piAlgorithms) {
    for (int i = 0; i < 4; ++i) {
      const size_t d = sizes[i];
      const int k = (i + a.number) % 2;
      SCOPED_TRACE(std::string(a.word) + " " + std::to_string(d) +
                   " digits, k = " + std::to_string(k));
      Outcome run =
          runCustom(constant(3) + algorithm(a.number) + decimalDigits(d) + threadPower(k));
      expectFiles(run, pairOfFiles("Pi", a.word, piText(10, d), piText(16, hexForDecimal(d))));
    }
    Outcome hex = runCustom(constant(3) + algorithm(a.number) + hexDigits(100000) + threadPower(1));
    expectFiles(hex,
                pairOfFiles("Pi", a.word, piText(10, decimalForHex(100000)), piText(16, 100000)));
  }
  const std::string& million = piText(10, 1048576);
  EXPECT_EQ(million.substr(million.size() - 10), "1637429204");
}

// The same pi of 1048576 digits on one thread and on two: byte for byte.
TEST(ConstantsProgram, PiOnTwoThreadsWritesTheSameBytesAsOnOne) {
  for (const PiAlgorithm& a : piAlgorithms) {
    SCOPED_TRACE(a.word);
    Outcome one =
        runCustom(constant(3) + algorithm(a.number) + decimalDigits(1048576) + threadPower(0));
    Outcome two =
        runCustom(constant(3) + algorithm(a.number) + decimalDigits(1048576) + threadPower(1));
    EXPECT_EQ(one.result.exitStatus, 0);
    EXPECT_EQ(two.result.exitStatus, 0);
    ASSERT_EQ(one.files.size(), 2u);
    EXPECT_TRUE(one.files == two.files);
    const std::string& dec = one.files["Pi - Dec - " + std::string(a.word) + ".txt"];
    ASSERT_GT(dec.size(), 10u);
    EXPECT_EQ(dec.substr(dec.size() - 10), "1637429204");
  }
}

// Pi at 10,000,000 and 100,000,000 digits, where every large product runs
// on the hybrid transform, on one thread and on two: the same bytes on both;
// the shorter run is the start of the longer; the first 1048576 digits of
// both radixes equal MPFR's; the last ten decimal digits of the longer are
// the published ones.
TEST(ConstantsProgram, PiAtTenAndAHundredMillionDigitsOnOneAndTwoThreads) {
  const std::string dec = "Pi - Dec - Chudnovsky.txt", hex = "Pi - Hex - Chudnovsky.txt";
  std::map<std::string, std::string> shorter;
  for (size_t digits : {size_t(10000000), size_t(100000000)}) {
    Outcome one = runCustom(constant(3) + decimalDigits(digits) + threadPower(0), 900);
    Outcome two = runCustom(constant(3) + decimalDigits(digits) + threadPower(1), 900);
    SCOPED_TRACE(std::to_string(digits) + " digits");
    ASSERT_EQ(one.result.exitStatus, 0) << one.result.out.substr(0, 2000);
    ASSERT_EQ(two.result.exitStatus, 0) << two.result.out.substr(0, 2000);
    ASSERT_EQ(one.files.size(), 2u);
    EXPECT_TRUE(one.files == two.files) << "one and two threads differ";
    EXPECT_EQ(one.files[dec].size(), digits + 2);
    EXPECT_TRUE(sameText(one.files[dec].substr(0, 1048578), piText(10, 1048576)));
    EXPECT_TRUE(sameText(one.files[hex].substr(0, 1048578), piText(16, 1048576)));
    if (!shorter.empty()) {
      EXPECT_TRUE(sameText(one.files[dec].substr(0, shorter[dec].size()), shorter[dec]));
      EXPECT_TRUE(sameText(one.files[hex].substr(0, shorter[hex].size()), shorter[hex]));
    }
    shorter = std::move(one.files);
  }
  const std::string& last = shorter[dec];
  EXPECT_EQ(last.substr(last.size() - 10), "0187751592");
}

}  // namespace
