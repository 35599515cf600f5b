// Sub-menus of the custom computation menu that take paths: where the digit
// files go and which disks take the swap files; and the path probe.
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "memory/raidfile.h"
#include "platform/console.h"
#include "shell/custom_menu.h"
#include "shell/estimate.h"

namespace {

// Longest path text read, terminator included.
constexpr size_t pathCapacity = 1024;

const char* const probeFileName = "pathcheck.zsw";

char* copyPath(const char* path) {
  size_t length = strlen(path);
  char* copy = static_cast<char*>(malloc(length + 1));
  if (copy == nullptr) fatalMemory();
  memcpy(copy, path, length + 1);
  return copy;
}

// Prints `prompt` and reads one path line, again until the probe accepts it.
void readUsablePath(const char* prompt, char* buffer) {
  for (;;) {
    printWide(prompt);
    readPathLine(buffer, pathCapacity);
    if (probeWritablePath(buffer)) return;
    colorYellow(true);
    printWide("Error: Unable to write to path.");
    colorDefault();
    printWide("\n");
  }
}

void freeSwapPaths(ComputeSettings* settings) {
  PathList* list = settings->swapPaths;
  if (list == nullptr) return;
  for (uint64_t i = 0; i < list->count; ++i) free(list->paths[i]);
  free(list->paths);
  free(list);
  settings->swapPaths = nullptr;
}

// Appends a copy of `path` to the list, creating the list on first use.
void appendSwapPath(ComputeSettings* settings, const char* path) {
  PathList* list = settings->swapPaths;
  if (list == nullptr) {
    list = static_cast<PathList*>(calloc(1, sizeof(PathList)));
    if (list == nullptr) fatalMemory();
    settings->swapPaths = list;
  }
  char** grown = static_cast<char**>(realloc(list->paths, (list->count + 1) * sizeof(char*)));
  if (grown == nullptr) fatalMemory();
  list->paths = grown;
  list->paths[list->count++] = copyPath(path);
}

}  // namespace

int probeWritablePath(const char* path) {
  size_t length = strlen(path);
  bool separator = length == 0 || path[length - 1] == '/' || path[length - 1] == '\\';
  size_t nameLength = strlen(probeFileName);
  char* probe = static_cast<char*>(malloc(length + 1 + nameLength + 1));
  if (probe == nullptr) fatalMemory();
  memcpy(probe, path, length);
  if (!separator) probe[length++] = '/';
  memcpy(probe + length, probeFileName, nameLength + 1);
  // The name of the probe file is all that is built: no file is created, so
  // every path passes here and an unusable one shows when a writer fails.
  free(probe);
  return 1;
}

void menuOutputPath(ComputeSettings* settings) {
  printWide("Enter the path to write the digits to. (e.g. \"C:\" or \"C:/temp\" )\n\n");
  char buffer[pathCapacity];
  readUsablePath("Path: ", buffer);
  printWide("\n");
  free(settings->outputPath);
  settings->outputPath = copyPath(buffer);
}

void menuSwapDisks(ComputeSettings* settings) {
  freeSwapPaths(settings);
  printWide("Enter the # of disks you wish to use:\n\n");
  uint64_t disks =
      readMenuCount("Disks (zero will use one disk at the default path): ", 0, UINT64_MAX);
  printWide(
      "Please enter the paths of each disk: (e.g. \"C:\" or \"C:/temp\" )\n"
      "Note: For maximum efficiency:\n"
      "        1 - The paths MUST be on separate physical disks.\n"
      "        2 - Each disk should be identical. (speed, size, brand...)\n"
      "        3 - Ideally, (though not required), the disks should be empty.\n");
  char buffer[pathCapacity];
  char prompt[40];
  for (uint64_t i = 0; i < disks; ++i) {
    snprintf(prompt, sizeof prompt, "Path %llu: ", (unsigned long long)i);
    readUsablePath(prompt, buffer);
    appendSwapPath(settings, buffer);
    // The count is not reset on entry: each visit adds its disks to it while
    // the list starts empty again.
    ++settings->swapDiskCount;
  }
  printWide("\n");
  estimateResources(settings);
}
