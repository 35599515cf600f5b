// Correctly rounded twiddles.
//
// The fast path: sincosl of t * theta in extended precision. Its error is a
// few units of the extended format's last place (2 pi / circle and t * theta
// each round once, and the hardware sine and cosine add about one unit), and
// a double keeps 11 bits fewer, so the rounding to double is right unless the
// extended value lies within that error of a midpoint between two doubles.
// For those few values (about one in a hundred) the slow path evaluates the
// angle and the Taylor series in pairs of long doubles, about 128 bits, which
// decides every rounding that occurs in practice.
#include "arith/fft/twiddles.h"

#include <cmath>
#include <cstring>

#include "platform/threads.h"

namespace {

// A value hi + lo with |lo| at most half a unit in the last place of hi.
struct Extended2 {
  long double hi;
  long double lo;
};

// Exact sum of two long doubles.
Extended2 twoSum(long double a, long double b) {
  long double s = a + b;
  long double bb = s - a;
  long double err = (a - (s - bb)) + (b - bb);
  return {s, err};
}

Extended2 quickTwoSum(long double a, long double b) {
  long double s = a + b;
  return {s, b - (s - a)};
}

// Exact product of two long doubles by Dekker's split (64-bit mantissas
// split at 32 bits).
Extended2 twoProduct(long double a, long double b) {
  const long double split = 4294967297.0L;  // 2^32 + 1
  long double ta = split * a;
  long double ah = ta - (ta - a);
  long double al = a - ah;
  long double tb = split * b;
  long double bh = tb - (tb - b);
  long double bl = b - bh;
  long double p = a * b;
  long double err = ((ah * bh - p) + ah * bl + al * bh) + al * bl;
  return {p, err};
}

Extended2 add(Extended2 a, Extended2 b) {
  Extended2 s = twoSum(a.hi, b.hi);
  Extended2 t = twoSum(a.lo, b.lo);
  s.lo += t.hi;
  s = quickTwoSum(s.hi, s.lo);
  s.lo += t.lo;
  return quickTwoSum(s.hi, s.lo);
}

Extended2 multiply(Extended2 a, Extended2 b) {
  Extended2 p = twoProduct(a.hi, b.hi);
  p.lo += a.hi * b.lo + a.lo * b.hi;
  return quickTwoSum(p.hi, p.lo);
}

// a / d for a small positive integer d.
Extended2 divideSmall(Extended2 a, uint64_t d) {
  long double dd = (long double)d;
  long double q1 = a.hi / dd;
  Extended2 back = twoProduct(q1, dd);
  long double rest = ((a.hi - back.hi) - back.lo + a.lo);
  long double q2 = rest / dd;
  return quickTwoSum(q1, q2);
}

// 2 pi as hi + lo (the next term is below 2^-128 of it).
constexpr Extended2 twoPi = {0x6.487ed5110b4611a8p+0L, -0x1.d9cceba3f91f1976p-64L};

// The angle 2 pi t / circle, circle = m * 2^j with m odd and small.
Extended2 angleOf(uint64_t t, uint64_t circle) {
  int shift = 0;
  while ((circle & 1) == 0) {
    circle >>= 1;
    shift++;
  }
  Extended2 a = twoProduct(twoPi.hi, (long double)t);
  a = add(a, twoProduct(twoPi.lo, (long double)t));
  a = divideSmall(a, circle);
  return {ldexpl(a.hi, -shift), ldexpl(a.lo, -shift)};
}

// Taylor series of cos and sin at x, 0 <= x <= pi / 4, by Horner's rule on
// x^2: the terms fall below 2^-128 before index 34.
void taylorCosSin(Extended2 x, Extended2* cosine, Extended2* sine) {
  Extended2 x2 = multiply(x, x);
  const uint32_t last = 34;
  Extended2 c = {1.0L, 0.0L};
  Extended2 s = {1.0L, 0.0L};
  // c = 1 - x^2/(1*2) (1 - x^2/(3*4) (1 - ...)), s likewise from 2*3.
  for (uint32_t n = last; n >= 2; n -= 2) {
    Extended2 tc = divideSmall(multiply(c, x2), uint64_t(n - 1) * n);
    c = add({1.0L, 0.0L}, {-tc.hi, -tc.lo});
    Extended2 ts = divideSmall(multiply(s, x2), uint64_t(n) * (n + 1));
    s = add({1.0L, 0.0L}, {-ts.hi, -ts.lo});
  }
  *cosine = c;
  *sine = multiply(s, x);
}

// The double nearest to hi + lo.
double roundToDouble(Extended2 v) {
  double d = (double)v.hi;
  long double below = (long double)nextafter(d, -INFINITY);
  long double above = (long double)nextafter(d, INFINITY);
  long double midBelow = ((long double)d + below) * 0.5L;  // exact in extended
  long double midAbove = ((long double)d + above) * 0.5L;
  long double overAbove = (v.hi - midAbove) + v.lo;
  long double overBelow = (v.hi - midBelow) + v.lo;
  if (overAbove > 0) return (double)above;
  if (overBelow < 0) return (double)below;
  return d;
}

// True when the rounding of v to double is certain: v is farther than the
// error bound (8 units of the extended last place) from the midpoint between
// its double d and d's neighbour on v's side. The distances come from d's
// bits: u is d's unit in the last place, half of it the distance to the
// midpoint above, and a quarter of it to the one below a power of two. The
// bound is taken as u / 256 (8 units of an extended place at d's exponent,
// twice the true bound when v lies just below a power of two): a wider
// bound only sends more values to the exact path. For normal positive d.
bool roundingIsCertain(long double v) {
  const double d = (double)v;
  uint64_t bits;
  std::memcpy(&bits, &d, sizeof bits);
  const uint64_t exponentBits = bits & 0x7ff0000000000000ull;
  if (exponentBits <= (uint64_t(52) << 52) || (bits >> 63) != 0) return false;
  const uint64_t ulpBits = exponentBits - (uint64_t(52) << 52);
  double ulp;
  std::memcpy(&ulp, &ulpBits, sizeof ulp);
  const long double u = ulp;
  const long double residual = v - (long double)d;
  const bool powerOfTwo = (bits & 0x000fffffffffffffull) == 0;
  const long double half = residual < 0 && powerOfTwo ? u * 0.25L : u * 0.5L;
  return fabsl(fabsl(residual) - half) > u * (1.0L / 256);
}

// The fill of pairs [first, last] (t descending), for one thread.
struct FillRange {
  double* out;
  uint64_t first;
  uint64_t last;
  long double theta;
  uint64_t circle;
};

uint64_t fillRange(void* context) {
  const FillRange* range = static_cast<const FillRange*>(context);
  for (uint64_t t = range->last; t >= range->first; t--) {
    long double s, c;
    sincosl((long double)t * range->theta, &s, &c);
    double* pair = range->out + 2 * (t - 1);
    if (roundingIsCertain(c) && roundingIsCertain(s)) {
      pair[0] = (double)c;
      pair[1] = (double)s;
    } else {
      twiddleExact(t, range->circle, &pair[0], &pair[1]);
    }
  }
  return 0;
}

// Fills below this many pairs stay on the calling thread.
constexpr uint64_t threadedFillPairs = 1 << 14;

}  // namespace

void twiddleExact(uint64_t t, uint64_t circle, double* cosine, double* sine) {
  Extended2 c, s;
  taylorCosSin(angleOf(t, circle), &c, &s);
  *cosine = roundToDouble(c);
  *sine = roundToDouble(s);
}

void twiddleFill(double* out, uint64_t pairs, uint64_t circle) {
  const long double theta = twoPi.hi / (long double)circle;
  // Each pair depends on t alone: with threads allowed the upper half of the
  // range goes to a second thread, and the values are the same.
  if (globalThreadPower == 0 || pairs < threadedFillPairs) {
    FillRange all = {out, 1, pairs, theta, circle};
    fillRange(&all);
    return;
  }
  FillRange upper = {out, pairs / 2 + 1, pairs, theta, circle};
  FillRange lower = {out, 1, pairs / 2, theta, circle};
  ThreadHandle handle;
  threadSpawn(&handle, fillRange, &upper);
  fillRange(&lower);
  threadJoin(&handle);
}
