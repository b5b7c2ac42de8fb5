// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

// The host's settings, as the host implements them. The order of operations is fixed.

#include "base/types.h"

namespace larkspur {

class HostSettings {
 public:
  // False when the setting does not exist; else `*size` is its length in bytes and at most
  // `capacity` bytes of it are copied to `buffer`.
  virtual bool QuerySetting(u32 number, void* buffer, u32 capacity, u32* size) = 0;

 protected:
  ~HostSettings() = default;
};

}  // namespace larkspur
