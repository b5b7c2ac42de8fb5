// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "base/types.h"

namespace larkspur {

// The sectors [first, first+count).
struct SectorRange {
  u64 first = 0;
  u64 count = 0;

  u64 End() const { return first + count; }
  bool operator==(const SectorRange&) const = default;
};

}  // namespace larkspur
