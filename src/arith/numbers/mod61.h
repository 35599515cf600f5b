// Arithmetic modulo the Mersenne prime p = 2^61 - 1, the field of the
// program's checksums: the hashes that guard the base conversion and the
// checksum of a benchmark's validation data.
//
// Values are kept reduced, in [0, p). A product of two reduced values is
// folded once: its bits from 61 up are added to its low 61 bits (2^61 is 1
// modulo p), and a sum that is not below p has p subtracted.
#pragma once

#include <cstdint>

constexpr uint64_t mod61Prime = (uint64_t(1) << 61) - 1;

// a mod p for any 64-bit a.
constexpr uint64_t mod61Reduce(uint64_t a) {
  uint64_t folded = (a & mod61Prime) + (a >> 61);
  return folded >= mod61Prime ? folded - mod61Prime : folded;
}

// a + b mod p for reduced a and b.
constexpr uint64_t mod61Add(uint64_t a, uint64_t b) {
  uint64_t sum = a + b;
  return sum >= mod61Prime ? sum - mod61Prime : sum;
}

// a * b mod p for reduced a and b: the 122-bit product, folded once.
constexpr uint64_t mod61Multiply(uint64_t a, uint64_t b) {
  unsigned __int128 product = static_cast<unsigned __int128>(a) * b;
  uint64_t low = static_cast<uint64_t>(product) & mod61Prime;
  uint64_t high = static_cast<uint64_t>(product >> 61);
  uint64_t sum = low + high;
  return sum >= mod61Prime ? sum - mod61Prime : sum;
}

// base^exponent mod p by left-to-right binary exponentiation; base reduced.
constexpr uint64_t mod61Power(uint64_t base, uint64_t exponent) {
  uint64_t result = 1;
  for (int bit = 63; bit >= 0; --bit) {
    result = mod61Multiply(result, result);
    if ((exponent >> bit) & 1) result = mod61Multiply(result, base);
  }
  return result;
}

// One step of a hash that reads a number from its top digit down in the
// radix `radix` (reduced): h * radix + digit. `digit` is below 2^32.
constexpr uint64_t mod61HashStep(uint64_t hash, uint64_t radix, uint32_t digit) {
  return mod61Add(mod61Multiply(hash, radix), digit);
}

static_assert(mod61Multiply(mod61Prime - 1, mod61Prime - 1) == 1, "(-1)^2 must be 1 in the field");
static_assert(mod61Power(2, 61) == 1, "2^61 is 1 modulo 2^61 - 1");
