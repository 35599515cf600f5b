// Runs a program in a folder with scripted standard input (a pipe, no
// terminal) and a time limit, collecting its status and both outputs; and
// helpers for the folders and files tests leave behind.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

struct ProgramResult {
  int exitStatus;   // exit code; -1 when the process died by a signal
  int signal;       // the signal that ended it, 0 when it exited
  bool timedOut;    // killed because the time limit passed
  std::string out;  // everything written to standard output
  std::string err;  // everything written to standard error
};

// Runs `binary` with `arguments` in `workDir`, feeding `input` to its
// standard input, which is closed afterwards. The process gets its own
// session (no controlling terminal); after `timeoutSeconds` its process
// group is killed and timedOut is set. With `endOnOutput`, the group is
// killed the same way as soon as standard output holds every one of those
// texts, as a person ends a run that has shown what they wait for.
ProgramResult runProgram(const std::string& binary, const std::string& workDir,
                         const std::string& input, double timeoutSeconds,
                         const std::vector<std::string>& arguments = {},
                         const std::vector<std::string>& endOnOutput = {});

// A fresh empty folder under the system's temporary directory.
std::string makeTempFolder();
// Removes a folder and everything below it.
void removeTree(const std::string& path);
// Names of the entries of a folder (no "." or ".."), sorted.
std::vector<std::string> listFolder(const std::string& folder);
// Whole contents of a file; empty when it cannot be read.
std::string readWholeFile(const std::string& path);
// Number of times `needle` occurs in `text` (non-overlapping).
size_t countOccurrences(const std::string& text, const std::string& needle);
bool endsWith(const std::string& text, const std::string& tail);
// Fails the test unless every piece occurs in `text`, each after the last.
void expectInOrder(const std::string& text, std::initializer_list<const char*> pieces);

// A fresh temporary folder, removed with its contents at the end of the scope.
struct ScopedFolder {
  std::string path = makeTempFolder();
  ~ScopedFolder() { removeTree(path); }
  std::string operator/(const std::string& name) const { return path + "/" + name; }
  bool empty() const { return listFolder(path).empty(); }
};

#ifdef NUMBRELLA_BINARY
// The program under test, built beside the end-to-end tests.
inline ProgramResult runNumbrella(const std::string& workDir, const std::string& input,
                                  double timeoutSeconds = 120.0,
                                  const std::vector<std::string>& endOnOutput = {}) {
  return runProgram(NUMBRELLA_BINARY, workDir, input, timeoutSeconds, {}, endOnOutput);
}
#endif
