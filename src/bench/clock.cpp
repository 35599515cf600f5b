// Frequency measurement and the three-clock check of a benchmark run.
#include "bench/clock.h"

#include <cmath>
#include <cstring>

#include "platform/console.h"
#include "platform/processor.h"

const char* const clockSanityMessage =
    "Sanity Check Error... Unable to validate benchmark...\n"
    "Note that SetFSB and similar tools are known to cause this error.\n"
    "If you used such a tool to, try rebooting at the current frequency.\n";
const char* const clockFrequencyMessage =
    "Abnormal frequency measurement. Unable to validate benchmark...\n"
    "Note that SetFSB and similar tools are known to cause this error.\n"
    "If you used such a tool, try rebooting at the current frequency.\n";

uint64_t measureFrequency() {
  ProcessorPin pin;
  if (!processorPinFirst(&pin)) fatalMessage("Unable to set Affinity Mask.");
  const int64_t hz = monotonicCounterHz();
  const int64_t window = hz >> 4;
  int64_t counterStart = 0, counterNow = 0;
  const uint64_t cyclesStart = cycleCounter();
  bool ok = monotonicCounter(&counterStart);
  while (ok) {
    ok = monotonicCounter(&counterNow);
    if (counterNow - counterStart > window) break;
  }
  const uint64_t cyclesEnd = cycleCounter();
  processorPinRestore(&pin);
  if (!ok) fatalMessage("Unable to measure clock speed.");
  long double cycles = (long double)(cyclesEnd - cyclesStart);
  return (uint64_t)(cycles * hz / (long double)(counterNow - counterStart));
}

uint64_t readCycleCounter() {
  ProcessorPin pin;
  if (!processorPinFirst(&pin)) fatalMessage("Unable to set Affinity Mask.");
  uint64_t cycles = cycleCounter();
  processorPinRestore(&pin);
  return cycles;
}

bool frequencyDiffers(uint64_t measuredHz, uint64_t hz) {
  uint64_t difference = hz > measuredHz ? hz - measuredHz : measuredHz - hz;
  uint64_t low = hz < measuredHz ? hz : measuredHz;
  double ratio = low == 0 ? 0.0 : double(difference) / double(low);
  return difference > 4000000 && ratio > 0.001;
}

void compareFrequency(ClockInfo* info, uint64_t hz) {
  if (frequencyDiffers(info->measuredHz, hz)) info->frequencyInaccurate = 1;
}

void clockStart(ClockInfo* info) {
  memset(info, 0, sizeof(*info));
  info->measuredHz = measureFrequency();

  processorBrandText(info->processorName);
  size_t lead = 0;
  while (lead < sizeof(info->processorName) && info->processorName[lead] == ' ') ++lead;
  memmove(info->processorName, info->processorName + lead, sizeof(info->processorName) - lead);
  memset(info->processorName + sizeof(info->processorName) - lead, 0, lead);

  info->registryHz = processorNominalHz();

  info->counterHz = monotonicCounterHz();
  if (info->counterHz <= 0) {
    fatalMessage("CPU cycle counter is not supported. No validation can be done.");
  }
  if (!monotonicCounter(&info->startCounter)) {
    fatalMessage("Unable to access CPU cycle counter for validation.");
  }
  info->startTicks = int32_t(wallClockMilliseconds());
  info->startCycles = readCycleCounter();
  if (info->registryHz != 0) compareFrequency(info, info->registryHz);
}

bool clocksAgree(double secondsByTicks, double secondsByCounter, double secondsByCycles) {
  double low = std::fmin(secondsByTicks, std::fmin(secondsByCounter, secondsByCycles));
  double high = std::fmax(secondsByTicks, std::fmax(secondsByCounter, secondsByCycles));
  double spread = high - low;
  if (std::isnan(spread)) return true;
  // A small margin keeps the edges (0.05 s, 1 %) on the sound side when the
  // subtraction rounds up.
  constexpr double margin = 1e-9;
  if (spread <= 0.05 + margin) return true;
  return low >= 4.0 && spread / low <= 0.01 + margin;
}

void clockFinish(ClockInfo* info) {
  info->finalHz = measureFrequency();
  compareFrequency(info, info->finalHz);

  int32_t ticksNow = int32_t(wallClockMilliseconds());
  info->secondsByTicks = double(int32_t(uint32_t(ticksNow) - uint32_t(info->startTicks))) * 0.001;
  int64_t counterNow = 0;
  if (!monotonicCounter(&counterNow)) {
    fatalMessage("Unable to access CPU cycle counter for validation.");
  }
  info->secondsByCounter = double(counterNow - info->startCounter) / double(info->counterHz);
  uint64_t cyclesNow = readCycleCounter();
  info->secondsByCycles = double(cyclesNow - info->startCycles) / double(info->measuredHz + 1);

  if (!clocksAgree(info->secondsByTicks, info->secondsByCounter, info->secondsByCycles)) {
    fatalMessage(clockSanityMessage);
  }
  if (info->frequencyInaccurate == 1) fatalMessage(clockFrequencyMessage);
}
