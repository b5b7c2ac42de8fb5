// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/system_error.h"

#include <windows.h>

#include "base/path_text.h"

namespace larkspur::platform {
namespace {

thread_local u32 t_lastFailure = 0;

}  // namespace

u32 LastFailure() {
  return t_lastFailure;
}
void SetLastFailure(u32 code) {
  t_lastFailure = code;
}

std::string FailureText(u32 code) {
  wchar_t text[512];
  DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                code, 0, text, 512, nullptr);
  while (length > 0 && text[length - 1] <= L' ') --length;
  if (length == 0) return "system error " + std::to_string(code);
  return Utf8FromWide({reinterpret_cast<const char16_t*>(text), length});
}

bool IsDiskFull(u32 code) {
  return code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL;
}

}  // namespace larkspur::platform
