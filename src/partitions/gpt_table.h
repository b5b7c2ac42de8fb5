// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A GUID table as it stands on a disk, either of its two copies, with its checksums judged. What a
// tree is made of does not ask for them: a damaged table shows what it still says.

#include <optional>
#include <span>
#include <vector>

#include "partitions/notes.h"
#include "partitions/scan.h"

namespace larkspur {

struct GptTable {
  static constexpr u32 kEntryBytes = 128;
  // 128 are usual, and tools that make more stop at some hundred.
  static constexpr u32 kMaxEntries = 16384;

  u64 origin;  // the sector where the header's own LBA lies
  u32 factor;  // sectors of a logical block
  u64 ownLba;
  u64 otherLba;  // of the other copy's header
  SectorBytes header;
  std::vector<u8> array;
  u32 came;        // sectors of the array
  GptState state;  // by the checksums; of a longer table than is read, by the header's alone
  // The array did not all come, and stands here as the other copy has it.
  bool isFromCopy;

  u64 SectorOf(u64 lba) const { return (lba - ownLba) * factor + origin; }
  u32 EntryCount() const { return static_cast<u32>(array.size() / kEntryBytes); }
  std::span<const u8> Entry(u32 index) const {
    return std::span(array).subspan(size_t{index} * kEntryBytes, kEntryBytes);
  }
};

// Where a header may lie in a node, and how many sectors its logical block has then.
struct GptPlace {
  u32 sector;
  u32 factor;
};
inline constexpr u32 kGptFrontSectors = 9;
// The first place in the node's first sectors that holds a header; none when no place does.
std::optional<GptPlace> FindGptHeader(std::span<const u8> front);

// The table whose header is in that sector; none when there is no header with entries of 128 bytes,
// or none of the entries can be read. In a run for people, entries that do not all come are those
// of the other copy, where that is intact and the checksums say that both are the same.
std::optional<GptTable> ReadGptTable(Scan& scan, u64 sector, u32 factor);

// An intact table at the storage's end or, should the storage have grown, where the header of the
// primary table says; none when there is none.
std::optional<GptTable> FindBackupGpt(Scan& scan);

// What stands in that sector of a table's copy.
GptState JudgeGpt(Scan& scan, u64 sector, u32 factor);

bool IsUsedGptEntry(std::span<const u8> entry);

}  // namespace larkspur
