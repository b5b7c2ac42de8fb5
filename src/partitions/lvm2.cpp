// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Physical volumes of LVM2 (the structures as LVM2's own layout headers name them).
//
// Little-endian, positions in bytes from the start of the physical volume.
//
// Label, one of the first four sectors:
//   0   8   "LABELONE"
//   8   8   this sector's number
//   16  4   CRC of the bytes from 20 on
//   20  4   where in this sector the header stands
//   24  8   "LVM2 001"
// Header:
//   0   32  identifier
//   32  8   size
//   40  -   data areas: u64 position, u64 size; position 0 ends the list
//       -   metadata areas, likewise
// Metadata area, its first sector:
//   0   4   CRC of the bytes from 4 on
//   4   16  magic
//   24  8   position of this area
//   32  8   its size
//   40  24  the text: u64 position in the area, u64 size, u32 CRC, u32 flags
// The rest of the area is a ring: a text that reaches its end continues past the first sector.

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <zlib.h>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/lvm2_text.h"
#include "partitions/lvm2_volumes.h"
#include "partitions/part_records.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kLabelSectors = 4;
constexpr size_t kLabelNumber = 8;
constexpr size_t kLabelCrc = 16;
constexpr size_t kLabelCrcFrom = 20;
constexpr size_t kHeaderPlace = 20;
constexpr size_t kLabelType = 24;

constexpr size_t kIdBytes = 32;
constexpr size_t kAreaLists = 40;
constexpr size_t kAreaEntry = 16;
// LVM2 makes one area, two when asked to.
constexpr size_t kMaxAreas = 2;

constexpr std::string_view kAreaMagic = " LVM2 x[5A%r0N*>";
constexpr size_t kAreaMagicPlace = 4;
constexpr size_t kAreaPosition = 24;
constexpr size_t kAreaSize = 32;
constexpr size_t kTextPosition = 40;
constexpr size_t kTextSize = 48;
constexpr size_t kTextCrc = 56;
constexpr size_t kTextFlags = 60;
constexpr u32 kIgnored = 1;
struct PhysicalVolume {
  std::string id;
  std::vector<u64> areas;  // of metadata, in bytes from the start of the physical volume
};

// CRC-32 as usual, but for what it begins with and for not being inverted at its end.
u32 Crc(std::span<const u8> bytes) {
  constexpr u32 kFirst = 0xF597A6CF;
  const uLong crc = crc32(kFirst ^ ~u32{0}, bytes.data(), static_cast<uInt>(bytes.size()));
  return static_cast<u32>(crc) ^ ~u32{0};
}

std::span<const u8> BytesOf(std::string_view text) {
  return {reinterpret_cast<const u8*>(text.data()), text.size()};
}

bool IsLabel(std::span<const u8> sector) {
  return StartsWith(sector, "LABELONE") && StartsWith(sector.subspan(kLabelType), "LVM2 001");
}

// Whether the label was written for the sector that it stands in, and is intact.
bool BelongsTo(std::span<const u8> label, u32 sector) {
  return LoadLe64(&label[kLabelNumber]) == sector &&
         LoadLe32(&label[kLabelCrc]) == Crc(label.subspan(kLabelCrcFrom));
}

std::optional<PhysicalVolume> ReadHeader(std::span<const u8> label) {
  ByteReader reader(label);
  size_t at = LoadLe32(&label[kHeaderPlace]);
  const auto id = reader.Bytes(at, kIdBytes);
  if (reader.Failed()) return std::nullopt;
  PhysicalVolume volume{{id.begin(), id.end()}, {}};
  at += kAreaLists;
  while (reader.Le64(at) != 0) at += kAreaEntry;  // data areas; a fault reads as 0
  for (at += kAreaEntry; reader.Le64(at) != 0; at += kAreaEntry) {
    volume.areas.push_back(reader.Le64(at));
  }
  volume.areas.resize(std::min(volume.areas.size(), kMaxAreas));
  return volume;
}

// The first label that belongs where it is or, without one, the first at all.
std::optional<PhysicalVolume> FindHeader(Scan& scan, const cPartTreeItem& node) {
  u8 front[kLabelSectors * kSectorBytes];
  const bool isWhole = scan.ReadFront(node.m_start, kLabelSectors, front) == kLabelSectors;
  if (!isWhole && !scan.IsForPeople()) return std::nullopt;
  std::span<const u8> first;
  for (u32 i = 0; i < kLabelSectors; ++i) {
    const auto sector = std::span<const u8>(front).subspan(i * kSectorBytes, kSectorBytes);
    if (!IsLabel(sector)) continue;
    if (BelongsTo(sector, i)) return ReadHeader(sector);
    if (first.empty()) first = sector;
  }
  return first.empty() ? std::nullopt : ReadHeader(first);
}

