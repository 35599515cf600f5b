// The recursion of the FFT passes and the entries of a kernel set, over the
// kernel file's vector type Vec4.
//
// Forward: after the right-angle load the lower half of the buffer is a
// cyclic block and the upper half a nega-cyclic block of L/4 points each.
// Each is split depth first: a block of 2^v points by one radix-4 step into
// quarters of 2^(v-2), each finished before the next begins, down to the
// leaves of 16 points (v = 4) and of 32 points (v = 5, the step and its four
// 8-point leaves). Lengths 3 * 2^e and 5 * 2^e first split each half by the
// radix-3 or radix-5 pass into cyclic sub-blocks of 2^v points, v >= 4. The
// values stay in this scrambled order: the pointwise step does not care, and
// the inverse is the exact mirror (blocks first, step after), so no bit
// reversal happens anywhere.
//
// Included only by the fft_leaves_*.cpp files, inside an anonymous namespace.
#pragma once

struct PassContext {
  const double* pyramid2;
  LeafConstants leaves;
};

void forwardNega(double* x, uint32_t v, const PassContext& c);
void inverseNega(double* x, uint32_t v, const PassContext& c);

// The forward passes of a cyclic block of 2^v points at x (2^(v+1) doubles):
// cnRowReduction, then its quarters cyclic, nega-cyclic, cyclic, cyclic.
void forwardCyclic(double* x, uint32_t v, const PassContext& c) {
  if (v == 4) return leaf16<false>(x, c.leaves);
  if (v == 5) return leaf32<false>(x, c.leaves);
  const uint64_t q = uint64_t(2) << (v - 2);  // doubles per quarter
  cnRowReduction<false>(x, v, c.pyramid2);
  forwardCyclic(x, v - 2, c);
  forwardNega(x + q, v - 2, c);
  forwardCyclic(x + 2 * q, v - 2, c);
  forwardCyclic(x + 3 * q, v - 2, c);
}

// Of a nega-cyclic block: nnRowReduction, then cyclic, nega, cyclic, nega.
void forwardNega(double* x, uint32_t v, const PassContext& c) {
  if (v == 4) return leaf16<true>(x, c.leaves);
  if (v == 5) return leaf32<true>(x, c.leaves);
  const uint64_t q = uint64_t(2) << (v - 2);
  nnRowReduction<false>(x, v, c.pyramid2);
  forwardCyclic(x, v - 2, c);
  forwardNega(x + q, v - 2, c);
  forwardCyclic(x + 2 * q, v - 2, c);
  forwardNega(x + 3 * q, v - 2, c);
}

// The mirrors: the quarters first, the reduction after.
void inverseCyclic(double* x, uint32_t v, const PassContext& c) {
  if (v == 4) return leaf16Inverse<false>(x, c.leaves);
  if (v == 5) return leaf32Inverse<false>(x, c.leaves);
  const uint64_t q = uint64_t(2) << (v - 2);
  inverseCyclic(x, v - 2, c);
  inverseNega(x + q, v - 2, c);
  inverseCyclic(x + 2 * q, v - 2, c);
  inverseCyclic(x + 3 * q, v - 2, c);
  cnRowReduction<true>(x, v, c.pyramid2);
}

void inverseNega(double* x, uint32_t v, const PassContext& c) {
  if (v == 4) return leaf16Inverse<true>(x, c.leaves);
  if (v == 5) return leaf32Inverse<true>(x, c.leaves);
  const uint64_t q = uint64_t(2) << (v - 2);
  inverseCyclic(x, v - 2, c);
  inverseNega(x + q, v - 2, c);
  inverseCyclic(x + 2 * q, v - 2, c);
  inverseNega(x + 3 * q, v - 2, c);
  nnRowReduction<true>(x, v, c.pyramid2);
}

template <bool inverse>
void cyclicBlock(double* x, uint32_t v, const PassContext& c) {
  if (inverse) {
    inverseCyclic(x, v, c);
  } else {
    forwardCyclic(x, v, c);
  }
}

