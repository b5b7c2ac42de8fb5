// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where file systems may lie on a storage.

#include <string>
#include <vector>

#include "io/sector_range.h"
#include "rescue/extent_set.h"

namespace larkspur {

class cBaseIO;

struct PlacedVolume {
  std::string place;  // in the partition tree; empty: the whole storage
  SectorRange sectors;
};

// The partitions that have none inside, in the tree's order; the whole storage when it has none.
std::vector<PlacedVolume> VolumesOf(cBaseIO* storage);

struct VolumeLayout {
  std::vector<PlacedVolume> volumes;
  // What lies in none of them: where a partition table leaves it free, and where a volume manager
  // may use it, or a table was not read to its end.
  ExtentSet free;
  ExtentSet unknown;
};
VolumeLayout LayoutOf(cBaseIO* storage);

}  // namespace larkspur
