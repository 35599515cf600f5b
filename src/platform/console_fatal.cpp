// The fatal endings that every module uses, and the text of system errors.
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/console.h"

namespace {

const char* const closingText =
    "If this error shows up consistantly with the current options,\n"
    "please report it as a bug.\n\n"
    "If this error comes and goes with the current options,\n"
    "please check your hardware for reliability issues.\n"
    "Are you overclocking?\n\n"
    "Terminating Program...\n";

// Ends the process where a debugger can catch it: a deliberate read of
// address 0. If that read is survived, pause once more and exit with it.
[[noreturn]] void crashDeliberately() {
  runPause();
  volatile int* nowhere = nullptr;
  int value = *nowhere;
  runPause();
  exit(value);
}

[[noreturn]] void assertionLayout(const char* title, const char* place, const char* detail1,
                                  const char* detail2) {
  printWide("\n\n");
  printWide(title);
  printWide("\n\n");
  printWide(place);
  printWide(detail1);
  printWide("\n\n");
  printWide(detail2);
  printWide("\n\n\n");
  printWide(closingText);
  crashDeliberately();
}

}  // namespace

void fatalMessage(const char* text) {
  printWide("\n\n");
  setColor(12);
  printWide(text);
  setColor(7);
  printWide("\n\n");
  pauseExit(1);
}

void fatalMemory() { fatalMessage("Memory Allocation Failure."); }

void assertionFailure(const char* place, const char* detail1, const char* detail2) {
  assertionLayout("FATAL ERROR: Assertion Failure", place, detail1, detail2);
}

void limitExceeded(const char* algorithm, const char* detail) {
  assertionLayout("FATAL ERROR: Limit Exceeded", "Architectural Limit Exceeded: ", algorithm,
                  detail);
}

void invalidParameters(const char* operation, const char* detail) {
  assertionFailure("Invalid Function Parameters: ", operation, detail);
}

void algorithmicFailure(const char* detail1, const char* detail2) {
  assertionFailure("Critical Algorithmic Failure: ", detail1, detail2);
}

std::string systemErrorText(int errorCode, SystemErrorKind kind) {
  switch (errorCode) {
    case EACCES:
    case EPERM:
      return "Access Denied";
    case ENOMEM:
      return "Not Enough Memory";
    case EIO:
      if (kind == SystemErrorWrite) return "Write Fault";
      if (kind == SystemErrorRead) return "Read Fault";
      break;
    default:
      break;
  }
  return std::string("Unknown Error, See:\n") + strerror(errorCode);
}

void reportSystemError(int errorCode, SystemErrorKind kind) {
  printWide("\n\n");
  printNarrow("Error Code: %d\n", errorCode);
  printWide("    ");
  printWide(systemErrorText(errorCode, kind));
  printWide("\n");
}
