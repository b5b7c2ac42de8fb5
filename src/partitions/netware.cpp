// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Traditional NetWare partitions: a redirection area, and after it the data area with the segments
// of volumes.
//
// Redirection record, in sector 32, 64, 96 or 128, little-endian:
//   0  8  "HOTFIX00"
//   8  4  partition id
//   20 4  sectors of the data area, 24 4 sectors of the redirection area
// Segment table, at the same number of sectors after the redirection area:
//   0  16  "NetWare Volumes"
//   16 4   number of entries, at most 8
//   32     entries of 60 bytes: 0 length of the name and its characters (16), 20 u8 cluster code,
//          21 u8 segments of the volume, 22 u8 index of this one, 24 u32 first sector of the data
//          area, 28 u32 sectors
//
// Some descriptions give the redirection area's size 64 bits. On disks the upper half belongs to a
// table pointer, so a size of 32 bits is tried when that of 64 leads nowhere.

#include <algorithm>
#include <optional>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u64 kCandidates[] = {32, 64, 96, 128};
constexpr size_t kPartitionId = 8;
constexpr size_t kDataSectors = 20;
constexpr size_t kHotFixSectors = 24;
constexpr size_t kCount = 16;
constexpr size_t kEntries = 32;
constexpr size_t kEntryBytes = 60;
constexpr u32 kMaxEntries = 8;
constexpr size_t kMaxName = 15;

// Where the two tables of a partition were found.
struct Tables {
  SectorBytes hotFix;
  SectorBytes volumes;
  u64 hotFixSectors;
};

struct Segment {
  std::u16string name;
  u64 first;  // sector of the data area
  u64 sectors;
  u32 clusterCode;
  u32 count;
  u32 index;
};

bool ReadVolumes(Scan& scan, const cPartTreeItem& node, u64 candidate, u64 hotFixSectors,
                 Tables* tables) {
  if (hotFixSectors == 0 || hotFixSectors >= node.m_length) return false;
  if (!scan.ReadSector(node.m_start + candidate + hotFixSectors, &tables->volumes)) return false;
  tables->hotFixSectors = hotFixSectors;
  return StartsWith(tables->volumes, "NetWare Volumes");
}

// People wait for less where nothing points to NetWare: of partitions with another type only the
// first place is asked, unless that did not come or is one of NetWare's. A host counts on all four.
std::optional<Tables> FindTables(Scan& scan, const cPartTreeItem& node) {
  Tables tables;
  bool isLikely = !scan.IsForPeople() || node.m_type == kTypeNetWare;
  for (const u64 candidate : kCandidates) {
    if (candidate >= node.m_length || (candidate != kCandidates[0] && !isLikely)) break;
    const bool came = scan.ReadSector(node.m_start + candidate, &tables.hotFix);
    const bool isOurs = came && StartsWith(tables.hotFix, "HOTFIX00");
    isLikely = isLikely || !came || isOurs;
    if (!isOurs) continue;
    ByteReader record(tables.hotFix);
    for (const u64 size : {record.Le64(kHotFixSectors), u64{record.Le32(kHotFixSectors)}}) {
      if (ReadVolumes(scan, node, candidate, size, &tables)) return tables;
    }
  }
  return std::nullopt;
}

std::optional<Segment> ReadSegment(ByteReader& table, size_t at) {
  const size_t nameLength = table.U8(at);
  if (nameLength == 0 || nameLength > kMaxName) return std::nullopt;
  Segment segment;
  segment.name = DiskText(table.Bytes(at + 1, nameLength));
  segment.clusterCode = table.U8(at + 20);
  segment.count = table.U8(at + 21);
  segment.index = table.U8(at + 22);
  segment.first = table.Le32(at + 24);
  segment.sectors = table.Le32(at + 28);
  return segment;
}

cNWPartData* MakeData(ByteReader& hotFix, const Segment& segment) {
  auto* data = new cNWPartData;
  data->m_partitionId = hotFix.Le32(kPartitionId);
  data->m_hotFixSectors = hotFix.Le32(kHotFixSectors);
  data->m_dataSectors = hotFix.Le32(kDataSectors);
  // Codes 3 to 7 are 4 to 64 KiB.
  if (segment.clusterCode >= 3 && segment.clusterCode <= 7) {
    data->m_clusterBytes = u32{512} << segment.clusterCode;
  }
  data->m_segmentIndex = segment.index;
  data->m_segmentCount = segment.count;
  return data;
}

// A volume may have up to 32 segments, on several partitions, one after the other.
cSoftRAIDMember* MakeRecord(const Segment& segment) {
  auto* record = new cSoftRAIDMember;
  record->m_name.Assign(segment.name);
  record->m_layout = kLayoutSimple;
  record->m_columns = segment.count;
  record->m_index = segment.index;
  record->m_level.Assign(u"segments");
  return record;
}

bool ProbeNetWare(Scan& scan, const cPartTreeItem& node, NodeFront /*front*/) {
  return FindTables(scan, node).has_value();
}

bool ParseNetWare(Scan& scan, cPartTreeItem& node) {
  const auto tables = FindTables(scan, node);
  if (!tables) return false;
  ByteReader hotFix(tables->hotFix);
  ByteReader table(tables->volumes);
  const u64 data = hotFix.Le32(kDataSectors);
  const u32 count = std::min(table.Le32(kCount), kMaxEntries);
  for (u32 i = 0; i < count; ++i) {
    const auto segment = ReadSegment(table, kEntries + i * kEntryBytes);
    if (!segment || segment->first + segment->sectors > data) continue;
    cPartTreeItem* child = scan.AddChild(
        node, node.m_start + tables->hotFixSectors + segment->first, segment->sectors, kTypeNwfs);
    if (!child) continue;
    child->m_name.Assign(segment->name + u" (" + std::u16string(GetTypeName(kTypeNwfs)) + u")");
    scan.Detect(*child, node);
    AddExtension(*child, MakeData(hotFix, *segment));
    if (segment->count > 1) AddExtension(*child, MakeRecord(*segment));
  }
  return true;
}

using cNWPartParser = FlaggedFormatParser<kParserNW, ParseNetWare>;

}  // namespace

constinit const Format kNetWareFormat{"cNWPartParser", "NetWare partition",       kParserNW,   true,
                                      ProbeNetWare,    MakeParser<cNWPartParser>, ParseNetWare};

}  // namespace larkspur
