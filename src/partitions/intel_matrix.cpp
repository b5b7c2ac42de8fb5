// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Members of Intel Matrix RAID.
//
// The metadata ends one logical sector before the storage's end. Its first sector, the anchor, is
// the last of it; the others lie before the anchor, in their order. Little-endian:
//   0    24  "Intel Raid ISM Cfg Sig. "
//   36   4   bytes of it all
//   40   4   family number, 64 4 that of the first creation
//   56   1   number of disks, 57 1 number of volumes
//   216      disks of 48 bytes: 0 serial (16), 16 u32 and 32 u32 low and high half of its blocks
//   then     volumes: 0 name (16), 40 u16 number, 88 u8 migration state, 112 the map; when
//            migrating, a second map follows
// Map: 0 u32 first block, 4 u32 blocks, 12 u16 blocks of a strip, 15 u8 level, 16 u8 members,
//   20 u32 and 24 u32 high halves of the first two, 48 u32 for each member: disk number (24 bits)
// Blocks are logical sectors. Source: mdadm's super-intel.c.
//
// The format belongs to a whole storage with a name, and is looked for beside whatever else the
// storage holds.

#include <algorithm>
#include <optional>
#include <vector>

#include "base/byte_reader.h"
#include "io/base_io.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr std::string_view kSignature = "Intel Raid ISM Cfg Sig.";
constexpr size_t kTotalBytes = 36;
constexpr size_t kFamily = 40;
constexpr size_t kDiskCount = 56;
constexpr size_t kVolumeCount = 57;
constexpr size_t kFirstFamily = 64;
constexpr size_t kDisks = 216;
constexpr size_t kDiskBytes = 48;
constexpr size_t kSerialBytes = 16;
constexpr size_t kVolumeName = 16;
constexpr size_t kVolumeNumber = 40;
constexpr size_t kMigrationState = 88;
constexpr size_t kMap = 112;
constexpr size_t kMapMembers = 16;
constexpr size_t kMapOrder = 48;
constexpr u32 kDiskNumberMask = 0xFFFFFF;
// Two disks with two volumes take 704 bytes; 255 of each would not fill this.
constexpr u32 kMaxBytes = 128 * 1024;

// The sector where the anchor lies; none when the storage is too small.
std::optional<u64> AnchorSector(Scan& scan, const cPartTreeItem& node) {
  const u64 back = u64{2} * scan.BytesPerSector() / kSectorBytes;
  if (node.m_length < back) return std::nullopt;
  return node.m_start + node.m_length - back;
}

bool IsAnchor(std::span<const u8> sector) {
  ByteReader anchor(sector);
  return StartsWith(sector, kSignature) && anchor.U8(kDiskCount) != 0 &&
         anchor.U8(kVolumeCount) != 0;
}

// All of the metadata in its own order; empty when it cannot be read or its length makes no sense.
std::vector<u8> ReadMetadata(Scan& scan, const cPartTreeItem& node) {
  const auto anchor = AnchorSector(scan, node);
  const u32 block = scan.BytesPerSector() / kSectorBytes;
  if (!anchor || block > kMaxBytes / kSectorBytes) return {};
  std::vector<u8> bytes(size_t{block} * kSectorBytes);
  if (scan.Read(*anchor, block, bytes.data()) != block || !IsAnchor(bytes)) return {};
  const u32 total = ByteReader(bytes).Le32(kTotalBytes);
  if (total < kDisks || total > kMaxBytes) return {};
  const size_t blockBytes = bytes.size();
  const u32 before = static_cast<u32>((total - 1) / blockBytes) * block;  // sectors
  if (before > *anchor - node.m_start) return {};
  bytes.resize(blockBytes + size_t{before} * kSectorBytes);
  if (before > 0 && scan.Read(*anchor - before, before, &bytes[blockBytes]) != before) return {};
  bytes.resize(total);
  return bytes;
}

class Metadata {
 public:
  explicit Metadata(std::span<const u8> bytes)
      : m_bytes(bytes), m_disks(ByteReader(bytes).U8(kDiskCount)) {}

