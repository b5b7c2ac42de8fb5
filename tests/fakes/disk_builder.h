// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Disks for detection tests, described sector by sector: zeros, but for what is put there.

#include <string>
#include <string_view>
#include <vector>

#include "fakes/memory_disk.h"

namespace larkspur::fakes {

class DiskBuilder {
 public:
  explicit DiskBuilder(u64 sectors) : m_bytes(sectors * kSectorBytes) {}

  // Each puts something at byte `offset` of sector `sector`; the disk grows when it has to.
  DiskBuilder& Text(u64 sector, size_t offset, std::string_view text);
  DiskBuilder& Le(u64 sector, size_t offset, size_t width, u64 value);
  DiskBuilder& Be(u64 sector, size_t offset, size_t width, u64 value);

  // A table of partitions in that sector, signed.
  DiskBuilder& Mbr(u64 sector);
  DiskBuilder& MbrEntry(u64 sector, size_t index, u8 type, u64 start, u64 count);

  // A GUID table whose header, with the LBA `ownLba`, lies in sector `header`, and whose entries
  // lie one logical sector of `factor` sectors after it.
  DiskBuilder& Gpt(u64 header, u64 ownLba, u32 entries, u32 factor = 1);
  DiskBuilder& GptEntry(u64 header, u32 index, std::string_view typeGuid, u64 firstLba, u64 lastLba,
                        u32 factor = 1);

  // The sum that makes the XOR of the 16-bit words of [0, length) of the sector zero goes to
  // `offset`.
  DiskBuilder& XorSum(u64 sector, size_t offset, size_t length);

  const std::vector<u8>& Bytes() const { return m_bytes; }
  Owned<cMemoryDisk> Disk() const { return DiskOn(StoreOf(m_bytes)); }
  u8* At(u64 sector, size_t offset, size_t length);
  // The tree of the disk as text (fakes/tree_text.h).
  std::string Tree() const;

 private:
  std::vector<u8> m_bytes;
};

}  // namespace larkspur::fakes
