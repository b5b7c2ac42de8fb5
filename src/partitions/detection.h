// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What lies on a storage: the two drivers that try the formats in their fixed order.

#include "partitions/part_tree_item.h"
#include "partitions/scan.h"

namespace larkspur {

class cBaseIO;
struct Format;

// Empties the tree and builds that of the whole storage, with the storage itself as its one top
// item. The nodes do not own `io`. False when the storage is missing or empty, when its first 16
// sectors cannot all be read, or when the recognised format could not be read to its end; what was
// found up to there stays.
bool BuildPartitionTree(cTreeItem** tree, cBaseIO* io);

// The same, with what the options ask for beside the tree. From a backup table, also false when
// there is no intact one.
bool BuildPartitionTree(cTreeItem** tree, cBaseIO* io, const ScanOptions& options);

// Looks for a format in a node and, where there is one, reads it. A master boot record is looked
// for only with `allowMbr`. False when the node cannot be read or its format not be understood.
bool DetectPartitionContents(cPartTreeItem* node, bool allowMbr);

// The same within a scan.
bool DetectContents(Scan& scan, cPartTreeItem& node, bool allowMbr);

// In a run for people, reads in few requests what the formats' probes will want of a node and, with
// `forContent`, what FindContent will. Gaps are left alone where they are wider than what lies
// around them.
void ReadNodeAhead(Scan& scan, const cPartTreeItem& node, bool forContent);

// The format that the parser with that number reads; null when there is none.
const Format* FormatOf(u32 parserId);

// A partition tree that ends with its holder.
class PartitionTree {
 public:
  PartitionTree() = default;
  ~PartitionTree() { DeleteTree(&m_head); }
  PartitionTree(const PartitionTree&) = delete;
  PartitionTree& operator=(const PartitionTree&) = delete;

  cTreeItem** Head() { return &m_head; }
  // The whole storage; null before anything was built.
  cPartTreeItem* Root() const { return static_cast<cPartTreeItem*>(m_head); }

 private:
  cTreeItem* m_head = nullptr;
};

}  // namespace larkspur
