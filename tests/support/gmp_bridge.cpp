// Shared driver for random big-number tests (see gmp_bridge.h).
#include "support/gmp_bridge.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace testbridge {

namespace {

uint64_t readSeed() {
  const char* text = std::getenv("NUMBRELLA_SEED");
  if (text != nullptr && *text != 0) return std::strtoull(text, nullptr, 0);
  uint64_t now = (uint64_t)std::chrono::steady_clock::now().time_since_epoch().count();
  std::random_device device;
  return now ^ ((uint64_t)device() << 32) ^ device();
}

// Prints the seed after every failed test, so the run can be repeated.
struct SeedPrinter : ::testing::EmptyTestEventListener {
  void OnTestEnd(const ::testing::TestInfo& info) override {
    if (info.result()->Failed())
      std::printf("[  SEED    ] NUMBRELLA_SEED=%llu repeats %s.%s\n",
                  (unsigned long long)processSeed(), info.test_suite_name(), info.name());
  }
};

const bool printerInstalled = [] {
  ::testing::UnitTest::GetInstance()->listeners().Append(new SeedPrinter);
  return true;
}();

uint64_t fnv1a(const char* text, uint64_t hash) {
  for (; *text != 0; text++) hash = (hash ^ (uint8_t)*text) * 0x100000001b3ull;
  return hash;
}

}  // namespace

uint64_t processSeed() {
  static const uint64_t seed = readSeed();
  return seed;
}

uint64_t Random::below(uint64_t bound) {
  return std::uniform_int_distribution<uint64_t>(0, bound - 1)(engine);
}

uint64_t Random::logUniform(uint64_t low, uint64_t high) {
  std::uniform_real_distribution<double> unit(std::log((double)low), std::log((double)high + 1.0));
  return std::clamp((uint64_t)std::exp(unit(engine)), low, high);
}

Random testRandom(uint64_t stream) {
  uint64_t hash = 0xcbf29ce484222325ull;
  const ::testing::TestInfo* info = ::testing::UnitTest::GetInstance()->current_test_info();
  if (info != nullptr) {
    hash = fnv1a(info->test_suite_name(), hash);
    hash = fnv1a(".", hash);
    hash = fnv1a(info->name(), hash);
  }
  uint64_t seed = processSeed();
  std::seed_seq sequence{(uint32_t)seed,         (uint32_t)(seed >> 32), (uint32_t)hash,
                         (uint32_t)(hash >> 32), (uint32_t)stream,       (uint32_t)(stream >> 32)};
  Random random;
  random.engine.seed(sequence);
  (void)printerInstalled;
  return random;
}

const char* kindName(Kind kind) {
  static const char* const names[] = {"uniform",  "runs",    "all-ones",
                                      "lone-top", "power+1", "power-1"};
  return unsigned(kind) < 6 ? names[unsigned(kind)] : "?";
}

void fill(Random& random, Kind kind, uint32_t* words, uint64_t n) {
  if (n == 0) return;
  const bool ones = kind == Kind::AllOnes || kind == Kind::PowerMinusOne;
  if (kind != Kind::Uniform) std::memset(words, ones ? 0xFF : 0, 4 * n);
  switch (kind) {
    case Kind::Uniform:
      for (uint64_t i = 0; i < n; i++) words[i] = random.word();
      return;
    case Kind::Runs: {
      // Alternating runs of ones and zeros, lengths log-uniform up to 64n bits.
      const uint64_t bits = 32 * n;
      bool one = random.coin();
      for (uint64_t at = 0; at < bits; one = !one) {
        const uint64_t run = std::min(random.logUniform(1, 2 * bits), bits - at);
        if (one)
          for (uint64_t b = at; b < at + run; b++) words[b / 32] |= 1u << (b % 32);
        at += run;
      }
      return;
    }
    case Kind::LoneTop:
      do words[n - 1] = random.word();
      while (words[n - 1] == 0);
      return;
    case Kind::PowerPlusOne:
      words[0] += 1;
      words[n - 1] += 1;
      return;
    case Kind::PowerMinusOne:
      words[n - 1] = 0;
      return;
    case Kind::AllOnes:
      return;
  }
}

std::vector<uint32_t> operand(Random& random, Kind kind, uint64_t n) {
  std::vector<uint32_t> words(n);
  fill(random, kind, words.data(), n);
  return words;
}

Kind randomKind(Random& random) {
  uint64_t pick = random.below(16);
  if (pick < 8) return Kind::Uniform;
  if (pick < 13) return Kind::Runs;
  if (pick < 14) return Kind::AllOnes;
  if (pick < 15) return Kind::LoneTop;
  return random.coin() ? Kind::PowerPlusOne : Kind::PowerMinusOne;
}

void toMpz(mpz_t z, const uint32_t* words, uint64_t n) {
  if (n == 0) return mpz_set_ui(z, 0);
  mpz_import(z, n, -1, 4, 0, 0, words);
}

std::vector<uint32_t> fromMpz(const mpz_t z, uint64_t n) {
  size_t needed = (mpz_sizeinbase(z, 2) + 31) / 32;
  std::vector<uint32_t> words(needed > n ? needed : n, 0);
  size_t count = 0;
  if (mpz_sgn(z) != 0) mpz_export(words.data(), &count, -1, 4, 0, 0, z);
  EXPECT_LE(count, n) << "value does not fit in " << n << " words";
  words.resize(n);
  return words;
}

::testing::AssertionResult equalsMpz(const uint32_t* words, uint64_t n, const mpz_t z) {
  std::vector<uint32_t> expected = fromMpz(z, n);
  uint64_t i = std::mismatch(words, words + n, expected.begin()).first - words;
  if (i == n) return ::testing::AssertionSuccess();
  char text[160];
  std::snprintf(text, sizeof text, "word %llu of %llu is %08x, expected %08x",
                (unsigned long long)i, (unsigned long long)n, words[i], expected[i]);
  return ::testing::AssertionFailure() << text;
}

std::vector<uint32_t> gmpProduct(const uint32_t* a, uint64_t la, const uint32_t* b, uint64_t lb) {
  Number x, y;
  toMpz(x.z, a, la);
  toMpz(y.z, b, lb);
  mpz_mul(x.z, x.z, y.z);
  return fromMpz(x.z, la + lb);
}

GuardedWords::GuardedWords(uint64_t n, uint64_t guard)
    : storage(n + 2 * guard, poison), n(n), guard(guard) {
  std::fill(storage.begin(), storage.begin() + guard, canary);
  std::fill(storage.end() - guard, storage.end(), canary);
}

::testing::AssertionResult GuardedWords::intact() const {
  for (uint64_t i = 0; i < guard; i++) {
    if (storage[i] != canary)
      return ::testing::AssertionFailure() << "canary " << (guard - i) << " below the array";
    if (storage[guard + n + i] != canary)
      return ::testing::AssertionFailure() << "canary " << i << " past the " << n << " words";
  }
  return ::testing::AssertionSuccess();
}

}  // namespace testbridge
