// The swap forms of the Newton iterations, with real swap files striped over
// two temporary folders: they give the digits of the RAM forms, page out
// only from 1000 words on and at most two levels deep, accept paged-out
// inputs, and leave no file behind once the numbers are destroyed.
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <string>

#include "arith/newton/newton.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "newton_oracle.h"
#include "platform/console.h"

using namespace newton_oracle;

namespace {

class NewtonSwap : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 0; i < 2; i++) {
      char pattern[] = "/tmp/newton_swap_XXXXXX";
      ASSERT_NE(mkdtemp(pattern), nullptr);
      folders[i] = pattern;
      pathTexts[i] = folders[i].data();
    }
    paths.count = 2;
    paths.paths = pathTexts;
    globalSwapPaths = &paths;
    heapInit(nullptr, &heap, 64 << 20);
  }
  void TearDown() override {
    EXPECT_EQ(heap.activeBlocks, 0u);
    heapDestroy(&heap);
    globalSwapPaths = nullptr;
    for (auto& folder : folders) {
      EXPECT_TRUE(std::filesystem::is_empty(folder)) << "swap files left in " << folder;
      std::filesystem::remove_all(folder);
    }
  }

  // A random x of `length` words with its copy.
  void makePair(uint64_t length, bool positive, BigFloat* x, BigFloat* copy) {
    makeNumber(&heap, x, length, int64_t(rng() % 5) - 2, positive, Kind::Uniform, rng);
    copyNumber(&heap, x, copy);
  }

  // |a - b| < 2^(-32 p) |a|, computed exactly.
  bool agreeToWords(BigFloat* a, BigFloat* b, uint64_t p) {
    mpfr_t va, vb, difference;
    mpfr_inits2(64, va, vb, difference, (mpfr_ptr) nullptr);
    toMpfr(&heap, a, va);
    toMpfr(&heap, b, vb);
    // Exact: wide enough for every word position of a and b.
    const int64_t top = std::max(bigFloatPosition(*a), bigFloatPosition(*b));
    const int64_t low = std::min(a->exponent, b->exponent);
    mpfr_set_prec(difference, mpfr_prec_t(32 * (top - low) + 64));
    mpfr_sub(difference, va, vb, MPFR_RNDN);
    bool agree = mpfr_zero_p(difference) ||
                 mpfr_get_exp(difference) <= mpfr_get_exp(va) - mpfr_exp_t(32 * p);
    mpfr_clears(va, vb, difference, (mpfr_ptr) nullptr);
    return agree;
  }

  void destroy(std::initializer_list<BigFloat*> numbers) {
    for (BigFloat* x : numbers) bigFloatDestroy(x);
  }

  // Runs `run` with the progress reset and the console captured into out;
  // returns the swap writes it made.
  template <class Run>
  static uint64_t capturedWrites(std::string* out, Run run) {
    progressReset();
    consoleCaptureTo(out);
    const uint64_t before = raidFileWriteCount();
    run();
    consoleCaptureTo(nullptr);
    return raidFileWriteCount() - before;
  }

  static bool pagedOut(const BigFloat& x) {
    return x.mantissa.words == nullptr && x.mantissa.swap != nullptr;
  }

  std::string folders[2];
  char* pathTexts[2];
  PathList paths;
  Heap heap;
  std::mt19937_64 rng{77};
};

}  // namespace

// Below 1000 words the in-place swap form is the RAM reciprocal with no
// display; from 1000 on it pages out, with the same result.
TEST_F(NewtonSwap, InvertSwappedGivesTheRamDigits) {
  for (uint64_t p : {999u, 1000u, 1733u, 4001u}) {
    SCOPED_TRACE("p " + std::to_string(p));
    BigFloat x, copy;
    makePair(p + 3, p % 2 == 0, &x, &copy);
    BigFloat original;
    copyNumber(&heap, &x, &original);

    std::string out;
    const uint64_t writes =
        capturedWrites(&out, [&] { bigFloatInvertSwapped(&heap, &x, p, 0, 1); });
    bigFloatInvert(&heap, &copy, p, 0, 0);

    EXPECT_TRUE(sameNumber(&heap, &x, &copy));
    EXPECT_LE(residualBits(&heap, &original, &x, false), -32.0 * double(p));
    if (p < 1000) {
      EXPECT_EQ(writes, 0u);
      EXPECT_TRUE(out.empty());
    } else {
      EXPECT_GT(writes, 0u);
      EXPECT_NE(out.find("Iterating: "), std::string::npos);
    }
    EXPECT_EQ(progressPath().depth, 0u);
    destroy({&x, &copy, &original});
  }
}

