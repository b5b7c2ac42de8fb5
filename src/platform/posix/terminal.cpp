// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/terminal.h"

#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace larkspur::platform {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnSignal(int) {
  g_interrupted = true;
}

// Else the next file to be opened, such as the cache, would be what is printed to. Opened the wrong
// way round, so that using the stream fails as it does when it is closed. What is opened gets the
// lowest number that is free, and the streams are filled from the lowest up.
void FillStream(int stream) {
  if (fcntl(stream, F_GETFD) >= 0 || errno != EBADF) return;
  open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);  // becomes the stream
}

void CatchUnlessIgnored(int number) {
  struct sigaction current;
  if (sigaction(number, nullptr, &current) == 0 && current.sa_handler == SIG_IGN) return;
  struct sigaction caught {};
  caught.sa_handler = OnSignal;
  // Without SA_RESTART: what waits for somebody to read our output is to hear of it.
  caught.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(number, &caught, nullptr);
}

}  // namespace

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

void PrepareStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) FillStream(stream);
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);  // a file-size limit is then an error of the write, which we report
}

// Not by stdio, which writes on after a signal has cut a write short.
bool WriteOutput(const void* bytes, size_t count) {
  for (size_t done = 0; done < count;) {
    const ssize_t written =
        write(STDOUT_FILENO, static_cast<const u8*>(bytes) + done, count - done);
    if (written < 0) return false;
    done += static_cast<size_t>(written);
    if (done == count || !g_interrupted) continue;
    errno = EINTR;
    return false;
  }
  return true;
}

void DropOutput() {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
}

bool IsErrorOutputATerminal() {
  return isatty(STDERR_FILENO) != 0;
}
bool IsOutputATerminal() {
  return isatty(STDOUT_FILENO) != 0;
}

u32 TerminalColumns() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_col == 0) return 80;
  return size.ws_col;
}

const std::atomic<bool>& InterruptFlag() {
  static const bool installed = [] {
    for (const int number : {SIGINT, SIGTERM, SIGHUP}) CatchUnlessIgnored(number);
    return true;
  }();
  static_cast<void>(installed);
  return g_interrupted;
}

}  // namespace larkspur::platform
