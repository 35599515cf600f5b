// Correctly rounded twiddles.
//
// The fast path: one fused sine and cosine of t * theta in extended
// precision (fusedSinCos). Its error is a few units of the extended format's
// last place (2 pi / circle and t * theta each round once, and the hardware
// sine and cosine add about one unit), and a double keeps 11 bits fewer, so
// the rounding to double is right unless the extended value lies within
// that error of a midpoint between two doubles. For those few values (about
// one in a hundred) the slow path evaluates the angle and the Taylor series
// in pairs of long doubles, about 128 bits, which decides every rounding
// that occurs in practice.
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

// Taylor series of cos (first = 1) or of sin / x (first = 2) at x,
// 0 <= x <= pi / 4, by Horner's rule on x2 = x^2: 1 - x^2/(1*2) (1 - x^2/(3*4)
// (1 - ...)), or the same from 2*3. The terms fall below 2^-128 before index
// 34.
Extended2 taylorSeries(Extended2 x2, uint32_t first) {
  const uint32_t last = 34;
  Extended2 v = {1.0L, 0.0L};
  for (uint32_t n = last; n >= 2; n -= 2) {
    const uint64_t m = n + first - 1;
    Extended2 term = divideSmall(multiply(v, x2), (m - 1) * m);
    v = add({1.0L, 0.0L}, {-term.hi, -term.lo});
  }
  return v;
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

// The slow path for the cosine and/or the sine (a null pointer: not
// wanted) of 2 pi t / circle.
void twiddleExactPart(uint64_t t, uint64_t circle, double* cosine, double* sine) {
  const Extended2 x = angleOf(t, circle);
  const Extended2 x2 = multiply(x, x);
  if (cosine != nullptr) *cosine = roundToDouble(taylorSeries(x2, 1));
  if (sine != nullptr) *sine = roundToDouble(multiply(taylorSeries(x2, 2), x));
}

// sin and cos of x, 0 <= x <= pi / 4, in one evaluation in the extended
// format: the x87 instruction where there is one (no argument reduction
// happens in the first octant, and it stays within one unit of the last
// place there), else the library's sincosl.
inline void fusedSinCos(long double x, long double* sine, long double* cosine) {
#if defined(__x86_64__) || defined(__i386__)
  long double s, c;
  asm("fsincos" : "=t"(c), "=u"(s) : "0"(x));
  *sine = s;
  *cosine = c;
#else
  sincosl(x, sine, cosine);
#endif
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
    fusedSinCos((long double)t * range->theta, &s, &c);
    double* pair = range->out + 2 * (t - 1);
    const bool cosineCertain = roundingIsCertain(c);
    const bool sineCertain = roundingIsCertain(s);
    pair[0] = (double)c;
    pair[1] = (double)s;
    if (!cosineCertain || !sineCertain) {
      twiddleExactPart(t, range->circle, cosineCertain ? nullptr : &pair[0],
                       sineCertain ? nullptr : &pair[1]);
    }
  }
  return 0;
}

// Fills below this many pairs stay on the calling thread.
constexpr uint64_t threadedFillPairs = 1 << 14;

}  // namespace

void twiddleExact(uint64_t t, uint64_t circle, double* cosine, double* sine) {
  twiddleExactPart(t, circle, cosine, sine);
}

void twiddleFill(double* out, uint64_t pairs, uint64_t circle, uint32_t threadPower) {
  const long double theta = twoPi.hi / (long double)circle;
  // Each pair depends on t alone: with threads allowed the upper half of the
  // range goes to a second thread, and the values are the same.
  if (threadPower == 0 || pairs < threadedFillPairs) {
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
