// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/windows/system_library.h"

#include <string>

namespace larkspur::platform {

HMODULE LoadSystemLibrary(const wchar_t* name) {
  const HMODULE library = LoadLibraryExW(name, nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (library || GetLastError() != ERROR_INVALID_PARAMETER) return library;
  // Windows 7 before its update of 2011 does not know the flag.
  wchar_t folder[MAX_PATH];
  const UINT length = GetSystemDirectoryW(folder, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return nullptr;
  return LoadLibraryW((std::wstring(folder) + L'\\' + name).c_str());
}

}  // namespace larkspur::platform
