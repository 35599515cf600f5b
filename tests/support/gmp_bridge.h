// Shared driver for random big-number tests, with GMP as the oracle.
//
// Seeds: one process-wide seed, from NUMBRELLA_SEED when set (decimal or
// 0x-hex), from the clock otherwise. Each test draws from its own generator,
// seeded from that seed and the test's full name, so one failing test repeats
// alone; a failing test prints "NUMBRELLA_SEED=<seed>".
//
// GuardedWords is an array with poisoned content and canary words on both
// sides, to catch writes out of bounds that a right answer would hide.
#pragma once

#include <gmp.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>
#include <vector>

namespace testbridge {

uint64_t processSeed();

struct Random {
  std::mt19937_64 engine;
  uint64_t next() { return engine(); }
  uint32_t word() { return (uint32_t)engine(); }
  // Uniform in [0, bound), bound >= 1.
  uint64_t below(uint64_t bound);
  // Uniform in [low, high].
  uint64_t between(uint64_t low, uint64_t high) { return low + below(high - low + 1); }
  // Log-uniform in [low, high], 1 <= low <= high: small sizes as likely per
  // octave as large ones.
  uint64_t logUniform(uint64_t low, uint64_t high);
  bool coin() { return engine() & 1; }
};

// A generator for the running test: processSeed() mixed with the test's name
// and `stream` (to draw independent sequences inside one test).
Random testRandom(uint64_t stream = 0);

enum class Kind {
  Uniform,        // every word uniform
  Runs,           // runs of 0 bits and 1 bits of random lengths (1 .. 2n words)
  AllOnes,        // 2^(32n) - 1
  LoneTop,        // one random non-zero top word over zeros
  PowerPlusOne,   // 2^(32(n-1)) + 1
  PowerMinusOne,  // 2^(32(n-1)) - 1: all ones below a zero top word
};
const char* kindName(Kind kind);

// Fills words[0 .. n) with a value of the kind.
void fill(Random& random, Kind kind, uint32_t* words, uint64_t n);
std::vector<uint32_t> operand(Random& random, Kind kind, uint64_t n);
// A kind chosen at random: mostly Uniform and Runs, now and then an edge.
Kind randomKind(Random& random);

// Owns an mpz_t for a scope.
struct Number {
  mpz_t z;
  Number() { mpz_init(z); }
  ~Number() { mpz_clear(z); }
  Number(const Number&) = delete;
  Number& operator=(const Number&) = delete;
};

// z = the value of words[0 .. n) (0 when n is 0).
void toMpz(mpz_t z, const uint32_t* words, uint64_t n);
// The value of z in exactly n words (zero-padded; asserts that it fits).
std::vector<uint32_t> fromMpz(const mpz_t z, uint64_t n);
// Success when words[0 .. n) equals z; otherwise the first differing word and
// both lengths, to keep failure messages short.
::testing::AssertionResult equalsMpz(const uint32_t* words, uint64_t n, const mpz_t z);
// Convenience oracles: a * b (lengths la, lb) as exactly la + lb words.
std::vector<uint32_t> gmpProduct(const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb);

// n words of payload between `guard` canary words on each side. The payload
// starts poisoned (a fixed non-zero pattern), so code that reads words it has
// not written gives wrong results rather than lucky zeros.
struct GuardedWords {
  static constexpr uint32_t canary = 0xC0DEFACEu;
  static constexpr uint32_t poison = 0xA5A5F00Du;
  std::vector<uint32_t> storage;
  uint64_t n;
  uint64_t guard;
  explicit GuardedWords(uint64_t n, uint64_t guard = 8);
  uint32_t* data() { return storage.data() + guard; }
  const uint32_t* data() const { return storage.data() + guard; }
  // Success when no canary word changed.
  ::testing::AssertionResult intact() const;
};

}  // namespace testbridge
