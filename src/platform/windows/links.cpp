// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/links.h"

#include <windows.h>

#include "platform/owned_file.h"
#include "platform/windows/native_path.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {

std::u16string FollowLinks(const std::u16string& path) {
  const DWORD attributes = GetFileAttributesW(NativePath(path.c_str()).c_str());
  const bool isLink =
      attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT);
  const OwnedFile file(isLink ? OpenExistingFile(path.c_str(), kOpenRead) : kNoFile);
  if (!file.IsOpen()) return path;
  const HANDLE handle = reinterpret_cast<HANDLE>(file.Handle());
  std::wstring target(GetFinalPathNameByHandleW(handle, nullptr, 0, 0), L'\0');
  const DWORD length =
      GetFinalPathNameByHandleW(handle, target.data(), static_cast<DWORD>(target.size()), 0);
  if (length == 0 || length >= target.size()) return path;
  target.resize(length);
  return FromWide(target.c_str());
}

}  // namespace larkspur::platform
