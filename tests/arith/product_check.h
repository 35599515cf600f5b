// The product driver of the arith tests: an Entry runs on guarded output and
// scratch, and its window of la + lb - chop words must be the product as the
// chop rule cuts the operands, at most 3 below the truncated true product.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "arith/tuning.h"
#include "support/gmp_bridge.h"

namespace productcheck {

using testbridge::Kind;
using testbridge::Number;

// out[0 .. la + lb - chop) = (a * b) >> (32 chop), b null for a square; returns
// the worker code.
using Entry = std::function<uint64_t(const uint32_t* a, uint64_t la, const uint32_t* b,
                                     uint64_t lb, uint32_t* out, uint64_t chop,
                                     uint32_t* scratch)>;

// z = floor(a' b' / 2^(32 shift)) with a', b' lacking their dropA, dropB low words.
inline void upperProduct(mpz_t z, const std::vector<uint32_t>& a, uint64_t dropA,
                         const std::vector<uint32_t>& b, uint64_t dropB, uint64_t shift) {
  Number y;
  testbridge::toMpz(z, a.data() + dropA, a.size() - dropA);
  testbridge::toMpz(y.z, b.data() + dropB, b.size() - dropB);
  mpz_mul(z, z, y.z);
  mpz_tdiv_q_2exp(z, z, 32 * shift);
}

// rule - got in [0, ruleSlack] when chopped, truth - got at most 3 + ruleSlack.
inline ::testing::AssertionResult windowMatches(const std::vector<uint32_t>& a,
                                                const std::vector<uint32_t>& b, uint64_t chop,
                                                const uint32_t* got, uint64_t ruleSlack = 0) {
  const uint64_t la = a.size(), lb = b.size(), window = la + lb - chop;
  const uint64_t dropA = chop > lb ? chop - lb : 0, dropB = chop > la ? chop - la : 0;
  Number rule, truth, value;
  upperProduct(rule.z, a, dropA, b, dropB, chop - dropA - dropB);
  upperProduct(truth.z, a, 0, b, 0, chop);
  testbridge::toMpz(value.z, got, window);
  mpz_sub(rule.z, rule.z, value.z);
  mpz_sub(truth.z, truth.z, value.z);
  const uint64_t slack = chop == 0 ? 0 : ruleSlack;
  if (mpz_sgn(rule.z) < 0 || mpz_cmp_ui(rule.z, slack) > 0) {
    upperProduct(rule.z, a, dropA, b, dropB, chop - dropA - dropB);
    return testbridge::equalsMpz(got, window, rule.z) << " (not the rule's words)";
  }
  if (mpz_sgn(truth.z) < 0 || mpz_cmp_ui(truth.z, (dropA + dropB ? 3 : 0) + slack) > 0)
    return ::testing::AssertionFailure() << "too far below the true product";
  return ::testing::AssertionSuccess();
}

inline ::testing::AssertionResult matches(const Entry& entry, const std::vector<uint32_t>& a,
                                          const std::vector<uint32_t>* b, uint64_t chop = 0,
                                          uint64_t scratchWords = 0, uint64_t ruleSlack = 0) {
  const std::vector<uint32_t>& other = b == nullptr ? a : *b;
  const uint64_t la = a.size(), lb = other.size();
  testbridge::GuardedWords out(la + lb - chop), scratch(scratchWords);
  const uint64_t code =
      entry(a.data(), la, b == nullptr ? nullptr : b->data(), lb, out.data(), chop, scratch.data());
  ::testing::AssertionResult result = ::testing::AssertionSuccess();
  if (code != 0) result = ::testing::AssertionFailure() << "worker code " << code;
  else if (!out.intact()) result = ::testing::AssertionFailure() << "out: " << out.intact().message();
  else if (!scratch.intact())
    result = ::testing::AssertionFailure() << "scratch: " << scratch.intact().message();
  else result = windowMatches(a, other, chop, out.data(), ruleSlack);
  if (!result) result << " [" << (b == nullptr ? "square " : "product ") << la << " x " << lb
                      << " chop " << chop << "]";
  return result;
}

// The cut-over lengths of tuning.h, each with one either side, inside [low, high].
inline std::vector<uint64_t> tuningEdges(uint64_t low, uint64_t high) {
  std::set<uint64_t> edges;
  for (uint64_t edge : {sqrK, sqrT, elmK, elmT, fftSquareThreshold, fftMultiplyThreshold,
                        hybridSquareThreshold, hybridMultiplyThreshold, threadedHybridThreshold})
    for (uint64_t n = edge - 1; n <= edge + 1; n++)
      if (n >= low && n <= high) edges.insert(n);
  return {edges.begin(), edges.end()};
}

inline std::vector<uint32_t> anyOperand(testbridge::Random& random, uint64_t n) {
  return testbridge::operand(random, testbridge::randomKind(random), n);
}

}  // namespace productcheck
