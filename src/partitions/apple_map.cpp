// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Apple partition maps.
//
// Block 0, big-endian: 0 "ER", 2 u16 bytes per block.
// From block 1 on, one entry a block:
//   0   2   "PM", or "TS" in the oldest
//   4   4   number of entries, as the first has it
//   8   4   first block, 12 4 number of blocks
//   16  32  name, 48 32 type
// Source: FreeBSD sys/disk/apm.h.

#include <algorithm>

#include "base/byte_reader.h"
#include "base/text.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u16 kDriverMap = 0x4552;  // "ER"
constexpr u16 kEntry = 0x504D;      // "PM"
constexpr u16 kOldEntry = 0x5453;   // "TS"
constexpr size_t kName = 16;
constexpr size_t kType = 48;
constexpr size_t kTextBytes = 32;
// Disks with all drivers of their time have some fifteen.
constexpr u32 kMaxEntries = 256;

struct TextType {
  std::u16string_view text;
  u16 type;
};
constexpr TextType kTextTypes[] = {
    {u"Apple_partition_map", kTypeAppleMap},
    {u"Apple_Driver", kTypeAppleDriver},
    {u"Apple_Driver43", kTypeAppleScsiDriver},
    {u"Apple_MFS", kTypeAppleMfs},
    {u"Apple_HFS", kTypeAppleHfs},
    {u"Apple_Unix_SVR2", kTypeAppleUnix},
    {u"Apple_PRODOS", kTypeAppleProDos},
    {u"Apple_Free", kTypeAppleUnused},
    {u"Apple_Scratch", kTypeAppleEmpty},
    {u"Apple_HFSX", kTypeAppleHfsx},
    {u"Apple_UFS", kTypeUfs},
    {u"Linux", kTypeLinuxNative},
};

// Writers disagree on capitals: "Apple_UNIX_SVR2" is as common.
bool IsSameText(std::u16string_view a, std::u16string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char16_t x, char16_t y) { return UpperCase(x) == UpperCase(y); });
}

u16 TypeOfText(std::u16string_view text) {
  const auto* row =
      std::find_if(std::begin(kTextTypes), std::end(kTextTypes),
                   [text](const TextType& entry) { return IsSameText(entry.text, text); });
  return row != std::end(kTextTypes) ? row->type : u16{kTypeUnknown};
}

bool IsEntry(std::span<const u8> sector) {
  const u16 signature = ByteReader(sector).Be16(0);
  return signature == kEntry || signature == kOldEntry;
}

// Sectors to a block; 0 when sector 0 is no driver map.
u32 BlockSectors(std::span<const u8> sector) {
  ByteReader map(sector);
  return map.Be16(0) == kDriverMap ? map.Be16(2) / kSectorBytes : 0;
}

void AddEntry(Scan& scan, cPartTreeItem& node, std::span<const u8> sector, u32 blockSectors) {
  ByteReader entry(sector);
  const std::u16string name = DiskText(entry.Bytes(kName, kTextBytes));
  const std::u16string type = DiskText(entry.Bytes(kType, kTextBytes));
  const u64 start = node.m_start + u64{entry.Be32(8)} * blockSectors;
  cPartTreeItem* child =
      scan.AddChild(node, start, u64{entry.Be32(12)} * blockSectors, TypeOfText(type));
  if (!child) return;
  child->m_name.Assign(name + u" (" + type + u")");
  scan.Detect(*child, node);
}

bool ProbeAppleMap(Scan& scan, const cPartTreeItem& node, NodeFront front) {
  const u32 blockSectors = BlockSectors(FrontSector(front, 0));
  SectorBytes sector;
  return blockSectors > 0 && scan.ReadSector(node.m_start + blockSectors, &sector) &&
         IsEntry(sector) &&
         StartsWith(std::span<const u8>(sector).subspan(kType), "Apple_partition_map");
}

bool ParseAppleMap(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (!scan.ReadSector(node.m_start, &sector)) return false;
  const u32 blockSectors = BlockSectors(sector);
  if (blockSectors == 0 || !scan.ReadSector(node.m_start + blockSectors, &sector)) return false;
  const u32 count = std::min(ByteReader(sector).Be32(4), kMaxEntries);
  for (u32 i = 0; i < count; ++i) {
    if (!scan.ReadSector(node.m_start + u64{i + 1} * blockSectors, &sector)) continue;
    if (!IsEntry(sector)) break;
    AddEntry(scan, node, sector, blockSectors);
  }
  return true;
}

using cApplePartParser = FormatParser<kParserApple, ParseAppleMap>;

}  // namespace

constinit const Format kAppleMapFormat{
    "cApplePartParser", "Apple partition map",        kParserApple, false,
    ProbeAppleMap,      MakeParser<cApplePartParser>, ParseAppleMap};

}  // namespace larkspur
