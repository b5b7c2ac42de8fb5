// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/terminal.h"

#include <windows.h>

#include <fcntl.h>
#include <io.h>
#include <shellapi.h>
#include <stdio.h>

#include "base/path_text.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

std::atomic<bool> g_interrupted{false};

BOOL WINAPI OnControl(DWORD) {
  return !g_interrupted.exchange(true);
}

}  // namespace

std::vector<std::string> ProgramArguments(int, char**) {
  int count = 0;
  wchar_t** words = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; words && i < count; ++i) {
    arguments.push_back(Utf8FromWide(FromWide(words[i])));
  }
  LocalFree(words);
  return arguments;
}

void PrepareStandardStreams() {
  for (FILE* const stream : {stdout, stderr}) {
    if (_fileno(stream) >= 0) _setmode(_fileno(stream), _O_BINARY);  // below 0: closed
  }
  SetConsoleOutputCP(CP_UTF8);
}

bool WriteOutput(const void* bytes, size_t count) {
  return fwrite(bytes, 1, count, stdout) == count && fflush(stdout) == 0;
}

void DropOutput() {
  static_cast<void>(freopen("NUL", "wb", stdout));
}

bool IsErrorOutputATerminal() {
  return _isatty(_fileno(stderr)) != 0;
}
bool IsOutputATerminal() {
  return _isatty(_fileno(stdout)) != 0;
}

u32 TerminalColumns() {
  CONSOLE_SCREEN_BUFFER_INFO info;
  if (!GetConsoleScreenBufferInfo(GetStdHandle(STD_ERROR_HANDLE), &info)) return 80;
  return static_cast<u32>(info.srWindow.Right - info.srWindow.Left + 1);
}

const std::atomic<bool>& InterruptFlag() {
  static const bool installed = SetConsoleCtrlHandler(OnControl, TRUE) != FALSE;
  static_cast<void>(installed);
  return g_interrupted;
}

}  // namespace larkspur::platform
