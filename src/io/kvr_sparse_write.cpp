// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include <algorithm>
#include <tuple>

#include "base/endian.h"
#include "io/flat_io.h"
#include "io/kvr_sparse_io.h"

// What changes a sparse image: records for blocks, data for sectors, statuses.

namespace larkspur {

bool cKVRSparseIO::CutRange(u64 first, u64* count) const {
  const u64 end = m_layout.sectorCount;
  *count = first < end ? std::min(*count, end - first) : 0;
  return IsOpen() && *count > 0;
}

void cKVRSparseIO::FindRecordEnd() {
  if (m_file->recordEnd != kNowhere) return;
  u64 end = 0;
  const bool isWhole = ScanIndex(0, m_layout.BlockCount(), [&end](u64, Entry record) {
    end = std::max(end, record + 1);
    return record != kNowhere;
  });
  // An entry that cannot be read may name any record.
  if (isWhole) m_file->recordEnd = end;
}

cKVRSparseIO::Entry cKVRSparseIO::NextRecord() {
  const u64 sectors = m_backing->GetSectorCount();
  const u64 start = m_layout.DataStart();
  if (sectors < start || m_file->recordEnd == kNowhere) return kNowhere;
  // A file cut within its last record: the next one begins after it, never inside. Nor where a
  // record was that a longer cut took away while the index still names it.
  const u64 inFile = (sectors - start + m_layout.blockSize) / m_layout.RecordSectors();
  const u64 record = std::max(inFile, m_file->recordEnd);
  // What lies farther off than any cut can have taken away was never a record.
  return record - inFile > m_layout.BlockCount() ? kNowhere : record;
}

bool cKVRSparseIO::ReserveRecords(Entry first, u64 count) {
  if (count == 0 || m_backing->GetTypeId() != kTypeFlat) return true;  // growing was enough
  return static_cast<cFlatIO*>(m_backing)->ReserveRoom(m_layout.RecordSector(first),
                                                       count * m_layout.RecordSectors());
}

u32 cKVRSparseIO::AppendRecords(u64 firstBlock, u32 at, u32 count, Lacking lacking) {
  const Entry record = NextRecord();
  if (record == kNowhere || record + count > kNoRecord) return 0;
  const u64 before = m_backing->GetSectorCount();
  bool hasRoom = m_backing->SetSectorCount(m_layout.RecordSector(record + count));
  if (hasRoom && lacking == Lacking::kAppendWithRoom && !ReserveRecords(record, count)) {
    m_backing->SetSectorCount(before);
    hasRoom = false;
  }
  if (!hasRoom) return count > 1 ? AppendRecords(firstBlock, at, 1, lacking) : 0;
  u8 bytes[4 * kWindowBlocks];
  for (u32 i = 0; i < count; ++i) {
    m_window[at + i] = record + i;
    StoreLe32(bytes + 4 * i, static_cast<u32>(record + i));
  }
  m_file->recordEnd = record + count;  // a write that fails may have named them
  return m_backing->WriteBytes(bytes, SparseLayout::IndexByte(firstBlock), 4 * count) ? count : 0;
}

u32 cKVRSparseIO::AppendRun(u64 firstBlock, u32 at, u32 windowCount, Lacking lacking) {
  const auto first = m_window.begin() + at;
  const auto taken = std::find_if(first, m_window.begin() + windowCount,
                                  [](Entry entry) { return entry != kNoRecord; });
  return AppendRecords(firstBlock, at, static_cast<u32>(taken - first), lacking);
}

u64 cKVRSparseIO::WalkChunks(u64 first, u64 count, Lacking lacking, const ChunkWork& work) {
  if (lacking != Lacking::kLeave) FindRecordEnd();
  const u64 lastBlock = (first + count - 1) / m_layout.blockSize;
  u64 windowFirst = 0;
  u32 windowCount = 0;
  u64 newUntil = 0;  // blocks below this one, from the current on, got their records just now
  for (u64 done = 0; done < count;) {
    Chunk chunk = ChunkAt(first + done, count - done);
    if (chunk.block >= windowFirst + windowCount) {
      windowFirst = chunk.block;
      windowCount = LoadIndex(windowFirst, lastBlock - windowFirst + 1);
    }
    const u32 at = static_cast<u32>(chunk.block - windowFirst);
    if (m_window[at] == kNoRecord && lacking != Lacking::kLeave) {
      newUntil = chunk.block + AppendRun(chunk.block, at, windowCount, lacking);
      if (newUntil == chunk.block) return done;
    }
    chunk.record = m_window[at];
    chunk.isNew = chunk.block < newUntil;
    const u32 settled = work(chunk, done);
    done += settled;
    if (settled < chunk.count) return done;
  }
  return count;
}

bool cKVRSparseIO::LoadChunkMap(const Chunk& chunk) {
  if (!chunk.isNew) return chunk.record < kNoRecord && LoadMap(chunk.record);
  m_map.fill(kMissing);
  return true;
}

u32 cKVRSparseIO::Write(u64 sector, const void* buffer, u32 count) {
  return Store(sector, static_cast<const u8*>(buffer), count, Over::kKeepUnreadable);
}

u32 cKVRSparseIO::StoreOver(u64 sector, const void* buffer, u32 count) {
  return Store(sector, static_cast<const u8*>(buffer), count, Over::kReplaceUnreadable);
}

u32 cKVRSparseIO::Store(u64 sector, const u8* buffer, u32 count, Over over) {
  u64 fitting = count;
  if (!CutRange(sector, &fitting)) return 0;
  cSafeCriticalSectionAccess access(&m_section), file(&m_file->section);
  RegisterPath();
  return static_cast<u32>(
      WalkChunks(sector, fitting, Lacking::kAppend, [&](const Chunk& chunk, u64 done) {
        return StoreChunk(chunk, buffer + done * kSectorBytes, over);
      }));
}

u32 cKVRSparseIO::StoreChunk(const Chunk& chunk, const u8* buffer, Over over) {
  if (!LoadChunkMap(chunk)) return 0;
  const u64 data = m_layout.RecordSector(chunk.record) + 1;
  const u32 written = m_backing->Write(data + chunk.first, buffer, chunk.count);
  bool changes = false;
  for (u32 i = chunk.first; i < chunk.first + written; ++i) {
    const bool replaces = over == Over::kReplaceUnreadable && m_map[i] != kPresent;
    if (m_map[i] != kMissing && !replaces) continue;
    m_map[i] = kPresent;
    changes = true;
  }
  // A map that cannot be stored leaves its sectors missing: they were not kept.
  return !changes || StoreMap(chunk.record) ? written : 0;
}

bool cKVRSparseIO::MarkSectorBad(u64 sector) {
  if (!IsOpen() || sector / m_layout.blockSize >= m_layout.BlockCount()) return false;
  cSafeCriticalSectionAccess access(&m_section), file(&m_file->section);
  const auto mark = [this](const Chunk& chunk, u64) -> u32 {
    if (!LoadChunkMap(chunk)) return 0;
    if (m_map[chunk.first] == kUnreadable) return 1;
    m_map[chunk.first] = kUnreadable;
    return StoreMap(chunk.record);
  };
  return WalkChunks(sector, 1, Lacking::kAppend, mark) == 1;
}

bool cKVRSparseIO::Remark(u64 first, u64 count, Lacking lacking, SectorStatus from,
                          SectorStatus to) {
  const auto remark = [&](const Chunk& chunk, u64) -> u32 {
    if (chunk.record == kNoRecord) return chunk.count;
    if (!LoadChunkMap(chunk)) return 0;
    const auto begin = m_map.begin() + chunk.first;
    const auto is = [from](u8 byte) { return StatusOf(byte) == from; };
    if (std::none_of(begin, begin + chunk.count, is)) return chunk.count;
    std::replace_if(begin, begin + chunk.count, is, static_cast<u8>(to));
    return StoreMap(chunk.record) ? chunk.count : 0;
  };
  return WalkChunks(first, count, lacking, remark) == count;
}

bool cKVRSparseIO::MarkUnreadable(u64 first, u64 count) {
  if (!CutRange(first, &count)) return IsOpen();
  cSafeCriticalSectionAccess access(&m_section), file(&m_file->section);
  return Remark(first, count, Lacking::kAppend, kMissing, kUnreadable);
}

bool cKVRSparseIO::MarkMissing(u64 first, u64 count) {
  if (!CutRange(first, &count)) return IsOpen();
  cSafeCriticalSectionAccess access(&m_section), file(&m_file->section);
  ++m_file->demotions;
  return Remark(first, count, Lacking::kLeave, kPresent, kMissing);
}

bool cKVRSparseIO::MakeRoom(u64 first, u64 count) {
  if (!CutRange(first, &count)) return IsOpen();
  cSafeCriticalSectionAccess access(&m_section), file(&m_file->section);
  const u64 firstBlock = first / m_layout.blockSize;
  const u64 endBlock = (first + count - 1) / m_layout.blockSize + 1;
  if (firstBlock >= m_roomFirst && endBlock <= m_roomEnd) return true;
  const u64 inFile = m_layout.RecordsIn(m_backing->GetSectorCount());
  u64 runFirst = 0;  // records next to each other that were there before
  u64 runEnd = 0;
  const auto take = [&](const Chunk& chunk, u64) -> u32 {
    if (chunk.isNew) return chunk.count;
    if (chunk.record >= inFile) return 0;
    if (chunk.record != runEnd) {
      if (!ReserveRecords(runFirst, runEnd - runFirst)) return 0;
      runFirst = chunk.record;
    }
    runEnd = chunk.record + 1;
    return chunk.count;
  };
  const bool made = !m_readOnly &&
                    WalkChunks(first, count, Lacking::kAppendWithRoom, take) == count &&
                    ReserveRecords(runFirst, runEnd - runFirst);
  if (made) std::tie(m_roomFirst, m_roomEnd) = std::pair(firstBlock, endBlock);
  return made;
}

}  // namespace larkspur
