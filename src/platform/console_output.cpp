// Console output: checked writes, colours, and the number formats.
#include <signal.h>
#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/console.h"
#include "platform/console_internal.h"

namespace {

std::string* captureSink = nullptr;

// A closed pipe must show as a failed write, not kill the process.
const bool sigpipeIgnored = [] {
  signal(SIGPIPE, SIG_IGN);
  return true;
}();

bool stdoutIsTerminal() {
  static const int terminal = isatty(STDOUT_FILENO);
  return terminal != 0;
}

// ANSI foreground for each console attribute number.
const char* escapeFor(int attribute) {
  switch (attribute) {
    case 2: return "\x1b[0;32m";
    case 3: return "\x1b[0;36m";
    case 5: return "\x1b[0;35m";
    case 6: return "\x1b[0;33m";
    case 9: return "\x1b[0;94m";
    case 10: return "\x1b[0;92m";
    case 11: return "\x1b[0;96m";
    case 12: return "\x1b[0;91m";
    case 13: return "\x1b[0;95m";
    case 14: return "\x1b[0;93m";
    default: return "\x1b[0m";
  }
}

}  // namespace

// The one place that writes to standard output. Loops over short writes; a
// write that cannot progress ends the process through the console fatal path.
void consoleWriteBytes(const char* data, size_t length) {
  (void)sigpipeIgnored;
  if (captureSink != nullptr) {
    captureSink->append(data, length);
    return;
  }
  while (length > 0) {
    ssize_t written = write(STDOUT_FILENO, data, length);
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) consoleWriteFailed();
    data += written;
    length -= static_cast<size_t>(written);
  }
}

[[noreturn]] void consoleWriteFailed() {
  fputs("Error Printing To Console\n", stderr);
  fflush(stderr);
  consoleWaitForKey();
  exit(1);
}

void consoleCaptureTo(std::string* sink) { captureSink = sink; }

std::string colorText(int attribute) {
  if (captureSink != nullptr || !stdoutIsTerminal()) return "";
  return escapeFor(attribute);
}

void setColor(int attribute) { printWide(colorText(attribute)); }

void colorDefault() { setColor(7); }
void colorBlue() { setColor(9); }
void colorGreen(bool bright) { setColor(bright ? 10 : 2); }
void colorCyan(bool bright) { setColor(bright ? 11 : 3); }
void colorMagenta(bool bright) { setColor(bright ? 13 : 5); }
void colorYellow(bool bright) { setColor(bright ? 14 : 6); }
void colorRed() { setColor(12); }

void printWide(const char* text) { consoleWriteBytes(text, strlen(text)); }
void printWide(const std::string& text) { consoleWriteBytes(text.data(), text.size()); }

void printNarrow(const char* format, ...) {
  char small[512];
  va_list args;
  va_start(args, format);
  va_list copy;
  va_copy(copy, args);
  int needed = vsnprintf(small, sizeof small, format, args);
  va_end(args);
  if (needed < 0) {
    va_end(copy);
    consoleWriteFailed();
  }
  if (static_cast<size_t>(needed) < sizeof small) {
    consoleWriteBytes(small, static_cast<size_t>(needed));
  } else {
    std::string big(static_cast<size_t>(needed) + 1, '\0');
    vsnprintf(big.data(), big.size(), format, copy);
    consoleWriteBytes(big.data(), static_cast<size_t>(needed));
  }
  va_end(copy);
}

// Digits from the low end with a comma after every three; blanks fill on the
// left up to `width`. Widths above 50 print the excess as single blanks first.
std::string formatGrouped(uint64_t value, uint32_t width) {
  std::string result;
  if (width > 50) {
    result.append(width - 50, ' ');
    width = 50;
  }
  char buffer[51];
  int position = 50;
  buffer[position] = '\0';
  int digits = 0;
  do {
    if (digits > 0 && digits % 3 == 0) buffer[--position] = ',';
    buffer[--position] = static_cast<char>('0' + value % 10);
    value /= 10;
    ++digits;
  } while (value != 0);
  int length = 50 - position;
  if (static_cast<uint32_t>(length) < width) result.append(width - length, ' ');
  result.append(buffer + position);
  return result;
}

void printGrouped(uint64_t value, uint32_t width) { printWide(formatGrouped(value, width)); }

// Three significant digits; every shift truncates.
std::string formatBytes(uint64_t v) {
  static const char* const units[] = {" bytes", " KB", " MB", " GB", " TB", " PB", " EB", " ZB"};
  char buffer[64];
  if (v < 1000) {
    snprintf(buffer, sizeof buffer, "%llu bytes", static_cast<unsigned long long>(v));
    return buffer;
  }
  if (v < 1024) {
    snprintf(buffer, sizeof buffer, "0.%llu KB", static_cast<unsigned long long>((v * 100) >> 10));
    return buffer;
  }
  int unit = 1;
  while (v >= (uint64_t(1) << 20)) {
    v >>= 10;
    ++unit;
  }
  if (v >= 1000 * 1024) {
    snprintf(buffer, sizeof buffer, "0.%llu%s",
             static_cast<unsigned long long>(((v >> 10) * 100) >> 10), units[unit + 1]);
  } else if (v >= 100 * 1024) {
    snprintf(buffer, sizeof buffer, " %llu%s", static_cast<unsigned long long>(v >> 10),
             units[unit]);
  } else if (v < 10 * 1024) {
    uint64_t x = (v * 100) >> 10;
    snprintf(buffer, sizeof buffer, "%llu.%02llu%s", static_cast<unsigned long long>(x / 100),
             static_cast<unsigned long long>(x % 100), units[unit]);
  } else {
    uint64_t x = (v * 10) >> 10;
    snprintf(buffer, sizeof buffer, "%llu.%llu%s", static_cast<unsigned long long>(x / 10),
             static_cast<unsigned long long>(x % 10), units[unit]);
  }
  return buffer;
}

void printBytes(uint64_t size) { printWide(formatBytes(size)); }

std::string formatTime(double seconds) {
  char buffer[128];
  snprintf(buffer, sizeof buffer, "%0.3f seconds  ( %0.3f hours )\n", seconds,
           seconds * (1.0 / 3600));
  return buffer;
}

void printTime(double seconds) { printWide(formatTime(seconds)); }

void clearStatusLine() {
  static const std::string blank = "\r" + std::string(63, ' ') + "\r";
  printWide(blank);
}
