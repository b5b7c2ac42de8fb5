// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "imaging/check.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_map>

#include <fmt/core.h>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "base/size_text.h"
#include "imaging/cache.h"
#include "io/flat_io.h"
#include "io/sparse_layout.h"
#include "platform/system_error.h"

namespace larkspur {
namespace {

constexpr u32 kWindowBlocks = 4096;  // index entries read at once

// A set of record numbers that costs memory only where there are any.
class RecordSet {
 public:
  // False when the record was in the set already.
  bool Insert(u64 record) {
    std::unique_ptr<Page>& page = m_pages[record / kPageBits];
    if (!page) page = std::make_unique<Page>();
    u64& word = (*page)[record % kPageBits / 64];
    const u64 bit = u64{1} << (record % 64);
    const bool isNew = !(word & bit);
    word |= bit;
    m_size += isNew;
    return isNew;
  }
  u64 Size() const { return m_size; }

 private:
  static constexpr u64 kPageBits = 32768;
  using Page = std::array<u64, kPageBits / 64>;
  std::unordered_map<u64, std::unique_ptr<Page>> m_pages;
  u64 m_size = 0;
};

class Checker {
 public:
  // `flush` is a handle of the same file where it is to be repaired.
  Checker(cFlatIO* file, const platform::OwnedFile* flush, CheckResult* result)
      : m_file(file), m_flush(flush), m_repair(flush != nullptr), m_result(result) {}

  // Verifies the file once. True when there is something that could be repaired, and the header is
  // to be believed for it.
  bool Run() {
    if (!CheckHeader() || !CheckLength()) return false;
    const u64 whole = m_layout.RecordsIn(m_fileSectors);
    if (whole > 2 * m_layout.BlockCount() + kSpareRecords) m_doubt = true;
    CheckIndexEnd();
    const u64 blocks = m_layout.BlockCount();
    for (u64 block = 0; block < blocks; block += kWindowBlocks) {
      CheckWindow(block, static_cast<u32>(std::min<u64>(kWindowBlocks, blocks - block)));
    }
    CheckEnd();
    m_result->unusedRecords = whole - std::min(whole, m_used.Size());
    // Where no map says anything, nothing speaks for the place at which they were looked for.
    if (m_doubt || (m_used.Size() > 0 && !m_sawStatus)) m_result->repairableCount = 0;
    return m_result->repairableCount > 0;
  }

 private:
  enum Remedy : bool { kNone, kRepairable };

  void Report(ProblemKind kind, std::optional<u64> block, std::string detail, Remedy remedy = kNone,
              bool repaired = false) {
    ++m_result->problemCount;
    m_result->repairableCount += remedy == kRepairable;
    m_result->repairedCount += repaired;
    if (m_result->problems.size() < kMaxListedProblems) {
      m_result->problems.push_back({kind, block, std::move(detail), repaired});
    }
  }

  // As it is now: another run may make it grow.
  u64 FileSectors() { return m_file->GetByteSize() >> kSectorShift; }
  u64 BytesFrom(u64 sector) {
    const u64 bytes = m_file->GetByteSize();
    return bytes - std::min(bytes, sector << kSectorShift);
  }

  bool CheckHeader() {
    std::array<u8, kSparseHeaderBytes> header{};
    std::string fault;
    if (!m_file->ReadBytes(header.data(), 0, kSparseHeaderBytes)) {
      fault = "the file is too short for a header, or cannot be read";
    } else if (!SparseLayout::HasMagic(header)) {
      fault = "the magic \"KVRSparF\" is missing: not a cache";
    } else if (const auto layout = SparseLayout::Parse(header); layout && layout->sectorCount > 0) {
      m_layout = *layout;
      return true;
    } else {
      fault = fmt::format("the sector count {} and the block size {} do not fit each other",
                          LoadLe64(&header[8]), LoadLe32(&header[16]));
    }
    Report(ProblemKind::kHeader, std::nullopt, fault);
    return false;
  }

  bool CheckLength() {
    m_fileSectors = FileSectors();
    const u32 implied = SparseLayout::BlockSizeFor(m_layout.sectorCount);
    if (m_layout.blockSize != implied) {
      Report(ProblemKind::kHeader, std::nullopt,
             fmt::format(
                 "a cache of {} sectors has blocks of {} sectors, but this one has blocks of {}",
                 m_layout.sectorCount, implied, m_layout.blockSize));
      m_doubt = true;
    }
    if (m_fileSectors >= m_layout.DataStart()) return true;
    Report(ProblemKind::kShortIndex, std::nullopt,
           fmt::format("{} sectors need an index up to sector {}, but the file has {} sectors",
                       m_layout.sectorCount, m_layout.DataStart(), m_fileSectors));
    return false;
  }

