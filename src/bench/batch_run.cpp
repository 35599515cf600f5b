// The batch runs: trials of each size, Benchmarks.txt row by row, and the
// curve redrawn after every size.
#include <algorithm>
#include <cstring>
#include <ctime>
#include <vector>

#include "bench/batch.h"
#include "bench/batch_curve.h"
#include "bench/benchmark.h"
#include "bench/checksum.h"
#include "bench/report.h"
#include "digits/digit_writer.h"
#include "platform/console.h"

namespace {

constexpr uint64_t tableBytes = 1024;

}  // namespace

double batchTrial(ClockInfo* clock, uint64_t digits, uint32_t threadPower,
                  int64_t expectedLastDigits) {
  double seconds = benchmarkPiRun(clock, digits, threadPower, expectedLastDigits);
  if (expectedLastDigits != -1) printBenchmarkSuccess();
  clockFinish(clock);
  return seconds;
}

void batchRun(BatchSettings* batch) {
  const int32_t type = batch->batchType;
  DigitStream table;
  digitStreamOpen(nullptr, &table, "Benchmarks.txt", tableBytes);
  writeBenchmarkHeader(&table, &batch->clock, batch->threadPower);
  const BatchCurveTitle title{batch->clock.processorName, batch->threadPower, time(nullptr)};
  std::vector<BatchPoint> points;
  // An empty frame at once: a browser can open the curve before the first size.
  writeBatchCurve("Benchmarks.svg", title, points.data(), 0);

  for (uint64_t size = batch->startSize; size != 0 && size <= batch->endSize;
       size = batchNextSize(type, size)) {
    const int64_t expected = batchExpectedDigits(type, size);
    BatchPoint point{size, 0, 0, 0};
    double total = 0;
    do {
      double seconds = batchTrial(&batch->clock, size, batch->threadPower, expected);
      total += seconds;
      point.bestSeconds = point.trials == 0 ? seconds : std::min(point.bestSeconds, seconds);
      point.slowestSeconds = std::max(point.slowestSeconds, seconds);
      point.trials += 1;
    } while (point.trials < batch->maxIterations && total < double(batch->stopAfterSeconds));

    // Every size gets its checksum, a Dense one too, though no known digits
    // stand behind it.
    makeChecksum(&batch->clock, size, batch->threadPower, point.bestSeconds);
    printBatchResult(size, point.trials, total, point.bestSeconds, &batch->clock,
                     batch->threadPower);
    writeBenchmarkRow(&table, size, point.bestSeconds, batch->clock.checksumText);
    points.push_back(point);
    writeBatchCurve("Benchmarks.svg", title, points.data(), uint32_t(points.size()));
  }
  digitStreamClose(&table);
}

void batchBenchmarkMenu() {
  BatchSettings batch;
  initBatchSettings(&batch);
  batchMenu(&batch);
  batchRun(&batch);
}
