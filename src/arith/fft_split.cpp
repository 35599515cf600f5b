// Words to points and back: the bit stream of a word array cut into b-bit
// points, least significant first, and joined again.
//
// Widths that fit a whole number of words go by groups (8: 4 points a word,
// 10: 16 per 5 words, 12: 8 per 3, 14: 16 per 7, 16: 2 per word). Widths
// from 17 up take each point straight from a 64-bit window of the stream.
// Everything else, and the rest of the words after the groups or windows, goes
// through the general loop: a running accumulator that takes in 32 bits and
// hands out b (or the reverse when packing).
#include <cstring>

#include "arith/fft.h"
#include "arith/fft_internal.h"

namespace {

inline uint64_t window64(const uint32_t* words, uint64_t w) {
  uint64_t x;
  memcpy(&x, words + w, sizeof x);
  return x;
}

// Points of b bits in the first `bits` bits of a stream.
inline uint64_t pointsCovering(uint64_t bits, uint32_t b) { return (bits + b - 1) / b; }

// Group sizes of a width that fits whole words: G words hold P points.
// G = b / gcd(b, 32), and gcd(b, 32) is the lowest set bit of b for b < 32.
template <uint32_t b>
struct Group {
  static constexpr uint32_t words = b / (b & (0u - b));
  static constexpr uint32_t points = 32 * words / b;
};
static_assert(Group<10>::words == 5 && Group<10>::points == 16, "10 bits: 16 points per 5 words");
static_assert(Group<14>::words == 7 && Group<8>::points == 4, "14 bits: 7 words; 8 bits: 4 points");

// Whole groups of points from words; returns the points written.
template <uint32_t b>
uint64_t splitGroups(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n) {
  constexpr uint32_t G = Group<b>::words, P = Group<b>::points;
  constexpr uint64_t mask = (uint64_t(1) << b) - 1;
  uint64_t groups = n / G;
  if (groups > count / P) groups = count / P;
  for (uint64_t g = 0; g < groups; g++) {
    const uint32_t* src = words + g * G;
    uint32_t* dst = points + g * P;
    uint64_t acc = 0;
    uint32_t have = 0, next = 0;
#pragma GCC unroll 16
    for (uint32_t k = 0; k < P; k++) {
      if (have < b) {
        acc |= uint64_t(src[next++]) << have;
        have += 32;
      }
      dst[k] = uint32_t(acc & mask);
      acc >>= b;
      have -= b;
    }
  }
  return groups * P;
}

// Whole groups of words from points; returns the words written.
template <uint32_t b>
uint64_t packGroups(const uint32_t* points, uint64_t count, uint32_t* words, uint64_t n) {
  constexpr uint32_t G = Group<b>::words, P = Group<b>::points;
  uint64_t groups = n / G;
  if (groups > count / P) groups = count / P;
  for (uint64_t g = 0; g < groups; g++) {
    const uint32_t* src = points + g * P;
    uint32_t* dst = words + g * G;
    uint64_t acc = 0;
    uint32_t have = 0, next = 0;
#pragma GCC unroll 16
    for (uint32_t k = 0; k < P; k++) {
      acc |= uint64_t(src[k]) << have;
      have += b;
      if (have >= 32) {
        dst[next++] = uint32_t(acc);
        acc >>= 32;
        have -= 32;
      }
    }
  }
  return groups * G;
}

}  // namespace

// The general split loop from point `first` (whose bit position is first * b)
// to point `last`; words past n read as zero.
void splitWordsToPointsGeneral(uint32_t* points, uint64_t first, uint64_t last,
                               const uint32_t* words, uint64_t n, uint32_t b) {
  const uint64_t mask = (uint64_t(1) << b) - 1;
  uint64_t bit = first * b;
  uint64_t w = bit >> 5;
  uint64_t acc = 0;
  uint32_t have = 0;
  if ((bit & 31) != 0) {
    acc = (w < n ? words[w] : 0) >> (bit & 31);
    have = 32 - uint32_t(bit & 31);
    w++;
  }
  for (uint64_t k = first; k < last; k++) {
    if (have < b) {
      acc |= uint64_t(w < n ? words[w] : 0) << have;
      have += 32;
      w++;
    }
    points[k] = uint32_t(acc & mask);
    acc >>= b;
    have -= b;
  }
}

