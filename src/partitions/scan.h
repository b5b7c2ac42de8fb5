// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Scan: one detection run over a storage. It reads for all probes and parsers, each sector of the
// storage once, and keeps a hostile or dying disk from costing more than it may.
//
// Its limits are far above what real disks need; once one is reached, reads answer 0 and no node is
// added any more, so that what was found before stays and the run ends.

#include <array>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "base/types.h"
#include "partitions/part_tree_item.h"

namespace larkspur {

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

class Scan {
 public:
  // Nested volume managers end after a handful of levels.
  static constexpr u32 kMaxDepth = 32;
  // A GPT disk has 128 entries, a fragmented volume group some thousand segments.
  static constexpr u32 kMaxNodes = 16384;
  // 128 MiB, whether from the storage or from what is kept of it: twenty sectors a node, and the
  // largest volume-group text eight times over.
  static constexpr u64 kMaxSectorsRead = u64{1} << 18;

  explicit Scan(cBaseIO* io, ScanTrace* trace = nullptr);
  // A scan of what lies in a node that no scan of ours need have made.
  explicit Scan(const cPartTreeItem& top) : Scan(top.m_io) { m_top = &top; }
  Scan(const Scan&) = delete;
  Scan& operator=(const Scan&) = delete;

  // Reads [sector, sector+count) into the buffer and answers how many sectors came before the first
  // that did not, or before the storage's end.
  u32 Read(u64 sector, u32 count, u8* buffer);
  // Reads what it can of [sector, sector+count): sectors that do not come are zero in the buffer,
  // and after a few of them it gives up. Answers how many came.
  u32 ReadAround(u64 sector, u32 count, u8* buffer);
  bool ReadSector(u64 sector, SectorBytes* bytes) { return Read(sector, 1, bytes->data()) == 1; }

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

  u64 SectorCount() const { return m_sectorCount; }
  cBaseIO* IO() const { return m_io; }
  // Bytes per sector as the storage's geometry has them; 512 when it does not know, or less.
  u32 BytesPerSector();

 private:
  friend class ScanAsker;

  // How many sectors from `sector` on, of `count`, are neither kept nor known to fail.
  u32 UnknownRun(u64 sector, u32 count) const;
  void Keep(u64 sector, u32 count, const u8* bytes);
  u32 ReadUnknown(u64 sector, u32 count, u8* buffer);

  cBaseIO* m_io;
  const cPartTreeItem* m_top = nullptr;
  ScanTrace* m_trace;
  u64 m_sectorCount;
  u64 m_sectorsLeft = kMaxSectorsRead;
  u32 m_nodes = 0;
  std::unordered_map<const cTreeItem*, cTreeItem*> m_newestChild;  // by its parent
  const char* m_asker = kDetection;
  std::unordered_map<u64, SectorBytes> m_kept;
  std::unordered_set<u64> m_failed;
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
