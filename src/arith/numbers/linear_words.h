// Word-array kernels shared by the linear operations and the retry protocol:
// shifts by a bit count and multiplication by one word. Sizes in words; the
// loops are unrolled by two.
#pragma once

#include <cstdint>

// out[0..n) = low n words of a[0..n) * 2^bits; returns the bits shifted out
// at the top (the word that belongs at out[n]). bits in 1..31, n >= 1.
// out may equal a (the loop runs from the top down), no other overlap.
uint32_t linearShiftLeft(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t bits);

// out[0..n) = a[0..n) / 2^bits, truncated. bits in 1..31, n >= 1.
// out may equal a (the loop runs from the bottom up), no other overlap.
void linearShiftRight(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t bits);

// out[0..n) = low n words of a[0..n) * word; returns the carry word.
// out may equal a, no other overlap.
uint32_t linearMultiplyWord(uint32_t* out, const uint32_t* a, uint64_t n, uint32_t word);
