// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Members of Linux MD software RAID.
//
// The superblock lies in sector 8 (version 1.2), in sector 0 (1.1), 8 to 16 sectors before the end
// (1.0) or 64 to 128 KiB before the end (0.90, in the byte order of its writer).
//
// 1.x, little-endian:                           0.90, words of 32 bits:
//   0    4    magic 0xA92B4EFC                    0    magic       1  major = 0     2  minor
//   4    4    major = 1                           5, 13 to 15      set UUID
//   16   16   set UUID, 32 32 set name            7    level       8  KiB of each member
//   72   4    level, 76 4 layout                  10   devices
//   80   8    sectors used of each member         64   layout      65 chunk (bytes)
//   88   4    chunk (sectors), 92 4 devices       995  this device's role
//   128  8    first data sector, 136 8 their number
//   144  8    sector of the superblock
//   160  4    device number, 220 4 number of roles, 256 u16 roles
// Sources: Linux uapi/linux/raid/md_p.h; md(4).

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kMagic = 0xA92B4EFC;
constexpr u32 kSuperSectors = 8;
using SuperBytes = std::array<u8, kSuperSectors * kSectorBytes>;
constexpr u64 kUuidBytes = 16;

constexpr u32 kMaxRoles1 = (kSuperSectors * kSectorBytes - 256) / 2;
constexpr u32 kMaxDevices0 = 27;

// What both kinds of superblock say of this member.
struct Member {
  u64 dataOffset = 0;  // sectors from the member's start
  u64 dataSectors = 0;
  i32 level = 0;
  u32 chunkBytes = 0;
  u32 devices = 0;
  u32 role = 0;  // all ones for spares
  std::array<u8, kUuidBytes> set{};
  std::u16string name;
};
constexpr u32 kNoRole = 0xFFFFFFFF;

struct LevelWord {
  i32 level;
  std::string_view word;
  u32 layout;
};
constexpr LevelWord kLevels[] = {
    {-5, "faulty", kLayoutNone}, {-4, "multipath", kLayoutNone}, {-1, "linear", kLayoutSimple},
    {0, "raid0", kLayoutStripe}, {1, "raid1", kLayoutMirror},    {4, "raid4", kLayoutNone},
    {5, "raid5", kLayoutRaid5},  {6, "raid6", kLayoutNone},      {10, "raid10", kLayoutNone},
};

struct SuperPlace {
  u64 sector;  // from the member's start
  u32 major;
};

// In the order in which they are looked for. Those at the end count from the node's end and then,
// where its table gives it more than the node has, from that end as well.
std::vector<SuperPlace> SuperPlaces(const Scan& scan, const cPartTreeItem& node) {
  std::vector<SuperPlace> places{{8, 1}, {0, 1}};
  const auto add = [&](const SuperPlace& place) {
    const auto isSame = [&](const SuperPlace& other) {
      return other.sector == place.sector && other.major == place.major;
    };
    if (std::none_of(places.begin(), places.end(), isSame)) places.push_back(place);
  };
  for (const u64 length : scan.EndsOf(node)) {
    if (length >= 16) add({(length - 16) & ~u64{7}, 1});
    if (length >= 128) add({(length & ~u64{127}) - 128, 0});
  }
  return places;
}

bool HasMagic(std::span<const u8> sector) {
  ByteReader super(sector);
  return super.Le32(0) == kMagic || super.Be32(0) == kMagic;
}

// The superblocks of versions 1.1 and 1.2 stand before the data, that of 1.0 after it. A place
// that contradicts this would make the data area hold its own superblock.
bool DataAreaIsApart(const SuperPlace& place, const Member& member) {
  if (place.sector <= 8) return member.dataOffset >= place.sector + kSuperSectors;
  return member.dataOffset <= place.sector &&
         member.dataSectors <= place.sector - member.dataOffset;
}

std::optional<Member> ReadSuper1(const SuperPlace& place, std::span<const u8> bytes) {
  ByteReader super(bytes);
  const u32 roles = super.Le32(220);
  if (super.Le32(0) != kMagic || super.Le32(4) != 1 || roles > kMaxRoles1) return std::nullopt;
  if (super.Le64(144) != place.sector) return std::nullopt;  // that of another, larger member
  Member member;
  member.dataOffset = super.Le64(128);
  member.dataSectors = super.Le64(136);
  member.level = static_cast<i32>(super.Le32(72));
  const u64 chunkBytes = u64{super.Le32(88)} * kSectorBytes;
  member.chunkBytes = Clamp32(chunkBytes);
  member.devices = super.Le32(92);
  const u32 number = super.Le32(160);
  const u16 role = number < roles ? super.Le16(256 + size_t{number} * 2) : u16{0xFFFF};
  member.role = role < 0xFF00 ? role : kNoRole;
  const auto set = super.Bytes(16, kUuidBytes);
  std::copy(set.begin(), set.end(), member.set.begin());
  member.name = DiskText(super.Bytes(32, 32));
  return member;
}

