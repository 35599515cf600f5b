// What a finished benchmark leaves: Validation.txt with its console form,
// and the head and rows of the batch table Benchmarks.txt.
#pragma once

#include <cstdint>
#include <string>

struct ClockInfo;
struct DigitStream;

// The time of a record: whole seconds, ".", three digits of milliseconds,
// from the floor of the time in milliseconds ("61.005", "61.050").
std::string formatRecordTime(double seconds);

// Writes `path` (replacing it), CR LF line ends: version, processor,
// frequency, thread power, digits, time and info->checksumText.
void writeValidationFile(const char* path, const ClockInfo* info, uint32_t threadPower,
                         uint64_t digits, double seconds);
// The same fields on the console in colour 3, then colour 7.
void printValidation(const ClockInfo* info, uint32_t threadPower, uint64_t digits,
                     double seconds);

// The console form of one size of a batch, between two rules: size, trials,
// total and best time, then (when `info` is not null: the best run has a
// checksum) the validation screen of the best run.
void printBatchResult(uint64_t digits, uint32_t trials, double totalSeconds, double bestSeconds,
                      const ClockInfo* info, uint32_t threadPower);

// The head of Benchmarks.txt: version, processor, frequency ("Unable to
// Detect" when 0), thread power, and the column titles.
void writeBenchmarkHeader(DigitStream* stream, const ClockInfo* info, uint32_t threadPower);
// One row: digits, best time, checksum (null: "N/A"); flushed at once, so a
// batch broken off keeps its rows.
void writeBenchmarkRow(DigitStream* stream, uint64_t digits, double bestSeconds,
                       const char* checksum);
