// Log(2), Log(10), Zeta(3), Catalan's and Euler's constants through the real program:
// each algorithm typed into the custom menu, at odd decimal and hexadecimal
// counts on one and two threads; every file equals MPFR's truncated digits,
// compute-and-verify leaves two agreeing pairs, and two threads write the
// same bytes as one.
#include <gtest/gtest.h>
#include <mpfr.h>

#include <cmath>
#include <map>
#include <string>

#include "constants/series_check.h"
#include "support/run_program.h"

namespace {

struct Case {
  int constant;           // key of the constant menu
  int algorithm;          // key of the algorithm menu, from 1
  const char* stem;       // short name in the file names
  const char* word;       // file word, null for compute and verify
  bool typedHex;          // the count is typed as hexadecimal digits
  size_t count;           // the typed count
  int threadPower;
};

void setConstant(mpfr_t v, int constant) {
  switch (constant) {
    case 4:
      mpfr_const_log2(v, MPFR_RNDZ);
      break;
    case 5:
      mpfr_set_ui(v, 10, MPFR_RNDN);
      mpfr_log(v, v, MPFR_RNDZ);
      break;
    case 8:
      mpfr_zeta_ui(v, 3, MPFR_RNDZ);
      break;
    case 10:
      mpfr_const_euler(v, MPFR_RNDZ);
      break;
    default:
      mpfr_const_catalan(v, MPFR_RNDZ);
      break;
  }
}

std::string reference(int constant, size_t digits, int base) {
  return series_check::mpfrText([constant](mpfr_t v) { setConstant(v, constant); }, digits, base);
}

// The files the run leaves; its console output in *out when asked.
std::map<std::string, std::string> runCase(const Case& c, std::string* out = nullptr) {
  const std::string folder = makeTempFolder();
  const std::string keys = "4\n1\n" + std::to_string(c.constant) + "\n2\n" +
                           std::to_string(c.algorithm) + "\n" + (c.typedHex ? "4\n" : "3\n") +
                           std::to_string(c.count) + "\n5\n" + std::to_string(c.threadPower) +
                           "\n0\n\n";
  ProgramResult result = runNumbrella(folder, keys, 120);
  EXPECT_EQ(result.exitStatus, 0) << result.out.substr(result.out.size() > 2000 ? result.out.size() - 2000 : 0);
  EXPECT_FALSE(result.timedOut);
  if (out != nullptr) *out = result.out;
  std::map<std::string, std::string> files;
  for (const std::string& name : listFolder(folder)) files[name] = readWholeFile(folder + "/" + name);
  removeTree(folder);
  return files;
}

void checkCases(const Case* cases, size_t count) {
  for (size_t i = 0; i < count; i++) {
    const Case& c = cases[i];
    SCOPED_TRACE(std::string(c.stem) + " algorithm " + std::to_string(c.algorithm));
    const size_t hex =
        c.typedHex ? c.count : size_t(std::floor(double(c.count) * 0.8304820237218407)) + 1;
    const size_t decimal =
        c.typedHex ? size_t(std::floor(double(c.count) * 1.2041199826559246)) : c.count;
    const std::string wantDecimal = reference(c.constant, decimal, 10);
    const std::string wantHex = reference(c.constant, hex, 16);
    std::map<std::string, std::string> files = runCase(c);
    std::map<std::string, const std::string*> want;
    const std::string stem = c.stem;
    for (const char* word : {"Computation", "Verification"}) {
      const std::string w = c.word != nullptr ? c.word : word;
      want[stem + " - Dec - " + w + ".txt"] = &wantDecimal;
      want[stem + " - Hex - " + w + ".txt"] = &wantHex;
      if (c.word != nullptr) break;
    }
    EXPECT_EQ(files.size(), want.size());
    for (const auto& [name, text] : want) {
      EXPECT_TRUE(files[name] == *text) << name << " starts " << files[name].substr(0, 30);
    }
  }
}

}  // namespace

TEST(NewConstantsProgram, EveryAlgorithmWritesMpfrsDigits) {
  const Case cases[] = {
      {4, 1, "Log(2)", "Machin 1", false, 12345, 1},
      {4, 2, "Log(2)", "Machin 2", true, 1001, 0},
      {4, 3, "Log(2)", nullptr, false, 20001, 1},
      {5, 1, "Log(10)", "Machin 1", true, 12345, 0},
      {5, 2, "Log(10)", "Machin 2", false, 1000, 1},
      {5, 3, "Log(10)", nullptr, true, 4097, 0},
      {8, 1, "Zeta(3)", "Amdeberhan-Zeiberger 2", false, 12345, 1},
      {8, 2, "Zeta(3)", "Amdeberhan-Zeiberger 1", true, 1001, 0},
      {9, 1, "Catalan", "Lupas", true, 12345, 1},
      {9, 2, "Catalan", "Ramanujan", false, 20001, 0},
  };
  checkCases(cases, sizeof cases / sizeof cases[0]);
  // Two threads write the same bytes as one.
  const Case one = {9, 2, "Catalan", "Ramanujan", false, 30001, 0};
  Case two = one;
  two.threadPower = 1;
  EXPECT_TRUE(runCase(one) == runCase(two));
}

TEST(NewConstantsProgram, EulerEveryAlgorithmAndTheSkippedCorrection) {
  const Case cases[] = {
      {10, 1, "Euler's Constant", "Brent-McMillan (Refined)", false, 12345, 1},
      {10, 2, "Euler's Constant", "Brent-McMillan", true, 4097, 0},
      {10, 3, "Euler's Constant", nullptr, false, 20001, 1},
  };
  checkCases(cases, sizeof cases / sizeof cases[0]);
  // 39 hexadecimal digits: n = 2^5 and e^(-4n) is below the precision.
  std::string out;
  const Case small = {10, 1, "Euler's Constant", "Brent-McMillan (Refined)", true, 39, 0};
  std::map<std::string, std::string> files = runCase(small, &out);
  EXPECT_NE(out.find("( n = 2^5 )"), std::string::npos);
  EXPECT_NE(out.find("Series C not needed"), std::string::npos);
  EXPECT_EQ(files["Euler's Constant - Hex - Brent-McMillan (Refined).txt"], reference(10, 39, 16));
}
