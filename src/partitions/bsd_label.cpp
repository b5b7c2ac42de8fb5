// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// BSD disk labels.
//
// In sector 1 or 0, little-endian:
//   0    4  magic, again at 132
//   40   4  bytes per sector, the unit of the entries
//   112  4  (OpenBSD) u16 high part of the size, u16 version
//   138  2  number of entries
//   148     entries of 16 bytes: 0 u32 size, 4 u32 offset, 12 u8 file-system type;
//           in OpenBSD's version 1: 8 u16 high part of offset, 10 u16 high part of size
// Sources: FreeBSD sys/disk/bsd.h, OpenBSD sys/disklabel.h.

#include <algorithm>
#include <vector>

#include "base/byte_reader.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kMagic = 0x82564557;
constexpr size_t kMagicAgain = 132;
constexpr size_t kSectorSize = 40;
constexpr size_t kVersion = 114;
constexpr size_t kEntryCount = 138;
constexpr size_t kEntries = 148;
constexpr size_t kEntryBytes = 16;
constexpr size_t kMaxEntries = (kSectorBytes - kEntries) / kEntryBytes;
constexpr size_t kWholeEntry = 2;  // "c", by custom the whole slice or disk
constexpr u16 kTypeOpenBsd = 166;

struct Entry {
  size_t index;
  u64 offset;  // sectors of 512 bytes
  u64 size;
  u16 type;
};

bool IsLabel(std::span<const u8> sector) {
  ByteReader reader(sector);
  return reader.Le32(0) == kMagic && reader.Le32(kMagicAgain) == kMagic;
}

std::vector<Entry> UsedEntries(std::span<const u8> label, bool openBsd) {
  ByteReader reader(label);
  const u32 sectorSize = reader.Le32(kSectorSize);
  const u64 factor =
      sectorSize % kSectorBytes == 0 && sectorSize > 0 ? sectorSize / kSectorBytes : 1;
  const bool wide = openBsd && reader.Le16(kVersion) >= 1;
  const size_t count = std::min<size_t>(reader.Le16(kEntryCount), kMaxEntries);
  std::vector<Entry> entries;
  for (size_t i = 0; i < count; ++i) {
    const size_t at = kEntries + i * kEntryBytes;
    u64 size = reader.Le32(at);
    u64 offset = reader.Le32(at + 4);
    if (wide) {
      offset |= u64{reader.Le16(at + 8)} << 32;
      size |= u64{reader.Le16(at + 10)} << 32;
    }
    const auto type = static_cast<u16>(kTypeBsdFirst + reader.U8(at + 12));
    if (size > 0) entries.push_back({i, offset * factor, size * factor, type});
  }
  return entries;
}

bool AllWithin(const std::vector<Entry>& entries, u64 first, u64 end) {
  return std::all_of(entries.begin(), entries.end(), [=](const Entry& entry) {
    return entry.index == kWholeEntry ||
           (entry.offset >= first && entry.offset <= end && entry.size <= end - entry.offset);
  });
}

// Systems differ in whether offsets count from the disk or from the slice that holds the label, and
// the label does not say. The entry of the whole slice decides where it starts with the slice by
// one of the two readings. Otherwise what lies inside the slice by one reading only is meant that
// way.
bool CountsFromDisk(const std::vector<Entry>& entries, u64 start, u64 length) {
  const auto whole = std::find_if(entries.begin(), entries.end(),
                                  [](const Entry& entry) { return entry.index == kWholeEntry; });
  const bool hasWhole = whole != entries.end();
  if (hasWhole && whole->offset == start) return true;
  if (hasWhole && whole->offset == 0) {
    if (whole->size <= length) return false;
    if (whole->size >= start + length) return true;
  }
  const bool fromDisk = AllWithin(entries, start, start + length);
  const bool fromSlice = AllWithin(entries, 0, length);
  if (fromDisk != fromSlice) return fromDisk;
  if (fromDisk || hasWhole) return true;
  return std::none_of(entries.begin(), entries.end(),
                      [&](const Entry& entry) { return entry.offset < start; });
}

bool ProbeBsdLabel(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  return IsLabel(FrontSector(front, 1)) || IsLabel(FrontSector(front, 0));
}

bool ParseBsdLabel(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  const bool found = (scan.ReadSector(node.m_start + 1, &sector) && IsLabel(sector)) ||
                     (scan.ReadSector(node.m_start, &sector) && IsLabel(sector));
  if (!found) return false;
  const std::vector<Entry> entries = UsedEntries(sector, node.m_type == kTypeOpenBsd);
  const u64 base = CountsFromDisk(entries, node.m_start, scan.TableLength(node)) ? 0 : node.m_start;
  for (const Entry& entry : entries) {
    scan.AddAndDetect(node, base + entry.offset, entry.size, entry.type);
  }
  return true;
}

using cBSDPartParser = FormatParser<kParserBSD, ParseBsdLabel>;

}  // namespace

constinit const Format kBsdLabelFormat{
    "cBSDPartParser", "BSD disk label",           kParserBSD,   true,
    ProbeBsdLabel,    MakeParser<cBSDPartParser>, ParseBsdLabel};

}  // namespace larkspur
