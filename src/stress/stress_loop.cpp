// The two threads of the stress test, their endless loops over the tests,
// and the comparison that ends the run at the first mismatch.
#include <cstdlib>
#include <string>

#include "arith/fft/fft_tables.h"
#include "arith/multiply.h"
#include "constants/compute_settings.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "platform/threads.h"
#include "stress/stress.h"

namespace {

uint64_t stopAfterTests = 0;
uint64_t corruptTestNumber = 0;

// One test: a constant by two formulas, in the order of one thread.
struct StressTest {
  uint32_t constantId;
  uint32_t algorithms[2];
  const char* messages[2];
};

const StressTest piTest = {constantPi,
                           {0, 1},
                           {" digits of Pi using Chudnovsky...", " digits of Pi using Ramanujan..."}};
const StressTest eTest = {constantE,
                          {0, 1},
                          {" digits of e using exp(1)...", " digits of e using 1/exp(-1)..."}};
const StressTest log2Test = {
    constantLog2, {0, 1}, {" digits of Log(2) using Machin 1...", " digits of Log(2) using Machin 2..."}};
const StressTest zeta3Test = {constantZeta3,
                              {0, 1},
                              {" digits of Zeta(3) using A.Z. Formula 2...",
                               " digits of Zeta(3) using A.Z. Formula 1..."}};
const StressTest log10Test = {constantLog10,
                              {0, 1},
                              {" digits of Log(10) using Machin 1...",
                               " digits of Log(10) using Machin 2..."}};
const StressTest catalanRamanujanFirst = {
    constantCatalan,
    {1, 0},
    {" digits of Catalan using Ramanujan...", " digits of Catalan using Lupas..."}};
const StressTest catalanLupasFirst = {
    constantCatalan,
    {0, 1},
    {" digits of Catalan using Lupas...", " digits of Catalan using Ramanujan..."}};
const StressTest eulerTest = {constantEuler,
                              {0, 1},
                              {" digits of Euler's Constant using B.M. 2...",
                               " digits of Euler's Constant using B.M. 1..."}};

// The orders of the two threads, so that they work on different constants.
const StressTest* const threadZeroTests[] = {&piTest,    &eTest,     &log2Test,
                                             &zeta3Test, &log10Test, &catalanRamanujanFirst,
                                             &eulerTest};
const StressTest* const threadOneTests[] = {&eTest,     &log2Test,  &zeta3Test,
                                            &log10Test, &eulerTest, &catalanLupasFirst,
                                            &piTest};
constexpr uint32_t testsPerRound = 7;

struct LoopContext {
  Heap* heap;
  uint64_t workingBytes;
};

uint64_t secondThreadEntry(void* context) {
  LoopContext* loop = static_cast<LoopContext*>(context);
  stressTestLoop(loop->heap, loop->workingBytes, 0);
  return 0;
}

// "Thread n: Computing ", the digits in green, the formula in cyan, in one
// write so that the other thread's lines do not cut it.
void printComputing(const char* thread, uint64_t digits, const char* message) {
  printWide(std::string(thread) + ": Computing " + colorText(10) + formatGrouped(digits, 0) +
            colorText(11) + message + colorText(7) + "\n");
}

}  // namespace

void stressStopAfterForTesting(uint64_t tests) { stopAfterTests = tests; }
void stressCorruptTestForTesting(uint64_t testNumber) { corruptTestNumber = testNumber; }

double secondsSince(uint64_t startCounter) { return timerSeconds(startCounter); }

void stressCheck(uint32_t threadNumber, uint32_t firstWord, uint32_t secondWord,
                 uint64_t testNumber, uint64_t startTime) {
  const std::string test =
      "\nThread " + std::to_string(threadNumber) + ": Test " + formatGrouped(testNumber, 0);
  const std::string elapsed = "Elapsed Time: " + formatTime(secondsSince(startTime));
  if (firstWord == secondWord) {
    printWide(test + colorText(10) + " passed." + colorText(7) + elapsed);
    return;
  }
  printWide(test + colorText(12) + " ERROR IN COMPUTATION!!!" + colorText(7) +
            "\nDigits from two formulas do not match. Please check you hardware.\n\n" + elapsed +
            "\n");
  pauseExit(1);
}

void stressTestLoop(Heap* heap, uint64_t workingBytes, uint32_t isMain) {
  if (workingBytes <= stressSmallestWorkingBytes) fatalMessage("Insufficient Working Size");
  const uint64_t startTime = timerStart();
  const StressTest* const* tests = isMain ? threadZeroTests : threadOneTests;
  const char* thread = isMain ? "Thread 0" : "Thread 1";
  const uint32_t threadNumber = isMain ? 0 : 1;
  const uint32_t threadPower = globalThreadPower;

  for (uint64_t testNumber = 1;; ++testNumber) {
    if (stopAfterTests != 0 && testNumber > stopAfterTests) return;
    const StressTest& test = *tests[(testNumber - 1) % testsPerRound];
    uint64_t digits = stressDigitsFor(heap, test.constantId, workingBytes);
    uint32_t words[2];
    for (int formula = 0; formula < 2; ++formula) {
      printComputing(thread, digits, test.messages[formula]);
      words[formula] = stressFormulaWord(heap, test.constantId, test.algorithms[formula], digits,
                                         threadPower);
      printWide(std::string(thread) + ": Done.\n");
    }
    if (testNumber == corruptTestNumber) words[1] ^= 1;
    stressCheck(threadNumber, words[0], words[1], testNumber, startTime);
  }
}

void stressTestStart(uint64_t limit) {
  const uint64_t half = limit / 2;
  errorCount = errorCountEccDisabled;
  globalThreadPower = defaultThreadPower();

  // Both heaps live until the process ends.
  Heap* heaps = static_cast<Heap*>(malloc(2 * sizeof(Heap)));
  if (heaps == nullptr) fatalMemory();
  heapInit(nullptr, &heaps[0], half);
  heapInit(nullptr, &heaps[1], half);
  buildFftTables(~uint64_t(0));

  // A thread that cannot be created runs its loop here, alone.
  LoopContext second{&heaps[0], half};
  ThreadHandle handle;
  threadSpawn(&handle, secondThreadEntry, &second);
  if (handle.created) stressTestLoop(&heaps[1], half, 1);
  threadJoin(&handle);
}
