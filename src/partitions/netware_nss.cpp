// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// Partitions of NetWare's Storage Services.
//
// Sector 0, little-endian:
//   1   12  "Nw_PaRtItIoN" (by some descriptions at 0)
// Superblock of a pool, in sector 8, when the pool begins with the partition:
//   0   4   "SPB5"
//   196 8   blocks of 4096 bytes, 204 128 name (UTF-16)
// How one partition is cut into several pool segments was never published: without a superblock in
// sector 8 there are no children. Source of the superblock: util-linux.

#include <algorithm>

#include "base/byte_reader.h"
#include "partitions/field_text.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr std::string_view kMagic = "Nw_PaRtItIoN";
constexpr u64 kPoolSector = 8;
constexpr size_t kPoolBlocks = 196;
constexpr size_t kPoolName = 204;
constexpr size_t kPoolNameUnits = 64;
constexpr u64 kBlockSectors = 8;
constexpr u16 kTypeNss = 105;

std::u16string PoolName(ByteReader& pool) {
  std::u16string name;
  for (size_t i = 0; i < kPoolNameUnits; ++i) {
    const char16_t unit = pool.Le16(kPoolName + i * 2);
    if (unit == 0) break;
    name += unit < 0x20 ? u'\uFFFD' : unit;
  }
  return name;
}

bool ProbeNetWareNss(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  const std::span<const u8> bytes(front);
  return StartsWith(bytes, kMagic) || StartsWith(bytes.subspan(1), kMagic);
}

bool ParseNetWareNss(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (!scan.ReadSector(node.m_start + kPoolSector, &sector)) return false;
  if (!StartsWith(sector, "SPB5")) return true;
  ByteReader pool(sector);
  const u64 blocks = std::min(pool.Le64(kPoolBlocks), node.m_length / kBlockSectors);
  cPartTreeItem* child = scan.AddChild(node, node.m_start, blocks * kBlockSectors, kTypeNss);
  if (!child) return true;
  if (const std::u16string name = PoolName(pool); !name.empty()) {
    child->m_name.Assign(name + u" (" + std::u16string(GetTypeName(kTypeNss)) + u")");
  }
  scan.Detect(*child, node);
  return true;
}

using cNWNSSPartParser = FlaggedFormatParser<kParserNWNSS, ParseNetWareNss>;

}  // namespace

constinit const Format kNetWareNssFormat{
    "cNWNSSPartParser", "NetWare NSS partition",      kParserNWNSS,   true,
    ProbeNetWareNss,    MakeParser<cNWNSSPartParser>, ParseNetWareNss};

}  // namespace larkspur
