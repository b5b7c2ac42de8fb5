// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A disk that lists its sectors, as fuzzers and their seeds (fuzz/seeds/partition_tree) have them:
//   1 byte   bit 0: sectors of 4096 bytes, bit 1: the storage has a name
//   3 bytes  number of sectors, little-endian
//   then     2 bytes number of a sector and its 512 bytes, as often as there are
// All other sectors are zeros. tools/fuzz_disk.py turns a disk image into one.

#include <algorithm>
#include <cstring>
#include <span>
#include <unordered_map>

#include "base/endian.h"
#include "base/owned.h"
#include "io/base_io.h"

namespace larkspur::fakes {

class cListedSectors final : public cBaseIO {
 public:
  static constexpr size_t kHeaderBytes = 4;

  // REQUIRES: at least the header's bytes; they stay while the disk lives.
  explicit cListedSectors(std::span<const u8> input) : m_large(input[0] & 1) {
    if (input[0] & 2) m_name.Assign(u"disk");
    m_count = LoadLe16(&input[1]) | u64{input[3]} << 16;
    constexpr size_t kItem = 2 + kSectorBytes;
    for (size_t at = kHeaderBytes; at + kItem <= input.size(); at += kItem) {
      m_sectors[LoadLe16(&input[at])] = &input[at + 2];
    }
  }

  cBaseIO* Clone() override { return nullptr; }
  bool IsSameAs(cBaseIO* other) override { return other == this; }
  u64 SetPosition(u64 sector) override { return m_position = std::min(sector, m_count); }
  u32 Read(void* buffer, u32 count, cBitMap* /*presence*/) override {
    auto* to = static_cast<u8*>(buffer);
    for (u32 i = 0; i < count; ++i, to += kSectorBytes) {
      if (m_position + i >= m_count) return i;
      const auto found = m_sectors.find(m_position + i);
      if (found != m_sectors.end()) {
        std::memcpy(to, found->second, kSectorBytes);
      } else {
        std::memset(to, 0, kSectorBytes);
      }
    }
    return count;
  }
  u64 GetSectorCount() override { return m_count; }
  void* Destroy(u32 flags) override { return DestroyAs(this, flags); }
  bool GetGeometry(u32* three) override {
    three[0] = m_large ? 4096 : 512;
    return true;
  }

 private:
  bool m_large;
  u64 m_count;
  u64 m_position = 0;
  std::unordered_map<u64, const u8*> m_sectors;
};

}  // namespace larkspur::fakes
