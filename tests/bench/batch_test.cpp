// The batch: its ladders, the settings menu and the curve's document.
#include "bench/batch.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "bench/batch_curve.h"
#include "bench/benchmark.h"
#include "platform/console.h"
#include "support/run_program.h"

namespace {

std::vector<uint64_t> ladder(int32_t type, uint64_t from, uint64_t to) {
  std::vector<uint64_t> sizes;
  for (uint64_t s = from; s != 0 && s <= to; s = batchNextSize(type, s)) sizes.push_back(s);
  return sizes;
}

TEST(BatchLadder, SizesAndExpectedDigitsOfEachType) {
  EXPECT_EQ(ladder(batchDense, 10000, 100000),
            (std::vector<uint64_t>{10000, 12000, 15000, 20000, 25000, 40000, 50000, 75000,
                                   100000}));
  EXPECT_EQ(ladder(batchStandard, 25000000, 250000000),
            (std::vector<uint64_t>{25000000, 50000000, 100000000, 250000000}));
  EXPECT_EQ(ladder(batchSuperPi, 1048576, 8388608),
            (std::vector<uint64_t>{1048576, 2097152, 4194304, 8388608}));
  // The tops: nothing follows the last size; below the first comes the first.
  const int32_t types[] = {batchStandard, batchSuperPi, batchDense};
  const uint64_t lasts[] = {100000000000ull, 137438953472ull, 100000000000ull};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(batchLastSize(types[i]), lasts[i]);
    EXPECT_EQ(batchNextSize(types[i], lasts[i]), 0u);
    EXPECT_EQ(batchNextSize(types[i], 1), batchFirstSize(types[i]));
  }
  // Sizes off a ladder, and every Dense size, have no known digits.
  EXPECT_EQ(batchExpectedDigits(batchSuperPi, 3000000), -1);
  EXPECT_EQ(batchExpectedDigits(batchStandard, 1048576), -1);
  EXPECT_EQ(batchExpectedDigits(batchDense, 25000000), -1);
}

TEST(BatchMenu, EachOptionChangesItsSetting) {
  BatchSettings batch;
  initBatchSettings(&batch);
  EXPECT_EQ(batch.batchType, batchStandard);
  EXPECT_EQ(batch.maxIterations, 3u);
  EXPECT_EQ(batch.stopAfterSeconds, 10u);
  EXPECT_GT(batch.clock.measuredHz, 0u);
  std::string out;
  consoleCaptureTo(&out);
  // Dense; start 12,000 (option 2); end 25,000 (option 5); k = 0; 30 s; 4 trials.
  consoleInputFrom("1\n2\n2\n2\n3\n5\n4\n0\n5\n30\n6\n4\n0\n");
  batchMenu(&batch);
  consoleInputFrom(nullptr);
  consoleCaptureTo(nullptr);
  EXPECT_EQ(batch.batchType, batchDense);
  EXPECT_EQ(batch.startSize, 12000u);
  EXPECT_EQ(batch.endSize, 25000u);
  EXPECT_EQ(batch.threadPower, 0u);
  EXPECT_EQ(batch.stopAfterSeconds, 30u);
  EXPECT_EQ(batch.maxIterations, 4u);
  expectInOrder(out, {"Batch Benchmark Pi\n\n\nCurrent Settings: (select option # to change setting)\n\n"
                      "  1     Batch Type:       Standard Sizes (25m, 50m, 100m, etc...)\n"
                      "  2     Starting Size:    25,000,000  decimal digits\n",
                      "  6     Max Iterations per size:        3\n\nMemory Needed:      ",
                      "  0     Start Benchmarks!\n\noption: ",
                      "  2   Dense: 1m, 1.2m, 1.5m, 2m, 2.5m, etc...\n\n       Dense benchmarks\n",
                      "Batch Type:       Dense (1m, 1.2m, 1.5m, 2m, 2.5m, etc...)\n",
                      "  1                 10,000                ", " 57        100,000,000,000",
                      "Select a threading mode:", "Threading Mode:    Multi-Threading Disabled\n",
                      "  5     Stop looping each size after:   30 seconds\n"
                      "  6     Max Iterations per size:        4\n"});
}

TEST(BatchCurve, LabelsEscapingAndOnePointPerSize) {
  const std::pair<int, const char*> digitLabels[] = {
      {0, "1"}, {2, "100"}, {4, "10K"}, {6, "1M"}, {8, "100M"}, {9, "1B"}, {12, "1T"}};
  for (auto [decade, text] : digitLabels) EXPECT_EQ(batchDigitsLabel(decade), text);
  const std::pair<int, const char*> timeLabels[] = {
      {-4, "0.1 ms"}, {-3, "1 ms"}, {-1, "100 ms"}, {0, "1 s"}, {3, "1000 s"}};
  for (auto [decade, text] : timeLabels) EXPECT_EQ(batchSecondsLabel(decade), text);

  char name[48] = "Brand <A&B> \"X\"";
  BatchPoint points[] = {{10000, 0.004, 0.006, 3}, {100000, 0.05, 0.05, 1}, {2000000, 1.5, 2, 2}};
  std::string svg = batchCurveSvg({name, 2, 0}, points, 3);
  EXPECT_NE(svg.find("Brand &lt;A&amp;B&gt; &quot;X&quot;"), std::string::npos);
  EXPECT_NE(svg.find("4 threads"), std::string::npos);
  EXPECT_EQ(countOccurrences(svg, "<circle class=\"best\""), 3u);
  EXPECT_EQ(countOccurrences(svg, "<polyline"), 1u);
  // Axes from 10K to 10M digits and from 1 ms to 10 s, labelled at decades.
  for (const char* tick : {">10K<", ">100K<", ">1M<", ">10M<", ">1 ms<", ">10 s<"}) {
    EXPECT_NE(svg.find(tick), std::string::npos) << tick;
  }
  EXPECT_EQ(svg.find(">100M<"), std::string::npos);
  EXPECT_NE(svg.find("2,000,000 digits: best 1.500 s, slowest 2.000 s, 2 trials"),
            std::string::npos);
}

}  // namespace
