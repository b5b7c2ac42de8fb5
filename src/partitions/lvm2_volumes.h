// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What the text of an LVM2 volume group says about one of its physical volumes: which pieces of
// which logical volumes lie on it. The keys are those that LVM2 itself writes.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "partitions/lvm2_text.h"

namespace larkspur {

// The set that a piece is a part of: the stripes, legs or images of a segment or, where the piece
// is a whole segment, the segments of its logical volume.
struct Lvm2Set {
  std::string name;  // "group/volume"
  std::string id;    // of the logical volume, 32 characters
  std::string level;
  u32 layout;        // a RaidLayout
  u64 blockSectors;  // 0 where there are no blocks
  u64 columns;
  u64 index;
};

// In extents of the physical volume.
struct Lvm2Piece {
  u64 first;
  u64 count;
  Lvm2Set set;
};

struct Lvm2PhysicalVolume {
  u64 extentSectors;
  u64 firstExtentSector;  // from the start of the physical volume
  std::vector<Lvm2Piece> pieces;
};

// The number of the text's version; later ones are higher.
u64 Lvm2SequenceNumber(const Lvm2Text& text);

// The pieces on the physical volume with that identifier (32 characters), in the order of the text,
// at most `maxPieces` of them. Nothing when the text is no volume group's or does not know the
// physical volume.
std::optional<Lvm2PhysicalVolume> FindPhysicalVolume(const Lvm2Text& text, std::string_view id,
                                                     u64 maxPieces = kNowhere);

}  // namespace larkspur
