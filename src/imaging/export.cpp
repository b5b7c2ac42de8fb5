// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/export.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "platform/owned_file.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u32 kTransferSectors = 2048;
constexpr u32 kHoleSectors = 128;  // zeros are looked for in pieces of this size

bool IsZero(const u8* bytes, size_t count) {
  return bytes[0] == 0 && std::memcmp(bytes, bytes + 1, count - 1) == 0;
}

class Exporter {
 public:
  Exporter(cKVRSparseIO* image, platform::FileHandle file, const std::atomic<bool>& stop,
           const ExportMonitor& monitor)
      : m_image(image),
        m_file(file),
        m_stop(stop),
        m_monitor(monitor),
        m_buffer(new u8[u64{kTransferSectors} * kSectorBytes]) {}

  ExportResult Run() {
    const u64 sectors = m_image->GetSectorCount();
    platform::MakeSparse(m_file);
    if (!platform::SetFileSize(m_file, sectors << kSectorShift)) Fail(ExportEnd::kWriteFailed);
    if (m_result.end != ExportEnd::kDone) return m_result;
    Owned<cKVRSparseIO> reader(static_cast<cKVRSparseIO*>(m_image->Clone()));
    if (!reader) Fail(ExportEnd::kCacheFailed);
    m_image->VisitExtents(0, sectors, [&](u64 first, u64 count, SectorStatus status) {
      m_result.counts.Add(status, count);
      return reader && (status != kPresent || Copy(reader.get(), first, count));
    });
    if (m_result.end == ExportEnd::kDone && !platform::SyncFile(m_file)) {
      Fail(ExportEnd::kWriteFailed);
    }
    return m_result;
  }

 private:
  bool Fail(ExportEnd end) {
    m_result.end = end;
    m_result.systemError = platform::LastFailure();
    return false;
  }

  bool Copy(cKVRSparseIO* reader, u64 first, u64 count) {
    for (u64 done = 0; done < count;) {
      if (m_stop) return Fail(ExportEnd::kStopped);
      const u32 here = static_cast<u32>(std::min<u64>(count - done, kTransferSectors));
      reader->SetPosition(first + done);
      if (reader->Read(m_buffer.get(), here) != here) return Fail(ExportEnd::kCacheFailed);
      if (!WriteNonZero(first + done, here)) return Fail(ExportEnd::kWriteFailed);
      done += here;
      m_monitor(first + done);
    }
    return true;
  }

  bool WriteNonZero(u64 sector, u32 count) {
    for (u32 at = 0; at < count; at += kHoleSectors) {
      const u32 bytes = std::min(kHoleSectors, count - at) * kSectorBytes;
      const u8* data = m_buffer.get() + u64{at} * kSectorBytes;
      if (IsZero(data, bytes)) continue;
      if (platform::WriteFileAt(m_file, data, bytes, (sector + at) << kSectorShift) != bytes) {
        return false;
      }
    }
    return true;
  }

  cKVRSparseIO* m_image;
  platform::FileHandle m_file;
  const std::atomic<bool>& m_stop;
  const ExportMonitor& m_monitor;
  std::unique_ptr<u8[]> m_buffer;
  ExportResult m_result;
};

}  // namespace

ExportResult ExportRaw(cKVRSparseIO* image, const std::u16string& path, bool replace,
                       const std::atomic<bool>& stop, const ExportMonitor& monitor) {
  ExportResult failed;
  const platform::PathKind kind = platform::KindOfPath(path.c_str());
  const bool replaceable = replace && kind == platform::PathKind::kFile;
  if (kind != platform::PathKind::kAbsent && !replaceable) {
    failed.end = ExportEnd::kTargetExists;
    return failed;
  }
  platform::SetLastFailure(0);
  const platform::OwnedFile file(platform::CreateEmptyFile(path.c_str()));
  if (!file.IsOpen()) {
    failed.end = ExportEnd::kCannotCreate;
    failed.systemError = platform::LastFailure();
    return failed;
  }
  return Exporter(image, file.Handle(), stop, monitor).Run();
}

}  // namespace larkspur