// The reciprocal's swap form leaves x and r paged out, x unchanged, and the
// same r as the RAM form; x may come in paged out.
TEST_F(NewtonSwap, ReciprocalSwappedGivesTheRamDigits) {
  for (uint64_t p : {1000u, 2500u, 5003u}) {
    SCOPED_TRACE("p " + std::to_string(p));
    BigFloat x, copy, r, expected;
    makePair(2 * p, false, &x, &copy);
    bigFloatReciprocal(&heap, &copy, &expected, p, 0, 0);
    if (p == 2500) bigFloatPushToDisk(&x);

    bigFloatReciprocalSwapped(&heap, &x, &r, p, 0, 0, 0);
    EXPECT_TRUE(pagedOut(x));
    EXPECT_TRUE(pagedOut(r));
    EXPECT_TRUE(sameNumber(&heap, &r, &expected));
    EXPECT_TRUE(sameNumber(&heap, &x, &copy));
    destroy({&x, &copy, &r, &expected});
  }
}

// At depth 2 the swap form is the RAM form whatever p: no write, x stays in
// memory, and the path shows ":" above the RAM steps.
TEST_F(NewtonSwap, ReciprocalSwappedAtDepthTwoNeverPushes) {
  BigFloat x, copy, r, expected;
  makePair(3000, true, &x, &copy);
  std::string out;
  EXPECT_EQ(capturedWrites(&out, [&] { bigFloatReciprocalSwapped(&heap, &x, &r, 5000, 2, 0, 1); }),
            0u);
  EXPECT_EQ(out.substr(0, 13), "\rIterating: :");
  EXPECT_NE(x.mantissa.words, nullptr);
  EXPECT_EQ(x.mantissa.swap, nullptr);
  bigFloatReciprocal(&heap, &copy, &expected, 5000, 0, 0);
  EXPECT_TRUE(sameNumber(&heap, &r, &expected));
  destroy({&x, &copy, &r, &expected});
}

// The RAM forms accept a paged-out x and leave it readable.
TEST_F(NewtonSwap, RamFormsReadPagedOutInput) {
  BigFloat x, copy, r, expected;
  makePair(700, true, &x, &copy);
  for (bool root : {false, true}) {
    bigFloatPushToDisk(&x);
    ASSERT_TRUE(pagedOut(x));
    auto form = root ? bigFloatInvSqrt : bigFloatReciprocal;
    form(&heap, &x, &r, 600, 0, 0);
    form(&heap, &copy, &expected, 600, 0, 0);
    EXPECT_TRUE(sameNumber(&heap, &r, &expected)) << root;
    destroy({&r, &expected});
  }
  destroy({&x, &copy});
}

// invSqrtWordSwapped: ":" marks the RAM steps ("0:" above them from 1000
// words on), the result is that of invSqrtWord.
TEST_F(NewtonSwap, InvSqrtWordSwappedGivesTheRamDigits) {
  for (uint64_t p : {999u, 1000u, 2200u}) {
    for (uint32_t n : {2u, 0xFFFFFFFBu}) {
      SCOPED_TRACE("p " + std::to_string(p) + ", n " + std::to_string(n));
      BigFloat x, expected;
      std::string out;
      const uint64_t writes = capturedWrites(&out, [&] { invSqrtWordSwapped(&heap, n, &x, p, 0); });
      invSqrtWord(&heap, n, &expected, p, 0, 0);
      EXPECT_TRUE(sameNumber(&heap, &x, &expected));
      EXPECT_LE(residualBitsWord(&heap, n, &x), -32.0 * double(p));
      EXPECT_EQ(out.substr(0, 15), p < 1000 ? "\rIterating: :00" : "\rIterating: 0:0");
      EXPECT_EQ(writes > 0, p >= 1000);
      EXPECT_EQ(progressPath().depth, 0u);
      destroy({&x, &expected});
    }
  }
}

// Large enough that the top products of both swap levels have operands of
// 13057 words or more, so the front end may take its disk path: the digits
// agree with the RAM form to the precision asked.
TEST_F(NewtonSwap, DiskSizedProductsAgreeWithRamForm) {
  const uint64_t p = 30000;
  BigFloat x, copy, original;
  makePair(p + 3, true, &x, &copy);
  copyNumber(&heap, &x, &original);
  bigFloatPushToDisk(&x);
  bigFloatInvertSwapped(&heap, &x, p, 0, 0);
  bigFloatInvert(&heap, &copy, p, 0, 0);
  EXPECT_TRUE(agreeToWords(&copy, &x, p));
  EXPECT_LE(residualBits(&heap, &original, &x, false), -32.0 * double(p));
  destroy({&x, &copy, &original});
}
