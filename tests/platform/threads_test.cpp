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

namespace {

pid_t currentThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

struct Probe { pid_t ranOn; int priority; uint64_t value; };

uint64_t probeRoutine(void* context) {
  Probe* probe = static_cast<Probe*>(context);
  probe->ranOn = currentThreadId();
  probe->priority = getpriority(PRIO_PROCESS, static_cast<id_t>(currentThreadId()));
  probe->value = 42;
  return 0;
}

TEST(Threads, SpawnJoinAndTheInlineFallback) {
  std::string out;
  consoleCaptureTo(&out);
  Probe probe = {0, 0, 0};
  ThreadHandle handle;
  threadSpawn(&handle, probeRoutine, &probe);
  EXPECT_TRUE(handle.created);
  threadJoin(&handle);
  EXPECT_EQ(probe.value, 42u);
  EXPECT_NE(probe.ranOn, currentThreadId());
  EXPECT_FALSE(handle.created);
  // A forced failure warns and runs the routine before threadSpawn returns,
  // on this very thread; only the next spawn fails.
  Probe inlined = {0, 0, 0};
  threadFailNextSpawnsForTesting(1);
  threadSpawn(&handle, probeRoutine, &inlined);
  EXPECT_EQ(inlined.value, 42u);
  EXPECT_EQ(inlined.ranOn, currentThreadId());
  EXPECT_FALSE(handle.created);
  threadJoin(&handle);
  threadSpawn(&handle, probeRoutine, &probe);
  threadJoin(&handle);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out, "\nWarning: Unable to create thread.\n");
  EXPECT_NE(probe.ranOn, currentThreadId());
}

// Sums first .. last - 1 by two-way forks nested `power` deep.
struct RangeSum { uint64_t first, last; uint32_t power; uint64_t sum; };

uint64_t rangeSum(void* context) {
  RangeSum* job = static_cast<RangeSum*>(context);
  if (job->power == 0) {
    job->sum = 0;
    for (uint64_t i = job->first; i < job->last; i++) job->sum += i * i;
    return 0;
  }
  uint64_t middle = job->first + (job->last - job->first) / 2;
  RangeSum low = {job->first, middle, job->power - 1, 0};
  RangeSum high = {middle, job->last, job->power - 1, 0};
  ThreadHandle handle;
  threadSpawn(&handle, rangeSum, &low);
  rangeSum(&high);
  threadJoin(&handle);
  job->sum = low.sum + high.sum;
  return 0;
}

TEST(Threads, NestedForksGiveTheSerialResult) {
  const uint64_t n = 100001;
  uint64_t expected = (n - 1) * n * (2 * n - 1) / 6;
  for (uint32_t power : {0u, 3u}) {
    RangeSum job = {0, n, power, 0};
    rangeSum(&job);
    EXPECT_EQ(job.sum, expected) << power;
  }
  // With every spawn failing the same fork tree runs on one thread.
  std::string out;
  consoleCaptureTo(&out);
  threadFailNextSpawnsForTesting(7);
  RangeSum job = {0, n, 3, 0};
  rangeSum(&job);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(job.sum, expected);
  EXPECT_EQ(out.size(), 7 * std::string("\nWarning: Unable to create thread.\n").size());
}

uint64_t failingRoutine(void*) { return 3; }

TEST(Threads, NonZeroReturnIsFatalWithThatCode) {
  EXPECT_EXIT(
      {
        consoleInputFrom("");
        dup2(STDERR_FILENO, STDOUT_FILENO);
        ThreadHandle handle;
        threadSpawn(&handle, failingRoutine, nullptr);
        threadJoin(&handle);
      },
      ::testing::ExitedWithCode(3), "Thread Error: Thread ended with a non-zero return value: 3");
}

TEST(Threads, RaisedThreadsAskForPriorityAndWarnOnce) {
  int callerPriority = getpriority(PRIO_PROCESS, static_cast<id_t>(currentThreadId()));
  std::string out;
  consoleCaptureTo(&out);
  threadResetPriorityWarningForTesting();
  Probe probe = {0, 0, 0};
  ThreadHandle handle;
  threadSpawnRaised(&handle, probeRoutine, &probe);
  threadJoin(&handle);
  // Either the nice value went one step down, or the refusal was told.
  EXPECT_TRUE((probe.priority == callerPriority - 1) !=
              (out == "Warning: Unable to set thread priority.\n"))
      << probe.priority << " '" << out << "'";
  // A refused priority warns once per process, and the work is still done.
  out.clear();
  threadResetPriorityWarningForTesting();
  threadFailPriorityForTesting(true);
  for (int i = 0; i < 3; i++) {
    Probe refused = {0, 0, 0};
    threadSpawnRaised(&handle, probeRoutine, &refused);
    threadJoin(&handle);
    EXPECT_EQ(refused.value, 42u);
    EXPECT_EQ(refused.priority, callerPriority);
  }
  threadFailPriorityForTesting(false);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(out, "Warning: Unable to set thread priority.\n");
}

struct AffinityProbe { uint32_t processors, power; };

uint64_t pinnedCount(void* context) {
  AffinityProbe* probe = static_cast<AffinityProbe*>(context);
  cpu_set_t one;
  CPU_ZERO(&one);
  CPU_SET(sched_getcpu(), &one);
  if (sched_setaffinity(0, sizeof one, &one) != 0) return 0;
  probe->processors = processorCount();
  probe->power = defaultThreadPower();
  return 0;
}

TEST(Threads, ProcessorCountFollowsTheAffinityMask) {
  cpu_set_t set;
  ASSERT_EQ(sched_getaffinity(0, sizeof set, &set), 0);
  uint32_t count = static_cast<uint32_t>(CPU_COUNT(&set));
  EXPECT_EQ(processorCount(), count);
  // A thread pinned to one processor sees one, and a thread power of 0.
  AffinityProbe probe = {0, 99};
  ThreadHandle handle;
  threadSpawn(&handle, pinnedCount, &probe);
  threadJoin(&handle);
  EXPECT_EQ(probe.processors, 1u);
  EXPECT_EQ(probe.power, 0u);
}

}  // namespace
