// The fork-join thread mechanism: spawn and join, the inline fallback when a
// thread cannot be created, nested forks, the fatal join of a failed
// routine, raised priority for I/O threads, and the processor count.
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <string>

#include "platform/console.h"
#include "platform/threads.h"
#include "support/death_console.h"

namespace {

pid_t threadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }
int priority() { return getpriority(PRIO_PROCESS, static_cast<id_t>(threadId())); }

struct Probe { pid_t ranOn; int priority; uint64_t value; };

uint64_t probeRoutine(void* context) {
  *static_cast<Probe*>(context) = {threadId(), priority(), 42};
  return 0;
}

// Sums i^2 over first .. last - 1 by two-way forks nested `power` deep.
struct RangeSum { uint64_t first, last; uint32_t power; uint64_t sum; };

uint64_t rangeSum(void* context) {
  RangeSum* job = static_cast<RangeSum*>(context);
  if (job->power == 0) {
    for (uint64_t i = job->first; i < job->last; i++) job->sum += i * i;
    return 0;
  }
  uint64_t middle = job->first + (job->last - job->first) / 2;
  RangeSum low = {job->first, middle, job->power - 1, 0}, high = {middle, job->last, job->power - 1, 0};
  ThreadHandle handle;
  threadSpawn(&handle, rangeSum, &low);
  rangeSum(&high);
  threadJoin(&handle);
  job->sum = low.sum + high.sum;
  return 0;
}

// A routine runs on a thread of its own; a forced failure warns and runs it
// before threadSpawn returns, on this very thread, for as many spawns as
// asked; nested forks give the serial result either way.
TEST(Threads, SpawnJoinNestedForksAndTheInlineFallback) {
  std::string out;
  consoleCaptureTo(&out);
  for (uint32_t failures : {1u, 0u}) {  // only the next spawn fails
    Probe probe = {0, 0, 0};
    ThreadHandle handle;
    if (failures != 0) threadFailNextSpawnsForTesting(failures);
    threadSpawn(&handle, probeRoutine, &probe);
    EXPECT_EQ(handle.created, failures == 0);
    EXPECT_EQ(probe.ranOn == threadId(), failures == 1) << "ran inline before the join";
    threadJoin(&handle);
    EXPECT_FALSE(handle.created);
    EXPECT_EQ(probe.value, 42u);
  }
  const uint64_t n = 100001, expected = (n - 1) * n * (2 * n - 1) / 6;
  for (uint32_t failures : {0u, 7u}) {
    if (failures != 0) threadFailNextSpawnsForTesting(failures);
    RangeSum job = {0, n, 3, 0};
    rangeSum(&job);
    EXPECT_EQ(job.sum, expected) << failures;
  }
  consoleCaptureTo(nullptr);
  std::string warnings;
  for (int i = 0; i < 8; i++) warnings += "\nWarning: Unable to create thread.\n";
  EXPECT_EQ(out, warnings);
}

uint64_t failingRoutine(void*) { return 3; }

TEST(ThreadsDeathTest, NonZeroReturnIsFatalWithThatCode) {
  EXPECT_EXIT(
      {
        consoleToStandardError();
        ThreadHandle handle;
        threadSpawn(&handle, failingRoutine, nullptr);
        threadJoin(&handle);
      },
      ::testing::ExitedWithCode(3), "Thread Error: Thread ended with a non-zero return value: 3");
}

// Either the nice value goes one step down, or the refusal is told; a
// refused priority warns once per process, and the work is still done.
TEST(Threads, RaisedThreadsAskForPriorityAndWarnOnce) {
  const int callerPriority = priority();
  const std::string warning = "Warning: Unable to set thread priority.\n";
  std::string out;
  consoleCaptureTo(&out);
  for (bool refuse : {false, true}) {
    out.clear();
    threadResetPriorityWarningForTesting();
    threadFailPriorityForTesting(refuse);
    for (int i = 0; i < (refuse ? 3 : 1); i++) {
      Probe probe = {0, 0, 0};
      ThreadHandle handle;
      threadSpawnRaised(&handle, probeRoutine, &probe);
      threadJoin(&handle);
      EXPECT_EQ(probe.value, 42u);
      if (refuse) { EXPECT_EQ(probe.priority, callerPriority); }
      if (!refuse) {
        EXPECT_NE(probe.priority == callerPriority - 1, out == warning)
            << probe.priority << " " << out;
      }
    }
  }
  threadFailPriorityForTesting(false);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out, warning);
}

// A thread pinned to one processor sees one, and a thread power of 0.
struct AffinityProbe { uint32_t processors, power; };

uint64_t pinnedCount(void* context) {
  AffinityProbe* probe = static_cast<AffinityProbe*>(context);
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) return 0;
  *probe = {processorCount(), defaultThreadPower()};
  return 0;
}

TEST(Threads, ProcessorCountFollowsTheAffinityMask) {
  cpu_set_t set;
  ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
  EXPECT_EQ(processorCount(), uint32_t(CPU_COUNT(&set)));
  AffinityProbe probe = {0, 99};
  ThreadHandle handle;
  threadSpawn(&handle, pinnedCount, &probe);
  threadJoin(&handle);
  EXPECT_EQ(probe.processors, 1u);
  EXPECT_EQ(probe.power, 0u);
}

}  // namespace
