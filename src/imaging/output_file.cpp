// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/output_file.h"

#include <algorithm>

#include "platform/disk_use.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using platform::OwnedFile;
using platform::PathKind;

constexpr size_t kTransferBytes = 1 << 20;

using Opening = Result<OwnedFile, OutputFault>;

Opening FailedAs(OutputFaultKind kind) {
  return Failed(OutputFault{kind, platform::LastFailure()});
}

Opening Opened(OwnedFile file) {
  return file.IsOpen() ? Opening(std::move(file)) : FailedAs(OutputFaultKind::kCannotMake);
}

// The existing file, emptied; a cache that a run is working on is locked and stays as it is.
Opening Replace(const std::u16string& path) {
  OwnedFile file(
      platform::OpenExistingFile(path.c_str(), platform::kOpenRead | platform::kOpenWrite));
  if (!file.IsOpen()) return FailedAs(OutputFaultKind::kCannotMake);
  if (platform::LockFileAlone(file.Handle()) == platform::LockOutcome::kLockedElsewhere) {
    return FailedAs(OutputFaultKind::kInUse);
  }
  platform::SetLastFailure(0);
  if (!platform::SetFileSize(file.Handle(), 0)) return FailedAs(OutputFaultKind::kCannotMake);
  return Opened(std::move(file));
}

}  // namespace

Opening OpenOutputFile(const std::u16string& path, bool replace,
                       std::initializer_list<std::u16string> inputs) {
  platform::SetLastFailure(0);
  const PathKind kind = platform::KindOfPath(path.c_str());
  if (kind == PathKind::kFolder) return FailedAs(OutputFaultKind::kFolder);
  if (kind == PathKind::kDevice || kind == PathKind::kOther) {
    return FailedAs(OutputFaultKind::kDevice);
  }
  if (kind == PathKind::kUnknown) return FailedAs(OutputFaultKind::kCannotMake);
  for (const std::u16string& input : inputs) {
    if (input.empty()) continue;
    if (kind == PathKind::kFile && platform::AreSameFile(path.c_str(), input.c_str())) {
      return FailedAs(OutputFaultKind::kInput);
    }
    if (platform::IsFileOnDisk(path.c_str(), input.c_str())) {
      return FailedAs(OutputFaultKind::kOnSourceDisk);
    }
  }
  platform::SetLastFailure(0);
  if (kind == PathKind::kAbsent) return Opened(OwnedFile(platform::CreateNewFile(path.c_str())));
  return replace ? Replace(path) : FailedAs(OutputFaultKind::kExists);
}

bool WriteOutput(const OwnedFile& file, std::string_view bytes) {
  for (size_t done = 0; done < bytes.size();) {
    const u32 wanted = static_cast<u32>(std::min(bytes.size() - done, kTransferBytes));
    const u32 written = platform::WriteFileAt(file.Handle(), bytes.data() + done, wanted, done);
    if (written == 0) return false;
    done += written;
  }
  return platform::SyncFile(file.Handle());
}

std::u16string UnfinishedName(const std::u16string& path) {
  return path + u".part";
}

bool ReplaceOutput(const std::u16string& path, std::string_view bytes) {
  const std::u16string unfinished = UnfinishedName(path);
  platform::RemoveFile(unfinished.c_str());  // a killed run left it
  OwnedFile file(platform::CreateNewFile(unfinished.c_str()));
  if (!file.IsOpen()) return false;
  bool isDone = WriteOutput(file, bytes);
  file = OwnedFile();
  isDone = isDone && platform::RenameOver(unfinished.c_str(), path.c_str());
  const u32 error = platform::LastFailure();
  if (!isDone) platform::RemoveFile(unfinished.c_str());
  platform::SetLastFailure(error);
  return isDone;
}

}  // namespace larkspur