template <bool inverse>
void negaBlock(double* x, uint32_t v, const PassContext& c) {
  if (inverse) {
    inverseNega(x, v, c);
  } else {
    forwardNega(x, v, c);
  }
}

// One half of R * 2^v points (R = 3 or 5) split by the radix pass into R
// cyclic blocks; the forward pass runs first, the inverse last.
template <bool nega, bool inverse>
void radixHalf(double* x, uint32_t radix, uint32_t v, const FftLookupTables* tables,
               const PassContext& c) {
  const uint64_t K = uint64_t(1) << v;
  if (!inverse) {
    if (radix == 3) radix3Pass<nega, false>(x, K, v, tables);
    if (radix == 5) radix5Pass<nega, false>(x, K, v, tables);
  }
  for (uint32_t s = 0; s < radix; s++) cyclicBlock<inverse>(x + 2 * s * K, v, c);
  if (inverse) {
    if (radix == 3) radix3Pass<nega, true>(x, K, v, tables);
    if (radix == 5) radix5Pass<nega, true>(x, K, v, tables);
  }
}

// All passes of one direction over the whole buffer (both halves).
template <bool inverse>
void allPasses(double* buffer, SizeCode code, const FftLookupTables* tables) {
  const uint32_t e = code >> 2;
  const uint64_t half = sizeCodeLength(code) / 2;  // doubles per half
  PassContext c = {tables->pyramid2, leafConstants(tables->pyramid2)};
  switch (code & 3) {
    case sizeCodeKindPower:
      cyclicBlock<inverse>(buffer, e - 2, c);
      negaBlock<inverse>(buffer + half, e - 2, c);
      break;
    case sizeCodeKindThree:
      radixHalf<false, inverse>(buffer, 3, e - 3, tables, c);
      radixHalf<true, inverse>(buffer + half, 3, e - 3, tables, c);
      break;
    case sizeCodeKindFive:
      radixHalf<false, inverse>(buffer, 5, e - 4, tables, c);
      radixHalf<true, inverse>(buffer + half, 5, e - 4, tables, c);
      break;
    default:  // kind 3: no transform exists
      break;
  }
}

void forwardPassesEntry(double* buffer, SizeCode code, const FftLookupTables* tables) {
  allPasses<false>(buffer, code, tables);
}

void inversePassesEntry(double* buffer, SizeCode code, const FftLookupTables* tables) {
  allPasses<true>(buffer, code, tables);
}

void forwardEntry(double* buffer, const uint32_t* points, SizeCode code,
                  const FftLookupTables* tables, bool full) {
  if ((code & 3) == sizeCodeKindSeven) return;
  const uint64_t L = sizeCodeLength(code);
  const double* weights = rightAngleWeights(tables, code);
  if (full) {
    rightAngleLoadFull(buffer, points, L, weights);
  } else {
    rightAngleLoadLower(buffer, points, L, weights);
  }
  allPasses<false>(buffer, code, tables);
}

uint32_t inverseEntry(double* buffer, uint32_t* points, SizeCode code, uint32_t bits,
                      const FftLookupTables* tables, FftLastStage stage) {
  if ((code & 3) == sizeCodeKindSeven) return 0;
  const uint64_t L = sizeCodeLength(code);
  allPasses<true>(buffer, code, tables);
  const double* weights = rightAngleWeights(tables, code);
  switch (stage) {
    case FftFull:
      return inverseFull(buffer, points, L, bits, weights);
    case FftFullSigned:
      return inverseFullSigned(buffer, points, L, bits, weights);
    default:
      return inverseWrapped(buffer, points, L, bits, weights);
  }
}

constexpr FftKernelSet kernelSetNamed(const char* name) {
  return {name,
          forwardEntry,
          inverseEntry,
          pointwiseSquareKernel,
          pointwiseMultiplyKernel,
          forwardPassesEntry,
          inversePassesEntry};
}
