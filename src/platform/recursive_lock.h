// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The system's lock that one thread may enter more than once: a CRITICAL_SECTION on Windows, a
// recursive mutex elsewhere. The build picks the file that knows which.

#include "base/types.h"

namespace larkspur::platform {

class RecursiveLock {
 public:
  RecursiveLock();
  RecursiveLock(const RecursiveLock&) = delete;
  RecursiveLock& operator=(const RecursiveLock&) = delete;
  ~RecursiveLock();

  void Enter();
  void Leave();

 private:
  static constexpr size_t kStorageBytes = 64;  // room for either system's lock
  alignas(16) unsigned char m_storage[kStorageBytes];
};

}  // namespace larkspur::platform
