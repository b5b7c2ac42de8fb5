// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A physical volume of LVM2, described by the text of its volume group:
//
//   Lvm2Disk().Label().Area({.text = Lvm2Group(Lvm2Volume("root", "segment1 { ... }"))});
//
// Extents have 8 sectors and begin at sector 512. "pv0" is the disk itself, "pv1" to "pv3" are
// others.

#include <string>
#include <string_view>

#include "fakes/disk_builder.h"

namespace larkspur::fakes {

// Fields of a group or a volume that are not as usual.
struct Lvm2GroupFields {
  u64 sequence = 1;
  u64 extentSectors = 8;
  std::string_view ownId = "000000-1111-2222-3333-4444-5555-666666";
};

std::string Lvm2Group(std::string_view volumes, const Lvm2GroupFields& fields = {});
std::string Lvm2Volume(std::string_view name, std::string_view segments);
// A segment of one area on the disk itself.
std::string Lvm2Linear(u64 firstExtent, u64 extents);

// A metadata area and its text; positions and sizes in bytes.
struct Lvm2Area {
  u64 position = 4096;
  u64 size = 32768;
  u64 textPosition = 512;
  std::string text;
  u32 flags = 0;
};

class Lvm2Disk {
 public:
  static constexpr u64 kSectors = 4096;

  // A label in that sector, whose header lists the areas that follow.
  Lvm2Disk& Label(u32 sector = 1);
  Lvm2Disk& Area(const Lvm2Area& area);

  u8* At(u64 position) { return m_disk.At(0, position, 1); }
  std::string Tree() const { return m_disk.Tree(); }
  auto Disk() const { return m_disk.Disk(); }

 private:
  void SignLabel();

  DiskBuilder m_disk{kSectors};
  u32 m_label = 0;
  u32 m_areas = 0;
};

}  // namespace larkspur::fakes
