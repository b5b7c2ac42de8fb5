// SPDX-License-Identifier: MIT
// Copyright (c) 2026 The Larkspur authors
#pragma once

#include <cstring>
#include <span>

#include "base/types.h"

namespace larkspur {

// Whether the bytes are nothing but zeros, as no bytes are.
inline bool IsAllZero(std::span<const u8> bytes) {
  // All equal to the first, which is zero: memcmp is faster than any loop of ours.
  return bytes.empty() ||
         (bytes[0] == 0 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0);
}

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
