// The checksum of a benchmark's validation record. It binds the version,
// processor name, frequency, thread power and digit count to the run's time
// (a 32-bit float), under a random 60-bit salt:
//
//   mix = hash64(salt) ^ hash64(version) ^ hash64(name) ^ hash64(hz)
//         ^ hash64(threadPower) ^ hash64(digits) ^ float bits of the time
//   A   = salt with the top 4 bits of mix
//   B   = (mix without its top 4 bits) * 37^salt  mod 2^61 - 1
//
// and the text is ~A.high ~A.low B.high B.low, 8 lowercase hex digits each.
// The validator reverses B with the inverse power and strips the fields.
#pragma once

#include <cstdint>

struct ClockInfo;

// 37^exponent mod 2^61 - 1.
uint64_t powerMod37(uint64_t exponent);

// The XOR of the field hashes (the time left out). `version` null leaves the
// version out (records of early versions). Integers are hashed as 8 bytes.
uint64_t checksumFieldMix(const char* version, const char name[48], uint64_t hz,
                          uint64_t threadPower, uint64_t digits, uint64_t salt);

// The 32 characters (and a zero) of the pair A, B.
void checksumEncode(uint64_t a, uint64_t b, char text[33]);
// The pair from 32 characters: a character below 'a' is a decimal digit,
// any other a hexadecimal letter; nothing is checked.
void checksumDecode(const char text[32], uint64_t* a, uint64_t* b);

// The pair of a given salt (60 bits), fields and time.
void checksumCompose(uint64_t salt, uint64_t fieldMix, float seconds, uint64_t* a, uint64_t* b);
// What is left of the pair once the fields are taken out: the time's float
// bits in the low half when the record is genuine, anything else otherwise.
uint64_t checksumRecover(uint64_t a, uint64_t b, uint64_t fieldMix);
// The salt of a pair: the low 60 bits of A.
constexpr uint64_t checksumSalt(uint64_t a) { return a & ((uint64_t(1) << 60) - 1); }

// A new salt from the clock: 8 bytes of rand() after srand(time), 60 bits.
uint64_t checksumNewSalt();

// Fills info->checksumText for the run. Fatal with the clock check's message
// when the clock record was never set up.
void makeChecksum(ClockInfo* info, uint64_t digits, uint32_t threadPower, double seconds);
