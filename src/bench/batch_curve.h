// Benchmarks.svg: the performance curve of a batch, seconds against decimal
// digits on log-log axes, one point per finished size at its best time with
// a bar over the spread of its trials, a line through the best times, and a
// title naming the processor, the thread count and the date. Plain SVG, so
// a browser shows it while the batch goes on.
#pragma once

#include <cstdint>
#include <ctime>
#include <string>

// One finished size of a batch.
struct BatchPoint {
  uint64_t digits;
  double bestSeconds;
  double slowestSeconds;
  uint32_t trials;
};

// What the title says.
struct BatchCurveTitle {
  const char* processorName;  // up to 48 characters, zero-filled
  uint32_t threadPower;
  time_t started;
};

// Tick labels: digit counts at powers of ten ("100K", "1M", "10M", "1B"),
// times at powers of ten ("10 ms", "1 s", "100 s").
std::string batchDigitsLabel(int decade);
std::string batchSecondsLabel(int decade);

// The whole document for `count` points, in rising digit order.
std::string batchCurveSvg(const BatchCurveTitle& title, const BatchPoint* points, uint32_t count);
// Writes the document to `path`, replacing it as a whole (a reader never
// sees half of it). A failed write is fatal ("Error Writing File.").
void writeBatchCurve(const char* path, const BatchCurveTitle& title, const BatchPoint* points,
                     uint32_t count);
