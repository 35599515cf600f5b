// convertToDecimalSwapped: the base conversion for Basic Swap. Only the top
// layer pages: it keeps the quotient that waits for its turn on disk, runs
// each division with its operands paged out (so the products may take the
// disk path), and writes the output of each subtree to one swap file. Below
// the top levels the table entries of the levels still needed are brought
// in, and the thread and serial layers run in memory as in the RAM form.
#include <algorithm>

#include "digits/base_conversion.h"
#include "digits/conversion_internal.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"

namespace {

// Largest piece of the output read back at once for the decimal hash.
constexpr uint64_t hashPieceWords = uint64_t(1) << 20;

// Brings the table's entries of levels 0 .. level into memory (their disk
// copies stay, so that sending them back costs no write).
void loadLevels(Heap* heap, BaseConversionTable* table, int32_t level) {
  for (int32_t i = 0; i <= level; ++i) {
    bigIntLoad(heap, &table->power[i].mantissa, 1);
    bigIntLoad(heap, &table->inverse[i].mantissa, 1);
  }
}

void pushLevels(BaseConversionTable* table, int32_t level) {
  for (int32_t i = level; i >= 0; --i) {
    bigIntPushToDisk(nullptr, &table->inverse[i].mantissa, globalSwapPaths);
    bigIntPushToDisk(nullptr, &table->power[i].mantissa, globalSwapPaths);
  }
}

// The top layer of the swap form; the output window is words
// offset .. offset + window - 1 of `output`.
void deconstructTopSwapped(Heap* heap, BigInt* y, RaidFile* output, uint64_t offset,
                           uint64_t window, int32_t level, uint32_t topLevels, uint32_t threads,
                           uint32_t threadsDown, BaseConversionTable* table) {
  if (y->length < 16 || topLevels == 0 || level < 0) {
    loadLevels(heap, table, level);
    bigIntLoad(heap, y, 0);
    uint32_t* words = window != 0 ? heapAllocateWords(heap, window) : nullptr;
    conversionProgress("Deconstructing   : ", y->length);
    deconstructThreads(heap, y, words, window, level, threadsDown, table);
    if (window != 0) raidFileWriteAt(output, offset, words, window);
    heapRelease(words);
    pushLevels(table, level);
    return;
  }
  if (window == 0) {
    bigIntDestroy(y);
    bigIntSetZero(y);
    return;
  }
  conversionProgress("Splitting        : ", y->length);
  BigInt remainder;
  conversionDivide(heap, y, &remainder, level, table, threads, true);
  // The quotient waits on disk while the remainder is converted.
  bigIntPushToDisk(nullptr, y, globalSwapPaths);
  const uint64_t low = std::min(window, conversionLowWindow(table, level));
  progressPush('0');
  deconstructTopSwapped(heap, &remainder, output, offset, low, level - 1, topLevels - 1, threads,
                        threadsDown, table);
  progressReplace('1');
  deconstructTopSwapped(heap, y, output, offset + low, window - low, level - 1, topLevels - 1,
                        threads, threadsDown, table);
  progressReplace('-');
  progressPop();
}

// Reads the output back from its top: the zero words at the top are
// counted off, the rest hashed. Returns the hash; *length the words left.
uint64_t hashOutputFile(Heap* heap, RaidFile* output, uint64_t window, uint64_t* length) {
  const uint64_t pieceWords = std::min(window, hashPieceWords);
  uint32_t* piece = heapAllocateWords(heap, pieceWords);
  uint64_t hash = 0;
  bool seekingTop = true;
  *length = window;
  for (uint64_t end = window; end > 0;) {
    const uint64_t count = std::min(end, pieceWords);
    raidFileReadAt(output, end - count, piece, count);
    uint64_t used = count;
    if (seekingTop) {
      while (used > 0 && piece[used - 1] == 0) --used;
      *length -= count - used;
      seekingTop = used == 0;
    }
    hash = hashDecimalWords(hash, piece, used);
    end -= count;
  }
  heapRelease(piece);
  return hash;
}

}  // namespace

void convertToDecimalSwapped(Heap* heap, ConversionOutput* out, BigFloat* number, uint64_t digits,
                             BaseConversionTable* table, uint32_t secondary, uint32_t threads) {
  ConversionStart begin;
  conversionBegin(heap, &begin, number, digits, secondary, threads);
  bigIntPushToDisk(nullptr, &begin.y, globalSwapPaths);

  RaidFile* output = static_cast<RaidFile*>(heapAllocate(nullptr, sizeof(RaidFile), 8));
  raidFileCreate(nullptr, output, globalSwapPaths, 0, begin.window);
  uint32_t threadsDown = 0;
  uint32_t topLevels = conversionTopLevels(table->baseWords, table->levels, threads, &threadsDown);
  deconstructTopSwapped(heap, &begin.y, output, 0, begin.window, int32_t(table->levels) - 1,
                        topLevels, threads, threadsDown, table);

  conversionStatusLine("Hashing Decimal Digits...");
  uint64_t length = 0;
  conversionCheck(begin.binaryHash, hashOutputFile(heap, output, begin.window, &length));

  out->scale = begin.scale;
  bigIntSetZero(&out->digits);
  if (length == 0) {
    raidFileDelete(output);
    heapRelease(output);
  } else {
    out->digits.length = length;
    out->digits.swap = output;
  }
  conversionTimeLine(begin.start);
}
