// The one dispatch point of the FFT kernels: the widest set that the
// processor runs, chosen on first use, and the public entries of the
// transform that call through it.
#include <atomic>

#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "platform/console.h"

namespace {

std::atomic<const FftKernelSet*> forcedSet{nullptr};

const FftKernelSet* processorSet() {
  if (fftKernelsAvx512Usable()) return fftKernelsAvx512();
  if (fftKernelsAvx2Usable()) return fftKernelsAvx2();
  return fftKernelsScalar();
}

// The element products of the hybrid transform lay out their buffers in a
// scratch block: it must keep the 16-byte alignment of a complex double.
void checkAlignment(const double* buffer) {
  if ((reinterpret_cast<uintptr_t>(buffer) & 15) != 0) {
    assertionFailure("Invalid Data Alignment: ", "FFT Multiplication", "");
  }
}

}  // namespace

bool fftKernelsAvx2Usable() {
  return __builtin_cpu_supports("avx2");
}

bool fftKernelsAvx512Usable() {
  return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512vl");
}

const FftKernelSet* fftKernels() {
  const FftKernelSet* forced = forcedSet.load(std::memory_order_relaxed);
  if (forced != nullptr) return forced;
  static const FftKernelSet* chosen = processorSet();
  return chosen;
}

void fftUseKernels(const FftKernelSet* set) {
  forcedSet.store(set, std::memory_order_relaxed);
}

void forwardFft(double* buffer, const uint32_t* points, SizeCode code,
                const FftLookupTables* tables) {
  fftKernels()->forward(buffer, points, code, tables, false);
}

void forwardFftFull(double* buffer, const uint32_t* points, SizeCode code,
                    const FftLookupTables* tables) {
  checkAlignment(buffer);
  fftKernels()->forward(buffer, points, code, tables, true);
}

void inverseFft(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                const FftLookupTables* tables) {
  fftKernels()->inverse(buffer, points, code, bits, tables, FftFull);
}

uint32_t inverseFftWrapped(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                           const FftLookupTables* tables) {
  checkAlignment(buffer);
  return fftKernels()->inverse(buffer, points, code, bits, tables, FftWrapped);
}

void inverseFftSigned(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                      const FftLookupTables* tables) {
  fftKernels()->inverse(buffer, points, code, bits, tables, FftFullSigned);
}

void fftPointwiseSquare(double* buffer, SizeCode code) {
  fftKernels()->pointwiseSquare(buffer, sizeCodeLength(code) / 2);
}

void fftPointwiseMultiply(double* buffer, const double* other, SizeCode code) {
  fftKernels()->pointwiseMultiply(buffer, other, sizeCodeLength(code) / 2);
}
