// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/output_file.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/path_text.h"
#include "platform/clock.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using platform::OwnedFile;
using platform::PathKind;

constexpr size_t kTransferBytes = 1 << 20;
constexpr u32 kNameTries = 16;

using Opening = Result<OutputFile, OutputFault>;

Opening FailedAs(OutputFaultKind kind) {
  return Failed(OutputFault{kind, platform::LastFailure()});
}

Opening Opened(OwnedFile file, const std::u16string& madeAt) {
  if (!file.IsOpen()) return FailedAs(OutputFaultKind::kCannotMake);
  return OutputFile(std::move(file), madeAt);
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
  return Opened(std::move(file), {});
}

}  // namespace

void OutputFile::Discard() {
  const u32 error = platform::LastFailure();
  m_file.Close();
  if (!m_madeAt.empty()) platform::RemoveFile(m_madeAt.c_str());
  platform::SetLastFailure(error);
}

Opening OpenOutputFile(const std::u16string& path, bool replace,
                       const std::vector<std::u16string>& inputs) {
  platform::SetLastFailure(0);
  const PathKind kind = platform::KindOfPath(path.c_str());
  if (kind == PathKind::kFolder) return FailedAs(OutputFaultKind::kFolder);
  if (kind == PathKind::kDevice || kind == PathKind::kOther) {
    return FailedAs(OutputFaultKind::kDevice);
  }
  if (kind == PathKind::kUnknown) return FailedAs(OutputFaultKind::kCannotMake);
  for (const std::u16string& input : inputs) {
    if (input.empty()) continue;
    const bool isSame = kind == PathKind::kFile
                            ? platform::AreSameFile(path.c_str(), input.c_str())
                            : platform::FullPath(path.c_str()) == platform::FullPath(input.c_str());
    if (isSame) {
      return FailedAs(OutputFaultKind::kInput);
    }
    if (platform::IsFileOnDisk(path.c_str(), input.c_str())) {
      return FailedAs(OutputFaultKind::kOnSourceDisk);
    }
  }
  platform::SetLastFailure(0);
  if (kind == PathKind::kAbsent) {
    return Opened(OwnedFile(platform::CreateNewFile(path.c_str())), path);
  }
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

OwnedFile MakeUnfinished(const std::u16string& path, std::u16string* unfinished) {
  OwnedFile made;
  for (u32 tries = 0; tries < kNameTries && !made.IsOpen(); ++tries) {
    const u32 number = platform::TickCount() + tries;
    *unfinished = path + WideFromUtf8(fmt::format(".larkspur-new-{:08x}", number));
    made = OwnedFile(platform::CreateNewFile(unfinished->c_str()));
  }
  return made;
}

bool ReplaceOutput(const std::u16string& path, std::string_view bytes) {
  std::u16string unfinished;
  OwnedFile file = MakeUnfinished(path, &unfinished);
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
