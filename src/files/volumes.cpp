// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "files/volumes.h"

#include <algorithm>

#include "io/base_io.h"
#include "partitions/detection.h"
#include "partitions/part_parser.h"
#include "partitions/place.h"

namespace larkspur {
namespace {

// The copy of a GUID table, and what marks a member of a RAID, stand at a storage's end, and
// nothing in its tables need speak of them.
constexpr u64 kEndSectors = 64;

void AddLeaves(const cPartTreeItem& root, const cPartTreeItem& node, const std::string& place,
               u64 sectors, std::vector<PlacedVolume>* volumes) {
  if (!node.FirstChild()) {
    const auto found = FindPlace(root, place);
    if (!found || found->start >= sectors) return;
    volumes->push_back({place, {found->start, std::min(found->sectors, sectors - found->start)}});
    return;
  }
  size_t number = 0;
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    AddLeaves(root, *child, ChildPlace(place, ++number), sectors, volumes);
  }
}

// Whether the node holds a table of partitions and nothing else: then what it gives to none is
// free.
bool IsPlainTable(const cPartTreeItem& node) {
  constexpr ParserId kPlain[] = {kParserMbr, kParserApple, kParserBSD,
                                 kParserGPT, kParserSol,   kParserXUnix};
  auto* parser = static_cast<cPartParser*>(FindExtension(node, kKindParser));
  return parser && std::count(std::begin(kPlain), std::end(kPlain), parser->GetParserId()) > 0;
}

// Sorts the sectors of a node that are in none of its children; those of the children are sorted by
// themselves. A node within a table that has no parser of its own is a part of that table.
void SortRest(const cPartTreeItem& node, bool isInPlainTable, VolumeLayout* layout) {
  if (!node.FirstChild()) return;
  const bool isPlain = FindExtension(node, kKindParser) ? IsPlainTable(node) : isInPlainTable;
  ExtentSet rest({node.m_start, node.m_length});
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    rest.Remove({child->m_start, child->m_length});
    SortRest(*child, isPlain, layout);
  }
  (isPlain ? layout->free : layout->unknown).Add(rest);
}

}  // namespace

std::vector<PlacedVolume> VolumesOf(const cPartTreeItem& root) {
  std::vector<PlacedVolume> volumes;
  AddLeaves(root, root, "", root.m_length, &volumes);
  return volumes;
}

VolumeLayout LayoutOf(cBaseIO* storage, cKVRSparseIO* cache) {
  PartitionTree tree;
  VolumeLayout layout;
  const bool isWhole = BuildPartitionTree(
      tree.Head(), storage, {.forPeople = true, .cache = cache, .obstacles = &layout.met});
  if (!tree.Root()) return layout;
  const u64 sectors = storage->GetSectorCount();
  layout.volumes = VolumesOf(*tree.Root());
  SortRest(*tree.Root(), false, &layout);
  const u64 atEnd = std::min(kEndSectors, sectors);
  layout.unknown.Add({sectors - atEnd, atEnd});
  for (const PlacedVolume& volume : layout.volumes) {
    layout.free.Remove(volume.sectors);
    layout.unknown.Remove(volume.sectors);
  }
  if (!isWhole) {
    layout.unknown.Add(layout.free);
    layout.free.Clear();
  }
  layout.free.Remove(layout.unknown);
  return layout;
}

}  // namespace larkspur
