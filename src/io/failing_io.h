// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// cFailingIO: a storage that fails on demand, for trying things out and for tests. It passes reads
// on to another storage, but only within given readable ranges: like a drive, it delivers what
// comes before the first failing sector of a request, and nothing when that is the first one.

#include <memory>
#include <vector>

#include "base/owned.h"
#include "io/base_io.h"
#include "io/sector_range.h"

namespace larkspur {

// How many of `count` sectors from `sector` on lie in `readable`, which is in order and without
// overlaps.
u32 ReadablePrefix(const std::vector<SectorRange>& readable, u64 sector, u32 count);

class cFailingIO final : public cBaseIO {
 public:
  // `readable` is in order and without overlaps; clones share it.
  cFailingIO(Owned<cBaseIO> inner, std::shared_ptr<const std::vector<SectorRange>> readable);
  ~cFailingIO() = default;

  cBaseIO* Clone() override;
  bool IsSameAs(cBaseIO* other) override;
  bool QueryCapability() override { return m_inner->QueryCapability(); }
  u64 SetPosition(u64 sector) override;
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_inner->GetSectorCount(); }
  u64 GetFullSectorCount() override { return m_inner->GetFullSectorCount(); }
  u64 GetByteSize() override { return m_inner->GetByteSize(); }
  u32 GetTypeId() override { return kTypeFailing; }
  void* Destroy(u32 flags) override;
  bool GetGeometry(u32* three) override { return m_inner->GetGeometry(three); }
  bool GetDescription(char16_t* buffer, i32 capacity) override;

 private:
  Owned<cBaseIO> m_inner;
  std::shared_ptr<const std::vector<SectorRange>> m_readable;
  u64 m_position = 0;
};

}  // namespace larkspur
