// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/sparse_layout.h"

#include <algorithm>
#include <cstring>

#include "base/byte_reader.h"
#include "base/endian.h"

namespace larkspur {
namespace {

constexpr char kMagic[] = "KVRSparF";
constexpr size_t kMagicBytes = 8;
constexpr size_t kSectorCountAt = 8;
constexpr size_t kBlockSizeAt = 16;
constexpr size_t kVersionAt = 20;
constexpr size_t kStampAt = 24;

// A record number is a u32, so no image has more blocks.
constexpr u64 kMaxBlocks = u64{1} << 32;

}  // namespace

u32 SparseLayout::BlockSizeFor(u64 sectorCount) {
  if (sectorCount < u64{1} << 39) return 128;
  return sectorCount < u64{1} << 40 ? 256 : 512;
}

std::optional<SparseLayout> SparseLayout::ForNew(u64 sectorCount, u32 stamp) {
  if (sectorCount == 0 || sectorCount >= kMaxSparseSectors) return std::nullopt;
  return SparseLayout{sectorCount, BlockSizeFor(sectorCount), kSparseVersion, stamp};
}

bool SparseLayout::HasMagic(std::span<const u8, kSparseHeaderBytes> header) {
  return std::memcmp(header.data(), kMagic, kMagicBytes) == 0;
}

std::optional<SparseLayout> SparseLayout::Parse(std::span<const u8, kSparseHeaderBytes> header) {
  if (!HasMagic(header)) return std::nullopt;
  ByteReader reader(header);
  const SparseLayout layout{reader.Le64(kSectorCountAt), reader.Le32(kBlockSizeAt),
                            reader.Le32(kVersionAt), reader.Le32(kStampAt)};
  if (layout.blockSize < 1 || layout.blockSize > kMaxSparseBlock) return std::nullopt;
  if (layout.BlockCount() > kMaxBlocks) return std::nullopt;
  return layout;
}

std::array<u8, kSparseHeaderBytes> SparseLayout::Header() const {
  std::array<u8, kSparseHeaderBytes> header;
  std::memcpy(header.data(), kMagic, kMagicBytes);
  StoreLe64(&header[kSectorCountAt], sectorCount);
  StoreLe32(&header[kBlockSizeAt], blockSize);
  StoreLe32(&header[kVersionAt], version);
  StoreLe32(&header[kStampAt], stamp);
  return header;
}

u32 SparseLayout::SectorsInBlock(u64 block) const {
  return static_cast<u32>(std::min<u64>(blockSize, sectorCount - block * blockSize));
}

}  // namespace larkspur
