// Pieces shared by the estimator files: the fatal end of an estimate, the
// product scratch at a margin-included length, and the shape of a series
// peak that each series constant fills with its own rates.
#pragma once

#include <cstdint>

// "\n\n", "Maximum supported multiplication size has been exceeded.", "\n\n",
// pause, exit status 1.
[[noreturn]] void estimateSizeExceeded();

// Product scratch for an operand length s that already holds the margin of
// 100 words: below 15 words 2s, below 58 the Karatsuba levels, from
// hybridStart (threadedHybridThreshold on threads) the larger of the hybrid
// peak at 2s and the largest FFT that a thread of its own still makes there;
// otherwise the FFT row of s.
uint64_t productScratchAt(uint64_t s, uint32_t threadPower);
// The Karatsuba levels' figure at s, 16s + 4t bytes, t the sum of the even
// lengths of the levels down to basecaseLimit.
uint64_t karatsubaScratchBytes(uint64_t s);

// The peak of a binary-splitting series: the three numbers at the top of the
// splitting tree with the scratch of their products, or the finish. A series
// gives its rate and the size of Q and of P in words as functions of the term
// count; everything is computed in extended precision and truncated.
struct SeriesShape {
  long double termsPerWord;                 // N = trunc(termsPerWord * L) + 1
  long double (*sizeWords)(long double n);  // words of Q over the first n terms
  long double (*ratioPQ)(long double n);    // size of P relative to Q at n terms
};

// Words of precision left at the end of the first block, p.
uint64_t seriesTopPrecision(const SeriesShape& shape, uint64_t wordCount);
// mem(series) in bytes.
uint64_t seriesPeak(const SeriesShape& shape, uint64_t wordCount, uint32_t threadPower);

// Catalan by Lupas (16 terms per word): the series that the shape was told on.
extern const SeriesShape lupasSeries;
