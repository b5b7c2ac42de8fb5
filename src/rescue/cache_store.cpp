// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/cache_store.h"

namespace larkspur {

bool CacheStore::Visit(SectorRange range, const ExtentVisitor& visit) {
  bool isKnown = true;
  m_image->VisitExtents(range.first, range.count, [&](u64 start, u64 sectors, SectorStatus status) {
    isKnown = status != static_cast<SectorStatus>(255);
    return isKnown && visit(start, sectors, status);
  });
  return isKnown;
}

bool CacheStore::MakeRoom(SectorRange range) {
  return range.count > 0;  // TMP
}

bool CacheStore::Store(u64 first, const u8* data, u32 count, bool evenUnreadable) {
  return m_image->Write(first, data, count) == count && !evenUnreadable;
}

bool CacheStore::MarkUnreadable(SectorRange range) {
  for (u64 s = range.first; s < range.End(); ++s) m_image->MarkSectorBad(s);
  return true;
}

bool CacheStore::Load(u64 first, u8* data, u32 count) {
  m_image->SetPosition(first);
  return m_image->ReadStored(data, count, nullptr) == count;
}

}  // namespace larkspur