// The words of a 0.90 superblock in either byte order.
class Words {
 public:
  explicit Words(std::span<const u8> bytes) : m_super(bytes), m_big(m_super.Be32(0) == kMagic) {}

  u32 At(size_t index) { return m_big ? m_super.Be32(index * 4) : m_super.Le32(index * 4); }

 private:
  ByteReader m_super;
  bool m_big;
};

// Levels without redundancy do not record a size: their data ends before the superblock.
u64 DataSectors0(const Member& member, u64 recordedKiB, u64 superSector) {
  if (member.level >= 1) return recordedKiB * 2;
  const u32 chunkSectors = member.chunkBytes / kSectorBytes;
  return member.level == 0 && chunkSectors > 0 ? superSector - superSector % chunkSectors
                                               : superSector;
}

std::optional<Member> ReadSuper0(const SuperPlace& place, std::span<const u8> bytes) {
  Words words(bytes);
  Member member;
  member.devices = words.At(10);
  if (words.At(0) != kMagic || words.At(1) != 0 || member.devices > kMaxDevices0) {
    return std::nullopt;
  }
  member.level = static_cast<i32>(words.At(7));
  member.chunkBytes = words.At(65);
  const u32 role = words.At(995);
  member.role = role < member.devices ? role : kNoRole;
  member.dataSectors = DataSectors0(member, words.At(8), place.sector);
  constexpr size_t kUuidWords[] = {5, 13, 14, 15};
  for (size_t i = 0; i < kUuidBytes; ++i) {
    member.set[i] = static_cast<u8>(words.At(kUuidWords[i / 4]) >> (24 - i % 4 * 8));
  }
  return member;
}

std::optional<Member> ReadMember(Scan& scan, const cPartTreeItem& node) {
  for (const SuperPlace& place : SuperPlaces(scan, node)) {
    const u64 sector = node.m_start + place.sector;
    SuperBytes bytes;
    if (scan.Read(sector, 1, bytes.data()) != 1 || !HasMagic(bytes)) continue;
    if (!scan.ReadUsable(sector, kSuperSectors, bytes.data())) continue;
    auto member = place.major == 1 ? ReadSuper1(place, bytes) : ReadSuper0(place, bytes);
    if (member && DataAreaIsApart(place, *member)) return member;
  }
  return std::nullopt;
}

cSoftRAIDMember* MakeRecord(const Member& member) {
  auto* record = new cSoftRAIDMember;
  const auto* level = std::find_if(std::begin(kLevels), std::end(kLevels),
                                   [&](const LevelWord& row) { return row.level == member.level; });
  if (level != std::end(kLevels)) {
    record->m_layout = level->layout;
    record->m_level.Assign(WideAscii(level->word));
  }
  record->m_name.Assign(member.name);
  record->SetIdentifier(member.set);
  if (member.chunkBytes > 0) record->m_blockBytes = member.chunkBytes;
  record->m_columns = member.devices;
  if (member.role != kNoRole) record->m_index = member.role;
  return record;
}

bool ProbeMdRaid(Scan& scan, const cPartTreeItem& node, NodeFront front) {
  for (const SuperPlace& place : SuperPlaces(scan, node)) {
    SectorBytes sector;
    if (place.sector < kFrontSectors) {
      const auto bytes = FrontSector(front, place.sector);
      std::copy(bytes.begin(), bytes.end(), sector.begin());
    } else if (!scan.ReadSector(node.m_start + place.sector, &sector)) {
      continue;
    }
    if (HasMagic(sector) && (place.major == 1 || ByteReader(sector).Le32(4) == 0)) return true;
  }
  return false;
}

bool ParseMdRaid(Scan& scan, cPartTreeItem& node) {
  const auto member = ReadMember(scan, node);
  if (!member) return false;
  cPartTreeItem* data =
      scan.AddChild(node, node.m_start + member->dataOffset, member->dataSectors, kTypeLinuxRaid);
  if (!data) return true;
  scan.Detect(*data, node);
  AddExtension(*data, MakeRecord(*member));
  return true;
}

using cMDADMPartParser = FormatParser<kParserMDADM, ParseMdRaid>;

}  // namespace

constinit const Format kMdRaidFormat{
    "cMDADMPartParser", "Linux MD RAID member",       kParserMDADM, false,
    ProbeMdRaid,        MakeParser<cMDADMPartParser>, ParseMdRaid};

}  // namespace larkspur
