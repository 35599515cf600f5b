// The processor as a benchmark sees it: pinning the calling thread to one
// processor, the cycle counter, the monotonic counter, the brand text and
// the nominal frequency.
#pragma once

#include <sched.h>

#include <cstdint>

// The calling thread's mask before pinning, to be put back.
struct ProcessorPin {
  cpu_set_t previous;
};

// Pins the calling thread to the lowest processor of the process's mask.
// False when the mask cannot be read or set.
bool processorPinFirst(ProcessorPin* pin);
void processorPinRestore(const ProcessorPin* pin);

// The time-stamp counter.
uint64_t cycleCounter();
// CLOCK_MONOTONIC in nanoseconds; false when it cannot be read.
bool monotonicCounter(int64_t* value);
// Ticks of monotonicCounter per second.
int64_t monotonicCounterHz();

// The 48 bytes of the brand text (CPUID leaves 0x80000002 to 0x80000004, or
// the "model name" line of /proc/cpuinfo), zero-filled.
void processorBrandText(char text[48]);
// The nominal frequency in Hz from /sys (base_frequency, else
// cpuinfo_max_freq, both in kHz); 0 when the system does not tell it.
uint64_t processorNominalHz();
