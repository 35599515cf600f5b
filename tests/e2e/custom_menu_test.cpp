// The custom computation menu in the real program: a tour through every
// sub-menu with scripted input, and the memory of the last settings screen
// against the arena the driver reserves.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "platform/console.h"
#include "support/run_program.h"

namespace {

// The text from the last settings screen to the prompt that ends it.
std::string lastScreen(const std::string& out) {
  size_t start = out.rfind("Custom Compute a Constant\n\n\n");
  if (start == std::string::npos) return "";
  size_t end = out.find("Start Computation!", start);
  return out.substr(start, end == std::string::npos ? std::string::npos : end - start);
}

// The value printed after `label` up to the line end, searched from `from`.
std::string valueAfter(const std::string& text, const std::string& label, size_t from = 0) {
  size_t at = text.find(label, from);
  if (at == std::string::npos) return "<missing " + label + ">";
  at += label.size();
  return text.substr(at, text.find('\n', at) - at);
}

// The memory that the last screen showed is what the driver reserved.
void expectScreenMemoryReserved(const std::string& out) {
  std::string screen = lastScreen(out);
  ASSERT_FALSE(screen.empty()) << out;
  std::string shown = valueAfter(screen, "        Memory Needed:       ");
  std::string reserved = valueAfter(out, "Allocating and Reserving Memory...      ",
                                    out.rfind("Custom Compute a Constant"));
  EXPECT_EQ(shown, reserved) << out;
}

TEST(CustomMenuProgram, TourOfEverySubMenu) {
  ScopedFolder folder;
  const std::string head =
      "4\n"                             // main menu: custom computation
      "1\n0\n1\n4\n9\n4294836225\n2\n"  // constant Sqrt(n): 1 out of range, 3 squares, 2
      "2\n1\n"                          // its one algorithm
      "3\n27\n1000\n"                   // 27 decimal digits refused, 1000 taken
      "4\n2000\n"                       // 2000 hexadecimal digits
      "5\n9\n2\n"                       // threads: 9 refused, k = 2
      "6\n";                            // digits into the test folder
  const std::string tail =
      "7\n"        // too small to compress
      "8\n2\n1\n"  // mode: only Ram Only offered
      "9\n"        // refused in Ram Only
      "0\n";       // start
  std::string input = head + folder.path + "\n" + tail;
  ProgramResult r = runNumbrella(folder.path, input, 120);
  EXPECT_EQ(r.exitStatus, 0) << r.out;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(countOccurrences(r.out, "This number is a perfect square.\n"), 3u);
  expectInOrder(r.out, {
                           "Square Root of n\n\nn = n = \n",
                           "  1     Constant:    Sqrt(2)\n",
                           "Digits: Error: # of digits is out of range\nDigits: \n",
                           "  3     Decimal Digits:        1,000\n",
                           "  3     Decimal Digits:        2,408\n"
                           "  4     Hexadecimal Digits:    2,000\n",
                           "k = k = \n",
                           "  5     Threading Mode:    4 threads\n",
                           "Computation is too small for compression.\n\n\n",
                           "Select a Mode:\n\n",
                           "option: option: \n",
                           "  0     Start Computation!\n\n\noption: option: \n",
                           "\n\nConstant :  Sqrt(2)\n",
                           "Algorithm:  Newton's Method\n\n",
                           "Decimal Digits    :   2,408\n",
                           "Threads:  4\n",
                           "Total Time (including writing digits):  ",
                       });
  EXPECT_EQ(r.out.find("Basic Disk Swapping"), std::string::npos);
  EXPECT_NE(lastScreen(r.out).find("  6     Write Digits To:   " + folder.path + "\n"),
            std::string::npos);
  expectScreenMemoryReserved(r.out);
  for (const std::string& name : listFolder(folder.path)) {
    EXPECT_EQ(name.find("pathcheck"), std::string::npos);  // the probe leaves nothing
  }
}

}  // namespace
