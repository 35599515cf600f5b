// The passes of the Fermat transform. A transform of 2^levels elements has
// the root of order 2^levels, exponent 128W >> levels, and a twist: at
// level l (from 1) the butterfly of index i in its sub-transform has the
// exponent (i * root + twist) * 2^(l-1). A whole transform has twist 0; the
// column j of a larger one (its elements j, j + M, j + 2M, ...) is such a
// transform with twist = outer twist + j * outer root, and after the column
// stage the rows (contiguous runs of M elements) are transforms with twist
// times 2^(column levels). So every cut gives the same ring values as the
// plain radix-2 recursion; the cuts only decide what is in cache together.
#include <cstdint>

#include "arith/hybrid/fermat.h"

namespace {

struct Shape {
  uint64_t W;
  uint64_t stride;
};

uint64_t rootOf(uint64_t W, uint32_t levels) { return (128 * W) >> levels; }

// Butterflies j in [begin, end) of one level between j and j + half, with
// exponent j * root + twist.
void butterflyRun(uint32_t* elements, Shape shape, uint64_t half, uint64_t begin, uint64_t end,
                  uint64_t root, uint64_t twist, bool inverse, uint32_t* scratch) {
  const uint64_t period = 128 * shape.W;
  uint64_t e = ((begin % period) * root + twist) % period;
  for (uint64_t j = begin; j < end; j++) {
    uint32_t* a = elements + j * shape.stride;
    uint32_t* b = elements + (j + half) * shape.stride;
    if (inverse) {
      butterflyInverse(a, b, shape.W, e, scratch);
    } else {
      butterflyForward(a, b, shape.W, e, scratch);
    }
    e = (e + root) % period;
  }
}

// Radix-4 steps j in [0, quarter) on j, j + quarter, j + 2 quarter and
// j + 3 quarter, the first-level exponent j * root + twist.
void radix4Run(uint32_t* elements, Shape shape, uint64_t quarter, uint64_t root, uint64_t twist,
               bool inverse, uint32_t* scratch) {
  const uint64_t period = 128 * shape.W, step = quarter * shape.stride;
  uint64_t e = twist % period;
  for (uint64_t j = 0; j < quarter; j++) {
    uint32_t* a = elements + j * shape.stride;
    if (inverse) {
      radix4Inverse(a, a + step, a + 2 * step, a + 3 * step, shape.W, e, scratch);
    } else {
      radix4Forward(a, a + step, a + 2 * step, a + 3 * step, shape.W, e, scratch);
    }
    e = (e + root) % period;
  }
}

// The straight pass: all `levels` levels on 2^levels elements (which a
// column stage keeps in cache together), two at a time by radix-4 steps
// when W is even, else by radix-2 steps.
void straightPass(uint32_t* elements, Shape shape, uint32_t levels, uint64_t twist, bool inverse,
                  uint32_t* scratch) {
  if (levels == 0) return;
  const uint64_t period = 128 * shape.W;
  if (levels >= 2 && shape.W % 2 == 0) {
    const uint64_t quarter = uint64_t(1) << (levels - 2), root = rootOf(shape.W, levels);
    const uint64_t nextTwist = (4 * twist) % period;
    if (!inverse) radix4Run(elements, shape, quarter, root, twist, false, scratch);
    for (uint64_t part = 0; part < 4; part++) {
      straightPass(elements + part * quarter * shape.stride, shape, levels - 2, nextTwist, inverse,
                   scratch);
    }
    if (inverse) radix4Run(elements, shape, quarter, root, twist, true, scratch);
    return;
  }
  const uint64_t half = uint64_t(1) << (levels - 1), root = rootOf(shape.W, levels);
  const uint64_t nextTwist = (2 * twist) % period;
  if (!inverse) butterflyRun(elements, shape, half, 0, half, root, twist, false, scratch);
  straightPass(elements, shape, levels - 1, nextTwist, inverse, scratch);
  straightPass(elements + half * shape.stride, shape, levels - 1, nextTwist, inverse, scratch);
  if (inverse) butterflyRun(elements, shape, half, 0, half, root, twist, true, scratch);
}

// A transform cut into a column stage of `columnLevels` levels and a row
// stage; `columns` and `rows` run the sub-transforms (radixPass or the
// blocked form again). Forward: columns first; inverse: rows first.
template <typename Sub>
void cutTransform(uint32_t* elements, Shape shape, uint32_t levels, uint32_t columnLevels,
                  uint64_t twist, bool inverse, uint32_t* scratch, uint32_t threadPower,
                  Sub columnSub, Sub rowSub) {
  const uint64_t period = 128 * shape.W;
  const uint32_t rowLevels = levels - columnLevels;
  const uint64_t columns = uint64_t(1) << rowLevels, rows = uint64_t(1) << columnLevels;
  const uint64_t root = rootOf(shape.W, levels);
  const Shape columnShape = {shape.W, shape.stride << rowLevels};
  auto column = [&](uint64_t j, uint32_t* s, uint32_t t) {
    const uint64_t columnTwist = ((j % period) * root + twist) % period;
    columnSub(elements + j * shape.stride, columnShape, columnLevels, columnTwist, s, t);
  };
  auto row = [&](uint64_t j, uint32_t* s, uint32_t t) {
    rowSub(elements + j * columns * shape.stride, shape, rowLevels,
           (twist << columnLevels) % period, s, t);
  };
  const uint64_t columnWords = shape.W << columnLevels, rowWords = shape.W << rowLevels;
  if (!inverse) fermatColumnRange(0, columns, columnWords, shape.W, scratch, threadPower, column);
  fermatRowRange(0, rows, rowWords, shape.W, scratch, threadPower, row);
  if (inverse) fermatColumnRange(0, columns, columnWords, shape.W, scratch, threadPower, column);
}

void radixPassAny(uint32_t* elements, Shape shape, uint32_t levels, uint64_t twist, bool inverse,
                  uint32_t* scratch, uint32_t threadPower);

using SubTransform = void (*)(uint32_t*, Shape, uint32_t, uint64_t, uint32_t*, uint32_t);

template <bool inverse>
void radixSub(uint32_t* elements, Shape shape, uint32_t levels, uint64_t twist, uint32_t* scratch,
              uint32_t threadPower) {
  radixPassAny(elements, shape, levels, twist, inverse, scratch, threadPower);
}

// Radix 16 when the 16th root is whole words (W a multiple of 8), else 8.
void radixPassAny(uint32_t* elements, Shape shape, uint32_t levels, uint64_t twist, bool inverse,
                  uint32_t* scratch, uint32_t threadPower) {
  const uint32_t straight = shape.W % 8 == 0 ? 4 : 3;
  if (levels <= straight) {
    straightPass(elements, shape, levels, twist, inverse, scratch);
    return;
  }
  const SubTransform sub = inverse ? radixSub<true> : radixSub<false>;
  cutTransform(elements, shape, levels, straight, twist, inverse, scratch, threadPower,
               sub, sub);
}

template <bool inverse>
void blockedAny(uint32_t* elements, Shape shape, uint32_t levels, uint64_t twist,
                uint32_t* scratch, uint32_t threadPower) {
  if (levels < 9) {
    radixPassAny(elements, shape, levels, twist, inverse, scratch, threadPower);
    return;
  }
  const uint32_t columnLevels = fermatColumnLevels(shape.W, levels);
  cutTransform(elements, shape, levels, columnLevels, twist, inverse, scratch, threadPower,
               SubTransform(blockedAny<inverse>), SubTransform(blockedAny<inverse>));
}

}  // namespace

uint32_t fermatColumnLevels(uint64_t W, uint32_t levels) {
  uint32_t p = levels / 2 + 1;
  for (uint32_t candidate = 3; candidate <= levels / 2; candidate++) {
    if (4 * (W + 1) * (uint64_t(1) << candidate) + 8 * W + 8 >= fermatStageBytes) {
      p = candidate;
      break;
    }
  }
  return p - 1;
}

void radixPass(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
               uint32_t* scratch, uint32_t threadPower) {
  radixPassAny(elements, {W, stride}, levels, e % (128 * W), false, scratch, threadPower);
}

void radixPassInverse(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                      uint32_t* scratch, uint32_t threadPower) {
  radixPassAny(elements, {W, stride}, levels, e % (128 * W), true, scratch, threadPower);
}

void blockedForward(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                    uint32_t* scratch, uint32_t threadPower) {
  blockedAny<false>(elements, {W, stride}, levels, e % (128 * W), scratch, threadPower);
}

void blockedInverse(uint32_t* elements, uint64_t W, uint64_t stride, uint32_t levels, uint64_t e,
                    uint32_t* scratch, uint32_t threadPower) {
  blockedAny<true>(elements, {W, stride}, levels, e % (128 * W), scratch, threadPower);
}
