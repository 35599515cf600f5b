// The leaves of the Pi series. One term of each series as small word
// arrays, P(k), Q(k) and the magnitude of R(k), in a 32-bit form (every
// product a 64-bit one) for the indices that allow it and a 64-bit form with
// 128-bit products beyond; then the leaf that hands a term to the summation.
#include "constants/pi.h"
#include "constants/series.h"
#include "platform/console.h"

namespace {

// The fixed factors of Q(k) in the two series.
constexpr uint64_t chudnovskyQFactor = 10939058860032000ull;  // 640320^3 / 24
constexpr uint32_t ramanujanQFactor = 3073907232u;            // 396^4 / 8

// Sets the length of a term number by dropping zero top words.
uint32_t trimmedLength(const uint32_t* words, uint32_t length) {
  while (length != 0 && words[length - 1] == 0) length--;
  return length;
}

// words[0 .. length) *= factor (32-bit), by 64-bit products; the carry word
// is stored above and the new length returned. words must hold length + 1.
uint32_t multiplyByWord(uint32_t* words, uint32_t length, uint32_t factor) {
  uint64_t carry = 0;
  for (uint32_t i = 0; i < length; i++) {
    uint64_t t = uint64_t(words[i]) * factor + carry;
    words[i] = uint32_t(t);
    carry = t >> 32;
  }
  words[length] = uint32_t(carry);
  return length + 1;
}

// out[0 .. length + 2) = words[0 .. length) * factor, factor below 2^64,
// as two word passes with 64-bit products. out must not overlap words.
uint32_t multiplyByTwoWords(const uint32_t* words, uint32_t length, uint64_t factor,
                            uint32_t* out) {
  uint32_t low = uint32_t(factor);
  uint32_t high = uint32_t(factor >> 32);
  uint64_t carry = 0;
  for (uint32_t i = 0; i < length; i++) {
    uint64_t t = uint64_t(words[i]) * low + carry;
    out[i] = uint32_t(t);
    carry = t >> 32;
  }
  out[length] = uint32_t(carry);
  out[length + 1] = 0;
  carry = 0;
  for (uint32_t i = 0; i < length; i++) {
    uint64_t t = uint64_t(words[i]) * high + out[i + 1] + carry;
    out[i + 1] = uint32_t(t);
    carry = t >> 32;
  }
  out[length + 1] = uint32_t(carry);
  return length + 2;
}

// words[0 .. length) *= factor (64-bit), by 128-bit products; the two carry
// words go above. words must hold length + 2.
uint32_t multiplyByU64(uint32_t* words, uint32_t length, uint64_t factor) {
  unsigned __int128 carry = 0;
  for (uint32_t i = 0; i < length; i++) {
    unsigned __int128 t = (unsigned __int128)words[i] * factor + carry;
    words[i] = uint32_t(t);
    carry = t >> 32;
  }
  words[length] = uint32_t(carry);
  words[length + 1] = uint32_t(carry >> 32);
  return length + 2;
}

// words = value, as `count` words (count 2 or 4).
uint32_t loadValue(uint32_t* words, unsigned __int128 value, uint32_t count) {
  for (uint32_t i = 0; i < count; i++) words[i] = uint32_t(value >> (32 * i));
  return count;
}

void finishTerm(PiTerm* term, uint32_t pLength, uint32_t qLength, uint32_t rLength) {
  term->pLength = trimmedLength(term->p, pLength);
  term->qLength = trimmedLength(term->q, qLength);
  term->rLength = trimmedLength(term->r, rLength);
}

// A term number into a fresh split number of at least `minimum` words.
void termToSplit(Heap* heap, SplitNumber* number, const uint32_t* words, uint32_t length,
                 uint32_t minimum) {
  uint32_t capacity = length > minimum ? length : minimum;
  uint32_t* target = splitNumberAllocate(heap, number, capacity);
  for (uint32_t i = 0; i < length; i++) target[i] = words[i];
  splitNumberFinish(number, length);
}

}  // namespace

// Chudnovsky, k in 1 .. 715827882: 6k - 1 fits a word, every product is
// 64-bit. P has 3 words, Q 5 (4 while k^3 fits 64 bits), R 5.
void chudnovskyTerm32(uint32_t k, PiTerm* term) {
  if (k == 0 || k > chudnovskyLimit32) invalidParameters("Pi leaf", "term index out of range");
  uint64_t a = uint64_t(6 * k - 1) * (6 * k - 5);
  uint32_t n = loadValue(term->p, a, 2);
  n = multiplyByWord(term->p, n, 2 * k - 1);
  // Q = c * k^2 * k: c k^2 by two word passes, then one more by k.
  uint32_t kk[2];
  uint32_t m = loadValue(kk, uint64_t(k) * k, 2);
  m = multiplyByTwoWords(kk, m, chudnovskyQFactor, term->q);
  uint32_t q = k > 2642245 ? multiplyByWord(term->q, m, k) : multiplyByWord(term->q, m - 1, k);
  // R = P * (545140134 k + 13591409), a 59-bit factor.
  uint32_t r = multiplyByTwoWords(term->p, n, 545140134ull * k + 13591409ull, term->r);
  finishTerm(term, n, q, r);
}

