// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "io/kvr_sparse_io.h"
#include "partitions/detection.h"
#include "partitions/gpt_table.h"

namespace larkspur {
namespace {

// 6 MiB; more is forgotten and, should it be needed again, read again.
constexpr u64 kMaxKeptSectors = 12288;
// Longer runs are metadata areas that a parser keeps itself.
constexpr u32 kMaxKeptRun = 256;
// A table with more holes than this lies in an area that is better left alone.
constexpr u32 kMaxGaps = 8;

// By budget.
constexpr std::array<u64, kBudgets> kLimits = {
    Scan::kMaxNodes, Scan::kMaxSectorsRead, u64{8} << 20, 1 << 17, 1 << 20, 8192,
    Scan::kMaxDepth, GptTable::kMaxEntries,
};

u32 Depth(const cPartTreeItem& node) {
  u32 depth = 0;
  for (const cPartTreeItem* item = node.Parent(); item; item = item->Parent()) ++depth;
  return depth;
}

}  // namespace

Scan::Scan(cBaseIO* io, const ScanOptions& options)
    : m_io(io),
      m_image(io == options.cache ? options.cache : nullptr),
      m_options(options),
      m_sectorCount(io ? io->GetSectorCount() : 0),
      m_left(kLimits) {}

bool Scan::Spend(Budget budget, u64 amount) {
  if (amount > Left(budget)) return Refuse(budget);
  m_left[static_cast<size_t>(budget)] -= amount;
  return true;
}

u64 Scan::LimitOf(Budget budget) {
  return kLimits[static_cast<size_t>(budget)];
}

bool Scan::Refuse(Budget budget) {
  m_reached[static_cast<size_t>(budget)] = true;
  return false;
}

u32 Scan::Read(u64 sector, u32 count, u8* buffer) {
  if (sector >= m_sectorCount) return 0;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  if (!Spend(Budget::kSectors, count)) return 0;
  u32 done = 0;
  while (done < count) {
    u8* to = buffer + size_t{done} * kSectorBytes;
    if (const u32 kept = CopyKept(sector + done, count - done, to); kept > 0) {
      done += kept;
      continue;
    }
    const u32 run = UnknownRun(sector + done, count - done);
    const u32 got = run > 0 ? Ask(sector + done, run, to, run <= kMaxKeptRun) : 0;
    done += got;
    if (got == run && run > 0) continue;
    Miss(sector + done, sector + count);
    break;
  }
  return done;
}

u32 Scan::ReadAround(u64 sector, u32 count, u8* buffer) {
  const u32 wanted = count;
  const u64 left = m_sectorCount - std::min(sector, m_sectorCount);
  count = static_cast<u32>(std::min<u64>(count, left));
  const auto blank = [buffer](u32 first, u32 end) {
    std::fill(buffer + size_t{first} * kSectorBytes, buffer + size_t{end} * kSectorBytes, u8{0});
  };
  u32 came = 0;
  u32 at = 0;
  for (u32 gaps = 0; at < count && gaps < kMaxGaps;) {
    u32 run = count - at;
    if (const auto hole = m_failed.lower_bound(sector + at);
        IsForPeople() && hole != m_failed.end()) {
      run = static_cast<u32>(std::min<u64>(run, *hole - sector - at));
    }
    const u32 got = run > 0 ? Read(sector + at, run, buffer + size_t{at} * kSectorBytes) : 0;
    came += got;
    at += got;
    if (got == run && run > 0) continue;
    if (run == 0) Miss(sector + at, sector + at + 1);
    gaps += run > 0;  // what is known to fail costs nothing
    blank(at, at + 1);
    ++at;
  }
  blank(at, wanted);
  return came;
}

void Scan::ReadAhead(u64 sector, u32 count) {
  if (!IsForPeople() || sector >= m_sectorCount) return;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  std::span<const u8> bytes;
  const u32 known = static_cast<u32>(std::min<u64>(count, CountKept(sector, &bytes)));
  sector += known;
  count -= known;
  if (count == 0 || UnknownRun(sector, count) != count) return;
  m_ahead.resize(std::max(m_ahead.size(), size_t{count} * kSectorBytes));  // zeroed once
  // A failure is met, and reported, by the caller that needs the sector.
  Ask(sector, count, m_ahead.data(), true);
}

u64 Scan::CountKept(u64 sector, std::span<const u8>* bytes) const {
  auto run = m_kept.upper_bound(sector);
  if (run == m_kept.begin()) return 0;
  --run;
  const u64 skip = sector - run->first;
  if (skip >= run->second.count) return 0;
  *bytes = run->second.bytes;
  if (!bytes->empty()) *bytes = bytes->subspan(skip * kSectorBytes);
  return run->second.count - skip;
}

u32 Scan::CopyKept(u64 sector, u32 count, u8* buffer) const {
  std::span<const u8> bytes;
  count = static_cast<u32>(std::min<u64>(count, CountKept(sector, &bytes)));
  if (bytes.empty()) {
    std::fill_n(buffer, size_t{count} * kSectorBytes, u8{0});
  } else {
    std::copy_n(bytes.begin(), size_t{count} * kSectorBytes, buffer);
  }
  return count;
}

u32 Scan::UnknownRun(u64 sector, u32 count) const {
  std::span<const u8> bytes;
  if (CountKept(sector, &bytes) > 0) return 0;
  u64 end = sector + count;
  if (const auto kept = m_kept.lower_bound(sector); kept != m_kept.end()) {
    end = std::min(end, kept->first);
  }
  if (const auto failed = m_failed.lower_bound(sector); failed != m_failed.end()) {
    end = std::min(end, *failed);
  }
  return static_cast<u32>(end - sector);
}

std::vector<SectorRange> Scan::NotInCache(u64 sector, u32 count) const {
  std::vector<SectorRange> ranges;
  if (!m_options.cache) return ranges;
  m_options.cache->VisitExtents(sector, count, [&](u64 start, u64 sectors, SectorStatus status) {
    if (status != kPresent) ranges.push_back({start, sectors});
    return true;
  });
  return ranges;
}

// A cache is asked for what it has: that part of it cannot be read is not to pass for zeros.
u32 Scan::ReadStorage(u64 sector, u32 count, u8* buffer) {
  if (m_io->SetPosition(sector) != sector) return 0;
  const u32 got = m_image ? m_image->ReadStored(buffer, count, nullptr) : m_io->Read(buffer, count);
  return std::min(got, count);
}

u32 Scan::Ask(u64 sector, u32 count, u8* buffer, bool keeps) {
  std::vector<SectorRange> holes;
  // Asked before where reading fetches nothing: another run may store what is being read.
  if (m_image) holes = NotInCache(sector, count);
  const u32 got = ReadStorage(sector, count, buffer);
  if (m_options.trace) m_options.trace->push_back({sector, count, got, m_asker});
  if (!m_image) holes = NotInCache(sector, got);
  const u64 end = sector + got;
  std::erase_if(holes, [end](const SectorRange& hole) { return hole.first >= end; });
  if (!holes.empty()) holes.back().count = std::min(holes.back().End(), end) - holes.back().first;
  if (got < count) holes.push_back({end, 1});
  u64 at = sector;
  for (const SectorRange& hole : holes) {
    for (u64 i = 0; i < hole.count; ++i) m_failed.insert(hole.first + i);
    if (keeps) Keep(at, static_cast<u32>(hole.first - at), buffer + (at - sector) * kSectorBytes);
    at = hole.End();
  }
  if (keeps && at < end) {
    Keep(at, static_cast<u32>(end - at), buffer + (at - sector) * kSectorBytes);
  }
  return holes.empty() ? got : static_cast<u32>(holes[0].first - sector);
}

void Scan::Miss(u64 sector, u64 end) {
  ++m_misses;
  for (auto at = m_failed.lower_bound(sector); at != m_failed.end() && *at < end; ++at) {
    m_missed.insert(*at);
  }
}

bool Scan::LacksFirstMissed(u64 first, u64 count) const {
  const auto missed = m_missed.lower_bound(first);
  if (missed == m_missed.end() || *missed - first >= count || !m_options.cache) return false;
  bool lacks = false;
  m_options.cache->VisitExtents(*missed, 1, [&lacks](u64, u64, SectorStatus status) {
    lacks = status == kMissing;
    return true;
  });
  return lacks;
}

Obstacles Scan::MetObstacles() const {
  Obstacles met;
  // What is there and did not come.
  const SectorStatus failed = m_image ? kUnknown : kUnreadable;
  const auto add = [&met, failed](u64 start, u64 sectors, SectorStatus status) {
    if (status == kMeaningless) status = kUnknown;
    met.unread.push_back({start, sectors, status == kPresent ? failed : status});
    return true;
  };
  for (auto at = m_missed.begin(); at != m_missed.end();) {
    const u64 start = *at;
    u64 sectors = 0;
    for (; at != m_missed.end() && *at == start + sectors; ++at) ++sectors;
    if (m_options.cache) {
      m_options.cache->VisitExtents(start, sectors, add);
    } else {
      add(start, sectors, kUnreadable);
    }
  }
  for (size_t i = 0; i < kBudgets; ++i) {
    const auto budget = static_cast<Budget>(i);
    if (IsReached(budget)) met.limits.push_back({budget, LimitOf(budget)});
  }
  return met;
}

void Scan::Keep(u64 sector, u32 count, const u8* bytes) {
  if (count == 0) return;
  const std::span<const u8> read(bytes, size_t{count} * kSectorBytes);
  // All equal to the first, which is zero.
  const bool isBlank = bytes[0] == 0 && std::memcmp(bytes, bytes + 1, read.size() - 1) == 0;
  const bool isFull =
      m_kept.size() >= kMaxKeptSectors || (!isBlank && m_keptSectors + count > kMaxKeptSectors);
  if (isFull) {
    m_kept.clear();
    m_keptSectors = 0;
  }
  KeptRun& run = m_kept[sector];
  run.count = count;
  if (isBlank) return;
  run.bytes.assign(read.begin(), read.end());
  m_keptSectors += count;
}

cPartTreeItem* Scan::AddChild(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (length == 0 || start > std::numeric_limits<u64>::max() - length) return nullptr;
  return AddEntry(parent, start, length, length, type);
}

cPartTreeItem* Scan::AddEntry(cPartTreeItem& parent, u64 start, u64 length, u64 tableLength,
                              u16 type) {
  if (!Spend(Budget::kNodes, 1)) return nullptr;
  cTreeItem*& newest = m_newestChild[&parent];
  auto* child = new cScannedItem(tableLength);
  child->m_tableType = type;
  SetNode(*child, parent.m_io, start, length, type);
  AppendChild(&parent, child, newest);
  newest = child;
  return child;
}

u64 Scan::TableLength(const cPartTreeItem& node) const {
  return &node == m_top ? node.m_length : static_cast<const cScannedItem&>(node).m_tableLength;
}

bool Scan::Detect(cPartTreeItem& node, const cPartTreeItem& above) {
  if (Depth(node) >= kMaxDepth) return Refuse(Budget::kDepth);
  return DetectContents(*this, node, node.m_start > above.m_start);
}

void Scan::AddAndDetect(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (cPartTreeItem* child = AddChild(parent, start, length, type)) Detect(*child, parent);
}

u32 Scan::BytesPerSector() {
  u32 geometry[3] = {};
  const bool known = m_io && m_io->GetGeometry(geometry);
  return known && geometry[0] >= kSectorBytes ? geometry[0] : u32{kSectorBytes};
}

}  // namespace larkspur
