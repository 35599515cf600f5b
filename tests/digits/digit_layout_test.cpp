// The pieces under the digit writers: file names, the text layout of both
// radixes in all its forms (checked against the exact digits, through
// buffers small enough to be flushed mid-word), the progress lines, and the
// buffered stream with its failures.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "digits_support.h"

using namespace digits_test;

namespace {

std::string readFile(const std::string& path) { return readWholeFile(path); }

// Writes `source` with `count` digits into a file through a heap of
// `heapBytes` (0: no heap) and returns the file's text.
std::string layoutThrough(const DigitSource& source, uint64_t count, uint64_t heapBytes,
                          const char* label = nullptr, std::string* console = nullptr) {
  TempFolder folder;
  const std::string path = folder.path + "/digits.txt";
  Heap heap;
  if (heapBytes != 0) heapInit(nullptr, &heap, heapBytes);
  Capture capture;
  DigitStream stream;
  digitStreamOpen(heapBytes != 0 ? &heap : nullptr, &stream, path.c_str(), count + 64);
  EXPECT_EQ(writeDigitLayout(&stream, &source, count, label), source.length != 0 ? count : 0);
  digitStreamClose(&stream);
  if (console != nullptr) *console = capture.text;
  if (heapBytes != 0) {
    EXPECT_EQ(heap.activeBlocks, 0u);
    heapDestroy(&heap);
  }
  return readFile(path);
}

}  // namespace

TEST(DigitLayout, EveryFormAgainstTheExactDigits) {
  testbridge::Random random = testbridge::testRandom();
  // Word positions: several integer words, one, below one, far below one.
  for (int radix : {16, 10}) {
    for (int64_t position : {3, 2, 1, 0, -1, -3}) {
      for (int trial = 0; trial < 6; trial++) {
        const uint64_t n = random.between(1, trial < 3 ? 4 : 700);
        std::vector<uint32_t> words(n);
        for (auto& w : words) w = radix == 16 ? random.word() : uint32_t(random.below(billion));
        // Top words of every width, from one digit up.
        if (trial % 2 == 0) words[n - 1] >>= random.below(28);
        if (words[n - 1] == 0) words[n - 1] = 1 + uint32_t(random.below(9));
        DigitSource source{words.data(), n, int64_t(n) - position, uint32_t(radix)};
        ValueDigits value = valueDigits(words.data(), n, radix == 10 ? source.scale : -source.scale,
                                        radix, 8 * n + 8, radix == 10);
        // Counts inside the known digits, at their end and well past them.
        uint64_t count = trial < 2 ? random.between(12, 40) : value.digits.size() + random.between(0, 3000);
        if (value.point > 0 && count < uint64_t(value.point)) count = uint64_t(value.point);
        // Heaps from a few kilobytes (the minimum buffer, many flushes) up.
        uint64_t heapBytes = trial % 3 == 0 ? 0 : 5000 + random.below(3000);
        EXPECT_EQ(layoutThrough(source, count, heapBytes), expectedLayout(value, count, radix))
            << "radix " << radix << " position " << position << " words " << n << " count " << count;
      }
    }
  }
}

TEST(DigitLayout, TheFormsSpelledOutAndTheProgressLines) {
  const uint32_t e[] = {0x8aed2a6a, 0xb7e15162, 0x2}, small[] = {0x12345678, 0x00000abc};
  const uint32_t decimal[] = {123456789, 12345678}, pi[] = {141592653, 3};
  const struct { DigitSource source; uint64_t count; const char* text; } cases[] = {
      {{e, 3, 2, 16}, 1 + 16, "2.b7e151628aed2a6a"},
      {{e, 3, 2, 16}, 1 + 20, "2.b7e151628aed2a6a0000"},
      {{small, 2, 2, 16}, 5, "0.00000abc12"},  // leading zeros are not counted
      {{small, 2, 3, 16}, 3, "0.0000000000000abc"},
      {{small, 2, 0, 16}, 6, "4294967296^2 * 0.00000abc123"},
      {{decimal, 2, 0, 10}, 10, "1000000000^2 * 0.1234567812"},
      {{decimal, 2, 1, 10}, 8 + 4, "12345678.1234"},
      {{pi, 2, 1, 10}, 1 + 5, "3.14159"},
      {{nullptr, 0, 0, 16}, 1000, "0"},
      {{nullptr, 0, 0, 10}, 1000, "0"}};
  for (const auto& c : cases) EXPECT_EQ(layoutThrough(c.source, c.count, 0), c.text);
  const uint32_t words[] = {0x243f6a88, 0x3};
  std::string console;
  layoutThrough({words, 2, 1, 16}, 1 + 12345, 8192, "Writing Hexadecimal Digits:   ", &console);
  EXPECT_EQ(console, "Writing Hexadecimal Digits:   \r" + std::string(63, ' ') +
                         "\rWriting Hexadecimal Digits:   12,346  digits written\n");
  layoutThrough({words, 2, 1, 16}, 100, 0, nullptr, &console);
  EXPECT_EQ(console, "");
}

TEST(DigitStreamDeathTest, AFailedWriteEndsTheRun) {
  // /dev/full takes the file but refuses every byte.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        DigitStream stream;
        digitStreamOpen(nullptr, &stream, "/dev/full", 100000);
        for (int i = 0; i < 100; i++) digitStreamPut(&stream, '7');
        digitStreamClose(&stream);
      },
      ::testing::ExitedWithCode(1), "Error Writing File\\..*Error Code: 28");
}

TEST(DigitStreamDeathTest, CreationIsRetriedAfterAKey) {
  TempFolder folder;
  const std::string directory = folder.path + "/later";
  const std::string path = directory + "/digits.txt";
  // No one fixes the path: the attempts run out.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        consoleInputFrom("\n\n\n\n\n");  // someone presses the keys
        digitStreamOpenAttempts(2);
        DigitStream stream;
        digitStreamOpen(nullptr, &stream, path.c_str(), 100);
      },
      ::testing::ExitedWithCode(1),
      "Unable to open or create file\\.\nRe-attempting\\.\\.\\.\n.*Unable to open or create "
      "file\\.");
  // The folder appears while the writer waits: the next attempt succeeds.
  EXPECT_EXIT(
      {
        consoleToStandardError();
        consoleInputFrom("\n\n\n\n\n");
        digitStreamOpenAttempts(5);
        std::thread fixer([&] {
          usleep(200000);
          mkdir(directory.c_str(), 0755);
        });
        DigitStream stream;
        digitStreamOpen(nullptr, &stream, path.c_str(), 100);
        digitStreamPutText(&stream, "ok");
        digitStreamClose(&stream);
        fixer.join();
        fprintf(stderr, "written %s\n", readFile(path).c_str());
        exit(0);
      },
      ::testing::ExitedWithCode(0), "Re-attempting\\.\\.\\..*written ok");
}
