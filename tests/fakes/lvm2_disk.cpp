// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "fakes/lvm2_disk.h"

#include <algorithm>

#include <fmt/core.h>
#include <zlib.h>

#include "base/endian.h"
#include "fakes/tree_text.h"

namespace larkspur::fakes {
namespace {

constexpr u64 kHeader = 32;  // in the label's sector
constexpr u64 kDataArea = kHeader + 40;
constexpr u64 kAreaList = kDataArea + 32;

u32 Crc(const u8* bytes, size_t count) {
  const uLong crc = crc32(0xF597A6CF ^ ~u32{0}, bytes, static_cast<uInt>(count));
  return static_cast<u32>(crc) ^ ~u32{0};
}

void StoreText(u8* to, std::string_view text) {
  std::copy(text.begin(), text.end(), to);
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
  u8* label = At(u64{sector} * kSectorBytes);
  StoreText(label, "LABELONE");
  StoreLe64(label + 8, sector);
  StoreLe32(label + 20, kHeader);
  StoreText(label + 24, "LVM2 001");
  StoreText(label + kHeader, "00000011112222333344445555666666");
  StoreLe64(label + kHeader + 32, kSectors * kSectorBytes);
  StoreLe64(label + kDataArea, 512 * kSectorBytes);
  SignLabel();
  return *this;
}

Lvm2Disk& Lvm2Disk::Area(const Lvm2Area& area) {
  u8* entry = At(u64{m_label} * kSectorBytes + kAreaList + u64{m_areas++} * 16);
  StoreLe64(entry, area.position);
  StoreLe64(entry + 8, area.size);
  SignLabel();

  const std::string text = area.text + '\0';
  u8* header = At(area.position);
  StoreText(header + 4, " LVM2 x[5A%r0N*>");
  StoreLe32(header + 20, 1);
  StoreLe64(header + 24, area.position);
  StoreLe64(header + 32, area.size);
  if (!area.text.empty()) {
    StoreLe64(header + 40, area.textPosition);
    StoreLe64(header + 48, text.size());
    StoreLe32(header + 56, Crc(reinterpret_cast<const u8*>(text.data()), text.size()));
    StoreLe32(header + 60, area.flags);
  }
  StoreLe32(header, Crc(header + 4, kSectorBytes - 4));
  for (size_t i = 0; i < text.size(); ++i) {
    const u64 ring = (area.textPosition - kSectorBytes + i) % (area.size - kSectorBytes);
    header[kSectorBytes + ring] = static_cast<u8>(text[i]);
  }
  return *this;
}

void Lvm2Disk::SignLabel() {
  u8* label = At(u64{m_label} * kSectorBytes);
  StoreLe32(label + 16, Crc(label + 20, kSectorBytes - 20));
}

std::string Lvm2Disk::Tree() const {
  return TreeText(DiskOn(m_store).get());
}

}  // namespace larkspur::fakes
