// The product front end for plain word arrays, used where the series code
// keeps no BigInt records. Its failure rule is its own: one re-run, and any
// second outcome, a success included, ends the program.
#include <utility>

#include "arith/multiply.h"
#include "arith/fft/fft.h"
#include "arith/fft/fft_tables.h"
#include "platform/console.h"

uint64_t multiplyWordArrays(Heap* heap, const uint32_t* a, uint64_t lengthA, const uint32_t* b,
                            uint64_t lengthB, uint32_t* out, uint32_t threadPower) {
  if (lengthA == 0 || lengthB == 0) return 0;
  if (lengthA < lengthB) {
    std::swap(a, b);
    std::swap(lengthA, lengthB);
  }
  uint64_t code = runMultiplyWorker(heap, a, lengthA, b, lengthB, out, 0, threadPower, 0);
  if (code == multiplyDetectedError) {
    // errorCount is not touched here, and a disabled ECC does not stop the
    // re-run.
    printWide("\n\nMultiplication Failure:\nRe-attempting with same parameters...\n");
    code = runMultiplyWorker(heap, a, lengthA, b, lengthB, out, 0, threadPower, 1);
    if (code == multiplyDetectedError) {
      printWide("Second Attempt Failed: Possible Software Bug.\nTerminating Program...\n");
      pauseExit(1);
    }
    // Kept as this front end has always behaved: a second run that ends
    // with any other code, 0 included, is reported as a memory failure.
    fatalMemory();
  }
  if (code != 0) fatalMemory();
  uint64_t length = lengthA + lengthB;
  while (length > 0 && out[length - 1] == 0) length--;
  return length;
}

bool multiplyWordArraysShared(Heap* heap, const uint32_t* a, uint64_t na, const uint32_t* b,
                              uint64_t nb, uint32_t* outB, const uint32_t* c, uint64_t nc,
                              uint32_t* outC) {
  if (!multiplySharedTaken(na, nb, nc)) return false;
  // A shortfall of scratch releases what it took: the caller's two products
  // then meet it as they always would.
  return fftMultiplyShared(heap, a, na, b, nb, outB, 0, c, nc, outC, 0, fftTables) == 0;
}
