// Console input: unsigned integers, menu options, path lines and the pause.
// Standard input is read through one buffer of our own so that the pause and
// the readers agree on what has been consumed.
#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/console.h"
#include "platform/console_internal.h"

namespace {

const char* testInput = nullptr;  // input text set by tests, or null

unsigned char inputBuffer[4096];
size_t inputStart = 0;
size_t inputEnd = 0;
bool inputEnded = false;  // a read has met the end of input

// Next byte of input, or -1 at the end of input.
int inputGet() {
  if (testInput != nullptr) {
    if (*testInput == '\0') {
      inputEnded = true;
      return -1;
    }
    return static_cast<unsigned char>(*testInput++);
  }
  if (inputStart == inputEnd) {
    ssize_t got;
    do {
      got = read(STDIN_FILENO, inputBuffer, sizeof inputBuffer);
    } while (got < 0 && errno == EINTR);
    if (got <= 0) {
      inputEnded = true;
      return -1;
    }
    inputStart = 0;
    inputEnd = static_cast<size_t>(got);
  }
  return inputBuffer[inputStart++];
}

// Puts back the byte that inputGet just returned.
void inputUnget() {
  if (testInput != nullptr) {
    --testInput;
  } else {
    --inputStart;
  }
}

bool isBlank(int c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'; }

[[noreturn]] void endOfInput() { fatalMessage("Unexpected end of input."); }

// Discards the rest of the current line (the line end included).
void discardLine() {
  int c;
  do {
    c = inputGet();
  } while (c != -1 && c != '\n');
}

// Decimal extraction: leading blanks skipped, an optional '+', digits. A
// token that is not all digits, or that does not fit in `limit`, is refused
// and the rest of its line discarded.
bool readBounded(uint64_t limit, uint64_t* value) {
  int c;
  do {
    c = inputGet();
  } while (c != -1 && isBlank(c));
  if (c == -1) endOfInput();
  if (c == '+') c = inputGet();
  if (c < '0' || c > '9') {
    if (c != -1) inputUnget();
    discardLine();
    return false;
  }
  uint64_t result = 0;
  bool overflow = false;
  while (c >= '0' && c <= '9') {
    uint64_t digit = static_cast<uint64_t>(c - '0');
    if (result > (limit - digit) / 10) overflow = true;
    if (!overflow) result = result * 10 + digit;
    c = inputGet();
  }
  if (c != -1 && !isBlank(c)) {
    inputUnget();
    discardLine();
    return false;
  }
  if (c != -1) inputUnget();
  if (overflow) return false;
  *value = result;
  return true;
}

}  // namespace

void consoleInputFrom(const char* text) {
  testInput = text;
  inputStart = inputEnd = 0;
  inputEnded = false;
}

bool consoleInputEnded() { return inputEnded; }

bool consoleInputAtEnd() {
  if (inputEnded) return true;
  if (testInput != nullptr) return *testInput == '\0';
  if (inputStart != inputEnd) return false;
  // Nothing buffered: look without waiting. Bytes that are there are kept in
  // the buffer for the next read; a terminal with nothing typed is not at
  // its end.
  pollfd probe = {STDIN_FILENO, POLLIN, 0};
  if (poll(&probe, 1, 0) <= 0) return false;
  if (inputGet() < 0) return true;
  inputUnget();
  return false;
}

bool readUnsigned(uint32_t* value) {
  uint64_t wide;
  if (!readBounded(UINT32_MAX, &wide)) return false;
  *value = static_cast<uint32_t>(wide);
  return true;
}

bool readUnsigned64(uint64_t* value) { return readBounded(UINT64_MAX, value); }

uint32_t readMenuOption(const char* prompt, uint32_t low, uint32_t high) {
  for (;;) {
    printWide(prompt);
    setColor(11);
    uint32_t value = 0;
    bool ok = readUnsigned(&value);
    setColor(7);
    if (ok && value >= low && value <= high) {
      printWide("\n");
      return value;
    }
  }
}

size_t readPathLine(char* buffer, size_t capacity) {
  setColor(11);
  size_t stored = 0;
  while (stored + 1 < capacity) {
    int c = inputGet();
    if (c == -1) {
      if (stored == 0) endOfInput();
      break;
    }
    if (c == '\0' || c == '\n') {
      if (stored == 0) continue;
      break;
    }
    buffer[stored++] = static_cast<char>(c);
  }
  if (capacity > 0) buffer[stored] = '\0';
  setColor(7);
  return stored;
}

void consoleWaitForKey() {
  if (testInput == nullptr && isatty(STDIN_FILENO)) {
    // A key typed now, not a line end left over from the last answer.
    inputStart = inputEnd = 0;
    tcflush(STDIN_FILENO, TCIFLUSH);
    termios saved;
    if (tcgetattr(STDIN_FILENO, &saved) == 0) {
      termios raw = saved;
      raw.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
      raw.c_cc[VMIN] = 1;
      raw.c_cc[VTIME] = 0;
      tcsetattr(STDIN_FILENO, TCSANOW, &raw);
      unsigned char key;
      ssize_t got;
      do {
        got = read(STDIN_FILENO, &key, 1);
      } while (got < 0 && errno == EINTR);
      if (got <= 0) inputEnded = true;
      tcsetattr(STDIN_FILENO, TCSANOW, &saved);
      return;
    }
  }
  inputGet();
}

void runPause() {
  printWide("Press any key to continue . . . ");
  consoleWaitForKey();
  printWide("\n");
}

void pauseExit(int status) {
  runPause();
  exit(status);
}
