// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Scan: one detection run over a storage. It reads for all probes and parsers, each sector of the
// storage once, and keeps a hostile or dying disk from costing more than it may.
//
// Its limits are far above what real disks need; once one is reached, what would cost more is left
// out, so that what was found before stays and the run ends. A run that asks for notes is told.

#include <array>
#include <map>
#include <memory>
#include <set>
#include <span>
#include <unordered_map>
#include <vector>

#include "base/types.h"
#include "io/sector_range.h"
#include "partitions/notes.h"
#include "partitions/part_tree_item.h"

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

// What stood in the way of a run.
struct Obstacles {
  std::vector<UnreadNote> unread;  // sectors that were needed and did not come, in order
  std::vector<LimitNote> limits;   // that were reached
};

// What a run is asked for beside the tree.
struct ScanOptions {
  ScanTrace* trace = nullptr;  // where given, what was asked of the storage
  // Where given, what is found in the nodes and what stood in the way. Such a run is for people.
  TreeNotes* notes = nullptr;
  // A run for people reads what lies close together at once, and chooses the sectors that a table
  // counts in by what lies where the table leads.
  bool forPeople = false;
  // Build the tree from the backup of a GUID table.
  bool fromBackupGpt = false;
  // In a run for people, the cache that the storage is read from: what it lacks or has as
  // unreadable counts as not having come, though the storage gives zeros for it.
  cKVRSparseIO* cache = nullptr;
  Obstacles* obstacles = nullptr;  // where given, what stood in the way
};

// What a run may use up.
enum class Budget : u8 {
  kNodes,      // a GPT disk has 128 entries, a fragmented volume group some thousand segments
  kSectors,    // read, whether from the storage or from what is kept of it
  kTextBytes,  // of metadata that is text: groups of LVM2 have some hundred KiB, LUKS less
  kItems,      // of such texts, or records of a dynamic disk's database, that are filed
  kLooks,      // at filed items, each time a volume is put together from them
  kPieces,     // of logical volumes
  // These have no count.
  kDepth,    // of the tree
  kEntries,  // of a GUID table
};
inline constexpr size_t kBudgets = 8;

// Metadata that several nodes may share (lvm2.cpp).
struct Lvm2Area;

class Scan {
 public:
  // Nested volume managers end after a handful of levels.
  static constexpr u32 kMaxDepth = 32;
  static constexpr u32 kMaxNodes = 16384;
  // 128 MiB: sixteen sectors a node.
  static constexpr u64 kMaxSectorsRead = u64{1} << 18;

  explicit Scan(cBaseIO* io, const ScanOptions& options = {});
  // A scan of what lies in a node that no scan of ours need have made.
  explicit Scan(const cPartTreeItem& top) : Scan(top.m_io) { m_top = &top; }
  Scan(const Scan&) = delete;
  Scan& operator=(const Scan&) = delete;

  // Reads [sector, sector+count) into the buffer and answers how many sectors came before the first
  // that did not, or before the storage's end.
  u32 Read(u64 sector, u32 count, u8* buffer);
  // Reads what it can of [sector, sector+count): sectors that do not come are zero in the buffer,
  // and after a few that were asked for in vain it gives up. Answers how many came.
  u32 ReadAround(u64 sector, u32 count, u8* buffer);
  // Reads what is of use with holes, too: in a run for people ReadAround, else Read.
  u32 ReadFront(u64 sector, u32 count, u8* buffer) {
    return IsForPeople() ? ReadAround(sector, count, buffer) : Read(sector, count, buffer);
  }
  // The same for those who need nothing to be there in particular: false when too little came.
  bool ReadUsable(u64 sector, u32 count, u8* buffer) {
    const u32 came = ReadFront(sector, count, buffer);
    return came == count || (came > 0 && IsForPeople());
  }
  bool ReadSector(u64 sector, SectorBytes* bytes) { return Read(sector, 1, bytes->data()) == 1; }

  bool IsForPeople() const { return m_options.forPeople || TakesNotes(); }
  bool TakesNotes() const { return m_options.notes; }
  void TakeNote(const cTreeItem& node, Note note) {
    if (TakesNotes()) m_options.notes->Add(node, std::move(note));
  }
  const ScanOptions& Options() const { return m_options; }
  // In a run for people, reads what of [sector, sector+count) is not known yet in one request;
  // nothing when what is known lies amid it.
  void ReadAhead(u64 sector, u32 count);

