// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/export.h"

#include <algorithm>
#include <array>

#include "base/path_text.h"
#include "imaging/source.h"
#include "io/sparse_writer.h"
#include "platform/disk_use.h"
#include "platform/file.h"
#include "platform/system_error.h"
#include "rescue/rescue_history.h"
#include "rescue/rescue_log.h"

namespace larkspur {
namespace {

constexpr u32 kTransferSectors = 2048;
constexpr std::array<u8, 65536> kZeros{};

// Puts `count` zeros by calls of put(bytes, count).
template <typename Put>
bool EachZeros(u64 count, Put put) {
  for (u64 done = 0; done < count;) {
    const u64 here = std::min<u64>(count - done, kZeros.size());
    if (!put(kZeros.data(), here)) return false;
    done += here;
  }
  return true;
}

// A new file has its size from the beginning, so nothing needs to be written for zeros.
class FileSink final : public ExportSink {
 public:
  explicit FileSink(OutputFile file) : m_file(std::move(file)) {}

  bool Put(const u8* bytes, u64 count) override {
    m_position += count;
    return Kept(WriteSkippingZeros(m_file.File().Handle(), bytes, count, m_position - count));
  }
  bool PutZeros(u64 count) override {
    m_position += count;
    return true;
  }
  bool Finish() override { return Kept(platform::SyncFile(m_file.File().Handle())); }

 private:
  bool Kept(bool isWritten) {
    if (!isWritten) m_file.Discard();
    return isWritten;
  }

  OutputFile m_file;
  u64 m_position = 0;
};

// On a device, zeros replace what was there.
class DeviceSink final : public ExportSink {
 public:
  explicit DeviceSink(platform::OwnedFile file) : m_file(std::move(file)) {}

  bool Put(const u8* bytes, u64 count) override {
    m_position += count;
    const u32 length = static_cast<u32>(count);
    return platform::WriteFileAt(m_file.Handle(), bytes, length, m_position - count) == length;
  }
  bool PutZeros(u64 count) override {
    return EachZeros(count, [this](const u8* zeros, u64 here) { return Put(zeros, here); });
  }
  bool Finish() override { return platform::SyncFile(m_file.Handle()); }

 private:
  platform::OwnedFile m_file;
  u64 m_position = 0;
};

using Target = Result<std::unique_ptr<ExportSink>, TargetFault>;

Target FailedAs(TargetFaultKind kind) {
  return Failed(TargetFault{kind, platform::LastFailure()});
}

// Whether the cache was made from the device at `path`. A disk is known by its serial number, at
// whatever path; where one of them has none, by its path.
bool IsSourceOf(const std::u16string& cache, const std::u16string& path) {
  const auto source = ReadHistory(LogPathOf(cache), kMaxSparseSectors).source;
  if (!source) return false;
  if (platform::AreSameFile(path.c_str(), WideFromUtf8(source->path).c_str())) return true;
  if (source->serial.empty()) return false;
  const auto target = OpenSource(path, {});
  return target && target->asked->Identity().serial == source->serial &&
         target->asked->Identity().model == source->model;
}

Target OpenDevice(const std::u16string& path, u64 bytes, const std::u16string& cache) {
  if (platform::IsDiskMounted(path.c_str())) return FailedAs(TargetFaultKind::kMounted);
  if (platform::IsFileOnDisk(cache.c_str(), path.c_str())) {
    return FailedAs(TargetFaultKind::kHasCache);
  }
  platform::SetLastFailure(0);
  constexpr u32 kReadWrite = platform::kOpenRead | platform::kOpenWrite;
  platform::OwnedFile device(platform::OpenExistingFile(path.c_str(), kReadWrite));
  if (!device.IsOpen()) return FailedAs(TargetFaultKind::kCannotOpen);
  if (platform::FileSize(device.Handle()) < bytes) {
    return FailedAs(platform::LastFailure() ? TargetFaultKind::kCannotOpen
                                            : TargetFaultKind::kTooSmall);
  }
  return std::make_unique<DeviceSink>(std::move(device));
}

Target OpenFile(const std::u16string& path, u64 bytes, bool force, const std::u16string& cache) {
  auto output = OpenOutputFile(path, force, FilesOfCache(cache));
  if (!output) return Failed(TargetFault{TargetFaultKind::kNoOutput, 0, output.error()});
  platform::MakeSparse(output->File().Handle());
  if (platform::SetFileSize(output->File().Handle(), bytes)) {
    return std::make_unique<FileSink>(std::move(*output));
  }
  output->Discard();
  return FailedAs(TargetFaultKind::kCannotSize);
}

class Exporter {
 public:
  Exporter(cKVRSparseIO* reader, ExportSink* sink, const std::atomic<bool>& stop,
           const ExportMonitor& monitor)
      : m_reader(reader),
        m_sink(sink),
        m_stop(stop),
        m_monitor(monitor),
        m_buffer(new u8[u64{kTransferSectors} * kSectorBytes]) {}

