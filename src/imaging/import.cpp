// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/import.h"

#include <algorithm>
#include <cstring>

#include "imaging/output_file.h"
#include "io/sparse_writer.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

using platform::OwnedFile;

u64 EndOf(const std::vector<SectorRange>& ranges) {
  return ranges.empty() ? 0 : ranges.back().first + ranges.back().count;
}

// Goes along ordered ranges as blocks are asked for in order.
class RangeCursor {
 public:
  explicit RangeCursor(const std::vector<SectorRange>& ranges) : m_ranges(ranges) {}

  // The first sector at or after `sector` that is in a range; kNowhere when there is none.
  u64 Next(u64 sector) {
    while (m_at < m_ranges.size() && EndOfCurrent() <= sector) ++m_at;
    return m_at == m_ranges.size() ? kNowhere : std::max(sector, m_ranges[m_at].first);
  }

  // Calls call(first, count) for what of the ranges lies in [first, end).
  template <typename Call>
  void EachIn(u64 first, u64 end, Call call) {
    for (u64 start = Next(first); start < end; start = Next(first)) {
      first = std::min(end, EndOfCurrent());
      call(start, first - start);
    }
  }

 private:
  u64 EndOfCurrent() const { return m_ranges[m_at].first + m_ranges[m_at].count; }

  const std::vector<SectorRange>& m_ranges;
  size_t m_at = 0;
};

// Reads an image without asking for what lies in its holes.
class HoleyFile {
 public:
  explicit HoleyFile(platform::FileHandle file) : m_file(file) {}

  bool Read(u8* buffer, u64 offset, u64 count) {
    for (u64 done = 0; done < count;) {
      const u64 at = offset + done;
      if (at >= m_data.end) m_data = platform::NextData(m_file, at).value_or(kNoData);
      const u64 hole = std::min(count - done, m_data.start > at ? m_data.start - at : 0);
      std::memset(buffer + done, 0, hole);
      done += hole;
      const u64 wanted = std::min(count - done, m_data.end - std::min(m_data.end, offset + done));
      if (wanted == 0) continue;
      const u32 got =
          platform::ReadFileAt(m_file, buffer + done, static_cast<u32>(wanted), offset + done);
      if (got == 0) return false;
      done += got;
    }
    return true;
  }

 private:
  static constexpr platform::DataStretch kNoData{kNowhere, kNowhere};

  platform::FileHandle m_file;
  platform::DataStretch m_data{0, 0};  // the stretch of data last found
};

class Importer {
 public:
  Importer(const ImportPlan& plan, platform::FileHandle image, const SparseLayout& layout,
           platform::FileHandle cache)
      : m_layout(layout),
        m_present(plan.present),
        m_unreadable(plan.unreadable),
        m_image(image),
        m_writer(cache, layout) {}

  ImportResult Run(const std::atomic<bool>& stop, const ImportMonitor& monitor) {
    for (u64 sector = NextKnown(0); sector != kNowhere; sector = NextKnown(sector)) {
      if (stop) return Ended(ImportEnd::kStopped);
      const u64 block = sector / m_layout.blockSize;
      u8* record = m_writer.AddRecord(block);
      if (!record) return Ended(ImportEnd::kWriteFailed);
      if (!FillRecord(record, block)) return Ended(ImportEnd::kImageFailed);
      sector = (block + 1) * m_layout.blockSize;
      if (block % kMonitoredBlocks == 0) monitor(m_result.counts.present);
    }
    if (!m_writer.Finish()) return Ended(ImportEnd::kWriteFailed);
    const StatusCounts& known = m_result.counts;
    m_result.counts.missing = m_layout.sectorCount - known.present - known.unreadable;
    return m_result;
  }

 private:
  static constexpr u64 kMonitoredBlocks = 64;

  ImportResult Ended(ImportEnd end) {
    m_result.end = end;
    m_result.systemError = platform::LastFailure();
    return m_result;
  }

  // The first sector at or after `sector` that has a status.
  u64 NextKnown(u64 sector) { return std::min(m_present.Next(sector), m_unreadable.Next(sector)); }

