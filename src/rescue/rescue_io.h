// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The storage that an engine reads, for those who take a storage: whatever is read of it is fetched
// into the cache. Unreadable sectors read as zeros; a read ends short before a sector that could
// not be fetched.

#include "io/base_io.h"
#include "rescue/engine.h"

namespace larkspur {

class cRescueIO final : public cBaseIO {
 public:
  // `engine` is not owned.
  explicit cRescueIO(Engine* engine) : m_engine(engine) {}
  ~cRescueIO() = default;

  cBaseIO* Clone() override { return nullptr; }  // there is one engine
  bool IsSameAs(cBaseIO* other) override { return other == this; }
  u64 SetPosition(u64 sector) override { return m_position = std::min(sector, GetSectorCount()); }
  u32 Read(void* buffer, u32 count, cBitMap* presence = nullptr) override;
  u64 GetSectorCount() override { return m_engine->Progress().sectors; }
  u32 GetTypeId() override { return kTypeRescue; }
  // What the source says its sectors have, in an otherwise made-up geometry.
  bool GetGeometry(u32* three) override;
  void* Destroy(u32 flags) override;

 private:
  Engine* m_engine;
  u64 m_position = 0;
};

}  // namespace larkspur
