// runProgram: fork, exec with pipes on the three standard streams, a poll
// loop that feeds the input and drains both outputs, a deadline, waitpid.
#include "support/run_program.h"

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

namespace {

double monotonicSeconds() {
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  return double(now.tv_sec) + double(now.tv_nsec) * 1e-9;
}

// Reads what is available on `fd` into `sink`; false at the end of the stream.
bool drain(int fd, std::string* sink) {
  char buffer[65536];
  ssize_t got = read(fd, buffer, sizeof buffer);
  if (got > 0) {
    sink->append(buffer, static_cast<size_t>(got));
    return true;
  }
  if (got < 0 && (errno == EINTR || errno == EAGAIN)) return true;
  return false;
}

void closeIfOpen(int* fd) {
  if (*fd >= 0) close(*fd);
  *fd = -1;
}

}  // namespace

ProgramResult runProgram(const std::string& binary, const std::string& workDir,
                         const std::string& input, double timeoutSeconds,
                         const std::vector<std::string>& arguments) {
  ProgramResult result{-1, 0, false, "", ""};
  // A child that exits before reading all input must not kill the test with
  // SIGPIPE; the child itself gets the default disposition back below.
  signal(SIGPIPE, SIG_IGN);

  int inPipe[2], outPipe[2], errPipe[2];
  if (pipe2(inPipe, O_CLOEXEC) != 0 || pipe2(outPipe, O_CLOEXEC) != 0 ||
      pipe2(errPipe, O_CLOEXEC) != 0) {
    result.err = "runProgram: pipe failed";
    return result;
  }
  // Everything the child needs is prepared before the fork: after it only
  // async-signal-safe calls are allowed.
  std::string path = binary;
  std::string dir = workDir;
  std::vector<std::string> words = arguments;
  std::vector<char*> argv;
  argv.push_back(path.data());
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  pid_t pid = fork();
  if (pid == 0) {
    setsid();  // own session and process group, no controlling terminal
    struct sigaction dflt;
    memset(&dflt, 0, sizeof dflt);
    dflt.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &dflt, nullptr);
    if (dup2(inPipe[0], STDIN_FILENO) < 0 || dup2(outPipe[1], STDOUT_FILENO) < 0 ||
        dup2(errPipe[1], STDERR_FILENO) < 0 || chdir(dir.c_str()) != 0) {
      _exit(126);
    }
    execv(path.c_str(), argv.data());
    _exit(127);
  }
  close(inPipe[0]);
  close(outPipe[1]);
  close(errPipe[1]);
  int inFd = inPipe[1], outFd = outPipe[0], errFd = errPipe[0];
  if (pid < 0) {
    closeIfOpen(&inFd);
    closeIfOpen(&outFd);
    closeIfOpen(&errFd);
    result.err = "runProgram: fork failed";
    return result;
  }
  fcntl(inFd, F_SETFL, O_NONBLOCK);
  size_t written = 0;
  if (input.empty()) closeIfOpen(&inFd);

  double deadline = monotonicSeconds() + timeoutSeconds;
  while (outFd >= 0 || errFd >= 0) {
    double left = deadline - monotonicSeconds();
    if (left <= 0) {
      result.timedOut = true;
      kill(-pid, SIGKILL);
      kill(pid, SIGKILL);
      break;
    }
    pollfd fds[3];
    int count = 0;
    int inIndex = -1, outIndex = -1, errIndex = -1;
    if (inFd >= 0) {
      inIndex = count;
      fds[count++] = {inFd, POLLOUT, 0};
    }
    if (outFd >= 0) {
      outIndex = count;
      fds[count++] = {outFd, POLLIN, 0};
    }
    if (errFd >= 0) {
      errIndex = count;
      fds[count++] = {errFd, POLLIN, 0};
    }
    int waitMs = static_cast<int>(std::min(left * 1000.0 + 1.0, 1000.0));
    int ready = poll(fds, static_cast<nfds_t>(count), waitMs);
    if (ready < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (inIndex >= 0 && fds[inIndex].revents != 0) {
      ssize_t put = write(inFd, input.data() + written, input.size() - written);
      if (put > 0) written += static_cast<size_t>(put);
      bool broken = put < 0 && errno != EAGAIN && errno != EINTR;
      if (broken || written == input.size()) closeIfOpen(&inFd);
    }
    if (outIndex >= 0 && fds[outIndex].revents != 0 && !drain(outFd, &result.out)) {
      closeIfOpen(&outFd);
    }
    if (errIndex >= 0 && fds[errIndex].revents != 0 && !drain(errFd, &result.err)) {
      closeIfOpen(&errFd);
    }
  }
  closeIfOpen(&inFd);
  closeIfOpen(&outFd);
  closeIfOpen(&errFd);

  int status = 0;
  // The output streams are closed; the process ends now or is ended.
  while (true) {
    pid_t done = waitpid(pid, &status, WNOHANG);
    if (done == pid) break;
    if (done < 0 && errno != EINTR) return result;
    if (monotonicSeconds() > deadline) {
      result.timedOut = true;
      kill(-pid, SIGKILL);
      kill(pid, SIGKILL);
      waitpid(pid, &status, 0);
      break;
    }
    usleep(1000);
  }
  if (WIFEXITED(status)) {
    result.exitStatus = WEXITSTATUS(status);
  } else if (WIFSIGNALED(status)) {
    result.signal = WTERMSIG(status);
  }
  return result;
}

std::string makeTempFolder() {
  const char* base = getenv("TMPDIR");
  std::string pattern =
      std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/numbrella_test_XXXXXX";
  std::vector<char> buffer(pattern.begin(), pattern.end());
  buffer.push_back('\0');
  if (mkdtemp(buffer.data()) == nullptr) return std::string();
  return std::string(buffer.data());
}

void removeTree(const std::string& path) {
  struct stat info;
  if (lstat(path.c_str(), &info) != 0) return;
  if (S_ISDIR(info.st_mode)) {
    for (const std::string& name : listFolder(path)) removeTree(path + "/" + name);
    rmdir(path.c_str());
  } else {
    unlink(path.c_str());
  }
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
  std::string text;
  FILE* file = fopen(path.c_str(), "rb");
  if (file == nullptr) return text;
  char buffer[65536];
  size_t got;
  while ((got = fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, got);
  fclose(file);
  return text;
}

size_t countOccurrences(const std::string& text, const std::string& needle) {
  if (needle.empty()) return 0;
  size_t count = 0;
  for (size_t at = text.find(needle); at != std::string::npos;
       at = text.find(needle, at + needle.size())) {
    ++count;
  }
  return count;
}
