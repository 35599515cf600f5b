// The pieces under the digit writers: file names, integer-digit counts, the
// text layout of both radixes in all its forms (checked against the exact
// digits from GMP, through buffers small enough to be flushed mid-word), the
// progress lines, and the buffered stream with its failures.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "constants/compute_settings.h"
#include "digits/digit_writer.h"
#include "memory/heap.h"
#include "platform/console.h"
#include "writer_support.h"

using namespace writer_test;

namespace {

struct Settings {
  ComputeSettings s;
  Settings() { fillDefaultComputeSettings(nullptr, &s); }
  ~Settings() { releaseComputeSettings(&s); }
  std::string name(uint32_t radix, uint32_t labelFlag) {
    char* text = digitFileName(&s, radix, labelFlag);
    std::string copy = text;
    free(text);
    return copy;
  }
};

// Writes `source` with `count` digits into a file through a heap of
// `heapBytes` (0: no heap) and returns the file's text.
std::string layoutThrough(const DigitSource& source, uint64_t count, uint64_t heapBytes,
                          const char* label = nullptr, std::string* console = nullptr) {
  TempFolder folder;
  const std::string path = folder.path + "/digits.txt";
  Heap heap;
  if (heapBytes != 0) heapInit(nullptr, &heap, heapBytes);
  if (console != nullptr) consoleCaptureTo(console);
  DigitStream stream;
  digitStreamOpen(heapBytes != 0 ? &heap : nullptr, &stream, path.c_str(), count + 64);
  uint64_t written = writeDigitLayout(&stream, &source, count, label);
  digitStreamClose(&stream);
  if (console != nullptr) consoleCaptureTo(nullptr);
  if (source.length != 0) {
    EXPECT_EQ(written, count);
  }
  if (heapBytes != 0) {
    EXPECT_EQ(heap.activeBlocks, 0u);
    heapDestroy(&heap);
  }
  return readFile(path);
}

}  // namespace

TEST(DigitFileNames, FromTheRunsRecord) {
  Settings settings;
  EXPECT_EQ(settings.name(10, 0), "Pi - Dec - Chudnovsky.txt");
  // A path gets one slash; one that ends in either slash gets none; a long
  // one grows the name.
  const std::string longPath(300, 'a');
  const std::pair<std::string, std::string> paths[] = {
      {"/tmp/out", "/tmp/out/"}, {"/tmp/out/", "/tmp/out/"}, {"C:\\out\\", "C:\\out\\"},
      {longPath, longPath + "/"}};
  for (const auto& [path, prefix] : paths) {
    settings.s.outputPath = strdup(path.c_str());
    EXPECT_EQ(settings.name(16, 0), prefix + "Pi - Hex - Chudnovsky.txt");
    free(settings.s.outputPath);
    settings.s.outputPath = nullptr;
  }
  // Compressed output: the same name without the extension.
  const auto perFile = settings.s.digitsPerFile;
  settings.s.digitsPerFile = -1;
  EXPECT_EQ(settings.name(16, 0), "Pi - Hex - Chudnovsky");
  settings.s.digitsPerFile = perFile;
  // Sqrt(n) carries n; compute-and-verify runs take labels instead of a word.
  settings.s.constantParameter = 4294967291u;
  selectConstant(nullptr, &settings.s, constantSqrtN);
  EXPECT_EQ(settings.name(10, 0), "Sqrt(4294967291) - Dec - Newton.txt");
  selectConstant(nullptr, &settings.s, constantGoldenRatio);
  EXPECT_EQ(settings.name(16, 0), "Golden Ratio - Hex - Newton.txt");
  selectConstant(nullptr, &settings.s, constantE);
  settings.s.algorithm = 2;
  EXPECT_EQ(settings.name(16, 0), "e - Hex - Computation.txt");
  EXPECT_EQ(settings.name(10, 1), "e - Dec - Verification.txt");
  settings.s.algorithm = 1;
  EXPECT_EQ(settings.name(10, 1), "e - Dec - exp(-1).txt");
}

TEST(IntegerDigits, OfTheTopWord) {
  const std::pair<uint32_t, uint64_t> hex[] = {{0, 0},      {1, 1},       {15, 1},         {16, 2},
                                               {0xffff, 4}, {0x10000, 5}, {0xffffffffu, 8}};
  for (auto [word, digits] : hex) EXPECT_EQ(hexIntegerDigits(word), digits) << word;
  const std::pair<uint32_t, uint64_t> decimal[] = {
      {0, 0}, {1, 1}, {9, 1}, {10, 2}, {65535, 5}, {999999999, 9}, {4294967295u, 10}};
  for (auto [word, digits] : decimal) EXPECT_EQ(decimalIntegerDigits(word), digits) << word;
}

