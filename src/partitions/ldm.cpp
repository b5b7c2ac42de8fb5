// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Windows dynamic disks: what the Logical Disk Manager keeps of a disk group on each of its disks.
//
// All numbers are big-endian, all positions absolute sectors of the storage.
//
// Private header, one sector: on a disk with a master boot record sector 6, on a GPT disk near the
// end of the metadata partition.
//   0    8   "PRIVHEAD"
//   48   64  identifier of the disk, as text
//   283  8   logical disk: start
//   291  8   size
//   299  8   configuration: start
//   307  8   size
// In the configuration lie, at 2, the table of contents:
//   0    8   "TOCBLOCK"
//   36   6   "config", 46 u64 start, 54 u64 size of the region
//   70   3   "log", 80 u64 start, 88 u64 size of the region
// and at 17 the database, whose first sector counts its records (see ldm_database.h):
//   4    4   their number, those that this sector would hold included
//   8    4   bytes of one
//   12   4   byte at which the first stands

#include <algorithm>
#include <array>
#include <optional>

#include "base/endian.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/ldm_database.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u64 kHeaderSector = 6;
// From the start of a GPT disk's metadata partition.
constexpr u64 kHeaderCopies[] = {1856, 2047};

constexpr size_t kDiskIdText = 48;
constexpr size_t kDiskIdBytes = 64;
constexpr size_t kFirstDash = 56;
constexpr size_t kLogicalStart = 283;
constexpr size_t kLogicalSize = 291;
constexpr size_t kConfigStart = 299;
constexpr size_t kConfigSize = 307;

constexpr u64 kTocSector = 2;
constexpr size_t kConfigName = 36;
constexpr size_t kConfigRegion = 46;
constexpr size_t kLogName = 70;
constexpr size_t kLogRegion = 80;

constexpr u64 kDatabaseSector = 17;
constexpr size_t kRecordCount = 4;
constexpr size_t kRecordBytes = 8;
constexpr size_t kFirstRecord = 12;

// The whole configuration of every Windows has 2048 sectors.
constexpr u64 kMaxDatabaseSectors = 2048;
constexpr u32 kMinRecordBytes = 32;
constexpr u32 kSectorsAtOnce = 64;

struct Region {
  u64 start;
  u64 size;

  bool FitsIn(u64 limit) const { return start <= limit && size <= limit - start; }
};

struct PrivateHeader {
  std::optional<GuidBytes> disk;
  Region logical;
  Region config;
};

std::optional<PrivateHeader> ReadHeader(Scan& scan, u64 position) {
  SectorBytes sector;
  if (!scan.ReadSector(position, &sector) || !StartsWith(sector, "PRIVHEAD")) {
    return std::nullopt;
  }
  PrivateHeader header{};
  if (sector[kFirstDash] == '-') {
    header.disk = ParseGuidText(std::span<const u8>(sector).subspan(kDiskIdText, kDiskIdBytes));
  }
  header.logical = {LoadBe64(&sector[kLogicalStart]), LoadBe64(&sector[kLogicalSize])};
  header.config = {LoadBe64(&sector[kConfigStart]), LoadBe64(&sector[kConfigSize])};
  return header;
}

// Sector 6 first, wherever the node lies: there it is on a disk with a master boot record.
std::optional<PrivateHeader> FindHeader(Scan& scan, const cPartTreeItem& node) {
  if (auto header = ReadHeader(scan, kHeaderSector)) return header;
  for (const u64 copy : kHeaderCopies) {
    if (auto header = ReadHeader(scan, node.m_start + copy)) return header;
  }
  return std::nullopt;
}

// The configuration lies after the logical disk, and both in the node.
bool IsLaidOutIn(const PrivateHeader& header, const cPartTreeItem& node) {
  return header.config.FitsIn(node.m_length) && header.logical.FitsIn(header.config.start);
}

