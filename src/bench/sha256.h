// SHA-256 of a byte range, and hash64: the 64-bit digest of the benchmark
// checksum, folded from the SHA-256 state.
#pragma once

#include <cstddef>
#include <cstdint>

// The eight state words of SHA-256 of data[0 .. length), standard padding
// (FIPS 180-4). state[0] is the first word of the digest.
void sha256(const void* data, size_t length, uint32_t state[8]);

// The four pairs of state words (state[2i] low, state[2i+1] high) combined
// by XOR.
uint64_t hash64(const void* data, size_t length);
