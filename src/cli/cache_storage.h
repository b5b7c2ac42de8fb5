// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// What a cache has, as a walk over its files reads it.

#include <cstring>

#include "files/walk.h"
#include "imaging/status_map.h"

namespace larkspur::cli {

class CacheStorage final : public WalkedStorage {
 public:
  // Both outlive it.
  CacheStorage(cKVRSparseIO* image, const StatusMap& map) : m_image(image), m_map(map) {}

  bool Read(u64 first, u32 count, u8* buffer, bool /*ahead*/) override {
    m_image->SetPosition(first);
    const u32 got = m_image->Read(buffer, count);
    std::memset(buffer + u64{got} * kSectorBytes, 0, u64{count - got} * kSectorBytes);
    return got == count && m_map.IsPresent(first, count);
  }

 private:
  cKVRSparseIO* m_image;
  const StatusMap& m_map;
};

}  // namespace larkspur::cli
