// The table of the base conversion: exact powers 10^(9 c 2^i) and their
// reciprocals, and powerOfBillion, which makes any power of 10^9 (exact or
// truncated) and checks it modulo 2^61 - 1 where it can be exact.
#include <bit>

#include "arith/numbers/mod61.h"
#include "arith/newton/newton.h"
#include "digits/base_conversion.h"
#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"

namespace {

// Moves the low zero words of x's mantissa into its exponent. Powers of ten
// end in zero bits, and keeping them out of the mantissa cuts every product
// that uses the power.
void stripLowZeroWords(Heap* heap, BigFloat* x) {
  if (bigFloatIsZero(*x)) return;
  bigIntLoad(heap, &x->mantissa, 1);
  uint64_t zeros = 0;
  while (x->mantissa.words[zeros] == 0) ++zeros;
  if (zeros == 0) return;
  bigIntDropLowWords(heap, &x->mantissa, zeros);
  x->exponent += int64_t(zeros);
}

// 10^(9 n) mod 2^61 - 1 against the hash of x = mantissa * 2^(32 exponent).
bool powerMatchesChecksum(const BigFloat& x, int64_t n) {
  uint64_t hash = hashBinaryWords(0, x.mantissa.words, x.mantissa.length);
  // 2^61 is 1 in the field, so 2^(32 e) = 2^(32 e mod 61) for any sign of e.
  int64_t shift = (32 * (x.exponent % 61)) % 61;
  if (shift < 0) shift += 61;
  hash = mod61Multiply(hash, mod61Power(2, uint64_t(shift)));
  return hash == mod61Power(billion, uint64_t(n));
}

// Builds the table; `swapped` keeps every finished entry in swap files.
void buildTable(Heap* heap, const BigFloat* number, BaseConversionTable* table, uint32_t threads,
                bool swapped) {
  printWide("Constructing Base Conversion Table:\n");
  uint64_t start = timerStart();
  progressReset();
  for (uint32_t i = 0; i < baseConversionMaxLevels; ++i) {
    bigFloatSetZero(&table->power[i]);
    bigFloatSetZero(&table->inverse[i]);
  }
  baseConversionTableSize(number->mantissa.length, &table->baseWords, &table->levels);
  for (uint32_t i = 0; i < table->levels; ++i) {
    BigFloat* power = &table->power[i];
    if (i == 0) {
      conversionProgress("Squaring      : ",
                         uint64_t(double(table->baseWords) * wordsPerRadixWord) + 1);
      powerOfBillion(heap, int64_t(table->baseWords), power, exactPrecision, threads);
    } else {
      BigFloat* below = &table->power[i - 1];
      conversionProgress("Squaring      : ", 2 * uint64_t(bigFloatPosition(*below)));
      bigFloatSquareInto(heap, below, power, exactPrecision, threads);
      stripLowZeroWords(heap, power);
      if (swapped) bigFloatPushToDisk(below);
    }
    uint64_t position = uint64_t(bigFloatPosition(*power));
    conversionProgress("Inverting     : ", position);
    if (swapped) {
      bigFloatReciprocalSwapped(heap, power, &table->inverse[i], position + 4, 0, threads, 0);
      bigFloatPushToDisk(&table->inverse[i]);
    } else {
      bigFloatReciprocal(heap, power, &table->inverse[i], position + 4, threads, 0);
      // The temporaries of the square and the reciprocal leave gaps below
      // the new entries: the table packs down to its own size.
      bigFloatCompact2(power, &table->inverse[i]);
    }
  }
  if (swapped && table->levels > 0) bigFloatPushToDisk(&table->power[table->levels - 1]);
  conversionTimeLine(start);
}

}  // namespace

void baseConversionTableSize(uint64_t length, uint64_t* baseWords, uint32_t* levels) {
  uint64_t c = uint64_t(double(length) * radixWordsPerWord) + 2;
  uint32_t halvings = 0;
  while (c >= 16) {
    c = (c + 1) >> 1;
    ++halvings;
  }
  if (halvings > baseConversionMaxLevels) limitExceeded("Base Conversion", "");
  *baseWords = c;
  *levels = halvings;
}

void buildBaseConversionTable(Heap* heap, const BigFloat* number, BaseConversionTable* table,
                              uint32_t threads) {
  buildTable(heap, number, table, threads, false);
}

void buildBaseConversionTableSwapped(Heap* heap, const BigFloat* number, BaseConversionTable* table,
                                     uint32_t threads) {
  buildTable(heap, number, table, threads, true);
}

void releaseBaseConversionTable(BaseConversionTable* table) {
  // The newest entries lie highest in the heap: release them first.
  for (uint32_t i = table->levels; i-- > 0;) {
    bigFloatDestroy(&table->inverse[i]);
    bigFloatSetZero(&table->inverse[i]);
    bigFloatDestroy(&table->power[i]);
    bigFloatSetZero(&table->power[i]);
  }
  table->levels = 0;
}

// 10^(9 n): left-to-right binary exponentiation from 10^9. Squares keep
// precision + 13 words and products by 10^9 precision + 14 (the wrappers'
// precision argument is precision + 10); low zero words go to the exponent.
void powerOfBillion(Heap* heap, int64_t n, BigFloat* out, uint64_t precision, uint32_t threads) {
  if (n == 0) {
    bigFloatFromU32(heap, out, 1);
    return;
  }
  const uint64_t count = n < 0 ? uint64_t(0) - uint64_t(n) : uint64_t(n);
  const uint64_t kept = precision + 10;
  bool truncated = false;  // some product lost its low words
  BigFloat x;
  bigFloatFromU32(heap, &x, billion);
  for (int bit = 62 - std::countl_zero(count); bit >= 0; --bit) {
    truncated |= 2 * x.mantissa.length > kept + 3;
    bigFloatSquareInPlace(heap, &x, kept, threads);
    stripLowZeroWords(heap, &x);
    if ((count >> bit) & 1) {
      truncated |= x.mantissa.length + 1 > kept + 4;
      bigFloatMultiplyWord(heap, &x, billion, kept);
      stripLowZeroWords(heap, &x);
    }
  }
  // The check runs where the power is large for the precision (the
  // normalisation's case), with the precision as a signed count so that the
  // exact request always checks. A power whose products were cut cannot
  // meet the checksum however right it is, and is not checked.
  const bool large =
      wordsPerRadixWord * double(n) > 0.6989700043360186 * double(int64_t(precision)) + 2;
  if (large && !truncated) {
    if (conversionTakePowerFault()) x.mantissa.words[0] ^= 1;
    if (!powerMatchesChecksum(x, n)) {
      fatalMessage("Base Conversion Normalization: Checksum Mismatch");
    }
  }
  if (n > 0) {
    bigFloatMove(out, &x);
    return;
  }
  bigFloatReciprocal(heap, &x, out, precision, threads, 0);
  bigFloatDestroy(&x);
}
