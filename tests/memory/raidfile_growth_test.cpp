// The size a swap file asks for after each refusal.
#include <gtest/gtest.h>

#include "memory/raidfile.h"

TEST(RaidFileGrowth, RefusedSizesGrowFourfoldAndStopAtTheLargest) {
  // 400 bytes refused 40 times: the size never falls (never to an empty
  // file) and ends at the largest size there is.
  uint64_t bytes = 400;
  for (int refusal = 0; refusal < 40; refusal++) {
    const uint64_t next = raidFileSizeAfterRefusal(bytes);
    ASSERT_GE(next, bytes) << "refusal " << refusal;
    if (bytes <= ~uint64_t(0) / 4) {
      EXPECT_EQ(next, 4 * bytes);
    }
    bytes = next;
  }
  EXPECT_EQ(bytes, ~uint64_t(0));
}
