// The life cycle of a paged number: load, drop the disk copy, push out,
// release, destroy.
#include "memory/paging.h"

#include "memory/heap.h"
#include "memory/raidfile.h"
#include "platform/console.h"

void bigIntLoad(Heap* heap, BigInt* number, uint32_t keepSwap) {
  if (number->length == 0) return;
  if (number->words == nullptr) {
    // (length * 4 + 15) bytes rounded down to 8 holds length + 2 words. A
    // size that overflows to 0 comes back as the empty marker: fatal as well.
    uint64_t bytes = (number->length * 4 + 15) & ~uint64_t(7);
    void* array = heapAllocate(heap, bytes, 8);
    if (array == heapEmptyPointer) fatalMemory();
    number->words = static_cast<uint32_t*>(array);
    number->capacity = number->length + 2;
    raidFileRead(number->swap, number->words, number->length);
  }
  if (keepSwap == 0) bigIntDropSwap(number);
}

void bigIntDropSwap(BigInt* number) {
  if (number->swap == nullptr) return;
  raidFileDelete(number->swap);
  heapRelease(number->swap);
  number->swap = nullptr;
}

void bigIntPushToDisk(Heap* heap, BigInt* number, const PathList* paths) {
  if (number->length == 0) return;
  if (number->swap == nullptr) {
    if (number->words == nullptr) {
      assertionFailure("bigIntPushToDisk", "A number without words has no disk copy.", "");
    }
    RaidFile* file = static_cast<RaidFile*>(heapAllocate(heap, sizeof(RaidFile), 8));
    raidFileCreateAndWrite(heap, file, paths, 0, number->words, number->length);
    number->swap = file;
  }
  bigIntReleaseWords(number);
}

void bigIntReleaseWords(BigInt* number) {
  heapRelease(number->words);
  number->words = nullptr;
  number->capacity = 0;
}

void bigIntDestroy(BigInt* number) {
  heapRelease(number->words);
  bigIntDropSwap(number);
  number->length = bigIntDestroyedLength;
  number->words = nullptr;
  number->capacity = 0;
  number->swap = nullptr;
}
