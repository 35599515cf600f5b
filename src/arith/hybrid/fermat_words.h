// Word helpers shared by the Fermat kernels: unaligned 64-bit access to
// pairs of words, and the small signed carry that finishes each kernel.
#pragma once

#include <cstdint>
#include <cstring>

namespace fermat_words {

inline unsigned long long load64(const uint32_t* p) {
  unsigned long long v;
  memcpy(&v, p, 8);
  return v;
}
inline void store64(uint32_t* p, unsigned long long v) { memcpy(p, &v, 8); }

// Adds delta * 2^(32 at) to the words of x[0 .. W); returns the carry out
// of word W - 1, a count of 2^n, added to `top`. Stops where the carry dies.
// A carry of 1 runs through words of all ones, one of -1 through zeros:
// those runs are passed two words at a time.
inline int64_t rippleAt(uint32_t* x, uint64_t W, uint64_t at, int64_t delta, int64_t top) {
  uint64_t p = at;
  while (delta != 0 && p < W) {
    if (delta == 1 || delta == -1) {
      const unsigned long long through = delta == 1 ? ~0ull : 0;
      while (p + 2 <= W && load64(x + p) == through) {
        store64(x + p, ~through);
        p += 2;
      }
      if (p == W) break;
    }
    delta += int64_t(x[p]);
    x[p] = uint32_t(delta);
    delta >>= 32;
    p++;
  }
  return top + delta;
}

}  // namespace fermat_words
