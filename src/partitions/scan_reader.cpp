// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan_reader.h"

#include <algorithm>

#include "base/byte_runs.h"
#include "io/kvr_sparse_io.h"

namespace larkspur {
namespace {

// 6 MiB; more is forgotten and, should it be needed again, read again.
constexpr u64 kMaxKeptSectors = 12288;
// Longer runs are metadata areas that a parser keeps itself.
constexpr u32 kMaxKeptRun = 256;
// A table with more holes than this lies in an area that is better left alone.
constexpr u32 kMaxGaps = 8;

}  // namespace

ScanReader::ScanReader(cBaseIO* io, bool isForPeople, cKVRSparseIO* cache, ScanTrace* trace)
    : m_io(io),
      m_isForPeople(isForPeople),
      m_cache(cache),
      m_image(io == cache ? cache : nullptr),
      m_trace(trace),
      m_sectorCount(io ? io->GetSectorCount() : 0) {}

u32 ScanReader::Read(u64 sector, u32 count, u8* buffer) {
  if (sector >= m_sectorCount) return 0;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  if (!m_limits.Spend(Budget::kSectors, count)) return 0;
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

u32 ScanReader::ReadAround(u64 sector, u32 count, u8* buffer) {
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
        m_isForPeople && hole != m_failed.end()) {
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

void ScanReader::ReadAhead(u64 sector, u32 count) {
  if (!m_isForPeople || sector >= m_sectorCount) return;
  count = static_cast<u32>(std::min<u64>(count, m_sectorCount - sector));
  const u32 known = static_cast<u32>(std::min<u64>(count, KeptFrom(sector).count));
  sector += known;
  count -= known;
  if (count == 0 || UnknownRun(sector, count) != count) return;
  m_ahead.resize(std::max(m_ahead.size(), size_t{count} * kSectorBytes));  // zeroed once
  // A failure is met, and reported, by the caller that needs the sector.
  Ask(sector, count, m_ahead.data(), true);
}

ScanReader::Kept ScanReader::KeptFrom(u64 sector) const {
  auto run = m_kept.upper_bound(sector);
  if (run == m_kept.begin()) return {};
  --run;
  const u64 skip = sector - run->first;
  if (skip >= run->second.count) return {};
  const std::span<const u8> bytes(run->second.bytes);
  return {run->second.count - skip, bytes.empty() ? bytes : bytes.subspan(skip * kSectorBytes)};
}

u32 ScanReader::CopyKept(u64 sector, u32 count, u8* buffer) const {
  const Kept kept = KeptFrom(sector);
  count = static_cast<u32>(std::min<u64>(count, kept.count));
  if (kept.bytes.empty()) {
    std::fill_n(buffer, size_t{count} * kSectorBytes, u8{0});
  } else {
    std::copy_n(kept.bytes.begin(), size_t{count} * kSectorBytes, buffer);
  }
  return count;
}

u32 ScanReader::UnknownRun(u64 sector, u32 count) const {
  if (KeptFrom(sector).count > 0) return 0;
  u64 end = sector + count;
  if (const auto kept = m_kept.lower_bound(sector); kept != m_kept.end()) {
    end = std::min(end, kept->first);
  }
  if (const auto failed = m_failed.lower_bound(sector); failed != m_failed.end()) {
    end = std::min(end, *failed);
  }
  return static_cast<u32>(end - sector);
}

std::vector<SectorRange> ScanReader::NotInCache(u64 sector, u32 count) const {
  std::vector<SectorRange> ranges;
  if (!m_cache) return ranges;
  m_cache->VisitExtents(sector, count, [&](u64 start, u64 sectors, SectorStatus status) {
    if (status != kPresent) ranges.push_back({start, sectors});
    return true;
  });
  return ranges;
}

// A cache is asked for what it has: that part of it cannot be read is not to pass for zeros.
u32 ScanReader::ReadStorage(u64 sector, u32 count, u8* buffer) {
  if (m_io->SetPosition(sector) != sector) return 0;
  const u32 got = m_image ? m_image->ReadStored(buffer, count, nullptr) : m_io->Read(buffer, count);
  return std::min(got, count);
}

u32 ScanReader::Ask(u64 sector, u32 count, u8* buffer, bool keeps) {
  std::vector<SectorRange> holes;
  // Asked before where reading fetches nothing: another run may store what is being read.
  if (m_image) holes = NotInCache(sector, count);
  const u32 got = ReadStorage(sector, count, buffer);
  if (m_trace) m_trace->push_back({sector, count, got, m_asker});
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

void ScanReader::Miss(u64 sector, u64 end) {
  ++m_misses;
  for (auto at = m_failed.lower_bound(sector); at != m_failed.end() && *at < end; ++at) {
    m_missed.insert(*at);
  }
}

bool ScanReader::LacksFirstMissed(u64 first, u64 count) const {
  const auto missed = m_missed.lower_bound(first);
  if (missed == m_missed.end() || *missed - first >= count || !m_cache) return false;
  bool lacks = false;
  m_cache->VisitExtents(*missed, 1, [&lacks](u64, u64, SectorStatus status) {
    lacks = status == kMissing;
    return true;
  });
  return lacks;
}

std::vector<UnreadNote> ScanReader::Unread() const {
  std::vector<UnreadNote> unread;
  // What is there and did not come.
  const SectorStatus failed = m_image ? kUnknown : kUnreadable;
  const auto add = [&unread, failed](u64 start, u64 sectors, SectorStatus status) {
    if (status == kMeaningless) status = kUnknown;
    unread.push_back({start, sectors, status == kPresent ? failed : status});
    return true;
  };
  for (auto at = m_missed.begin(); at != m_missed.end();) {
    const u64 start = *at;
    u64 sectors = 0;
    for (; at != m_missed.end() && *at == start + sectors; ++at) ++sectors;
    if (m_cache) {
      m_cache->VisitExtents(start, sectors, add);
    } else {
      add(start, sectors, kUnreadable);
    }
  }
  return unread;
}

void ScanReader::Keep(u64 sector, u32 count, const u8* bytes) {
  if (count == 0) return;
  const std::span<const u8> read(bytes, size_t{count} * kSectorBytes);
  const bool isBlank = IsAllZero(read);
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

}  // namespace larkspur
