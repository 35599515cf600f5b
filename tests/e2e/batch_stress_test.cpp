// Options 2 and 3 of the real program: a Dense and a SuperPi batch with
// their table and curve, and the stress test ended from outside.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/run_program.h"

namespace {

// Points of Benchmarks.svg as an XML parser sees them, or the parser's error.
std::string curvePoints(const std::string& folder) {
  ProgramResult r = runProgram(
      "/usr/bin/python3", folder, "", 30,
      {"-c",
       "import xml.etree.ElementTree as E\n"
       "root = E.parse('Benchmarks.svg').getroot()\n"
       "ns = '{http://www.w3.org/2000/svg}'\n"
       "print(root.tag == ns + 'svg', root.get('width'), root.get('height'),\n"
       "      len([c for c in root.iter(ns + 'circle') if c.get('class') == 'best']))\n"});
  return r.out + r.err;
}

// Rows of Benchmarks.txt: the lines that begin with three blanks.
std::vector<std::string> tableRows(const std::string& folder) {
  std::string table = readWholeFile(folder + "/Benchmarks.txt");
  std::vector<std::string> rows;
  for (size_t at = table.find("\r\n   "); at != std::string::npos;
       at = table.find("\r\n   ", at + 2)) {
    rows.push_back(table.substr(at + 5, table.find("\r\n", at + 2) - at - 5));
  }
  return rows;
}

// A row ends in a 32-character checksum that the run printed too.
void expectChecksumShown(const std::string& row, const std::string& out) {
  std::string checksum = row.substr(row.rfind('\t') + 1);
  EXPECT_EQ(checksum.size(), 32u) << row;
  EXPECT_NE(out.find("Checksum:       " + checksum + "\n"), std::string::npos) << row;
}

TEST(ProgramBatch, DenseThenSuperPiFillTheTableAndTheCurve) {
  ScopedFolder folder;
  // Dense from 10,000 (its default start) to 100,000 (option 9), two trials.
  ProgramResult dense = runNumbrella(folder.path, "2\n1\n2\n3\n9\n6\n2\n0\n", 300);
  EXPECT_EQ(dense.exitStatus, 0) << dense.out;
  EXPECT_EQ(countOccurrences(dense.out, "Total Trials:   2\n"), 9u) << dense.out;
  std::vector<std::string> rows = tableRows(folder.path);
  ASSERT_EQ(rows.size(), 9u);
  EXPECT_EQ(rows[0].rfind("10000\t", 0), 0u);
  EXPECT_EQ(rows[8].rfind("100000\t", 0), 0u);
  // Every row has its checksum, though Dense sizes have no known digits.
  for (const std::string& row : rows) expectChecksumShown(row, dense.out);
  EXPECT_EQ(dense.out.find("Benchmark Successful"), std::string::npos);
  EXPECT_EQ(curvePoints(folder.path), "True 900 640 9\n");

  // SuperPi from 2^20 to 2^21 (option 2); no second trial after 0 seconds.
  // Checked digits, checksums, and both files replaced.
  ProgramResult superPi = runNumbrella(folder.path, "2\n1\n1\n3\n2\n5\n0\n0\n", 300);
  EXPECT_EQ(superPi.exitStatus, 0) << superPi.out;
  EXPECT_EQ(countOccurrences(superPi.out, "Benchmark Successful. The digits appear to be OK."), 2u);
  EXPECT_EQ(countOccurrences(superPi.out, "Total Trials:   1\n"), 2u);
  rows = tableRows(folder.path);
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].rfind("1048576\t", 0), 0u);
  EXPECT_EQ(rows[1].rfind("2097152\t", 0), 0u);
  for (const std::string& row : rows) expectChecksumShown(row, superPi.out);
  EXPECT_EQ(curvePoints(folder.path), "True 900 640 2\n");
  // The curve is written beside and renamed: nothing is left over.
  EXPECT_EQ(listFolder(folder.path).size(), 4u);
}

TEST(ProgramStress, BothThreadsPassTestsUntilTheRunIsEndedFromOutside) {
  ScopedFolder folder;
  // An option outside the table is asked again; then a custom 64 MiB. The
  // run is ended once each thread has passed a test.
  const char* passed[] = {"\nThread 0: Test 1 passed.Elapsed Time: ",
                          "\nThread 1: Test 1 passed.Elapsed Time: "};
  ProgramResult r = runNumbrella(folder.path, "3\n19\n0\n64MB\n", 120, {passed[0], passed[1]});
  EXPECT_TRUE(r.timedOut);
  expectInOrder(r.out, {"Stress Test\n\nThis option will perform a continuous stress test",
                        "option: option: \nEnter a limit: (e.g. 512MB, 1GB, etc...)\nBytes: ",
                        "Memory Limit: 64.0 MB\nBeginning continuous stress test...\n"});
  for (const char* thread : passed) EXPECT_NE(r.out.find(thread), std::string::npos) << r.out;
  EXPECT_EQ(r.out.find("ERROR"), std::string::npos);
  EXPECT_TRUE(listFolder(folder.path).empty());
}

}  // namespace
