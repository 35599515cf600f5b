// Every constant and algorithm through the real program: each run types its
// settings into the custom computation menu, in a fresh folder as working
// directory, at odd decimal or hexadecimal counts on one and two threads,
// and every digit file it leaves (two pairs for compute and verify) must
// equal MPFR's truncated digits in the same layout. One large Pi run, on two
// threads and in the hybrid transform's range, also ends in the published
// last digits of its size.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "constants/compute_settings.h"
#include "support/mpfr_digits.h"
#include "support/run_program.h"

namespace {

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

// One run: the keys that choose the constant and algorithm, the count typed
// in one radix, the thread power, the files' stem and words, and the
// constant (its id and radicand) for MPFR.
struct Case {
  std::string keys;
  bool typedHex;
  size_t digits;
  int threadPower;
  const char* stem;
  std::vector<const char*> words;  // two for compute and verify
  uint32_t id, n;
};

// Runs a case: it ends well and leaves exactly its files, each of them
// MPFR's digits. The menu derives the other radix's count from the typed one.
Outcome expectCase(const Case& c, int timeoutSeconds = 120) {
  const std::string count = std::to_string(c.digits);
  Outcome run = runCustom(c.keys + (c.typedHex ? "4\n" : "3\n") + count + "\n5\n" +
                              std::to_string(c.threadPower) + "\n",
                          timeoutSeconds);
  const size_t decimal = c.typedHex ? size_t(std::floor(c.digits * 1.2041199826559246)) : c.digits;
  const size_t hex = c.typedHex ? c.digits : size_t(std::floor(c.digits * 0.8304820237218407)) + 1;
  SCOPED_TRACE(std::string(c.stem) + ", " + count + (c.typedHex ? " hexadecimal" : " decimal") +
               " digits, k = " + std::to_string(c.threadPower));
  EXPECT_EQ(run.result.exitStatus, 0) << run.result.out.substr(0, 2000);
  EXPECT_FALSE(run.result.timedOut);
  EXPECT_EQ(run.result.err, "");
  std::map<std::string, const std::string*> want;
  for (const char* word : c.words) {
    want[std::string(c.stem) + " - Dec - " + word + ".txt"] = &mpfrdigits::constantText(c.id, c.n, 10, decimal);
    want[std::string(c.stem) + " - Hex - " + word + ".txt"] = &mpfrdigits::constantText(c.id, c.n, 16, hex);
  }
  EXPECT_EQ(run.files.size(), want.size());
  for (const auto& [name, text] : want) {
    auto found = run.files.find(name);
    if (found == run.files.end()) {
      ADD_FAILURE() << "no file " << name;
      continue;
    }
    EXPECT_TRUE(sameText(found->second, *text)) << name;
  }
  return run;
}

const std::vector<const char*> verify = {"Computation", "Verification"};

TEST(ConstantsProgram, EveryConstantAndAlgorithmInBothRadixes) {
  const Case cases[] = {
      {"1\n0\n2\n", false, 12345, 1, "Sqrt(2)", {"Newton"}, constantSqrtN, 2},
      // Just below 2^32 the root has five decimal and four hexadecimal digits
      // before the point, and the writers must be told so.
      {"1\n0\n4294967291\n", false, 12345, 1, "Sqrt(4294967291)", {"Newton"}, constantSqrtN, 4294967291u},
      {"1\n0\n4294967291\n", true, 1000, 0, "Sqrt(4294967291)", {"Newton"}, constantSqrtN, 4294967291u},
      {"1\n1\n", false, 1000003, 1, "Golden Ratio", {"Newton"}, constantGoldenRatio, 0},
      {"1\n2\n2\n1\n", false, 12345, 0, "e", {"exp(1)"}, constantE, 0},
      {"1\n2\n2\n2\n", true, 1000, 1, "e", {"exp(-1)"}, constantE, 0},
      {"1\n2\n2\n3\n", false, 1000003, 1, "e", verify, constantE, 0},
      {"1\n3\n2\n2\n", false, 1000003, 0, "Pi", {"Ramanujan"}, constantPi, 0},
      {"1\n3\n2\n2\n", true, 100000, 1, "Pi", {"Ramanujan"}, constantPi, 0},
      {"1\n4\n2\n1\n", false, 12345, 1, "Log(2)", {"Machin 1"}, constantLog2, 0},
      {"1\n4\n2\n2\n", true, 1001, 0, "Log(2)", {"Machin 2"}, constantLog2, 0},
      {"1\n4\n2\n3\n", false, 20001, 1, "Log(2)", verify, constantLog2, 0},
      {"1\n5\n2\n1\n", true, 12345, 0, "Log(10)", {"Machin 1"}, constantLog10, 0},
      {"1\n5\n2\n2\n", false, 1000, 1, "Log(10)", {"Machin 2"}, constantLog10, 0},
      {"1\n5\n2\n3\n", true, 4097, 0, "Log(10)", verify, constantLog10, 0},
      {"1\n8\n2\n1\n", false, 12345, 1, "Zeta(3)", {"Amdeberhan-Zeiberger 2"}, constantZeta3, 0},
      {"1\n8\n2\n2\n", true, 1001, 0, "Zeta(3)", {"Amdeberhan-Zeiberger 1"}, constantZeta3, 0},
      {"1\n9\n2\n1\n", true, 12345, 1, "Catalan", {"Lupas"}, constantCatalan, 0},
      {"1\n9\n2\n2\n", false, 20001, 0, "Catalan", {"Ramanujan"}, constantCatalan, 0},
      {"1\n10\n2\n1\n", false, 12345, 1, "Euler's Constant", {"Brent-McMillan (Refined)"}, constantEuler, 0},
      {"1\n10\n2\n2\n", true, 4097, 0, "Euler's Constant", {"Brent-McMillan"}, constantEuler, 0},
      {"1\n10\n2\n3\n", false, 20001, 1, "Euler's Constant", verify, constantEuler, 0},
  };
  for (const Case& c : cases) expectCase(c);
}

// 2^23 digits on two threads, every large product on the hybrid transform:
// both files equal MPFR's, and the decimal one ends in the published last ten
// digits of that size and holds those of 2^20 digits at their place.
TEST(ConstantsProgram, PiAtTwoToTheTwentyThirdDigitsOnTwoThreads) {
  const Case big = {"", false, 8388608, 1, "Pi", {"Chudnovsky"}, constantPi, 0};
  Outcome run = expectCase(big, 900);
  const std::string& decimal = run.files["Pi - Dec - Chudnovsky.txt"];
  ASSERT_EQ(decimal.size(), 8388610u);
  EXPECT_EQ(decimal.substr(decimal.size() - 10), "6340425119");
  EXPECT_EQ(decimal.substr(1048568, 10), "1637429204");
}

}  // namespace