  // Calls visit(volume) for every volume that lies within the metadata.
  template <typename Visit>
  void VisitVolumes(const Visit& visit) const {
    size_t at = kDisks + m_disks * kDiskBytes;
    const u32 count = ByteReader(m_bytes).U8(kVolumeCount);
    for (u32 i = 0; i < count; ++i) {
      const auto bytes = VolumeBytes(at);
      if (!bytes) return;
      visit(m_bytes.subspan(at, *bytes));
      at += *bytes;
    }
  }

  // Which entry of the disk table is this storage: by its serial, by its size, or because there is
  // but one. None when it cannot be told.
  std::optional<u32> FindDisk(std::u16string_view name, u64 blocks) const;

  // The numbers that tell this set of disks from others.
  void AppendFamily(std::vector<u8>* id) const {
    ByteReader reader(m_bytes);
    for (const size_t at : {kFirstFamily, kFamily}) {
      const auto bytes = reader.Bytes(at, 4);
      id->insert(id->end(), bytes.begin(), bytes.end());
    }
  }

 private:
  // The volume's length with its one or two maps; none when it runs out.
  std::optional<size_t> VolumeBytes(size_t at) const;
  std::u16string SerialOf(size_t disk) const;
  u64 BlocksOf(size_t disk) const;

  std::span<const u8> m_bytes;
  size_t m_disks;
};

std::optional<size_t> Metadata::VolumeBytes(size_t at) const {
  ByteReader reader(m_bytes);
  size_t bytes = kMap;
  const int maps = reader.U8(at + kMigrationState) != 0 ? 2 : 1;
  for (int i = 0; i < maps; ++i) {
    bytes += kMapOrder + size_t{4} * reader.U8(at + bytes + kMapMembers);
  }
  reader.Bytes(at, bytes);
  if (reader.Failed()) return std::nullopt;
  return bytes;
}

std::u16string Metadata::SerialOf(size_t disk) const {
  return DiskText(ByteReader(m_bytes).Bytes(kDisks + disk * kDiskBytes, kSerialBytes));
}

u64 Metadata::BlocksOf(size_t disk) const {
  ByteReader reader(m_bytes);
  const size_t at = kDisks + disk * kDiskBytes;
  return reader.Le32(at + 16) | u64{reader.Le32(at + 32)} << 32;
}

// A serial as the metadata has it: without blanks, ";" for ":", its last 16 characters.
std::u16string Normalised(std::u16string_view serial) {
  std::u16string text;
  for (const char16_t unit : serial) {
    if (unit > 0x20 && unit < 0x7F) text += unit == u':' ? u';' : unit;
  }
  return text.size() > kSerialBytes ? text.substr(text.size() - kSerialBytes) : text;
}

std::optional<u32> Metadata::FindDisk(std::u16string_view name, u64 blocks) const {
  const std::u16string serial = Normalised(name);
  std::optional<u32> bySize;
  u32 sameSize = 0;
  for (u32 i = 0; i < m_disks; ++i) {
    if (!serial.empty() && Normalised(SerialOf(i)) == serial) return i;
    if (BlocksOf(i) != blocks) continue;
    bySize = i;
    ++sameSize;
  }
  if (sameSize == 1) return bySize;
  return m_disks == 1 ? std::optional<u32>(0) : std::nullopt;
}

// The layout and its word; a level 1 of more than two members is one of mirrored stripes.
void SetLevel(u32 level, u32 members, cSoftRAIDMember* record) {
  if (level == 0) {
    record->m_layout = kLayoutStripe;
    record->m_level.Assign(u"raid0");
  } else if (level == 1 && members == 2) {
    record->m_layout = kLayoutMirror;
    record->m_level.Assign(u"raid1");
  } else if (level == 1 || level == 10) {
    record->m_layout = members == 2 ? kLayoutMirror : kLayoutNone;
    record->m_level.Assign(u"raid10");
  } else if (level == 5) {
    record->m_layout = kLayoutRaid5;
    record->m_level.Assign(u"raid5");
  }
}

class VolumeReader {
 public:
  VolumeReader(Scan& scan, cPartTreeItem& node, const Metadata& metadata)
      : m_scan(scan),
        m_node(node),
        m_metadata(metadata),
        m_factor(scan.BytesPerSector() / kSectorBytes),
        m_disk(metadata.FindDisk(scan.IO()->GetName(), node.m_length / m_factor)) {}

