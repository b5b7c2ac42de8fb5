// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/output_file.h"

#include <algorithm>

#include <fmt/format.h>

#include "base/path_text.h"
#include "io/sparse_layout.h"
#include "platform/clock.h"
#include "platform/disk_use.h"
#include "platform/system_error.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

using platform::OwnedFile;
using platform::PathKind;

constexpr size_t kTransferBytes = 1 << 20;
constexpr u32 kNameTries = 16;

using Opening = Result<OutputFile, OutputFault>;

OutputFault FaultFor(OutputFaultKind kind) {
  return {kind, platform::LastFailure()};
}

Opening Opened(OwnedFile file, const std::u16string& madeAt) {
  if (!file.IsOpen()) return Failed(FaultFor(OutputFaultKind::kCannotMake));
  return OutputFile(std::move(file), madeAt);
}

void RemoveKeepingError(const std::u16string& path) {
  const u32 error = platform::LastFailure();
  platform::RemoveFile(path.c_str());
  platform::SetLastFailure(error);
}

// The existing file, emptied; a cache or log that a run is working on is locked and
// stays as it is.
Opening Replace(const std::u16string& path) {
  OwnedFile file(
      platform::OpenExistingFile(path.c_str(), platform::kOpenRead | platform::kOpenWrite));
  if (!file.IsOpen()) return Failed(FaultFor(OutputFaultKind::kCannotMake));
  if (platform::LockFileAlone(file.Handle()) == platform::LockOutcome::kLockedElsewhere) {
    return Failed(FaultFor(OutputFaultKind::kInUse));
  }
  platform::SetLastFailure(0);
  if (!platform::SetFileSize(file.Handle(), 0))
    return Failed(FaultFor(OutputFaultKind::kCannotMake));
  return Opened(std::move(file), {});
}

}  // namespace

void OutputFile::Discard() {
  m_file.Close();
  if (!m_madeAt.empty()) RemoveKeepingError(m_madeAt);
}

std::vector<std::u16string> FilesOfCache(const std::u16string& cache) {
  std::vector<std::u16string> files = {cache, LogPathOf(cache)};
  // A path of a device may name another one by now, and devices are judged otherwise.
  const auto source = ReadHistory(files[1], kMaxSparseSectors).source;
  const std::u16string path = WideFromUtf8(source ? source->path : std::string());
  if (platform::KindOfPath(path.c_str()) == PathKind::kFile) files.push_back(path);
  return files;
}

std::optional<OutputFault> FaultOfOutput(const std::u16string& path, bool replace,
                                         const std::vector<std::u16string>& inputs) {
  platform::SetLastFailure(0);
  const PathKind kind = platform::KindOfPath(path.c_str());
  if (kind == PathKind::kFolder) return FaultFor(OutputFaultKind::kFolder);
  if (kind == PathKind::kDeadLink) return FaultFor(OutputFaultKind::kDeadLink);
  if (kind == PathKind::kDevice || kind == PathKind::kOther) {
    return FaultFor(OutputFaultKind::kDevice);
  }
  if (kind == PathKind::kUnknown) return FaultFor(OutputFaultKind::kCannotMake);
  for (const std::u16string& input : inputs) {
    if (input.empty()) continue;
    const bool isSame = kind == PathKind::kFile
                            ? platform::AreSameFile(path.c_str(), input.c_str())
                            : platform::FullPath(path.c_str()) == platform::FullPath(input.c_str());
    if (isSame) return FaultFor(OutputFaultKind::kInput);
    if (platform::IsFileOnDisk(path.c_str(), input.c_str())) {
      return FaultFor(OutputFaultKind::kOnSourceDisk);
    }
  }
  if (kind == PathKind::kFile && !replace) return FaultFor(OutputFaultKind::kExists);
  if (kind == PathKind::kAbsent && !platform::HasFolder(path.c_str())) {
    return FaultFor(OutputFaultKind::kCannotMake);
  }
  return std::nullopt;
}

Opening OpenOutputFile(const std::u16string& path, bool replace,
                       const std::vector<std::u16string>& inputs) {
  if (const auto fault = FaultOfOutput(path, replace, inputs)) return Failed(*fault);
  platform::SetLastFailure(0);
  if (platform::KindOfPath(path.c_str()) == PathKind::kFile && replace) return Replace(path);
  platform::SetLastFailure(0);
  return Opened(OwnedFile(platform::CreateNewFile(path.c_str())), path);
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

UnfinishedFile::UnfinishedFile(const std::u16string& path) : m_path(path) {
  for (u32 tries = 0; tries < kNameTries && !m_file.IsOpen(); ++tries) {
    const u32 number = platform::TickCount() + tries;
    m_unfinished = path + WideFromUtf8(fmt::format(".larkspur-new-{:08x}", number));
    m_file = OwnedFile(platform::CreateNewFile(m_unfinished.c_str()));
  }
  if (!m_file.IsOpen()) m_unfinished.clear();
}

UnfinishedFile::~UnfinishedFile() {
  m_file.Close();
  if (!m_unfinished.empty()) RemoveKeepingError(m_unfinished);
}

bool UnfinishedFile::TakeName(bool replace) {
  m_file.Close();
  const auto rename = replace ? platform::RenameOver : platform::RenameToUnused;
  if (!rename(m_unfinished.c_str(), m_path.c_str())) return false;
  m_unfinished.clear();
  if (platform::SyncFolderOf(m_path.c_str())) return true;
  if (!replace) RemoveKeepingError(m_path);
  return false;
}

bool ReplaceOutput(const std::u16string& path, std::string_view bytes) {
  UnfinishedFile file(path);
  return file.IsOpen() && WriteOutput(file.File(), bytes) && file.TakeName(true);
}

}  // namespace larkspur
