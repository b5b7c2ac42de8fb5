// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/cache_hold.h"

#include "platform/clock.h"

namespace larkspur {

CacheHold::CacheHold(platform::OwnedFile file)
    : m_file(std::move(file)), m_lastSync(platform::MonotonicSeconds()) {}

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
