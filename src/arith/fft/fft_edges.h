// The two edges of the FFT, where points meet the transform, and the
// pointwise products between forward and inverse; over the kernel file's
// vector type Vec4.
//
// Right-angle weights: W(t) = exp(i pi t / L), read from the top level of the
// family's pyramid (it starts at double L/2 and holds W(1) .. W(L/4)); for t >
// L/4 the pair of L/2 - t with its parts swapped. With the weights a cyclic
// complex transform of L/2 points multiplies real sequences of L points: the
// real part of output n is coefficient n, the imaginary part coefficient n +
// L/2. The first radix-2 butterfly is fused with the weighting, the last one
// with the unweighting, the rounding and the carries.
//
// Included only by the fft_leaves_*.cpp files, inside an anonymous namespace.
#pragma once

// The top pyramid level of a length L of the family: pairs W(1) .. W(L/4).
inline const double* rightAngleWeights(const FftLookupTables* tables, SizeCode code) {
  uint64_t half = sizeCodeLength(code) / 2;
  switch (code & 3) {
    case sizeCodeKindThree:
      return tables->pyramid3 + half;
    case sizeCodeKindFive:
      return tables->pyramid5 + half;
    default:
      return tables->pyramid2 + half;
  }
}

// rightAngleLoadLower: points[0 .. L/2) real; u = x(i) W(i), v = x(i + L/4)
// W(i + L/4); the lower half of the buffer gets u + v, the upper half u - v,
// for i < L/4. Points are read as signed 32-bit integers.
inline void rightAngleLoadLower(double* buffer, const uint32_t* points, uint64_t L,
                                const double* weights) {
  const uint64_t q = L / 4;
  double* upper = buffer + L / 2;
  for (uint64_t i = 0; i < q; i += 4) {
    Vec4 u = vecMul(vecFromPointsTwice(points + i), rowTwiddle(weights, q, i));
    Vec4 v = vecMul(vecFromPointsTwice(points + q + i), rowTwiddle(weights, q, i + q));
    vecStore(buffer + 2 * i, vecAdd(u, v));
    vecStore(upper + 2 * i, vecSub(u, v));
  }
}

// rightAngleLoadFull: points[0 .. L); z(j) = (x(j) + i x(j + L/2)) W(j), then
// the same butterfly of z(i) and z(i + L/4). The product of two such loads is
// the nega-cyclic convolution of length L.
inline void rightAngleLoadFull(double* buffer, const uint32_t* points, uint64_t L,
                               const double* weights) {
  const uint64_t q = L / 4, h = L / 2;
  double* upper = buffer + h;
  for (uint64_t i = 0; i < q; i += 4) {
    Vec4 z1 = vecCmul(vecFromPoints(points + i, points + h + i), rowTwiddle(weights, q, i));
    Vec4 z2 =
        vecCmul(vecFromPoints(points + q + i, points + h + q + i), rowTwiddle(weights, q, i + q));
    vecStore(buffer + 2 * i, vecAdd(z1, z2));
    vecStore(upper + 2 * i, vecSub(z1, z2));
  }
}

// The last stage, inverseFull, its signed form or inverseWrapped: with r =
// 1 / (L/2), p = (lo(i) + hi(i)) r conj(W(i)) and q = (lo(i) - hi(i)) r
// conj(W(i + L/4)) are the coefficients i, i + L/2 (p) and i + L/4, i + 3L/4
// (q). Each is rounded by adding 2^52 (signed: 1.5 * 2^52) and keeping the
// low 52 bits of the double. The four streams of coefficients (starting at
// points 0, L/4, L/2, 3L/4) carry side by side, one stream in each lane, in
// the same loop; fftCarryFinish closes the seams and returns its result.
template <FftLastStage stage>
uint32_t inverseLastStage(const double* buffer, uint32_t* points, uint64_t L, uint32_t bits,
                          const double* weights) {
  const uint64_t q = L / 4;
  const double r = 1.0 / double(L / 2);
  const double magic = stage == FftFull ? 4503599627370496.0 : 6755399441055744.0;
  const Vec4 bias = vecBroadcast(magic, magic);
  const double* upper = buffer + L / 2;
  // Lanes per step: coefficient i (stream 0), i + L/2 (stream 2), i + L/4
  // (stream 1), i + 3L/4 (stream 3).
  uint32_t* const streams[4] = {points, points + 2 * q, points + q, points + 3 * q};
  CarryLanes lanes = carryLanesStart(bits, stage == FftFull ? 0 : int64_t(1) << 51);
  for (uint64_t i = 0; i < q; i += 4) {
    Vec4 lo = vecLoad(buffer + 2 * i), hi = vecLoad(upper + 2 * i);
    Vec4 p = vecCmulConj(vecScale(vecAdd(lo, hi), r), rowTwiddle(weights, q, i));
    Vec4 s = vecCmulConj(vecScale(vecSub(lo, hi), r), rowTwiddle(weights, q, i + q));
    Vec4 first, second;
    vecInterleave(vecAdd(p, bias), vecAdd(s, bias), first, second);
    carryLanesStep(lanes, first, second, streams, i);
  }
  int64_t laneCarry[4];
  carryLanesEnd(lanes, laneCarry);
  FftCarryStreams seams;
  fftCarryStart(&seams, points, L, bits, stage);
  seams.carry[0] = laneCarry[0];
  seams.carry[1] = laneCarry[2];
  seams.carry[2] = laneCarry[1];
  seams.carry[3] = laneCarry[3];
  return fftCarryFinish(&seams);
}

// The three forms: inverseFull (non-negative coefficients), its signed form
// for balanced points, and inverseWrapped (returns 1 for the value -1).
uint32_t inverseFull(const double* buffer, uint32_t* points, uint64_t L, uint32_t bits,
                     const double* weights) {
  return inverseLastStage<FftFull>(buffer, points, L, bits, weights);
}

uint32_t inverseFullSigned(const double* buffer, uint32_t* points, uint64_t L, uint32_t bits,
                           const double* weights) {
  return inverseLastStage<FftFullSigned>(buffer, points, L, bits, weights);
}

uint32_t inverseWrapped(const double* buffer, uint32_t* points, uint64_t L, uint32_t bits,
                        const double* weights) {
  return inverseLastStage<FftWrapped>(buffer, points, L, bits, weights);
}

// Pointwise square and product over complexCount values (a multiple of 4):
// (re, im)^2 = (re^2 - im^2, 2 re im) is the complex product of a value with
// itself.
inline void pointwiseSquareKernel(double* buffer, uint64_t complexCount) {
  for (uint64_t k = 0; k < complexCount; k += 4) {
    Vec4 x = vecLoad(buffer + 2 * k);
    vecStore(buffer + 2 * k, vecCmul(x, x));
  }
}

inline void pointwiseMultiplyKernel(double* buffer, const double* other, uint64_t complexCount) {
  for (uint64_t k = 0; k < complexCount; k += 4) {
    Vec4 x = vecLoad(buffer + 2 * k), y = vecLoad(other + 2 * k);
    vecStore(buffer + 2 * k, vecCmul(x, y));
  }
}
