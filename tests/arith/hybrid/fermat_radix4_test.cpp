// The radix-4 steps refuse an odd element length, whose odd twiddles they
// cannot apply.
#include <gtest/gtest.h>

#include <vector>

#include "arith/hybrid/fermat.h"
#include "support/death_console.h"

TEST(FermatRadix4DeathTest, AnOddElementLengthIsABrokenCaller) {
  const uint64_t W = 3;  // an odd exponent asks for the factor sqrt(2)
  std::vector<uint32_t> a(4 * (W + 1), 1), scratch(2 * (W + 1));
  uint32_t* e[4] = {&a[0], &a[W + 1], &a[2 * (W + 1)], &a[3 * (W + 1)]};
  for (bool inverse : {false, true}) {
    EXPECT_DEATH(
        {
          consoleToStandardError();
          if (inverse) radix4Inverse(e[0], e[1], e[2], e[3], W, 1, scratch.data());
          else radix4Forward(e[0], e[1], e[2], e[3], W, 1, scratch.data());
        },
        "A radix-4 step needs an even element length\\.");
  }
}
