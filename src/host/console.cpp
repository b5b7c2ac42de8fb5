// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "host/console.h"

#include <windows.h>

#include "base/path_text.h"
#include "platform/windows/win32.h"

namespace larkspur::host {
namespace {

bool IsUsable(HANDLE handle) {
  return handle && handle != INVALID_HANDLE_VALUE;
}

// A program with windows is given no console, but may join that of its parent.
HANDLE Stream(DWORD number) {
  if (const HANDLE inherited = GetStdHandle(number); IsUsable(inherited)) return inherited;
  static const bool joined = AttachConsole(ATTACH_PARENT_PROCESS) != FALSE;
  return joined ? GetStdHandle(number) : nullptr;
}

void Write(HANDLE stream, const std::string& text) {
  DWORD mode = 0, written = 0;
  if (!IsUsable(stream)) return;
  if (GetConsoleMode(stream, &mode)) {
    const std::u16string wide = WideFromUtf8(text);
    WriteConsoleW(stream, wide.c_str(), static_cast<DWORD>(wide.size()), &written, nullptr);
  } else {
    WriteFile(stream, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }
}

}  // namespace

void Print(const std::string& text) {
  Write(Stream(STD_OUTPUT_HANDLE), text);
}

void Tell(const std::string& message) {
  Write(Stream(STD_ERROR_HANDLE), "larkspur-host: " + message + "\n");
}

}  // namespace larkspur::host
