// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where file systems may lie on a storage.

#include <string>
#include <vector>

#include "io/sector_range.h"
#include "partitions/notes.h"
#include "partitions/scan.h"
#include "rescue/extent_set.h"

namespace larkspur {

struct PlacedVolume {
  std::string place;  // in the partition tree; empty: the whole storage
  SectorRange sectors;
};

// The partitions that have none inside, in the tree's order, cut at the storage's end; the whole
// storage when it has none. Before its partitions, what has a plain table of them and content of
// its own as well: the table may be an older one, or make a file system bootable. `root` is the
// whole storage of a tree that BuildPartitionTree built, `notes` are those of that run.
std::vector<PlacedVolume> VolumesOf(const cPartTreeItem& root, const TreeNotes& notes);

struct VolumeLayout {
  std::vector<PlacedVolume> volumes;
  Obstacles met;  // in finding them
  // What lies in none of them: where a partition table leaves it free, and where a volume manager
  // may use it, or a table was not read to its end.
  ExtentSet free;
  ExtentSet unknown;
};
// `cache` is the one that the storage is read from, if any.
VolumeLayout LayoutOf(cBaseIO* storage, cKVRSparseIO* cache = nullptr);

}  // namespace larkspur
