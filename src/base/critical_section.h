// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The lock of the system's objects, and its holder for a scope. A thread may enter a section that
// it already holds.

#include "platform/recursive_lock.h"

namespace larkspur {

class cCriticalSection {
 public:
  virtual ~cCriticalSection() = default;

  void Enter() { m_lock.Enter(); }
  void Leave() { m_lock.Leave(); }

 private:
  platform::RecursiveLock m_lock;
};

// Holds `section` (which may be null: then nothing) from construction to destruction.
class cSafeCriticalSectionAccess {
 public:
  explicit cSafeCriticalSectionAccess(cCriticalSection* section) : m_section(section) {
    if (m_section) m_section->Enter();
  }
  cSafeCriticalSectionAccess(const cSafeCriticalSectionAccess&) = delete;
  cSafeCriticalSectionAccess& operator=(const cSafeCriticalSectionAccess&) = delete;
  virtual ~cSafeCriticalSectionAccess() {
    if (m_section) m_section->Leave();
  }

 private:
  cCriticalSection* m_section;
};

}  // namespace larkspur