TEST(DigitLayout, EveryFormAgainstTheExactDigits) {
  testbridge::Random random = testbridge::testRandom();
  // Word positions: several integer words, one, below one, far below one.
  const int64_t positions[] = {3, 2, 1, 0, -1, -3};
  for (int radix : {16, 10}) {
    for (int64_t position : positions) {
      for (int trial = 0; trial < 6; trial++) {
        const uint64_t n = random.between(1, trial < 3 ? 4 : 700);
        std::vector<uint32_t> words(n);
        for (auto& w : words) w = radix == 16 ? random.word() : uint32_t(random.below(1000000000));
        // Top words of every width, from one digit up.
        if (trial % 2 == 0) words[n - 1] >>= random.below(28);
        if (words[n - 1] == 0) words[n - 1] = 1 + uint32_t(random.below(9));
        DigitSource source{words.data(), n, int64_t(n) - position, uint32_t(radix)};
        ValueDigits value = wordDigits(words.data(), n, source.scale, radix);
        // Counts inside the stored digits, at their end and well past them.
        const uint64_t stored = value.digits.size();
        uint64_t count = trial < 2 ? random.between(12, 40) : stored + random.between(0, 3000);
        if (value.point > 0 && count < uint64_t(value.point)) count = uint64_t(value.point);
        // Heaps from a few kilobytes (the minimum buffer, many flushes) up.
        uint64_t heapBytes = trial % 3 == 0 ? 0 : 5000 + random.below(3000);
        std::string text = layoutThrough(source, count, heapBytes);
        EXPECT_EQ(text, expectedLayout(value, count, radix))
            << "radix " << radix << " position " << position << " words " << n << " count "
            << count;
      }
    }
  }
}

TEST(DigitLayout, TheFormsSpelledOut) {
  // e in hexadecimal, one integer digit.
  const uint32_t e[] = {0x8aed2a6a, 0xb7e15162, 0x2};
  EXPECT_EQ(layoutThrough({e, 3, 2, 16}, 1 + 16, 0), "2.b7e151628aed2a6a");
  EXPECT_EQ(layoutThrough({e, 3, 2, 16}, 1 + 20, 0), "2.b7e151628aed2a6a0000");
  // Below one: the zeros after the point are written but not counted.
  const uint32_t small[] = {0x12345678, 0x00000abc};
  EXPECT_EQ(layoutThrough({small, 2, 2, 16}, 5, 0), "0.00000abc12");
  EXPECT_EQ(layoutThrough({small, 2, 3, 16}, 3, 0), "0.0000000000000abc");
  // Several integer words: the top word keeps its zeros.
  EXPECT_EQ(layoutThrough({small, 2, 0, 16}, 6, 0), "4294967296^2 * 0.00000abc123");
  // Decimal: a nine-digit group loses its top zero in that form.
  const uint32_t decimal[] = {123456789, 12345678};
  EXPECT_EQ(layoutThrough({decimal, 2, 0, 10}, 10, 0), "1000000000^2 * 0.1234567812");
  EXPECT_EQ(layoutThrough({decimal, 2, 1, 10}, 8 + 4, 0), "12345678.1234");
  const uint32_t pi[] = {141592653, 3};
  EXPECT_EQ(layoutThrough({pi, 2, 1, 10}, 1 + 5, 0), "3.14159");
  // Zero is "0" whatever the count.
  EXPECT_EQ(layoutThrough({nullptr, 0, 0, 16}, 1000, 0), "0");
  EXPECT_EQ(layoutThrough({nullptr, 0, 0, 10}, 1000, 8192), "0");
}

TEST(DigitLayout, ProgressLinesAndTheirTotal) {
  const uint32_t words[] = {0x243f6a88, 0x3};
  std::string console;
  layoutThrough({words, 2, 1, 16}, 1 + 12345, 0, "Writing Hexadecimal Digits:   ", &console);
  EXPECT_EQ(console, "Writing Hexadecimal Digits:   \r" + std::string(63, ' ') +
                         "\rWriting Hexadecimal Digits:   12,346  digits written\n");
  // Without a label nothing is printed.
  console.clear();
  layoutThrough({words, 2, 1, 16}, 100, 0, nullptr, &console);
  EXPECT_EQ(console, "");
}

// A small file takes no more buffer than its size, a large one what the
// heap can spare; the heap's mark is put back; an older longer file is
// replaced, not overwritten in place.
TEST(DigitStream, BufferFromTheFreeSpaceAndTheMarkPutBack) {
  TempFolder folder;
  const std::string path = folder.path + "/stream.txt";
  {
    std::ofstream old(path);
    old << std::string(5000, 'x');
  }
  Heap heap;
  heapInit(nullptr, &heap, 1 << 20);
  void* held = heapAllocate(&heap, 1000, 8);
  uint8_t* peak = heap.peakUsed;
  DigitStream stream;
  digitStreamOpen(&heap, &stream, path.c_str(), 10000);
  EXPECT_EQ(stream.size, 10000u);
  digitStreamPutText(&stream, "1.5");
  digitStreamClose(&stream);
  EXPECT_EQ(heap.peakUsed, peak);
  EXPECT_EQ(readFile(path), "1.5");
  const uint64_t free = heapFreeSpace(&heap);
  digitStreamOpen(&heap, &stream, path.c_str(), 1ull << 40);
  EXPECT_GT(stream.size, (1u << 20) - 8192);
  EXPECT_LE(heapBlockBytes(stream.size, 8) + 16, free);
  for (int i = 0; i < 3000000; i++) digitStreamPut(&stream, char('0' + i % 10));
  digitStreamClose(&stream);
  EXPECT_EQ(heap.peakUsed, peak);
  const std::string text = readFile(path);
  EXPECT_EQ(text.size(), 3000000u);
  EXPECT_EQ(text.substr(2999990), "0123456789");
  heapRelease(held);
  EXPECT_EQ(heap.activeBlocks, 0u);
  heapDestroy(&heap);
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
