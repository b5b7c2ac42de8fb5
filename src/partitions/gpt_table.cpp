// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "partitions/gpt_table.h"

#include <algorithm>

#include <zlib.h>

#include "base/byte_runs.h"
#include "base/endian.h"
#include "partitions/field_text.h"

namespace larkspur {
namespace {

constexpr size_t kHeaderBytes = 12;
constexpr size_t kHeaderSum = 16;
constexpr size_t kOwnLba = 24;
constexpr size_t kOtherLba = 32;
constexpr size_t kArrayLba = 72;
constexpr size_t kEntryCount = 80;
constexpr size_t kEntrySize = 84;
constexpr size_t kArraySum = 88;
constexpr size_t kGuidBytes = 16;
constexpr u32 kLeastHeaderBytes = 92;

constexpr GptPlace kPlaces[] = {{0, 1}, {1, 1}, {7, 8}, {8, 8}};

bool IsHeader(std::span<const u8> sector) {
  return StartsWith(sector, "EFI PART") && LoadLe32(&sector[kEntrySize]) == GptTable::kEntryBytes;
}

u32 Sum(std::span<const u8> bytes) {
  return static_cast<u32>(crc32(0, bytes.data(), static_cast<uInt>(bytes.size())));
}

bool HeaderSumHolds(SectorBytes header) {
  const u32 length = LoadLe32(&header[kHeaderBytes]);
  if (length < kLeastHeaderBytes || length > kSectorBytes) return false;
  const u32 sum = LoadLe32(&header[kHeaderSum]);
  StoreLe32(&header[kHeaderSum], 0);
  return Sum(std::span(header).first(length)) == sum;
}

}  // namespace

std::optional<GptPlace> FindGptHeader(std::span<const u8> front) {
  for (const GptPlace& place : kPlaces) {
    if (IsHeader(front.subspan(size_t{place.sector} * kSectorBytes, kSectorBytes))) return place;
  }
  return std::nullopt;
}

namespace {

GptState WhyUnread(const Scan& scan, u64 first, u64 count) {
  return scan.LacksFirstMissed(first, count) ? GptState::kNotInCache : GptState::kUnreadable;
}

GptState Judge(const Scan& scan, const GptTable& table, u64 first, u32 sectors) {
  const bool isInside = first < scan.SectorCount() && sectors <= scan.SectorCount() - first;
  if (!isInside || !HeaderSumHolds(table.header)) return GptState::kDamaged;
  if (table.came < sectors) return WhyUnread(scan, first, sectors);
  const bool isCut = table.EntryCount() < LoadLe32(&table.header[kEntryCount]);
  const bool holds = isCut || Sum(table.array) == LoadLe32(&table.header[kArraySum]);
  return holds ? GptState::kIntact : GptState::kDamaged;
}

// The table, though none of its entries should come.
std::optional<GptTable> ReadHeaderAndArray(Scan& scan, u64 sector, u32 factor) {
  GptTable table{sector, factor, 0, 0, {}, {}, 0, GptState::kDamaged, false};
  if (!scan.ReadSector(sector, &table.header) || !IsHeader(table.header)) return std::nullopt;
  table.ownLba = LoadLe64(&table.header[kOwnLba]);
  table.otherLba = LoadLe64(&table.header[kOtherLba]);
  const u32 count = LoadLe32(&table.header[kEntryCount]);
  const u32 entries = std::min(count, GptTable::kMaxEntries);
  const u32 sectors = (entries * GptTable::kEntryBytes + kSectorBytes - 1) / kSectorBytes;
  table.array.resize(size_t{sectors} * kSectorBytes);
  const u64 first = table.SectorOf(LoadLe64(&table.header[kArrayLba]));
  table.came = scan.ReadAround(first, sectors, table.array.data());
  table.array.resize(size_t{entries} * GptTable::kEntryBytes);
  if (entries < count) scan.Limits().Refuse(Budget::kEntries);
  table.state = Judge(scan, table, first, sectors);
  return table;
}

// The place of the copy, as the primary header says, whatever else is wrong with that header.
std::optional<u64> CopyByPrimary(Scan& scan, u32 factor) {
  SectorBytes header;
  if (!scan.ReadSector(factor, &header) || !IsHeader(header)) return std::nullopt;
  const u64 lba = LoadLe64(&header[kOtherLba]);
  if (lba <= 1 || lba >= scan.SectorCount() / factor) return std::nullopt;
  return lba * factor;
}

// The array's checksum is part of what the header's own checksum covers.
bool HaveSameEntries(const GptTable& one, const GptTable& other) {
  return HeaderSumHolds(one.header) && one.array.size() == other.array.size() &&
         LoadLe32(&one.header[kEntryCount]) == LoadLe32(&other.header[kEntryCount]) &&
         LoadLe32(&one.header[kArraySum]) == LoadLe32(&other.header[kArraySum]);
}

void CompleteFromCopy(Scan& scan, GptTable* table) {
  auto copy = ReadHeaderAndArray(scan, table->SectorOf(table->otherLba), table->factor);
  if (!copy || copy->state != GptState::kIntact || !HaveSameEntries(*table, *copy)) return;
  table->array = std::move(copy->array);
  table->isFromCopy = true;
}

std::optional<GptTable> ReadIntact(Scan& scan, u64 sector, u32 factor) {
  auto table = ReadHeaderAndArray(scan, sector, factor);
  return table && table->state == GptState::kIntact ? std::move(table) : std::nullopt;
}

}  // namespace

std::optional<GptTable> ReadGptTable(Scan& scan, u64 sector, u32 factor) {
  auto table = ReadHeaderAndArray(scan, sector, factor);
  if (!table) return std::nullopt;
  const bool isCut = u64{table->came} * kSectorBytes < table->array.size();
  if (isCut && scan.IsForPeople()) CompleteFromCopy(scan, &*table);
  return table->came > 0 || table->isFromCopy ? std::move(table) : std::nullopt;
}

std::optional<GptTable> FindBackupGpt(Scan& scan) {
  for (const u32 factor : {1u, 8u}) {
    if (scan.SectorCount() < factor) continue;
    if (auto table = ReadIntact(scan, scan.SectorCount() - factor, factor)) return table;
  }
  for (const u32 factor : {1u, 8u}) {
    const auto sector = CopyByPrimary(scan, factor);
    if (!sector) continue;
    auto table = ReadIntact(scan, *sector, factor);
    if (table && table->ownLba * factor == *sector) return table;
  }
  return std::nullopt;
}

GptState JudgeGpt(Scan& scan, u64 sector, u32 factor) {
  SectorBytes header;
  if (sector >= scan.SectorCount()) return GptState::kMissing;
  if (!scan.ReadSector(sector, &header)) return WhyUnread(scan, sector, 1);
  const auto table = ReadHeaderAndArray(scan, sector, factor);
  return table ? table->state : GptState::kMissing;
}

bool IsUsedGptEntry(std::span<const u8> entry) {
  return !IsAllZero(entry.first(kGuidBytes));
}

}  // namespace larkspur
