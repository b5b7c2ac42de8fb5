// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/cache_hold.h"

#include "base/critical_section.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

// The holds of this process, linked through themselves: there are few.
struct HoldList {
  cCriticalSection section;
  CacheHold* first = nullptr;
};

HoldList& TheHolds() {
  static HoldList holds;
  return holds;
}

}  // namespace

CacheHold::CacheHold(platform::OwnedFile file)
    : m_file(std::move(file)), m_lastSync(platform::MonotonicSeconds()) {
  HoldList& holds = TheHolds();
  cSafeCriticalSectionAccess access(&holds.section);
  m_next = holds.first;
  holds.first = this;
}

CacheHold::~CacheHold() {
  HoldList& holds = TheHolds();
  cSafeCriticalSectionAccess access(&holds.section);
  CacheHold** link = &holds.first;
  while (*link != this) link = &(*link)->m_next;
  *link = m_next;
}

std::shared_ptr<CacheHold> CacheHold::FindInProcess(platform::FileHandle handle) {
  HoldList& holds = TheHolds();
  cSafeCriticalSectionAccess access(&holds.section);
  for (CacheHold* hold = holds.first; hold; hold = hold->m_next) {
    // Null for one that is just being destroyed.
    if (!platform::IsSameFile(hold->Handle(), handle)) continue;
    if (auto shared = hold->weak_from_this().lock()) return shared;
  }
  return nullptr;
}

void CacheHold::NoteStored() {
  m_noted = true;
  if (platform::MonotonicSeconds() - m_lastSync >= kSyncSeconds) SyncNoted();
}

void CacheHold::SyncNoted() {
  if (!m_noted.exchange(false)) return;
  m_lastSync = platform::MonotonicSeconds();
  Sync();
}

}  // namespace larkspur
