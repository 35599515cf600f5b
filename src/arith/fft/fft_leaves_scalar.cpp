// The FFT kernel set for any x86-64 processor: plain C++ (the compiler may
// use the SSE2 registers).
//
// The kernels are the shared templates over this file's vector type, compiled
// here without fused multiply-adds so that every kernel set gives the same
// bits. Standard headers come before the pragmas, so that nothing but the
// kernels is built for this target.
#include <cstdint>
#include <cstring>

#include "arith/fft/fft_internal.h"

#pragma GCC push_options
#pragma GCC optimize("fp-contract=off")
// Where the target has fused multiply-adds, no auto-vectorising either: GCC
// turns the complex products of these loops into fused multiply-adds (its
// complex-multiply pattern), whatever the contraction setting says. Without
// them (the portable build) the SSE2 registers are fair game.
#ifdef __FMA__
#pragma GCC optimize("no-tree-vectorize")
#endif

// The kernels in the order they build on each other, not sorted.
// clang-format off
namespace {
#include "arith/fft/fft_vector_scalar.h"
#include "arith/fft/fft_rows.h"
#include "arith/fft/fft_radix35.h"
#include "arith/fft/fft_edges.h"
#include "arith/fft/fft_passes.h"
}  // namespace
// clang-format on

const FftKernelSet* fftKernelsScalar() {
  static const FftKernelSet set = kernelSetNamed("Scalar");
  return &set;
}

#pragma GCC pop_options
