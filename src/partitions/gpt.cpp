// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors

// GUID partition tables (UEFI 2.10, chapter 5.3).
//
// Header, one logical sector, little-endian:
//   0   8  "EFI PART"
//   24  8  LBA of this header
//   72  8  LBA of the entry array
//   80  4  number of entries
//   84  4  bytes of an entry, 128
// Entry: 0 type GUID (all zero: unused), 32 u64 first LBA, 40 u64 last LBA.
//
// Everything is laid out relative to the header, so a table inside an image or a partition is read
// as well. Lengths are the difference of the two LBAs, one sector short of the inclusive range.

#include <cstring>
#include <vector>

#include "base/endian.h"
#include "partitions/formats.h"
#include "partitions/gpt_table.h"
#include "partitions/guid_text.h"
#include "partitions/type_names.h"

namespace larkspur {
namespace {

constexpr size_t kFirstLba = 32;
constexpr size_t kLastLba = 40;

struct TypeRow {
  GuidBytes guid;
  u16 type;
};

// The first equal row wins. Two rows repeat the GUID of an earlier one and are never chosen: they
// record what else the GUID is known as.
constexpr TypeRow kTypes[] = {
    {GuidOnDisk("c12a7328-f81f-11d2-ba4b-00a0c93ec93b"), 239},
    {GuidOnDisk("024dee41-33e7-11d3-9d69-0008c781f39f"), 255},
    {GuidOnDisk("5808c8aa-7e8f-42e0-85d2-e1e90434cfb3"), kTypeLdmMetadata},
    {GuidOnDisk("516e7cb4-6ecf-11d6-8ff8-00022d09712b"), 165},
    {GuidOnDisk("516e7cb5-6ecf-11d6-8ff8-00022d09712b"), kTypeGptBsdSwap},
    {GuidOnDisk("516e7cb6-6ecf-11d6-8ff8-00022d09712b"), kTypeUfs},
    {GuidOnDisk("516e7cb6-6ecf-11d6-8ff8-00022d09712b"), 270},
    {GuidOnDisk("e3c9e316-0b5c-4db8-817d-f92df00215ae"), kTypeGptMsReserved},
    {GuidOnDisk("ebd0a0a2-b9e5-4433-87c0-68b6b72699c7"), kTypeGptBasic},
    {GuidOnDisk("5808c8aa-7e8f-42e0-85d2-e1e90434cfb3"), kTypeGptLdmMetadata},
    {GuidOnDisk("af9b60a0-1431-4f62-bc68-3311714a69ad"), kTypeLdmLink},
    {GuidOnDisk("a19d880f-05fc-4d3b-a006-743f0f84911e"), kTypeLinuxRaid},
    {GuidOnDisk("0657fd6d-a4ab-43c4-84e5-0933c84b4f4f"), kTypeLinuxSwap},
    {GuidOnDisk("e6d6d379-f507-44c2-a23c-238f2a3df928"), kTypeLinuxLvm},
};

u16 TypeOf(const u8* guid) {
  for (const TypeRow& row : kTypes) {
    if (std::memcmp(row.guid.data(), guid, row.guid.size()) == 0) return row.type;
  }
  return kTypeUnknown;
}

// What a child is made of. The table itself is not kept while children are looked into.
struct GptEntry {
  u64 first;
  u64 last;
  u16 type;
};

std::vector<GptEntry> UsedEntries(const GptTable& table) {
  std::vector<GptEntry> entries;
  for (u32 i = 0; i < table.EntryCount(); ++i) {
    const auto entry = table.Entry(i);
    if (!IsUsedGptEntry(entry)) continue;
    entries.push_back({LoadLe64(&entry[kFirstLba]), LoadLe64(&entry[kLastLba]), TypeOf(&entry[0])});
  }
  return entries;
}

bool ProbeGpt(Scan& /*scan*/, const cPartTreeItem& /*node*/, NodeFront front) {
  return FindGptHeader(front).has_value();
}

bool ParseGpt(Scan& scan, cPartTreeItem& node) {
  u8 front[kGptFrontSectors * kSectorBytes] = {};
  if (scan.ReadFront(node.m_start, kGptFrontSectors, front) == 0) return false;
  const auto place = FindGptHeader(front);
  if (!place) return false;
  auto table = ReadGptTable(scan, node.m_start + place->sector, place->factor);
  if (!table) return false;
  AddGptPartitions(scan, node, std::move(*table));
  return true;
}

using cGPTPartParser = FormatParser<kParserGPT, ParseGpt>;

}  // namespace

void AddGptPartitions(Scan& scan, cPartTreeItem& node, GptTable table) {
  const std::vector<GptEntry> entries = UsedEntries(table);
  table.array = {};
  for (const GptEntry& entry : entries) {
    const u64 length = (entry.last - entry.first) * table.factor;
    cPartTreeItem* child =
        scan.AddEntry(node, table.SectorOf(entry.first), length, length + table.factor, entry.type);
    if (child && child->m_start != 0) scan.Detect(*child, node);
  }
}

constinit const Format kGptFormat{"cGPTPartParser", "GUID partition table",     kParserGPT, true,
                                  ProbeGpt,         MakeParser<cGPTPartParser>, ParseGpt};

}  // namespace larkspur
