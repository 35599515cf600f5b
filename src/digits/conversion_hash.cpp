// The checksums of the base conversion, and the test hooks that inject the
// faults they exist to catch.
#include <atomic>

#include "arith/numbers/mod61.h"
#include "digits/base_conversion.h"

namespace {

constexpr uint64_t binaryRadix = uint64_t(1) << 32;  // below 2^61 - 1: reduced

std::atomic<uint32_t> leafFaults{0};
std::atomic<uint32_t> powerFaults{0};

// Counts a pending fault down; true when one was pending.
bool takeFault(std::atomic<uint32_t>& pending) {
  uint32_t count = pending.load(std::memory_order_relaxed);
  while (count != 0) {
    if (pending.compare_exchange_weak(count, count - 1, std::memory_order_relaxed)) return true;
  }
  return false;
}

}  // namespace

// h = h * 2^32 + word over words[n - 1] down to words[0], modulo 2^61 - 1.
uint64_t hashBinaryWords(uint64_t hash, const uint32_t* words, uint64_t n) {
  for (uint64_t i = n; i-- > 0;) hash = mod61HashStep(hash, binaryRadix, words[i]);
  return hash;
}

// h = h * 10^9 + word over words[n - 1] down to words[0], modulo 2^61 - 1.
uint64_t hashDecimalWords(uint64_t hash, const uint32_t* words, uint64_t n) {
  for (uint64_t i = n; i-- > 0;) hash = mod61HashStep(hash, billion, words[i]);
  return hash;
}

void conversionCorruptLeavesForTesting(uint32_t count) {
  leafFaults.store(count);
}
void conversionCorruptPowersForTesting(uint32_t count) {
  powerFaults.store(count);
}
bool conversionTakeLeafFault() {
  return takeFault(leafFaults);
}
bool conversionTakePowerFault() {
  return takeFault(powerFaults);
}