  // The entries after the last block's are never used, unless the header says less than there is.
  void CheckIndexEnd() {
    if (EndsWithLastBlock(m_file, m_layout)) return;
    Report(ProblemKind::kHeader, std::nullopt,
           fmt::format("the index continues past the last of {} blocks", m_layout.BlockCount()));
    m_doubt = true;
  }

  void CheckWindow(u64 first, u32 count) {
    std::array<u8, 4 * kWindowBlocks> entries;
    if (!m_file->ReadBytes(entries.data(), SparseLayout::IndexByte(first), 4 * count)) {
      Report(ProblemKind::kUnreadableMap, first, "the index cannot be read here");
      m_doubt = true;
      return;
    }
    for (u32 i = 0; i < count; ++i) {
      const u32 record = LoadLe32(&entries[4 * i]);
      if (record != kNoRecord) CheckBlock(first + i, record);
    }
  }

  void CheckBlock(u64 block, u32 record) {
    const u64 start = m_layout.RecordSector(record);
    const u64 end = start + m_layout.RecordSectors();
    u64 bytesHeld = u64{m_layout.RecordSectors()} << kSectorShift;
    if (end > m_fileSectors) {
      m_fileSectors = FileSectors();
      bytesHeld = BytesFrom(start);
    }
    if (bytesHeld == 0) return ReportBeyond(block, record, start);
    if (!m_used.Insert(record)) {
      Report(ProblemKind::kSharedRecord, block,
             fmt::format("record {} also belongs to another block", record));
      m_doubt = true;
      return;
    }
    std::array<u8, kSectorBytes> map{};  // of a map that the file's end cuts, the rest is missing
    const u32 mapBytes = static_cast<u32>(std::min<u64>(kSectorBytes, bytesHeld));
    if (!m_file->ReadBytes(map.data(), start << kSectorShift, mapBytes)) {
      Report(ProblemKind::kUnreadableMap, block, "its status map cannot be read");
      m_doubt = true;
      return;
    }
    CheckMap(block, map.data());
    if (end > m_fileSectors) CheckCutRecord(block, start, map.data());
  }

  void ReportBeyond(u64 block, u32 record, u64 start) {
    // No cut takes away more records than there are blocks: the number itself is wrong.
    const u64 most = m_layout.RecordsIn(m_fileSectors) + m_layout.BlockCount();
    m_doubt = m_doubt || record > most + kSpareRecords;
    Report(
        ProblemKind::kRecordBeyond, block,
        fmt::format("record {} begins at sector {}, the file has {}", record, start, m_fileSectors),
        kRepairable, m_repair && GiveUpRecord(block));
  }

  void CheckMap(u64 block, const u8* map) {
    const u8* const end = map + m_layout.SectorsInBlock(block);
    m_sawStatus =
        m_sawStatus || std::any_of(map, end, [](u8 status) { return status != kMissing; });
    // Nothing is ever written to the rest of the sector.
    m_doubt = m_doubt || !IsAllZero({end, map + kSectorBytes});
    const u8* odd = std::find_if(map, end, [](u8 status) { return status > kUnreadable; });
    if (odd == end) return;
    m_doubt = true;
    Report(ProblemKind::kStatus, block,
           fmt::format("status {} of sector {} has no meaning", *odd,
                       block * m_layout.blockSize + static_cast<u64>(odd - map)));
  }

  void CheckCutRecord(u64 block, u64 start, u8* map) {
    const u64 mapEnd = start + 1;
    const u32 held = static_cast<u32>(m_fileSectors - std::min(m_fileSectors, mapEnd));
    u8* lost = map + held;
    const u8* end = map + m_layout.SectorsInBlock(block);
    m_isCut = true;
    const auto count = lost < end ? std::count(lost, const_cast<u8*>(end), kPresent) : 0;
    const bool repaired = m_repair && MakeWhole(start, map, held);
    Report(ProblemKind::kRecordCut, block,
           fmt::format("the file ends after {} of {} sectors, and loses {}", held,
                       m_layout.blockSize, CountText(static_cast<u64>(count), "stored sector")),
           kRepairable, repaired);
  }

  bool MakeWhole(u64 start, u8* map, u32 held) {
    std::replace(map + held, map + m_layout.blockSize, u8{kPresent}, u8{kMissing});
    // The map reaches the disk first: with the old one, a file that has its size would give zeros
    // for what it lost.
    return m_file->WriteBytes(map, start << kSectorShift, m_layout.blockSize) &&
           platform::SyncFile(m_flush->Handle()) &&
           m_file->SetSectorCount(start + m_layout.RecordSectors());
  }