void splitWordsToPoints(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n,
                        uint32_t b) {
  uint64_t filled = pointsCovering(32 * n, b);
  if (filled > count) filled = count;
  uint64_t done = 0;
  switch (b) {
    case 8: done = splitGroups<8>(points, filled, words, n); break;
    case 10: done = splitGroups<10>(points, filled, words, n); break;
    case 12: done = splitGroups<12>(points, filled, words, n); break;
    case 14: done = splitGroups<14>(points, filled, words, n); break;
    case 16: done = splitGroups<16>(points, filled, words, n); break;
    default:
      if (b >= 17) {
        const uint64_t mask = (uint64_t(1) << b) - 1;
        // Point k needs words (k b) / 32 and the one above it.
        for (uint64_t bit = 0; done < filled && (bit >> 5) + 1 < n; bit += b, done++) {
          points[done] = uint32_t((window64(words, bit >> 5) >> (bit & 31)) & mask);
        }
      }
      break;
  }
  splitWordsToPointsGeneral(points, done, filled, words, n, b);
  if (count > filled) memset(points + filled, 0, 4 * (count - filled));
}

// The general pack loop: words[0 .. n) from bit position 32 * skipWords of
// the stream of points; points past `count` read as zero.
void packPointsToWordsGeneral(const uint32_t* points, uint64_t count, uint64_t skipWords,
                              uint32_t* words, uint64_t n, uint32_t b) {
  uint64_t bit = 32 * skipWords;
  uint64_t k = bit / b;
  uint32_t offset = uint32_t(bit % b);
  uint64_t acc = (k < count ? points[k] : 0) >> offset;
  uint32_t have = b - offset;
  k++;
  for (uint64_t w = 0; w < n; w++) {
    while (have < 32) {
      acc |= uint64_t(k < count ? points[k] : 0) << have;
      have += b;
      k++;
    }
    words[w] = uint32_t(acc);
    acc >>= 32;
    have -= 32;
  }
}

void packPointsToWordsFrom(const uint32_t* points, uint64_t count, uint64_t skipWords,
                           uint32_t* words, uint64_t n, uint32_t b) {
  uint64_t done = 0;
  if (skipWords == 0) {
    switch (b) {
      case 8: done = packGroups<8>(points, count, words, n); break;
      case 10: done = packGroups<10>(points, count, words, n); break;
      case 12: done = packGroups<12>(points, count, words, n); break;
      case 14: done = packGroups<14>(points, count, words, n); break;
      case 16: done = packGroups<16>(points, count, words, n); break;
      default: break;
    }
  }
  if (done == 0 && b >= 16) {
    // Word w takes bits offset .. offset + 31 of points k, k + 1, k + 2.
    uint64_t bit = 32 * skipWords;
    uint64_t k = bit / b;
    uint64_t offset = bit % b;
    for (; done < n && k + 2 < count; done++) {
      uint64_t joined = uint64_t(points[k]) | (uint64_t(points[k + 1]) << b) |
                        (uint64_t(points[k + 2]) << (2 * b));
      words[done] = uint32_t(joined >> offset);
      offset += 32;
      uint64_t step = offset >= b ? 1 : 0;
      k += step;
      offset -= step * b;
      step = offset >= b ? 1 : 0;
      k += step;
      offset -= step * b;
    }
  }
  if (done < n) packPointsToWordsGeneral(points, count, skipWords + done, words + done, n - done, b);
}

void packPointsToWords(const uint32_t* points, uint64_t count, uint32_t* words, uint64_t n,
                       uint32_t b) {
  packPointsToWordsFrom(points, count, 0, words, n, b);
}

void splitWordsToBalancedPoints(uint32_t* points, uint64_t count, const uint32_t* words,
                                uint64_t n, uint32_t b) {
  splitWordsToPoints(points, count, words, n, b);
  uint64_t filled = pointsCovering(32 * n, b);
  if (filled > count) filled = count;
  const int64_t half = int64_t(1) << (b - 1), full = int64_t(1) << b;
  int64_t carry = 0;
  for (uint64_t k = 0; k < filled; k++) {
    int64_t v = int64_t(points[k]) + carry;
    carry = v >= half ? 1 : 0;
    points[k] = uint32_t(int32_t(v - carry * full));
  }
  // The top point keeps its carry: no point beyond the data is touched.
  if (carry != 0) points[filled - 1] = uint32_t(int32_t(points[filled - 1]) + int32_t(full));
}
