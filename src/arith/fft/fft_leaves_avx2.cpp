// The FFT kernel set for processors with AVX2: two 256-bit registers hold
// four complex values.
//
// The kernels are the shared templates over this file's vector type, compiled
// here without fused multiply-adds so that every kernel set gives the same
// bits. Standard headers come before the pragmas, so that nothing but the
// kernels is built for this target.
#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "arith/fft/fft_internal.h"

#pragma GCC push_options
#pragma GCC target("avx,avx2")
#pragma GCC optimize("fp-contract=off")

// The kernels in the order they build on each other, not sorted.
// clang-format off
namespace {
#include "arith/fft/fft_vector_avx2.h"
#include "arith/fft/fft_rows.h"
#include "arith/fft/fft_radix35.h"
#include "arith/fft/fft_edges.h"
#include "arith/fft/fft_passes.h"
}  // namespace
// clang-format on

const FftKernelSet* fftKernelsAvx2() {
  static const FftKernelSet set = kernelSetNamed("AVX2");
  return &set;
}

#pragma GCC pop_options
