// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/terminal.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace larkspur::platform {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

void OnSignal(int number) {
  g_interrupted = true;
  signal(number, SIG_DFL);
}

}  // namespace

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  return {argv + (argc > 0 ? 1 : 0), argv + argc};
}

void PrepareStandardStreams() {
  signal(SIGXFSZ, SIG_IGN);  // a file-size limit is then an error of the write, which we report
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
    for (int number : {SIGINT, SIGTERM, SIGHUP}) signal(number, OnSignal);
    return true;
  }();
  static_cast<void>(installed);
  return g_interrupted;
}

}  // namespace larkspur::platform
