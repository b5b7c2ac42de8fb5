// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/scan.h"

#include <limits>

#include "partitions/detection.h"

namespace larkspur {
namespace {

u32 Depth(const cPartTreeItem& node) {
  u32 depth = 0;
  for (const cPartTreeItem* item = node.Parent(); item; item = item->Parent()) ++depth;
  return depth;
}

}  // namespace

Scan::Scan(cBaseIO* io, const ScanOptions& options)
    : ScanReader(io, options.forPeople || options.notes, options.cache, options.trace),
      m_options(options) {}

cPartTreeItem* Scan::AddChild(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (length == 0 || start > std::numeric_limits<u64>::max() - length) return nullptr;
  return AddEntry(parent, start, length, length, type);
}

cPartTreeItem* Scan::AddEntry(cPartTreeItem& parent, u64 start, u64 length, u64 tableLength,
                              u16 type) {
  if (!Limits().Spend(Budget::kNodes, 1)) return nullptr;
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

std::array<u64, 2> Scan::EndsOf(const cPartTreeItem& node) const {
  return {node.m_length, TableLength(node)};
}

bool Scan::Detect(cPartTreeItem& node, const cPartTreeItem& above) {
  if (Depth(node) >= ScanLimits::kMaxDepth) return Limits().Refuse(Budget::kDepth);
  return DetectContents(*this, node, node.m_start > above.m_start);
}

void Scan::AddAndDetect(cPartTreeItem& parent, u64 start, u64 length, u16 type) {
  if (cPartTreeItem* child = AddChild(parent, start, length, type)) Detect(*child, parent);
}

u32 Scan::BytesPerSector() {
  u32 geometry[3] = {};
  const bool known = IO() && IO()->GetGeometry(geometry);
  return known && geometry[0] >= kSectorBytes ? geometry[0] : u32{kSectorBytes};
}

}  // namespace larkspur
