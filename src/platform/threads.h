// The one thread mechanism of the program: two-way fork and join. A parallel
// step spawns one half on a new thread with threadSpawn, runs the other half
// itself and waits with threadJoin. A thread that cannot be created prints a
// warning and its routine runs to its end on the caller, so every parallel
// step also works on one thread. There are no locks: the halves own disjoint
// memory and results are read after the join.
#pragma once

#include <pthread.h>

#include <cstdint>

// A thread routine unpacks its context, does the work and returns 0. Any
// other value is fatal at the join ("Thread ended with a non-zero return
// value").
using ThreadRoutine = uint64_t (*)(void* context);

// One spawned thread. The record must stay at the same address from
// threadSpawn to threadJoin: the new thread reads its routine from it and
// stores the result in it.
struct ThreadHandle {
  pthread_t thread;
  ThreadRoutine routine;
  void* context;
  uint64_t result;       // the routine's return value, valid after the join
  bool created;          // false: the routine already ran on the caller
  bool raisePriority;    // the thread asks for a higher priority (swap I/O)
};

// Starts `routine(context)` on a new thread. On failure prints, in colour 12,
// "\n", "Warning: Unable to create thread.", "\n", then runs the routine on
// the calling thread before returning; the join then returns at once.
void threadSpawn(ThreadHandle* handle, ThreadRoutine routine, void* context);
// The same for the swap I/O threads: the new thread first raises its own
// priority; where that is refused it prints
// "Warning: Unable to set thread priority.\n" (once per process) and goes on.
void threadSpawnRaised(ThreadHandle* handle, ThreadRoutine routine, void* context);
// Waits for the thread. A failed wait prints "Thread Error: Wait for thread
// has failed.", "Error Code = " and the code, "Possible Memory Allocation
// Failure." and exits 1; a non-zero result prints "Thread Error: Thread ended
// with a non-zero return value: %d" and exits with that value.
void threadJoin(ThreadHandle* handle);

// Processors this process may run on (sched_getaffinity), at least 1.
uint32_t processorCount();
// Smallest k with 2^k >= processorCount(), at most 8.
uint32_t defaultThreadPower();

// Base-2 logarithm of the thread count of the running computation, for code
// that has no settings record at hand.
extern uint32_t globalThreadPower;

// Test hooks. The next `count` calls of threadSpawn fail as if the system
// had no thread left. Setting the priority can be made to fail the same way;
// threadResetPriorityWarning lets the once-per-process warning show again.
void threadFailNextSpawnsForTesting(uint32_t count);
void threadFailPriorityForTesting(bool fail);
void threadResetPriorityWarningForTesting();
