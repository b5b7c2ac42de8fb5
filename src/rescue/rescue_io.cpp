// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/rescue_io.h"

#include "base/owned.h"

namespace larkspur {

u32 cRescueIO::Read(void* buffer, u32 count, cBitMap* /*presence*/) {
  const u64 inside = std::min<u64>(count, GetSectorCount() - m_position);
  if (inside == 0) return 0;
  const u64 settled = m_engine->Fetch({m_position, inside}, static_cast<u8*>(buffer));
  m_position += settled;
  return static_cast<u32>(settled);
}

bool cRescueIO::GetGeometry(u32* three) {
  three[0] = m_engine->Source().logicalSectorBytes;
  three[1] = three[2] = 1;
  return true;
}

void* cRescueIO::Destroy(u32 flags) {
  return DestroyAs(this, flags);
}

}  // namespace larkspur
