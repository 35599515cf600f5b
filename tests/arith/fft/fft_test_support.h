// Shared pieces of the FFT tests: tables, aligned buffers, rounding errors.
#pragma once

#include <gmp.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "arith/fft/fft.h"
#include "arith/fft/fft_internal.h"
#include "arith/fft/fft_sizes.h"
#include "arith/fft/fft_tables.h"

namespace ffttest {

// Tables for codes up to 72 (2^18 points): built once, kept for the process.
inline const FftLookupTables* tables() {
  static FftLookupTables* built = [] {
    auto* t = static_cast<FftLookupTables*>(calloc(1, sizeof(FftLookupTables)));
    if (t == nullptr || growFftTables(t, 72) != 0) abort();
    return t;
  }();
  return built;
}

// L doubles at a 64-byte boundary.
struct Buffer {
  std::vector<double> storage;
  double* data;
  explicit Buffer(uint64_t doubles) : storage(doubles + 8) {
    uintptr_t p = reinterpret_cast<uintptr_t>(storage.data());
    data = reinterpret_cast<double*>((p + 63) & ~uintptr_t(63));
  }
};

// After the inverse passes: the unweighted coefficients' largest distance to an integer.
inline double worstRoundingError(const double* buffer, SizeCode code) {
  const uint64_t L = sizeCodeLength(code), q = L / 4;
  const double r = 1.0 / double(L / 2);
  double worst = 0.0;
  for (uint64_t i = 0; i < q; i++) {
    const double* lo = buffer + 2 * i;
    const double* hi = buffer + L / 2 + 2 * i;
    for (int side = 0; side < 2; side++) {
      double xr = (side == 0 ? lo[0] + hi[0] : lo[0] - hi[0]) * r;
      double xi = (side == 0 ? lo[1] + hi[1] : lo[1] - hi[1]) * r;
      // The right-angle weight W(k) = exp(i pi k / L).
      const double angle = M_PI * double(side == 0 ? i : i + q) / double(L);
      const double wr = std::cos(angle), wi = std::sin(angle);
      double cr = xr * wr + xi * wi, ci = xi * wr - xr * wi;
      worst = std::fmax(worst, std::fabs(cr - std::nearbyint(cr)));
      worst = std::fmax(worst, std::fabs(ci - std::nearbyint(ci)));
    }
  }
  return worst;
}

// z = z mod (2^bits + 1), in 0 .. 2^bits.
inline void reduceFermat(mpz_t z, uint64_t bits) {
  mpz_t m;
  mpz_init_set_ui(m, 1);
  mpz_mul_2exp(m, m, bits);
  mpz_add_ui(m, m, 1);
  mpz_mod(z, z, m);
  mpz_clear(m);
}

}  // namespace ffttest
