// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Disks of Snap appliances: a BSD label whose second magic lies 112 bytes later than usual.
//
//   0    4  magic, again at 244
//   250  2  number of entries
//   260     entries of 16 bytes as in a BSD label
// No description of this layout was published. The places after the second magic are inferred from
// a BSD label's, and trusted only when the label's own checksum (the XOR of all its 16-bit words is
// 0) and its entries agree.

#include "base/byte_reader.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u32 kMagic = 0x82564557;
constexpr size_t kMagicAgain = 244;
constexpr size_t kEntryCount = 250;
constexpr size_t kEntries = 260;
constexpr size_t kEntryBytes = 16;
constexpr size_t kMaxEntries = (kSectorBytes - kEntries) / kEntryBytes;
constexpr u8 kFastFileSystem = 7;

bool ChecksumHolds(ByteReader& label, size_t length) {
  u16 sum = 0;
  for (size_t at = 0; at < length; at += 2) sum = static_cast<u16>(sum ^ label.Le16(at));
  return sum == 0;
}

bool EntriesFit(ByteReader& label, size_t count, u64 sectors) {
  for (size_t i = 0; i < count; ++i) {
    const size_t at = kEntries + i * kEntryBytes;
    if (u64{label.Le32(at)} + label.Le32(at + 4) > sectors) return false;
  }
  return true;
}

bool ProbeSnap(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  ByteReader label(FrontSector(front, 0));
  return label.Le32(0) == kMagic && label.Le32(kMagicAgain) == kMagic;
}

bool ParseSnap(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (!scan.ReadSector(node.m_start, &sector)) return false;
  ByteReader label(sector);
  const size_t count = label.Le16(kEntryCount);
  const bool plausible = count >= 1 && count <= kMaxEntries &&
                         ChecksumHolds(label, kEntries + count * kEntryBytes) &&
                         EntriesFit(label, count, node.m_length);
  if (!plausible) return true;
  for (size_t i = 0; i < count; ++i) {
    const size_t at = kEntries + i * kEntryBytes;
    const u16 type = label.U8(at + 12) == kFastFileSystem ? kTypeSnapUfs : kTypeSnapSlice;
    scan.AddAndDetect(node, node.m_start + label.Le32(at + 4), label.Le32(at), type);
  }
  return true;
}

using cSnapPartParser = FormatParser<kParserSnap, ParseSnap>;

}  // namespace

constinit const Format kSnapFormat{
    "cSnapPartParser", "Snap appliance disk",       kParserSnap, false,
    ProbeSnap,         MakeParser<cSnapPartParser>, ParseSnap};

}  // namespace larkspur
