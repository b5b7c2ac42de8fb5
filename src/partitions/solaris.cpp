// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Solaris' volume table of contents, in its two unrelated forms.
//
// x86, sector 1, little-endian:
//   12   4  sanity 0x600DDEEE
//   30   2  number of slices
//   72      16 slices of 12 bytes: u16 tag, u16 flags, u32 start, u32 size (sectors)
//   508  2  magic 0xDABE
// SPARC, sector 0, big-endian:
//   140  2  number of slices
//   142     8 pairs of u16 tag, u16 flags
//   188  4  sanity
//   436  2  heads, 438 2 sectors per track
//   444     8 pairs of u32 start cylinder, u32 size (sectors)
//   508  2  magic 0xDABE, 510 2 checksum (the XOR of all 16-bit words is 0)
// Sources: illumos sys/dklabel.h and sys/vtoc.h.

#include <algorithm>

#include "base/byte_reader.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u16 kMagic = 0xDABE;
constexpr size_t kMagicAt = 508;
constexpr u32 kSane = 0x600DDEEE;

constexpr size_t kX86Sanity = 12;
constexpr size_t kX86Count = 30;
constexpr size_t kX86Slices = 72;
constexpr size_t kX86SliceBytes = 12;

constexpr size_t kSparcCount = 140;
constexpr size_t kSparcTags = 142;
constexpr size_t kSparcSanity = 188;
constexpr size_t kSparcHeads = 436;
constexpr size_t kSparcTrack = 438;
constexpr size_t kSparcSlices = 444;
constexpr size_t kSparcSliceCount = 8;

struct TagType {
  u16 tag;
  u16 type;
};
// Tags 2 to 8 but for 3 and 5 say what is mounted where, and all were UFS before ZFS brought other
// labels with it.
constexpr TagType kTagTypes[] = {
    {1, kTypeSolarisBoot}, {2, kTypeUfs},          {3, kTypeBsdFirst + 1},
    {4, kTypeUfs},         {6, kTypeUfs},          {7, kTypeUfs},
    {8, kTypeUfs},         {0x82, kTypeLinuxSwap}, {0x83, kTypeLinuxNative},
    {0x8E, kTypeLinuxLvm}, {0xFD, kTypeLinuxRaid},
};

u16 TypeOfTag(u16 tag) {
  const auto* row = std::find_if(std::begin(kTagTypes), std::end(kTagTypes),
                                 [tag](const TagType& entry) { return entry.tag == tag; });
  return row != std::end(kTagTypes) ? row->type : u16{kTypeSolaris};
}

bool IsX86(std::span<const u8> sector) {
  return ByteReader(sector).Le16(kMagicAt) == kMagic;
}

bool IsSparc(std::span<const u8> sector) {
  ByteReader label(sector);
  return label.Be16(kMagicAt) == kMagic && label.Be16(kSparcHeads) != 0 &&
         label.Be16(kSparcTrack) != 0 && label.Be16(kSparcCount) != 0;
}

bool ParseX86(Scan& scan, cPartTreeItem& node, std::span<const u8> sector) {
  ByteReader label(sector);
  if (label.Le32(kX86Sanity) != kSane) return false;
  const size_t slices = label.Le16(kX86Count) > 8 ? 16 : 8;
  for (size_t i = 0; i < slices; ++i) {
    const size_t at = kX86Slices + i * kX86SliceBytes;
    scan.AddAndDetect(node, node.m_start + label.Le32(at + 4), label.Le32(at + 8),
                      TypeOfTag(label.Le16(at)));
  }
  return true;
}

bool ParseSparc(Scan& scan, cPartTreeItem& node, std::span<const u8> sector) {
  ByteReader label(sector);
  u16 sum = 0;
  for (size_t at = 0; at < kSectorBytes; at += 2) sum = static_cast<u16>(sum ^ label.Be16(at));
  if (sum != 0) return false;
  const u64 cylinder = u64{label.Be16(kSparcHeads)} * label.Be16(kSparcTrack);
  const bool tagged = label.Be32(kSparcSanity) == kSane;
  for (size_t i = 0; i < kSparcSliceCount; ++i) {
    const size_t at = kSparcSlices + i * 8;
    const u16 tag = tagged ? label.Be16(kSparcTags + i * 4) : u16{0};
    scan.AddAndDetect(node, node.m_start + label.Be32(at) * cylinder, label.Be32(at + 4),
                      TypeOfTag(tag));
  }
  return true;
}

bool ProbeSolaris(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  return IsX86(FrontSector(front, 1)) || IsSparc(FrontSector(front, 0));
}

bool ParseSolaris(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (scan.ReadSector(node.m_start + 1, &sector) && IsX86(sector)) {
    return ParseX86(scan, node, sector);
  }
  if (scan.ReadSector(node.m_start, &sector) && IsSparc(sector)) {
    return ParseSparc(scan, node, sector);
  }
  return false;
}

using cSolPartParser = FlaggedFormatParser<kParserSol, ParseSolaris>;

}  // namespace

constinit const Format kSolarisFormat{
    "cSolPartParser", "Solaris volume table of contents", kParserSol,  true,
    ProbeSolaris,     MakeParser<cSolPartParser>,         ParseSolaris};

}  // namespace larkspur
