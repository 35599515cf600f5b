// Paging of whole numbers. A BigInt is in the heap, on disk, or in both
// places; code says when a number must come in (bigIntLoad) and when it may
// leave (bigIntPushToDisk). There is no page table and no fault.
//
// Write-back rule: a disk copy, when it exists, is taken to be current. Code
// that changes a number in place must drop the copy first (bigIntLoad with
// keepSwap 0, or bigIntDropSwap).
#pragma once

#include <cstdint>

#include "memory/bigint.h"

struct Heap;
struct PathList;

// Makes sure the words are in memory. A paged-out number gets an array of
// length + 2 words from `heap` and is read back. keepSwap 0 then forgets the
// disk copy (the caller is about to change the number); keepSwap 1 keeps it,
// so that a later push costs no write. A zero number allocates nothing.
void bigIntLoad(Heap* heap, BigInt* number, uint32_t keepSwap);

// Forgets the disk copy: deletes the files, releases the RaidFile record and
// clears `swap`. Nothing when `swap` is null.
void bigIntDropSwap(BigInt* number);

// Makes sure the number is on disk and not in memory. Only a number without
// a disk copy is written (the RaidFile record comes from `heap`, null meaning
// the standard allocator); in every case the array is then released.
void bigIntPushToDisk(Heap* heap, BigInt* number, const PathList* paths);

// Releases the array only: words null, capacity 0; `swap` stays.
void bigIntReleaseWords(BigInt* number);

// Releases the array and the disk copy; the record is left destroyed
// (length all ones, the rest cleared). Harmless on a destroyed record.
void bigIntDestroy(BigInt* number);
