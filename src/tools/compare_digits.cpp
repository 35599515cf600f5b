// Compare Digits: the menu and the three comparers, which differ only in how
// they get their digits.
#include "tools/compare_digits.h"

#include <cstring>

#include "memory/heap.h"
#include "platform/console.h"
#include "tools/digit_reader.h"
#include "tools/digit_viewer.h"
#include "tools/viewer_internal.h"

namespace {

constexpr size_t pathCapacity = 1024;

// Index of the first byte where a and b differ, or n.
inline uint32_t firstDifference(const uint8_t* a, const uint8_t* b, uint32_t n) {
  if (memcmp(a, b, n) == 0) return n;
  uint32_t i = 0;
  while (a[i] == b[i]) i++;
  return i;
}

void finalCount(const StatusLine* status, uint64_t matched) {
  statusFinal(status, matched);
  printWide("\n\n");
}

[[noreturn]] void mismatchingBase() {
  printWide("Mismatching Base\n\n");
  pauseExit(0);
}

// Digit by digit through the bulk readers of both files, up to `limit`.
uint64_t compareReaders(DigitReader* a, DigitReader* b, uint64_t limit, uint8_t* valuesA,
                        uint8_t* valuesB) {
  StatusLine status;
  statusStart(&status, "Comparing:  ", "  digits matched");
  uint64_t matched = 0;
  seekDigit(a, 0);
  seekDigit(b, 0);
  while (matched < limit) {
    uint32_t take = limit - matched < toolChunkDigits ? uint32_t(limit - matched) : toolChunkDigits;
    readDigits(a, valuesA, take);
    readDigits(b, valuesB, take);
    uint32_t same = firstDifference(valuesA, valuesB, take);
    matched += same;
    if (same < take) break;
    statusUpdate(&status, matched);
  }
  finalCount(&status, matched);
  return matched;
}

uint64_t smaller(uint64_t a, uint64_t b) { return a < b ? a : b; }

}  // namespace

void compareDigitsMenu() {
  printWide("Compare Digits\n\n");
  printWide("Enter the paths of the files (include .txt or .zdg extensions):\n");
  char path1[pathCapacity], path2[pathCapacity];
  printWide("Path 1: ");
  readPathLine(path1, sizeof path1);
  DigitFileKind kind1 = checkExtension(path1);
  printWide("Path 2: ");
  readPathLine(path2, sizeof path2);
  DigitFileKind kind2 = checkExtension(path2);
  printWide("\n");
  if (kind1 == digitFileCompressed && kind2 == digitFileCompressed) {
    compareCompressed(path1, path2);
  } else if (kind1 == digitFileText && kind2 == digitFileText) {
    compareText(path1, path2);
  } else if (kind1 == digitFileCompressed) {
    compareMixed(path1, path2);
  } else {
    compareMixed(path2, path1);
  }
}

uint64_t compareCompressed(const char* path1, const char* path2) {
  Heap heap1, heap2;
  heapInit(nullptr, &heap1, toolHeapBytes);
  heapInit(nullptr, &heap2, toolHeapBytes);
  DigitReader a, b;
  openCompressedDigits(&heap1, &a, path1);
  openCompressedDigits(&heap2, &b, path2);
  if (a.radix != b.radix) mismatchingBase();
  if (a.radix != 10 && a.radix != 16) fatalMessage("Unrecognized Radix");
  uint8_t* valuesA = static_cast<uint8_t*>(heapAllocate(&heap1, toolChunkDigits, 64));
  uint8_t* valuesB = static_cast<uint8_t*>(heapAllocate(&heap2, toolChunkDigits, 64));
  uint64_t matched = compareReaders(&a, &b, smaller(a.totalDigits, b.totalDigits), valuesA, valuesB);
  heapRelease(valuesA);
  heapRelease(valuesB);
  closeDigits(&a);
  closeDigits(&b);
  heapDestroy(&heap1);
  heapDestroy(&heap2);
  return matched;
}

uint64_t compareMixed(const char* compressedPath, const char* textPath) {
  Heap heap;
  heapInit(nullptr, &heap, toolHeapBytes);
  DigitReader a, b;
  openCompressedDigits(&heap, &a, compressedPath);
  openTextDigits(&b, textPath);
  b.radix = a.radix;
  uint8_t* valuesA = static_cast<uint8_t*>(heapAllocate(&heap, toolChunkDigits, 64));
  uint8_t* valuesB = static_cast<uint8_t*>(heapAllocate(&heap, toolChunkDigits, 64));
  uint64_t matched = compareReaders(&a, &b, smaller(a.totalDigits, b.totalDigits), valuesA, valuesB);
  heapRelease(valuesA);
  heapRelease(valuesB);
  closeDigits(&a);
  closeDigits(&b);
  heapDestroy(&heap);
  return matched;
}

uint64_t compareText(const char* path1, const char* path2) {
  DigitReader a, b;
  openTextDigits(&a, path1);
  openTextDigits(&b, path2);
  const uint64_t limit = smaller(a.totalDigits, b.totalDigits);
  StatusLine status;
  statusStart(&status, "Comparing:  ", "  digits matched");
  // The bytes after the points, compared where they lie in the two buffers.
  uint64_t matched = 0;
  while (matched < limit) {
    uint32_t availableA = digitReaderRefill(&a);
    uint32_t availableB = digitReaderRefill(&b);
    if (availableA == 0 || availableB == 0) fatalMessage("Read Fault");
    uint64_t take = smaller(smaller(availableA, availableB), limit - matched);
    uint32_t same = firstDifference(a.buffer + a.bufferAt, b.buffer + b.bufferAt, uint32_t(take));
    matched += same;
    if (same < take) break;
    a.bufferAt += uint32_t(take);
    b.bufferAt += uint32_t(take);
    statusUpdate(&status, matched);
  }
  finalCount(&status, matched);
  closeDigits(&a);
  closeDigits(&b);
  return matched;
}