  bool FillRecord(u8* record, u64 block) {
    const u64 first = block * m_layout.blockSize;
    const u64 end = first + m_layout.SectorsInBlock(block);
    u8* data = record + kSectorBytes;
    std::memset(record, kMissing, kSectorBytes);
    u64 filled = first;  // the data of sectors below this one is in its place
    const auto clearTo = [&](u64 sector) {
      std::memset(data + ((filled - first) << kSectorShift), 0, (sector - filled) << kSectorShift);
      filled = sector;
    };
    m_unreadable.EachIn(first, end, [&](u64 start, u64 count) {
      m_result.counts.unreadable += count;
      std::memset(record + (start - first), kUnreadable, count);
    });
    bool read = true;
    m_present.EachIn(first, end, [&](u64 start, u64 count) {
      if (!read) return;
      clearTo(start);
      m_result.failedSector = start;
      m_result.counts.present += count;
      std::memset(record + (start - first), kPresent, count);
      read = m_image.Read(data + ((start - first) << kSectorShift), start << kSectorShift,
                          count << kSectorShift);
      filled = start + count;
    });
    clearTo(first + m_layout.blockSize);
    return read;
  }

  const SparseLayout m_layout;
  RangeCursor m_present;
  RangeCursor m_unreadable;
  HoleyFile m_image;
  SparseWriter m_writer;
  ImportResult m_result;
};

ImportResult Failed(ImportEnd end) {
  ImportResult result;
  result.end = end;
  result.systemError = platform::LastFailure();
  return result;
}

// A file ends where its rescue did or before; a device may be larger than the disk it replaces.
ImportEnd CheckSize(const std::u16string& path, u64 bytes, const ImportPlan& plan) {
  const u64 covered = (plan.sectors << kSectorShift) + plan.trailingBytes;
  if (bytes < EndOf(plan.present) << kSectorShift) return ImportEnd::kImageShorter;
  const bool isFile = platform::KindOfPath(path.c_str()) == platform::PathKind::kFile;
  return isFile && bytes > covered ? ImportEnd::kImageLonger : ImportEnd::kDone;
}

// Fills the new file and flushes it to disk.
ImportResult Fill(const OwnedFile& made, const ImportPlan& plan, platform::FileHandle image,
                  const std::atomic<bool>& stop, const ImportMonitor& monitor) {
  platform::MakeSparse(made.Handle());
  const auto layout = SparseLayout::ForNew(plan.sectors, platform::TickCount());
  ImportResult result = Importer(plan, image, *layout, made.Handle()).Run(stop, monitor);
  const bool synced = result.end != ImportEnd::kDone || platform::SyncFile(made.Handle());
  return synced ? result : Failed(ImportEnd::kWriteFailed);
}

// The name may have been taken meanwhile, by another run that imports the same.
ImportEnd TakeName(UnfinishedFile* made, const std::u16string& cache) {
  if (made->TakeName(false)) return ImportEnd::kDone;
  const u32 error = platform::LastFailure();
  const bool isTaken = platform::KindOfPath(cache.c_str()) != platform::PathKind::kAbsent;
  platform::SetLastFailure(error);
  return isTaken ? ImportEnd::kCacheExists : ImportEnd::kCannotCreate;
}

}  // namespace

ImportPlan PlanImport(const std::vector<MapfileBlock>& blocks) {
  ImportPlan plan;
  const u64 bytes = blocks.empty() ? 0 : blocks.back().position + blocks.back().size;
  plan.sectors = bytes >> kSectorShift;
  plan.trailingBytes = static_cast<u32>(bytes % kSectorBytes);
  plan.present = SectorsMarked(blocks, "+");
  plan.unreadable = SectorsMarked(blocks, "-");
  plan.tried = SectorsMarked(blocks, "*/");
  return plan;
}

ImportResult ImportRescue(const std::u16string& image, const ImportPlan& plan,
                          const std::u16string& cache, const std::atomic<bool>& stop,
                          const ImportMonitor& monitor) {
  platform::SetLastFailure(0);
  if (platform::KindOfPath(cache.c_str()) != platform::PathKind::kAbsent) {
    return Failed(ImportEnd::kCacheExists);
  }
  platform::SetLastFailure(0);
  const OwnedFile file(platform::OpenExistingFile(image.c_str(), platform::kOpenRead));
  if (!file.IsOpen()) return Failed(ImportEnd::kImageUnopened);
  const u64 bytes = platform::FileSize(file.Handle());
  ImportResult result;
  result.imageBytes = bytes;
  result.end = CheckSize(image, bytes, plan);
  if (result.end != ImportEnd::kDone) return result;
  platform::SetLastFailure(0);
  UnfinishedFile made(cache);
  if (!made.IsOpen()) return Failed(ImportEnd::kCannotCreate);
  result = Fill(made.File(), plan, file.Handle(), stop, monitor);
  if (result.end == ImportEnd::kDone) result.end = TakeName(&made, cache);
  if (result.end == ImportEnd::kCannotCreate) result.systemError = platform::LastFailure();
  return result;
}

}  // namespace larkspur
