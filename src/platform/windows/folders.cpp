// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/folders.h"

#include <windows.h>

#include "platform/system_error.h"
#include "platform/windows/native_path.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

bool IsDots(const wchar_t* name) {
  return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

CalendarTime LocalTimeOf(const FILETIME& time) {
  SYSTEMTIME utc, local;
  if (!FileTimeToSystemTime(&time, &utc)) return {};
  if (!SystemTimeToTzSpecificLocalTime(nullptr, &utc, &local)) local = utc;
  return {local.wYear, local.wMonth, local.wDay, local.wHour, local.wMinute, local.wSecond};
}

FolderEntry EntryOf(const WIN32_FIND_DATAW& found) {
  FolderEntry entry;
  entry.name = FromWide(found.cFileName);
  entry.isFolder = found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY;
  entry.sizeBytes = u64{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  entry.writtenAt =
      u64{found.ftLastWriteTime.dwHighDateTime} << 32 | found.ftLastWriteTime.dwLowDateTime;
  entry.written = LocalTimeOf(found.ftLastWriteTime);
  return entry;
}

class cWindowsFolders final : public cFolders {
 public:
  PathKind KindOf(const std::u16string& path) override {
    return KindOfPath(FullPath(path.c_str()).c_str());
  }

  bool Visit(const std::u16string& folder,
             const std::function<bool(const FolderEntry&)>& visit) override {
    const QuietDrives quiet;
    return VisitQuietly(folder, visit);
  }

  bool Make(const std::u16string& folder) override {
    return Succeeded(CreateDirectoryW(NativePath(folder.c_str()).c_str(), nullptr));
  }

 private:
  static bool VisitQuietly(const std::u16string& folder,
                           const std::function<bool(const FolderEntry&)>& visit) {
    std::wstring pattern = NativePath(folder.c_str());
    if (!pattern.empty() && pattern.back() != L'\\' && pattern.back() != L'/') pattern += L'\\';
    pattern += L'*';
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileExW(pattern.c_str(), FindExInfoStandard, &found,
                                           FindExSearchNameMatch, nullptr, 0);
    if (search == INVALID_HANDLE_VALUE) {
      SetLastFailure(GetLastError());
      return GetLastError() == ERROR_FILE_NOT_FOUND;  // an empty drive has not even "."
    }
    bool wanted = true;
    do {
      if (!IsDots(found.cFileName)) wanted = visit(EntryOf(found));
    } while (wanted && FindNextFileW(search, &found));
    const bool ended = wanted && GetLastError() == ERROR_NO_MORE_FILES;
    FindClose(search);
    return ended;
  }
};

}  // namespace

cFolders& SystemFolders() {
  static cWindowsFolders folders;
  return folders;
}

std::optional<std::u16string> EnvironmentText(const char16_t* name, size_t limit) {
  std::wstring text(limit + 1, L'\0');
  const DWORD length =
      GetEnvironmentVariableW(Wide(name), text.data(), static_cast<DWORD>(text.size()));
  if (length == 0 || length > limit) return std::nullopt;
  text.resize(length);
  return FromWide(text.c_str());
}

}  // namespace larkspur::platform
