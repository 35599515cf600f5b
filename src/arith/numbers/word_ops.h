// Small loops over word arrays shared by the recursive product methods.
// Words are uint32_t, little-endian; n may be 0 everywhere.
#pragma once

#include <cstdint>

// out[0 .. n) = a + b; returns the carry (0 or 1). out may equal a or b.
uint32_t addWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out);
// target[0 .. n) += source[0 .. n); returns the carry (0 or 1). target may
// equal source (doubling) but must not partially overlap it.
uint32_t addWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n);
// target[0 .. n) -= source[0 .. n); returns the borrow (0 or 1).
uint32_t subtractWordsInPlace(uint32_t* target, const uint32_t* source, uint64_t n);
// out[0 .. n) = a - b; returns the borrow (0 or 1). out may equal a or b.
uint32_t subtractWords(const uint32_t* a, const uint32_t* b, uint64_t n, uint32_t* out);
// Adds `carry` at target[0] and ripples it up through at most n words;
// returns what runs off the top.
uint32_t rippleCarry(uint32_t* target, uint64_t n, uint32_t carry);
// Adds a signed carry (a word-sized value, positive or negative) at target[0]
// and ripples it through n words, wrapping modulo 2^(32n).
void rippleSignedCarry(uint32_t* target, uint64_t n, int64_t carry);
// Compares a and b of n words as numbers: -1, 0 or 1.
int compareWords(const uint32_t* a, const uint32_t* b, uint64_t n);
