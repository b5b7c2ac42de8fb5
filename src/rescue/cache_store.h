// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// A sparse image as the engine's store.

#include "io/kvr_sparse_io.h"
#include "rescue/rescue_store.h"

namespace larkspur {

class CacheStore final : public RescueStore {
 public:
  // `image` is not owned. `sync` flushes the image's file to disk.
  CacheStore(cKVRSparseIO* image, std::function<bool()> sync)
      : m_image(image), m_sync(std::move(sync)) {}

  u64 Sectors() const override { return m_image->GetSectorCount(); }
  bool Visit(SectorRange range, const ExtentVisitor& visit) override;
  bool MakeRoom(SectorRange range) override;
  bool Store(u64 first, const u8* data, u32 count, bool evenUnreadable) override;
  bool MarkUnreadable(SectorRange range) override;
  bool Load(u64 first, u8* data, u32 count) override;
  bool Sync() override { return m_sync(); }

 private:
  cKVRSparseIO* m_image;
  std::function<bool()> m_sync;
};

}  // namespace larkspur