  // A new last child of `parent`, owned by the tree; null, and no child, when the length is 0, when
  // the end lies beyond 2^64, or when there are too many nodes already.
  cPartTreeItem* AddChild(cPartTreeItem& parent, u64 start, u64 length, u16 type);
  // The same for tables each of whose used entries becomes a node, whatever its length. The table
  // gives `tableLength`, of which the node may have less.
  cPartTreeItem* AddEntry(cPartTreeItem& parent, u64 start, u64 length, u64 tableLength, u16 type);

  // The length of the node as its table gives it.
  u64 TableLength(const cPartTreeItem& node) const;

  // Looks into a node that was just made. `above` is the node whose table made it: a node that
  // starts where that one starts is not asked for a master boot record again.
  bool Detect(cPartTreeItem& node, const cPartTreeItem& above);

  // AddChild, and then Detect.
  void AddAndDetect(cPartTreeItem& parent, u64 start, u64 length, u16 type);

  // Takes `amount` out of what is left of the budget. False, and the limit counts as reached, when
  // that is less.
  bool Spend(Budget budget, u64 amount);
  // Counts the limit as reached, and answers false.
  bool Refuse(Budget budget);
  static u64 LimitOf(Budget budget);
  u64 Left(Budget budget) const { return m_left[static_cast<size_t>(budget)]; }
  bool IsReached(Budget budget) const { return m_reached[static_cast<size_t>(budget)]; }
  // How often sectors that the storage has were needed and did not come.
  u64 Misses() const { return m_misses; }
  // Whether the first of [first, first+count) that was needed and did not come is one that the
  // cache lacks.
  bool LacksFirstMissed(u64 first, u64 count) const;
  Obstacles MetObstacles() const;

  // The metadata area of LVM2 that begins at that sector, empty before it was first looked at.
  std::shared_ptr<const Lvm2Area>& Lvm2AreaAt(u64 sector) { return m_lvm2Areas[sector]; }

  u64 SectorCount() const { return m_sectorCount; }
  cBaseIO* IO() const { return m_io; }
  // Bytes per sector as the storage's geometry has them; 512 when it does not know, or less.
  u32 BytesPerSector();
  // The same in sectors of 512 bytes as tables of partitions count, unless a run for people found
  // otherwise.
  u64 TableFactor() { return m_tableFactor != 0 ? m_tableFactor : BytesPerSector() / kSectorBytes; }
  void SetTableFactor(u64 factor) { m_tableFactor = factor; }

 private:
  friend class ScanAsker;

  // Sectors that were read at once.
  struct KeptRun {
    u64 count = 0;
    std::vector<u8> bytes;  // empty when all are zeros
  };

  // How many sectors from `sector` on are kept in one run, and their bytes.
  u64 CountKept(u64 sector, std::span<const u8>* bytes) const;
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
  cKVRSparseIO* m_image;  // m_io where it is a cache, else null
  const cPartTreeItem* m_top = nullptr;
  ScanOptions m_options;
  u64 m_sectorCount;
  std::array<u64, kBudgets> m_left;
  std::array<bool, kBudgets> m_reached{};
  std::unordered_map<const cTreeItem*, cTreeItem*> m_newestChild;  // by its parent
  const char* m_asker = kDetection;
  std::map<u64, KeptRun> m_kept;  // without overlaps, by their first sector
  u64 m_keptSectors = 0;
  u64 m_tableFactor = 0;  // 0: the storage's
  std::vector<u8> m_ahead;
  std::set<u64> m_failed;
  std::set<u64> m_missed;  // of these, those that were needed
  u64 m_misses = 0;
  std::map<u64, std::shared_ptr<const Lvm2Area>> m_lvm2Areas;
};

// While it lives, what is read counts as asked by `name`.
class ScanAsker {
 public:
  ScanAsker(Scan& scan, const char* name) : m_scan(scan), m_before(scan.m_asker) {
    scan.m_asker = name;
  }
  ~ScanAsker() { m_scan.m_asker = m_before; }
  ScanAsker(const ScanAsker&) = delete;
  ScanAsker& operator=(const ScanAsker&) = delete;

 private:
  Scan& m_scan;
  const char* m_before;
};

}  // namespace larkspur