bool HasTableOfContents(Scan& scan, const PrivateHeader& header) {
  SectorBytes sector;
  if (!scan.ReadSector(header.config.start + kTocSector, &sector)) return false;
  const std::span<const u8> toc(sector);
  if (!StartsWith(toc, "TOCBLOCK") || !StartsWith(toc.subspan(kConfigName), "config") ||
      !StartsWith(toc.subspan(kLogName), "log")) {
    return false;
  }
  for (const size_t offset : {kConfigRegion, kLogRegion}) {
    const Region region{LoadBe64(&sector[offset]), LoadBe64(&sector[offset + 8])};
    if (!region.FitsIn(header.config.size)) return false;
  }
  return true;
}

// Where the records stand, in sectors of the database. The one at `last` belongs to the log.
struct RecordRange {
  u64 first;
  u64 last;
  u32 recordBytes;
};

std::optional<RecordRange> ReadRecordRange(Scan& scan, u64 database) {
  SectorBytes sector;
  if (!scan.ReadSector(database, &sector)) return std::nullopt;
  const u32 recordBytes = LoadBe32(&sector[kRecordBytes]);
  if (recordBytes < kMinRecordBytes || recordBytes > kSectorBytes) return std::nullopt;
  if (kSectorBytes % recordBytes != 0) return std::nullopt;
  const u64 last = u64{LoadBe32(&sector[kRecordCount])} * recordBytes / kSectorBytes;
  if (last > kMaxDatabaseSectors) return std::nullopt;
  return RecordRange{LoadBe32(&sector[kFirstRecord]) / kSectorBytes, last, recordBytes};
}

bool AddRecords(Scan& scan, std::span<const u8> bytes, u32 recordBytes, LdmDatabase* database) {
  if (!scan.Limits().Spend(Budget::kItems, bytes.size() / recordBytes)) return false;
  for (size_t at = 0; at < bytes.size(); at += recordBytes) {
    if (!database->Add(bytes.subspan(at, recordBytes))) return false;
  }
  return true;
}

bool ReadDatabase(Scan& scan, const PrivateHeader& header, LdmDatabase* database) {
  const u64 start = header.config.start + kDatabaseSector;
  const auto range = ReadRecordRange(scan, start);
  if (!range) return false;
  std::array<u8, kSectorsAtOnce * kSectorBytes> buffer;
  for (u64 sector = range->first; sector < range->last; sector += kSectorsAtOnce) {
    const u32 count = static_cast<u32>(std::min<u64>(kSectorsAtOnce, range->last - sector));
    if (!scan.ReadUsable(start + sector, count, buffer.data())) return false;
    const auto bytes = std::span<const u8>(buffer).first(size_t{count} * kSectorBytes);
    if (!AddRecords(scan, bytes, range->recordBytes, database)) return false;
  }
  return true;
}

// A concatenated component of one partition holds the whole volume, as each leg of a mirror does,
// and counts as one even where it has no second.
u32 LayoutOf(const LdmComponent& component) {
  if (component.type == kLdmStriped) return kLayoutStripe;
  if (component.type == kLdmRaid) return kLayoutRaid5;
  if (component.type != kLdmConcatenated) return kLayoutNone;
  return component.partitions > 1 ? kLayoutSimple : kLayoutMirror;
}

const char16_t* LevelOf(const LdmComponent& component, const LdmVolume& volume) {
  if (component.type == kLdmRaid) return u"RAID5";
  if (volume.components > 1) return u"mirrored";
  if (component.type == kLdmStriped) return u"striped";
  return component.partitions > 1 ? u"spanned" : u"simple";
}

// What a partition of the volume's type byte would hold. Types that lead to another table, or back
// to this one, would send detection in circles.
u16 ChildType(const LdmVolume* volume) {
  const u16 type = volume ? volume->partitionType : u16{0};
  const bool isUsable = type != 0 && type != kTypeLdmLink && !IsContainerType(type);
  return isUsable ? type : u16{kTypeUnknown};
}

