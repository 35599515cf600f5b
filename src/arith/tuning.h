// Cut-over lengths of the multiplication methods, in 32-bit words. Constants
// of the build: only the dispatchers read them, and tests that need a path at
// another size call the internal entries directly.
#pragma once

#include <cstdint>

// Recursive methods (schoolbook, Karatsuba, Toom-3). The values are those the
// program has always shipped with; they are the edges the tests probe.
constexpr uint64_t sqrK = 12;   // squares below this are schoolbook
constexpr uint64_t sqrT = 158;  // squares from this length use Toom-3
constexpr uint64_t elmK = 15;   // products below this are schoolbook
constexpr uint64_t elmT = 501;  // products from this length use Toom-3

// Front-end choice between the recursive methods, the FFT and the hybrid
// transform.
constexpr uint64_t fftSquareThreshold = 54;
constexpr uint64_t fftMultiplyThreshold = 58;

// The hand-over from the direct FFT to the hybrid transform, by measurement
// (perf/crossover_tune: both methods on the same operands in one process,
// alternately, the best of 5 rounds (9 for products on 2 threads), at the
// first and last length of every FFT row from 8192 to 4194304 words, on a
// machine loaded by other work, load 13 to 18 on its 2 cores). Seconds of
// the direct FFT, of the hybrid transform, and hybrid / direct:
//
//    words   squares, 1 thread     products, 1 thread    squares, hybrid on 2
//    13057  .00074 .0025  3.4     .0011  .0040  3.7      .00059 .0017  3.0
//    65537  .0048  .0117  2.4     .0072  .0165  2.3      .015   .034   2.3
//   245761  .031   .049   1.6     .037   .064   1.7      .074   .099   1.3
//   573440  .051   .088   1.7     .094   .155   1.7      .158   .210   1.3
//   573441  .051   .104   2.0     .090   .116   1.3      .170   .229   1.3
//  1064961  .148   .217   1.5     .153   .166   1.1      .292   .246   0.84
//  3932161  .51    .89    1.8     .99    1.78   1.8
//
// On one thread the direct FFT was the faster at every length measured, for
// squares (hybrid / direct at least 1.25) and products (at least 1.08), and
// the rows it needs keep their rounding error below 1/4 like the rows under
// 13057 words (tests/arith/fft/fft_handover_test.cpp prints each: at most
// 0.125, at L = 98304 with 17 bits; 0.094 at L = 2621440 with all-ones
// operands and the balanced points at either extreme). So the hand-over sits
// where the run's tables end: they are built for at most fftTablesWordCap
// words, whose row (L = 2621440, 14 bits) holds squares of up to 573440
// words. Past it the direct FFT would need larger tables (about 20 bytes per
// point, outside the arena) and takes about 100 bytes of scratch per operand
// word, 2.4 times the hybrid's.
//
// With threads the hybrid transform runs on all of them and the direct FFT
// on one. Against the direct FFT on one thread the hybrid on two won only at
// scattered lengths (0.61 to 0.99 at 7 of 76 edges from 8192 to 1.3 million
// words, squares and products) and lost at the other 69: the load leaves two
// threads little room, but even a perfect speed-up of 2 would only tie with
// the one-thread ratios of 1.6 to 2.0 near 573440 words.
// The threaded hand-over stays with the others.
constexpr uint64_t hybridSquareThreshold = 573441;
constexpr uint64_t hybridMultiplyThreshold = 573441;
// The same hand-over when a product may use threads.
constexpr uint64_t threadedHybridThreshold = 573441;

// Operands paged out to disk take the disk path from this length (the
// hand-over of the hybrid transform before it moved up); below it they are
// loaded and multiplied in memory.
constexpr uint64_t diskProductThreshold = 13057;
