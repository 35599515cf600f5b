// threadSpawn / threadJoin on POSIX threads, and the processor count.
#include "platform/threads.h"

#include <errno.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

#include "platform/console.h"

uint32_t globalThreadPower = 0;

namespace {

std::atomic<uint32_t> failSpawnsLeft{0};
std::atomic<bool> failPriority{false};
std::atomic<bool> priorityWarningShown{false};

// Asks for a nice value one step more favourable than the thread's current
// one. Unprivileged processes are usually refused; that is only a warning.
void raiseOwnPriority() {
  pid_t tid = static_cast<pid_t>(syscall(SYS_gettid));
  bool ok = false;
  if (!failPriority.load(std::memory_order_relaxed)) {
    errno = 0;
    int current = getpriority(PRIO_PROCESS, static_cast<id_t>(tid));
    if (errno == 0 && setpriority(PRIO_PROCESS, static_cast<id_t>(tid), current - 1) == 0) ok = true;
  }
  if (!ok && !priorityWarningShown.exchange(true)) {
    printNarrow("Warning: Unable to set thread priority.\n");
  }
}

void* threadEntry(void* argument) {
  ThreadHandle* handle = static_cast<ThreadHandle*>(argument);
  if (handle->raisePriority) raiseOwnPriority();
  handle->result = handle->routine(handle->context);
  return nullptr;
}

void spawn(ThreadHandle* handle, ThreadRoutine routine, void* context, bool raise) {
  handle->routine = routine;
  handle->context = context;
  handle->result = 0;
  handle->raisePriority = raise;
  handle->created = false;

  bool forcedFailure = false;
  uint32_t left = failSpawnsLeft.load(std::memory_order_relaxed);
  while (left > 0 && !failSpawnsLeft.compare_exchange_weak(left, left - 1)) {
  }
  if (left > 0) forcedFailure = true;

  if (!forcedFailure && pthread_create(&handle->thread, nullptr, threadEntry, handle) == 0) {
    handle->created = true;
    return;
  }
  setColor(12);
  printWide("\nWarning: Unable to create thread.\n");
  colorDefault();
  handle->result = routine(context);
}

}  // namespace

void threadSpawn(ThreadHandle* handle, ThreadRoutine routine, void* context) {
  spawn(handle, routine, context, false);
}

void threadSpawnRaised(ThreadHandle* handle, ThreadRoutine routine, void* context) {
  spawn(handle, routine, context, true);
}

void threadJoin(ThreadHandle* handle) {
  if (!handle->created) return;
  int error = pthread_join(handle->thread, nullptr);
  handle->created = false;
  if (error != 0) {
    setColor(12);
    printNarrow("Thread Error: Wait for thread has failed.\n\nError Code = %d\n", error);
    colorDefault();
    printWide("\n");
    setColor(12);
    printWide("Possible Memory Allocation Failure.");
    colorDefault();
    printWide("\n\n");
    pauseExit(1);
  }
  if (handle->result != 0) {
    printNarrow("Thread Error: Thread ended with a non-zero return value: %d",
                static_cast<int>(handle->result));
    pauseExit(static_cast<int>(handle->result));
  }
}

uint32_t processorCount() {
  cpu_set_t set;
  CPU_ZERO(&set);
  if (sched_getaffinity(0, sizeof(set), &set) != 0) {
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<uint32_t>(online) : 1;
  }
  int count = CPU_COUNT(&set);
  return count > 0 ? static_cast<uint32_t>(count) : 1;
}

uint32_t defaultThreadPower() {
  uint32_t processors = processorCount();
  uint32_t power = 0;
  while (power < 8 && (uint64_t(1) << power) < processors) power++;
  return power;
}

void threadFailNextSpawnsForTesting(uint32_t count) {
  failSpawnsLeft.store(count);
}

void threadFailPriorityForTesting(bool fail) {
  failPriority.store(fail);
}

void threadResetPriorityWarningForTesting() {
  priorityWarningShown.store(false);
}
