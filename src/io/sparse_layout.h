// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where things lie in a sparse image file (docs/image-format.md has the whole picture).
//
//   sector 0        header, 28 bytes
//   sectors 1..I    block index: a u32 for every block, its record number or kNoRecord
//   from D = I + 1  records of 1 + B sectors: the status map (a byte for each sector of the block),
//                   then the block's B sectors
//
// Header, little-endian:
//   offset  size  field
//   0       8     magic "KVRSparF"
//   8       8     sector count N of the image
//   16      4     block size B in sectors, 1 to 512
//   20      4     version
//   24      4     identity stamp

#include <array>
#include <optional>
#include <span>

#include "base/types.h"

namespace larkspur {

constexpr u32 kSparseHeaderBytes = 28;
constexpr u32 kSparseVersion = 0x00020000;
constexpr u32 kMaxSparseBlock = 512;
constexpr u64 kMaxSparseSectors = u64{1} << 41;  // not reached: an image holds fewer sectors
constexpr u32 kNoRecord = 0xFFFFFFFF;

// What an image knows of a sector. Where a damaged map holds another value, Read takes the sector
// for present, as every reader of the format does; those who ask for its status are told.
enum SectorStatus : u8 {
  kMissing = 0,
  kPresent = 1,
  kUnreadable = 2,
  // Never in a map:
  kUnknown = 3,      // the image's own file cannot be read there
  kMeaningless = 4,  // the map holds a value that is no status
};

inline SectorStatus StatusOf(u8 mapByte) {
  return mapByte <= kUnreadable ? static_cast<SectorStatus>(mapByte) : kMeaningless;
}

struct SparseLayout {
  u64 sectorCount = 0;
  u32 blockSize = 0;  // sectors
  u32 version = 0;
  u32 stamp = 0;

  // The layout of a new image; none when it would be too large.
  static std::optional<SparseLayout> ForNew(u64 sectorCount, u32 stamp);

  // Reads a header; none without the magic, with an impossible block size, or with more blocks than
  // record numbers can tell apart.
  static std::optional<SparseLayout> Parse(std::span<const u8, kSparseHeaderBytes> header);

  // Whether the bytes begin with an image's magic, whatever follows it.
  static bool HasMagic(std::span<const u8, kSparseHeaderBytes> header);

  std::array<u8, kSparseHeaderBytes> Header() const;

  u64 BlockCount() const { return sectorCount / blockSize + (sectorCount % blockSize != 0); }
  u64 IndexSectors() const { return (4 * BlockCount() + kSectorBytes - 1) >> kSectorShift; }
  u64 DataStart() const { return IndexSectors() + 1; }
  u32 RecordSectors() const { return blockSize + 1; }
  u64 RecordSector(u64 record) const { return DataStart() + record * RecordSectors(); }
  // How many whole records a file of that many sectors holds.
  u64 RecordsIn(u64 fileSectors) const {
    return fileSectors < DataStart() ? 0 : (fileSectors - DataStart()) / RecordSectors();
  }
  // Bytes by which the file grows at most for that many missing sectors of new blocks.
  u64 GrowthBytes(u64 sectors) const {
    return (sectors / blockSize + (sectors % blockSize != 0)) * RecordSectors() * kSectorBytes;
  }
  // How many blocks a file of that many bytes has index entries for.
  u64 EntriesIn(u64 fileBytes) const {
    const u64 entries = fileBytes < kSectorBytes ? 0 : (fileBytes - kSectorBytes) / 4;
    return entries < BlockCount() ? entries : BlockCount();
  }
  // The block size that new images of that many sectors get. It grows with them, so that the index
  // stays below 16 GiB.
  static u32 BlockSizeFor(u64 sectorCount);
  // How many sectors of the image lie in that block: blockSize but for the last one.
  u32 SectorsInBlock(u64 block) const;

  static u64 IndexByte(u64 block) { return kSectorBytes + 4 * block; }
};

}  // namespace larkspur
