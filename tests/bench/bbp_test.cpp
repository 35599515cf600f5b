// Digit extraction against MPFR's hexadecimal digits of Pi, and the check of
// a run's hexadecimal file.
#include "bench/bbp.h"

#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "support/death_console.h"
#include "support/digit_files.h"
#include "support/mpfr_digits.h"
#include "support/run_program.h"

namespace {

uint32_t hexValue(const std::string& text, size_t position) {
  return uint32_t(std::stoul(text.substr(2 + position - 1, 8), nullptr, 16));
}

TEST(Bbp, AgreesWithMpfrAtTheStartAndNearPowersOfTwo) {
  const size_t digits = (size_t(1) << 20) + 64;
  const std::string& pi = mpfrdigits::piText(16, digits);
  std::vector<uint64_t> positions = {1, 2, 3, 7, 8, 9, 15, 16, 17, 100, 1000};
  for (uint64_t k = 5; k <= 20; ++k) {
    uint64_t p = uint64_t(1) << k;
    for (int64_t delta : {-9, -8, -1, 0, 1, 7}) {
      if (k <= 14 || delta == -8 || delta == 1) positions.push_back(p + delta);
    }
  }
  positions.push_back(digits - 7);
  // The scalar kernel (the only one on processors without AVX-512) at a few.
  bool wide = bbpUseWideKernelForTesting(false);
  for (uint64_t position : {uint64_t(1), uint64_t(4093), uint64_t(65537), uint64_t(1048576)}) {
    bool exact = false;
    EXPECT_EQ(piHexDigitsAt(position, 1, &exact), hexValue(pi, position)) << position;
  }
  bbpUseWideKernelForTesting(wide);
  for (uint64_t position : positions) {
    bool exact = false;
    uint32_t value = piHexDigitsAt(position, 1, &exact);
    EXPECT_TRUE(exact) << position;
    EXPECT_EQ(value, hexValue(pi, position)) << "position " << position;
    EXPECT_TRUE(piHexDigitsAgree(position, hexValue(pi, position), 0)) << position;
    EXPECT_FALSE(piHexDigitsAgree(position, hexValue(pi, position) ^ 1, 0)) << position;
    EXPECT_FALSE(piHexDigitsAgree(position, hexValue(pi, position) ^ 0x10000000, 0)) << position;
  }
}

// The split over threads moves terms between the wide kernel (104-bit
// fractions) and the scalar one (128 bits): sums agree to far below a digit.
TEST(Bbp, ThreadCountsGiveTheSameSum) {
  const uint64_t bit = 4 * 123456;
  unsigned __int128 one = piFractionAtBit(bit, 0);
  for (uint32_t threadPower : {1u, 3u}) {
    unsigned __int128 difference = piFractionAtBit(bit, threadPower) - one;
    __int128 signedDifference = __int128(difference);
    if (signedDifference < 0) signedDifference = -signedDifference;
    EXPECT_LT(signedDifference, __int128(1) << 60) << threadPower;
  }
}

// Far positions, where MPFR would take minutes: the published digits at
// position 10^8 ("ecb840e21926ec..."), and the window one place on, from a
// sum that has no term in common with the first.
TEST(Bbp, PublishedDigitsAndOverlappingWindowsAtAHundredMillion) {
  const uint64_t p = 100000000;
  bool exact1 = false, exact2 = false;
  uint32_t first = piHexDigitsAt(p, 1, &exact1);
  uint32_t second = piHexDigitsAt(p + 1, 1, &exact2);
  ASSERT_TRUE(exact1 && exact2);
  EXPECT_EQ(first, 0xecb840e2u);
  EXPECT_EQ(second, 0xcb840e21u);
}

// The end check reads a compressed output: one file, and a series whose last
// block is short, at a size that is not a multiple of a packed word. A digit
// changed near the end ends the run with the hardware message.
TEST(BbpDeathTest, ChecksTheEndOfCompressedOutput) {
  const uint64_t n = 1234567;
  const std::string& pi = mpfrdigits::piText(16, n);
  std::string values;
  for (size_t i = 2; i < pi.size(); ++i) values += char(std::stoi(pi.substr(i, 1), nullptr, 16));
  for (int64_t digitsPerFile : {int64_t(-1), int64_t(300000)}) {
    std::string folder = makeTempFolder();
    ComputeSettings settings;
    fillDefaultComputeSettings(nullptr, &settings);
    settings.hexDigits = n;
    settings.digitsPerFile = digitsPerFile;
    settings.threadPower = 1;
    ASSERT_EQ(chdir(folder.c_str()), 0);
    free(settings.nameShort);
    settings.nameShort = strdup("x");  // the helper's short name, which names a series' files
    char* stem = digitFileName(&settings, 16, 0);
    digit_files::writeCompressed(".", stem, values, 16, digitsPerFile);
    free(stem);
    EXPECT_EXIT(
        {
          consoleToStandardError();
          checkPiHexFile(&settings);
          exit(0);
        }, ::testing::ExitedWithCode(0),
                "Hexadecimal digits 1,234,560 to 1,234,567 checked by BBP digit extraction: OK");
    EXPECT_EXIT(
        {
          consoleToStandardError();
          bbpCorruptHexDigitForTesting(digitsPerFile < 0 ? 0 : 5);
          checkPiHexFile(&settings);
        },
        ::testing::ExitedWithCode(1),
        "The hexadecimal digits disagree with BBP digit extraction. Please check your hardware.");
    ASSERT_EQ(chdir("/"), 0);
    removeTree(folder);
    releaseComputeSettings(&settings);
  }
}

}  // namespace
