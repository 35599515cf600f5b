// The validation checksum: field hashes, the salted product modulo 2^61 - 1,
// and its text.
#include "bench/checksum.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "arith/numbers/mod61.h"
#include "bench/clock.h"
#include "bench/sha256.h"
#include "platform/console.h"
#include "platform/version.h"

namespace {

constexpr uint64_t topFourBits = uint64_t(0xf) << 60;

uint64_t hashWord(uint64_t value) { return hash64(&value, sizeof(value)); }

}  // namespace

uint64_t powerMod37(uint64_t exponent) { return mod61Power(37, exponent); }

uint64_t checksumFieldMix(const char* version, const char name[48], uint64_t hz,
                          uint64_t threadPower, uint64_t digits, uint64_t salt) {
  uint64_t mix = hashWord(salt);
  if (version != nullptr) mix ^= hash64(version, strlen(version));
  mix ^= hash64(name, 48);
  mix ^= hashWord(hz);
  mix ^= hashWord(threadPower);
  mix ^= hashWord(digits);
  return mix;
}

void checksumEncode(uint64_t a, uint64_t b, char text[33]) {
  snprintf(text, 33, "%08x%08x%08x%08x", ~uint32_t(a >> 32), ~uint32_t(a), uint32_t(b >> 32),
           uint32_t(b));
}

void checksumDecode(const char text[32], uint64_t* a, uint64_t* b) {
  uint64_t half[4];
  for (int group = 0; group < 4; ++group) {
    uint32_t value = 0;
    for (int i = 0; i < 8; ++i) {
      char c = text[8 * group + i];
      uint32_t digit = c < 'a' ? uint32_t(c - '0') : uint32_t(c - 'a' + 10);
      value = value * 16 + digit;
    }
    half[group] = value;
  }
  *a = (~half[0] & 0xffffffffu) << 32 | (~half[1] & 0xffffffffu);
  *b = half[2] << 32 | half[3];
}

void checksumCompose(uint64_t salt, uint64_t fieldMix, float seconds, uint64_t* a, uint64_t* b) {
  uint32_t timeBits;
  memcpy(&timeBits, &seconds, sizeof(timeBits));
  uint64_t mix = fieldMix ^ timeBits;
  salt = checksumSalt(salt);
  *a = salt | (mix & topFourBits);
  *b = mod61Multiply(mix & ~topFourBits, powerMod37(salt));
}

uint64_t checksumRecover(uint64_t a, uint64_t b, uint64_t fieldMix) {
  uint64_t salt = checksumSalt(a);
  // 37^(p - 1 - salt) is the inverse of 37^salt.
  uint64_t inverse = powerMod37(mod61Prime - 1 - salt);
  uint64_t mix = mod61Multiply(mod61Reduce(b), inverse) | (a & topFourBits);
  return mix ^ fieldMix;
}

uint64_t checksumNewSalt() {
  srand(unsigned(time(nullptr)));
  uint64_t salt = 0;
  for (int i = 0; i < 8; ++i) salt |= uint64_t(rand() & 0xff) << (8 * i);
  return checksumSalt(salt);
}

void makeChecksum(ClockInfo* info, uint64_t digits, uint32_t threadPower, double seconds) {
  uint64_t salt = checksumNewSalt();
  if (info->counterHz == 0) fatalMessage(clockSanityMessage);
  uint64_t fields =
      checksumFieldMix(versionLine, info->processorName, info->measuredHz, threadPower, digits, salt);
  uint64_t a, b;
  checksumCompose(salt, fields, float(seconds), &a, &b);
  checksumEncode(a, b, info->checksumText);
}
