// The FFT kernel set for processors with AVX-512 F, DQ and VL: one 512-bit
// register holds four complex values.
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
#pragma GCC target("avx,avx2,avx512f,avx512dq,avx512vl")
#pragma GCC optimize("fp-contract=off")
// GCC 12 reports the deliberately undefined start values inside its own
// AVX-512 intrinsics (_mm512_undefined_pd) as uninitialised.
#pragma GCC diagnostic ignored "-Wuninitialized"
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"

// The kernels in the order they build on each other, not sorted.
// clang-format off
namespace {
#include "arith/fft/fft_vector_avx512.h"
#include "arith/fft/fft_rows.h"
#include "arith/fft/fft_radix35.h"
#include "arith/fft/fft_edges.h"
#include "arith/fft/fft_passes.h"
}  // namespace
// clang-format on

const FftKernelSet* fftKernelsAvx512() {
  static const FftKernelSet set = kernelSetNamed("AVX-512");
  return &set;
}

#pragma GCC pop_options
