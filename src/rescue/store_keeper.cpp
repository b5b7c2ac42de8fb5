// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "rescue/store_keeper.h"

#include <algorithm>

#include "platform/system_error.h"

namespace larkspur {
namespace {

// Room is made for that much at once where reading goes on in order.
constexpr u64 kRoomSectors = 8192;
// So much is stored before the store's disk is to begin writing it.
constexpr u64 kFlushSectors = 16384;
// What a power cut may have left undone is looked for by areas of 1 GiB.
constexpr u64 kStoringArea = u64{1} << 21;

}  // namespace

bool StoreKeeper::Prepare(SectorRange range, const ExtentSet& wanted) {
  if (range.first >= m_roomMade.first && range.End() <= m_roomMade.End()) return true;
  // Ahead only where reading goes on in order: elsewhere it would be room for nothing.
  SectorRange room = range;
  if (range.first == m_roomMade.End()) {
    if (const auto next = wanted.NextFrom(range.first)) {
      room.count = std::clamp<u64>(next->End() - range.first, range.count, kRoomSectors);
    }
  }
  // On a disk that is nearly full, there may still be room for the one piece.
  if (room != range && !m_store->MakeRoom(room)) room = range;
  if (room == range && !m_store->MakeRoom(room)) return false;
  m_roomMade = room;
  return true;
}

bool StoreKeeper::Store(SectorRange run, const u8* data, bool evenUnreadable) {
  m_isDirty = true;
  NoteStoring(run);
  const double started = m_clock->Seconds();
  if (!m_store->Store(run.first, data, static_cast<u32>(run.count), evenUnreadable)) return false;
  m_unflushed += run.count;
  if (m_unflushed >= kFlushSectors) {
    m_unflushed = 0;
    m_store->BeginFlush();
  }
  m_stored += run.count;
  m_seconds += m_clock->Seconds() - started;
  return true;
}

// After a power cut, what was being stored is looked at again: the log must know before the cache
// does.
void StoreKeeper::NoteStoring(SectorRange range) {
  const u64 first = range.first / kStoringArea * kStoringArea;
  bool isNew = false;
  for (u64 at = first; at < range.End(); at += kStoringArea) {
    if (m_storing.Contains(at)) continue;
    const SectorRange area{at, std::min(kStoringArea, m_store->Sectors() - at)};
    m_storing.Add(area);
    m_log->Write(LogEvent("storing").Add(area));
    isNew = true;
  }
  if (isNew) m_log->Sync();
}

bool StoreKeeper::Sync(const StatusCounts& counts) {
  m_lastSync = m_clock->Seconds();
  if (!m_isDirty) return true;
  m_isDirty = false;
  const bool isFlushed = m_store->Sync();
  m_seconds += m_clock->Seconds() - m_lastSync;
  if (isFlushed) {
    m_log->Write(LogEvent("synced").Add(counts));
    m_storing.Clear();
    return true;
  }
  const u32 code = platform::LastFailure();
  m_log->Write(LogEvent("sync-failed").Add("code", u64{code}));
  m_log->Sync();
  platform::SetLastFailure(code);
  return false;
}

double StoreKeeper::SecondsPerSector() const {
  return m_stored == 0 ? 0 : m_seconds / static_cast<double>(m_stored);
}

}  // namespace larkspur