// Appends the bytes [position, position+count) of the node to the text.
bool AppendBytes(Scan& scan, const cPartTreeItem& node, u64 position, u64 count,
                 std::string* text) {
  const size_t skip = position % kSectorBytes;
  const u32 sectors = static_cast<u32>((skip + count + kSectorBytes - 1) / kSectorBytes);
  const size_t at = text->size();
  text->resize(at + size_t{sectors} * kSectorBytes);
  u8* buffer = reinterpret_cast<u8*>(text->data() + at);
  if (scan.Read(node.m_start + position / kSectorBytes, sectors, buffer) != sectors) return false;
  text->erase(at, skip);
  text->resize(at + count);
  return true;
}

enum class AreaState { kUnreadable, kEmpty, kHoldsText };

// Where a text lies in its area, which begins at `position`.
struct TextPlace {
  u64 position;
  u64 areaBytes;
  u64 first;
  u64 bytes;

  bool IsInRing() const {
    return areaBytes > kSectorBytes && first >= kSectorBytes && first < areaBytes && bytes > 0 &&
           bytes <= areaBytes - kSectorBytes;
  }
};

// The text in the ring, which may continue past the area's first sector. Empty when it cannot be
// read.
std::string ReadRing(Scan& scan, const cPartTreeItem& node, const TextPlace& place) {
  std::string text;
  const u64 first = std::min(place.bytes, place.areaBytes - place.first);
  const bool isRead =
      AppendBytes(scan, node, place.position + place.first, first, &text) &&
      AppendBytes(scan, node, place.position + kSectorBytes, place.bytes - first, &text);
  return isRead ? text : std::string();
}

}  // namespace

// What a metadata area holds. Of one that several physical volumes list, each has its own word on
// where it begins.
struct Lvm2Area {
  AreaState state = AreaState::kUnreadable;
  bool sumsHold = false;
  u64 ownPosition = 0;  // as its header has it, from the start of the physical volume
  std::unique_ptr<Lvm2Text> text;
  u64 sequence = 0;
};

namespace {

void ReadText(Scan& scan, const cPartTreeItem& node, const TextPlace& place, u32 sum,
              Lvm2Area* area) {
  if (!place.IsInRing() || !scan.Limits().Spend(Budget::kTextBytes, place.bytes)) return;
  std::string bytes = ReadRing(scan, node, place);
  if (bytes.empty()) return;
  area->sumsHold &= sum == Crc(BytesOf(bytes));
  area->text = std::make_unique<Lvm2Text>(std::move(bytes), scan.Limits().Left(Budget::kItems));
  if (area->text->IsTooLong()) scan.Limits().Refuse(Budget::kItems);
  scan.Limits().Spend(Budget::kItems, area->text->ItemCount());
  if (!area->text->IsValid()) return;
  area->sequence = Lvm2SequenceNumber(*area->text);
  area->state = AreaState::kHoldsText;
}

// The area whose first sector is `sector` and begins at byte `position` of the node.
Lvm2Area ReadArea(Scan& scan, const cPartTreeItem& node, u64 sector, u64 position) {
  Lvm2Area area;
  SectorBytes bytes;
  const std::span<const u8> header(bytes);
  if (!scan.ReadSector(sector, &bytes) ||
      !StartsWith(header.subspan(kAreaMagicPlace), kAreaMagic)) {
    return area;
  }
  const TextPlace place{position, LoadLe64(&header[kAreaSize]), LoadLe64(&header[kTextPosition]),
                        LoadLe64(&header[kTextSize])};
  if (place.areaBytes > std::numeric_limits<u64>::max() - position) return area;
  area.ownPosition = LoadLe64(&header[kAreaPosition]);
  area.sumsHold = LoadLe32(header.data()) == Crc(header.subspan(kAreaMagicPlace));
  if (place.first == 0 || (LoadLe32(&header[kTextFlags]) & kIgnored)) {
    area.state = AreaState::kEmpty;
  } else {
    ReadText(scan, node, place, LoadLe32(&header[kTextCrc]), &area);
  }
  return area;
}

// The area at that byte of the node, read once however many physical volumes list it; null when
// none can be there.
std::shared_ptr<const Lvm2Area> AreaAt(Scan& scan, const cPartTreeItem& node, u64 position) {
  const u64 sector = node.m_start + position / kSectorBytes;
  if (position % kSectorBytes != 0 || sector < node.m_start) return nullptr;
  std::shared_ptr<const Lvm2Area>& area = scan.Lvm2AreaAt(sector);
  if (!area) area = std::make_shared<const Lvm2Area>(ReadArea(scan, node, sector, position));
  return area;
}

// Of the texts that can be read the newest, one that is intact before any that is not. Without an
// intact one the others are believed as far as they can be read and know this physical volume:
// that is better than to lose all volumes to one wrong bit.
class TextChoice {
 public:
  void Offer(const std::shared_ptr<const Lvm2Area>& area, u64 position) {
    if (!area) return;
    if (area->state == AreaState::kEmpty) m_anyEmpty = true;
    if (area->state != AreaState::kHoldsText) return;
    const bool isIntact = area->sumsHold && area->ownPosition == position;
    const bool isBetter = !m_area || (isIntact && !m_isIntact) ||
                          (isIntact == m_isIntact && area->sequence > m_area->sequence);
    if (!isBetter) return;
    m_area = area;
    m_isIntact = isIntact;
  }