  ExportResult Run(cKVRSparseIO* image, u64 first, u64 count) {
    image->VisitExtents(first, count, [&](u64 start, u64 sectors, SectorStatus status) {
      if (status == kPresent) return Copy(start, sectors);
      if (status == kUnknown || status == kMeaningless) NoteUnknown(start);
      m_result.counts.Add(status, sectors);
      return PutZeros(sectors);
    });
    if (m_result.end == ExportEnd::kDone && !m_sink->Finish()) Fail(ExportEnd::kWriteFailed);
    return m_result;
  }

 private:
  bool Fail(ExportEnd end) {
    m_result.end = end;
    m_result.systemError = platform::LastFailure();
    return false;
  }

  bool Advance(u64 sectors) {
    m_done += sectors;
    m_monitor(m_done);
    return !m_stop || Fail(ExportEnd::kStopped);
  }

  bool Copy(u64 first, u64 count) {
    for (u64 done = 0; done < count;) {
      const u32 here = static_cast<u32>(std::min<u64>(count - done, kTransferSectors));
      const u32 got = Load(first + done, here);
      if (got > 0 && !PutLoaded(got)) return false;
      done += got;
      if (got == here) continue;
      const u64 atBlockEnd = BlockEnd(first + done) - first;
      for (; done < std::min(count, atBlockEnd); ++done) {
        if (!CopyAlone(first + done)) return false;
      }
    }
    return true;
  }

  // What can be had of a block that does not come as a whole.
  bool CopyAlone(u64 sector) {
    if (Load(sector, 1) == 1) return PutLoaded(1);
    NoteUnknown(sector);
    m_result.counts.Add(kUnknown, 1);
    return PutZeros(1);
  }

  u32 Load(u64 first, u32 count) {
    m_reader->SetPosition(first);
    return m_reader->ReadStored(m_buffer.get(), count, nullptr);
  }

  bool PutLoaded(u32 count) {
    m_result.counts.Add(kPresent, count);
    const bool isPut = m_sink->Put(m_buffer.get(), u64{count} << kSectorShift);
    return isPut ? Advance(count) : Fail(ExportEnd::kWriteFailed);
  }

  u64 BlockEnd(u64 sector) const {
    const u32 blockSize = m_reader->Layout().blockSize;
    return (sector / blockSize + 1) * blockSize;
  }

  void NoteUnknown(u64 sector) {
    m_result.firstUnknown = std::min(m_result.firstUnknown.value_or(sector), sector);
  }

  bool PutZeros(u64 count) {
    constexpr u64 kAtOnce = u64{1} << 16;
    for (u64 done = 0; done < count;) {
      const u64 here = std::min(count - done, kAtOnce);
      if (!m_sink->PutZeros(here << kSectorShift)) return Fail(ExportEnd::kWriteFailed);
      done += here;
      if (!Advance(here)) return false;
    }
    return true;
  }

  cKVRSparseIO* m_reader;
  ExportSink* m_sink;
  const std::atomic<bool>& m_stop;
  const ExportMonitor& m_monitor;
  std::unique_ptr<u8[]> m_buffer;
  u64 m_done = 0;
  ExportResult m_result;
};

}  // namespace

Target OpenExportTarget(const std::u16string& path, u64 bytes, bool force,
                        const std::u16string& cache) {
  if (platform::KindOfPath(path.c_str()) != platform::PathKind::kDevice) {
    return OpenFile(path, bytes, force, cache);
  }
  if (IsSourceOf(cache, path)) return FailedAs(TargetFaultKind::kIsSource);
  return force ? OpenDevice(path, bytes, cache) : FailedAs(TargetFaultKind::kDevice);
}

bool HashingSink::Put(const u8* bytes, u64 count) {
  m_hash->Add(bytes, count);
  return m_target->Put(bytes, count);
}

bool HashingSink::PutZeros(u64 count) {
  EachZeros(count, [this](const u8* zeros, u64 here) {
    m_hash->Add(zeros, here);
    return true;
  });
  return m_target->PutZeros(count);
}

ExportResult ExportRaw(cKVRSparseIO* image, u64 first, u64 count, ExportSink* sink,
                       const std::atomic<bool>& stop, const ExportMonitor& monitor) {
  const Owned<cKVRSparseIO> reader(static_cast<cKVRSparseIO*>(image->Clone()));
  if (!reader) return {ExportEnd::kCacheFailed, platform::LastFailure(), {}, {}};
  return Exporter(reader.get(), sink, stop, monitor).Run(image, first, count);
}

}  // namespace larkspur
