// The clocks of a benchmark: the processor's name and frequency, and three
// independent clocks read at the start and at the end of a run. A run whose
// clocks disagree, or whose frequency moved, cannot be validated.
#pragma once

#include <cstdint>

struct ClockInfo {
  char processorName[48];  // brand text, leading blanks removed, zero-filled
  uint64_t measuredHz;     // frequency measured at the start of the run
  uint64_t registryHz;     // nominal frequency the system reports; 0 when unknown
  uint64_t finalHz;        // frequency measured at the end
  int32_t startTicks;      // real-time clock in milliseconds at the start
  int64_t startCounter;    // monotonic counter at the start
  uint64_t startCycles;    // cycle counter at the start
  int64_t counterHz;       // ticks of the monotonic counter per second
  double secondsByTicks;
  double secondsByCounter;
  double secondsByCycles;
  uint32_t frequencyInaccurate;  // 1 when one frequency comparison failed
  char checksumText[33];         // filled by makeChecksum
};

// The cycle counter's frequency over one sixteenth of a second of the
// monotonic counter, read on the first permitted processor.
uint64_t measureFrequency();
// The cycle counter, read on the first permitted processor.
uint64_t readCycleCounter();

// Before a run: frequency, name, nominal frequency, the three clocks' start
// values; the nominal frequency (when known) is compared with the measured.
void clockStart(ClockInfo* info);
// Sets frequencyInaccurate when hz and measuredHz differ by more than
// 4,000,000 Hz and by more than 0.1 % of the smaller.
void compareFrequency(ClockInfo* info, uint64_t hz);
// After a run: measures again, fills the three lengths of the run and ends
// the program with its message when the clocks disagree or a frequency
// comparison failed.
void clockFinish(ClockInfo* info);

// The rules behind the two functions above, for any values.
bool frequencyDiffers(uint64_t measuredHz, uint64_t hz);
// True when the three lengths of a run agree: a spread of at most 0.05 s,
// or from 4 s on a spread of at most 1 % of the shortest. A spread that is
// not a number counts as agreement.
bool clocksAgree(double secondsByTicks, double secondsByCounter, double secondsByCycles);

extern const char* const clockSanityMessage;
extern const char* const clockFrequencyMessage;
