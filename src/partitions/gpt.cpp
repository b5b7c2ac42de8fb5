// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/gpt.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "base/endian.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr char kMagic[] = "EFI PART";
constexpr size_t kOwnLba = 24;
constexpr size_t kArrayLba = 72;
constexpr size_t kEntryCount = 80;
constexpr size_t kEntrySize = 84;
constexpr u32 kEntryBytes = 128;
constexpr size_t kFirstLba = 32;
constexpr size_t kLastLba = 40;
constexpr size_t kGuidBytes = 16;

// 128 are usual, and tools that make more stop at some hundred.
constexpr u32 kMaxEntries = 16384;

// Where a header may lie, and how many sectors its logical sector has then.
struct HeaderPlace {
  u32 sector;
  u32 factor;
};
constexpr HeaderPlace kPlaces[] = {{0, 1}, {1, 1}, {7, 8}, {8, 8}};
constexpr u32 kHeaderSectors = 9;

struct TypeGuid {
  u8 guid[kGuidBytes];  // as it stands on disk
  u16 type;
};

// The first equal row wins. Two rows repeat the GUID of an earlier one and are never chosen: they
// record what else the GUID is known as.
constexpr TypeGuid kTypeGuids[] = {
    {{0x28, 0x73, 0x2A, 0xC1, 0x1F, 0xF8, 0xD2, 0x11, 0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9,
      0x3B},
     239},
    {{0x41, 0xEE, 0x4D, 0x02, 0xE7, 0x33, 0xD3, 0x11, 0x9D, 0x69, 0x00, 0x08, 0xC7, 0x81, 0xF3,
      0x9F},
     255},
    {{0xAA, 0xC8, 0x08, 0x58, 0x8F, 0x7E, 0xE0, 0x42, 0x85, 0xD2, 0xE1, 0xE9, 0x04, 0x34, 0xCF,
      0xB3},
     kTypeLdmMetadata},
    {{0xB4, 0x7C, 0x6E, 0x51, 0xCF, 0x6E, 0xD6, 0x11, 0x8F, 0xF8, 0x00, 0x02, 0x2D, 0x09, 0x71,
      0x2B},
     165},
    {{0xB5, 0x7C, 0x6E, 0x51, 0xCF, 0x6E, 0xD6, 0x11, 0x8F, 0xF8, 0x00, 0x02, 0x2D, 0x09, 0x71,
      0x2B},
     kTypeGptBsdSwap},
    {{0xB6, 0x7C, 0x6E, 0x51, 0xCF, 0x6E, 0xD6, 0x11, 0x8F, 0xF8, 0x00, 0x02, 0x2D, 0x09, 0x71,
      0x2B},
     kTypeUfs},
    {{0xB6, 0x7C, 0x6E, 0x51, 0xCF, 0x6E, 0xD6, 0x11, 0x8F, 0xF8, 0x00, 0x02, 0x2D, 0x09, 0x71,
      0x2B},
     270},
    {{0x16, 0xE3, 0xC9, 0xE3, 0x5C, 0x0B, 0xB8, 0x4D, 0x81, 0x7D, 0xF9, 0x2D, 0xF0, 0x02, 0x15,
      0xAE},
     kTypeGptMsReserved},
    {{0xA2, 0xA0, 0xD0, 0xEB, 0xE5, 0xB9, 0x33, 0x44, 0x87, 0xC0, 0x68, 0xB6, 0xB7, 0x26, 0x99,
      0xC7},
     kTypeGptBasic},
    {{0xAA, 0xC8, 0x08, 0x58, 0x8F, 0x7E, 0xE0, 0x42, 0x85, 0xD2, 0xE1, 0xE9, 0x04, 0x34, 0xCF,
      0xB3},
     kTypeGptLdmMetadata},
    {{0xA0, 0x60, 0x9B, 0xAF, 0x31, 0x14, 0x62, 0x4F, 0xBC, 0x68, 0x33, 0x11, 0x71, 0x4A, 0x69,
      0xAD},
     kTypeLdmLink},
    {{0x0F, 0x88, 0x9D, 0xA1, 0xFC, 0x05, 0x3B, 0x4D, 0xA0, 0x06, 0x74, 0x3F, 0x0F, 0x84, 0x91,
      0x1E},
     kTypeLinuxRaid},
    {{0x6D, 0xFD, 0x57, 0x06, 0xAB, 0xA4, 0xC4, 0x43, 0x84, 0xE5, 0x09, 0x33, 0xC8, 0x4B, 0x4F,
      0x4F},
     kTypeLinuxSwap},
    {{0x79, 0xD3, 0xD6, 0xE6, 0x07, 0xF5, 0xC2, 0x44, 0xA2, 0x3C, 0x23, 0x8F, 0x2A, 0x3D, 0xF9,
      0x28},
     kTypeLinuxLvm},
};

