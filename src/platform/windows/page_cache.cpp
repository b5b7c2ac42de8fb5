// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/page_cache.h"

#include <windows.h>

#include "platform/windows/native_path.h"

namespace larkspur::platform {

// A handle without buffering makes the file system flush and drop what it holds of the file.
void DropCachedPages(const char16_t* path) {
  const HANDLE file = CreateFileW(NativePath(path).c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

}  // namespace larkspur::platform
