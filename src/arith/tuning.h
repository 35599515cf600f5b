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
constexpr uint64_t hybridSquareThreshold = 13057;
constexpr uint64_t hybridMultiplyThreshold = 13057;
// With threads, the hybrid transform (the only parallel one) starts earlier.
constexpr uint64_t threadedHybridThreshold = 12000;
