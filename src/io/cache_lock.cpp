// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "io/cache_lock.h"

#include "base/critical_section.h"
#include "platform/clock.h"

namespace larkspur {
namespace {

// The locks of this process, linked through themselves: there are few.
struct LockList {
  cCriticalSection section;
  CacheLock* first = nullptr;
};

LockList& TheLocks() {
  static LockList locks;
  return locks;
}

}  // namespace

CacheLock::CacheLock(platform::OwnedFile file, std::u16string path)
    : m_file(std::move(file)), m_path(std::move(path)), m_lastSync(platform::MonotonicSeconds()) {
  LockList& locks = TheLocks();
  cSafeCriticalSectionAccess access(&locks.section);
  m_next = locks.first;
  locks.first = this;
}

CacheLock::~CacheLock() {
  LockList& locks = TheLocks();
  cSafeCriticalSectionAccess access(&locks.section);
  CacheLock** link = &locks.first;
  while (*link != this) link = &(*link)->m_next;
  *link = m_next;
}

std::shared_ptr<CacheLock> CacheLock::FindInProcess(platform::FileHandle handle) {
  LockList& locks = TheLocks();
  cSafeCriticalSectionAccess access(&locks.section);
  for (CacheLock* lock = locks.first; lock; lock = lock->m_next) {
    // Null for one that is just being destroyed.
    if (!platform::IsSameFile(lock->Handle(), handle)) continue;
    if (auto shared = lock->weak_from_this().lock()) return shared;
  }
  return nullptr;
}

bool CacheLock::HasItsName() const {
  const platform::OwnedFile there(platform::OpenExistingFile(m_path.c_str(), platform::kOpenRead));
  if (there.IsOpen()) return platform::IsSameFile(there.Handle(), Handle());
  // What cannot be opened for another reason says nothing.
  return platform::KindOfPath(m_path.c_str()) != platform::PathKind::kAbsent;
}

void CacheLock::NoteStored() {
  m_noted = true;
  if (platform::MonotonicSeconds() - m_lastSync >= kSyncSeconds) SyncNoted();
}

bool CacheLock::SyncNoted() {
  if (!m_noted.exchange(false)) return false;
  m_lastSync = platform::MonotonicSeconds();
  Sync();
  return true;
}

}  // namespace larkspur
