// In a death test the console goes to standard error, where the matcher
// sees it, and the pause finds no input.
#pragma once

#include <unistd.h>

#include "platform/console.h"

inline void consoleToStandardError() {
  consoleCaptureTo(nullptr);
  dup2(STDERR_FILENO, STDOUT_FILENO);
  consoleInputFrom("");
}
