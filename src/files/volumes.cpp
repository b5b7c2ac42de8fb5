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

// Whether the node holds a table of partitions and nothing else: then what it gives to none is
// free.
bool IsPlainTable(const cPartTreeItem& node) {
  constexpr ParserId kPlain[] = {kParserMbr, kParserApple, kParserBSD,
                                 kParserGPT, kParserSol,   kParserXUnix};
  auto* parser = static_cast<cPartParser*>(FindExtension(node, kKindParser));
  return parser && std::count(std::begin(kPlain), std::end(kPlain), parser->GetParserId()) > 0;
}

// A file system may have a table in its first sector: one that was there before it, or that makes
// it bootable. Then both may be true.
bool IsVolume(const cPartTreeItem& node, const TreeNotes& notes) {
  if (!node.FirstChild()) return true;
  const std::vector<Note>& told = notes.Of(node);
  return IsPlainTable(node) && std::any_of(told.begin(), told.end(), [](const Note& note) {
           return std::holds_alternative<ContentNote>(note);
         });
}

void AddVolumes(const cPartTreeItem& root, const cPartTreeItem& node, const std::string& place,
                const TreeNotes& notes, std::vector<PlacedVolume>* volumes) {
  const auto found = IsVolume(node, notes) ? FindPlace(root, place) : std::nullopt;
  if (found && found->start < root.m_length) {
    volumes->push_back(
        {place, {found->start, std::min(found->sectors, root.m_length - found->start)}});
  }
  size_t number = 0;
  for (const cPartTreeItem* child = node.FirstChild(); child; child = child->Next()) {
    AddVolumes(root, *child, ChildPlace(place, ++number), notes, volumes);
  }
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

std::vector<PlacedVolume> VolumesOf(const cPartTreeItem& root, const TreeNotes& notes) {
  std::vector<PlacedVolume> volumes;
  AddVolumes(root, root, "", notes, &volumes);
  return volumes;
}

VolumeLayout LayoutOf(cBaseIO* storage, cKVRSparseIO* cache) {
  PartitionTree tree;
  TreeNotes notes;
  VolumeLayout layout;
  const bool isWhole = BuildPartitionTree(
      tree.Head(), storage,
      {.notes = &notes, .forPeople = true, .cache = cache, .obstacles = &layout.met});
  if (!tree.Root()) return layout;
  const u64 sectors = storage->GetSectorCount();
  layout.volumes = VolumesOf(*tree.Root(), notes);
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
