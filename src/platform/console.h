// Console primitives: coloured text, number formats, input readers, the
// progress path of long recursions, and the fatal-error layouts that every
// other module ends in. All program text goes through printWide, which checks
// every write; a failed write ends the process with status 1.
#pragma once

#include <cstdint>
#include <string>

// ---- Colours ---------------------------------------------------------------
// Console attribute numbers with fixed meanings: 2 dark green, 3 dark cyan,
// 5 dark magenta, 6 dark yellow, 7 default, 9 light blue, 10 light green,
// 11 light cyan, 12 light red, 13 light magenta, 14 yellow. Escapes are sent
// only when standard output is a terminal.
void setColor(int attribute);
void colorDefault();
void colorBlue();
void colorGreen(bool bright);
void colorCyan(bool bright);
void colorMagenta(bool bright);
void colorYellow(bool bright);
void colorRed();
// What setColor(attribute) would send ("" when it sends nothing), for a
// coloured line that must go out in one write (threads that share the
// console).
std::string colorText(int attribute);

// ---- Output ----------------------------------------------------------------
// Writes the text; any failure is the fatal console path.
void printWide(const char* text);
void printWide(const std::string& text);
// printf-style output, checked like printWide.
void printNarrow(const char* format, ...) __attribute__((format(printf, 1, 2)));
// Thousands separators, right-aligned in `width` columns (0: no padding).
void printGrouped(uint64_t value, uint32_t width);
// Three significant digits with a unit from " bytes" to " EB", steps of 1024.
void printBytes(uint64_t size);
// "%0.3f seconds  ( %0.3f hours )\n".
void printTime(double seconds);
// "\r", 63 blanks, "\r".
void clearStatusLine();

// The same formats as text, for callers and tests that need the string.
std::string formatGrouped(uint64_t value, uint32_t width);
std::string formatBytes(uint64_t size);
std::string formatTime(double seconds);

// Test hook: while set, console output is appended to `sink` instead of being
// written to standard output (and colours are never emitted). Null restores.
void consoleCaptureTo(std::string* sink);

// ---- Input -----------------------------------------------------------------
// Reads an unsigned decimal integer. Returns true and stores it on success;
// on text that is not a number (or out of range) the rest of the line is
// discarded, the target is unchanged and false is returned. At the end of
// input the process ends with "Unexpected end of input." (status 1).
bool readUnsigned(uint32_t* value);
bool readUnsigned64(uint64_t* value);
// Prints `prompt` and reads until a value in [low, high] is typed; prints "\n".
uint32_t readMenuOption(const char* prompt, uint32_t low, uint32_t high);
// Reads one line (blanks kept); a line end before any character is skipped.
// At most capacity - 1 characters are stored. Returns the stored length.
size_t readPathLine(char* buffer, size_t capacity);
// Test hook: input comes from this text instead of standard input (null
// restores standard input).
void consoleInputFrom(const char* text);
// Whether a read (or a pause) has met the end of input: no one is left to
// answer, so a step that would ask again or wait for a key ends the run.
bool consoleInputEnded();
// The same, also looking (without waiting) whether standard input is at its
// end now; what it reads stays buffered for later reads. For loops that
// retry on their own and would otherwise repeat for ever.
bool consoleInputAtEnd();

// ---- Pause and exit --------------------------------------------------------
// "Press any key to continue . . . " and one key (one byte when not a
// terminal); returns at once at the end of input.
void runPause();
[[noreturn]] void pauseExit(int status);

// ---- Timer -----------------------------------------------------------------
uint64_t timerStart();
double timerSeconds(uint64_t start);
// Wall-clock milliseconds (real-time clock), used for progress throttling.
uint64_t wallClockMilliseconds();

// ---- Progress path ---------------------------------------------------------
// One process-wide path of "0", "1", "-", ":" and percentages shown by the
// long recursions. Only the thread at the top of a recursion touches it.
struct ProgressPath {
  char text[63];          // at most 62 characters and a terminator
  uint32_t depth;         // goes on counting beyond the buffer
  uint64_t lastPrintMs;   // wall-clock time of the last print
  bool printedSinceReset;
};
ProgressPath& progressPath();
void progressReset();
void progressPush(char c);
void progressReplace(char c);
void progressPop();
// Pushes (or pops) several characters at once, such as a percentage.
void progressPushText(const char* text);
void progressPopCount(uint32_t count);
// Prints "\r", label, the path in colour 10, `extra`, blanks to column 63,
// when 1000 ms have passed since the last print or nothing has been printed
// since the reset. Returns true when it printed.
bool progressPrint(const char* label, const char* extra);

// ---- Fatal endings ---------------------------------------------------------
// "\n\n", colour 12, text, colour 7, "\n\n", pause, exit 1.
[[noreturn]] void fatalMessage(const char* text);
[[noreturn]] void fatalMemory();
// "FATAL ERROR: Assertion Failure" layout; ends by a deliberate null read.
[[noreturn]] void assertionFailure(const char* place, const char* detail1, const char* detail2);
// "FATAL ERROR: Limit Exceeded", "Architectural Limit Exceeded: " algorithm,
// the detail (may be empty), then the closing text and end of an assertion.
[[noreturn]] void limitExceeded(const char* algorithm, const char* detail);
// The assertion layout with "Invalid Function Parameters: " operation.
[[noreturn]] void invalidParameters(const char* operation, const char* detail);
// The assertion layout with "Critical Algorithmic Failure: " detail1.
[[noreturn]] void algorithmicFailure(const char* detail1, const char* detail2);

// Direction of the failed operation, which picks "Read Fault"/"Write Fault".
enum SystemErrorKind { SystemErrorOther = 0, SystemErrorRead = 1, SystemErrorWrite = 2 };
// "\n\n", "Error Code: ", code, "\n", "    ", the text by meaning, "\n".
// The caller decides whether to retry or to end.
void reportSystemError(int errorCode, SystemErrorKind kind);
// The text that reportSystemError prints for a code.
std::string systemErrorText(int errorCode, SystemErrorKind kind);
