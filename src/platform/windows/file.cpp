// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/file.h"

#include <windows.h>

#include <winioctl.h>

#include "platform/system_error.h"
#include "platform/windows/native_path.h"
#include "platform/windows/win32.h"

namespace larkspur::platform {
namespace {

constexpr i64 kUnixEpochSeconds = 11644473600;  // from 1601-01-01 to 1970-01-01
constexpr i64 kTicksPerSecond = 10'000'000;     // a FILETIME counts 100 ns

// The lock is a byte far past any data: Windows locks are mandatory, and readers must not be
// blocked.
constexpr DWORD kLockOffsetHigh = 0x40000000;

HANDLE Handle(FileHandle file) {
  return reinterpret_cast<HANDLE>(file);
}

FileHandle Opened(HANDLE handle) {
  if (handle == INVALID_HANDLE_VALUE) SetLastFailure(GetLastError());
  return reinterpret_cast<FileHandle>(handle);
}

FileHandle CreateFileWith(const char16_t* path, DWORD disposition) {
  return Opened(CreateFileW(NativePath(path).c_str(), GENERIC_READ | GENERIC_WRITE,
                            FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, disposition,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
}

// Bytes that the caller may still write beside an open file; none when the system does not tell.
std::optional<u64> FreeBytesBeside(HANDLE file) {
  wchar_t path[32768];
  const DWORD length = GetFinalPathNameByHandleW(file, path, 32768, 0);
  if (length == 0 || length >= 32768) return std::nullopt;
  return FreeBytes(FromWide(path).c_str());
}

// With its last separator, so that nothing but a folder answers to it.
std::wstring FolderOf(const char16_t* path) {
  const std::wstring whole = NativePath(path);
  const size_t cut = whole.find_last_of(L"\\/");
  return cut == std::wstring::npos ? L"." : whole.substr(0, cut + 1);
}

OVERLAPPED At(u64 offset) {
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(offset);
  place.OffsetHigh = static_cast<DWORD>(offset >> 32);
  return place;
}

const FILETIME* Convert(const std::optional<i64>& seconds, FILETIME* out) {
  if (!seconds) return nullptr;
  const u64 ticks = static_cast<u64>((*seconds + kUnixEpochSeconds) * kTicksPerSecond);
  *out = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
  return out;
}

bool IsDevicePath(const char16_t* path) {
  return path[0] == u'\\' && path[1] == u'\\' && path[2] == u'.' && path[3] == u'\\';
}

}  // namespace

FileHandle OpenExistingFile(const char16_t* path, u32 mode) {
  const DWORD access =
      (mode & kOpenRead ? GENERIC_READ : 0) | (mode & kOpenWrite ? GENERIC_WRITE : 0);
  const DWORD share = mode & kOpenExclusive ? 0 : FILE_SHARE_READ | FILE_SHARE_WRITE;
  return Opened(
      CreateFileW(NativePath(path).c_str(), access, share, nullptr, OPEN_EXISTING, 0, nullptr));
}

FileHandle CreateEmptyFile(const char16_t* path) {
  return CreateFileWith(path, CREATE_ALWAYS);
}

FileHandle CreateNewFile(const char16_t* path) {
  return CreateFileWith(path, CREATE_NEW);
}

void CloseFile(FileHandle file) {
  CloseHandle(Handle(file));
}

u32 ReadFileAt(FileHandle file, void* buffer, u32 length, u64 offset) {
  OVERLAPPED place = At(offset);
  DWORD moved = 0;
  if (!ReadFile(Handle(file), buffer, length, &moved, &place)) {
    const DWORD error = GetLastError();
    if (error != ERROR_HANDLE_EOF) SetLastFailure(error);
  }
  return moved;
}

u32 WriteFileAt(FileHandle file, const void* buffer, u32 length, u64 offset) {
  OVERLAPPED place = At(offset);
  DWORD moved = 0;
  Succeeded(WriteFile(Handle(file), buffer, length, &moved, &place));
  return moved;
}

u64 FileSize(FileHandle file) {
  LARGE_INTEGER size;
  return Succeeded(GetFileSizeEx(Handle(file), &size)) ? static_cast<u64>(size.QuadPart) : 0;
}

bool SetFileSize(FileHandle file, u64 bytes) {
  LARGE_INTEGER end;
  end.QuadPart = static_cast<LONGLONG>(bytes);
  return Succeeded(SetFilePointerEx(Handle(file), end, nullptr, FILE_BEGIN)) &&
         Succeeded(SetEndOfFile(Handle(file)));
}

bool ReserveRoom(FileHandle file, u64 offset, u64 bytes) {
  // The file systems of Windows give a file its clusters when it grows, but for sparse files.
  FILE_STANDARD_INFO info;
  if (GetFileInformationByHandleEx(Handle(file), FileStandardInfo, &info, sizeof info) &&
      static_cast<u64>(info.AllocationSize.QuadPart) >= offset + bytes) {
    return true;
  }
  const auto room = FreeBytesBeside(Handle(file));
  if (!room || *room >= bytes) return true;
  SetLastFailure(ERROR_DISK_FULL);
  return false;
}

void MakeSparse(FileHandle file) {
  DWORD returned = 0;
  DeviceIoControl(Handle(file), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &returned, nullptr);
}

std::optional<DataStretch> NextData(FileHandle file, u64 from) {
  const u64 size = FileSize(file);
  if (from >= size) return std::nullopt;
  FILE_ALLOCATED_RANGE_BUFFER asked{}, found{};
  asked.FileOffset.QuadPart = static_cast<LONGLONG>(from);
  asked.Length.QuadPart = static_cast<LONGLONG>(size - from);
  DWORD returned = 0;
  const bool answered = DeviceIoControl(Handle(file), FSCTL_QUERY_ALLOCATED_RANGES, &asked,
                                        sizeof asked, &found, sizeof found, &returned, nullptr) ||
                        GetLastError() == ERROR_MORE_DATA;
  if (!answered) return DataStretch{from, size};
  if (returned < sizeof found) return std::nullopt;
  const u64 start = static_cast<u64>(found.FileOffset.QuadPart);
  return DataStretch{start, start + static_cast<u64>(found.Length.QuadPart)};
}

bool SyncFile(FileHandle file) {
  return Succeeded(FlushFileBuffers(Handle(file)));
}

void BeginFlush(FileHandle) {}  // the system writes by itself after a second or so

bool SetFileTimes(FileHandle file, const FileTimes& times) {
  FILETIME creation, access, write;
  return Succeeded(SetFileTime(Handle(file), Convert(times.creation, &creation),
                               Convert(times.access, &access), Convert(times.write, &write)));
}

LockOutcome LockFileAlone(FileHandle file) {
  OVERLAPPED place{};
  place.OffsetHigh = kLockOffsetHigh;
  if (LockFileEx(Handle(file), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                 &place)) {
    return LockOutcome::kLocked;
  }
  const DWORD error = GetLastError();
  SetLastFailure(error);
  const bool held = error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING;
  return held ? LockOutcome::kLockedElsewhere : LockOutcome::kUnsupported;
}

std::optional<FileIdentity> IdentityOf(FileHandle file) {
  BY_HANDLE_FILE_INFORMATION info;
  if (!Succeeded(GetFileInformationByHandle(Handle(file), &info))) return std::nullopt;
  return FileIdentity{info.dwVolumeSerialNumber,
                      u64{info.nFileIndexHigh} << 32 | info.nFileIndexLow};
}

bool IsSameFile(FileHandle one, FileHandle other) {
  const auto identity = IdentityOf(one);
  return identity && identity == IdentityOf(other);
}

bool AreSameFile(const char16_t* one, const char16_t* other) {
  const OwnedFile a(OpenExistingFile(one, kOpenRead)), b(OpenExistingFile(other, kOpenRead));
  return a.IsOpen() && b.IsOpen() && IsSameFile(a.Handle(), b.Handle());
}

std::u16string FullPath(const char16_t* path) {
  const std::wstring full = AbsolutePath(Wide(path));
  return FromWide(full.c_str());
}

PathKind KindOfPath(const char16_t* path) {
  // Some names are devices in every folder: FullPath tells.
  if (IsDevicePath(path) || IsDevicePath(FullPath(path).c_str())) return PathKind::kDevice;
  const DWORD attributes = GetFileAttributesW(NativePath(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) {
    const DWORD error = GetLastError();
    SetLastFailure(error);
    const bool absent = error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
    return absent ? PathKind::kAbsent : PathKind::kUnknown;
  }
  return attributes & FILE_ATTRIBUTE_DIRECTORY ? PathKind::kFolder : PathKind::kFile;
}

bool RenameToUnused(const char16_t* from, const char16_t* to) {
  return Succeeded(
      MoveFileExW(NativePath(from).c_str(), NativePath(to).c_str(), MOVEFILE_WRITE_THROUGH));
}

bool RenameOver(const char16_t* from, const char16_t* to) {
  return Succeeded(MoveFileExW(NativePath(from).c_str(), NativePath(to).c_str(),
                               MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH));
}

bool RemoveFile(const char16_t* path) {
  return Succeeded(DeleteFileW(NativePath(path).c_str()));
}

bool HasFolder(const char16_t* path) {
  return Succeeded(GetFileAttributesW(FolderOf(path).c_str()) != INVALID_FILE_ATTRIBUTES);
}

bool SyncFolderOf(const char16_t*) {
  return true;  // RenameToUnused has the system write it through
}

std::optional<u64> FreeBytes(const char16_t* path) {
  const std::wstring place =
      KindOfPath(path) == PathKind::kFile ? FolderOf(path) : NativePath(path);
  ULARGE_INTEGER available;
  if (!Succeeded(GetDiskFreeSpaceExW(place.c_str(), &available, nullptr, nullptr))) {
    return std::nullopt;
  }
  return available.QuadPart;
}

// A handle without buffering makes the file system flush and drop what it holds of the file.
void DropCachedPages(const char16_t* path) {
  const HANDLE file = CreateFileW(NativePath(path).c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                  OPEN_EXISTING, FILE_FLAG_NO_BUFFERING, nullptr);
  if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
}

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
