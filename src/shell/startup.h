// What runs before the menu: the word-width self-check and the
// floating-point control of the main thread.
#pragma once

#include <cstdint>

// Doublings of the value 1 in a word of type T until it wraps to zero: the
// number of bits the word really holds.
template <typename T>
constexpr uint32_t wordWidthBits() {
  T value = 1;
  uint32_t count = 0;
  while (value != 0) {
    value = static_cast<T>(value + value);
    ++count;
  }
  return count;
}

// Ends the process (messages, pause, status 1) unless `bits` is 32, the
// width that every big-number word is assumed to have.
void checkWordWidth(uint32_t bits);
// The self-check of the build: checkWordWidth on a 32-bit word. Runs during
// static initialisation of the program, before main.
void compileSelfCheck();
// Sets FTZ and DAZ in MXCSR on the calling thread: denormal results flush to
// zero and denormal inputs read as zero.
void setFloatingPointControl();
