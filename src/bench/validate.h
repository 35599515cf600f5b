// Option "Validate a Pi Benchmark": the fields of a validation record typed
// by hand; prints the time its checksum holds, or "Invalid Checksum".
#pragma once

#include <cstdint>

// The dialogue for current records; a version line starting with a blank
// goes to validateOldFormat.
void validateBenchmark();
// Records of early versions: no version in the checksum.
void validateOldFormat();

// The check itself: the time held by the checksum, or false when the
// record does not match. `version` null for the old form.
bool validationTime(const char* version, const char name[48], uint64_t hz, uint64_t threadPower,
                    uint64_t digits, const char checksum[32], float* seconds);
