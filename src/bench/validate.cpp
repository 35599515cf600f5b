// The validator: reads a record's fields and reverses its checksum.
#include "bench/validate.h"

#include <cstring>

#include "bench/checksum.h"
#include "platform/console.h"
#include "platform/version.h"

namespace {

// Reads one line in colour 11 and keeps at most `limit` characters of it
// (zero-filled up to `capacity`).
void readField(char* field, size_t capacity, size_t limit) {
  char line[512];
  size_t length = readPathLine(line, sizeof(line));
  if (length > limit) length = limit;
  memset(field, 0, capacity);
  memcpy(field, line, length);
}

uint64_t readNumber64() {
  while (true) {
    setColor(11);
    uint64_t value = 0;
    bool ok = readUnsigned64(&value);
    colorDefault();
    if (ok) return value;
  }
}

// The fields after the version, the check and its outcome.
void validateFields(const char* version) {
  char name[49];
  printWide("Processor (exactly as written): ");
  readField(name, sizeof(name), 48);

  printWide("CPU Frequency (no commas): ");
  uint64_t hz = readNumber64();

  uint32_t threadPower = 0;
  while (true) {
    printWide("Threads:    ");
    setColor(11);
    bool ok = readUnsigned(&threadPower);
    colorDefault();
    if (ok && threadPower <= 8) break;
  }

  printWide("Digits (no commas): ");
  uint64_t digits = readNumber64();

  char checksum[33];
  printWide("Checksum (all lowercase): ");
  readField(checksum, sizeof(checksum), 32);

  float seconds = 0;
  if (!validationTime(version, name, hz, threadPower, digits, checksum, &seconds)) {
    fatalMessage("Invalid Checksum");
  }
  printWide("Validated Time: ");
  colorYellow(true);
  printNarrow("%g", double(seconds));
  colorDefault();
}

}  // namespace

bool validationTime(const char* version, const char name[48], uint64_t hz, uint64_t threadPower,
                    uint64_t digits, const char checksum[32], float* seconds) {
  uint64_t a, b;
  checksumDecode(checksum, &a, &b);
  uint64_t fields = checksumFieldMix(version, name, hz, threadPower, digits, checksumSalt(a));
  uint64_t rest = checksumRecover(a, b, fields);
  if ((rest >> 32) != 0) return false;
  uint32_t bits = uint32_t(rest);
  memcpy(seconds, &bits, sizeof(bits));
  return true;
}

void validateBenchmark() {
  printWide("Enter validation data:\n\n");
  printWide("Program Version (exactly as written) (SPACE if version 0.3.1 or earlier):\n");
  char version[64];
  readField(version, sizeof(version), strlen(versionLine));
  if (version[0] == ' ') {
    validateOldFormat();
    return;
  }
  validateFields(version);
}

void validateOldFormat() { validateFields(nullptr); }
