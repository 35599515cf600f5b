// The custom computation menu: the settings screen, every sub-menu with its
// texts and range rules, the re-estimate after each change, and the undo of
// a size that would need Advanced Swap.
#include "shell/custom_menu.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <tuple>

#include "arith/size_limits.h"
#include "memory/raidfile.h"
#include "platform/console.h"
#include "shell/estimate.h"
#include "shell/settings_init.h"
#include "support/run_program.h"
#include "support/console_capture.h"

namespace {

// The default record (Pi, 50,000,000 digits) with a fixed thread count.
struct Settings {
  ComputeSettings s;
  explicit Settings(uint32_t threadPower = 1) {
    initComputeSettings(nullptr, &s);
    s.threadPower = threadPower;
    estimateResources(&s);
  }
  ~Settings() { releaseComputeSettings(&s); }
};

// The menus must leave exactly the needs a fresh estimate gives.
void expectEstimated(const ComputeSettings& s) {
  ComputeSettings c = s;
  estimateResources(&c);
  EXPECT_EQ(std::tie(s.memoryNeeded, s.diskNeeded, s.computeMode, s.digitsPerFile),
            std::tie(c.memoryNeeded, c.diskNeeded, c.computeMode, c.digitsPerFile));
}

std::string screenOf(const ComputeSettings& s) {
  Capture capture("");
  printSettingsScreen(&s);
  return capture.text;
}

// Everything `menu` prints for the scripted `input`.
std::string run(void (*menu)(ComputeSettings*), ComputeSettings* s, const std::string& input) {
  Capture capture(input.c_str());
  menu(s);
  return capture.text;
}

TEST(SettingsScreen, DefaultRecordExactly) {
  Settings settings(1);
  EXPECT_EQ(screenOf(settings.s),
            "Custom Compute a Constant\n\n\n"
            "Current Settings: (select option # to change setting)\n\n"
            "  1     Constant:    Pi\n"
            "  2     Algorithm:   Chudnovsky Formula\n\n"
            "  3     Decimal Digits:        50,000,000\n"
            "  4     Hexadecimal Digits:    41,524,102\n\n"
            "  5     Threading Mode:    2 threads\n"
            "  6     Write Digits To:   Default Path\n"
            "  7     Compress Output:   No - Write digits to a text file.\n\n"
            "  8     Computation Mode:    Ram Only\n"
            "\n        Memory Needed:       " +
                formatBytes(settings.s.memoryNeeded + 1048576) +
                "\n\n  0     Start Computation!");
}

TEST(SettingsScreen, SwapModeDisksSplitOutputAndOneThread) {
  Settings settings(0);
  ComputeSettings& s = settings.s;
  s.computeMode = computeModeBasicSwap;
  s.digitsPerFile = 10000000;
  s.outputPath = strdup("/tmp/digits here");
  estimateResources(&s);
  ASSERT_GT(s.diskNeeded, 0u);
  std::string screen = screenOf(s);
  EXPECT_HAS(screen,
                       "  5     Threading Mode:    Multi-Threading Disabled\n"
                       "  6     Write Digits To:   /tmp/digits here\n"
                       "  7     Compress Output:   Yes - Compress digits and split them into "
                       "multiple\n"
                       "                           files with  10,000,000  digits per file.\n\n"
                       "  8     Computation Mode:    Basic Swap\n"
                       "  9     Swap Disks:          None Selected - Use Default Path\n\n"
                       "        Memory Needed:       " +
                           formatBytes(s.memoryNeeded + 1048576) +
                           "\n        Disk Needed:         " + formatBytes(s.diskNeeded) +
                           "\n\n  0     Start Computation!");
  // One disk: no share per disk. Three: the share of each.
  s.swapDiskCount = 1;
  EXPECT_HAS(screenOf(s), "  9     Swap Disks:          1\n\n        Memory Needed:       " +
                                        formatBytes(s.memoryNeeded + 1048576) +
                                        "\n        Disk Needed:         " +
                                        formatBytes(s.diskNeeded) + "\n");
  s.swapDiskCount = 3;
  EXPECT_HAS(screenOf(s), "Disk Needed:         " + formatBytes(s.diskNeeded) +
                                        "  ( " + formatBytes(s.diskNeeded / 3) +
                                        " per disk )\n");
  s.digitsPerFile = -1;
  EXPECT_HAS(screenOf(s),
                       "  7     Compress Output:   Yes - Compress digits into one .zdg file.\n\n");
}

TEST(SettingsScreen, EulerSeriesSizeAndEmptyConstant) {
  Settings settings;
  ComputeSettings& s = settings.s;
  selectConstant(nullptr, &s, constantEuler);
  estimateResources(&s);
  std::string k = std::to_string(s.constantParameter);
  std::string k1 = std::to_string(s.constantParameter + 1);
  ASSERT_GE(s.constantParameter, 5u);
  EXPECT_HAS(screenOf(s), "  1     Constant:    Euler-Mascheroni Constant\n"
                                    "  2     Algorithm:   Brent-McMillan with Refinement  "
                                    "( n = 2^" + k + " )\n\n");
  s.algorithm = 2;
  EXPECT_HAS(screenOf(s), "Compute and Verify  ( n = 2^" + k + " , 2^" + k1 + " )\n\n");
  selectConstant(nullptr, &s, 6);
  estimateResources(&s);
  EXPECT_HAS(screenOf(s), "  1     Constant:    \n  2     Algorithm:   \n\n");
}

TEST(CustomMenu, NineOnlyInASwapModeAndEveryRoundReEstimates) {
  Settings settings;
  // Ram Only: 9 is refused silently, 0 starts.
  std::string out = run(customComputeMenu, &settings.s, "9\n0\n");
  EXPECT_HAS(out, "  0     Start Computation!\n\n\noption: option: \n");
  EXPECT_LACKS(out, "Enter the # of disks");
  // Basic Swap: 9 opens the disks menu, 10 is refused.
  settings.s.computeMode = computeModeBasicSwap;
  out = run(customComputeMenu, &settings.s, "10\n9\n0\n0\n");
  EXPECT_HAS(out, "option: option: \nEnter the # of disks you wish to use:");
  EXPECT_EQ(countOccurrences(out, "Custom Compute a Constant\n"), 2u);
  // A record edited behind the loop's back is corrected before it is shown.
  settings.s.computeMode = computeModeRamOnly;
  settings.s.memoryNeeded = 1;
  settings.s.digitsPerFile = -1;  // below the compression floor after 3
  out = run(customComputeMenu, &settings.s, "3\n100000\n0\n");
  expectEstimated(settings.s);
  EXPECT_EQ(settings.s.digitsPerFile, 0);
  size_t last = out.rfind("Memory Needed:       ");
  ASSERT_NE(last, std::string::npos);
  EXPECT_EQ(out.substr(last + 21).rfind(formatBytes(settings.s.memoryNeeded + 1048576), 0),
            0u);
}

TEST(ConstantMenu, ListingAndEveryId) {
  Settings settings;
  // 11 is not on the list: asked again.
  std::string out = run(menuConstant, &settings.s, "11\n8\n");
  EXPECT_HAS(out, "Enter your choice:\noption: option: \n");
  EXPECT_EQ(settings.s.constantId, 8u);
  for (uint32_t id = 1; id <= 10; id++) {
    SCOPED_TRACE(id);
    settings.s.algorithm = 1;
    run(menuConstant, &settings.s, std::to_string(id) + "\n");
    EXPECT_EQ(settings.s.constantId, id);
    EXPECT_EQ(settings.s.algorithm, 0u);
    expectEstimated(settings.s);
    EXPECT_EQ(settings.s.memoryNeeded == 0, id == 6 || id == 7);
  }
}

TEST(ConstantMenu, SquareRootRefusesPerfectSquaresAndOne) {
  Settings settings;
  // 1 is out of range (asked again silently); 4, 9 and 65535^2 are squares.
  std::string out = run(menuConstant, &settings.s, "0\n1\n4\n9\n4294836225\n2\n");
  EXPECT_EQ(countOccurrences(out,
                             "This number is a perfect square.\n"
                             "Please choose something more interesting :)\n\n"),
            3u);
  EXPECT_HAS(out, "option: \nSquare Root of n\n\nn = n = \n"
                                     "This number is a perfect square.\n");
  EXPECT_EQ(settings.s.constantId, constantSqrtN);
  EXPECT_EQ(settings.s.constantParameter, 2u);
  EXPECT_STREQ(settings.s.displayName, "Sqrt(2)");
  EXPECT_STREQ(settings.s.decimalFileStem, "Sqrt(2) - Dec - Newton");
  expectEstimated(settings.s);
  for (uint32_t n : {3u, 4294836224u, 4294836226u, 4294967295u}) {
    out = run(menuConstant, &settings.s, "0\n" + std::to_string(n) + "\n");
    EXPECT_EQ(settings.s.constantParameter, n);
    EXPECT_LACKS(out, "perfect square");
  }
  // Squares of 16-bit roots are refused (sampled); 2^32 is out of range.
  for (uint32_t r = 2; r < 65536; r += 4999) {
    out = run(menuConstant, &settings.s, "0\n4294967296\n" + std::to_string(r * r) + "\n7\n");
    EXPECT_EQ(settings.s.constantParameter, 7u) << r;
    EXPECT_EQ(countOccurrences(out, "This number is a perfect square."), 1u) << r;
  }
}

TEST(AlgorithmMenu, LinesRangeAndStems) {
  Settings settings;
  selectConstant(nullptr, &settings.s, constantLog2);
  // Each line is the number, five blanks and the constant's menu text.
  std::string out = run(menuAlgorithm, &settings.s, "0\n4\n3\n");
  EXPECT_EQ(out, std::string("Select an Algorithm:\n\n1     ") +
                              settings.s.algorithmMenuLines[0] + "\n2     " +
                              settings.s.algorithmMenuLines[1] + "\n3     " +
                              settings.s.algorithmMenuLines[2] +
                              "\n\nEnter your choice:\noption: option: option: \n");
  EXPECT_HAS(out, "3     Compute and Verify using: Log(2) =\n\n");
  EXPECT_EQ(settings.s.algorithm, 2u);
  EXPECT_STREQ(settings.s.decimalFileStem, "Log(2) - Dec - ");
  expectEstimated(settings.s);
  // Pi has two algorithms: 3 is refused.
  selectConstant(nullptr, &settings.s, constantPi);
  out = run(menuAlgorithm, &settings.s, "3\n2\n");
  EXPECT_EQ(settings.s.algorithm, 1u);
  EXPECT_HAS(out, "2     Ramanujan's Formula     (~40% slower)\n");
  EXPECT_HAS(out, "option: option: \n");
  // An empty constant offers nothing and reads nothing.
  selectConstant(nullptr, &settings.s, 7);
  EXPECT_EQ(run(menuAlgorithm, &settings.s, ""), "Select an Algorithm:\n\n");
}

TEST(DigitMenus, DecimalRangeRulesAndTheLimit) {
  Settings settings;
  ComputeSettings& s = settings.s;
  // 27 digits (4 words) and the limit + 1 are refused; 28 (5 words) is not.
  EXPECT_EQ(run(menuDecimalDigits, &s, "27\nabc\n" + std::to_string(s.digitLimit + 1) + "\n28\n"),
            "Select the # of decimal digits to compute:\n\n"
            "Digits: Error: # of digits is out of range\n"
            "Digits: Digits: Error: # of digits is out of range\n"
            "Digits: \n");
  EXPECT_EQ(s.decimalDigits, 28u);
  EXPECT_EQ(s.hexDigits, 24u);
  EXPECT_EQ(s.wordCount, 5u);
  expectEstimated(s);
  // The limit itself is accepted and keeps a swap mode.
  s.computeMode = computeModeBasicSwap;
  std::string out = run(menuDecimalDigits, &s, std::to_string(s.digitLimit) + "\n");
  EXPECT_EQ(s.decimalDigits, largestRunDecimalDigits);
  EXPECT_EQ(s.wordCount, largestRunWords);
  EXPECT_EQ(s.computeMode, computeModeBasicSwap);
  EXPECT_LACKS(out, "Advanced Swap");
  expectEstimated(s);
}

TEST(DigitMenus, HexadecimalRangeRules) {
  Settings settings;
  ComputeSettings& s = settings.s;
  // No lower limit on this path.
  std::string out = run(menuHexDigits, &s, "0\n");
  EXPECT_EQ(out, "Select the # of hexadecimal digits to compute:\n\nDigits: \n");
  EXPECT_EQ(s.hexDigits, 0u);
  EXPECT_EQ(s.decimalDigits, 0u);
  EXPECT_EQ(s.wordCount, 2u);
  expectEstimated(s);
  // The largest count within the digit limit, after three over it.
  out = run(menuHexDigits, &s, "79999999999192\n18446744073709551615\n96329598611500\n79999999999191\n");
  EXPECT_EQ(countOccurrences(out, "Digits: Error: Digit Limit Exceeded\n"), 3u);
  EXPECT_EQ(s.hexDigits, 79999999999191u);
  EXPECT_EQ(s.decimalDigits, s.digitLimit);
  EXPECT_EQ(s.wordCount, 79999999999191u / 8 + 2);
  expectEstimated(s);
  run(menuHexDigits, &s, "1048577\n");
  EXPECT_EQ(s.hexDigits, 1048577u);
  EXPECT_EQ(s.decimalDigits, 1262612u);  // floor(1048577 * log(16) / log(10))
  EXPECT_EQ(s.wordCount, 131074u);
}

TEST(DigitMenus, AdvancedSwapRefusalRestoresTheOldRecord) {
  Settings settings;
  ComputeSettings& s = settings.s;
  // Every count the menus accept stays within 10^13 words, so the refusal
  // cannot be reached by typing and is called directly.
  setHexDigits(&s, 79999999999191u);
  EXPECT_LE(s.wordCount, advancedSwapWords);
  setHexDigits(&s, (advancedSwapWords - 1) * 8);
  EXPECT_GT(s.decimalDigits, s.digitLimit);

  setDecimalDigits(&s, 50000000);
  s.computeMode = computeModeBasicSwap;
  estimateResources(&s);
  ComputeSettings before = s;
  // Exactly 10^13 words passes; one word more is refused.
  s.digitLimit = ~uint64_t(0) / 2;
  setHexDigits(&s, (advancedSwapWords - 2) * 8);
  ASSERT_EQ(s.wordCount, advancedSwapWords);
  auto refuse = [&](uint64_t oldDigits, uint32_t oldMode, const char* input, bool* refused) {
    Capture capture(input);
    *refused = refuseAdvancedSwap(&s, oldDigits, oldMode);
    return capture.text;
  };
  bool refused = true;
  EXPECT_EQ(refuse(before.decimalDigits, before.computeMode, "", &refused), "");  // silent
  EXPECT_FALSE(refused);
  setDecimalDigits(&s, 200000000000000ull);
  s.computeMode = computeModeRamOnly;
  EXPECT_EQ(refuse(before.decimalDigits, before.computeMode, "\n", &refused),
            "Computing this many digits will require Advanced Swap Mode.\n"
            "This feature has not been implemented yet.\n\nPress any key to continue . . . \n\n");
  EXPECT_TRUE(refused);
  EXPECT_EQ(std::tie(s.decimalDigits, s.hexDigits, s.wordCount, s.computeMode, s.memoryNeeded,
                     s.diskNeeded),
            std::tie(before.decimalDigits, before.hexDigits, before.wordCount, before.computeMode,
                     before.memoryNeeded, before.diskNeeded));

  // An old count of 0 hexadecimal digits returns through the decimal
  // relations as 1, below the decimal menu's range: only the estimate runs.
  s.computeMode = computeModeRamOnly;
  setHexDigits(&s, 0);
  uint64_t oldDecimal = s.decimalDigits;
  setDecimalDigits(&s, 200000000000000ull);
  refuse(oldDecimal, computeModeRamOnly, "\n", &refused);
  EXPECT_TRUE(refused);
  EXPECT_EQ(std::tie(s.decimalDigits, s.hexDigits, s.wordCount), std::make_tuple(0ull, 1ull, 2ull));
  expectEstimated(s);
}

TEST(ThreadsMenu, TextRangeAndEstimate) {
  Settings settings(0);
  ComputeSettings& s = settings.s;
  uint64_t oneThread = s.memoryNeeded;
  std::string out = run(menuThreads, &s, "9\n3\n");
  EXPECT_EQ(out.rfind("Select a threading mode: \n\n k      Threads\n\n"
                      " 0            1  (no multi-threading)\n",
                      0),
            0u);
  EXPECT_HAS(out, "Otherwise, numbrella will end up using more cores than what you "
                            "specify.\nk = k = \n");
  EXPECT_EQ(s.threadPower, 3u);
  expectEstimated(s);
  EXPECT_GT(s.memoryNeeded, oneThread);
  setThreadPower(&s, 9);  // ignored
  EXPECT_EQ(s.threadPower, 3u);
  setThreadPower(&s, 8);
  EXPECT_EQ(s.threadPower, 8u);
}

TEST(OutputFormatMenu, FloorOfCompressionAndDigitsPerFile) {
  Settings settings;
  ComputeSettings& s = settings.s;
  setHexDigits(&s, 1048575);
  s.digitsPerFile = -1;
  std::string out = run(menuOutputFormat, &s, "");
  EXPECT_EQ(out, "Computation is too small for compression.\n\n\n");
  EXPECT_EQ(s.digitsPerFile, 0);  // an earlier choice is reset
  setHexDigits(&s, 1048576);
  out = run(menuOutputFormat, &s, "3\n1\n");
  EXPECT_HAS(out, "Select an Output Format:\n\n");
  EXPECT_HAS(out, "option: option: \n");
  EXPECT_EQ(s.digitsPerFile, -1);
  run(menuOutputFormat, &s, "0\n");
  EXPECT_EQ(s.digitsPerFile, 0);
  setHexDigits(&s, 41524102);
  out = run(menuOutputFormat, &s, "2\n999999\n41524102\nmany\n41524101\n");
  EXPECT_EQ(countOccurrences(out, "Digits per file: "), 4u);
  EXPECT_EQ(s.digitsPerFile, 41524101);
  expectEstimated(s);
  // A new digit count does not ask again for the split size.
  run(menuOutputFormat, &s, "2\n1000000\n");
  run(menuDecimalDigits, &s, "40000000\n");
  EXPECT_EQ(s.digitsPerFile, 1000000);
}

TEST(PathMenus, ProbeAndOutputPath) {
  std::string folder = makeTempFolder();
  for (std::string path : {folder, folder + "/", folder + "/no/such/folder", std::string()}) {
    EXPECT_NE(probeWritablePath(path.c_str()), 0) << path;
  }
  EXPECT_TRUE(listFolder(folder).empty());  // no probe file left or made
  removeTree(folder);

  Settings settings;
  ComputeSettings& s = settings.s;
  // The line end of the option before is skipped; blanks are kept.
  std::string out = run(menuOutputPath, &s, "\n/tmp/my digits \n");
  EXPECT_EQ(out,
            "Enter the path to write the digits to. (e.g. \"C:\" or \"C:/temp\" )\n\n"
            "Path: \n");
  EXPECT_STREQ(s.outputPath, "/tmp/my digits ");
  run(menuOutputPath, &s, "D:\\out\\\n");
  EXPECT_STREQ(s.outputPath, "D:\\out\\");
}

TEST(PathMenus, SwapDisksListAndTheCountThatKeepsGrowing) {
  Settings settings;
  ComputeSettings& s = settings.s;
  s.computeMode = computeModeBasicSwap;
  estimateResources(&s);
  std::string out = run(menuSwapDisks, &s, "x\n2\n/disk/a\n/disk/b\n");
  EXPECT_EQ(out,
            "Enter the # of disks you wish to use:\n\n"
            "Disks (zero will use one disk at the default path): "
            "Disks (zero will use one disk at the default path): \n"
            "Please enter the paths of each disk: (e.g. \"C:\" or \"C:/temp\" )\n"
            "Note: For maximum efficiency:\n"
            "        1 - The paths MUST be on separate physical disks.\n"
            "        2 - Each disk should be identical. (speed, size, brand...)\n"
            "        3 - Ideally, (though not required), the disks should be empty.\n"
            "Path 0: Path 1: \n");
  auto paths = [&] {
    std::string all;
    for (uint32_t i = 0; s.swapPaths != nullptr && i < s.swapPaths->count; i++) {
      all += std::string(s.swapPaths->paths[i]) + ";";
    }
    return all + std::to_string(s.swapDiskCount);
  };
  EXPECT_EQ(paths(), "/disk/a;/disk/b;2");
  expectEstimated(s);
  // A second visit starts a new list but adds to the count.
  run(menuSwapDisks, &s, "1\n/disk/c\n");
  EXPECT_EQ(paths(), "/disk/c;3");
  run(menuSwapDisks, &s, "0\n");
  EXPECT_EQ(s.swapPaths, nullptr);
  EXPECT_EQ(paths(), "3");
  run(menuSwapDisks, &s, "1\n/disk/d\n");  // a list left for the release to free
}

TEST(ModeMenu, SwapOfferedFromFiveMillionWords) {
  Settings settings;
  ComputeSettings& s = settings.s;
  uint64_t ram = 0, swap = 0, disk = 0;
  // Default record: 5,190,514 words, both modes with their memory.
  estimateConstant(s.constantId, s.algorithm, s.wordCount, s.threadPower, computeModeRamOnly,
                   &ram, &disk);
  estimateConstant(s.constantId, s.algorithm, s.wordCount, s.threadPower, computeModeBasicSwap,
                   &swap, &disk);
  EXPECT_EQ(run(menuComputationMode, &s, "0\n3\n2\n"),
            "Select a Mode:\n\nOption      Mode                Approx. Memory Needed\n\n"
            " 1      Ram Only                    " +
                formatBytes(ram) + "\n 2      Basic Disk Swapping         " + formatBytes(swap) +
                "\n\noption: option: option: \n");
  EXPECT_EQ(s.computeMode, computeModeBasicSwap);
  EXPECT_EQ(s.memoryNeeded, swap);
  EXPECT_EQ(s.diskNeeded, disk);
  // Just below the floor only Ram Only is offered and 2 is refused.
  setHexDigits(&s, (swapFloorWords - 3) * 8);
  ASSERT_EQ(s.wordCount, swapFloorWords - 1);
  std::string out = run(menuComputationMode, &s, "2\n1\n");
  EXPECT_LACKS(out, "Basic Disk Swapping");
  EXPECT_HAS(out, "option: option: \n");
  EXPECT_EQ(s.computeMode, computeModeRamOnly);
  EXPECT_EQ(s.diskNeeded, 0u);
  // A swap mode chosen earlier falls back to Ram Only when the size drops.
  setDecimalDigits(&s, 50000000);
  setComputeMode(&s, computeModeBasicSwap);
  EXPECT_GT(s.diskNeeded, 0u);
  run(menuDecimalDigits, &s, "1000\n");
  EXPECT_EQ(s.computeMode, computeModeRamOnly);
  EXPECT_EQ(s.diskNeeded, 0u);
}

}  // namespace
