// Helpers shared by the digit tools' sources.
#pragma once

#include <cstdint>

#include "tools/digit_viewer.h"

// Prints `prompt` and reads a 64-bit number in colour 11 until one lies in
// [low, high]; text that is not a number asks again.
uint64_t readDigitNumber(const char* prompt, uint64_t low, uint64_t high);
// Prints the status line now, whatever the clock says.
void statusFinal(const StatusLine* status, uint64_t done);
// Bytes of the chunks in which the tools move digits.
constexpr uint32_t toolChunkDigits = 1u << 16;
