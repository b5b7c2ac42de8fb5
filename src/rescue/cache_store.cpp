// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/cache_store.h"

namespace larkspur {

bool CacheStore::Visit(SectorRange range, const ExtentVisitor& visit) {
  m_image->VisitExtents(range.first, range.count, visit);
  return true;
}

bool CacheStore::MakeRoom(SectorRange) {
  return true;
}

bool CacheStore::Store(u64 first, const u8* data, u32 count, bool) {
  return m_image->Write(first, data, count) == count;
}

bool CacheStore::MarkUnreadable(SectorRange range) {
  for (u64 sector = range.first; sector < range.End(); ++sector) {
    if (!m_image->MarkSectorBad(sector)) return false;
  }
  return true;
}

bool CacheStore::Load(u64 first, u8* data, u32 count) {
  m_image->SetPosition(first);
  return m_image->ReadStored(data, count, nullptr) == count;
}

}  // namespace larkspur
