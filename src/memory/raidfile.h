// RaidFile: one logical array of 32-bit words striped over one swap file per
// path, one contiguous block per file (file i holds words i * stripeWords up
// to (i + 1) * stripeWords - 1). A transfer runs one thread per file touched,
// so the disks of all paths work at once. Creation, closing and deletion
// retry for ever on system errors ("Re-attempting..."); a failed read or
// write is fatal, since it means a lost number.
#pragma once

#include <cstdint>

#include "memory/heap.h"
#include "platform/threads.h"

// A list of swap paths: a count and an array of owned path texts. A null
// list or a count of 0 stands for one path, the current directory.
struct PathList {
  uint64_t count;
  char** paths;
};

// Path set of the running computation.
extern PathList* globalSwapPaths;

// One file of a RaidFile.
struct RaidFileEntry {
  char* path;   // the whole name of the file, owned
  int handle;   // open file descriptor, -1 when closed
};

// One file's part of a transfer; the records are reused by every transfer.
struct TransferRecord {
  RaidFileEntry* file;
  uint64_t offset;     // word offset in the file
  uint32_t* buffer;    // the words in memory
  uint64_t reserved;
  uint64_t wordCount;
};

struct RaidFile {
  char* name;                // "nmb_" + 16 hex digits of this buffer's address + ".sf"
  uint64_t totalWords;       // words of the logical array
  uint64_t stripeWords;      // words per file: ceil(totalWords / fileCount)
  uint64_t fileCount;        // one file per path
  RaidFileEntry* files;
  TransferRecord* transfers;
  ThreadHandle* threads;
};

// Fills `file` (memory owned by the caller) and creates one file per path,
// each sized to stripeWords words. `heap` serves the name, path and array
// allocations (null: the standard allocator). `reserved` is not used.
void raidFileCreate(Heap* heap, RaidFile* file, const PathList* paths, uint64_t reserved,
                    uint64_t totalWords);
// raidFileCreate for wordCount words, then writes all of them.
void raidFileCreateAndWrite(Heap* heap, RaidFile* file, const PathList* paths,
                            uint64_t reserved, const uint32_t* words, uint64_t wordCount);
// Reads words 0 .. wordCount - 1 into buffer.
void raidFileRead(RaidFile* file, uint32_t* buffer, uint64_t wordCount);
// Reads or writes words offset .. offset + wordCount - 1 of the array.
void raidFileReadAt(RaidFile* file, uint64_t offset, uint32_t* buffer, uint64_t wordCount);
void raidFileWriteAt(RaidFile* file, uint64_t offset, const uint32_t* buffer,
                     uint64_t wordCount);
// Closes and deletes all files and releases what raidFileCreate allocated;
// the record itself stays the caller's.
void raidFileDelete(RaidFile* file);
// The size asked for after the system refused `bytes` for a swap file:
// four times as much, or the largest size when that would not fit.
uint64_t raidFileSizeAfterRefusal(uint64_t bytes);
// Debugging: "RaidFile Path Dump:\n" and each path ("NULL" for a missing one).
void raidFileDump(const RaidFile* file);

// Counters for tests: write transfers started (raidFileWriteAt and the write
// of raidFileCreateAndWrite, each one count), words written, and the number
// of single read or write pieces issued to the files.
uint64_t raidFileWriteCount();
uint64_t raidFileWriteWords();
uint64_t raidFilePieceCount();
// The most bytes the live swap files held at once since the last reset
// (which starts from what they hold then).
uint64_t raidFilePeakBytes();
void raidFileResetPeak();
// Test hook: lowers the largest piece of one read or write call from
// 0x80000000 bytes (0 restores it). Must be a multiple of 4.
void raidFileSetPieceBytesForTesting(uint64_t bytes);
// Test hook: the pause between two attempts of a step that retries for ever
// (1000 ms by default).
void raidFileSetRetryDelayForTesting(uint32_t milliseconds);
// Test hook: called at each pause between two attempts (where a person would
// clear the cause); null removes it.
void raidFileSetRetryHookForTesting(void (*hook)());
