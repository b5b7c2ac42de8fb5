// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/lvm2.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <zlib.h>

#include "base/byte_reader.h"
#include "partitions/disk_text.h"
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
// The texts of large groups have some hundred KiB.
constexpr u64 kMaxTextBytes = u64{16} << 20;

// In bytes from the start of the physical volume.
struct Area {
  u64 position;
  u64 size;
};

struct PhysicalVolume {
  std::string id;
  std::vector<Area> metadata;
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
    volume.metadata.push_back({reader.Le64(at), reader.Le64(at + 8)});
  }
  volume.metadata.resize(std::min(volume.metadata.size(), kMaxAreas));
  return volume;
}

// The first label that belongs where it is or, without one, the first at all.
std::optional<PhysicalVolume> FindHeader(Scan& scan, const cPartTreeItem& node) {
  u8 front[kLabelSectors * kSectorBytes];
  if (scan.Read(node.m_start, kLabelSectors, front) != kLabelSectors) return std::nullopt;
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

// What a metadata area holds, and whether all of it is as it was written.
struct AreaContents {
  AreaState state = AreaState::kUnreadable;
  bool isIntact = false;
  std::string text;
};

// The text of an area whose header lies in `header`, from the ring that it describes.
AreaContents ReadText(Scan& scan, const cPartTreeItem& node, const Area& area,
                      std::span<const u8> header) {
  AreaContents contents;
  const u64 position = LoadLe64(&header[kTextPosition]);
  const u64 size = LoadLe64(&header[kTextSize]);
  if (position == 0 || (LoadLe32(&header[kTextFlags]) & kIgnored)) {
    contents.state = AreaState::kEmpty;
    return contents;
  }
  const bool isInRing = area.size > kSectorBytes && position >= kSectorBytes &&
                        position < area.size && size > 0 && size <= area.size - kSectorBytes;
  if (!isInRing || size > kMaxTextBytes) return contents;
  const u64 first = std::min(size, area.size - position);
  if (!AppendBytes(scan, node, area.position + position, first, &contents.text)) return contents;
  if (!AppendBytes(scan, node, area.position + kSectorBytes, size - first, &contents.text)) {
    return contents;
  }
  contents.isIntact = LoadLe32(&header[kTextCrc]) == Crc(BytesOf(contents.text));
  contents.state = AreaState::kHoldsText;
  return contents;
}

AreaContents ReadArea(Scan& scan, const cPartTreeItem& node, const Area& listed) {
  SectorBytes sector;
  const std::span<const u8> header(sector);
  const u64 first = node.m_start + listed.position / kSectorBytes;
  if (listed.position % kSectorBytes != 0 || first < node.m_start ||
      !scan.ReadSector(first, &sector) ||
      !StartsWith(header.subspan(kAreaMagicPlace), kAreaMagic)) {
    return {};
  }
  const u64 size = LoadLe64(&header[kAreaSize]);
  if (size > std::numeric_limits<u64>::max() - listed.position) return {};
  AreaContents contents = ReadText(scan, node, {listed.position, size}, header);
  contents.isIntact &= LoadLe64(&header[kAreaPosition]) == listed.position &&
                       LoadLe32(header.data()) == Crc(header.subspan(kAreaMagicPlace));
  return contents;
}

// Of the texts that can be read the newest, one that is intact before any that is not. Without an
// intact one the others are believed as far as they can be read and know this physical volume:
// that is better than to lose all volumes to one wrong bit.
class TextChoice {
 public:
  void Offer(AreaContents contents) {
    if (contents.state == AreaState::kEmpty) m_anyEmpty = true;
    if (contents.state != AreaState::kHoldsText) return;
    auto text = std::make_unique<Lvm2Text>(std::move(contents.text));
    if (!text->IsValid()) return;
    const u64 sequence = Lvm2SequenceNumber(*text);
    const bool isBetter = !m_text || (contents.isIntact && !m_isIntact) ||
                          (contents.isIntact == m_isIntact && sequence > m_sequence);
    if (!isBetter) return;
    m_text = std::move(text);
    m_isIntact = contents.isIntact;
    m_sequence = sequence;
  }

  const Lvm2Text* Text() const { return m_text.get(); }
  // Whether an area says that the physical volume is in no group, or that others keep the text.
  bool AnyEmpty() const { return m_anyEmpty; }

 private:
  std::unique_ptr<Lvm2Text> m_text;
  bool m_isIntact = false;
  u64 m_sequence = 0;
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

// Whether `first` extents lead to a sector, and `count` of them to another behind it, that can be
// counted.
bool IsCountable(const Lvm2PhysicalVolume& volume, const Lvm2Piece& piece, u64 origin) {
  const u64 room = std::numeric_limits<u64>::max() - origin;
  return piece.first + piece.count <= room / volume.extentSectors;
}

// A piece that begins behind the end of the node lies in whatever comes there. One that only ends
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

}  // namespace

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
  for (const Area& area : header->metadata) choice.Offer(ReadArea(scan, node, area));
  if (!choice.Text()) return header->metadata.empty() || choice.AnyEmpty();
  const auto volume = FindPhysicalVolume(*choice.Text(), header->id);
  if (!volume) return false;
  AddPieces(scan, node, *volume);
  return true;
}

}  // namespace larkspur
