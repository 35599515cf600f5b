// Words to points and back: the bit stream of a word array cut into b-bit
// points, least significant first, and joined again.
//
// Every width from 7 to 22 goes by groups: 32 points fill exactly b words,
// so a group is straight-line code with all shifts known (the widths 8, 10,
// 12, 14 and 16 would fit smaller groups; one shape serves them all). The
// words past the last whole group, and every other width, go through the
// general loop: a running accumulator that takes in 32 bits and hands out b
// (or the reverse when packing).
#include <cstring>
#include <utility>

#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"

namespace {

constexpr uint32_t groupPoints = 32;  // a group: 32 points in b words
constexpr uint32_t narrowestGroup = 7, widestGroup = 22;

// Points of b bits in the first `bits` bits of a stream.
inline uint64_t pointsCovering(uint64_t bits, uint32_t b) {
  return (bits + b - 1) / b;
}

// Whole groups of points from words. Balanced: each point u becomes u + t -
// 2^b t' with t' = (u >= 2^(b-1)) and t the t' of the point before (`carry`
// in and out), so the points lie in [-2^(b-1), 2^(b-1)] with no chain from
// point to point. Returns the points written.
template <uint32_t b, bool balanced>
uint64_t splitGroups(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n,
                     uint32_t* carry) {
  constexpr uint64_t mask = (uint64_t(1) << b) - 1;
  constexpr uint32_t half = uint32_t(1) << (b - 1);
  uint64_t groups = n / b;
  if (groups > count / groupPoints) groups = count / groupPoints;
  uint32_t t = *carry;
  for (uint64_t g = 0; g < groups; g++) {
    const uint32_t* src = words + g * b;
    uint32_t* dst = points + g * groupPoints;
    uint64_t acc = 0;
    uint32_t have = 0, next = 0;
#pragma GCC unroll 32
    for (uint32_t k = 0; k < groupPoints; k++) {
      if (have < b) {
        acc |= uint64_t(src[next++]) << have;
        have += 32;
      }
      uint32_t u = uint32_t(acc & mask);
      acc >>= b;
      have -= b;
      if (balanced) {
        uint32_t up = u >= half ? 1 : 0;
        dst[k] = u + t - (up << b);
        t = up;
      } else {
        dst[k] = u;
      }
    }
  }
  *carry = t;
  return groups * groupPoints;
}

// Whole groups of words from points; returns the words written.
template <uint32_t b>
uint64_t packGroups(const uint32_t* points, uint64_t count, uint32_t* words, uint64_t n) {
  uint64_t groups = n / b;
  if (groups > count / groupPoints) groups = count / groupPoints;
  for (uint64_t g = 0; g < groups; g++) {
    const uint32_t* src = points + g * groupPoints;
    uint32_t* dst = words + g * b;
    uint64_t acc = 0;
    uint32_t have = 0, next = 0;
#pragma GCC unroll 32
    for (uint32_t k = 0; k < groupPoints; k++) {
      acc |= uint64_t(src[k]) << have;
      have += b;
      if (have >= 32) {
        dst[next++] = uint32_t(acc);
        acc >>= 32;
        have -= 32;
      }
    }
  }
  return groups * b;
}

template <bool balanced, uint32_t... widths>
uint64_t splitByWidth(uint32_t b, uint32_t* points, uint64_t count, const uint32_t* words,
                      uint64_t n, uint32_t* carry, std::integer_sequence<uint32_t, widths...>) {
  uint64_t done = 0;
  ((b == widths + narrowestGroup
        ? (done = splitGroups<widths + narrowestGroup, balanced>(points, count, words, n, carry))
        : 0),
   ...);
  return done;
}

template <uint32_t... widths>
uint64_t packByWidth(uint32_t b, const uint32_t* points, uint64_t count, uint32_t* words,
                     uint64_t n, std::integer_sequence<uint32_t, widths...>) {
  uint64_t done = 0;
  ((b == widths + narrowestGroup
        ? (done = packGroups<widths + narrowestGroup>(points, count, words, n))
        : 0),
   ...);
  return done;
}

using GroupWidths = std::make_integer_sequence<uint32_t, widestGroup - narrowestGroup + 1>;

// Splits (balanced or not) and returns the points that carry data.
template <bool balanced>
uint64_t split(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n, uint32_t b) {
  uint64_t filled = pointsCovering(32 * n, b);
  if (filled > count) filled = count;
  uint32_t carry = 0;
  uint64_t done = splitByWidth<balanced>(b, points, filled, words, n, &carry, GroupWidths());
  splitWordsToPointsGeneral(points, done, filled, words, n, b);
  if (balanced) {
    const uint32_t half = uint32_t(1) << (b - 1);
    for (uint64_t k = done; k < filled; k++) {
      uint32_t u = points[k], up = u >= half ? 1 : 0;
      points[k] = u + carry - (up << b);
      carry = up;
    }
    // The top point keeps its carry: no point beyond the data is touched.
    if (carry != 0) points[filled - 1] += uint32_t(1) << b;
  }
  if (count > filled) memset(points + filled, 0, 4 * (count - filled));
  return filled;
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
  split<false>(points, count, words, n, b);
}

void splitWordsToBalancedPoints(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n,
                                uint32_t b) {
  split<true>(points, count, words, n, b);
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
  if (b >= narrowestGroup && b <= widestGroup) {
    // Up to a group boundary by the general loop, then whole groups.
    uint64_t lead = (b - skipWords % b) % b;
    if (lead > n) lead = n;
    packPointsToWordsGeneral(points, count, skipWords, words, lead, b);
    done = lead;
    uint64_t firstPoint = (skipWords + done) / b * groupPoints;
    if (firstPoint < count) {
      done += packByWidth(b, points + firstPoint, count - firstPoint, words + done, n - done,
                          GroupWidths());
    }
  }
  if (done < n)
    packPointsToWordsGeneral(points, count, skipWords + done, words + done, n - done, b);
}

void packPointsToWords(const uint32_t* points, uint64_t count, uint32_t* words, uint64_t n,
                       uint32_t b) {
  packPointsToWordsFrom(points, count, 0, words, n, b);
}
