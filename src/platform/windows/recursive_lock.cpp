// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/recursive_lock.h"

#include <windows.h>

namespace larkspur::platform {
namespace {

CRITICAL_SECTION* Section(unsigned char* storage) {
  return reinterpret_cast<CRITICAL_SECTION*>(storage);
}

}  // namespace

RecursiveLock::RecursiveLock() {
  static_assert(sizeof(CRITICAL_SECTION) <= kStorageBytes);
  InitializeCriticalSection(Section(m_storage));
}
RecursiveLock::~RecursiveLock() {
  DeleteCriticalSection(Section(m_storage));
}
void RecursiveLock::Enter() {
  EnterCriticalSection(Section(m_storage));
}
void RecursiveLock::Leave() {
  LeaveCriticalSection(Section(m_storage));
}

}  // namespace larkspur::platform
