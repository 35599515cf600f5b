// Linux forms of the processor calls: sched/pthread affinity, RDTSC,
// clock_gettime, CPUID and the cpufreq files.
#include "platform/processor.h"

#include <cpuid.h>
#include <pthread.h>
#include <x86intrin.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

bool processorPinFirst(ProcessorPin* pin) {
  CPU_ZERO(&pin->previous);
  if (pthread_getaffinity_np(pthread_self(), sizeof(cpu_set_t), &pin->previous) != 0) {
    return false;
  }
  cpu_set_t process;
  CPU_ZERO(&process);
  if (sched_getaffinity(0, sizeof(process), &process) != 0) return false;
  for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
    if (CPU_ISSET(cpu, &process)) {
      cpu_set_t one;
      CPU_ZERO(&one);
      CPU_SET(cpu, &one);
      return pthread_setaffinity_np(pthread_self(), sizeof(one), &one) == 0;
    }
  }
  return false;
}

void processorPinRestore(const ProcessorPin* pin) {
  pthread_setaffinity_np(pthread_self(), sizeof(cpu_set_t), &pin->previous);
}

uint64_t cycleCounter() { return __rdtsc(); }

bool monotonicCounter(int64_t* value) {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) return false;
  *value = int64_t(now.tv_sec) * 1000000000 + now.tv_nsec;
  return true;
}

int64_t monotonicCounterHz() { return 1000000000; }

void processorBrandText(char text[48]) {
  memset(text, 0, 48);
  unsigned int regs[4];
  if (__get_cpuid(0x80000000, &regs[0], &regs[1], &regs[2], &regs[3]) && regs[0] >= 0x80000004) {
    for (unsigned int leaf = 0; leaf < 3; ++leaf) {
      __get_cpuid(0x80000002 + leaf, &regs[0], &regs[1], &regs[2], &regs[3]);
      memcpy(text + 16 * leaf, regs, 16);
    }
    return;
  }
  FILE* file = fopen("/proc/cpuinfo", "r");
  if (file == nullptr) return;
  char line[512];
  while (fgets(line, sizeof(line), file) != nullptr) {
    if (strncmp(line, "model name", 10) != 0) continue;
    const char* colon = strchr(line, ':');
    if (colon == nullptr) break;
    const char* start = colon + 1;
    while (*start == ' ' || *start == '\t') ++start;
    size_t length = strcspn(start, "\n");
    memcpy(text, start, length < 48 ? length : 48);
    break;
  }
  fclose(file);
}

namespace {

// A file holding one decimal number of kHz; 0 when it is missing or empty.
uint64_t readKilohertz(const char* path) {
  FILE* file = fopen(path, "r");
  if (file == nullptr) return 0;
  unsigned long long value = 0;
  if (fscanf(file, "%llu", &value) != 1) value = 0;
  fclose(file);
  return value;
}

}  // namespace

uint64_t processorNominalHz() {
  uint64_t khz = readKilohertz("/sys/devices/system/cpu/cpu0/cpufreq/base_frequency");
  if (khz == 0) khz = readKilohertz("/sys/devices/system/cpu/cpu0/cpufreq/cpuinfo_max_freq");
  return khz * 1000;
}
