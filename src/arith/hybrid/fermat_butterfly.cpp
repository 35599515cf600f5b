// The butterflies of the Fermat transform: sum and twiddled difference of
// two elements (decimation in frequency), the inverse step that undoes it
// up to a factor 2, and the radix-4 steps that do two levels on four
// elements with the butterfly scratch as the only room, copying nothing.
#include <cstdint>
#include <cstring>

#include "arith/hybrid/fermat.h"
#include "platform/console.h"

namespace {

// The twiddle 2^(e/2), e < 128W, as a shift: e even is e/2 bits; e odd is
// sqrt(2) 2^((e - 1)/2) = 2^((e - 1)/2 + n/4) (2^(n/2) - 1), and the
// factor in brackets is applied by timesRootTwo.
struct Twiddle {
  uint64_t bits;
  bool odd;
};

Twiddle twiddleOf(uint64_t W, uint64_t e) {
  const uint64_t n = 32 * W;
  if ((e & 1) == 0) return {e >> 1, false};
  return {((e >> 1) + n / 4) % (2 * n), true};
}

// y = y (2^(n/2) - 1) in place; W + 1 words of spare room when W is odd.
void timesRootTwo(uint32_t* y, uint64_t W, uint32_t* spare) {
  if (fermatTimesRootTwoFactor(y, W)) return;
  fermatShift(spare, y, W, 16 * W);
  fermatSub(y, spare, y, W);
}

}  // namespace

void butterflyPlain(uint32_t* a, uint32_t* b, uint64_t W) { fermatSumShifted(a, b, a, b, W, 0); }

void butterflyForward(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  e %= 128 * W;
  if (e == 0) {
    butterflyPlain(a, b, W);
    return;
  }
  const Twiddle w = twiddleOf(W, e);
  fermatSumShifted(a, scratch, a, b, W, w.bits);
  if (w.odd) timesRootTwo(scratch, W, scratch + W + 1);
  memcpy(b, scratch, 4 * (W + 1));
}

void butterflyInverse(uint32_t* a, uint32_t* b, uint64_t W, uint64_t e, uint32_t* scratch) {
  const uint64_t period = 128 * W;
  e %= period;
  if (e == 0) {
    butterflyPlain(a, b, W);
    return;
  }
  const Twiddle w = twiddleOf(W, period - e);
  if (w.odd) timesRootTwo(b, W, scratch);
  fermatShiftedSum(a, scratch, a, b, W, w.bits);
  memcpy(b, scratch, 4 * (W + 1));
}

// x = x * (2^(n/2) - 1) and y = y * (2^(n/2) - 1): the odd twiddles of the
// radix-4 steps, which need W even; an odd W is a broken caller.
static void rootTwoFactors(uint32_t* x, uint32_t* y, uint64_t W) {
  if (!fermatTimesRootTwoFactor(x, W) || !fermatTimesRootTwoFactor(y, W)) {
    invalidParameters("Fermat Transform", "A radix-4 step needs an even element length.");
  }
}

// x0 = a0 + a2 -> a0, x2 = (a0 - a2) w^e -> s1; x1 = a1 + a3 -> s2,
// x3 = (a1 - a3) w^(e + n) -> a2 (i = 2^(n/2) is the exponent n); then
// a0 = x0 + x1, a1 = (x0 - x1) w^(2e), a2 = x2 + x3, a3 = (x2 - x3) w^(2e).
void radix4Forward(uint32_t* a0, uint32_t* a1, uint32_t* a2, uint32_t* a3, uint64_t W, uint64_t e,
                   uint32_t* scratch) {
  const uint64_t period = 128 * W;
  e %= period;
  uint32_t* s1 = scratch;
  uint32_t* s2 = scratch + W + 1;
  const Twiddle first = twiddleOf(W, e), second = twiddleOf(W, (e + 32 * W) % period);
  fermatSumShifted(a0, s1, a0, a2, W, first.bits);
  fermatSumShifted(s2, a2, a1, a3, W, second.bits);
  if (first.odd) rootTwoFactors(s1, a2, W);
  const uint64_t twice = twiddleOf(W, (2 * e) % period).bits;
  fermatSumShifted(a0, a1, a0, s2, W, twice);
  fermatSumShifted(a2, a3, s1, a2, W, twice);
}

// The mirror: x0 = a0 + a1 w^(-2e) -> a0, x1 = a0 - a1 w^(-2e) -> s2;
// x2 = a2 + a3 w^(-2e) -> s1, x3 = a2 - a3 w^(-2e) -> a2; then a1, a3 from
// x1, x3 with w^-(e + n), and a0, a2 from x0, x2 with w^-e.
void radix4Inverse(uint32_t* a0, uint32_t* a1, uint32_t* a2, uint32_t* a3, uint64_t W, uint64_t e,
                   uint32_t* scratch) {
  const uint64_t period = 128 * W;
  e %= period;
  uint32_t* s1 = scratch;
  uint32_t* s2 = scratch + W + 1;
  const uint64_t twice = twiddleOf(W, (period - (2 * e) % period) % period).bits;
  fermatShiftedSum(a0, s2, a0, a1, W, twice);
  fermatShiftedSum(s1, a2, a2, a3, W, twice);
  const Twiddle first = twiddleOf(W, (period - e) % period);
  const Twiddle second = twiddleOf(W, (2 * period - e - 32 * W) % period);
  if (first.odd) rootTwoFactors(a2, s1, W);
  fermatShiftedSum(a1, a3, s2, a2, W, second.bits);
  fermatShiftedSum(a0, a2, a0, s1, W, first.bits);
}
