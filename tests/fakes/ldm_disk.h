// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A disk of a Windows dynamic-disk group, described by the volumes of the group:
//
//   LdmDisk disk;
//   disk.Striped("Volume1", "E:", {{.disk = 1, .start = 0, .size = 64}, {.disk = 2, .size = 64}});
//   disk.Store();
//
// The disk itself is number 1; three more are known to it by name only.

#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

#include "fakes/disk_builder.h"

namespace larkspur::fakes {

// A piece of a volume on one of the disks; starts count from the logical disk's.
struct LdmPiece {
  u32 disk = 1;
  u64 start = 0;
  u64 size = 0;
};
using LdmPieces = std::initializer_list<LdmPiece>;

// The fields of a record's body, one after the other.
class LdmBody {
 public:
  LdmBody& Number(u64 value);  // a length byte and what it takes
  LdmBody& Text(std::string_view text);
  LdmBody& Fixed(u64 value, size_t count);
  LdmBody& Zeros(size_t count);

  std::vector<u8> bytes;
};

class LdmDisk {
 public:
  static constexpr u64 kSectors = 8192;
  static constexpr u64 kConfigSectors = 2048;
  static constexpr u64 kLogicalStart = 63;
  static constexpr u64 kGptMetadata = 34;
  static constexpr u64 kGptLogicalStart = kGptMetadata + kConfigSectors;

  LdmDisk& Simple(std::string_view name, std::string_view hint, LdmPiece piece);
  LdmDisk& Spanned(std::string_view name, std::string_view hint, LdmPieces pieces);
  LdmDisk& Striped(std::string_view name, std::string_view hint, LdmPieces pieces);
  LdmDisk& Mirrored(std::string_view name, std::string_view hint, LdmPieces pieces);
  LdmDisk& Raid5(std::string_view name, std::string_view hint, LdmPieces pieces);
  // The volumes that follow are partitions of that type.
  LdmDisk& PartitionType(u8 type);

  // Any other record, as an object or as it stands on the disk.
  LdmDisk& Object(u8 type, u8 flags, const LdmBody& body);
  LdmDisk& Record(std::vector<u8> record);

  // Windows 2003 gives disks long names, so that their records are cut in two.
  LdmDisk& LongDiskNames();
  // Disk records with the identifier as 16 bytes.
  LdmDisk& RawDiskIdentifiers();
  // The database in a metadata partition, the volumes after it in a data partition.
  LdmDisk& OnGpt();

  u64 ConfigStart() const { return m_onGpt ? kGptMetadata : kSectors - kConfigSectors; }
  u64 DatabaseStart() const { return ConfigStart() + 17; }
  std::shared_ptr<MemoryStore> Store() const;

 private:
  using Records = std::vector<std::vector<u8>>;

  // The record of the volume, and of its component with those pieces; the numbers that they got.
  u32 AddVolume(std::string_view name, std::string_view hint, u8 type, u32 components);
  void AddComponent(u32 volume, u8 type, LdmPieces pieces);
  void AddDisks(Records* firstParts, Records* otherParts) const;
  Records AllRecords() const;
  void PutHeader(DiskBuilder& disk) const;
  void PutDatabase(DiskBuilder& disk) const;

  u32 m_nextId = 100;
  u8 m_partitionType = 7;
  bool m_longNames = false;
  bool m_rawIdentifiers = false;
  bool m_onGpt = false;
  Records m_records;
};

}  // namespace larkspur::fakes
