// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/windows/native_path.h"

#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

// Folders must leave room for an 8.3 name below the limit of 260.
constexpr size_t kClassicLimit = 248;

bool StartsWith(const std::wstring& text, const wchar_t* prefix) {
  return text.rfind(prefix, 0) == 0;
}

}  // namespace

std::wstring AbsolutePath(const std::wstring& path) {
  const DWORD needed = GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
  std::wstring full(needed, L'\0');
  const DWORD length = GetFullPathNameW(path.c_str(), needed, full.data(), nullptr);
  if (length == 0 || length >= needed) return path;
  full.resize(length);
  return full;
}

std::wstring NativePath(const char16_t* path) {
  const std::wstring given(Wide(path));
  if (StartsWith(given, L"\\\\?\\") || StartsWith(given, L"\\\\.\\")) return given;
  if (given.size() < kClassicLimit) return given;
  const std::wstring full = AbsolutePath(given);
  if (StartsWith(full, L"\\\\")) return L"\\\\?\\UNC\\" + full.substr(2);
  return L"\\\\?\\" + full;
}

}  // namespace larkspur::platform
