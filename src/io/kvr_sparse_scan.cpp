// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <new>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "io/kvr_sparse_io.h"

// Looking through a sparse image as a whole: its extents, and what its index says.

namespace larkspur {
namespace {

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

// Which records were met, of a part of all numbers at a time so that it takes no more than 8 MiB:
// that is all of them for an image of 4 TiB.
class RecordBits {
 public:
  // Of the numbers below `end` only; false without memory.
  bool Allocate(u64 end) {
    m_end = end;
    m_words = std::min(end, kPart) / 64 + 1;
    m_bits.reset(new (std::nothrow) u64[m_words]());
    return m_bits != nullptr;
  }
  // Begins with the next part of the numbers; false when there is none.
  bool NextPart() {
    m_first += kPart;
    std::fill_n(m_bits.get(), m_words, u64{0});
    return m_first < m_end;
  }
  // False when the record was met before.
  bool Add(u64 record) {
    if (record < m_first || record >= std::min(m_end, m_first + kPart)) return true;
    u64& word = m_bits[(record - m_first) / 64];
    const u64 bit = u64{1} << (record - m_first) % 64;
    const bool isNew = !(word & bit);
    word |= bit;
    return isNew;
  }

 private:
  static constexpr u64 kPart = u64{1} << 26;
  std::unique_ptr<u64[]> m_bits;
  u64 m_words = 0;
  u64 m_first = 0;
  u64 m_end = 0;
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
  if (!CutRange(first, &count)) return true;
  const u64 end = first + count;
  ExtentMerger merger(first, visit);
  const auto addTo = [&](u64 block, SectorStatus status) {
    const u64 blockEnd = std::min(end, block * m_layout.blockSize);
    return merger.End() >= blockEnd || merger.Add(blockEnd - merger.End(), status);
  };
  const auto addBlock = [&](u64 block, Entry record) {
    if (!addTo(block, kMissing)) return false;
    if (record == kNowhere || !LoadMap(record)) return addTo(block + 1, kUnknown);
    const u32 skip = static_cast<u32>(merger.End() - block * m_layout.blockSize);
    const u64 blockEnd = std::min(end, (block + 1) * m_layout.blockSize);
    return merger.AddMap(&m_map[skip], static_cast<u32>(blockEnd - merger.End()));
  };
  const u64 endBlock = (end - 1) / m_layout.blockSize + 1;
  // A file that ends within its index says nothing of the blocks after that.
  const u64 told = std::min(endBlock, m_layout.EntriesIn(m_backing->GetByteSize()));
  if (!ScanIndex(first / m_layout.blockSize, told, addBlock)) return false;
  return addTo(told, kMissing) && addTo(endBlock, kUnknown) && merger.Flush();
}

cKVRSparseIO::IndexSurvey cKVRSparseIO::SurveyIndex() {
  cSafeCriticalSectionAccess access(&m_section);
  IndexSurvey survey;
  if (!IsOpen()) return survey;
  const u64 blocks = m_layout.BlockCount();
  RecordBits seen;
  if (!seen.Allocate(m_layout.RecordsIn(m_backing->GetSectorCount()))) {
    survey.unread = blocks;
    return survey;
  }
  ScanIndex(0, blocks, [&](u64 block, Entry record) {
    survey.unread += record == kNowhere;
    if (record == kNowhere) return true;
    ++survey.records;
    survey.recordEnd = std::max(survey.recordEnd, record + 1);
    if (!survey.sharing && !seen.Add(record)) survey.sharing = block;
    return true;
  });
  survey.unread += blocks - m_layout.EntriesIn(m_backing->GetByteSize());
  while (!survey.sharing && seen.NextPart()) {
    ScanIndex(0, blocks, [&](u64 block, Entry record) {
      if (record != kNowhere && !seen.Add(record)) survey.sharing = block;
      return !survey.sharing;
    });
  }
  return survey;
}

bool cKVRSparseIO::ScanIndex(u64 block, u64 end, const std::function<bool(u64, Entry)>& call) {
  // A damaged header may promise an index far longer than the file.
  end = std::min(end, m_layout.EntriesIn(m_backing->GetByteSize()));
  const u64 atOnce = std::min<u64>(end - std::min(block, end), kScanBlocks);
  const std::unique_ptr<u8[]> bytes(new (std::nothrow) u8[4 * atOnce]);
  while (block < end) {
    const u32 count = static_cast<u32>(std::min<u64>(end - block, kScanBlocks));
    if (!bytes || !ReadIndex(block, count, bytes.get())) {
      const u32 loaded = LoadIndex(block, count);
      for (u32 i = 0; i < loaded; ++i) {
        if (m_window[i] != kNoRecord && !call(block + i, m_window[i])) return false;
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