  bool GiveUpRecord(u64 block) {
    u8 entry[4];
    StoreLe32(entry, kNoRecord);
    return m_file->WriteBytes(entry, SparseLayout::IndexByte(block), sizeof entry);
  }

  void CheckEnd() {
    if (m_isCut) return;  // what follows the last whole record is that one's
    const u64 bytes = m_file->GetByteSize();
    const u64 sectors = bytes >> kSectorShift;
    const u64 trailing = (sectors - m_layout.DataStart()) % m_layout.RecordSectors();
    const u64 trailingBytes = bytes % kSectorBytes;
    if (trailing == 0 && trailingBytes == 0) return;
    const u64 end = m_layout.RecordSector(m_layout.RecordsIn(sectors) + 1);
    Report(ProblemKind::kTrailingBytes, std::nullopt,
           fmt::format("{} and {} follow the last whole record", CountText(trailing, "sector"),
                       CountText(trailingBytes, "byte")),
           kRepairable, m_repair && m_file->SetSectorCount(end));
  }

  // More unused records than a few crashes leave.
  static constexpr u64 kSpareRecords = 4096;

  cFlatIO* m_file;
  const platform::OwnedFile* m_flush;
  bool m_repair;
  CheckResult* m_result;
  SparseLayout m_layout;
  u64 m_fileSectors = 0;
  RecordSet m_used;
  bool m_isCut = false;
  bool m_sawStatus = false;
  bool m_doubt = false;  // the header may be of another file than this one, or lie
};

// What the log says against the cache; nothing where that cannot even be opened.
std::optional<CacheFault> DoubtOf(const std::u16string& path) {
  const auto cache = OpenCache(path, CacheAccess::kLook);
  return cache && cache->damage ? DamageByLog(path, cache->image.get()) : std::nullopt;
}

void AddDoubt(const CacheFault& doubt, CheckResult* result) {
  const auto add = [result](ProblemKind kind, std::string detail) {
    ++result->problemCount;
    result->problems.push_back({kind, std::nullopt, std::move(detail)});
  };
  if (doubt.kind == CacheFaultKind::kOtherHeader) {
    add(ProblemKind::kHeader, "the log is that of a disk with another number of sectors");
  } else if (doubt.kind == CacheFaultKind::kNotFlushed) {
    add(ProblemKind::kNotFlushed, "some of what was stored last may never have reached the disk");
  } else if (doubt.kind == CacheFaultKind::kLogUnreadable) {
    add(ProblemKind::kLog,
        "the rescue log cannot be read: " + platform::FailureText(doubt.systemError));
  }
}

}  // namespace

const char* ProblemKindName(ProblemKind kind) {
  switch (kind) {
    case ProblemKind::kHeader:
      return "header";
    case ProblemKind::kShortIndex:
      return "short-index";
    case ProblemKind::kRecordBeyond:
      return "record-beyond-end";
    case ProblemKind::kRecordCut:
      return "record-cut";
    case ProblemKind::kSharedRecord:
      return "shared-record";
    case ProblemKind::kStatus:
      return "status";
    case ProblemKind::kUnreadableMap:
      return "unreadable";
    case ProblemKind::kTrailingBytes:
      return "loose-end";
    case ProblemKind::kNotFlushed:
      return "not-flushed";
    case ProblemKind::kLog:
      return "log";
  }
  return "unknown";
}

Result<CheckResult, u32> CheckCache(const std::u16string& path, bool repair) {
  platform::SetLastFailure(0);
  cFlatIO file;
  if (!file.OpenPath(path, !repair)) return Failed(platform::LastFailure());
  CheckResult result;
  bool isRepairable = Checker(&file, nullptr, &result).Run();
  const auto doubt = DoubtOf(path);
  if (doubt && doubt->kind == CacheFaultKind::kOtherHeader) {
    isRepairable = false;
    result.repairableCount = 0;
  }
  if (isRepairable && repair) {
    const platform::OwnedFile flush(
        platform::OpenExistingFile(path.c_str(), platform::kOpenRead | platform::kOpenWrite));
    if (!flush.IsOpen()) return Failed(platform::LastFailure());
    // The judgement changed nothing, and what it found is found again.
    result = {};
    Checker(&file, &flush, &result).Run();
  }
  if (doubt) AddDoubt(*doubt, &result);
  return result;
}

}  // namespace larkspur
