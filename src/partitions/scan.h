// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Scan: one detection run over a storage. All probes and parsers read through it, and make their
// nodes by it; a run that asks for notes is told what stood in its way.

#include <array>
#include <map>
#include <memory>
#include <unordered_map>
#include <vector>

#include "partitions/notes.h"
#include "partitions/part_tree_item.h"
#include "partitions/scan_reader.h"

namespace larkspur {

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

// Metadata that several nodes may share (lvm2.cpp).
struct Lvm2Area;

class Scan : public ScanReader {
 public:
  explicit Scan(cBaseIO* io, const ScanOptions& options = {});
  // A scan of what lies in a node that no scan of ours need have made.
  explicit Scan(const cPartTreeItem& top) : Scan(top.m_io) { m_top = &top; }

  bool TakesNotes() const { return m_options.notes; }
  void TakeNote(const cTreeItem& node, Note note) {
    if (TakesNotes()) m_options.notes->Add(node, std::move(note));
  }
  const ScanOptions& Options() const { return m_options; }

  // A new last child of `parent`, owned by the tree; null, and no child, when the length is 0, when
  // the end lies beyond 2^64, or when there are too many nodes already.
  cPartTreeItem* AddChild(cPartTreeItem& parent, u64 start, u64 length, u16 type);
  // The same for tables each of whose used entries becomes a node, whatever its length. The table
  // gives `tableLength`, of which the node may have less.
  cPartTreeItem* AddEntry(cPartTreeItem& parent, u64 start, u64 length, u64 tableLength, u16 type);

  // The length of the node as its table gives it.
  u64 TableLength(const cPartTreeItem& node) const;
  // By which its end may be found, in this order: a host counts on the node's own being tried
  // first, though that of a GUID table's node is too short.
  std::array<u64, 2> EndsOf(const cPartTreeItem& node) const;

  // Looks into a node that was just made. `above` is the node whose table made it: a node that
  // starts where that one starts is not asked for a master boot record again.
  bool Detect(cPartTreeItem& node, const cPartTreeItem& above);

  // AddChild, and then Detect.
  void AddAndDetect(cPartTreeItem& parent, u64 start, u64 length, u16 type);

  Obstacles MetObstacles() { return {Unread(), Limits().Reached()}; }

  // The metadata area of LVM2 that begins at that sector, empty before it was first looked at.
  std::shared_ptr<const Lvm2Area>& Lvm2AreaAt(u64 sector) { return m_lvm2Areas[sector]; }

  // Bytes per sector as the storage's geometry has them; 512 when it does not know, or less.
  u32 BytesPerSector();
  // The same in sectors of 512 bytes as tables of partitions count, unless a run for people found
  // otherwise.
  u64 TableFactor() { return m_tableFactor != 0 ? m_tableFactor : BytesPerSector() / kSectorBytes; }
  void SetTableFactor(u64 factor) { m_tableFactor = factor; }

 private:
  const cPartTreeItem* m_top = nullptr;
  ScanOptions m_options;
  std::unordered_map<const cTreeItem*, cTreeItem*> m_newestChild;  // by its parent
  u64 m_tableFactor = 0;                                           // 0: the storage's
  std::map<u64, std::shared_ptr<const Lvm2Area>> m_lvm2Areas;
};

}  // namespace larkspur
