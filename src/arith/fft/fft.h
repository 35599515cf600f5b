// Complex FFT multiplication: products of word arrays by a complex transform
// in double precision. Called by the product front ends for operands from 54
// (58) words to the hybrid transform's threshold, on one thread, and by the
// hybrid transform for the products of its elements modulo 2^(32W) + 1.
//
// Points: an operand is cut into points of b bits (b <= 22, from
// fftParamsFor or an ElementPlan), one uint32_t each. A transform of length
// L (the SizeCode's length) works in a buffer of L doubles read as L/2
// complex values, real part first, 16-byte aligned: the lower half holds the
// cyclic half of the transform, the upper half the nega-cyclic half. Between
// forward and inverse the values lie in a scrambled order that only the
// pointwise step sees; the order is the same for every kernel set.
//
// The tables are passed in (the process's fftTables in normal running) and
// must serve the code: code <= tables->builtCode. The product workers below
// serve a larger code with tables of their own (fft_buffers.cpp).
//
// Rounding: a row of FftSizeTable keeps 2b + log2(L/2) <= 50, so with
// unsigned points the largest coefficient of a product (all points full)
// lies near 2^50, where a few units in the last place make 0.5: at the top
// of the 50-bit rows (168 words at 512 points, 640 at 2048) the error of the
// all-ones square reaches 0.5, and it rounded wrongly. The product workers therefore split into
// balanced points, each in [-2^(b-1), 2^(b-1)], which keeps every coefficient
// four times smaller, and round with 1.5 * 2^52 as the signed form does:
// their worst error per row, measured in tests/arith/fft/fft_test.cpp, is below
// 0.16. The element products of the hybrid transform split into balanced
// points too: with unsigned points their rows (2b + log2(L) up to 49) reached
// 0.25 (tests/arith/hybrid/element_rounding_test.cpp).
#pragma once

#include <cstdint>

#include "arith/fft/fft_sizes.h"
#include "arith/fft/fft_tables.h"

struct Heap;

// ---- Products (fft_multiply.cpp) --------------------------------------------
// destination = words^2 without its lowest `chop` words: 2n - chop words,
// chop < 2n. A chop larger than n drops the lowest chop - n words of the
// operand first (the result is then the upper part of a shortened square).
// Below fftSquareThreshold the recursive methods do the work. Buffers come
// from `heap` (null: the standard allocator). Returns 0, or the bytes that
// the heap could not give (after releasing what it had given); past the
// largest FftSizeTable row: fatal "Maximum FFT size Exceeded.".
// `destination` must not overlap the operand.
uint64_t fftSquare(Heap* heap, const uint32_t* words, uint64_t n, uint32_t* destination,
                   uint64_t chop, const FftLookupTables* tables);

// destination = a * b without its lowest `chop` words: na + nb - chop words,
// either operand may be the longer, chop < na + nb. With chop > na the lowest
// chop - na words of b are dropped, with chop > nb (before that cut) the
// lowest chop - nb words of a, and the chop falls by both amounts. Without a
// chop, a long operand is cut into pieces of the short one's length when one
// transform of the whole would need a larger row than the balanced product.
// Below fftMultiplyThreshold (shorter operand) the recursive methods do the
// work. Return codes and overlap as for fftSquare; a and b may be the same.
uint64_t fftMultiply(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b, uint64_t nb,
                     uint32_t* destination, uint64_t chop, const FftLookupTables* tables);

// outB = a * b without its lowest chopB words (na + nb - chopB words) and
// outC = a * c without its lowest chopC words, with one forward transform
// of a, both in the transform the larger product takes. For products that
// fftMultiplyCode gives one transform of the same code (no pieces) and
// chops that cut no operand (chopB <= min(na, nb), chopC <= min(na, nc)):
// the results are those of two fftMultiply calls. Returns as fftMultiply;
// outputs must not overlap the operands.
uint64_t fftMultiplyShared(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* outB, uint64_t chopB, const uint32_t* c,
                           uint64_t nc, uint32_t* outC, uint64_t chopC,
                           const FftLookupTables* tables);

// The balanced form: two operands of n words.
uint64_t fftMultiplyEqual(Heap* heap, const uint32_t* a, const uint32_t* b, uint64_t n,
                          uint32_t* destination, uint64_t chop, const FftLookupTables* tables);

// The largest transform code that fftSquare (fftMultiply) takes for these
// lengths and chop: 0 when the recursive methods do the work, all ones past
// the last row. The product front ends compare it with the tables they have.
SizeCode fftSquareCode(uint64_t n, uint64_t chop);
SizeCode fftMultiplyCode(uint64_t na, uint64_t nb, uint64_t chop);

// ---- Points (fft_split.cpp) -------------------------------------------------
// points[0 .. count) = the bit stream of words[0 .. n) cut into b-bit points,
// least significant first, zero-filled past the words. 1 <= b <= 30.
void splitWordsToPoints(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n,
                        uint32_t b);
// The same cut with each point of b bits recentred into [-2^(b-1), 2^(b-1))
// (stored as a signed 32-bit value) and a carry of one into the next point;
// the last point that carries data keeps its carry (it lies in [0, 2^b]), so
// no point past the data is touched. Balanced points halve the magnitude of
// every transform value and keep the worst coefficient of a row a factor of
// four below the unsigned bound. The direct products round them with the
// signed last stage; the nega-cyclic inverse (inverseFftWrapped) is signed.
void splitWordsToBalancedPoints(uint32_t* points, uint64_t count, const uint32_t* words, uint64_t n,
                                uint32_t b);
// words[0 .. n) = the points[0 .. count) (exact b-bit values) joined as a bit
// stream; zero past the points, and points beyond the n words are ignored.
void packPointsToWords(const uint32_t* points, uint64_t count, uint32_t* words, uint64_t n,
                       uint32_t b);
// The same from bit offset 32 * skipWords of the stream: words[0 .. n) are
// the words skipWords .. skipWords + n of the joined points.
void packPointsToWordsFrom(const uint32_t* points, uint64_t count, uint64_t skipWords,
                           uint32_t* words, uint64_t n, uint32_t b);

// ---- Transforms (fft_dispatch.cpp and the kernel sets) ---------------------
// Right-angle load of points[0 .. L/2) (the upper half of a zero-padded
// product) and all forward passes.
void forwardFft(double* buffer, const uint32_t* points, SizeCode code,
                const FftLookupTables* tables);
// The same with all L points present: a product of two such transforms is
// the nega-cyclic convolution of length L, a product modulo 2^(bL) + 1.
// The buffer must be 16-byte aligned: otherwise fatal "Invalid Data
// Alignment: " "FFT Multiplication".
void forwardFftFull(double* buffer, const uint32_t* points, SizeCode code,
                    const FftLookupTables* tables);
// Inverse passes and inverseFull: points[0 .. L) = the product's b-bit points,
// the carry out of the top dropped. Coefficients must lie in [0, 2^52).
void inverseFft(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                const FftLookupTables* tables);
// Inverse passes and inverseWrapped (signed coefficients, the carry wraps
// negated). Returns 1 when the product is -1 modulo 2^(bL) + 1, the points
// then being zero (the caller stores -1 itself), else 0. Alignment as above.
uint32_t inverseFftWrapped(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                           const FftLookupTables* tables);
// The pointwise step between them: buffer[k] = buffer[k]^2 or buffer[k] *
// other[k] over all L/2 complex values (the two buffers of the same code).
void fftPointwiseSquare(double* buffer, SizeCode code);
void fftPointwiseMultiply(double* buffer, const double* other, SizeCode code);
