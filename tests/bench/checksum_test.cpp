// SHA-256 against the standard's vectors, and the validation checksum from
// writer to validator on random records.
#include "bench/checksum.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "arith/numbers/mod61.h"
#include "bench/clock.h"
#include "bench/sha256.h"
#include "bench/validate.h"
#include "platform/version.h"
#include "support/death_console.h"
#include "support/gmp_bridge.h"

namespace {

std::string sha256Hex(const std::string& text) {
  uint32_t state[8];
  sha256(text.data(), text.size(), state);
  char out[65];
  for (int i = 0; i < 8; ++i) snprintf(out + 8 * i, 9, "%08x", state[i]);
  return out;
}

TEST(Sha256, StandardVectors) {
  struct Case {
    std::string text;
    const char* digest;
  };
  const Case cases[] = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqrlmnop"
       "qrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
      // Lengths at the padding's edges: 55 bytes fit one tail block, 56 need two.
      {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
  };
  for (const Case& c : cases) EXPECT_EQ(sha256Hex(c.text), c.digest) << c.text.size();
}

TEST(Sha256, Hash64FoldsTheStatePairs) {
  uint32_t state[8];
  sha256("abc", 3, state);
  uint64_t expected = 0;
  for (int i = 0; i < 8; i += 2) expected ^= uint64_t(state[i]) | uint64_t(state[i + 1]) << 32;
  EXPECT_EQ(hash64("abc", 3), expected);
  EXPECT_EQ(hash64("abc", 3), 0xb6b882f8ff2ac8a3ull);
}

TEST(Checksum, PowerOf37) {
  EXPECT_EQ(powerMod37(0), 1u);
  EXPECT_EQ(powerMod37(1), 37u);
  EXPECT_EQ(powerMod37(5), 69343957u);
  EXPECT_EQ(powerMod37(mod61Prime - 1), 1u);  // Fermat
  for (uint64_t e : {12345ull, 1ull << 59, (1ull << 60) - 1}) {
    EXPECT_EQ(mod61Multiply(powerMod37(e), powerMod37(mod61Prime - 1 - e)), 1u) << e;
  }
}

TEST(Checksum, EncodeDecodeRoundTrip) {
  char text[33];
  checksumEncode(0x0123456789abcdefull, 0x1fedcba987654321ull, text);
  EXPECT_STREQ(text, "fedcba98765432101fedcba987654321");
  uint64_t a, b;
  checksumDecode(text, &a, &b);
  EXPECT_EQ(a, 0x0123456789abcdefull);
  EXPECT_EQ(b, 0x1fedcba987654321ull);
}

struct Record {
  char name[48];
  uint64_t hz;
  uint64_t threadPower;
  uint64_t digits;
  float seconds;
  char text[33];
};

Record randomRecord(testbridge::Random& random) {
  Record r;
  memset(r.name, 0, sizeof(r.name));
  size_t length = random.between(1, 48);
  for (size_t i = 0; i < length; ++i) r.name[i] = char(random.between(32, 126));
  r.hz = random.between(100000000, 6000000000ull);
  r.threadPower = random.between(0, 8);
  r.digits = random.between(1000000, 100000000000ull);
  r.seconds = float(random.between(1, 10000000)) / 1000.0f;
  uint64_t salt = checksumSalt(random.next());
  uint64_t a, b;
  checksumCompose(salt, checksumFieldMix(versionLine, r.name, r.hz, r.threadPower, r.digits, salt),
                  r.seconds, &a, &b);
  checksumEncode(a, b, r.text);
  return r;
}

TEST(Checksum, ValidatorRecoversTheTimeAndRefusesAnyChangedField) {
  testbridge::Random random = testbridge::testRandom();
  for (int trial = 0; trial < 200; ++trial) {
    Record r = randomRecord(random);
    float seconds = -1;
    ASSERT_TRUE(validationTime(versionLine, r.name, r.hz, r.threadPower, r.digits, r.text, &seconds));
    EXPECT_EQ(seconds, r.seconds);
    // The old form leaves the version out: the current record fails there.
    EXPECT_FALSE(validationTime(nullptr, r.name, r.hz, r.threadPower, r.digits, r.text, &seconds));

    Record changed = r;
    changed.name[random.below(48)] ^= char(1 + random.below(127));
    EXPECT_FALSE(validationTime(versionLine, changed.name, r.hz, r.threadPower, r.digits, r.text,
                                &seconds));
    EXPECT_FALSE(validationTime(versionLine, r.name, r.hz + 1 + random.below(1000), r.threadPower,
                                r.digits, r.text, &seconds));
    EXPECT_FALSE(validationTime(versionLine, r.name, r.hz, (r.threadPower + 1 + random.below(8)) % 9,
                                r.digits, r.text, &seconds));
    EXPECT_FALSE(validationTime(versionLine, r.name, r.hz, r.threadPower, r.digits ^ (1ull << random.below(40)),
                                r.text, &seconds));
    EXPECT_FALSE(validationTime("0.4.2 Build 7681 (x64 SSE3)", r.name, r.hz, r.threadPower,
                                r.digits, r.text, &seconds));
    // Any one character of the checksum.
    char text[33];
    memcpy(text, r.text, 33);
    size_t at = random.below(32);
    text[at] = text[at] == '0' ? '1' : '0';
    EXPECT_FALSE(validationTime(versionLine, r.name, r.hz, r.threadPower, r.digits, text, &seconds));
  }
}

TEST(Checksum, UpperCaseIsReadAtFixedDistanceAndFails) {
  char name[48] = "X";
  uint64_t salt = 0x0fffffffffffffffull;
  uint64_t a, b;
  checksumCompose(salt, checksumFieldMix(versionLine, name, 1, 0, 2, salt), 1.0f, &a, &b);
  char text[33];
  checksumEncode(a, b, text);
  bool hasLetter = false;
  for (char& c : text) {
    if (c >= 'a' && c <= 'f') {
      c = char(c - 'a' + 'A');
      hasLetter = true;
    }
  }
  ASSERT_TRUE(hasLetter);
  float seconds = 0;
  EXPECT_FALSE(validationTime(versionLine, name, 1, 0, 2, text, &seconds));
}

TEST(ChecksumDeathTest, AClockRecordNeverSetUpIsFatal) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        ClockInfo info;
        memset(&info, 0, sizeof(info));
        makeChecksum(&info, 1000, 0, 1.0);
      },
      ::testing::ExitedWithCode(1), "Sanity Check Error... Unable to validate benchmark");
}

}  // namespace