  const Lvm2Text* Text() const { return m_area ? m_area->text.get() : nullptr; }
  // Whether an area says that the physical volume is in no group, or that others keep the text.
  bool AnyEmpty() const { return m_anyEmpty; }

 private:
  std::shared_ptr<const Lvm2Area> m_area;
  bool m_isIntact = false;
  bool m_anyEmpty = false;
};

cSoftRAIDMember* MakeRecord(const Lvm2Set& set) {
  auto* record = new cSoftRAIDMember;
  record->m_name.Assign(DiskText(BytesOf(set.name)));
  record->SetIdentifier(BytesOf(set.id));
  record->m_level.Assign(DiskText(BytesOf(set.level)));
  record->m_layout = set.layout;
  constexpr u64 kMaxBlockSectors = std::numeric_limits<u32>::max() / kSectorBytes;
  if (set.blockSectors > 0 && set.blockSectors <= kMaxBlockSectors) {
    record->m_blockBytes = static_cast<u32>(set.blockSectors * kSectorBytes);
  }
  record->m_columns = static_cast<u32>(set.columns);
  record->m_index = static_cast<u32>(set.index);
  return record;
}

// Whether `first` extents lead to a sector, and `count` of them to another after it, that can be
// counted.
bool IsCountable(const Lvm2PhysicalVolume& volume, const Lvm2Piece& piece, u64 origin) {
  const u64 room = std::numeric_limits<u64>::max() - origin;
  return piece.first + piece.count <= room / volume.extentSectors;
}

// A piece that begins past the end of the node lies in whatever comes there. One that only ends
// there is kept: so does the last one of a disk whose image was cut short.
void AddPieces(Scan& scan, cPartTreeItem& node, const Lvm2PhysicalVolume& volume) {
  if (volume.firstExtentSector >= node.m_length) return;
  const u64 origin = node.m_start + volume.firstExtentSector;
  for (const Lvm2Piece& piece : volume.pieces) {
    if (!IsCountable(volume, piece, origin)) continue;
    const u64 start = origin + piece.first * volume.extentSectors;
    if (start - node.m_start >= node.m_length) continue;
    // What Linux keeps there is for the detection to find out.
    cPartTreeItem* child =
        scan.AddChild(node, start, piece.count * volume.extentSectors, kTypeLinuxNative);
    if (!child) continue;
    AddExtension(*child, MakeRecord(piece.set));
    scan.Detect(*child, node);
  }
}

bool ProbeLvm2(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  for (u32 i = 0; i < kLabelSectors; ++i) {
    if (IsLabel(FrontSector(front, i))) return true;
  }
  return false;
}

bool ParseLvm2(Scan& scan, cPartTreeItem& node) {
  const auto header = FindHeader(scan, node);
  if (!header) return false;
  TextChoice choice;
  for (const u64 position : header->areas) choice.Offer(AreaAt(scan, node, position), position);
  if (!choice.Text()) return header->areas.empty() || choice.AnyEmpty();
  if (!scan.Limits().Spend(Budget::kLooks, choice.Text()->ItemCount())) return false;
  const u64 room = scan.Limits().Left(Budget::kPieces);
  const auto volume = FindPhysicalVolume(*choice.Text(), header->id, room);
  if (!volume) return false;
  if (!scan.Limits().Spend(Budget::kPieces, volume->pieces.size()) ||
      volume->pieces.size() == room) {
    scan.Limits().Refuse(Budget::kPieces);
  }
  AddPieces(scan, node, *volume);
  return true;
}

using cLVMPartParser = FormatParser<kParserLVM, ParseLvm2>;

}  // namespace

constinit const Format kLvm2Format{"cLVMPartParser", "LVM2 physical volume",     kParserLVM, true,
                                   ProbeLvm2,        MakeParser<cLVMPartParser>, ParseLvm2};

}  // namespace larkspur
