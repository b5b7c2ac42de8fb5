// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Members of Apple software RAID sets, version 2 (the layout as Apple's published driver and boot
// loader have it).
//
// Header, the last 4096 bytes of the member that begin at a multiple of as many:
//   0    16    "AppleRAIDHeader"
//   16   64    identifier of the set, as text
//   144  8     bytes of the data, which begin with the member
//   152  3944  property list (see property_list.h)

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

#include "base/endian.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/guid_text.h"
#include "partitions/part_records.h"
#include "partitions/property_list.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kHeaderSectors = 8;
constexpr size_t kSetId = 16;
constexpr size_t kSetIdBytes = 64;
constexpr size_t kDataBytes = 144;
constexpr size_t kProperties = 152;

constexpr char kMembers[] = "AppleRAID-Members";
constexpr char kLevelName[] = "AppleRAID-LevelName";
constexpr char kChunkCount[] = "AppleRAID-ChunkCount";
constexpr char kChunkSize[] = "AppleRAID-ChunkSize";
constexpr char kMemberIndex[] = "AppleRAID-MemberIndex";
constexpr char kSetName[] = "AppleRAID-SetName";

// The sector, from the node's start, at which a header stands. The one 8 sectors before the end is
// that of members whose length is a multiple of 8; for others the header lies where the last whole
// 8 sectors begin. The end is that of the node and, where its table gives it more, that one too.
std::optional<u64> FindHeader(Scan& scan, const cPartTreeItem& node) {
  for (const u64 length : scan.EndsOf(node)) {
    if (length < kHeaderSectors) continue;
    for (const u64 end : {length, length / kHeaderSectors * kHeaderSectors}) {
      SectorBytes sector;
      const u64 place = end - kHeaderSectors;
      if (scan.ReadSector(node.m_start + place, &sector) && StartsWith(sector, "AppleRAIDHeader")) {
        return place;
      }
    }
  }
  return std::nullopt;
}

// The sectors of data on this member, as its chunks or the header have it; nothing when that is no
// whole number of sectors that ends before the header.
std::optional<u64> DataSectors(const PropertyList& properties, const u8* header, u64 room) {
  const u64 count = properties.Number(kChunkCount).value_or(0);
  const u64 size = properties.Number(kChunkSize).value_or(0);
  std::vector<u64> candidates;
  if (size != 0 && count <= kNowhere / size) candidates.push_back(count * size);
  // An early release for Intel wrote the field the other way round.
  candidates.push_back(LoadBe64(header + kDataBytes));
  candidates.push_back(LoadLe64(header + kDataBytes));
  for (const u64 bytes : candidates) {
    const u64 sectors = bytes / kSectorBytes;
    if (bytes % kSectorBytes == 0 && sectors > 0 && sectors <= room) return sectors;
  }
  return std::nullopt;
}

// The first letter tells the levels apart.
u32 LayoutOf(std::string_view level) {
  if (level.starts_with('S')) return kLayoutStripe;
  if (level.starts_with('M')) return kLayoutMirror;
  if (level.starts_with('C')) return kLayoutSimple;
  return kLayoutNone;
}

std::u16string Wide(const std::string& text) {
  return DiskText({reinterpret_cast<const u8*>(text.data()), text.size()});
}

// The index of a spare is no member's.
cSoftRAIDMember* MakeRecord(const PropertyList& properties, std::span<const u8> header) {
  auto* record = new cSoftRAIDMember;
  const std::string level = properties.Text(kLevelName).value_or("");
  record->m_level.Assign(Wide(level));
  record->m_layout = LayoutOf(level);
  record->m_name.Assign(Wide(properties.Text(kSetName).value_or("")));
  if (const auto size = properties.Number(kChunkSize)) record->m_blockBytes = Clamp32(*size);
  const auto members = properties.Texts(kMembers);
  record->m_columns = members ? static_cast<u32>(members->size()) : 0;
  record->m_index = Clamp32(properties.Number(kMemberIndex).value_or(0));
  const auto id = ParseGuidText(header.subspan(kSetId, kSetIdBytes));
  if (id) record->SetIdentifier(*id);
  return record;
}

bool ProbeAppleRaid(Scan& scan, const cPartTreeItem& node, NodeFront /*front*/) {
  return FindHeader(scan, node).has_value();
}

bool ParseAppleRaid(Scan& scan, cPartTreeItem& node) {
  const auto place = FindHeader(scan, node);
  u8 header[kHeaderSectors * kSectorBytes];
  if (!place || !scan.ReadUsable(node.m_start + *place, kHeaderSectors, header)) return false;
  const PropertyList properties(std::span<const u8>(header).subspan(kProperties));
  const auto sectors = DataSectors(properties, header, *place);
  if (properties.IsEmpty() || !sectors) return false;
  cPartTreeItem* child = scan.AddChild(node, node.m_start, *sectors, kTypeUnknown);
  if (!child) return true;
  AddExtension(*child, MakeRecord(properties, header));
  scan.Detect(*child, node);
  return true;
}

using cAppRAIDPartParser = FormatParser<kParserAppRAID, ParseAppleRaid>;

}  // namespace

constinit const Format kAppleRaidFormat{
    "cAppRAIDPartParser",           "Apple RAID member", kParserAppRAID, false, ProbeAppleRaid,
    MakeParser<cAppRAIDPartParser>, ParseAppleRaid};

}  // namespace larkspur