  void Add(std::span<const u8> volume);

 private:
  // This disk's place in the volume; none when it is not a member. Place 0 when the disk is not
  // known: all members have the same geometry.
  std::optional<u32> Index(std::span<const u8> volume) const;
  cSoftRAIDMember* MakeRecord(std::span<const u8> volume, u32 index) const;

  Scan& m_scan;
  cPartTreeItem& m_node;
  const Metadata& m_metadata;
  u64 m_factor;
  std::optional<u32> m_disk;
};

std::optional<u32> VolumeReader::Index(std::span<const u8> volume) const {
  if (!m_disk) return 0;
  ByteReader reader(volume);
  const u32 members = reader.U8(kMap + kMapMembers);
  for (u32 i = 0; i < members; ++i) {
    if ((reader.Le32(kMap + kMapOrder + i * 4) & kDiskNumberMask) == *m_disk) return i;
  }
  return std::nullopt;
}

cSoftRAIDMember* VolumeReader::MakeRecord(std::span<const u8> volume, u32 index) const {
  ByteReader reader(volume);
  auto* record = new cSoftRAIDMember;
  record->m_name.Assign(DiskText(reader.Bytes(0, kVolumeName)));
  std::vector<u8> id;
  m_metadata.AppendFamily(&id);
  const auto number = reader.Bytes(kVolumeNumber, 2);
  id.insert(id.end(), number.begin(), number.end());
  record->SetIdentifier(id);
  const u64 stripBytes = reader.Le16(kMap + 12) * m_factor * kSectorBytes;
  if (stripBytes > 0) record->m_blockBytes = Clamp32(stripBytes);
  record->m_columns = reader.U8(kMap + kMapMembers);
  record->m_index = index;
  SetLevel(reader.U8(kMap + 15), record->m_columns, record);
  return record;
}

void VolumeReader::Add(std::span<const u8> volume) {
  const auto index = Index(volume);
  if (!index) return;
  ByteReader reader(volume);
  const u64 first = reader.Le32(kMap) | u64{reader.Le32(kMap + 20)} << 32;
  const u64 blocks = reader.Le32(kMap + 4) | u64{reader.Le32(kMap + 24)} << 32;
  if (first > ~u64{0} / m_factor || blocks > ~u64{0} / m_factor) return;
  cPartTreeItem* child =
      m_scan.AddChild(m_node, m_node.m_start + first * m_factor, blocks * m_factor, kTypeUnknown);
  if (!child) return;
  m_scan.Detect(*child, m_node);
  AddExtension(*child, MakeRecord(volume, *index));
}

bool HoldsIntelMatrix(Scan& scan, const cPartTreeItem& node) {
  if (!*scan.IO()->GetName()) return false;
  const auto anchor = AnchorSector(scan, node);
  SectorBytes sector;
  return anchor && scan.ReadSector(*anchor, &sector) && IsAnchor(sector);
}

bool ParseIntelMatrix(Scan& scan, cPartTreeItem& node) {
  const std::vector<u8> bytes = ReadMetadata(scan, node);
  if (bytes.empty()) return false;
  const Metadata metadata(bytes);
  VolumeReader reader(scan, node, metadata);
  metadata.VisitVolumes([&](std::span<const u8> volume) { reader.Add(volume); });
  return true;
}

using cIntelMatrixPartParser = FormatParser<kParserIntelMatrix, ParseIntelMatrix>;

}  // namespace

constinit const Format kIntelMatrixFormat{"cIntelMatrixPartParser",
                                          "Intel Matrix RAID member",
                                          kParserIntelMatrix,
                                          false,
                                          nullptr,
                                          MakeParser<cIntelMatrixPartParser>,
                                          ParseIntelMatrix};

void AddIntelMatrixVolumes(Scan& scan, cPartTreeItem& root) {
  ScanAsker asker(scan, kIntelMatrixFormat.className);
  if (!HoldsIntelMatrix(scan, root)) return;
  if (ParseIntelMatrix(scan, root)) AddExtension(root, kIntelMatrixFormat.makeParser());
}

}  // namespace larkspur