// Chudnovsky, any k in 1 .. 2^58 (6k fits 64 bits with room): the same
// formulas with 128-bit products. P up to 6 words, Q 8, R 9.
void chudnovskyTerm64(uint64_t k, PiTerm* term) {
  if (k == 0 || k > piTermLimit64) invalidParameters("Pi leaf", "term index out of range");
  unsigned __int128 a = (unsigned __int128)(6 * k - 1) * (6 * k - 5);
  uint32_t n = loadValue(term->p, a, 4);
  n = multiplyByU64(term->p, n, 2 * k - 1);
  uint32_t q = loadValue(term->q, (unsigned __int128)k * k, 4);
  q = multiplyByU64(term->q, q, k);
  q = multiplyByU64(term->q, trimmedLength(term->q, q), chudnovskyQFactor);
  // 545140134 k + 13591409 needs up to 88 bits: two passes, high part by k.
  uint32_t r = n;
  for (uint32_t i = 0; i < n; i++) term->r[i] = term->p[i];
  r = multiplyByU64(term->r, trimmedLength(term->r, r), k);
  r = multiplyByU64(term->r, trimmedLength(term->r, r), 545140134ull);
  uint32_t constant[piTermWords];
  for (uint32_t i = 0; i < n; i++) constant[i] = term->p[i];
  uint32_t c = multiplyByU64(constant, n, 13591409ull);
  uint64_t carry = 0;
  for (uint32_t i = 0; i < r; i++) {
    uint64_t t = uint64_t(term->r[i]) + (i < c ? constant[i] : 0) + carry;
    term->r[i] = uint32_t(t);
    carry = t >> 32;
  }
  term->r[r] = uint32_t(carry);
  finishTerm(term, n, q, r + 1);
}

// Ramanujan, k in 1 .. 2^30: 4k - 1 fits a word. P 3 words, Q 4, R 5.
void ramanujanTerm32(uint32_t k, PiTerm* term) {
  if (k == 0 || k > ramanujanLimit32) invalidParameters("Pi leaf", "term index out of range");
  uint64_t a = uint64_t(4 * k - 1) * (4 * k - 3);
  uint32_t n = loadValue(term->p, a, 2);
  n = multiplyByWord(term->p, n, 2 * k - 1);
  uint32_t q = loadValue(term->q, uint64_t(k) * k, 2);
  q = multiplyByWord(term->q, q, k);
  q = multiplyByWord(term->q, q, ramanujanQFactor);
  uint32_t r = multiplyByTwoWords(term->p, n, 26390ull * k + 1103ull, term->r);
  finishTerm(term, n, q, r);
}

// Ramanujan, any k in 1 .. 2^58, with 128-bit products.
void ramanujanTerm64(uint64_t k, PiTerm* term) {
  if (k == 0 || k > piTermLimit64) invalidParameters("Pi leaf", "term index out of range");
  unsigned __int128 a = (unsigned __int128)(4 * k - 1) * (4 * k - 3);
  uint32_t n = loadValue(term->p, a, 4);
  n = multiplyByU64(term->p, n, 2 * k - 1);
  uint32_t q = loadValue(term->q, (unsigned __int128)k * k, 4);
  q = multiplyByU64(term->q, q, k);
  q = multiplyByU64(term->q, trimmedLength(term->q, q), ramanujanQFactor);
  // 26390 k + 1103 fits 64 bits for k below 2^49; above, two passes.
  uint32_t r = n;
  for (uint32_t i = 0; i < n; i++) term->r[i] = term->p[i];
  if (k < (uint64_t(1) << 49)) {
    r = multiplyByU64(term->r, trimmedLength(term->r, r), 26390ull * k + 1103ull);
    finishTerm(term, n, q, r);
    return;
  }
  r = multiplyByU64(term->r, trimmedLength(term->r, r), k);
  r = multiplyByU64(term->r, trimmedLength(term->r, r), 26390ull);
  uint32_t constant[piTermWords];
  for (uint32_t i = 0; i < n; i++) constant[i] = term->p[i];
  uint32_t c = multiplyByU64(constant, n, 1103ull);
  uint64_t carry = 0;
  for (uint32_t i = 0; i < r; i++) {
    uint64_t t = uint64_t(term->r[i]) + (i < c ? constant[i] : 0) + carry;
    term->r[i] = uint32_t(t);
    carry = t >> 32;
  }
  term->r[r] = uint32_t(carry);
  finishTerm(term, n, q, r + 1);
}

void piTerm(uint32_t algorithm, uint64_t k, PiTerm* term) {
  if (algorithm == piChudnovsky) {
    if (k <= chudnovskyLimit32) {
      chudnovskyTerm32(uint32_t(k), term);
    } else {
      chudnovskyTerm64(k, term);
    }
  } else if (k <= ramanujanLimit32) {
    ramanujanTerm32(uint32_t(k), term);
  } else {
    ramanujanTerm64(k, term);
  }
}

bool piLeaf(Heap* heap, const SeriesKind* kind, uint64_t first, uint64_t last, SplitRecord* out,
            uint32_t wantP) {
  if (last - first != 1) return false;
  uint32_t algorithm = *static_cast<const uint32_t*>(kind->context);
  PiTerm term;
  piTerm(algorithm, last, &term);
  splitRecordSetZero(out);
  // P at 3 words, R at 5 and Q at 4, or 5 for Chudnovsky once k^3 passes
  // 64 bits; the 64-bit forms' longer terms take their own lengths.
  uint32_t qWords = algorithm == piChudnovsky && last > 2642245 ? 5 : 4;
  if (wantP) termToSplit(heap, &out->p, term.p, term.pLength, 3);
  termToSplit(heap, &out->q, term.q, term.qLength, qWords);
  termToSplit(heap, &out->r[0], term.r, term.rLength, 5);
  return true;
}
