// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#include "platform/recursive_lock.h"

#include <mutex>
#include <new>

namespace larkspur::platform {
namespace {

std::recursive_mutex& Mutex(unsigned char* storage) {
  return *std::launder(reinterpret_cast<std::recursive_mutex*>(storage));
}

}  // namespace

RecursiveLock::RecursiveLock() {
  static_assert(sizeof(std::recursive_mutex) <= kStorageBytes);
  new (m_storage) std::recursive_mutex;
}
RecursiveLock::~RecursiveLock() {
  Mutex(m_storage).~recursive_mutex();
}
void RecursiveLock::Enter() {
  Mutex(m_storage).lock();
}
void RecursiveLock::Leave() {
  Mutex(m_storage).unlock();
}

}  // namespace larkspur::platform
