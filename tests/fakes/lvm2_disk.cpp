// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/lvm2_disk.h"

#include <fmt/core.h>
#include <zlib.h>

namespace larkspur::fakes {
namespace {

constexpr u64 kHeader = 32;  // in the label's sector
constexpr u64 kDataArea = kHeader + 40;
constexpr u64 kAreaList = kDataArea + 32;

u32 Crc(const u8* bytes, size_t count) {
  const uLong crc = crc32(0xF597A6CF ^ ~u32{0}, bytes, static_cast<uInt>(count));
  return static_cast<u32>(crc) ^ ~u32{0};
}

}  // namespace

std::string Lvm2Group(std::string_view volumes, const Lvm2GroupFields& fields) {
  std::string physical;
  for (int i = 0; i < 4; ++i) {
    const std::string id = i == 0 ? std::string(fields.ownId)
                                  : fmt::format("00000{}-aaaa-bbbb-cccc-dddd-eeee-ffffff", i);
    physical += fmt::format("pv{} {{ id = \"{}\" pe_start = 512 pe_count = 400 }}\n", i, id);
  }
  return fmt::format(
      "vg {{\nid = \"vgvgvg-vgvg-vgvg-vgvg-vgvg-vgvg-vgvgvg\"\nseqno = {}\nextent_size = {}\n"
      "physical_volumes {{\n{}}}\nlogical_volumes {{\n{}}}\n}}\ncontents = \"Text Format Volume "
      "Group\"\nversion = 1\n",
      fields.sequence, fields.extentSectors, physical, volumes);
}

// The identifier is made of the name's first character.
std::string Lvm2Volume(std::string_view name, std::string_view segments) {
  const char c = name.empty() ? '?' : name[0];
  const std::string four(4, c);
  return fmt::format(
      "{} {{ id = \"{}-{}-{}-{}-{}-{}-{}\"\nstatus = [\"READ\", \"VISIBLE\"]\n{} }}\n", name,
      std::string(6, c), four, four, four, four, four, std::string(6, c), segments);
}

std::string Lvm2Linear(u64 firstExtent, u64 extents) {
  return fmt::format(
      "segment1 {{ start_extent = 0 extent_count = {} type = \"striped\" stripe_count = 1 "
      "stripes = [\"pv0\", {}] }}",
      extents, firstExtent);
}

Lvm2Disk& Lvm2Disk::Label(u32 sector) {
  m_label = sector;
  m_disk.Text(sector, 0, "LABELONE").Le(sector, 8, 8, sector).Le(sector, 20, 4, kHeader);
  m_disk.Text(sector, 24, "LVM2 001").Text(sector, kHeader, "00000011112222333344445555666666");
  m_disk.Le(sector, kHeader + 32, 8, kSectors * kSectorBytes);
  m_disk.Le(sector, kDataArea, 8, 512 * kSectorBytes);
  SignLabel();
  return *this;
}

Lvm2Disk& Lvm2Disk::Area(const Lvm2Area& area) {
  const size_t entry = kAreaList + size_t{m_areas++} * 16;
  m_disk.Le(m_label, entry, 8, area.position).Le(m_label, entry + 8, 8, area.size);
  SignLabel();

  const std::string text = area.text + '\0';
  const u64 header = area.position / kSectorBytes;
  m_disk.Text(header, 4, " LVM2 x[5A%r0N*>").Le(header, 20, 4, 1);
  m_disk.Le(header, 24, 8, area.position).Le(header, 32, 8, area.size);
  if (!area.text.empty()) {
    const u32 sum = Crc(reinterpret_cast<const u8*>(text.data()), text.size());
    m_disk.Le(header, 40, 8, area.textPosition).Le(header, 48, 8, text.size());
    m_disk.Le(header, 56, 4, sum).Le(header, 60, 4, area.flags);
  }
  m_disk.Le(header, 0, 4, Crc(At(area.position + 4), kSectorBytes - 4));
  for (size_t i = 0; i < text.size(); ++i) {
    const u64 ring = (area.textPosition - kSectorBytes + i) % (area.size - kSectorBytes);
    *At(area.position + kSectorBytes + ring) = static_cast<u8>(text[i]);
  }
  return *this;
}

void Lvm2Disk::SignLabel() {
  m_disk.Le(m_label, 16, 4, Crc(m_disk.At(m_label, 20, 1), kSectorBytes - 20));
}

}  // namespace larkspur::fakes
