// Every run builds its FFT tables before it computes; the unit tests do the
// same before each test, so that products made outside a whole run find
// tables that serve them. A test that builds larger tables or releases them
// leaves its own state to the next test, which rebuilds them if released.
#include <gtest/gtest.h>

#include "arith/fft/fft_tables.h"

namespace {

// Serves direct FFT products up to 100000 words and every hybrid element
// of products up to 200000 words; larger tests build their own.
constexpr uint64_t testTableWords = 100000;

struct TablesBeforeEachTest : ::testing::EmptyTestEventListener {
  void OnTestStart(const ::testing::TestInfo&) override {
    if (fftTables == nullptr) buildFftTables(testTableWords);
  }
};

const bool registered = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new TablesBeforeEachTest);
  return true;
}();

}  // namespace
