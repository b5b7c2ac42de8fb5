// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// ScanReader: reads a storage for one run. Each sector is asked of the storage once, also one that
// fails; what came is kept, and what was needed and did not come is told.
//
// Reads spend Budget::kSectors.

#include <array>
#include <map>
#include <set>
#include <span>
#include <vector>

#include "io/base_io.h"
#include "io/sector_range.h"
#include "partitions/notes.h"
#include "partitions/scan_limits.h"

namespace larkspur {

class cKVRSparseIO;

using SectorBytes = std::array<u8, kSectorBytes>;

// What a run asked of the storage, in order.
struct ScanRequest {
  u64 sector;
  u32 count;
  u32 delivered;
  const char* asker;  // the class of the format that asked, or kDetection
};
inline constexpr char kDetection[] = "detection";
using ScanTrace = std::vector<ScanRequest>;

class ScanReader {
 public:
  // A run for people reads what lies close together at once, and around holes. `cache` and `trace`
  // may be null. What the cache, which the storage is read from, lacks or has as unreadable counts
  // as not having come, though the storage gives zeros for it.
  ScanReader(cBaseIO* io, bool isForPeople, cKVRSparseIO* cache, ScanTrace* trace);
  ScanReader(const ScanReader&) = delete;
  ScanReader& operator=(const ScanReader&) = delete;

  // Reads [sector, sector+count) into the buffer and answers how many sectors came before the first
  // that did not, or before the storage's end.
  u32 Read(u64 sector, u32 count, u8* buffer);
  // Reads what it can of [sector, sector+count): sectors that do not come are zero in the buffer,
  // and after a few that were asked for in vain it gives up. Answers how many came.
  u32 ReadAround(u64 sector, u32 count, u8* buffer);
  // Reads what is of use with holes, too: in a run for people ReadAround, else Read.
  u32 ReadFront(u64 sector, u32 count, u8* buffer) {
    return m_isForPeople ? ReadAround(sector, count, buffer) : Read(sector, count, buffer);
  }
  // The same for those who need nothing to be there in particular: false when too little came.
  bool ReadUsable(u64 sector, u32 count, u8* buffer) {
    const u32 came = ReadFront(sector, count, buffer);
    return came == count || (came > 0 && m_isForPeople);
  }
  bool ReadSector(u64 sector, SectorBytes* bytes) { return Read(sector, 1, bytes->data()) == 1; }
  // In a run for people, reads what of [sector, sector+count) is not known yet in one request;
  // nothing when what is known lies amid it.
  void ReadAhead(u64 sector, u32 count);

  // How often sectors that the storage has were needed and did not come.
  u64 Misses() const { return m_misses; }
  // Whether the first of [first, first+count) that was needed and did not come is one that the
  // cache lacks.
  bool LacksFirstMissed(u64 first, u64 count) const;
  // Those that were needed and did not come, in order.
  std::vector<UnreadNote> Unread() const;

  bool IsForPeople() const { return m_isForPeople; }
  u64 SectorCount() const { return m_sectorCount; }
  cBaseIO* IO() const { return m_io; }
  ScanLimits& Limits() { return m_limits; }

 private:
  friend class ScanAsker;

  // Sectors that were read at once.
  struct KeptRun {
    u64 count = 0;
    std::vector<u8> bytes;  // empty when all are zeros
  };

  // What is kept in one run from a sector on.
  struct Kept {
    u64 count = 0;
    std::span<const u8> bytes;  // empty when all are zeros
  };

  Kept KeptFrom(u64 sector) const;
  // Copies what is kept from `sector` on, up to `count` sectors, and answers how many.
  u32 CopyKept(u64 sector, u32 count, u8* buffer) const;
  // How many sectors from `sector` on, of `count`, are neither kept nor known to fail.
  u32 UnknownRun(u64 sector, u32 count) const;
  void Keep(u64 sector, u32 count, const u8* bytes);
  // Those of [sector, sector+count) that are not in the cache, or unreadable there.
  std::vector<SectorRange> NotInCache(u64 sector, u32 count) const;
  u32 ReadStorage(u64 sector, u32 count, u8* buffer);
  // Asks the storage, and answers how many sectors came before the first that did not.
  u32 Ask(u64 sector, u32 count, u8* buffer, bool keeps);
  // Those of [sector, end) that are known to fail were needed.
  void Miss(u64 sector, u64 end);

  cBaseIO* m_io;
  bool m_isForPeople;
  cKVRSparseIO* m_cache;
  cKVRSparseIO* m_image;  // m_io where it is the cache, else null
  ScanTrace* m_trace;
  u64 m_sectorCount;
  ScanLimits m_limits;
  const char* m_asker = kDetection;
  std::map<u64, KeptRun> m_kept;  // without overlaps, by their first sector
  u64 m_keptSectors = 0;
  std::vector<u8> m_ahead;
  std::set<u64> m_failed;
  std::set<u64> m_missed;  // of these, those that were needed
  u64 m_misses = 0;
};

// While it lives, what is read counts as asked by `name`.
class ScanAsker {
 public:
  ScanAsker(ScanReader& reader, const char* name) : m_reader(reader), m_before(reader.m_asker) {
    reader.m_asker = name;
  }
  ~ScanAsker() { m_reader.m_asker = m_before; }
  ScanAsker(const ScanAsker&) = delete;
  ScanAsker& operator=(const ScanAsker&) = delete;

 private:
  ScanReader& m_reader;
  const char* m_before;
};

}  // namespace larkspur
