// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/file_source.h"

#include <windows.h>

#include "platform/system_error.h"

namespace larkspur::platform {

FileHandle OpenPastCache(FileHandle file) {
  const HANDLE direct = ReOpenFile(reinterpret_cast<HANDLE>(file), GENERIC_READ,
                                   FILE_SHARE_READ | FILE_SHARE_WRITE, FILE_FLAG_NO_BUFFERING);
  if (direct == INVALID_HANDLE_VALUE) SetLastFailure(GetLastError());
  return reinterpret_cast<FileHandle>(direct);
}

// A request that is too small is refused with an error of its own, and nothing is asked.
u32 UnitPastCache(FileHandle) {
  return kSectorBytes;
}

FailureKind KindOfFileFailure(u32 code, FileHandle file, u64 bytes) {
  const FailureKind kind = code == 0 ? FailureKind::kUnclear : KindOfFailure(code);
  if (kind == FailureKind::kMedium) return kind;
  LARGE_INTEGER size;
  const bool isThere = GetFileSizeEx(reinterpret_cast<HANDLE>(file), &size) &&
                       static_cast<u64>(size.QuadPart) >= bytes;
  if (!isThere) return FailureKind::kGone;
  return kind == FailureKind::kGone ? FailureKind::kTransport : kind;  // of this piece only
}

}  // namespace larkspur::platform