u16 TypeOf(const u8* guid) {
  for (const TypeGuid& row : kTypeGuids) {
    if (std::memcmp(row.guid, guid, kGuidBytes) == 0) return row.type;
  }
  return kTypeUnknown;
}

bool IsUsed(const u8* entry) {
  return std::any_of(entry, entry + kGuidBytes, [](u8 byte) { return byte != 0; });
}

// The first place that holds a header.
std::optional<HeaderPlace> FindHeader(std::span<const u8> sectors) {
  for (const HeaderPlace& place : kPlaces) {
    const u8* header = &sectors[size_t{place.sector} * kSectorBytes];
    if (std::memcmp(header, kMagic, 8) == 0 && LoadLe32(header + kEntrySize) == kEntryBytes) {
      return place;
    }
  }
  return std::nullopt;
}

// What a child is made of. The array itself is not kept while children are looked into.
struct GptEntry {
  u64 first;
  u64 last;
  u16 type;
};

struct GptTable {
  u64 origin;  // where the header's own LBA lies
  u64 ownLba;
  u32 factor;
  std::vector<GptEntry> entries;

  u64 SectorOf(u64 lba) const { return (lba - ownLba) * factor + origin; }
};

std::optional<GptTable> ReadGptTable(Scan& scan, const cPartTreeItem& node) {
  u8 front[kHeaderSectors * kSectorBytes] = {};
  if (scan.Read(node.m_start, kHeaderSectors, front) == 0) return std::nullopt;
  const auto place = FindHeader(front);
  if (!place) return std::nullopt;
  const u8* header = front + size_t{place->sector} * kSectorBytes;
  GptTable table{node.m_start + place->sector, LoadLe64(header + kOwnLba), place->factor, {}};

  const u32 count = std::min(LoadLe32(header + kEntryCount), kMaxEntries);
  const u32 arraySectors = (count * kEntryBytes + kSectorBytes - 1) / kSectorBytes;
  std::vector<u8> array(size_t{arraySectors} * kSectorBytes);
  const u64 start = table.SectorOf(LoadLe64(header + kArrayLba));
  if (scan.ReadAround(start, arraySectors, array.data()) == 0) return std::nullopt;
  for (u32 i = 0; i < count; ++i) {
    const u8* entry = &array[size_t{i} * kEntryBytes];
    if (!IsUsed(entry)) continue;
    table.entries.push_back(
        {LoadLe64(entry + kFirstLba), LoadLe64(entry + kLastLba), TypeOf(entry)});
  }
  return table;
}

}  // namespace

bool ProbeGpt(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  return FindHeader(front).has_value();
}

bool ParseGpt(Scan& scan, cPartTreeItem& node) {
  const auto table = ReadGptTable(scan, node);
  if (!table) return false;
  for (const GptEntry& entry : table->entries) {
    const u64 length = (entry.last - entry.first) * table->factor;
    cPartTreeItem* child = scan.AddEntry(node, table->SectorOf(entry.first), length,
                                         length + table->factor, entry.type);
    if (child && child->m_start != 0) scan.Detect(*child, node);
  }
  return true;
}

}  // namespace larkspur
