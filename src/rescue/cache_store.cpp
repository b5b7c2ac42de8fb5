// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/cache_store.h"

namespace larkspur {

bool CacheStore::Visit(SectorRange range, const ExtentVisitor& visit) {
  bool isKnown = true;
  m_image->VisitExtents(range.first, range.count, [&](u64 start, u64 sectors, SectorStatus status) {
    isKnown = status != kUnknown;
    // The source settled it once, and one flipped bit is no reason to stop: it is asked for again
    // only on purpose, as what is unreadable is.
    if (status == kMeaningless) status = kUnreadable;
    return isKnown && visit(start, sectors, status);
  });
  return isKnown;
}

bool CacheStore::MakeRoom(SectorRange range) {
  return m_image->MakeRoom(range.first, range.count);
}

bool CacheStore::Store(u64 first, const u8* data, u32 count, bool evenUnreadable) {
  return (evenUnreadable ? m_image->StoreOver(first, data, count)
                         : m_image->Write(first, data, count)) == count;
}

bool CacheStore::MarkUnreadable(SectorRange range) {
  return m_image->MarkUnreadable(range.first, range.count);
}

bool CacheStore::Load(u64 first, u8* data, u32 count) {
  bool isLoaded = true;
  const bool isKnown = Visit({first, count}, [&](u64 start, u64 sectors, SectorStatus status) {
    if (status != kPresent) return true;
    m_image->SetPosition(start);
    u8* const out = data + (start - first) * kSectorBytes;
    isLoaded = m_image->ReadStored(out, static_cast<u32>(sectors), nullptr) == sectors;
    return isLoaded;
  });
  return isKnown && isLoaded;
}

}  // namespace larkspur
