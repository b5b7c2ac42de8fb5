// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The records of a dynamic-disk database: the volumes of a disk group, the components that they are
// made of, and the partitions and disks that these lie on. The layout of the record bodies was
// taken from disks of Windows 2003 and 2008, and agrees with what Linux and libldm read.
//
// Record ("VBLK"), big-endian; an object that is longer than one is cut into several:
//   0   4  "VBLK"
//   8   4  number of the group, the same for all parts of an object
//   12  2  number of this part, from 0
//   14  2  number of parts; 0: an empty slot
//   16  -  this part's share of the object
// Object, counted as if its first part were as long as it: 18 flags, 19 type, 24 body. A body
// begins with the object's number and name. Numbers are a length byte and as many bytes; so are
// texts.

#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "base/types.h"
#include "partitions/guid_text.h"
#include "partitions/part_records.h"

namespace larkspur {

enum LdmComponentType : u8 {
  kLdmStriped = 1,
  kLdmConcatenated = 2,
  kLdmRaid = 3,
};

struct LdmComponent {
  u8 type;
  u64 partitions;  // how many it has
  u64 volume;
  u64 stripeSectors;  // 0 where it has no stripes, as is
  u64 columns;        // this
};

struct LdmPartition {
  u64 start;  // from the logical disk's start
  u64 volumeOffset;
  u64 size;
  u64 component;
  u64 disk;
  u64 index;  // in a component with columns
};

struct LdmVolume {
  u64 components;  // how many it has
  u8 partitionType;
  GuidBytes guid;
  std::string hint;  // the drive letter or folder it was last mounted at
};

class LdmDatabase {
 public:
  // An object of the longest names fits into three parts of the usual 128 bytes.
  static constexpr u32 kMaxParts = 8;

  // Files one record; of two objects with one number the first stays. Records that are empty, of
  // another type, or too short for what they should hold are passed over. False when `record` is
  // no record at all.
  bool Add(std::span<const u8> record);

  const LdmComponent* FindComponent(u64 id) const;
  const LdmVolume* FindVolume(u64 id) const;
  // Null when the disk is unknown or has no identifier.
  const GuidBytes* FindDisk(u64 id) const;
  const std::map<u64, LdmPartition>& Partitions() const { return m_partitions; }

  // For each partition where it stands among those of its component, by the offset in the volume.
  std::map<u64, u32> OrdersInComponents() const;

 private:
  struct Fragments {
    u32 parts;
    u32 present = 0;  // bit by bit
    std::vector<u8> object;
  };

  void AddPart(std::span<const u8> record, u32 part, u32 parts);
  void AddObject(std::span<const u8> object);

  std::map<u64, LdmComponent> m_components;
  std::map<u64, LdmPartition> m_partitions;
  std::map<u64, GuidBytes> m_disks;
  std::map<u64, LdmVolume> m_volumes;
  std::map<u32, Fragments> m_fragments;
};

// Names the record after the place where the volume was last mounted; without one it stays unnamed.
void FormatVolumeName(const LdmVolume& volume, cPartSoftRAIDInfo& record);

}  // namespace larkspur
