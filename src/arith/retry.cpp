// The retry protocol of the product front ends: the failure counter, the
// messages that tell the user what a failure points to, and the operand
// changes of the third attempt.
#include "arith/retry.h"

#include "arith/numbers/linear_words.h"
#include "arith/multiply.h"
#include "memory/heap.h"
#include "memory/paging.h"
#include "memory/raidfile.h"
#include "platform/console.h"

uint64_t errorCount = 0;

void reportRetryResult(uint32_t attempt) {
  if (attempt == 1) {
    printWide("\nSecond Attempt Succeeded with same parameters.\n"
              "Most likely a hardware error... Please check your hardware.\n"
              "Continuing...\n\n");
  } else if (attempt == 2) {
    printWide("\nThird Attempt Succeeded with different parameters.\n"
              "Most likely a software error... Please report this bug.\n"
              "Continuing...\n\n");
  }
}

void reportFailedAttempt(uint32_t next) {
  if (next == 1) {
    printWide("\n\nMultiplication Failure:\nRe-attempting with same parameters...\n");
  } else if (next == 2) {
    printWide("\n\nSecond Attempt Failed: Possible Software Bug.\n"
              "Re-attempting with different parameters...\n");
  } else if (next >= 3) {
    printWide("\n\nThird Attempt Failed: Unable to determine cause of error.\n"
              "Terminating Program...\n");
    pauseExit(1);
  }
}

void reportHardwareError() {
  printWide("\n\n\n\nHARDWARE ERROR DETECTED:\nAn error has been detected.\n"
            "No attempt will made to correct it because ECC is disabled.\n\n"
            "Please check your hardware. :)\n\n");
  pauseExit(1);
}

void retryRecordFailure(uint32_t next) {
  if (errorCount == errorCountEccDisabled) reportHardwareError();
  errorCount += 1;
  reportFailedAttempt(next);
}

void retryDoubleOperand(Heap* heap, BigInt* number, bool diskPath) {
  if (number->length == 0) return;
  // The number changes in place: its disk copy would be stale.
  bigIntLoad(heap, number, 0);
  const uint64_t length = number->length;
  uint32_t* target = number->words;
  if (length >= number->capacity) target = heapAllocateWords(heap, length + 3);
  const uint32_t carried = linearShiftLeft(target, number->words, length, 1);
  target[length] = carried;
  if (target != number->words) {
    heapRelease(number->words);
    number->words = target;
    number->capacity = length + 3;
  }
  if (carried != 0) number->length = length + 1;
  if (diskPath) bigIntPushToDisk(heap, number, globalSwapPaths);
}

void retryDoubledCopy(Heap* heap, BigInt* number, BigInt* copy) {
  bigIntSetZero(copy);
  if (number->length == 0) return;
  bigIntLoad(heap, number, 1);
  const uint64_t length = number->length;
  copy->words = heapAllocateWords(heap, length + 3);
  copy->capacity = length + 3;
  const uint32_t carried = linearShiftLeft(copy->words, number->words, length, 1);
  copy->words[length] = carried;
  copy->length = carried != 0 ? length + 1 : length;
}

namespace {

// number >>= bits in place; a top word that goes shortens it, a number that
// goes to zero becomes the zero record.
void shiftDown(Heap* heap, BigInt* number, uint32_t bits) {
  if (number->length == 0) return;
  bigIntLoad(heap, number, 0);
  uint64_t length = number->length;
  linearShiftRight(number->words, number->words, length, bits);
  if (number->words[length - 1] == 0) length--;
  if (length == 0) {
    bigIntDestroy(number);
    bigIntSetZero(number);
    return;
  }
  number->length = length;
}

}  // namespace

void retryHalveOperand(Heap* heap, BigInt* number, bool diskPath) {
  shiftDown(heap, number, 1);
  if (diskPath) bigIntPushToDisk(heap, number, globalSwapPaths);
}

void retryQuarterProduct(Heap* heap, BigInt* product, bool diskPath) {
  shiftDown(heap, product, 2);
  if (diskPath) bigIntPushToDisk(heap, product, globalSwapPaths);
}