// Makes the children of one database.
class PartitionMaker {
 public:
  PartitionMaker(Scan& scan, cPartTreeItem& node, const PrivateHeader& header,
                 const LdmDatabase& database)
      : m_scan(scan),
        m_node(node),
        m_header(header),
        m_database(database),
        m_orders(database.OrdersInComponents()) {}

  void MakeAll() {
    for (const auto& [id, partition] : m_database.Partitions()) {
      const GuidBytes* disk = m_database.FindDisk(partition.disk);
      if (disk && m_header.disk && *disk == *m_header.disk) Make(id, partition);
    }
  }

 private:
  void Make(u64 id, const LdmPartition& partition) {
    if (partition.start > kNowhere - m_header.logical.start) return;
    const LdmComponent* component = m_database.FindComponent(partition.component);
    const LdmVolume* volume = component ? m_database.FindVolume(component->volume) : nullptr;
    cPartTreeItem* child = m_scan.AddChild(m_node, m_header.logical.start + partition.start,
                                           partition.size, ChildType(volume));
    if (!child) return;
    if (volume) AddExtension(*child, MakeRecord(*component, *volume, partition, m_orders.at(id)));
    m_scan.Detect(*child, m_node);
  }

  // Null for a RAID of fewer than two columns.
  static cPartExtension* MakeRecord(const LdmComponent& component, const LdmVolume& volume,
                                    const LdmPartition& partition, u32 order) {
    const u64 columns = component.columns ? component.columns : component.partitions;
    if (component.type == kLdmRaid && columns < 2) return nullptr;
    const bool isSpan = component.type == kLdmConcatenated;
    auto* record = new cSoftRAIDMember;
    record->m_layout = LayoutOf(component);
    if (component.stripeSectors > 0) {
      record->m_blockBytes = Clamp32(u64{Clamp32(component.stripeSectors)} * kSectorBytes);
    }
    record->m_columns = Clamp32(columns);
    record->m_index = isSpan ? order : Clamp32(partition.index);
    record->SetIdentifier(volume.guid);
    record->m_level.Assign(LevelOf(component, volume));
    FormatVolumeName(volume, *record);
    return record;
  }

  Scan& m_scan;
  cPartTreeItem& m_node;
  const PrivateHeader& m_header;
  const LdmDatabase& m_database;
  const std::map<u64, u32> m_orders;
};

bool ProbeLdm(Scan& scan, const cPartTreeItem& node, NodeFront /*front*/) {
  return IsDynamicDisk(scan, node);
}

bool ProbeLdmType(Scan& /*scan*/, const cPartTreeItem& node, NodeFront /*front*/) {
  return node.m_type == kTypeLdmLink || node.m_type == kTypeLdmMetadata;
}

bool ParseLdm(Scan& scan, cPartTreeItem& node) {
  const auto header = FindHeader(scan, node);
  if (!header || !HasTableOfContents(scan, *header)) return false;
  LdmDatabase database;
  if (!ReadDatabase(scan, *header, &database)) return false;
  PartitionMaker(scan, node, *header, database).MakeAll();
  return true;
}

using cNTLDMPartParser = FlaggedFormatParser<kParserNTLDM, ParseLdm>;

}  // namespace

bool IsDynamicDisk(Scan& scan, const cPartTreeItem& node) {
  const auto header = ReadHeader(scan, kHeaderSector);
  return header && IsLaidOutIn(*header, node) && HasTableOfContents(scan, *header);
}

constinit const Format kLdmFormat{
    "cNTLDMPartParser", "Windows dynamic disk",       kParserNTLDM, false,
    ProbeLdm,           MakeParser<cNTLDMPartParser>, ParseLdm};
constinit const Format kLdmTypeFormat{
    "cNTLDMPartParser", "Windows dynamic disk",       kParserNTLDM, false,
    ProbeLdmType,       MakeParser<cNTLDMPartParser>, ParseLdm};

}  // namespace larkspur
