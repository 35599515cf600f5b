// The timer and the progress path of the long recursions.
#include <time.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/console.h"

namespace {

ProgressPath path = {{0}, 0, 0, false};

constexpr uint32_t pathCapacity = 62;   // characters the buffer can show
constexpr size_t progressColumns = 63;  // a progress line never goes past this

}  // namespace

uint64_t timerStart() {
  timespec now;
  if (clock_gettime(CLOCK_MONOTONIC, &now) != 0) {
    printWide("\n");
    printWide("Unable to access CPU cycle counter.");
    printWide("\n");
    exit(1);
  }
  return static_cast<uint64_t>(now.tv_sec) * 1000000000ull + static_cast<uint64_t>(now.tv_nsec);
}

double timerSeconds(uint64_t start) {
  uint64_t now = timerStart();
  const double frequency = 1000000000.0;
  return static_cast<double>(static_cast<int64_t>(now - start)) / frequency;
}

uint64_t wallClockMilliseconds() {
  timespec now;
  clock_gettime(CLOCK_REALTIME, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000ull + static_cast<uint64_t>(now.tv_nsec) / 1000000;
}

ProgressPath& progressPath() { return path; }

void progressReset() {
  path.text[0] = '\0';
  path.depth = 0;
  path.printedSinceReset = false;
}

void progressPush(char c) {
  if (path.depth < pathCapacity) {
    path.text[path.depth] = c;
    path.text[path.depth + 1] = '\0';
  }
  ++path.depth;
}

void progressReplace(char c) {
  if (path.depth > 0 && path.depth <= pathCapacity) path.text[path.depth - 1] = c;
}

void progressPop() {
  if (path.depth == 0) return;
  --path.depth;
  if (path.depth < pathCapacity) path.text[path.depth] = '\0';
}

void progressPushText(const char* text) {
  for (; *text != '\0'; ++text) progressPush(*text);
}

void progressPopCount(uint32_t count) {
  while (count-- > 0) progressPop();
}

bool progressPrint(const char* label, const char* extra) {
  uint64_t now = wallClockMilliseconds();
  if (path.printedSinceReset && now - path.lastPrintMs < 1000) return false;
  path.lastPrintMs = now;
  path.printedSinceReset = true;
  printWide("\r");
  printWide(label);
  setColor(10);
  printWide(path.text);
  setColor(7);
  printWide(extra);
  size_t used = strlen(label) + strlen(path.text) + strlen(extra);
  if (used < progressColumns) printWide(std::string(progressColumns - used, ' '));
  return true;
}
