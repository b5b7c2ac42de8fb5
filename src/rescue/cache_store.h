// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A sparse image as the engine's store.

#include "io/cache_lock.h"
#include "io/kvr_sparse_io.h"
#include "rescue/rescue_store.h"

namespace larkspur {

class CacheStore final : public RescueStore {
 public:
  // Neither is owned. `lock` is that of the image's file; null where nothing is to be flushed.
  CacheStore(cKVRSparseIO* image, CacheLock* lock) : m_image(image), m_lock(lock) {}

  u64 Sectors() const override { return m_image->GetSectorCount(); }
  bool Visit(SectorRange range, const ExtentVisitor& visit) override;
  bool MakeRoom(SectorRange range) override;
  bool Store(u64 first, const u8* data, u32 count, bool evenUnreadable) override;
  bool MarkUnreadable(SectorRange range) override;
  bool Load(u64 first, u8* data, u32 count) override;
  // False as well when the file has lost its name: no one would find what is stored.
  bool Sync() override { return !m_lock || (m_lock->Sync() && m_lock->HasItsName()); }
  void BeginFlush() override {
    if (m_lock) m_lock->BeginFlush();
  }

 private:
  cKVRSparseIO* m_image;
  CacheLock* m_lock;
};

}  // namespace larkspur
