// runProgram: fork, exec with pipes on the three standard streams, a poll
// loop that feeds the input and drains both outputs, a deadline, waitpid.
#include "support/run_program.h"

#include <gtest/gtest.h>

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>

namespace {

double monotonicSeconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

void closeIfOpen(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

void killGroup(pid_t pid) {
  kill(-pid, SIGKILL);
  kill(pid, SIGKILL);
}

}  // namespace

ProgramResult runProgram(const std::string& binary, const std::string& workDir,
                         const std::string& input, double timeoutSeconds,
                         const std::vector<std::string>& arguments,
                         const std::vector<std::string>& endOnOutput) {
  ProgramResult result{-1, 0, false, "", ""};
  // A child that exits before reading all input must not kill the test with
  // SIGPIPE; the child itself gets the default disposition back below.
  signal(SIGPIPE, SIG_IGN);
  int pipes[3][2];
  for (auto& p : pipes) {
    if (pipe2(p, O_CLOEXEC) != 0) {
      result.err = "runProgram: pipe failed";
      return result;
    }
  }
  // Everything the child needs is prepared before the fork: after it only
  // async-signal-safe calls are allowed.
  std::string path = binary, dir = workDir;
  std::vector<std::string> words = arguments;
  std::vector<char*> argv{path.data()};
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  pid_t pid = fork();
  if (pid == 0) {
    setsid();  // own session and process group, no controlling terminal
    struct sigaction dflt;
    memset(&dflt, 0, sizeof dflt);
    dflt.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &dflt, nullptr);
    if (dup2(pipes[0][0], STDIN_FILENO) < 0 || dup2(pipes[1][1], STDOUT_FILENO) < 0 ||
        dup2(pipes[2][1], STDERR_FILENO) < 0 || chdir(dir.c_str()) != 0) {
      _exit(126);
    }
    execv(path.c_str(), argv.data());
    _exit(127);
  }
  // fds[0] feeds the input; fds[1] and fds[2] drain the outputs.
  int fds[3] = {pipes[0][1], pipes[1][0], pipes[2][0]};
  close(pipes[0][0]);
  close(pipes[1][1]);
  close(pipes[2][1]);
  if (pid < 0) {
    for (int& fd : fds) closeIfOpen(&fd);
    result.err = "runProgram: fork failed";
    return result;
  }
  std::string* sinks[3] = {nullptr, &result.out, &result.err};
  fcntl(fds[0], F_SETFL, O_NONBLOCK);
  size_t written = 0;
  if (input.empty()) closeIfOpen(&fds[0]);

  const double deadline = monotonicSeconds() + timeoutSeconds;
  while (fds[1] >= 0 || fds[2] >= 0) {
    const double left = deadline - monotonicSeconds();
    if (left <= 0) {
      result.timedOut = true;
      killGroup(pid);
      break;
    }
    pollfd polled[3];
    int index[3], count = 0;
    for (int k = 0; k < 3; k++) {
      index[k] = fds[k] >= 0 ? count : -1;
      if (fds[k] >= 0) polled[count++] = {fds[k], short(k == 0 ? POLLOUT : POLLIN), 0};
    }
    if (poll(polled, nfds_t(count), int(std::min(left * 1000.0 + 1.0, 1000.0))) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (index[0] >= 0 && polled[index[0]].revents != 0) {
      ssize_t put = write(fds[0], input.data() + written, input.size() - written);
      if (put > 0) written += size_t(put);
      if ((put < 0 && errno != EAGAIN && errno != EINTR) || written == input.size()) closeIfOpen(&fds[0]);
    }
    for (int k = 1; k < 3; k++) {
      if (index[k] < 0 || polled[index[k]].revents == 0) continue;
      char buffer[65536];
      ssize_t got = read(fds[k], buffer, sizeof buffer);
      if (got > 0) sinks[k]->append(buffer, size_t(got));
      else if (got == 0 || (errno != EINTR && errno != EAGAIN)) closeIfOpen(&fds[k]);
    }
    const bool seen = !endOnOutput.empty() &&
                      std::all_of(endOnOutput.begin(), endOnOutput.end(), [&](const std::string& text) {
                        return result.out.find(text) != std::string::npos;
                      });
    if (seen) {
      result.timedOut = true;
      killGroup(pid);
      break;
    }
  }
  for (int& fd : fds) closeIfOpen(&fd);

  int status = 0;
  // The output streams are closed; the process ends now or is ended.
  while (true) {
    pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid) break;
    if (done < 0 && errno != EINTR) return result;
    if (monotonicSeconds() > deadline) {
      result.timedOut = true;
      killGroup(pid);
      waitpid(pid, &status, 0);
      break;
    }
    usleep(1000);
  }
  if (WIFEXITED(status)) result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) result.signal = WTERMSIG(status);
  return result;
}

std::string makeTempFolder() {
  const char* base = getenv("TMPDIR");
  std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/numbrella_test_XXXXXX";
  return mkdtemp(pattern.data()) == nullptr ? std::string() : pattern;
}

void removeTree(const std::string& path) {
  struct stat info;
  if (lstat(path.c_str(), &info) != 0) return;
  if (!S_ISDIR(info.st_mode)) {
    unlink(path.c_str());
    return;
  }
  for (const std::string& name : listFolder(path)) removeTree(path + "/" + name);
  rmdir(path.c_str());
}

std::vector<std::string> listFolder(const std::string& folder) {
  std::vector<std::string> names;
  DIR* dir = opendir(folder.c_str());
  if (dir == nullptr) return names;
  while (dirent* entry = readdir(dir)) {
    std::string name = entry->d_name;
    if (name != "." && name != "..") names.push_back(name);
  }
  closedir(dir);
  std::sort(names.begin(), names.end());
  return names;
}

std::string readWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

size_t countOccurrences(const std::string& text, const std::string& needle) {
  size_t count = 0;
  for (size_t at = text.find(needle); !needle.empty() && at != std::string::npos; at = text.find(needle, at + needle.size()))
    ++count;
  return count;
}

bool endsWith(const std::string& text, const std::string& tail) {
  return text.size() >= tail.size() &&
         text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

void expectInOrder(const std::string& text, std::initializer_list<const char*> pieces) {
  size_t at = 0;
  for (const char* piece : pieces) {
    size_t found = text.find(piece, at);
    if (found == std::string::npos) {
      ADD_FAILURE() << "missing or out of order: " << piece << "\n" << text;
      return;
    }
    at = found + strlen(piece);
  }
}
