// The constants through the real program: each run types its settings into
// the custom computation menu, in a fresh folder as working directory, and
// every digit file it leaves must equal MPFR's truncated digits in the same
// layout. One large Pi run, on two threads and in the hybrid transform's
// range, also ends in the published last digits of its size.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

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

using Reference = const std::string& (*)(int radix, size_t fractionDigits);

// One run: the keys that choose the constant and algorithm, the count typed
// in one radix, the thread power, the files' stem and words, and MPFR's value.
struct Case {
  std::string keys;
  bool typedHex;
  size_t digits;
  int threadPower;
  const char* stem;
  std::vector<const char*> words;  // two for compute and verify
  Reference reference;
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
    want[std::string(c.stem) + " - Dec - " + word + ".txt"] = &c.reference(10, decimal);
    want[std::string(c.stem) + " - Hex - " + word + ".txt"] = &c.reference(16, hex);
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

const std::string& sqrt2(int radix, size_t d) { return mpfrdigits::sqrtText(2, radix, d); }
// Just below 2^32 the root has five decimal and four hexadecimal digits
// before the point, and the writers must be told so.
const std::string& sqrtBelow2To32(int radix, size_t d) {
  return mpfrdigits::sqrtText(4294967291u, radix, d);
}

TEST(ConstantsProgram, EveryConstantAndAlgorithmInBothRadixes) {
  const Case cases[] = {
      {"1\n0\n2\n", false, 12345, 1, "Sqrt(2)", {"Newton"}, sqrt2},
      {"1\n0\n4294967291\n", false, 12345, 1, "Sqrt(4294967291)", {"Newton"}, sqrtBelow2To32},
      {"1\n0\n4294967291\n", true, 1000, 0, "Sqrt(4294967291)", {"Newton"}, sqrtBelow2To32},
      {"1\n1\n", false, 1000003, 1, "Golden Ratio", {"Newton"}, mpfrdigits::goldenRatioText},
      {"1\n2\n2\n1\n", false, 12345, 0, "e", {"exp(1)"}, mpfrdigits::eText},
      {"1\n2\n2\n2\n", true, 1000, 1, "e", {"exp(-1)"}, mpfrdigits::eText},
      {"1\n2\n2\n3\n", false, 1000003, 1, "e", {"Computation", "Verification"},
       mpfrdigits::eText},
      {"1\n3\n2\n2\n", false, 1000003, 0, "Pi", {"Ramanujan"}, mpfrdigits::piText},
      {"1\n3\n2\n2\n", true, 100000, 1, "Pi", {"Ramanujan"}, mpfrdigits::piText},
  };
  for (const Case& c : cases) expectCase(c);
}

// 2^23 digits on two threads, every large product on the hybrid transform:
// both files equal MPFR's, and the decimal one ends in the published last ten
// digits of that size and holds those of 2^20 digits at their place.
TEST(ConstantsProgram, PiAtTwoToTheTwentyThirdDigitsOnTwoThreads) {
  const Case big = {"", false, 8388608, 1, "Pi", {"Chudnovsky"}, mpfrdigits::piText};
  Outcome run = expectCase(big, 900);
  const std::string& decimal = run.files["Pi - Dec - Chudnovsky.txt"];
  ASSERT_EQ(decimal.size(), 8388610u);
  EXPECT_EQ(decimal.substr(decimal.size() - 10), "6340425119");
  EXPECT_EQ(decimal.substr(1048568, 10), "1637429204");
}

}  // namespace
