// Inside the complex FFT: the record of kernel entries that one processor
// family provides, the one dispatch point that picks it, and the small
// helpers that the kernel files share. The public contract is fft.h.
//
// Kernel sets: fft_leaves_scalar.cpp (any x86-64), fft_leaves_avx2.cpp and
// fft_leaves_avx512.cpp. All three are the same templates (fft_rows.h,
// fft_radix35.h, fft_edges.h, fft_passes.h) over a vector type of four complex
// doubles, compiled without contraction into fused multiply-adds, so every set
// gives the same bits in the buffer and in the points.
#pragma once

#include <cstdint>

#include "arith/fft/fft_sizes.h"
#include "arith/fft/fft_blocks.h"
#include "arith/fft/fft_tables.h"

// The last stage of an inverse transform: how the coefficients are rounded
// and where the carry out of the top goes.
enum FftLastStage : uint32_t {
  FftFull = 0,        // inverseFull: non-negative, + 2^52; the top carry is dropped
  FftFullSigned = 1,  // signed (balanced points), + 1.5 * 2^52; the top carry is dropped
  FftWrapped = 2,     // inverseWrapped: signed, + 1.5 * 2^52; the top carry wraps negated
};

struct FftKernelSet {
  const char* name;
  // Right-angle load of points[0 .. L/2) (full: [0 .. L)) and all forward passes.
  void (*forward)(double* buffer, const uint32_t* points, SizeCode code,
                  const FftLookupTables* tables, bool full);
  // All inverse passes, then the last stage; returns 1 when a wrapped
  // product is -1, else 0.
  uint32_t (*inverse)(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                      const FftLookupTables* tables, FftLastStage stage);
  // buffer[k] = buffer[k]^2, or buffer[k] * other[k], over `complexCount` values.
  void (*pointwiseSquare)(double* buffer, uint64_t complexCount);
  void (*pointwiseMultiply)(double* buffer, const double* other, uint64_t complexCount);
  // The passes alone, between the load and the last stage (for tests).
  void (*forwardPasses)(double* buffer, SizeCode code, const FftLookupTables* tables);
  void (*inversePasses)(double* buffer, SizeCode code, const FftLookupTables* tables);
};

const FftKernelSet* fftKernelsScalar();
const FftKernelSet* fftKernelsAvx2();
const FftKernelSet* fftKernelsAvx512();

// The set in use: the widest the processor runs, chosen on first use.
const FftKernelSet* fftKernels();

// Tests: run with the given set (null: back to the processor's choice).
// Not for use while another thread is inside an FFT.
void fftUseKernels(const FftKernelSet* set);

// The sets this processor can run, widest last (for tests and benchmarks).
bool fftKernelsAvx2Usable();
bool fftKernelsAvx512Usable();

// Twiddles of any angle from one pyramid level: writes the pairs
// exp(i (pi / 2) n / (2 * octantPairs)) for n = start + k * stride, k < count,
// into out (2 * count doubles). `level` holds the first octant at this
// resolution: pair t (1 <= t <= octantPairs) at level[2t - 2, 2t - 1]. Every
// value is a table entry, possibly with its parts swapped or negated; nothing
// is computed.
void fftTwiddleFill(double* out, const double* level, uint64_t octantPairs, uint64_t start,
                    uint64_t stride, uint64_t count);

// ---- Seams of the last stage (fft_carry.cpp) -----------------------------
// The L points of the product form four streams of L/4 points, stream s
// starting at point s L/4. The kernels round and carry each stream by itself
// (a stream's carry is floor(v / 2^b) of the last value v, signed), then
// fftCarryFinish closes the seams.
struct FftCarryStreams {
  uint32_t* points;
  uint64_t quarter;  // L/4
  uint64_t mask;     // 2^b - 1
  uint32_t bits;     // b
  FftLastStage stage;
  int64_t carry[4];  // out of the top of each stream
};

void fftCarryStart(FftCarryStreams* s, uint32_t* points, uint64_t L, uint32_t bits,
                   FftLastStage stage);
// Closes the seams: the carry of stream 0 runs into stream 1 while it is
// non-zero, the rest of it and the carry of stream 1 into stream 2, and so
// on. FftFull, FftFullSigned: the carry out of the top is dropped, returns 0.
// FftWrapped: the carry out of the top wraps to the bottom with its sign
// turned (x^L = -1); returns 1 when the value is -1 modulo 2^(bL) + 1 (the
// points are then all zero), else 0.
uint32_t fftCarryFinish(FftCarryStreams* s);

// ---- The direct products' inverse (fft_dispatch.cpp) -----------------------
// (splitWordsToBalancedPoints, in fft.h, gives their points.)
// The inverse with the FftFullSigned last stage.
void inverseFftSigned(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                      const FftLookupTables* tables);

// ---- The general loops of fft_split.cpp, reachable for tests -------------
// points[first .. last) of the b-bit stream of words[0 .. n) (zero past n).
void splitWordsToPointsGeneral(uint32_t* points, uint64_t first, uint64_t last,
                               const uint32_t* words, uint64_t n, uint32_t b);
// words[0 .. n) from bit 32 * skipWords of the stream of points[0 .. count).
void packPointsToWordsGeneral(const uint32_t* points, uint64_t count, uint64_t skipWords,
                              uint32_t* words, uint64_t n, uint32_t b);

// ---- Shapes of an FFT product (fft_buffers.cpp) -------------------------
// A transform for operands of `operandBits` bits: fftParamsFor (fatal
// "Maximum FFT size Exceeded." past the table) and tables that serve it.
struct FftShape {
  SizeCode code;
  uint32_t bits;
  uint64_t length;  // L
  const FftLookupTables* tables;
};
FftShape fftShapeFor(uint64_t operandBits, const FftLookupTables* tables);

// The unbalanced product by pieces (fft_unbalanced.cpp): na > 2 nb, no chop,
// destination[0 .. na + nb).
uint64_t fftMultiplyPieces(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                           uint64_t nb, uint32_t* destination, const FftLookupTables* tables);
