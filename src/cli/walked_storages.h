// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// Where a walk over the files of a storage reads.

#include <cstring>

#include "cli/rescue.h"
#include "files/walk.h"
#include "imaging/status_map.h"
#include "imaging/summary.h"

namespace larkspur::cli {

// What a cache has, and of how much that it has it does not know, or give, what.
class CacheStorage final : public WalkedStorage {
 public:
  // Both outlive it.
  CacheStorage(cKVRSparseIO* image, StatusMap& map) : m_image(image), m_map(map) {}

  bool Read(u64 first, u32 count, u8* buffer, bool /*ahead*/) override {
    // Asked before: another run may store what is being read.
    const bool isPresent = m_map.IsPresent(first, count);
    std::memset(buffer, 0, u64{count} * kSectorBytes);
    m_image->SetPosition(first);
    const u32 got = m_image->ReadStored(buffer, count, nullptr);
    m_lost += count - got;
    return got == count && isPresent;
  }

  u64 Unknown() const { return m_lost + m_map.Unknown(); }

 private:
  u64 m_lost = 0;
  cKVRSparseIO* m_image;
  StatusMap& m_map;
};

// What the rescue engine delivers. It reads ahead until the disk fails for the first time: then
// only what is needed is worth asking for.
class RescuedStorage final : public WalkedStorage {
 public:
  // Outlives it.
  explicit RescuedStorage(Rescue* rescue) : m_rescue(rescue) {}

  bool Read(u64 first, u32 count, u8* buffer, bool ahead) override {
    std::memset(buffer, 0, u64{count} * kSectorBytes);
    if (ahead && m_hasFailed) return false;
    m_rescue->engine().Fetch({first, count}, buffer);
    const bool whole = CountStatuses(m_rescue->Image(), first, count).present == count;
    m_hasFailed = m_hasFailed || !whole;
    return whole;
  }

 private:
  Rescue* m_rescue;
  bool m_hasFailed = false;
};

}  // namespace larkspur::cli
