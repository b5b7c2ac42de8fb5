// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <new>

#include "base/endian.h"
#include "io/equal_run.h"
#include "io/kvr_sparse_io.h"

// Looking through a sparse image as a whole: its extents, and what its index says.

namespace larkspur {
namespace {

SectorStatus StatusOf(u8 byte) {
  return byte == kMissing ? kMissing : byte == kUnreadable ? kUnreadable : kPresent;
}

// Joins neighbouring pieces of equal status into the extents that a visitor is told.
class ExtentMerger {
 public:
  ExtentMerger(u64 first, const cKVRSparseIO::ExtentVisitor& visit)
      : m_start(first), m_end(first), m_visit(visit) {}

  u64 End() const { return m_end; }

  bool Add(u64 sectors, SectorStatus status) {
    if (status != m_status && !Flush()) return false;
    m_status = status;
    m_end += sectors;
    return true;
  }

  bool AddMap(const u8* map, u32 count) {
    for (u32 i = 0; i < count;) {
      const u32 run = EqualRun(map + i, count - i, StatusOf);
      if (!Add(run, StatusOf(map[i]))) return false;
      i += run;
    }
    return true;
  }

  // Tells what is gathered.
  bool Flush() {
    if (m_end == m_start) return true;
    const u64 start = m_start;
    m_start = m_end;
    return m_visit(start, m_end - start, m_status);
  }

 private:
  u64 m_start;
  u64 m_end;
  SectorStatus m_status = kMissing;
  const cKVRSparseIO::ExtentVisitor& m_visit;
};

// How many of the `count` index entries at `bytes`, from the first on, name no record. Most of a
// young image's index does, so they are passed two at a time.
u32 CountNoRecord(const u8* bytes, u32 count) {
  u32 i = 0;
  while (i + 2 <= count && LoadLe64(bytes + u64{4} * i) == ~u64{0}) i += 2;
  return i < count && LoadLe32(bytes + u64{4} * i) == kNoRecord ? i + 1 : i;
}

}  // namespace

bool cKVRSparseIO::VisitExtents(u64 first, u64 count, const ExtentVisitor& visit) {
  cSafeCriticalSectionAccess access(&m_section);
  if (!IsOpen() || first >= m_layout.sectorCount || count == 0) return true;
  const u64 end = first + std::min(count, m_layout.sectorCount - first);
  ExtentMerger merger(first, visit);
  const auto addTo = [&](u64 block, SectorStatus status) {
    const u64 blockEnd = std::min(end, block * m_layout.blockSize);
    return merger.End() >= blockEnd || merger.Add(blockEnd - merger.End(), status);
  };
  const auto addRecord = [&](u64 block, Entry record) {
    if (!addTo(block, kMissing)) return false;
    if (!LoadMap(record)) return true;  // counts as missing, with what comes after it
    const u32 skip = static_cast<u32>(merger.End() - block * m_layout.blockSize);
    const u64 blockEnd = std::min(end, (block + 1) * m_layout.blockSize);
    return merger.AddMap(&m_map[skip], static_cast<u32>(blockEnd - merger.End()));
  };
  const u64 lastBlock = (end - 1) / m_layout.blockSize;
  if (!ScanIndex(first / m_layout.blockSize, lastBlock + 1, addRecord)) return false;
  return addTo(lastBlock + 1, kMissing) && merger.Flush();
}

cKVRSparseIO::IndexSurvey cKVRSparseIO::SurveyIndex() {
  cSafeCriticalSectionAccess access(&m_section);
  IndexSurvey survey;
  if (!IsOpen()) return survey;
  ScanIndex(0, m_layout.BlockCount(), [&survey](u64, Entry record) {
    ++survey.records;
    survey.recordEnd = std::max(survey.recordEnd, record + 1);
    return true;
  });
  return survey;
}

bool cKVRSparseIO::ScanIndex(u64 block, u64 end, const std::function<bool(u64, Entry)>& call) {
  const std::unique_ptr<u8[]> bytes(new (std::nothrow) u8[4 * kScanBlocks]);
  // A damaged header may promise an index far longer than the file.
  const u64 fileBytes = m_backing->GetByteSize();
  end = std::min(end, fileBytes < kSectorBytes ? 0 : (fileBytes - kSectorBytes) / 4);
  while (block < end) {
    const u32 count = static_cast<u32>(std::min<u64>(end - block, kScanBlocks));
    if (!bytes || !m_backing->ReadBytes(bytes.get(), SparseLayout::IndexByte(block), 4 * count)) {
      const u32 loaded = LoadIndex(block, count);
      for (u32 i = 0; i < loaded; ++i) {
        if (m_window[i] < kNoRecord && !call(block + i, m_window[i])) return false;
      }
      block += loaded;
      continue;
    }
    for (u32 i = 0; i < count; ++i) {
      i += CountNoRecord(bytes.get() + u64{4} * i, count - i);
      if (i < count && !call(block + i, LoadLe32(bytes.get() + u64{4} * i))) return false;
    }
    block += count;
  }
  return true;
}

}  // namespace larkspur
