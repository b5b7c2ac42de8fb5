// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// The division table of the XENIX family, in sector 42 of a partition.
//
// Little-endian:
//   0  2   magic 0x1234
//   2      8 divisions of 8 bytes: i32 start, i32 size, in blocks of 1024 bytes
// Division 7 is the whole area and starts at 0. Divisions count from an area that begins after the
// boot blocks, at a place that the table does not hold: it is what division 7 leaves of the
// partition.

#include "base/byte_reader.h"
#include "partitions/formats.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr u64 kTableSector = 42;
constexpr u16 kMagic = 0x1234;
constexpr size_t kDivisions = 7;
constexpr size_t kWhole = 7;
constexpr u32 kBlockSectors = 2;

struct Division {
  i64 start;  // blocks
  i64 size;
};

Division DivisionAt(ByteReader& table, size_t index) {
  const size_t at = 2 + index * 8;
  return {static_cast<i32>(table.Le32(at)), static_cast<i32>(table.Le32(at + 4))};
}

bool Fits(const Division& division, u64 sectors) {
  return division.size <= 0 || static_cast<u64>(division.size) * kBlockSectors <= sectors;
}

bool IsTable(ByteReader& table, u64 sectors) {
  if (table.Le16(0) != kMagic || DivisionAt(table, kWhole).start != 0) return false;
  for (size_t i = 0; i <= kWhole; ++i) {
    if (!Fits(DivisionAt(table, i), sectors)) return false;
  }
  return true;
}

// Where division 7 begins, if it ends with the partition; the partition's start when that would lie
// on the table.
u64 AreaStart(ByteReader& table, const cPartTreeItem& node) {
  const Division whole = DivisionAt(table, kWhole);
  if (whole.size <= 0) return node.m_start;
  const u64 before = node.m_length - static_cast<u64>(whole.size) * kBlockSectors;
  return before > kTableSector + 1 ? node.m_start + before : node.m_start;
}

bool ProbeXUnix(Scan& scan, const cPartTreeItem& node, NodeFront /*front*/) {
  SectorBytes sector;
  if (node.m_length <= kTableSector || !scan.ReadSector(node.m_start + kTableSector, &sector)) {
    return false;
  }
  ByteReader table(sector);
  return IsTable(table, node.m_length);
}

bool ParseXUnix(Scan& scan, cPartTreeItem& node) {
  SectorBytes sector;
  if (!scan.ReadSector(node.m_start + kTableSector, &sector)) return false;
  ByteReader table(sector);
  if (!IsTable(table, node.m_length)) return false;
  const u64 area = AreaStart(table, node);
  for (size_t i = 0; i < kDivisions; ++i) {
    const Division division = DivisionAt(table, i);
    if (division.start < 0 || division.size <= 0) continue;
    const u64 start = area + static_cast<u64>(division.start) * kBlockSectors;
    const u64 length = static_cast<u64>(division.size) * kBlockSectors;
    if (start < node.End() && length <= node.End() - start) {
      scan.AddAndDetect(node, start, length, kTypeUnknown);
    }
  }
  return true;
}

using cXUnixParser = FormatParser<kParserXUnix, ParseXUnix>;

}  // namespace

constinit const Format kXUnixFormat{"cXUnixParser", "XENIX division table",   kParserXUnix, true,
                                    ProbeXUnix,     MakeParser<cXUnixParser>, ParseXUnix};

}  // namespace larkspur
