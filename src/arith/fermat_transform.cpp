// The hybrid transform's outer passes: the input load and the blocked
// forward transform, and the blocked inverse that hands every element to
// the output stage.
#include <cstdint>
#include <cstring>

#include "arith/fermat.h"
#include "arith/hybrid.h"
#include "platform/console.h"

void hybridCheckStride(uint64_t stride, uint32_t k) {
  if (k >= 64 || stride != ((stride << k) >> k)) {
    limitExceeded("Hybrid Number-Theoretic Transform",
                  "The transform parameters is over the limit that can be represented\n"
                  "under the current address space.");
  }
}

void hybridForward(const uint32_t* source, uint64_t n, uint64_t c, uint32_t* transform, uint64_t W,
                   uint64_t stride, uint32_t k, uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  const uint64_t count = uint64_t(1) << k;
  for (uint64_t i = 0; i < count; i++) {
    uint32_t* element = transform + i * stride;
    const uint64_t from = i * c;
    const uint64_t take = from >= n ? 0 : (n - from < c ? n - from : c);
    if (take > 0) memcpy(element, source + from, 4 * take);
    memset(element + take, 0, 4 * (W + 1 - take));
  }
  blockedForward(transform, W, stride, k, 0, scratch, threadPower);
}

uint32_t hybridInverse(uint32_t* destination, uint64_t end, uint64_t start, uint64_t c,
                       uint32_t* transform, uint64_t W, uint64_t stride, uint32_t k,
                       uint32_t* scratch, uint32_t threadPower) {
  hybridCheckStride(stride, k);
  blockedInverse(transform, W, stride, k, 0, scratch, threadPower);
  hybridFaultAfterInverse(transform, stride, k);
  const OutputRange range = {destination, end, start, c, k, W};
  return hybridOutputStage(range, transform, stride, scratch, threadPower);
}
