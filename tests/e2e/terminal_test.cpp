// The program on a terminal (a pseudo-terminal): its texts are coloured, and
// "Press any key" takes one key, without a line end. Through a pipe neither
// happens, which the other end-to-end tests see.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include "support/run_program.h"

namespace {

// Reads from `fd` into `out` until `text` has appeared or `seconds` passed.
bool readUntil(int fd, std::string* out, const std::string& text, int seconds) {
  for (int waited = 0; out->find(text) == std::string::npos; waited++) {
    if (waited >= seconds * 10) return false;
    pollfd polled = {fd, POLLIN, 0};
    if (poll(&polled, 1, 100) <= 0) continue;
    char buffer[4096];
    const ssize_t got = read(fd, buffer, sizeof buffer);
    if (got <= 0) return out->find(text) != std::string::npos;
    out->append(buffer, size_t(got));
  }
  return true;
}

TEST(TerminalProgram, TextsAreColouredAndOneKeyContinues) {
  ScopedFolder folder;
  int terminal = -1;
  const pid_t pid = forkpty(&terminal, nullptr, nullptr, nullptr);
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    if (chdir(folder.path.c_str()) != 0) _exit(126);
    execl(NUMBRELLA_BINARY, NUMBRELLA_BINARY, static_cast<char*>(nullptr));
    _exit(127);
  }
  std::string out;
  EXPECT_TRUE(readUntil(terminal, &out, "Enter your choice:", 20)) << out;
  ASSERT_EQ(write(terminal, "8\n", 2), 2);
  EXPECT_TRUE(readUntil(terminal, &out, "Press any key to continue . . . ", 20)) << out;
  // One key, no Enter: the program goes on and ends.
  ASSERT_EQ(write(terminal, "x", 1), 1);
  int status = -1;
  for (int waited = 0; waited < 100 && waitpid(pid, &status, WNOHANG) == 0; waited++) {
    readUntil(terminal, &out, "\x01", 0);  // drain what is written meanwhile
    usleep(100000);
  }
  if (status == -1) {
    kill(pid, SIGKILL);
    waitpid(pid, &status, 0);
    ADD_FAILURE() << "the key did not end the pause";
  }
  close(terminal);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
  // The menu's colours: bright cyan input, bright yellow and the default.
  for (const char* escape : {"\x1b[0;96m", "\x1b[0;93m", "\x1b[0m"}) {
    EXPECT_NE(out.find(escape), std::string::npos) << escape;
  }
  EXPECT_NE(out.find("A Word of Warning..."), std::string::npos);
}

}  // namespace
