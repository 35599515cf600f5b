// What the benchmark programs share: the clock, and the decimal conversion
// of a computed constant timed and turned into text.
#pragma once

#include <gmp.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "arith/numbers/bigfloat.h"
#include "constants/compute_settings.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"

// The word count a run of `decimalDigits` digits computes with, as the
// custom menu sets it.
inline uint64_t benchWordCount(uint64_t decimalDigits) {
  ComputeSettings settings;
  fillDefaultComputeSettings(nullptr, &settings);
  setDecimalDigits(&settings, decimalDigits);
  const uint64_t words = settings.wordCount;
  releaseComputeSettings(&settings);
  return words;
}

// Seconds on a steady clock.
inline double benchNow() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// Seconds of processor time used by the whole process (all threads): on a
// shared machine a steadier measure of work than the wall clock.
inline double benchCpuNow() {
  timespec t;
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return double(t.tv_sec) + 1e-9 * double(t.tv_nsec);
}

// The digits of radix-10^9 words (top word first, without its leading
// zeros), cut to `count` digits in all.
inline std::string benchDecimalText(const uint32_t* words, uint64_t n, uint64_t count) {
  std::string text = std::to_string(words[n - 1]);
  char group[16];
  for (uint64_t i = n - 1; i-- > 0 && text.size() < count;) {
    std::snprintf(group, sizeof group, "%09u", words[i]);
    text += group;
  }
  text.resize(std::min<uint64_t>(count, text.size()));
  return text;
}

// x converted to `count` decimal digits (table and conversion, as a run
// does them); returns the seconds taken and leaves the digits in `digits`.
inline double benchConvert(Heap* heap, BigFloat* x, uint64_t count, uint32_t threadPower,
                           std::string* digits) {
  const double start = benchNow();
  BaseConversionTable table;
  buildBaseConversionTable(heap, x, &table, threadPower);
  ConversionOutput out;
  convertToDecimal(heap, &out, x, count, &table, 0, threadPower);
  const double seconds = benchNow() - start;
  *digits = benchDecimalText(out.digits.words, out.digits.length, count);
  releaseConversionOutput(&out);
  releaseBaseConversionTable(&table);
  return seconds;
}

// True when the n words at `words` (least significant first) hold z.
inline bool benchSameAsMpz(const uint32_t* words, uint64_t n, const mpz_t z) {
  std::vector<uint32_t> expected(n + 2, 0);
  size_t count = 0;
  mpz_export(expected.data(), &count, -1, 4, 0, 0, z);
  return count <= n && std::memcmp(words, expected.data(), 4 * n) == 0;
}
