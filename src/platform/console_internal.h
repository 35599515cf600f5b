// Pieces shared by the console source files; not for use elsewhere.
#pragma once

#include <cstddef>

// Writes bytes to standard output (or the test capture), checked.
void consoleWriteBytes(const char* data, size_t length);
// The fatal console path: "Error Printing To Console" on standard error.
[[noreturn]] void consoleWriteFailed();
// Waits for one key (raw on a terminal, one byte otherwise); returns at once
// at the end of input. Prints nothing.
void consoleWaitForKey();
