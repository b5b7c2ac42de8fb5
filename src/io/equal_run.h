// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include "base/types.h"

namespace larkspur {

// The length of the run at `bytes`, at most `limit`, on which `property` answers the same.
// REQUIRES: limit is at least 1.
template <typename Property>
u32 EqualRun(const u8* bytes, u32 limit, Property property) {
  const auto first = property(bytes[0]);
  u32 run = 1;
  while (run < limit && property(bytes[run]) == first) ++run;
  return run;
}

}  // namespace larkspur
